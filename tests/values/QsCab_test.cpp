#include "frame/HostError.h"
#include "frame/QsCore.h"
#include "tests/fakehost/FakeHost.h"
#include "values/QsCab.h"
#include "values/QsStm.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <utility>

namespace {

CEStr ucs(std::u16string units) {
    return CEStr::adopt(EStrNewFromQsUns16WithLen(reinterpret_cast<const uint16_t*>(units.data()),
                                                  static_cast<long>(units.size())));
}

/// The keys of a cabinet, in enumeration order, joined by spaces.
std::string keysOf(FakeHost& host, QsCab cab) {
    std::string all;
    for (const auto& info : host.cabinets().keys(cab))
        all += (all.empty() ? "" : " ") + info.key;
    return all;
}

TEST(QsCabName, EscapesEveryUnitButASCIILettersAndDigits) {
    FakeHost host;
    struct Case {
        CEStr name;
        const char* expected;
    } cases[] = {
        {CEStr(""), "_sSs_"},
        {CEStr(), "_sSs_"},
        {CEStr("Feed42"), "Feed42"},
        {CEStr("a_b"), "a_005fb"},
        {CEStr("a b.c"), "a_0020b_002ec"},
        {CEStr("\xE9", kEStrPDFDoc), "_00e9"},
        {ucs(u"\u00e9"), "_00e9"},
        {ucs(u"\u65e5"), "_65e5"},
    };
    for (const auto& test : cases) {
        CEStr escaped = QsCabEncodeName(test.name);
        EXPECT_STREQ(escaped.c_str(), test.expected);
        EXPECT_EQ(EStrGetEncoding(escaped), kEStrPDFDoc);
    }
}

TEST(QsCabName, UnescapesAndCutsATruncatedEscape) {
    FakeHost host;
    struct Case {
        const char* name;
        CEStr expected;
    } cases[] = {
        {"plain", CEStr("plain")},
        {"a_005fb", CEStr("a_b")},
        {"_00e9", CEStr("\xE9", kEStrPDFDoc)},
        {"_00E9", CEStr("\xE9", kEStrPDFDoc)},
        {"_65e5x", ucs(u"\u65e5x")},
        // A unit that is no hexadecimal digit gives its low 4 bits: 'g' is 0x67.
        {"_00g9", CEStr("y")},
        // The escape runs past the end of the name: the name ends where the escape began.
        {"ab_00", CEStr("ab")},
        {"ab_", CEStr("ab")},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        CEStr out;
        QsCabDecodeName(CEStr(test.name), out);
        EXPECT_EQ(EStrCmpStrict(out, test.expected), 0) << out.c_str();
    }
    CEStr untouched("kept");
    QsCabDecodeName(CEStr("_sSs_"), untouched);
    EXPECT_STREQ(untouched.c_str(), "kept");
}

/// A value turned into a cabinet and back.
CAgg roundTrip(CAgg value, bool atomKeys = false) {
    QsCab cab = CAgg2QsCab(value);
    CAgg back;
    if (atomKeys)
        QsCabToCAggWithAtomMap(back, cab);
    else
        QsCab2CAgg(back, cab);
    QsCabDestroy(cab);
    return back;
}

TEST(QsCab, RoundTripsMapsAndVectors) {
    FakeHost host;
    auto vectorOf = [](std::initializer_list<CAgg> items) {
        CAgg v;
        v.toVector();
        for (const CAgg& item : items)
            v.toVector().push_back(item);
        return v;
    };
    auto mapOf = [](std::initializer_list<std::pair<const char*, CAgg>> entries) {
        CAgg m;
        m.toMap();
        for (const auto& [key, item] : entries)
            m[key] = item;
        return m;
    };
    CAgg feeds;
    feeds["Feeds"][0] = CAgg("http://example.com/rss");
    feeds["Contents"]["http://example.com/rss"]["TTL"] = CAgg(60);
    feeds["Contents"]["http://example.com/rss"]["IsRead"].toQsBool() = 1;
    feeds["Kind"].toQsAtom() = QsAtomFromString("RSS");
    struct Case {
        const char* what;
        CAgg value, expected;
    } cases[] = {
        {"vector of three", vectorOf({CAgg(1), CAgg("two"), CAgg(3.5)}),
         vectorOf({CAgg(1), CAgg("two"), CAgg(3.5)})},
        {"map with keys 0 and 1 comes back a vector", mapOf({{"1", CAgg("b")}, {"0", CAgg("a")}}),
         vectorOf({CAgg("a"), CAgg("b")})},
        {"map with keys 1 and 2 stays a map", mapOf({{"1", CAgg("a")}, {"2", CAgg("b")}}),
         mapOf({{"1", CAgg("a")}, {"2", CAgg("b")}})},
        {"empty map comes back an empty vector", mapOf({}), vectorOf({})},
        {"empty name and escaped names survive",
         mapOf({{"", CAgg(1)}, {"a_b", CAgg(2)}, {"\xE9t\xE9", CAgg(3)}}),
         mapOf({{"", CAgg(1)}, {"a_b", CAgg(2)}, {"\xE9t\xE9", CAgg(3)}})},
        {"nested values and scalar kinds", feeds, feeds},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        CAgg back = roundTrip(test.value);
        EXPECT_EQ(back.getType(), test.expected.getType());
        EXPECT_TRUE(back == test.expected);
    }
    EXPECT_EQ(host.cabinets().liveCount(), 0u);
}

TEST(QsCab, WritesKeysAsTheCabinetSeesThem) {
    FakeHost host;
    CAgg m;
    m["a_b"] = CAgg(1);
    m["10"] = CAgg(2);
    m["9"] = CAgg(3);
    m[""] = CAgg(4);
    // A key is moved to PDFDocEncoding before it is escaped: what that cannot hold is a bullet.
    m[ucs(u"\u65e5")] = CAgg(5);
    QsCab cab = CAgg2QsCab(m);
    EXPECT_EQ(keysOf(host, cab), "9 10 _sSs_ a_005fb _2022");

    CAgg v;
    v[0] = CAgg(1);
    v[1][0] = CAgg(2);
    QsCab vector = CAgg2QsCab(v);
    EXPECT_EQ(keysOf(host, vector), "0 1");
    EXPECT_EQ(host.cabinets().kindOf(vector, "1"), kQsCabCabinet);
    QsCabDestroy(cab);
    QsCabDestroy(vector);
}

TEST(QsCab, ReadsEveryKindTheHostKeeps) {
    FakeHost host;
    ICabinets& cabs = host.cabinets();
    QsCab cab = cabs.newCabinet();
    cabs.putString(cab, "String", "by\0tes", 6);
    cabs.putString(cab, "Marked", "\xFE\xFF\0A", 4);
    cabs.putText(cab, "Text", QsTextRec{u"\u65e5"});
    cabs.putBinary(cab, "Binary", "\x89PNG", 4);
    cabs.putNull(cab, "Null");
    cabs.putUns32(cab, "Uns32", 4000000000u);
    cabs.putPointer(cab, "Icon", "VxIcon", &host, nullptr);
    cabs.putInt(cab, "_0030", 7); // an escaped digit key never makes a vector

    CAgg value;
    QsCab2CAgg(value, cab);
    ASSERT_EQ(value.getType(), CAgg::eMap);
    CAgg& string = value["String"];
    ASSERT_EQ(string.getType(), CAgg::eEStr);
    EXPECT_EQ(EStrGetLen(string.toEStr()), 6);
    EXPECT_EQ(EStrGetEncoding(string.toEStr()), kEStrPDFDoc);
    EXPECT_EQ(EStrGetEncoding(value["Marked"].toEStr()), kEStrUCS);
    EXPECT_EQ(EStrCmp(value["Text"].toEStr(), ucs(u"\u65e5")), 0);
    // Binary data, null, and a pointer that is no stream are entries without a value.
    EXPECT_EQ(value["Binary"].getType(), CAgg::eVoid);
    EXPECT_EQ(value["Null"].getType(), CAgg::eVoid);
    EXPECT_EQ(value["Icon"].getType(), CAgg::eVoid);
    EXPECT_EQ(value["Uns32"].getType(), CAgg::eQsInt32);
    EXPECT_EQ(value["Uns32"].toQsInt32(), static_cast<QsInt32>(4000000000u));
    EXPECT_EQ(value["0"].toQsInt32(), 7);
    cabs.destroyCabinet(cab);

    CAgg absent("was here");
    QsCab2CAgg(absent, nullptr);
    EXPECT_EQ(absent.getType(), CAgg::eVector);
    EXPECT_TRUE(absent.toVector().empty());
}

TEST(QsCab, PassesStreamsAndIconsAsTypedPointers) {
    FakeHost host;
    QsStm stream = QsMemStmRdOpen("data", 4);
    CAgg m;
    m["Stream"] = CAgg(stream, 1);
    m["Icon"] = CAgg(static_cast<void*>(&host));
    QsCab cab = CAgg2QsCab(m);
    auto pointer = host.cabinets().getPointer(cab, "Stream");
    ASSERT_TRUE(pointer);
    EXPECT_EQ(pointer->type, "QsStm");
    EXPECT_EQ(*static_cast<QsStm*>(pointer->pointer), stream);
    EXPECT_EQ(host.cabinets().getPointer(cab, "Icon")->pointer, &host);

    CAgg back;
    QsCab2CAgg(back, cab);
    QsCabDestroy(cab);
    ASSERT_EQ(back["Stream"].getType(), CAgg::eQsStm);
    EXPECT_EQ(back["Stream"].toQsStm(), stream);
    back = CAgg(); // the copy read back does not own the stream
    EXPECT_EQ(QsStmReadAll(m["Stream"].toQsStm()), "data");
}

TEST(QsCab, UsesAtomKeysAtEveryLevel) {
    FakeHost host;
    CAgg m;
    m["Outer"]["Inner"] = CAgg(1);
    m["List"][0] = CAgg(2);
    CAgg back = roundTrip(m, true);
    ASSERT_EQ(back.getType(), CAgg::eQsAtomMap);
    CAgg& outer = back.toQsAtomMap()[QsAtomFromString("Outer")];
    EXPECT_EQ(outer.getType(), CAgg::eQsAtomMap);
    EXPECT_EQ(outer[QsAtomFromString("Inner")].toQsInt32(), 1);
    EXPECT_EQ(back[QsAtomFromString("List")].getType(), CAgg::eVector);
}

TEST(QsCab, CutsNestingTheHostCannotKeep) {
    FakeHost host;
    CAgg deep;
    CAgg* level = &deep;
    for (int i = 0; i < 40; ++i)
        level = &(*level)["In"];
    *level = CAgg(1);
    QsCab cab = CAgg2QsCab(deep);
    CAgg back;
    QsCab2CAgg(back, cab);
    QsCabDestroy(cab);
    int depth = 0;
    for (CAgg* at = &back; at->getType() == CAgg::eMap && at->has("In"); at = &(*at)["In"])
        ++depth;
    EXPECT_EQ(depth, kQsCabMaxDepth - 1) << "the last cabinet keeps its key, without a value";

    host.support().setCabinets(nullptr);
    EXPECT_THROW(CAgg2QsCab(deep), HostError);
}

} // namespace

