// Encoded strings to and from UTF-8: the one door between EStr and the libraries' text.
#include "tests/fakehost/FakeHost.h"
#include "tests/values/EStrTestSupport.h"
#include "values/EStr.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using estrtest::bytesOf;

TEST(EStrUTF8, TextKeepsItsCharactersBothWays) {
    struct Case {
        std::string utf8;
        int32_t encoding;   // of the EStr made from it
        std::string stored; // its bytes
    };
    // ASCII stays single-byte; anything else becomes UCS, astral characters as surrogate pairs.
    const Case cases[] = {
        {"", kEStrPDFDoc, ""},
        {"Envelope", kEStrPDFDoc, "Envelope"},
        {"t\xC3\xA9l", kEStrUCS, std::string("\xFE\xFF\x00t\x00\xE9\x00l", 8)},
        {"\xE6\x97\xA5\xF0\x9D\x84\x9E", kEStrUCS, "\xFE\xFF\x65\xE5\xD8\x34\xDD\x1E"},
    };
    for (const Case& c : cases) {
        CEStr text = EStrFromUTF8(c.utf8);
        EXPECT_EQ(EStrGetEncoding(text), c.encoding) << c.utf8;
        EXPECT_EQ(bytesOf(text), c.stored) << c.utf8;
        EXPECT_EQ(EStrToUTF8(text), c.utf8);
        EXPECT_EQ(bytesOf(EStrFromUTF8(c.utf8.c_str())), c.stored);
        EXPECT_EQ(bytesOf(EStrFromUTF8(c.utf8.data(), static_cast<long>(c.utf8.size()))), c.stored);
    }
    EXPECT_EQ(EStrGetLen(EStrFromUTF8(nullptr)), 0);
    EXPECT_EQ(EStrToUTF8(nullptr), "");
}

TEST(EStrUTF8, BrokenInputBecomesReplacementCharacters) {
    // Bytes that are no UTF-8, a cut sequence among them, each become U+FFFD.
    CEStr broken = EStrFromUTF8("a\xFF\xE6\x97");
    EXPECT_EQ(bytesOf(broken), std::string("\xFE\xFF\x00\x61\xFF\xFD\xFF\xFD\xFF\xFD", 10));
    EXPECT_EQ(EStrGetBytes(broken)[10], '\0');
    // A lone surrogate in a UCS string comes out as U+FFFD.
    CEStr lone = estrtest::ucs(u"x\xD800y");
    EXPECT_EQ(EStrToUTF8(lone), "x\xEF\xBF\xBDy");
    // Appending from a unit on skips the ones before it.
    std::string tail = "<";
    EStrAppendUCSAsUTF8(tail, estrtest::ucs(u"ab\u00E9"), 1);
    EXPECT_EQ(tail, "<b\xC3\xA9");
}

TEST(EStrUTF8, SingleByteTextReachesUTF8ThroughItsCharacters) {
    FakeHost host; // the host's converter reads the single-byte encodings
    // PDFDocEncoding's 0x95 is U+0141.
    EXPECT_EQ(EStrToUTF8(CEStr("caf\xE9 \x95", kEStrPDFDoc)), "caf\xC3\xA9 \xC5\x81");
}

} // namespace
