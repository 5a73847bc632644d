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

void writeFile(const std::string& path, size_t size, mode_t mode) {
    std::ofstream(path, std::ios::binary) << std::string(size, 'k');
    chmod(path.c_str(), mode);
}

mode_t modeOf(const std::string& path) {
    struct stat info = {};
    stat(path.c_str(), &info);
    return info.st_mode & 07777;
}

class SealingTest : public ::testing::Test {
protected:
    FakeHost host;
    FakeSealing home{host.extra()};
};

TEST_F(SealingTest, SealedTextsOpenOnlyWithTheirKeyAndUnaltered) {
    std::string nested = home.folder() + "/data/vellum/sealing.key";
    CAESGCMSealing first(nested);
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {std::string("nul\0inside", 10), std::string("\0\xff", 2)},
        {"0123456789abcdef:alice", "gr\xc3\xbc\xc3\x9f correct horse"},
        {std::string(5000, 'u'), std::string(70000, 'p')},
    };
    for (const auto& [text1, text2] : cases) {
        std::optional<std::string> sealed = first.seal(text1, text2);
        ASSERT_TRUE(sealed);
        for (char c : *sealed)
            ASSERT_TRUE(c > 0x20 && c < 0x7f) << "not printable: " << int(c);
        EXPECT_EQ(sealed->find("horse"), std::string::npos);
        EXPECT_NE(first.seal(text1, text2), sealed) << "a fresh nonce each time";
        // Another run of the host finds the same key; another user's key opens nothing.
        std::optional<SealedTexts> opened = CAESGCMSealing(nested).unseal(*sealed);
        ASSERT_TRUE(opened);
        EXPECT_EQ(opened->first, text1);
        EXPECT_EQ(opened->second, text2);
        EXPECT_FALSE(home.sealing().unseal(*sealed));
        std::string altered = *sealed;
        altered[altered.size() / 2] ^= 1;
        for (const std::string& bad : {altered, sealed->substr(0, sealed->size() - 4),
                                       "S2" + sealed->substr(2), std::string("S1:****")})
            EXPECT_FALSE(first.unseal(bad)) << bad;
    }
    // The key was made on first use, for the user alone.
    EXPECT_EQ(modeOf(nested), 0600u);
    EXPECT_EQ(modeOf(home.folder() + "/data/vellum"), 0700u);
    EXPECT_EQ(fileBytes(nested).size(), CAESGCMSealing::kKeySize);
}

TEST_F(SealingTest, AKeyFileThatCannotBeTrustedMakesSealingUnavailableAndIsLeftAlone) {
    struct Case {
        const char* name;
        void (*prepare)(const std::string& path);
        const char* why; // told on standard error
    } cases[] = {
        {"readable by others", [](const std::string& path) { writeFile(path, 32, 0644); },
         "others than its owner may use it"},
        {"too short", [](const std::string& path) { writeFile(path, 31, 0600); },
         "it is not the size of a key"},
        {"a folder", [](const std::string& path) { mkdir(path.c_str(), 0700); },
         "it is not a regular file"},
        {"a symbolic link",
         [](const std::string& path) {
             writeFile(path + ".real", 32, 0600);
             symlink((path + ".real").c_str(), path.c_str());
         },
         "it is a symbolic link"},
        {"below a file", [](const std::string& path) { writeFile(path + ".parent", 1, 0600); },
         "Not a directory"},
    };
    int index = 0;
    for (const Case& c : cases) {
        std::string folder = home.folder() + "/case" + std::to_string(index++);
        mkdir(folder.c_str(), 0700);
        std::string path = folder + "/key";
        c.prepare(path);
        if (std::string(c.name) == "below a file")
            path += ".parent/key";
        std::string before = fileBytes(path);
        CAESGCMSealing sealing(path);
        ::testing::internal::CaptureStderr();
        EXPECT_FALSE(sealing.available()) << c.name;
        EXPECT_FALSE(sealing.seal("a", "b")) << c.name;
        // Said once, in one line, however often the key is wanted.
        EXPECT_EQ(::testing::internal::GetCapturedStderr(),
                  "vellum-host: the key file " + path + " was refused (" + c.why +
                      "): saved passwords are not available\n")
            << c.name;
        EXPECT_FALSE(sealing.unseal(*home.sealing().seal("a", "b"))) << c.name;
        EXPECT_EQ(fileBytes(path), before) << c.name;
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
        std::string algorithm, input, times, expected, bytes;
        for (std::string* field : {&algorithm, &input, &times, &expected})
            std::getline(fields, *field, '\t');
        for (int i = std::stoi(times); i > 0; --i)
            bytes += input;
        DigestAlgorithm which = algorithm == "SHA1" ? DigestAlgorithm::SHA1 : DigestAlgorithm::MD5;
        std::string raw = digest.digest(which, bytes.data(), bytes.size());
        ASSERT_EQ(raw.size(), digestSize(which)) << line;
        std::string hex;
        for (unsigned char c : raw)
            hex += "0123456789abcdef"[c >> 4], hex += "0123456789abcdef"[c & 15];
        EXPECT_EQ(hex, expected) << line;
        ++rows;
    }
    EXPECT_EQ(rows, 10);
}

} // namespace
