// The reference host's file system and the test host's, held to the same expectations.
#include "host/files/CPosixFileSystem.h"
#include "host/files/DIPath.h"
#include "tests/fakehost/FakeFileSystem.h"
#include "tests/host/TempFolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>

namespace {

TEST(DIPath, ResolvesTextsOfEachForm) {
    struct Case {
        const char* form;
        const char* text;
        const char* base;
        const char* expected; // null: no path
    } cases[] = {
        {"DIPath", "/a/b", nullptr, "/a/b"},
        {"DIPath", "/a//b/./c/", nullptr, "/a/b/c/"},
        {"DIPath", "/a/../../b", nullptr, "/b"},
        {"DIPath", "Collab/", "/data/vellum/", "/data/vellum/Collab/"},
        {"DIPath", "x/..", "/data/", "/data/"},
        {"DIPath", "relative", nullptr, nullptr},
        {"DIPath", "relative", "not/absolute", nullptr},
        {"DIPath", "", "/data/", nullptr},
        {"DIPath", nullptr, "/data/", nullptr},
        {"FolderPathName", "JSPNL.exv", "/tmp/", "/tmp/JSPNL.exv"},
        {"FolderPathName", "a/b", "/tmp/", nullptr},
        {"FolderPathName", "..", "/tmp/", nullptr},
        {"FolderPathName", "name", nullptr, nullptr},
        {"URL", "/a", nullptr, nullptr},
        {nullptr, "/a", nullptr, nullptr},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(std::string(test.form ? test.form : "null") + " " +
                     (test.text ? test.text : "null"));
        auto path = DIPathFromText(test.form, test.text, test.base);
        if (!test.expected)
            EXPECT_FALSE(path) << *path;
        else
            EXPECT_EQ(path, test.expected);
    }
    EXPECT_EQ(DIPathParent("/data/vellum/Collab/"), "/data/vellum/");
    EXPECT_EQ(DIPathParent("/data/RSS"), "/data/");
    EXPECT_EQ(DIPathParent("/"), "/");
}

/// A file system under test and a folder of its own in it.
struct Real {
    TempFolder temp;
    std::unique_ptr<IFileSystem> files;
    Real() {
        g_mkdir_with_parents((temp.path() + "tmp").c_str(), 0700);
        files = std::make_unique<CPosixFileSystem>(temp.path() + "data", temp.path() + "tmp");
    }
};
struct Fake {
    std::unique_ptr<IFileSystem> files = std::make_unique<FakeFileSystem>();
};

template <class T> class FileSystemTest : public ::testing::Test {
protected:
    T m_system;
    IFileSystem& fs() { return *m_system.files; }
    std::string base() { return *fs().tempFolder(); }

    void write(const std::string& path, const std::string& bytes) {
        QsStm stream = fs().open(path, kQsFileWrite | kQsFileCreate);
        ASSERT_NE(stream, nullptr) << path;
        EXPECT_EQ(stream->write(bytes.data(), static_cast<long>(bytes.size())),
                  static_cast<long>(bytes.size()));
        delete stream;
    }
    std::string read(QsStm stream) {
        std::string all;
        char block[3];
        for (long n; (n = stream->read(block, sizeof block)) > 0;)
            all.append(block, static_cast<size_t>(n));
        delete stream;
        return all;
    }
};

using Systems = ::testing::Types<Real, Fake>;
TYPED_TEST_SUITE(FileSystemTest, Systems);

TYPED_TEST(FileSystemTest, MakesFoldersAndWritesAndReadsFiles) {
    IFileSystem& fs = this->fs();
    auto data = fs.userDataFolder();
    ASSERT_TRUE(data);
    EXPECT_TRUE(fs.isFolder(*data));
    std::string folder = this->base() + "a/b/";
    EXPECT_FALSE(fs.isFolder(folder));
    EXPECT_TRUE(fs.createFolder(folder));
    EXPECT_TRUE(fs.isFolder(folder));
    EXPECT_TRUE(fs.isFolder(this->base() + "a"));

    std::string file = folder + "f";
    EXPECT_EQ(fs.open(file, kQsFileWrite), nullptr) << "no create flag";
    this->write(file, "hello world");
    EXPECT_TRUE(fs.isFile(file));
    EXPECT_FALSE(fs.isFolder(file));
    EXPECT_FALSE(fs.createFolder(file + "/"));
    EXPECT_EQ(this->read(fs.open(file, kQsFileRead)), "hello world");
    this->write(file, "short");
    EXPECT_EQ(this->read(fs.open(file, kQsFileRead)), "short") << "writing replaces";

    QsStm reader = fs.open(file, kQsFileRead);
    EXPECT_LT(reader->write("x", 1), 0) << "a read stream does not write";
    delete reader;
    const char* unopenable[] = {"", "relative", "/no/such/folder/f"};
    for (const char* path : unopenable)
        EXPECT_EQ(fs.open(path, kQsFileWrite | kQsFileCreate), nullptr) << path;
    EXPECT_EQ(fs.open(folder, kQsFileRead), nullptr);
    EXPECT_EQ(fs.open(file, 0), nullptr);
    EXPECT_EQ(fs.open(folder + "missing", kQsFileRead), nullptr);
}

TYPED_TEST(FileSystemTest, ReadsFromAnOffset) {
    std::string file = this->base() + "range";
    this->write(file, "0123456789");
    struct Case {
        int64_t offset;
        const char* expected;
    } cases[] = {{0, "0123456789"}, {4, "456789"}, {10, ""}, {25, ""}};
    for (const auto& test : cases)
        EXPECT_EQ(this->read(this->fs().openAt(file, test.offset)), test.expected) << test.offset;
    EXPECT_EQ(this->fs().openAt(file, -1), nullptr);
    EXPECT_EQ(this->fs().openAt(this->base(), 0), nullptr);
    EXPECT_EQ(this->fs().openAt(file + "-missing", 0), nullptr);
}

TYPED_TEST(FileSystemTest, RemovesRenamesAndMakesTemporaryFiles) {
    IFileSystem& fs = this->fs();
    std::string folder = this->base() + "f/";
    ASSERT_TRUE(fs.createFolder(folder));
    this->write(folder + "one", "1");
    this->write(folder + "two", "2");
    EXPECT_FALSE(fs.remove(folder)) << "a folder that holds files stays";
    EXPECT_TRUE(fs.rename(folder + "one", folder + "two"));
    EXPECT_FALSE(fs.isFile(folder + "one"));
    EXPECT_EQ(this->read(fs.open(folder + "two", kQsFileRead)), "1");
    EXPECT_FALSE(fs.rename(folder + "one", folder + "three"));
    EXPECT_FALSE(fs.rename(folder, folder + "two")) << "a folder cannot replace a file";
    EXPECT_TRUE(fs.rename(folder, this->base() + "g/"));
    EXPECT_TRUE(fs.isFile(this->base() + "g/two"));
    EXPECT_TRUE(fs.remove(this->base() + "g/two"));
    EXPECT_FALSE(fs.remove(this->base() + "g/two"));
    EXPECT_TRUE(fs.remove(this->base() + "g/"));
    EXPECT_FALSE(fs.isFolder(this->base() + "g/"));

    std::set<std::string> made;
    for (int i = 0; i < 3; ++i) {
        auto path = fs.newTempFilePath();
        ASSERT_TRUE(path);
        EXPECT_EQ(path->rfind(this->base(), 0), 0u) << *path;
        EXPECT_TRUE(fs.isFile(*path));
        EXPECT_EQ(this->read(fs.open(*path, kQsFileRead)), "");
        made.insert(*path);
    }
    EXPECT_EQ(made.size(), 3u);
}

} // namespace
