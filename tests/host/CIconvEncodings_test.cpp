#include "host/encodings/CIconvEncodings.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace {

std::string readData(const char* name) {
    std::ifstream in(std::string(VELL_TEST_DATA) + "/host/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST(CIconvEncodings, PDFDocEncodingCoversAllCodesBothWays) {
    CIconvEncodings encodings;
    // Every code decodes, and every unit that came out encodes back to the same code.
    std::string all(256, '\0');
    for (int i = 0; i < 256; ++i)
        all[static_cast<size_t>(i)] = static_cast<char>(i);
    std::u16string units;
    ASSERT_TRUE(encodings.toUnicode("PDFDocEncoding", all.data(), all.size(), units));
    ASSERT_EQ(units.size(), 256u);
    std::string back;
    ASSERT_TRUE(encodings.fromUnicode("PDFDocEncoding", units.data(), units.size(), back));
    EXPECT_EQ(back, all);

    struct Case {
        unsigned code;
        char16_t unit;
    };
    const Case cases[] = {
        {0x18, 0x02D8}, {0x1F, 0x02DC}, {0x41, u'A'},   {0x80, 0x2022}, {0x8D, 0x201C},
        {0x93, 0xFB01}, {0x9E, 0x017E}, {0xA0, 0x20AC}, {0xE9, 0x00E9}, {0xFF, 0x00FF},
    };
    for (const Case& c : cases)
        EXPECT_EQ(units[c.code], c.unit) << std::hex << c.code;

    // Units whose code number went to a special character have no code of their own.
    for (char16_t unit : {char16_t{0x18}, char16_t{0x80}, char16_t{0xA0}, char16_t{0x4E2D}})
        EXPECT_FALSE(encodings.canEncode("PDFDocEncoding", &unit, 1))
            << std::hex << static_cast<unsigned>(unit);
}

TEST(CIconvEncodings, NamedEncodingsRoundTripToTheLastCharacter) {
    CIconvEncodings encodings;
    // Each text ends in a letter a converter could hold back waiting for a combining mark; each
    // goes through once as it is and once with a trailing space, which must survive as well.
    struct Case {
        const char* name;
        std::u16string text;
    };
    const Case cases[] = {
        {"Shift-JIS", u"\u65E5\u672C\u3042"},
        {"roman_encoding", u"\u00E9\u2022e"},
        {"cyrillic_encoding", u"\u041C\u0438\u0440"},
        {"arabic_encoding", u"\u0633\u0644\u0627\u0645"},
        {"hebrew_encoding", u"\u05E9\u05DC\u05D5\u05DD"},
        {"easteurope_encoding", u"\u0141\u00F3d\u017A"},
        {"greek_encoding", u"\u0391\u03B2\u03B3"},
        {"turkish_encoding", u"\u011F\u0131\u015F"},
        {"chinesetrad_encoding", u"\u4E2D\u6587"},
        {"chinesesimp_encoding", u"\u4E2D\u6587"},
        {"korean_encoding", u"\uD55C\uAE00"},
        {"baltic_encoding", u"\u0101\u0113"},
        {"latin1_encoding", u"caf\u00E9"},
        {"croatian_encoding", u"\u010Di\u0107"},
        {"romanian_encoding", u"\u0219\u021B"},
        {"icelandic_encoding", u"\u00DE\u00E6"},
        {"ukrainian_encoding", u"\u0404\u0456"},
    };
    for (const Case& c : cases) {
        for (const std::u16string& text : {c.text, c.text + u" "}) {
            std::string bytes;
            ASSERT_TRUE(encodings.fromUnicode(c.name, text.data(), text.size(), bytes)) << c.name;
            std::u16string back;
            ASSERT_TRUE(encodings.toUnicode(c.name, bytes.data(), bytes.size(), back)) << c.name;
            EXPECT_EQ(back, text) << c.name << " " << text.size();
        }
    }

    // Hebrew read from its bytes: all four letters, also when an unknown byte follows a letter
    // still held back.
    std::u16string units;
    ASSERT_TRUE(encodings.toUnicode("hebrew_encoding", "\xF9\xEC\xE5\xED", 4, units));
    EXPECT_EQ(units, u"\u05E9\u05DC\u05D5\u05DD");
    ASSERT_TRUE(encodings.toUnicode("hebrew_encoding", "\xF9\xFF\xEC", 3, units));
    EXPECT_EQ(units, u"\u05E9\uFFFD\u05DC");

    std::string bytes;
    EXPECT_FALSE(encodings.knowsEncoding("klingon_encoding"));
    EXPECT_FALSE(encodings.toUnicode("klingon_encoding", "a", 1, units));
    EXPECT_FALSE(encodings.fromUnicode("klingon_encoding", u"a", 1, bytes));
    EXPECT_TRUE(encodings.knowsEncoding(encodings.hostEncodingName()));
}

TEST(CIconvEncodings, BadInputIsReplacedOrRefusedNeverFatal) {
    CIconvEncodings encodings;
    // A Shift-JIS lead byte cut off at the end, and a byte with no meaning, each read U+FFFD.
    std::string sjis = readData("shift-jis-bad-byte-and-cut-lead-byte.bin");
    std::u16string units;
    ASSERT_TRUE(encodings.toUnicode("Shift-JIS", sjis.data(), sjis.size(), units));
    EXPECT_EQ(units, u"a\u65E5\uFFFD\uFFFD");
    // A lone surrogate has no mapping anywhere.
    const char16_t lone[] = {u'a', 0xD800, u'b'};
    std::string bytes;
    EXPECT_FALSE(encodings.canEncode("latin1_encoding", lone, 3));
    EXPECT_FALSE(encodings.fromUnicode("latin1_encoding", lone, 3, bytes));
    EXPECT_TRUE(encodings.canEncode("latin1_encoding", lone, 1));
    // The handle is reset between calls: a failure leaves no state behind.
    EXPECT_TRUE(encodings.fromUnicode("latin1_encoding", u"ok", 2, bytes));
    EXPECT_EQ(bytes, "ok");
}

TEST(CIconvEncodings, BestEncodingPrefersTheHostThenTheScriptThatHoldsTheText) {
    CIconvEncodings encodings;
    struct Case {
        std::u16string text;
        const char* preferred;
        const char* best;
    };
    const Case cases[] = {
        {u"plain", nullptr, "latin1_encoding"},
        {u"plain", "greek_encoding", "greek_encoding"},
        {u"\u0391\u03B2", nullptr, "greek_encoding"},
        {u"\u0391\u03B2", "cyrillic_encoding", "greek_encoding"},
        {u"\u041C\u0438\u0440", nullptr, "cyrillic_encoding"},
        {u"\u3042\u4E2D", nullptr, "Shift-JIS"},
        {u"\uD55C\uAE00", nullptr, "korean_encoding"},
        {u"\u0391\u041C\u05D0", nullptr, nullptr},
    };
    for (const Case& c : cases) {
        const char* best = encodings.bestEncoding(c.text.data(), c.text.size(), c.preferred);
        if (!c.best)
            EXPECT_EQ(best, nullptr);
        else
            EXPECT_STREQ(best, c.best);
    }
}

} // namespace
