#include "tests/fakehost/FakeHost.h"
#include "tests/values/EStrTestSupport.h"

#include <gtest/gtest.h>

using namespace estrtest;

namespace {

int sign(int value) {
    return (value > 0) - (value < 0);
}

TEST(EStrCompare, EncodingsMeetInUCSExceptInTheStrictOrder) {
    FakeHost host;
    struct Case {
        CEStr a;
        CEStr b;
        int cmp;
        int icmp;
        int strict;
    };
    Case cases[] = {
        {CEStr("abc", kEStrPDFDoc), ucs(u"abc"), 0, 0, -1}, // UCS is greater in the strict order
        {ucs(u"abc"), CEStr("abc", kEStrHost), 0, 0, 1},
        {CEStr("abc", kEStrHost), CEStr("abc", kEStrPDFDoc), 0, 0, -1},
        {CEStr("abc", 10), CEStr("abc", 4), 0, 0, 1}, // the larger number is greater
        {CEStr("abc", kEStrPDFDoc), CEStr("abd", kEStrPDFDoc), -1, -1, -1},
        {CEStr("ABC", kEStrPDFDoc), CEStr("abc", kEStrPDFDoc), -1, 0, -1},
        {ucs(u"ABC"), CEStr("abc", kEStrPDFDoc), -1, 0, 1},
        {ucs(u"\u00C9T\u00C9"), ucs(u"\u00E9t\u00E9"), -1, 0, -1},
        {ucs(u"\u0391"), ucs(u"\u03B1"), -1, -1, -1}, // only units below 0x100 are lowered
        {ucs(u"\u00E9"), CEStr("\xE9", kEStrHost), 0, 0, 1},
        {CEStr("", kEStrPDFDoc), ucs(u""), 0, 0, -1},
    };
    for (Case& c : cases) {
        SCOPED_TRACE(bytesOf(c.a) + " / " + bytesOf(c.b));
        EXPECT_EQ(sign(EStrCmp(c.a, c.b)), c.cmp);
        EXPECT_EQ(sign(EStrCmp(c.b, c.a)), -c.cmp);
        EXPECT_EQ(sign(EStrICmp(c.a, c.b)), c.icmp);
        EXPECT_EQ(sign(EStrCmpStrict(c.a, c.b)), c.strict);
        EXPECT_EQ(sign(EStrCmpStrict(c.b, c.a)), -c.strict);
    }
    CEStr empty("", kEStrPDFDoc);
    EXPECT_EQ(EStrCmp(nullptr, empty), 0);
    EXPECT_LT(EStrCmp(nullptr, CEStr("a")), 0);
}

TEST(EStrCompare, LexicalOrderSeesOnlyTheEncodingsTheStringsEndIn) {
    FakeHost host;
    struct Case {
        CEStr a;
        CEStr b;
        int32_t encoding;
        int result;
    };
    Case cases[] = {
        // Strings that end in one encoding compare equal: the platform has no collation.
        {CEStr("apple", kEStrPDFDoc), CEStr("zebra", kEStrPDFDoc), 0, 0},
        {ucs(u"\u0391"), ucs(u"\u03A9"), 10, 0},
        // Otherwise the difference of the encodings they end in: Greek 10, host 0.
        {ucs(u"\u0391"), CEStr("abc", kEStrPDFDoc), 0, 10},
        {CEStr("abc", kEStrPDFDoc), ucs(u"\u041C"), 0, -6},
        {CEStr("abc", kEStrPDFDoc), ucs(u"\u041C"), 6, 0},
    };
    for (Case& c : cases)
        EXPECT_EQ(EStrLexicalCmp(c.a, c.b, c.encoding), c.result);
}

TEST(EStrCompare, HashIsLookup2OverTheBytesAndNeverZero) {
    FakeHost host;
    // A text whose lookup2 mix with initial value 725005 is exactly 0.
    std::string zero = readData("hash-zero-by-mix.txt");
    ASSERT_EQ(zero.size(), 12u);
    CEStr mixesToZero = CEStr::adopt(EStrNew(zero.c_str(), kEStrPDFDoc));
    EXPECT_EQ(EStrHash(mixesToZero), 725005u);

    // The encoding takes no part; the bytes do.
    CEStr host0 = CEStr::adopt(EStrNew("same bytes", kEStrHost));
    CEStr greek = CEStr::adopt(EStrNew("same bytes", 10));
    CEStr other = CEStr::adopt(EStrNew("same byteS", kEStrHost));
    EXPECT_EQ(EStrHash(host0), EStrHash(greek));
    EXPECT_NE(EStrHash(host0), EStrHash(other));

    // Every mutation clears the cached value.
    CEStr grown = CEStr::adopt(EStrNew("same", kEStrHost));
    uint32_t before = EStrHash(grown);
    const std::function<void(EStr)> mutations[] = {
        [](EStr s) { EStrCat(s, " bytes"); },
        [](EStr s) { EStrSetBytes(s, "same bytes", kEStrHost); },
        [](EStr s) {
            EStrCatChar(s, ' ');
            EStrCat(s, "bytes");
        },
        [](EStr s) { EStrPrintf(s, "%s %s", "same", "bytes"); },
        [](EStr s) {
            EStrPrepend(s, "same bytes");
            EStrTrunc(s, 10);
        },
        [](EStr s) { EStrAssign(s, CEStr("same bytes", kEStrHost)); },
    };
    for (const auto& mutate : mutations) {
        EStrSetBytes(grown, "same", kEStrHost);
        EXPECT_EQ(EStrHash(grown), before);
        mutate(grown);
        EXPECT_EQ(EStrHash(grown), EStrHash(host0));
    }
    EXPECT_NE(EStrHash(nullptr), 0u);
}

} // namespace
