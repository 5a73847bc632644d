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

TEST(CIconvEncodings, NamedEncodingsRoundTripThroughIconv) {
    CIconvEncodings encodings;
    struct Case {
        const char* name;
        std::u16string text;
    };
    const Case cases[] = {
        {"latin1_encoding", u"caf\u00E9"},
        {"roman_encoding", u"\u00E9\u2022"},
        {"cyrillic_encoding", u"\u041C\u0438\u0440"},
        {"greek_encoding", u"\u0391\u03B2"},
        {"Shift-JIS", u"\u65E5\u672C\u3042"},
        {"chinesesimp_encoding", u"\u4E2D\u6587"},
        {"chinesetrad_encoding", u"\u4E2D\u6587"},
        {"korean_encoding", u"\uD55C\uAE00"},
        {"baltic_encoding", u"\u0101"},
        {"icelandic_encoding", u"\u00DE"},
    };
    for (const Case& c : cases) {
        std::string bytes;
        ASSERT_TRUE(encodings.fromUnicode(c.name, c.text.data(), c.text.size(), bytes)) << c.name;
        std::u16string back;
        ASSERT_TRUE(encodings.toUnicode(c.name, bytes.data(), bytes.size(), back)) << c.name;
        EXPECT_EQ(back, c.text) << c.name;
    }
    std::string bytes;
    std::u16string units;
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
