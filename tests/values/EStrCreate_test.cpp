#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/values/EStrTestSupport.h"
#include "values/SmallBlocks.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

using namespace estrtest;

namespace {

TEST(EStrCreate, EncodingFollowsTheMarkOfTheText) {
    FakeHost host;
    const std::string marked = ucsBytes(u"a") + std::string(2, '\0');
    struct Case {
        const char* text;
        int32_t requested;
        int32_t encoding;
        long length;
        bool isNull;
    };
    const Case cases[] = {
        {"abc", kEStrUCS, kEStrPDFDoc, 3, false}, // no mark: silently PDFDocEncoding
        {nullptr, kEStrUCS, kEStrUCS, 2, true},   // the mark alone
        {"", kEStrUCS, kEStrUCS, 2, true},
        {marked.c_str(), kEStrUCS, kEStrUCS, 4, false},
        {marked.c_str(), kEStrAuto, kEStrUCS, 4, false},
        {"abc", kEStrAuto, kEStrPDFDoc, 3, false},
        {nullptr, kEStrAuto, kEStrPDFDoc, 0, true},
        {"\xFE"
         "a",
         kEStrAuto, kEStrPDFDoc, 2, false},
        {"abc", kEStrHost, kEStrHost, 3, false},
        {"abc", 5, 5, 3, false},
    };
    for (const Case& c : cases) {
        CEStr s = CEStr::adopt(EStrNew(c.text, c.requested));
        EXPECT_EQ(EStrGetEncoding(s), c.encoding)
            << c.requested << " " << (c.text ? c.text : "null");
        EXPECT_EQ(EStrGetLen(s), c.length);
        EXPECT_EQ(EStrIsNull(s), c.isNull);
        // Two zero bytes always follow the text.
        EXPECT_EQ(EStrGetBytes(s)[c.length], 0);
        EXPECT_EQ(EStrGetBytes(s)[c.length + 1], 0);

        // Setting bytes follows the same rule.
        CEStr set = CEStr::adopt(EStrNew("old", 7));
        EStrSetBytes(set, c.text, c.requested);
        EXPECT_EQ(EStrGetEncoding(set), c.encoding);
        EXPECT_EQ(EStrGetLen(set), c.length);
    }
}

TEST(EStrCreate, LanguageAndCountryEscapesCollapse) {
    FakeHost host;
    struct Case {
        std::u16string text;
        const char* language;
        const char* country;
        std::u16string rest;
    };
    // An escape's letters are bytes: "en" is the unit 0x656E.
    const Case cases[] = {
        {u"\u001B\u656E\u5553\u001Bhi", "en", "US", u"hi"},
        {u"\u001B\u3132\u001Bhi", "", "", u"\u3132\u001Bhi"}, // digits: only the escape goes
        {u"\u001B\u656Ehi", "en", "", u"hi"},
        {u"\u001B\u6672\u001B", "fr", "", u""},
        {u"hi\u001B\u656E\u001B", "", "", u"hi\u001B\u656E\u001B"},
    };
    auto letters = [](uint16_t pair) {
        return pair ? std::string{static_cast<char>(pair >> 8), static_cast<char>(pair & 0xFF)}
                    : std::string();
    };
    for (const Case& c : cases) {
        std::string text = ucsBytes(c.text) + std::string(2, '\0');
        CEStr made = CEStr::adopt(EStrNew(text.c_str(), kEStrAuto));
        CEStr set = ucs(c.text);
        for (EStr s : {made.get(), set.get()}) {
            EXPECT_EQ(letters(EStrGetLanguage(s)), c.language);
            EXPECT_EQ(letters(EStrGetCountry(s)), c.country);
            EXPECT_EQ(unitsOf(s), c.rest);
        }
    }
}

TEST(EStrCreate, CapacityGrowsByDoublingAndShrinksOnlyByHalves) {
    FakeHost host;
    CEStr s = CEStr::adopt(EStrNew("", kEStrPDFDoc));
    EXPECT_EQ(s.get()->capacity, 32);
    struct Step {
        long need;
        int32_t capacity;
    };
    const Step steps[] = {
        {31, 32},   // fits
        {40, 64},   // doubled once
        {200, 256}, // doubled until it reaches 224
        {100, 128}, // 128 is half of 256: shrinks
        {90, 128},  // 96 is more than half: stays
        {10, 128},  // 32 is at most half, but 128 is below 129: stays
        {300, 512}, {0, 32},
    };
    for (const Step& step : steps) {
        EStrCheck(s, step.need);
        EXPECT_EQ(s.get()->capacity, step.capacity) << step.need;
    }
    EXPECT_EQ(CEStr::adopt(EStrNewSize(0, 0)).get()->capacity % 32, 0);

    // 100,000 single characters in a row stay one text.
    for (int i = 0; i < 100000; ++i)
        EStrCatChar(s, static_cast<uint16_t>('a' + i % 26));
    EXPECT_EQ(EStrGetLen(s), 100000);
    EXPECT_EQ(EStrGetBytes(s)[99999], 'a' + 99999 % 26);
    EXPECT_EQ(s.get()->capacity, 131072);
}

// The sizes of the small blocks freed at each address while it is watched.
std::map<const void*, size_t>* gFreedBlocks = nullptr;

TEST(EStrCreate, ARecordGivesBackTheBlockItWasMadeInWhereverItsTextWent) {
    // A record and its first buffer are one block. The text may move out of it, by growing or
    // by shrinking from a large room, and back the block goes whole when the string goes.
    FakeHost host;
    struct Case {
        long length;          // of the text it is made with
        std::vector<long> to; // lengths it is then cut or grown to, in order
    };
    const Case cases[] = {
        {0, {}}, {0, {40}}, {300, {}}, {300, {5}}, {300, {5, 2000}}, {3000, {}}, {3000, {5}},
    };
    std::map<const void*, size_t> freed;
    gFreedBlocks = &freed;
    smallBlockSetFreeObserver(
        [](const void* block, size_t bytes) { (*gFreedBlocks)[block] = bytes; });
    for (const Case& c : cases) {
        std::string text(static_cast<size_t>(c.length), 'a');
        EStr s = EStrNew(text.c_str(), kEStrPDFDoc);
        size_t made = sizeof(_EStrRec) + static_cast<size_t>(s->capacity);
        for (long length : c.to) {
            if (length < EStrGetLen(s)) {
                EStrTrunc(s, length);
            } else {
                EStrCat(s, std::string(static_cast<size_t>(length - EStrGetLen(s)), 'b').c_str());
            }
            text.resize(static_cast<size_t>(length), 'b');
            EXPECT_EQ(bytesOf(s), text) << c.length << " to " << length;
        }
        freed.clear();
        EStrDelete(s);
        EXPECT_EQ(freed[s], made) << c.length;
    }
    smallBlockSetFreeObserver(nullptr);
    gFreedBlocks = nullptr;
}

TEST(EStrCreate, SizesBelowZeroRaiseTheBadSizeError) {
    FakeHost host;
    CEStr s = CEStr::adopt(EStrNew("keep", kEStrPDFDoc));
    const std::function<void()> calls[] = {
        [&] { EStrCheck(s, -1); },
        [&] { EStrSetSize(s, -5); },
        [&] { EStrSetBytesWithSize(s, "x", -1, kEStrPDFDoc); },
        [&] { EStrSetUCSBytesWithSize(s, "x", -2); },
        [&] { EStrDelete(EStrNewSize(-1, kEStrPDFDoc)); },
        [&] { EStrDelete(EStrNewFromQsUns16WithLen(nullptr, -3)); },
    };
    for (const auto& call : calls) {
        HostFrame frame;
        EXPECT_EQ(frame.run(call), kHostErrBadSize);
    }
    EXPECT_EQ(bytesOf(s), "keep");
}

// A core whose allocator remembers block sizes, and notes every block freed with data left in it.
// Records that come from the small blocks are watched as they are given back: a freed one that
// still holds the secret's first letters has data left.
class WatchingCore final : public ICore {
public:
    WatchingCore() {
        sm_current = this;
        smallBlockSetFreeObserver([](const void* block, size_t bytes) {
            std::string_view freed(static_cast<const char*>(block), bytes);
            if (freed.find("sec") != std::string_view::npos)
                sm_current->m_leftData = true;
        });
    }
    ~WatchingCore() override {
        smallBlockSetFreeObserver(nullptr);
        sm_current = nullptr;
    }
    QsAtom atomFromString(const char* text) override { return m_core.atomFromString(text); }
    const char* atomGetString(QsAtom atom) override { return m_core.atomGetString(atom); }
    void* memMalloc(size_t size) override { return memCalloc(1, size); }
    void* memCalloc(size_t count, size_t size) override {
        void* block = std::calloc(count, size);
        m_sizes[block] = count * size;
        return block;
    }
    void* memRealloc(void* block, size_t size) override {
        m_sizes.erase(block);
        void* grown = std::realloc(block, size);
        m_sizes[grown] = size;
        return grown;
    }
    void memFree(void* block) override {
        const auto* bytes = static_cast<const unsigned char*>(block);
        for (size_t i = 0; i < m_sizes[block]; ++i)
            m_leftData = m_leftData || bytes[i] != 0;
        m_sizes.erase(block);
        std::free(block);
    }
    QsCallback callbackCreate(ExtensionID e, QsProc p) override {
        return m_core.callbackCreate(e, p);
    }
    void callbackDestroy(QsCallback c) override { m_core.callbackDestroy(c); }
    HFT extensionMgrGetHFT(QsAtom n, uint32_t v) override {
        return m_core.extensionMgrGetHFT(n, v);
    }
    HFTServer hftServerNew(const char* n, HFTServerProvideProc p, HFTServerDestroyProc d,
                           void* data) override {
        return m_core.hftServerNew(n, p, d, data);
    }
    IEntryTable* hftNew(HFTServer s, int32_t n) override { return m_core.hftNew(s, n); }
    void hftReplaceEntry(IEntryTable* t, int32_t i, QsCallback c) override {
        m_core.hftReplaceEntry(t, i, c);
    }

