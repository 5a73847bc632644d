// The credential store: sealed entries in the "Collab" / "Credentials" cabinet.
#include "frame/QsCore.h"
#include "host/cabinets/CGVariantCabinets.h"
#include "soap/CCredStore.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/fakehost/FakeSealing.h"
#include "values/MD5.h"
#include "values/QsCab.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <sstream>

#include <sys/stat.h>

namespace {

struct Credentials {
    std::string user;
    std::string password;
    bool operator==(const Credentials&) const = default;
};

std::optional<Credentials> lookUp(CCredStore& store, const char* server, const char* realm) {
    char* user = nullptr;
    char* password = nullptr;
    if (!store.getCredentials(server, realm, &user, &password))
        return std::nullopt;
    Credentials found{user, password};
    QsFree(user);
    QsFree(password);
    return found;
}

class CredStoreTest : public ::testing::Test {
public:
    void TearDown() override { restart(false); }

    /// Ends the store as the module's term does, and the cabinets' store as unloading does;
    /// with again set, opens the store anew.
    void restart(bool again = true) {
        delete CCredStore::sm_instance;
        CCredStore::sm_instance = nullptr;
        QsCabLocalTerm();
        if (again)
            CCredStore::instance();
    }
    CCredStore& store() { return *CCredStore::instance(); }
    std::optional<std::string> cabinetFile() {
        std::optional<std::string> path = host.cabinets().fileOf("Collab", "Credentials");
        return path ? host.files().fileContents(*path) : std::nullopt;
    }
    /// Replaces the stored cabinet with the entries of a map.
    void writeCabinet(CAgg entries) {
        QsCab cab = CAgg2QsCab(entries);
        host.cabinets().saveCabinet(cab, "Collab", "Credentials");
        QsCabDestroy(cab);
    }

