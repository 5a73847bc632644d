#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/values/EStrTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace estrtest;

namespace {

CEStr raw(const std::string& bytes, int32_t encoding) {
    CEStr s = CEStr::adopt(EStrNew(nullptr, kEStrPDFDoc));
    EStrSetBytesWithSize(s, bytes.data(), static_cast<long>(bytes.size()), kEStrPDFDoc);
    EStrThisIsTheEncoding(s, encoding);
    return s;
}

TEST(EStrEncoding, EmptyStringsTakeTheNewValueAsItIs) {
    FakeHost host;
    struct Case {
        int32_t from;
        int32_t target;
        int32_t encoding;
        long length;
    };
    const Case cases[] = {
        {kEStrPDFDoc, kEStrUCS, kEStrUCS, 2},
        {kEStrPDFDoc, kEStrUCSShaped, kEStrUCSShaped, 2},
        {kEStrHost, kEStrAuto, kEStrPDFDoc, 0},
        {kEStrUCS, kEStrPDFDoc, kEStrPDFDoc, 0},
        {kEStrPDFDoc, 5, 5, 0},
        // Best is a request for a text; an empty string keeps it as a label.
        {kEStrPDFDoc, kEStrBest, kEStrBest, 0},
    };
    for (const Case& c : cases) {
        CEStr s = CEStr::adopt(EStrNew(nullptr, c.from));
        EStrSetEncoding(s, c.target);
        EXPECT_EQ(EStrGetEncoding(s), c.encoding) << c.from << "->" << c.target;
        EXPECT_EQ(EStrGetLen(s), c.length);
        EXPECT_TRUE(EStrIsNull(s));
    }
}

TEST(EStrEncoding, ConversionsScrubLostCharactersToBullets) {
    FakeHost host;
    struct Case {
        const char* what;
        CEStr s;
        int32_t target;
        int32_t encoding;
        std::string bytes;
    };
    Case cases[] = {
        {"CJK to PDFDoc", ucs(u"\u4E2D"), kEStrPDFDoc, kEStrPDFDoc, "\x80"},
        {"only the lost one", ucs(u"a\u4E2Db\u00E9"), kEStrPDFDoc, kEStrPDFDoc,
         "a\x80"
         "b\xE9"},
        {"0xFF9B is the euro", ucs(u"\uFF9B\u20AC"), kEStrPDFDoc, kEStrPDFDoc, "\xA0\xA0"},
        {"lone surrogate",
         ucs(u"a\xD800"
             "b"),
         kEStrPDFDoc, kEStrPDFDoc,
         "a\x80"
         "b"},
        {"to Greek", ucs(u"\u0391\u03B2"), 10, 10, "\xC1\xE2"},
        {"Greek to Cyrillic", raw("\xC1", 10), 6, 6, "\x95"},
        {"no bullet in Latin-1", ucs(u"\u0391"), kEStrHost, kEStrHost, "?"},
        {"15 is the host", ucs(u"\u00E9\u0391"), 15, 15, "\xE9?"},
        {"PDFDoc bullet to host", raw("\x80", kEStrPDFDoc), kEStrHost, kEStrHost, "?"},
        {"host to UCS", raw("caf\xE9", kEStrHost), kEStrUCS, kEStrUCS, ucsBytes(u"caf\u00E9")},
        {"Shift-JIS to UCS", raw("\x93\xFA", 4), kEStrUCS, kEStrUCS, ucsBytes(u"\u65E5")},
        {"auto keeps Greek UCS", ucs(u"\u0391\u03B2"), kEStrAuto, kEStrUCS,
         ucsBytes(u"\u0391\u03B2")},
        {"auto makes ASCII small", ucs(u"abc"), kEStrAuto, kEStrPDFDoc, "abc"},
        {"auto on host text", raw("abc", kEStrHost), kEStrAuto, kEStrPDFDoc, "abc"},
        {"auto keeps PDFDoc", raw("\x80", kEStrPDFDoc), kEStrAuto, kEStrPDFDoc, "\x80"},
        {"best of Greek", ucs(u"\u0391x"), kEStrBest, 10, "\xC1x"},
        {"best of Latin", ucs(u"caf\u00E9"), kEStrBest, kEStrHost, "caf\xE9"},
        {"no conversion gives 18", ucs(u"x"), kEStrUCSShaped, kEStrUCS, ucsBytes(u"x")},
        {"unknown target as PDFDoc", ucs(u"ab\u2022"), 99, kEStrPDFDoc, "ab\x80"},
        {"odd UCS length", raw(ucsBytes(u"a") + "b", kEStrUCS), kEStrPDFDoc, kEStrPDFDoc, "a"},
    };
    for (Case& c : cases) {
        EStrSetEncoding(c.s, c.target);
        EXPECT_EQ(EStrGetEncoding(c.s), c.encoding) << c.what;
        EXPECT_EQ(bytesOf(c.s), c.bytes) << c.what;
    }

    // Long runs of lost characters are found by halving, each one replaced.
    std::u16string mixed;
    std::string expected;
    for (int i = 0; i < 5000; ++i) {
        bool lost = i % 7 == 3 || (i > 2000 && i < 2100);
        mixed += lost ? u'\u4E2D' : u'x';
        expected += lost ? '\x80' : 'x';
    }
    CEStr s = ucs(mixed);
    EStrSetEncoding(s, kEStrPDFDoc);
    EXPECT_EQ(bytesOf(s), expected);
}

TEST(EStrEncoding, PlainASCIIConvertsAsEveryOtherText) {
    // Plain ASCII skips the converter only between encodings that hold it byte for byte; the
    // result is what the converter gives either way.
    FakeHost host;
    struct Case {
        const char* what;
        CEStr s;
        int32_t target;
        int32_t encoding;
        std::string bytes;
    };
    Case cases[] = {
        {"a number to the host", raw("-12.5e3", kEStrPDFDoc), kEStrHost, kEStrHost, "-12.5e3"},
        {"tab, line feed, return", raw("a\tb\nc\r", kEStrPDFDoc), kEStrHost, kEStrHost,
         "a\tb\nc\r"},
        {"host to PDFDoc", raw("{key: ~}", kEStrHost), kEStrPDFDoc, kEStrPDFDoc, "{key: ~}"},
        {"PDFDoc to UCS", raw("Item 7", kEStrPDFDoc), kEStrUCS, kEStrUCS, ucsBytes(u"Item 7")},
        {"Greek to UCS", raw("abc", 10), kEStrUCS, kEStrUCS, ucsBytes(u"abc")},
        {"a PDFDoc breve is no ASCII", raw("a\x18", kEStrPDFDoc), kEStrUCS, kEStrUCS,
         ucsBytes(u"a\u02D8")},
        {"Shift-JIS reads yen and overline", raw("a\\~", 4), kEStrUCS, kEStrUCS,
         ucsBytes(u"a\u00A5\u203E")},
        {"Shift-JIS yen to the host", raw("a\\", 4), kEStrHost, kEStrHost, "a\xA5"},
    };
    for (Case& c : cases) {
        EStrSetEncoding(c.s, c.target);
        EXPECT_EQ(EStrGetEncoding(c.s), c.encoding) << c.what;
        EXPECT_EQ(bytesOf(c.s), c.bytes) << c.what;
    }
}

TEST(EStrEncoding, RelabelAndFlipDoNotConvert) {
    FakeHost host;
    CEStr s = raw("\xC1", kEStrHost);
    EStrThisIsTheEncoding(s, 10);
    EStrSetEncoding(s, kEStrUCS);
    EXPECT_EQ(unitsOf(s), u"\u0391");
    EStrFlipBytes(s);
    EXPECT_EQ(bytesOf(s), "\xFF\xFE\x91\x03");
    CEStr plain = raw("ab", kEStrPDFDoc);
    EStrFlipBytes(plain);
    EXPECT_EQ(bytesOf(plain), "ab");
}

TEST(EStrEncoding, BestEncodingQueries) {
    FakeHost host;
    CEStr plain = ucs(u"abc");
    EXPECT_EQ(EStrGetBestEncoding(plain), 0);
    EXPECT_EQ(EStrGetEncoding(plain), kEStrPDFDoc); // converted in place
    CEStr greek = ucs(u"\u0391\u03B2");
    EXPECT_STREQ(QsAtomGetString(EStrGetBestEncoding(greek)), "greek_encoding");
    EXPECT_EQ(EStrGetEncoding(greek), kEStrUCS);

    struct Case {
        CEStr s;
        int32_t preferred;
        int32_t best;
    };
    Case cases[] = {
        {ucs(u"\u0391\u03B2"), kEStrBest, 10},
        {ucs(u"\uD55C\uAE00"), kEStrBest, 14},
        {ucs(u"\u0391\u05D0"), kEStrBest, 0},    // no one encoding holds both
        {raw("abc", kEStrPDFDoc), kEStrBest, 0}, // on a UCS copy
        {raw("\xC1", 5), kEStrBest, 5},          // other encodings answer themselves
        {ucs(u"abc"), 10, 10},                   // the preferred one when it holds the text
        {ucs(u"\u0391"), 6, 10},
        {raw("abc", kEStrPDFDoc), 5, 5},
        {raw("\xC1", 10), 6, 10},
    };
    for (Case& c : cases)
        EXPECT_EQ(EStrGetBestEncodingWithPref(c.s, c.preferred), c.best) << c.preferred;
    EXPECT_EQ(EStrGetBestESEEncoding(greek), 10);
    EXPECT_EQ(EStrGetBestESEEncoding(nullptr), 0);

    CEStr script = CEStr::adopt(EStrNew("x", kEStrPDFDoc));
    EStrSetEncodingWithDkScript(script, 8); // font type 8 is Greek
    EXPECT_EQ(EStrGetEncoding(script), 10);
}

TEST(EStrEncoding, TablesAreImportedOnFirstUse) {
    FakeHost host;
    auto asked = [&](const char* name, uint32_t version) {
        const auto& requests = host.core().requests();
        return std::count_if(requests.begin(), requests.end(), [&](const auto& request) {
            return request.name == name && request.version == version;
        });
    };
    CEStr greek = ucs(u"\u0391");
    EXPECT_EQ(EStrGetBestESEEncoding(greek), 10);
    EXPECT_EQ(EStrGetBestESEEncoding(greek), 10);
    EXPECT_EQ(asked("VellScriptInterface", 0x70000), 1); // asked for once
    EXPECT_EQ(gVellScriptInterfaceHFT, &host.encodings());

    // Without the script interface there is no best encoding to give.
    gVellScriptInterfaceHFT = nullptr;
    host.core().unregisterTable("VellScriptInterface");
    EXPECT_EQ(EStrGetBestESEEncoding(greek), 0);
    EXPECT_EQ(EStrGetBestEncodingWithPref(greek, 10), 0);

    // A converter the import step did not get is asked for at 0x50010.
    gBaseKitHFT = nullptr;
    host.core().registerTable("BaseKit", 0x50010, &host.encodings());
    EStrSetEncoding(greek, 10);
    EXPECT_EQ(bytesOf(greek), "\xC1");
    EXPECT_EQ(gBaseKitHFT, &host.encodings());
    EXPECT_EQ(asked("BaseKit", 0x50010), 1);

    // With no converter at all nothing converts, and nothing is lost.
    gBaseKitHFT = nullptr;
    host.core().unregisterTable("BaseKit");
    CEStr stays = ucs(u"\u0391");
    for (int32_t target : {int32_t{kEStrPDFDoc}, int32_t{kEStrHost}, int32_t{kEStrAuto},
                           int32_t{kEStrBest}, int32_t{10}})
        EStrSetEncoding(stays, target);
    EXPECT_EQ(unitsOf(stays), u"\u0391");
    EXPECT_EQ(EStrGetEncoding(stays), kEStrUCS);
}

TEST(EStrEncoding, NamesAndFontTypes) {
    FakeHost host;
    struct Case {
        int32_t encoding;
        const char* name;
        int32_t back;
    };
    const Case cases[] = {
        {0, "latin1_encoding", 0},        {15, "latin1_encoding", 0},
        {1, "PDFDocEncoding", 1},         {2, "PDFDocEncoding", 1},
        {3, "PDFDocEncoding", 1},         {99, "PDFDocEncoding", 1},
        {-1, "PDFDocEncoding", 1},        {4, "Shift-JIS", 4},
        {5, "roman_encoding", 5},         {6, "cyrillic_encoding", 6},
        {7, "arabic_encoding", 7},        {8, "hebrew_encoding", 8},
        {9, "easteurope_encoding", 9},    {10, "greek_encoding", 10},
        {11, "turkish_encoding", 11},     {12, "chinesetrad_encoding", 12},
        {13, "chinesesimp_encoding", 13}, {14, "korean_encoding", 14},
        {16, "baltic_encoding", 16},
    };
    for (const Case& c : cases) {
        QsAtom atom = ConvertEncodingToPtfm(c.encoding);
        EXPECT_STREQ(QsAtomGetString(atom), c.name) << c.encoding;
        EXPECT_EQ(ConvertPtfmToEncoding(atom), c.back) << c.encoding;
    }
    for (const char* name : {"croatian_encoding", "romanian_encoding", "icelandic_encoding",
                             "ukrainian_encoding", "nonsense"})
        EXPECT_EQ(ConvertPtfmToEncoding(QsAtomFromString(name)), 0) << name;
    EXPECT_EQ(ConvertPtfmToEncoding(kQsNullAtom), 0);

    const int32_t fontTypes[] = {0, 1, 0, 0, 2, 1, 15, 10, 11, 14, 8, 9, 3, 4, 5, 12, 13, 0, 0};
    for (int32_t encoding = 0; encoding <= 18; ++encoding)
        EXPECT_EQ(ESEToFontType(encoding), fontTypes[encoding]) << encoding;
    EXPECT_EQ(ESEToFontType(-3), 0);
    const int32_t encodings[] = {2, 5, 4, 12, 13, 14, 9, 6, 10, 11, 7, 8, 15, 16, 9, 6, 0};
    for (int32_t fontType = 0; fontType <= 16; ++fontType)
        EXPECT_EQ(FontTypeToESE(fontType), encodings[fontType]) << fontType;
    EXPECT_EQ(FontTypeToESE(-1), 0);
}

} // namespace
