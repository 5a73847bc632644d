// Property names across the bridge: every name comes through exact however often it is met, the
// names a context keeps do not grow with the calls made, and a context that goes takes them along.
#include "tests/values/CESTestSupport.h"
#include "tests/values/CaseTable.h"

#include "frame/HostTables.h"
#include "values/CESConvert.h"
#include "values/CESNames.h"

#include <vector>

namespace {

using namespace CES;

class CESPropertyNames : public CESTest {
protected:
    /// Reads a script value into a CAgg and writes that back to script as the global x.
    void roundTrip(const std::string& source, bool textKeys) {
        Val value = run(source);
        CAgg agg;
        ESValToCAgg(agg, value.slot(), textKeys);
        Val back(context);
        CAggToESVal(back.slot(), agg);
        setGlobal("x", back);
    }

    /// Script that checks x against a map of count keys made by name(i) with the value i.
    static std::string sameMap(const std::string& name, int count) {
        return "(function () { var k = Object.keys(x); if (k.length != " + std::to_string(count) +
               ") return 'keys: ' + k.length; for (var i = 0; i < " + std::to_string(count) +
               "; ++i) if (x[" + name + "] !== i) return 'wrong at ' + i; return 'same'; })()";
    }
};

TEST_F(CESPropertyNames, NamesCrossEachWayExactlyOnTheFirstCallAndTheNext) {
    for (const auto& row : readCaseTable("property-names.tsv")) {
        ASSERT_EQ(row.size(), 2u);
        for (bool textKeys : {true, false}) {
            const std::string& expected = textKeys ? row[0] : row[1];
            for (int call = 0; call < 3; ++call) {
                roundTrip("var o = {}; o[" + row[0] + "] = 7; o", textKeys);
                EXPECT_EQ(textOf("var k = Object.keys(x); k.length == 1 && k[0] === " + expected +
                                 " && x[" + expected + "] === 7 ? 'same' : JSON.stringify(k)"),
                          "same")
                    << row[0] << (textKeys ? " text keys" : " atom keys") << ", call " << call;
            }
        }
    }
}

TEST_F(CESPropertyNames, KeysOfEveryEncodingNameTheirProperty) {
    struct Case {
        CEStr key;
        const char* name; // as a script expression
    };
    std::vector<Case> cases;
    cases.push_back({CEStr("h\xE9llo", kEStrHost), "'h\\u00e9llo'"});
    cases.push_back({CEStr::adopt(EStrNewSize(0, kEStrUCS)), "''"});
    EStrSetBytesWithSize(cases.back().key, "\xFE\xFF\x4E\x2D\x00x", 6, kEStrUCS);
    cases.back().name = "'\\u4e2dx'";
    cases.push_back({CEStr("\x80 bullet", kEStrPDFDoc), "'\\u2022 bullet'"});
    cases.push_back({CEStr("plain\tkey ~", kEStrPDFDoc), "'plain\\tkey ~'"});
    cases.push_back({CEStr("a\x18", kEStrPDFDoc), "'a\\u02d8'"});
    cases.push_back({CEStr("", kEStrHost), "''"});
    for (int call = 0; call < 2; ++call) {
        for (Case& c : cases) {
            CAgg map;
            map.toMap()[c.key] = CAgg(7L);
            Val value(context);
            CAggToESVal(value.slot(), map);
            setGlobal("x", value);
            EXPECT_EQ(textOf("var k = Object.keys(x); k.length == 1 && k[0] === " +
                             std::string(c.name) + " ? 'same' : JSON.stringify(k)"),
                      "same")
                << c.name << ", call " << call;
        }
    }
    // Two keys that name one property make one property, as two sets of it would.
    CAgg map;
    map.toMap()[CEStr("1", kEStrHost)] = CAgg(1L);
    CEStr ucsOne = CEStr::adopt(EStrNewSize(0, kEStrUCS));
    EStrSetBytesWithSize(ucsOne, "\xFE\xFF\x00\x31", 4, kEStrUCS);
    map.toMap()[ucsOne] = CAgg(1L);
    Val value(context);
    CAggToESVal(value.slot(), map);
    setGlobal("x", value);
    EXPECT_EQ(textOf("JSON.stringify(x)"), "{\"1\":1}");
    // The same for a key in PDFDocEncoding and its UCS form, set in the map's order.
    CAgg two;
    two.toMap()[CEStr("k", kEStrPDFDoc)] = CAgg(1L);
    CEStr ucsK = CEStr::adopt(EStrNewSize(0, kEStrUCS));
    EStrSetBytesWithSize(ucsK, "\xFE\xFF\x00k", 4, kEStrUCS);
    two.toMap()[ucsK] = CAgg(2L);
    for (int call = 0; call < 2; ++call) {
        Val out(context);
        CAggToESVal(out.slot(), two);
        setGlobal("x", out);
        EXPECT_EQ(textOf("JSON.stringify(x)"), "{\"k\":2}") << "call " << call;
    }
}

TEST_F(CESPropertyNames, MoreDistinctKeysThanAContextKeepsCrossExactlyAndHoldNoMoreCallAfterCall) {
    // Each call brings 3,000 keys never seen before, beside structs whose keys repeat.
    std::vector<size_t> held;
    for (int call = 0; call < 6; ++call) {
        std::string prefix = "'call " + std::to_string(call) + " key ' + i";
        for (bool textKeys : {true, false}) {
            roundTrip("var o = {}; for (var i = 0; i < 3000; ++i) o[" + prefix + "] = i; o",
                      textKeys);
            EXPECT_EQ(textOf(sameMap(prefix, 3000)), "same") << "call " << call;
            roundTrip("var a = [], flood = {}; for (var i = 0; i < 3000; ++i) {"
                      " flood['flood " +
                          std::to_string(call) +
                          " ' + i] = i; a.push({id: i, name: 'n' + i, price: i + 0.5}); }"
                          " ({flood: flood, items: a})",
                      textKeys);
            EXPECT_EQ(textOf("x.items.length == 3000 && x.items[2999].id === 2999 && "
                             "x.items[2999].name === 'n2999' && x.items[17].price === 17.5 && "
                             "Object.keys(x.flood).length == 3000 && x.flood['flood " +
                             std::to_string(call) + " 2999'] === 2999 ? 'same' : 'changed'"),
                      "same")
                << "call " << call;
        }
        engine.dropLooseRoots();
        held.push_back(engine.heldNameCount());
    }
    // No more than the cache's names and "read" and "write", however many calls were made.
    for (size_t i = 0; i < held.size(); ++i)
        EXPECT_LE(held[i], detail::NameCache::kCapacity + 2) << "call " << i;
}

TEST_F(CESPropertyNames, RepeatedCallsHoldNoMoreNamesOrSlots) {
    Val items = run("var a = []; for (var i = 0; i < 1000; ++i)"
                    " a.push({id: i, name: 'Item ' + i, price: i + 0.25, active: i % 2 == 0}); a");
    std::vector<std::pair<size_t, size_t>> counts;
    for (int call = 0; call < 5; ++call) {
        CAgg agg;
        ESValToCAgg(agg, items.slot(), 1);
        Val back(context);
        CAggToESVal(back.slot(), agg);
        engine.dropLooseRoots();
        counts.emplace_back(engine.heldNameCount(), engine.liveSlotCount());
    }
    EXPECT_GT(counts[0].first, 0u);
    for (size_t i = 1; i < counts.size(); ++i)
        EXPECT_EQ(counts[i], counts[0]) << "call " << i;
}

TEST_F(CESPropertyNames, AContextThatGoesTakesItsNamesAlong) {
    size_t before = engine.heldNameCount();
    for (int round = 0; round < 3; ++round) {
        ESContext other = engine.newContext("Doc", nullptr);
        Val value(other);
        engine.evaluate(other, nullptr, "({alpha: 1, beta: {gamma: [2]}})", -1, value.slot());
        CAgg agg;
        ESValToCAgg(agg, value.slot(), 1);
        Val back(other);
        CAggToESVal(back.slot(), agg);
        EXPECT_GT(engine.heldNameCount(), before);
        engine.destroyContext(other);
        EXPECT_EQ(engine.heldNameCount(), before) << "round " << round;
    }
    // What the next context converts is whole.
    roundTrip("({alpha: 1, beta: {gamma: [2]}})", true);
    EXPECT_EQ(textOf("JSON.stringify(x)"), "{\"alpha\":1,\"beta\":{\"gamma\":[2]}}");
}

bool closeOwnContext(ESContext context, ESObject, ESArgs, ESVal) {
    gESHFT->destroyContext(context);
    return true;
}

TEST_F(CESPropertyNames, AContextThatGoesWhileItsValueConvertsFailsThatConversionOnly) {
    // A setter or getter of the script ends its own context half way through a conversion.
    const char* const kWrites[] = {"Object.defineProperty(Object.prototype, 'trap',"
                                   " {set: function (v) { closeMe(); }, configurable: true});"};
    const char* const kReads[] = {
        "({a: 1, get b() { closeMe(); return 2; }, c: {d: 3}})",
        "[{a: 1}, {get b() { closeMe(); return {e: 5}; }}, {c: 3}]",
    };
    // The value's slot is left to its context, which frees it when it goes.
    auto doomed = [&](const char* source) {
        ESContext gone = engine.newContext("Doc", nullptr);
        engine.addMethod(engine.globalObject(gone), "closeMe", closeOwnContext);
        ESVal value = engine.newVal(gone);
        engine.evaluate(gone, nullptr, source, -1, value);
        return value;
    };
    for (const char* source : kWrites) {
        ESVal value = doomed(source);
        CAgg map;
        map["a"] = CAgg(1L);
        map["trap"] = CAgg(2L);
        map["z"]["deep"] = CAgg(3L);
        try {
            CAggToESVal(value, map);
        } catch (const Val&) {
            // The context is gone: failing is all the conversion can do.
        }
        EXPECT_EQ(engine.valueContext(value), nullptr) << source;
    }
    for (const char* source : kReads) {
        ESVal value = doomed(source);
        CAgg out;
        try {
            ESValToCAgg(out, value, 1);
        } catch (const Val&) {
        }
        EXPECT_EQ(engine.valueContext(value), nullptr) << source;
    }
    roundTrip("({a: 1, trap: 2, c: {d: 3}})", true);
    EXPECT_EQ(textOf("JSON.stringify(x)"), "{\"a\":1,\"c\":{\"d\":3},\"trap\":2}");
}

TEST_F(CESPropertyNames, HeldNamesAreOneHandleForOneNameAndGoWithTheirLastHold) {
    size_t before = engine.heldNameCount();
    ESName one = engine.holdName(context, "1", -1);
    ESName marked = engine.holdName(context, "\xFE\xFF\x00\x31", 4);
    ESName other = engine.holdName(context, "h\xE9", -1);
    ASSERT_NE(one, nullptr);
    EXPECT_EQ(one, marked);
    EXPECT_NE(one, other);
    std::string text;
    EXPECT_TRUE(engine.readName(other, true, text));
    EXPECT_EQ(text, std::string("\xFE\xFF\x00h\x00\xE9", 6));
    EXPECT_TRUE(engine.readName(other, false, text));
    EXPECT_EQ(text, "h\xE9");

    // An enumeration gives the handle of a held name and the text of any other.
    Val object = run("({1: 'a', 'h\\u00e9': 'b', plain: 'c'})");
    std::vector<std::string> seen;
    auto visit = [](ESName name, const char* text, long length, ESVal, void* data) {
        auto& out = *static_cast<std::vector<std::string>*>(data);
        out.push_back(name ? "held" : std::string(text, static_cast<size_t>(length)));
        return true;
    };
    EXPECT_TRUE(engine.enumerateNamed(object.object(), context, false, visit, &seen));
    EXPECT_EQ(seen, (std::vector<std::string>{"held", "held", "plain"}));

    // Set and get by a held name, and a whole object in one call.
    Val seven(7L, context);
    EXPECT_TRUE(engine.setNamed(object.object(), other, seven.slot()));
    Val read(context);
    EXPECT_TRUE(engine.getNamed(object.object(), other, read.slot()));
    EXPECT_EQ(static_cast<long>(read), 7L);
    ESName names[] = {other, one};
    ESVal values[] = {seven.slot(), seven.slot()};
    Val made(context);
    ASSERT_TRUE(
        engine.newObjectWithProperties(context, "Aggregate", names, values, 2, made.slot()));
    setGlobal("x", made);
    EXPECT_EQ(textOf("Object.prototype.toString.call(x) + ' ' + JSON.stringify(x)"),
              "[object Aggregate] {\"1\":7,\"h\xC3\xA9\":7}");

    engine.releaseName(one);
    engine.releaseName(other);
    EXPECT_EQ(engine.heldNameCount(), before + 1);
    engine.releaseName(marked);
    EXPECT_EQ(engine.heldNameCount(), before);
}

} // namespace
