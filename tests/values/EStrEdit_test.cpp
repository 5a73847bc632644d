#include "tests/fakehost/FakeHost.h"
#include "tests/values/EStrTestSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>

using namespace estrtest;

namespace {

std::vector<std::string> texts(const std::vector<CEStr>& pieces) {
    std::vector<std::string> out;
    for (const CEStr& piece : pieces)
        out.push_back(bytesOf(piece));
    return out;
}

TEST(EStrEdit, SearchFindsCharactersAndKeepsItsQuirks) {
    FakeHost host;
    CEStr bytes("abcabc", kEStrPDFDoc);
    CEStr wide = ucs(u"ab\u0391b");
    struct Case {
        EStr s;
        uint16_t c;
        long start;
        bool forward;
        long found;
    };
    const Case cases[] = {
        {bytes, 'b', 0, true, 1},
        {bytes, 'b', 2, true, 4},
        {bytes, 'b', 3, false, 1},
        {bytes, 'z', 0, true, -1},
        {bytes, 'a', -7, true, 0},
        {bytes, 'c', 99, false, 5},
        {wide, 0x391, 0, true, 2},
        {wide, 'b', 9, false, 3},
        {wide, 'a', LONG_MAX, false, 0},
        {bytes, 'a', LONG_MIN, true, 0},
        {nullptr, 'a', 0, true, -1},
        // Steps outside the string read 0.
        {bytes, 0, -2, true, -2},
        {bytes, 0, 8, false, 8},
    };
    for (const Case& c : cases)
        EXPECT_EQ(EStrIndexOfStartAt(c.s, c.c, c.start, c.forward), c.found)
            << c.c << " " << c.start;

    EXPECT_EQ(EStrIndexOf(bytes, 'c', false), 5);
    EXPECT_EQ(EStrIndexOf(wide, 'b', true), 1);
    EXPECT_EQ(EStrIndexOf(wide, 'b', false), 3);
    // The backward start for UCS is the byte length less one, past the last character.
    EXPECT_EQ(EStrIndexOf(wide, 0, false), 9);
    EXPECT_EQ(EStrIndexOf(bytes, 0, false), -1);
}

TEST(EStrEdit, FindStrRestartsAtTheCharacterThatBrokeTheMatch) {
    FakeHost host;
    struct Case {
        const char* text;
        const char* needle;
        long start;
        long found;
    };
    const Case cases[] = {
        {"hello world", "world", 0, 6}, {"hello world", "o", 5, 7}, {"aab", "ab", 0, 1},
        {"aaab", "aab", 0, -1}, // the match at 1 starts inside the broken partial match
        {"abab", "ab", 1, 2},           {"abc", "abc", 0, 0},       {"abc", "abcd", 0, -1},
        {"abc", "b", -1, -1},           {"abc", "b", 4, -1},        {"abc", "", 0, -1},
    };
    for (const Case& c : cases) {
        CEStr needle(c.needle, kEStrHost);
        EXPECT_EQ(EStrFindStr(CEStr(c.text, kEStrPDFDoc), needle, c.start), c.found)
            << c.text << " / " << c.needle;
        // The needle is moved to the string's encoding; UCS searches by units.
        EXPECT_EQ(EStrGetEncoding(needle), kEStrPDFDoc);
        std::u16string wide(c.text, c.text + strlen(c.text));
        EXPECT_EQ(EStrFindStr(ucs(wide), CEStr(c.needle, kEStrPDFDoc), c.start), c.found);
    }
    EXPECT_EQ(EStrFindStr(CEStr("abc"), nullptr, 0), -1);
    EXPECT_EQ(EStrFindStr(ucs(u"x\u0391y"), ucs(u"\u0391"), 0), 1);
}

TEST(EStrEdit, SnarfAndLastOccurrence) {
    FakeHost host;
    CEStr text("<a>one</a><a>two</a>", kEStrPDFDoc);
    CEStr left("<a>"), right("</a>");
    CEStr out("", kEStrPDFDoc);
    EXPECT_EQ(EStrSnarf(text, left, right, 0, out), 10);
    EXPECT_EQ(bytesOf(out), "one");
    EXPECT_EQ(EStrSnarf(text, left, right, 10, out), 20);
    EXPECT_EQ(bytesOf(out), "two");
    EXPECT_EQ(EStrSnarf(text, left, right, 20, out), -1);
    EXPECT_EQ(EStrSnarf(text, nullptr, right, 13, out), 20); // no left: from start itself
    EXPECT_EQ(bytesOf(out), "two");
    EXPECT_EQ(EStrSnarf(text, left, CEStr("]"), 0, out), 20); // no right: the rest
    EXPECT_EQ(bytesOf(out), "one</a><a>two</a>");

    CEStr path("a/b/c", kEStrPDFDoc);
    CEStr tail = CEStr::adopt(EStrrStr(path, CEStr("/", kEStrPDFDoc)));
    EXPECT_EQ(bytesOf(tail), "/c");
    EXPECT_TRUE(CEStr::adopt(EStrrStr(path, CEStr("/", kEStrHost))).isNull());
    EXPECT_TRUE(CEStr::adopt(EStrrStr(ucs(u"a/b"), ucs(u"/"))).isNull());
    EXPECT_TRUE(CEStr::adopt(EStrrStr(path, CEStr("x", kEStrPDFDoc))).isNull());
}

TEST(EStrEdit, EditsClampTheirIndexes) {
    FakeHost host;
    struct Case {
        const char* what;
        std::function<void(EStr)> edit;
        std::string bytes;    // for "abcdef" in PDFDocEncoding
        std::u16string units; // for UCS "abcdef"
    };
    const Case cases[] = {
        {"trunc", [](EStr s) { EStrCharTrunc(s, 2); }, "ab", u"ab"},
        {"trunc past", [](EStr s) { EStrCharTrunc(s, 99); }, "abcdef", u"abcdef"},
        {"front", [](EStr s) { EStrTruncFront(s, 2); }, "cdef", u"cdef"},
        {"front all", [](EStr s) { EStrTruncFront(s, 6); }, "", u""},
        {"front none", [](EStr s) { EStrTruncFront(s, -1); }, "abcdef", u"abcdef"},
        {"replace char", [](EStr s) { EStrReplaceChar(s, 'X', 1); }, "aXcdef", u"aXcdef"},
        {"replace char out", [](EStr s) { EStrReplaceChar(s, 'X', 6); }, "abcdef", u"abcdef"},
        {"remove", [](EStr s) { EStrRemoveCharAt(s, 0); }, "bcdef", u"bcdef"},
        {"remove out", [](EStr s) { EStrRemoveCharAt(s, -1); }, "abcdef", u"abcdef"},
        {"insert", [](EStr s) { EStrInsertChar(s, 'X', 3); }, "abcXdef", u"abcXdef"},
        {"insert past", [](EStr s) { EStrInsertChar(s, 'X', 99); }, "abcdefX", u"abcdefX"},
        {"insert before", [](EStr s) { EStrInsertChar(s, 'X', -1); }, "abcdef", u"abcdef"},
        {"by index", [](EStr s) { EStrReplaceByIndex(s, CEStr("XY"), 1, 3); }, "aXYdef", u"aXYdef"},
        {"by index clamped", [](EStr s) { EStrReplaceByIndex(s, CEStr("Z"), -5, 99); }, "Z", u"Z"},
        {"by index insert", [](EStr s) { EStrReplaceByIndex(s, CEStr("Z"), 2, 1); }, "abZcdef",
         u"abZcdef"},
        {"replace", [](EStr s) { EStrReplace(s, CEStr("cd"), CEStr("-")); }, "ab-ef", u"ab-ef"},
        {"replace none", [](EStr s) { EStrReplace(s, CEStr("x"), CEStr("-")); }, "abcdef",
         u"abcdef"},
        {"strip char", [](EStr s) { EStrStripChar(s, 'a'); }, "bcdef", u"bcdef"},
    };
    for (const Case& c : cases) {
        CEStr bytes("abcdef", kEStrPDFDoc);
        c.edit(bytes);
        EXPECT_EQ(bytesOf(bytes), c.bytes) << c.what;
        CEStr wide = ucs(u"abcdef");
        c.edit(wide);
        EXPECT_EQ(unitsOf(wide), c.units) << c.what;
        EXPECT_EQ(EStrGetEncoding(wide), kEStrUCS);
    }
    // A marked text prepends without its mark.
    CEStr wide = ucs(u"abc");
    EStrPrepend(wide, "\xFE\xFF\0>\0\0");
    EXPECT_EQ(unitsOf(wide), u">abc");
    CEStr bytes("abc", kEStrPDFDoc);
    EStrPrepend(bytes, ">");
    EXPECT_EQ(bytesOf(bytes), ">abc");
}

TEST(EStrEdit, TruncOnUCSLeavesTheMarkOutOfTheLength) {
    FakeHost host;
    CEStr wide = ucs(u"abc");
    EStrTrunc(wide, 2);
    // The text holds "ab", but the length counts four bytes: the mark and one unit.
    EXPECT_EQ(EStrGetLen(wide), 4);
    EXPECT_EQ(miStrlen(EStrGetBytes(wide)), 6);
    EXPECT_EQ(unitsOf(wide), u"a");
    CEStr honest = ucs(u"abc");
    EStrCharTrunc(honest, 2);
    EXPECT_EQ(EStrGetLen(honest), 6);
    CEStr bytes("abc", kEStrPDFDoc);
    EStrTrunc(bytes, 2);
    EXPECT_EQ(bytesOf(bytes), "ab");
    EStrTrunc(bytes, -3);
    EXPECT_EQ(bytesOf(bytes), "");
    CEStr shaped = CEStr::adopt(EStrNew(nullptr, kEStrUCSShaped));
    EStrCatChar(shaped, 'x');
    EStrCatChar(shaped, 'y');
    EXPECT_EQ(bytesOf(shaped), std::string("\xFE\xFF\0x\0y", 6));
    EStrTrunc(shaped, 1);
    EXPECT_EQ(EStrGetLen(shaped), 2);
    EXPECT_TRUE(EStrIsNull(shaped));
}

TEST(EStrEdit, SubstrStripAndReplaceEveryOccurrence) {
    FakeHost host;
    struct Case {
        long start;
        long count;
        std::string piece;
    };
    const Case cases[] = {{1, 3, "bcd"}, {-4, 2, "ab"}, {3, -1, "def"},
                          {4, 99, "ef"}, {9, 2, ""},    {0, 0, ""}};
    CEStr source("abcdef", 10);
    for (const Case& c : cases) {
        CEStr out = ucs(u"old");
        EStrSubstr(out, source, c.start, c.count);
        EXPECT_EQ(bytesOf(out), c.piece);
        EXPECT_EQ(EStrGetEncoding(out), 10);
    }
    CEStr self = ucs(u"hello");
    EStrSubstr(self, self, 1, 3);
    EXPECT_EQ(unitsOf(self), u"ell");

    CEStr spaced(" \t a b \r\n", kEStrPDFDoc);
    EStrStrip(spaced);
    EXPECT_EQ(bytesOf(spaced), "a b");
    EStrStripAll(spaced);
    EXPECT_EQ(bytesOf(spaced), "ab");
    CEStr wide = ucs(u" \u3000a b ");
    EStrStrip(wide);
    EXPECT_EQ(unitsOf(wide), u"\u3000a b");

    CEStr text("aaaa", kEStrPDFDoc);
    EStrReplace(text, CEStr("aa"), CEStr("a"));
    EXPECT_EQ(bytesOf(text), "aa"); // left to right, no rescan
    CEStr greek = ucs(u"\u0391-\u0391");
    CEStr from("-", kEStrHost);
    EStrReplace(greek, from, nullptr);
    EXPECT_EQ(unitsOf(greek), u"\u0391\u0391");
    EXPECT_EQ(EStrGetEncoding(from), kEStrUCS);
}

TEST(EStrEdit, SplitPiecesAndCounts) {
    FakeHost host;
    using Pieces = std::vector<std::string>;
    struct Case {
        const char* text;
        const char* delims;
        long count;
        Pieces pieces;
    };
    const Case cases[] = {
        {"a,b,c", ",", 0, {"a", "b", "c"}},
        {"a,,b", ",", 0, {"a", "", "b"}},
        {",", ",", 0, {""}}, // no final piece after the last delimiter
        // After each piece the scan jumps by the delimiters' length less one, whatever follows.
        {"a, b", ", ", 0, {"a", "b"}},
        {"a,b", ", ", 0, {"a"}},
        {"a,b;c", ",;", 0, {"a", ""}},
        {"", ",", 0, {}},
        {"a,b,c", ",", 2, {"a", "b,c"}},
        {"a", ",", 3, {"a", "", ""}},
        {"a,b,c", ",", 1, {"a,b,c"}},
        {"", ",", 2, {"", ""}},
    };
    for (const Case& c : cases) {
        CEStr delims(c.delims, kEStrHost);
        EXPECT_EQ(texts(EStrSplitNum(CEStr(c.text, kEStrPDFDoc), delims, c.count)), c.pieces)
            << c.text << " / " << c.delims << " / " << c.count;
        EXPECT_EQ(EStrGetEncoding(delims), kEStrPDFDoc);
    }
    EXPECT_EQ(texts(EStrSplit(CEStr("x y"), CEStr(" "))), (Pieces{"x", "y"}));
    EXPECT_EQ(texts(EStrSplitKeep(CEStr("a,b;c"), CEStr(",;"))), (Pieces{"a,", "b;", "c"}));
    EXPECT_EQ(texts(EStrSplitKeep(CEStr("a,"), CEStr(","))), (Pieces{"a,"}));

    std::vector<CEStr> wide = EStrSplit(ucs(u"\u0391,\u0392"), CEStr(",", kEStrPDFDoc));
    ASSERT_EQ(wide.size(), 2u);
    EXPECT_EQ(unitsOf(wide[1]), u"\u0392");
    // A huge count pads within a bound instead of exhausting memory.
    EXPECT_EQ(EStrSplitNum(CEStr("a"), CEStr(","), LONG_MAX).size(), 65536u);
    EXPECT_TRUE(EStrSplit(nullptr, CEStr(",")).empty());
}

TEST(EStrEdit, MarkupEscapes) {
    FakeHost host;
    struct Case {
        std::u16string text;
        std::string iffy;
        std::string entities;
        std::string markupKept;
    };
    const Case cases[] = {
        {u"a<b>&c", "a&lt;b&gt;&amp;c", "a&lt;b&gt;&amp;c", "a<b>&c"},
        {u"1/2 \"q\"", "1&#47;2 \"q\"", "1/2 &quot;q&quot;", "1/2 \"q\""},
        // The low byte is sign-extended: U+00E9 and U+0199 come out above 0xFF00.
        {u"\u00E9", "&#65513;", "&#233;", "&#233;"},
        {u"\u0199", "&#65433;", "&#409;", "&#409;"},
        {u"\u4E2D", "&#20013;", "&#20013;", "&#20013;"},
        {u"t\tn\nr\rx\x01", "t\tn\nr\rx\x01", "t\tn\nr\rx", "t\tn\nr\rx"},
    };
    for (const Case& c : cases) {
        CEStr s = ucs(c.text);
        CEStr iffy = CEStr::adopt(EStrIffyCharsToCharEntities(s));
        EXPECT_EQ(bytesOf(iffy), c.iffy);
        EXPECT_EQ(EStrGetEncoding(iffy), kEStrPDFDoc);
        EXPECT_EQ(bytesOf(EntityEncode(s, false)), c.entities);
        EXPECT_EQ(bytesOf(EntityEncode(s, true)), c.markupKept);
    }
    CEStr moved("caf\xE9", kEStrHost);
    CEStr iffy = CEStr::adopt(EStrIffyCharsToCharEntities(moved));
    EXPECT_EQ(bytesOf(iffy), "caf&#65513;");
    EXPECT_EQ(EStrGetEncoding(moved), kEStrUCS); // the source is moved to UCS in place
}

} // namespace
