#include "frame/miString.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

std::string ucs(const char16_t* text) {
    std::string bytes = "\xFE\xFF";
    for (; *text; ++text) {
        bytes += static_cast<char>(*text >> 8);
        bytes += static_cast<char>(*text & 0xFF);
    }
    bytes += std::string(2, '\0');
    return bytes;
}

TEST(miString, MarkedTextsCompareByUnitsOthersByBytes) {
    std::string abc = ucs(u"abc"), abd = ucs(u"abd"), upper = ucs(u"ABC"), greek = ucs(u"\u0391bc");
    EXPECT_EQ(miStrlen(abc.c_str()), 8);
    EXPECT_EQ(miStrlen("abc"), 3);
    EXPECT_EQ(miStrcmp(abc.c_str(), abd.c_str()), -1);
    EXPECT_EQ(miStrcmp(abd.c_str(), abc.c_str()), 1);
    EXPECT_EQ(miStrcmp(abc.c_str(), abc.c_str()), 0);
    EXPECT_EQ(miStricmp(abc.c_str(), upper.c_str()), 0);
    // Only units with a zero high byte are lowered, the Latin-1 capitals with them.
    EXPECT_NE(miStricmp(greek.c_str(), ucs(u"\u03B1bc").c_str()), 0);
    EXPECT_EQ(miStricmp(ucs(u"\u00C9t\u00C9").c_str(), ucs(u"\u00E9T\u00E9").c_str()), 0);
    EXPECT_NE(miStricmp(ucs(u"\u00D7").c_str(), ucs(u"\u00F7").c_str()), 0);
    // One marked side falls to the byte comparison.
    EXPECT_LT(miStrcmp("abc", abc.c_str()), 0);
    EXPECT_EQ(miStricmp("ABC", "abc"), 0);
}

TEST(miString, StripTrimsAndStripAllRemoves) {
    char text[] = "  a b \t";
    miStrip(text);
    EXPECT_STREQ(text, "a b");
    char all[] = " a b\tc ";
    miStripAll(all);
    EXPECT_STREQ(all, "abc");
    std::string marked = ucs(u"  x y ");
    miStrip(marked.data());
    EXPECT_EQ(miStrcmp(marked.c_str(), ucs(u"x y").c_str()), 0);
    std::string spread = ucs(u" x\ty \u3000");
    miStripAll(spread.data());
    EXPECT_EQ(miStrcmp(spread.c_str(), ucs(u"xy\u3000").c_str()), 0);
    miStrip(nullptr);
    miStripAll(nullptr);
    miUCSStrip(nullptr);
}

TEST(miString, NumbersIgnoreTheProcessLocale) {
    EXPECT_EQ(miAtoi("42abc"), 42);
    EXPECT_EQ(miAtoi(nullptr), 0);
    EXPECT_EQ(miAtoi("99999999999999999999"), 2147483647);
    EXPECT_EQ(miAtoi("-99999999999"), -2147483647 - 1);
    EXPECT_DOUBLE_EQ(mdAtof("1.5"), 1.5);
    char buffer[32];
    miSnprintf(buffer, sizeof buffer, "%f", 1.5);
    EXPECT_STREQ(buffer, "1.500000");
}

} // namespace