    bool leftData() const { return m_leftData; }

private:
    CHostCore m_core;
    std::map<void*, size_t> m_sizes;
    bool m_leftData = false;
    static inline WatchingCore* sm_current = nullptr;
};

TEST(EStrCreate, SecureDeletionLeavesNothingBehind) {
    FakeHost host;
    struct Case {
        const char* name;
        void (*destroy)(EStr);
        bool leavesData;
    };
    const Case cases[] = {
        {"delete", [](EStr s) { EStrDelete(s); }, true},
        {"secure", [](EStr s) { EStrDeleteSecure(s); }, false},
        {"destroy",
         [](EStr s) {
             EStrDestroy(&s);
             EXPECT_EQ(s, nullptr);
         },
         false},
    };
    for (const Case& c : cases) {
        for (long grown : {0L, 1000L}) {
            WatchingCore core;
            gCoreHFT = &core;
            EStr s = EStrNew("secret", kEStrPDFDoc);
            for (long i = 0; i < grown; ++i)
                EStrCat(s, "more secret");
            EStrTrunc(s, 3); // a drop leaves old bytes past the length
            c.destroy(s);
            EXPECT_EQ(core.leftData(), c.leavesData) << c.name << " " << grown;
            gCoreHFT = &host.core();
        }
    }
    EStrDestroy(nullptr);
    EStrDeleteSecure(nullptr);
}

TEST(EStrCreate, CopiesAndJoinsKeepEncodingAndText) {
    FakeHost host;
    CEStr greek = ucs(u"\u0391\u03B2");
    CEStr plain = CEStr::adopt(EStrNew("ab", kEStrPDFDoc));
    CEStr empty = CEStr::adopt(EStrNew("", kEStrHost));

    CEStr copy = CEStr::adopt(EStrCopy(greek));
    EXPECT_EQ(EStrCmpStrict(copy, greek), 0);
    EXPECT_EQ(EStrCopySetEncoding(nullptr, kEStrUCS), nullptr);

    // Empty strings are skipped; the first non-empty one fixes the encoding.
    CEStr joined = CEStr::adopt(EStrNewFromEStr(empty.get(), plain.get(), greek.get(), nullptr));
    EXPECT_EQ(EStrGetEncoding(joined), kEStrPDFDoc);
    EXPECT_EQ(bytesOf(joined), "ab\x80\x80"); // Greek has no PDFDocEncoding: bullets
    CEStr wide = CEStr::adopt(EStrNewFromEStr(greek.get(), plain.get(), nullptr));
    EXPECT_EQ(unitsOf(wide), u"\u0391\u03B2ab");
    CEStr none = CEStr::adopt(EStrNewFromEStr(nullptr));
    EXPECT_TRUE(EStrIsNull(none));

    CEStr target = CEStr::adopt(EStrNew("x", kEStrHost));
    EStrCatEStr(target, plain.get(), empty.get(), target.get(), nullptr);
    EXPECT_EQ(bytesOf(target), "xabxab");

    CEStr number = CEStr::adopt(EStrNewFromInt(-42));
    EXPECT_EQ(bytesOf(number), "-42");
    EXPECT_EQ(EStrGetEncoding(number), kEStrHost);

    const uint16_t units[] = {0x0048, 0x00E9, 0};
    CEStr fromUnits = CEStr::adopt(EStrNewFromQsUns16(units));
    EXPECT_EQ(unitsOf(fromUnits), u"H\u00E9");
    CQsText text;
    QsTextFromEStr(fromUnits, text.get());
    EXPECT_EQ(text.units(), u"H\u00E9");
    CEStr back = CEStr::adopt(EStrNewFromQsText(text.get()));
    EXPECT_EQ(EStrCmpStrict(back, fromUnits), 0);
}

TEST(EStrCreate, SettersReplaceContents) {
    FakeHost host;
    CEStr s = CEStr::adopt(EStrNew("start", kEStrHost));
    // Embedded zeros survive an explicit size.
    EStrSetBytesWithSize(s, "a\0b", 3, kEStrPDFDoc);
    EXPECT_EQ(bytesOf(s), std::string("a\0b", 3));
    // No text: empty, and the encoding set as for an empty string.
    EStrSetBytesWithSize(s, nullptr, 0, kEStrUCS);
    EXPECT_EQ(EStrGetEncoding(s), kEStrUCS);
    EXPECT_EQ(EStrGetLen(s), 2);

    const char bigEndian[] = {0x00, 'h', 0x00, 'i', 0x00, 0x00};
    EStrSetUCSBytesWithSize(s, bigEndian, 0); // measured up to the zero unit
    EXPECT_EQ(unitsOf(s), u"hi");
    const char hostOrder[] = {'h', 0x00, 'o', 0x00};
    EStrSetHostEndianUCSBytesWithSize(s, hostOrder, 4);
    EXPECT_EQ(unitsOf(s), u"ho");
    EStrFlipBytes(s);
    EXPECT_EQ(bytesOf(s), std::string("\xFF\xFEh\0o\0", 6));

    EStrSetSize(s, 5);
    EXPECT_EQ(EStrGetLen(s), 5);
    CEStr other = CEStr::adopt(EStrNew("other", 9));
    EStrAssign(s, other);
    EXPECT_EQ(EStrCmpStrict(s, other), 0);
    EStrSetBytesFromInt(s, 7);
    EXPECT_EQ(bytesOf(s), "7");
    EStrPrintf(s, "%d-%s", 12, "x");
    EXPECT_EQ(bytesOf(s), "12-x");
    std::string longText(5000, 'x');
    EStrPrintf(s, "%s", longText.c_str());
    EXPECT_EQ(EStrGetLen(s), 4097);
}

TEST(EStrCreate, CEStrAssignmentAndAppendRules) {
    FakeHost host;
    CEStr null;
    CEStr abc = CEStr::adopt(EStrNew("abc", kEStrPDFDoc));
    EXPECT_STREQ(null.c_str(), "");

    CEStr target;
    target = abc.get(); // into a null wrapper: a copy
    EXPECT_NE(target.get(), abc.get());
    EXPECT_EQ(EStrCmp(target, abc), 0);
    EStr kept = target.get();
    target = ucs(u"xy").get(); // else EStrAssign into the same record
    EXPECT_EQ(target.get(), kept);
    EXPECT_EQ(unitsOf(target), u"xy");
    target = static_cast<const _EStrRec*>(nullptr); // a null source destroys the record
    EXPECT_TRUE(target.isNull());

    struct Case {
        CEStr target;
        CEStr source;
        int32_t encoding;
        std::string bytes;
    };
    Case cases[] = {
        {CEStr("ab", kEStrPDFDoc), CEStr(), kEStrPDFDoc, "ab"},            // null source: nothing
        {CEStr(), CEStr("cd", kEStrHost), kEStrHost, "cd"},                // null target: a copy
        {CEStr("", kEStrPDFDoc), CEStr("cd", kEStrHost), kEStrHost, "cd"}, // empty: a copy
        {CEStr("ab", kEStrHost), CEStr("cd", kEStrHost), kEStrHost, "abcd"},
        {ucs(u"a"), ucs(u"b"), kEStrUCS, ucsBytes(u"ab")},
        {CEStr("a", kEStrPDFDoc), ucs(u"\u0391"), kEStrUCS, ucsBytes(u"a\u0391")},
        {ucs(u"\u0391"), CEStr("\x80", kEStrPDFDoc), kEStrUCS, ucsBytes(u"\u0391\u2022")},
    };
    for (Case& c : cases) {
        c.target += c.source;
        EXPECT_EQ(EStrGetEncoding(c.target), c.encoding);
        EXPECT_EQ(bytesOf(c.target), c.bytes);
    }

    CEStr text;
    text += "ab";
    text += "cd";
    text += static_cast<const char*>(nullptr);
    EXPECT_EQ(bytesOf(text), "abcd");
    CEStr moved = std::move(text);
    EXPECT_TRUE(text.isNull());
    EXPECT_STREQ(moved.c_str(), "abcd");
}

TEST(EStrCreate, ReadsGiveCharactersAndIgnoreBadIndexes) {
    FakeHost host;
    CEStr bytes = CEStr::adopt(EStrNew("a\xE9", kEStrHost));
    CEStr wide = ucs(u"a\u00E9");
    struct Case {
        EStr s;
        long index;
        uint16_t c;
    };
    const Case cases[] = {
        {bytes, 0, 'a'}, {bytes, 1, 0xFFE9}, // a single byte reads sign-extended
        {bytes, 2, 0},   {bytes, -1, 0},     {bytes, 1L << 40, 0},
        {wide, 1, 0xE9}, {wide, 2, 0},       {nullptr, 0, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(EStrCharAt(c.s, c.index), c.c) << c.index;
    EXPECT_EQ(EStrGetCharLen(bytes), 2);
    EXPECT_EQ(EStrGetCharLen(wide), 2);
    EXPECT_EQ(EStrGetLen(wide), 6);
    EXPECT_EQ(EStrGetCharLen(nullptr), 0);
    EXPECT_STREQ(EStrGetBytes(nullptr), "");
    EXPECT_TRUE(EStrIsNull(nullptr));
}

} // namespace