namespace {

/// A value put under a key by QsCabPutCAgg, against a copy of it in a map turned whole.
void expectPutAsCAgg2QsCabPuts(FakeHost& host, CAgg value, int level = 1) {
    ICabinets& cabs = host.cabinets();
    const CAgg before = value;
    CAgg whole;
    whole["Key"] = value;
    QsCab expected = CAgg2QsCab(whole);
    QsCab put = cabs.newCabinet();
    QsCabPutCAgg(put, level, CEStr("Key"), value);
    EXPECT_TRUE(cabs.equal(put, expected));
    EXPECT_TRUE(value == before) << "the value was changed";
    QsCabDestroy(put);
    QsCabDestroy(expected);
}

} // namespace

TEST(QsCab, PutsALiveValueAsCAgg2QsCabPutsItsCopyAndLeavesItAlone) {
    FakeHost host;
    auto atom = [](const char* text) { return QsAtomFromString(text); };
    CAgg item = CAgg::atomMapWithRoom(4);
    item[atom("Title")] = CAgg("plain text");
    item[atom("Link")] = CAgg("caf\xE9 \x18"); // not all of it is the same in Unicode
    item[atom("10")] = CAgg(1);
    item[atom("9")] = CAgg(2);
    item[atom("a_b")].toQsBool() = 1;
    item[atom("Text")] = CAgg(ucs(u"\u65e5\u672c").get());
    QsTimeRec when{};
    when.year = 2004;
    when.month = 3;
    CAgg record;
    record["Items"][0] = item;
    record["Items"][1] = CAgg(7L);
    record[ucs(u"\u65e5")] = CAgg(3.5);
    record[""].toQsAtom() = atom("RSS");
    record["ModDate"] = CAgg(when);
    struct Case {
        const char* what;
        CAgg value;
    } cases[] = {
        {"an atom map, in the order of the map of texts it would become", item},
        {"a map of every kind of key, with a time record", record},
        {"a time record alone", CAgg(when)},
        {"a text in UCS", CAgg(ucs(u"\u00e9t\u00e9").get())},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        expectPutAsCAgg2QsCabPuts(host, test.value);
    }
    // Nothing becomes a stream cell of its own, as in CAgg2QsCab.
    CAgg nothing;
    QsCab cell = host.cabinets().newCabinet();
    QsCabPutCAgg(cell, 1, CEStr("Key"), nothing);
    EXPECT_EQ(host.cabinets().kindOf(cell, "Key"), kQsCabPointer);
    EXPECT_EQ(nothing.getType(), CAgg::eVoid);
    QsCabDestroy(cell);

    // The live value keeps its types: what CAgg2QsCab would have converted in place.
    QsCab cab = host.cabinets().newCabinet();
    QsCabPutCAgg(cab, 1, CEStr("Key"), record);
    EXPECT_EQ(record["Items"][0].getType(), CAgg::eQsAtomMap);
    EXPECT_EQ(EStrGetEncoding(record["Items"][0][atom("Text")].toEStr()), kEStrUCS);
    EXPECT_EQ(record["ModDate"].getType(), CAgg::eQsTimeRec);
    QsCabDestroy(cab);
}

