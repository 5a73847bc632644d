// UTF-8 and UTF-16 into each other: well-formed text both ways, every kind of malformed UTF-8,
// lone surrogates, and the same rules in CQsText, which is built on them.
#include "frame/UTF8.h"

#include "frame/QsText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Case {
    const char* name;
    std::string utf8;
    std::u16string units;
};

TEST(UTF8, DecodingReplacesBadSequencesAndNeverReadsPastTheEnd) {
    const Case cases[] = {
        {"ascii", "abc", u"abc"},
        {"two, three and four bytes", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80",
         u"\u00E9\u20AC\U0001F600"},
        {"the last code point", "\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
        {"overlong slash", "\xC0\xAF", u"\uFFFD\uFFFD"},
        {"overlong three bytes", "\xE0\x80\xAF", u"\uFFFD"},
        {"an encoded surrogate", "\xED\xA0\x80", u"\uFFFD"},
        {"past U+10FFFF", "\xF4\x90\x80\x80", u"\uFFFD"},
        {"a lead past F4", "\xF5\x80", u"\uFFFD\uFFFD"},
        {"a stray continuation", "a\x80z", u"a\uFFFDz"},
        {"cut short at the end", "ab\xE2\x82", u"ab\uFFFD\uFFFD"},
        {"a lead before ASCII", "\xC3x", u"\uFFFDx"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(UTF16FromUTF8(c.utf8.data(), c.utf8.size()), c.units) << c.name;
}

TEST(UTF8, EncodingJoinsPairsAndReplacesLoneSurrogates) {
    const Case cases[] = {
        {"a pair", "\xF0\x9F\x98\x80", u"\U0001F600"},
        {"a lone high one at the end", "a\xEF\xBF\xBD", std::u16string(u"a") + char16_t(0xD83D)},
        {"a lone low one", "\xEF\xBF\xBDz", std::u16string(1, char16_t(0xDE00)) + u"z"},
        {"low before high", "\xEF\xBF\xBD\xEF\xBF\xBD",
         std::u16string{char16_t(0xDE00), char16_t(0xD83D)}},
        {"BMP", "\xC3\xA9\xE2\x82\xAC", u"\u00E9\u20AC"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(UTF8FromUTF16(c.units.data(), c.units.size()), c.utf8) << c.name;
        CQsText text;
        text.set(c.units);
        EXPECT_EQ(text.getString(), c.utf8) << c.name;
    }
    std::string out;
    for (uint32_t code : {0x7Fu, 0x80u, 0x7FFu, 0x800u, 0xFFFFu, 0x10000u, 0x110000u, 0xD800u})
        AppendUTF8(out, code);
    EXPECT_EQ(out, "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80"
                   "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(UTF8, QsTextReadsUTF8ByTheSameRules) {
    CQsText text("caf\xC3\xA9 \xF0\x9F\x98\x80 \xC0");
    EXPECT_EQ(text.units(), u"caf\u00E9 \U0001F600 \uFFFD");
    EXPECT_EQ(text.getString(), "caf\xC3\xA9 \xF0\x9F\x98\x80 \xEF\xBF\xBD");
}

} // namespace
