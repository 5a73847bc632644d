// The credential store: sealed entries in the "Collab" / "Credentials" cabinet.
#include "frame/QsCore.h"
#include "host/cabinets/CGVariantCabinets.h"
#include "soap/CCredStore.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/fakehost/FakeSealing.h"
#include "tests/soap/HTTPTestSupport.h"
#include "values/MD5.h"
#include "values/QsCab.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <sstream>

#include <sys/stat.h>

namespace {

class CredStoreTest : public ::testing::Test {
public:
    void TearDown() override { restart(false); }

    /// Ends the store as the module's term does, and the cabinets as unloading does; with again
    /// set, opens the store anew.
    void restart(bool again = true) {
        delete CCredStore::sm_instance;
        CCredStore::sm_instance = nullptr;
        QsCabLocalTerm();
        if (again)
            CCredStore::instance();
    }
    std::optional<std::string> cabinetFile() {
        std::optional<std::string> path = host.cabinets().fileOf("Collab", "Credentials");
        return path ? host.files().fileContents(*path) : std::nullopt;
    }

    FakeHost host;
    std::unique_ptr<FakeSealing> sealing = std::make_unique<FakeSealing>(host.extra());
};

TEST_F(CredStoreTest, CredentialsSurviveARestartAndTheFileOnDiskHoldsNoneInClear) {
    CGVariantCabinets disk(host.core(), sealing->folder() + "/data");
    host.support().setCabinets(&disk);
    const struct {
        const char* server;
        const char* realm;
        std::pair<std::string, std::string> credentials;
    } cases[] = {
        {"services.example:8080", "vault", {"alice.liddell", "Tr0ub4dor&3-horse"}},
        {"services.example:8080", "other realm", {"bob.builder", "p\xc3\xa4ssw\xc3\xb6rd"}},
        {nullptr, "no server", {"dave.davis", "hunter2hunter2"}},
    };
    for (const auto& c : cases)
        CCredStore::instance()->setCredentials(c.server, c.realm, c.credentials.first.c_str(),
                                               c.credentials.second.c_str());
    restart();
    std::ifstream in(*disk.fileOf("Collab", "Credentials"), std::ios::binary);
    std::ostringstream file;
    file << in.rdbuf();
    for (const auto& c : cases) {
        EXPECT_EQ(storedCredentials(c.server, c.realm), c.credentials) << c.realm;
        EXPECT_EQ(file.str().find(c.credentials.first), std::string::npos);
        EXPECT_EQ(file.str().find(c.credentials.second), std::string::npos);
    }
    std::string key = "services.example:8080@@vault";
    EXPECT_STREQ(CCredStore::makeKey("services.example:8080", "vault").c_str(),
                 makeMD5String(key.data(), static_cast<long>(key.size())).c_str());
    EXPECT_NE(file.str().find(CCredStore::makeKey("services.example:8080", "vault").c_str()),
              std::string::npos);
    CCredStore::instance()->clearCredentials("services.example:8080", "vault");
    restart();
    EXPECT_FALSE(storedCredentials("services.example:8080", "vault"));
    EXPECT_EQ(storedCredentials(nullptr, "no server"), cases[2].credentials);
    restart(false);
    host.support().setCabinets(&host.cabinets());
}

TEST_F(CredStoreTest, EntriesThatAreNotThisKeysOwnAreRefused) {
    ISealing& seal = sealing->sealing();
    std::string key = CCredStore::makeKey("s", "r").c_str();
    std::string altered = *seal.seal(key + ":u", "pw");
    altered[10] ^= 1;
    const CAgg cases[] = {
        CAgg(seal.seal(std::string(CCredStore::makeKey("s", "x").c_str()) + ":eve", "pw")->c_str()),
        CAgg(seal.seal(key + ":", "pw")->c_str()),
        CAgg(seal.seal("eve", "pw")->c_str()),
        CAgg(altered.c_str()),
        CAgg("pw"),
        CAgg(42L),
        CAgg(seal.seal(key + ":erin", "pw")->c_str()), // the one good entry
    };
    for (const CAgg& value : cases) {
        CAgg entries;
        entries[CEStr(key.c_str(), kEStrPDFDoc)] = value;
        QsCab cab = CAgg2QsCab(entries);
        host.cabinets().saveCabinet(cab, "Collab", "Credentials");
        QsCabDestroy(cab);
        restart();
        EXPECT_EQ(storedCredentials("s", "r"),
                  &value == &cases[6]
                      ? std::optional(std::pair<std::string, std::string>{"erin", "pw"})
                      : std::nullopt);
    }
}

TEST_F(CredStoreTest, WithoutSealingTheStoreNeitherReadsNorWrites) {
    CCredStore::instance()->setCredentials("s", "r", "alice", "pw");
    restart(false);
    std::optional<std::string> before = cabinetFile();
    ASSERT_TRUE(before);
    for (bool untrustedKey : {false, true}) {
        sealing.reset();
        if (untrustedKey) {
            sealing = std::make_unique<FakeSealing>(host.extra());
            std::ofstream(sealing->keyPath()) << std::string(32, 'k');
            chmod(sealing->keyPath().c_str(), 0644);
        }
        restart();
        EXPECT_FALSE(CCredStore::instance()->isAvailable());
        EXPECT_FALSE(storedCredentials("s", "r"));
        CCredStore::instance()->setCredentials("s", "r2", "bob", "pw2");
        CCredStore::instance()->clearCredentials("s", "r");
        restart(false);
        EXPECT_EQ(cabinetFile(), before);
    }
}

} // namespace