TEST(QsCab, PutCutsNestingFromTheLevelItIsGiven) {
    FakeHost host;
    CAgg deep;
    CAgg* level = &deep;
    for (int i = 0; i < 40; ++i)
        level = &(*level)["In"];
    *level = CAgg(1);
    for (int at : {1, 2, kQsCabMaxDepth - 1, kQsCabMaxDepth}) {
        SCOPED_TRACE(at);
        // A cabinet at that level: the nesting above it counts against the bound.
        QsCab top = host.cabinets().newCabinet();
        QsCab inner = top;
        for (int i = 1; i < at; ++i) {
            QsCab next = host.cabinets().newCabinet();
            host.cabinets().putCabinet(inner, "In", next);
            inner = next;
        }
        QsCabPutCAgg(inner, at, CEStr("In"), deep);
        CAgg back;
        QsCab2CAgg(back, top);
        int depth = 0;
        for (CAgg* node = &back; node->getType() == CAgg::eMap && node->has("In");
             node = &(*node)["In"])
            ++depth;
        EXPECT_EQ(depth, kQsCabMaxDepth - 1);
        QsCabDestroy(top);
    }
}

TEST(QsCab, StoresEachTextAsItsUnits) {
    FakeHost host;
    struct Case {
        const char* what;
        CEStr text;
    } cases[] = {
        {"printable ASCII and blanks", CEStr("a b\tc\nd\re~", kEStrPDFDoc)},
        {"PDFDocEncoding's own characters", CEStr("\x18\x7f\x80\xE9", kEStrPDFDoc)},
        {"the host's encoding", CEStr("caf\xE9", kEStrHost)},
        {"UCS", ucs(u"\u65e5\u672c \U0001F600")},
        {"empty", CEStr("", kEStrPDFDoc)},
    };
    for (auto& test : cases) {
        SCOPED_TRACE(test.what);
        QsTextRec expected;
        QsTextFromEStr(test.text, &expected);
        CAgg live;
        live["Text"] = CAgg(test.text.get());
        QsCab put = host.cabinets().newCabinet();
        QsCabPutCAgg(put, 1, CEStr("Key"), live);
        QsCab whole = CAgg2QsCab(live);
        EXPECT_EQ(host.cabinets().getText(host.cabinets().getCabinet(put, "Key"), "Text"),
                  expected.units);
        EXPECT_EQ(host.cabinets().getText(whole, "Text"), expected.units);
        QsCabDestroy(put);
        QsCabDestroy(whole);
    }
}
