#include "frame/HostTables.h"
#include "tests/fakehost/FakeHost.h"
#include "values/QsFileStm.h"
#include "values/QsStm.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

std::string valuesTestData(const char* name) {
    std::ifstream in(std::string(VELL_TEST_DATA) + "/values/" + name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TEST(QsFileStm, WritesAFileAndReadsItBack) {
    FakeHost host;
    QsStm out = QsFileStmWrOpen("/tmp/reply.bin");
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(QsStmWrite(out, "abc\0def", 7), 7);
    QsStmClose(out);
    EXPECT_EQ(host.files().fileContents("/tmp/reply.bin"), std::string("abc\0def", 7));
    QsStm in = QsFileStmRdOpen("/tmp/reply.bin");
    EXPECT_EQ(QsStmReadAll(in, 2), std::string("abc\0def", 7));
    QsStmClose(in);

    // Writing again replaces the contents.
    out = QsFileStmWrOpen("/tmp/reply.bin");
    QsStmWrite(out, "x", 1);
    QsStmClose(out);
    EXPECT_EQ(host.files().fileContents("/tmp/reply.bin"), "x");

    const char* unopenable[] = {nullptr, "", "/tmp/", "/missing/folder/file"};
    for (const char* path : unopenable) {
        EXPECT_EQ(QsFileStmWrOpen(path), nullptr) << (path ? path : "null");
        EXPECT_EQ(QsFileStmRdOpen(path), nullptr) << (path ? path : "null");
    }
}

TEST(QsFileStm, ReadsAByteRangeOfAFile) {
    FakeHost host;
    // The part's data, "DATA", sits at bytes 15 to 18.
    host.files().putFile("/tmp/multipart", valuesTestData("multipart-one-part.txt"));
    struct Case {
        int64_t offset, length;
        const char* expected; // null: no stream
    } cases[] = {
        {15, 4, "DATA"},     {0, 3, "--b"},    {15, 0, ""},
        {24, 100, "--\r\n"}, // the file ends first
        {400, 5, ""},        {-1, 4, nullptr}, {0, -1, nullptr},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(std::to_string(test.offset) + "+" + std::to_string(test.length));
        QsStm range = QsFileRangeStmRdOpen("/tmp/multipart", test.offset, test.length);
        if (!test.expected) {
            EXPECT_EQ(range, nullptr);
            continue;
        }
        ASSERT_NE(range, nullptr);
        EXPECT_EQ(QsStmReadAll(range, 3), test.expected);
        QsStmClose(range);
    }
    EXPECT_EQ(QsFileRangeStmRdOpen("/tmp/none", 0, 1), nullptr);
}

TEST(QsFileStm, NeedsAFileSystem) {
    FakeHost host;
    host.files().putFile("/tmp/f", "bytes");
    host.support().setFiles(nullptr);
    EXPECT_EQ(QsFileStmRdOpen("/tmp/f"), nullptr);
    EXPECT_EQ(QsFileStmWrOpen("/tmp/f"), nullptr);
    EXPECT_EQ(QsFileRangeStmRdOpen("/tmp/f", 0, 1), nullptr);
}

} // namespace
