// The reference host's sealing (AES-256-GCM under a per-user key file) and digests.
#include "host/sealing/CAESGCMSealing.h"
#include "host/sealing/COpenSSLDigest.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/fakehost/FakeSealing.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string fileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

void writeFile(const std::string& path, const std::string& bytes, mode_t mode) {
    std::ofstream(path, std::ios::binary) << bytes;
    chmod(path.c_str(), mode);
}

mode_t modeOf(const std::string& path) {
    struct stat info = {};
    stat(path.c_str(), &info);
    return info.st_mode & 07777;
}

std::string toHex(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    for (unsigned char c : bytes) {
        hex += digits[c >> 4];
        hex += digits[c & 15];
    }
    return hex;
}

class SealingTest : public ::testing::Test {
protected:
    FakeHost host;
    FakeSealing home{host.extra()};
};

TEST_F(SealingTest, SealedTextsComeBackWholeAndNeverStandInClear) {
    struct Case {
        std::string first;
        std::string second;
    } cases[] = {
        {"", ""},
        {"0123456789abcdef0123456789abcdef:alice", "correct horse battery staple"},
        {std::string("nul\0inside", 10), std::string("\0\xff\x01", 3)},
        {"gr\xc3\xbc\xc3\x9f", "\xe2\x82\xac uro"},
        {std::string(5000, 'u'), std::string(70000, 'p')},
    };
    CAESGCMSealing& sealing = home.sealing();
    ASSERT_TRUE(sealing.available());
    for (const Case& c : cases) {
        std::optional<std::string> sealed = sealing.seal(c.first, c.second);
        ASSERT_TRUE(sealed) << c.first.size();
        for (char ch : *sealed)
            EXPECT_TRUE(ch >= 0x21 && ch <= 0x7e) << "not printable: " << int(ch);
        if (c.second.size() > 3) {
            EXPECT_EQ(sealed->find(c.second), std::string::npos);
        }
        // A fresh nonce each time: the same texts never seal alike.
        EXPECT_NE(sealing.seal(c.first, c.second), sealed);
        std::optional<SealedTexts> opened = sealing.unseal(*sealed);
        ASSERT_TRUE(opened);
        EXPECT_EQ(opened->first, c.first);
        EXPECT_EQ(opened->second, c.second);
    }
}

TEST_F(SealingTest, KeyIsMadeOnFirstUseForTheUserAloneAndKeptAcrossInstances) {
    std::string nested = home.folder() + "/data/vellum/sealing.key";
    CAESGCMSealing first(nested);
    EXPECT_FALSE(access(nested.c_str(), F_OK) == 0) << "no key before first use";
    std::optional<std::string> sealed = first.seal("key:user", "secret");
    ASSERT_TRUE(sealed);
    EXPECT_EQ(modeOf(nested), 0600u);
    EXPECT_EQ(modeOf(home.folder() + "/data/vellum"), 0700u);
    std::string key = fileBytes(nested);
    EXPECT_EQ(key.size(), CAESGCMSealing::kKeySize);

    // Another run of the host finds the same key and opens what the first sealed.
    CAESGCMSealing second(nested);
    std::optional<SealedTexts> opened = second.unseal(*sealed);
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->second, "secret");
    EXPECT_EQ(fileBytes(nested), key);

    // Another user's key opens nothing.
    EXPECT_FALSE(home.sealing().unseal(*sealed));
}

TEST_F(SealingTest, AlteredOrForeignStringsDoNotOpen) {
    CAESGCMSealing& sealing = home.sealing();
    std::string sealed = *sealing.seal("k:u", "password");
    std::string flipped = sealed;
    flipped[10] = flipped[10] == 'A' ? 'B' : 'A';
    std::string tagFlipped = sealed;
    tagFlipped[tagFlipped.size() - 6] = tagFlipped[tagFlipped.size() - 6] == 'A' ? 'B' : 'A';
    const std::string cases[] = {
        "",
        "S1:",
        "S1:AAAA",
        sealed.substr(0, sealed.size() - 4),
        sealed + "AAAA",
        flipped,
        tagFlipped,
        "S2" + sealed.substr(2),
        "S1:" + std::string(64, '*'),
        "S1:" + std::string(63, 'A') + "=",
        std::string(sealed.data(), 20) + std::string(1, '\0') + sealed.substr(21),
    };
    for (const std::string& text : cases)
        EXPECT_FALSE(sealing.unseal(text)) << text;
    EXPECT_TRUE(sealing.unseal(sealed));
}