    FakeHost host;
    std::unique_ptr<FakeSealing> sealing = std::make_unique<FakeSealing>(host.extra());
};

TEST_F(CredStoreTest, StoredCredentialsComeBackAfterARestartAndNeverStandInClear) {
    struct Case {
        const char* server;
        const char* realm;
        Credentials credentials;
    } cases[] = {
        {"services.example:8080", "vault", {"alice", "correct horse battery staple"}},
        {"services.example:8080", "other realm", {"bob", "p\xc3\xa4ssw\xc3\xb6rd"}},
        {"intranet", "", {"carol@corp", "s3cr3t!"}},
        {nullptr, "no server", {"dave", "hunter2hunter2"}},
    };
    ASSERT_TRUE(store().isAvailable());
    for (const Case& c : cases)
        store().setCredentials(c.server, c.realm, c.credentials.user.c_str(),
                               c.credentials.password.c_str());
    restart();
    for (const Case& c : cases)
        EXPECT_EQ(lookUp(store(), c.server, c.realm), c.credentials) << c.realm;
    EXPECT_FALSE(lookUp(store(), "services.example:8080", "unknown realm"));

    std::optional<std::string> file = cabinetFile();
    ASSERT_TRUE(file);
    for (const Case& c : cases) {
        EXPECT_EQ(file->find(c.credentials.user), std::string::npos) << c.credentials.user;
        EXPECT_EQ(file->find(c.credentials.password), std::string::npos);
    }
    std::string key = CCredStore::makeKey("services.example:8080", "vault").c_str();
    EXPECT_NE(file->find(key), std::string::npos) << "entries are found by their key";

    store().clearCredentials("services.example:8080", "vault");
    restart();
    EXPECT_FALSE(lookUp(store(), "services.example:8080", "vault"));
    EXPECT_EQ(lookUp(store(), "intranet", ""), cases[2].credentials);
}

TEST_F(CredStoreTest, KeysAreTheDigestOfServerAndRealm) {
    std::string text = "services.example:8080@@vault";
    EXPECT_STREQ(CCredStore::makeKey("services.example:8080", "vault").c_str(),
                 makeMD5String(text.data(), static_cast<long>(text.size())).c_str());
    EXPECT_STREQ(CCredStore::makeKey("a", "").c_str(), makeMD5String("a@@", 3).c_str());
    EXPECT_STREQ(CCredStore::makeKey(nullptr, "r").c_str(), "");
    EXPECT_STREQ(CCredStore::makeKey("s", nullptr).c_str(), "");
    EXPECT_EQ(std::string(CCredStore::makeKey("s", "r").c_str()).size(), 32u);
}

TEST_F(CredStoreTest, EntriesThatAreNotThisKeysOwnAreRefused) {
    ISealing& seal = sealing->sealing();
    std::string key = CCredStore::makeKey("s", "r").c_str();
    std::string other = CCredStore::makeKey("s", "elsewhere").c_str();
    std::string altered = *seal.seal(key + ":u", "pw");
    altered[10] = altered[10] == 'A' ? 'B' : 'A';
    struct Case {
        const char* what;
        CAgg value;
    } cases[] = {
        {"another key's entry", CAgg(seal.seal(other + ":mallory", "pw")->c_str())},
        {"a name with no user", CAgg(seal.seal(key + ":", "pw")->c_str())},
        {"a name without the key", CAgg(seal.seal("mallory", "pw")->c_str())},
        {"an altered string", CAgg(altered.c_str())},
        {"a password in clear", CAgg("pw")},
        {"a number", CAgg(42L)},
    };
    for (Case& c : cases) {
        CAgg entries;
        entries[CEStr(key.c_str(), kEStrPDFDoc)] = c.value;
        writeCabinet(entries);
        restart();
        EXPECT_FALSE(lookUp(store(), "s", "r")) << c.what;
    }
    CAgg good;
    good[CEStr(key.c_str(), kEStrPDFDoc)] = CAgg(seal.seal(key + ":erin", "pw")->c_str());
    writeCabinet(good);
    restart();
    EXPECT_EQ(lookUp(store(), "s", "r"), (Credentials{"erin", "pw"}));
}

TEST_F(CredStoreTest, WithoutSealingTheStoreKeepsNothing) {
    store().setCredentials("s", "r", "alice", "pw");
    restart(false);
    std::optional<std::string> before = cabinetFile();
    ASSERT_TRUE(before);

    struct Case {
        const char* what;
        void (*prepare)(CredStoreTest& test);
    } cases[] = {
        {"no sealing service", [](CredStoreTest& test) { test.sealing.reset(); }},
        {"a key others can read",
         [](CredStoreTest& test) {
             test.sealing = std::make_unique<FakeSealing>(test.host.extra());
             std::ofstream(test.sealing->keyPath()) << std::string(32, 'k');
             chmod(test.sealing->keyPath().c_str(), 0644);
         }},
    };
    for (const Case& c : cases) {
        c.prepare(*this);
        restart();
        EXPECT_FALSE(store().isAvailable()) << c.what;
        EXPECT_FALSE(lookUp(store(), "s", "r")) << c.what;
        store().setCredentials("s", "r2", "bob", "pw2");
        store().clearCredentials("s", "r");
        restart(false);
        EXPECT_EQ(cabinetFile(), before) << c.what << ": the file is neither read nor written";
    }
}

TEST(CredStoreFileTest, TheCabinetOnDiskHoldsNoUserNameOrPassword) {
    FakeHost host;
    FakeSealing sealing(host.extra());
    std::string root = sealing.folder() + "/data";
    CGVariantCabinets disk(host.core(), root);
    host.support().setCabinets(&disk);
    {
        CCredStore store;
        store.setCredentials("127.0.0.1:8080", "vault", "alice.liddell", "Tr0ub4dor&3-horse");
    }
    QsCabLocalTerm();
    std::optional<std::string> path = disk.fileOf("Collab", "Credentials");
    ASSERT_TRUE(path);
    std::ifstream in(*path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    ASSERT_GT(bytes.str().size(), 32u);
    EXPECT_EQ(bytes.str().find("alice.liddell"), std::string::npos);
    EXPECT_EQ(bytes.str().find("Tr0ub4dor&3-horse"), std::string::npos);
    CCredStore again;
    char* user = nullptr;
    char* password = nullptr;
    ASSERT_TRUE(again.getCredentials("127.0.0.1:8080", "vault", &user, &password));
    EXPECT_STREQ(password, "Tr0ub4dor&3-horse");
    QsFree(user);
    QsFree(password);
    host.support().setCabinets(&host.cabinets());
}

} // namespace
