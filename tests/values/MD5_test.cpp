#include "values/MD5.h"

#include "tests/fakehost/FakeHost.h"
#include "tests/values/CaseTable.h"
#include "values/QsStm.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string hexOf(const MD5Digest& digest) {
    static const char digits[] = "0123456789abcdef";
    std::string hex;
    for (uint8_t b : digest.bytes) {
        hex += digits[b >> 4];
        hex += digits[b & 0x0F];
    }
    return hex;
}

// The text of a row of md5-suite.tsv: as it stands, or "a*N" for N times the letter.
std::string suiteText(const std::string& field) {
    if (field.size() > 2 && field.compare(0, 2, "a*") == 0)
        return std::string(std::stoul(field.substr(2)), 'a');
    return field;
}

MD5Digest digestInPieces(const std::string& text, size_t piece) {
    MD5Context context;
    MD5Init(&context);
    for (size_t at = 0; at < text.size(); at += piece)
        MD5Update(&context, text.data() + at, std::min(piece, text.size() - at));
    MD5Digest digest;
    MD5Final(&digest, &context);
    return digest;
}

TEST(MD5, DigestsMatchTheKnownSuiteInAnyPieces) {
    for (const auto& row : readCaseTable("md5-suite.tsv")) {
        std::string text = suiteText(row[0]);
        SCOPED_TRACE(row[0]);
        for (size_t piece : {size_t(1), size_t(7), size_t(63), size_t(64), size_t(65), size_t(1000),
                             text.size() + 1}) {
            if (text.size() > 10000 && piece < 1000)
                continue;
            EXPECT_EQ(hexOf(digestInPieces(text, piece)), row[1]) << "pieces of " << piece;
        }
    }
}

TEST(MD5, StreamsDigestWhatTheyCarry) {
    const std::string text(3000, 'x');
    const MD5Digest expected = digestInPieces(text, text.size());
    MD5Digest* fromStream = MD5DigestNew();
    EXPECT_TRUE(MD5DigestIsNull(fromStream));
    QsStm source = QsMemStmRdOpen(text.data(), text.size());
    EXPECT_EQ(MD5DigestCalcFromQsStm(fromStream, source), 3000);
    QsStmClose(source);
    EXPECT_TRUE(MD5DigestEqual(fromStream, &expected));
    EXPECT_FALSE(MD5DigestIsNull(fromStream));

    MD5Context context;
    MD5Init(&context);
    QsStm sink = MD5CreateQsStm(&context);
    for (size_t at = 0; at < text.size(); at += 700)
        QsStmWrite(sink, text.data() + at, static_cast<long>(std::min<size_t>(700, 3000 - at)));
    QsStmClose(sink);
    MD5Digest written;
    MD5Final(&written, &context);
    EXPECT_TRUE(MD5DigestEqual(&written, &expected));

    // A read that fails ends the digest like the end of the stream.
    QsStm broken = QsProcStmRdOpen([](char*, long, void*) -> long { return -1; }, nullptr, nullptr);
    EXPECT_EQ(MD5DigestCalcFromQsStm(fromStream, broken), 0);
    QsStmClose(broken);
    EXPECT_EQ(hexOf(*fromStream), "d41d8cd98f00b204e9800998ecf8427e");
    MD5DigestDelete(fromStream);
}

TEST(MD5, StringsAreThirtyTwoLowerCaseDigits) {
    FakeHost host;
    CEStr hash = makeMD5String("abc", 3);
    EXPECT_STREQ(hash.c_str(), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(EStrGetEncoding(hash), kEStrPDFDoc);
    EXPECT_STREQ(makeMD5String(CEStr("message digest", kEStrPDFDoc)).c_str(),
                 "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_STREQ(makeMD5String(nullptr).c_str(), "d41d8cd98f00b204e9800998ecf8427e");
}

} // namespace