TEST_F(SealingTest, KeyFileThatCannotBeTrustedMakesSealingUnavailableAndIsLeftAlone) {
    struct Case {
        const char* name;
        void (*prepare)(const std::string& path);
    } cases[] = {
        {"readable by others",
         [](const std::string& path) { writeFile(path, std::string(32, 'k'), 0644); }},
        {"too short", [](const std::string& path) { writeFile(path, std::string(31, 'k'), 0600); }},
        {"too long", [](const std::string& path) { writeFile(path, std::string(33, 'k'), 0600); }},
        {"a folder", [](const std::string& path) { mkdir(path.c_str(), 0700); }},
        {"a symbolic link",
         [](const std::string& path) {
             writeFile(path + ".real", std::string(32, 'k'), 0600);
             symlink((path + ".real").c_str(), path.c_str());
         }},
        {"another user's",
         [](const std::string& path) {
             writeFile(path, std::string(32, 'k'), 0600);
             if (chown(path.c_str(), geteuid() + 1, static_cast<gid_t>(-1)) != 0)
                 chmod(path.c_str(), 0640); // without the right to give it away
         }},
        {"below a file",
         [](const std::string& path) {
             writeFile(path.substr(0, path.rfind('/')), "not a folder", 0600);
         }},
    };
    int index = 0;
    for (const Case& c : cases) {
        std::string folder = home.folder() + "/case" + std::to_string(index++);
        mkdir(folder.c_str(), 0700);
        std::string path = folder + (std::string(c.name) == "below a file" ? "/f/key" : "/key");
        c.prepare(path);
        std::string before = fileBytes(path);
        CAESGCMSealing sealing(path);
        EXPECT_FALSE(sealing.available()) << c.name;
        EXPECT_FALSE(sealing.seal("a", "b")) << c.name;
        EXPECT_FALSE(sealing.unseal(*home.sealing().seal("a", "b"))) << c.name;
        EXPECT_EQ(fileBytes(path), before) << c.name;
    }
}

TEST_F(SealingTest, TestHostOffersSealingAndDigestsThroughQsExtra) {
    EXPECT_EQ(host.extra().sealing(), &home.sealing());
    EXPECT_EQ(host.extra().digest(), &home.digest());
    {
        FakeHost other;
        {
            FakeSealing scoped(other.extra());
            EXPECT_NE(other.extra().sealing(), nullptr);
        }
        EXPECT_EQ(other.extra().sealing(), nullptr);
        EXPECT_EQ(other.extra().digest(), nullptr);
    }
}

TEST(DigestTest, KnownVectorsOfSHA1AndMD5) {
    std::ifstream table(std::string(VELL_TEST_DATA) + "/host/digest-vectors.tsv");
    COpenSSLDigest digest;
    int rows = 0;
    for (std::string line; std::getline(table, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream fields(line);
        std::string algorithm, input, times, expected;
        std::getline(fields, algorithm, '\t');
        std::getline(fields, input, '\t');
        std::getline(fields, times, '\t');
        std::getline(fields, expected, '\t');
        std::string bytes;
        for (int i = std::stoi(times); i > 0; --i)
            bytes += input;
        DigestAlgorithm which = algorithm == "SHA1" ? DigestAlgorithm::SHA1 : DigestAlgorithm::MD5;
        std::string raw = digest.digest(which, bytes.data(), bytes.size());
        EXPECT_EQ(raw.size(), digestSize(which)) << line;
        EXPECT_EQ(toHex(raw), expected) << line;
        ++rows;
    }
    EXPECT_EQ(rows, 10);
    EXPECT_EQ(toHex(digest.digest(DigestAlgorithm::SHA1, nullptr, 0)),
              "da39a3ee5e6b4b0d3255bfef95601890afd80709");
}

} // namespace
