// The converters between script values and CAgg, against the real engine.
#include "tests/values/CESTestSupport.h"
#include "tests/values/CaseTable.h"
#include "values/QsStm.h"

#include "frame/HostTables.h"
#include "frame/host/VxIconBundle.h"
#include "values/CESConvert.h"

#include <chrono>
#include <vector>

namespace {

using namespace CES;

class CESConvert : public CESTest {
protected:
    /// The CAgg that a script value reads as.
    CAgg read(const std::string& source, bool textKeys = true) {
        CAgg out;
        Val value = run(source);
        ESValToCAgg(out, value.slot(), textKeys);
        return out;
    }

    /// What script says of a CAgg once it is a script value: typeof, and JSON of it.
    std::string written(CAgg in) {
        Val value(context);
        CAggToESVal(value.slot(), in);
        setGlobal("x", value);
        return textOf("typeof x + ' ' + (typeof x == 'object' && x !== null ? "
                      "Object.prototype.toString.call(x) + ' ' : '') + JSON.stringify(x)");
    }

    /// The exception that reading a script value throws.
    std::string failureOf(const std::string& source) {
        Val value = run(source);
        try {
            CAgg out;
            ESValToCAgg(out, value.slot(), 1);
        } catch (const Val& exception) {
            return describeException(exception);
        }
        return "no exception";
    }
};

TEST_F(CESConvert, ScriptValuesReadAsTheirCAgg) {
    for (const auto& row : readCaseTable("script-to-cagg.tsv")) {
        ASSERT_EQ(row.size(), 3u);
        CAgg value = read(row[1], row[0] == "1");
        EXPECT_EQ(describe(value), row[2]) << row[1];
    }
}

TEST_F(CESConvert, StringsArriveAsUCSWithTheirUnitsKeptLoneSurrogatesIncluded) {
    CAgg value = read("'\\ud800x\\udc00'");
    ASSERT_EQ(value.getType(), CAgg::eEStr);
    EXPECT_EQ(EStrGetEncoding(value.toEStr()), kEStrUCS);
    EXPECT_EQ(std::string(EStrGetBytes(value.toEStr()), EStrGetLen(value.toEStr())),
              std::string("\xFE\xFF\xD8\x00\x00x\xDC\x00", 8));
    // And they go back to script as the same units.
    Val back(context);
    CAggToESVal(back.slot(), value);
    setGlobal("x", back);
    EXPECT_EQ(textOf("x === '\\ud800x\\udc00' ? 'same' : 'changed'"), "same");
}

TEST_F(CESConvert, NestingPastTheDepthBoundIsCutNotFollowed) {
    CAgg value = read("var a = 'bottom'; for (var i = 0; i < 100000; ++i) a = [a]; a");
    int depth = 0;
    CAgg* level = &value;
    while (level->getType() == CAgg::eVector && !level->toVector().empty()) {
        level = &level->toVector()[0];
        ++depth;
    }
    EXPECT_EQ(level->getType(), CAgg::eVoid);
    EXPECT_GT(depth, 100);
    EXPECT_LT(depth, 1000);
}

TEST_F(CESConvert, CAggNestedPastTheDepthBoundGoesOutCut) {
    CAgg root;
    CAgg* level = &root;
    for (int i = 0; i < 5000; ++i)
        level = &(*level)[0L];
    *level = CAgg("bottom");
    Val value(context);
    CAggToESVal(value.slot(), root);
    setGlobal("x", value);
    int depth =
        std::stoi(textOf("var d = 0; while (Array.isArray(x)) { x = x[0]; ++d; } String(d)"));
    EXPECT_GT(depth, 100);
    EXPECT_LT(depth, 1000);
    EXPECT_EQ(textOf("typeof x"), "undefined");
}

TEST_F(CESConvert, ObjectsThatThrowWhileReadFailWithTheScriptsError) {
    EXPECT_EQ(failureOf(script("../host/throwing-getter.js")), "RangeError: second is broken");
    EXPECT_EQ(failureOf(script("../host/throwing-proxy.js")), "TypeError: no reading read");
    EXPECT_EQ(failureOf("Object.defineProperty([1, 2], 1, "
                        "{get: function () { throw new Error('no element'); }})"),
              "Error: no element");
    // The context is whole afterwards.
    EXPECT_EQ(textOf("'still ' + 'running'"), "still running");
}

TEST_F(CESConvert, HugeArraysConvertUpToTheVectorBoundAndFailPastIt) {
    auto started = std::chrono::steady_clock::now();
    CAgg value = read("new Array(10000000)");
    ASSERT_EQ(value.getType(), CAgg::eVector);
    EXPECT_EQ(value.toVector().size(), 10000000u);
    EXPECT_EQ(value.toVector().back().getType(), CAgg::eVoid);
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::minutes(1));
    value = CAgg();

    Val sparse = run("var s = []; s.length = 4294967295; s");
    CAgg out;
    try {
        ESValToCAgg(out, sparse.slot(), 1);
        ADD_FAILURE() << "a vector of four billion elements was made";
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, kHostErrBadSize);
    }
}

TEST_F(CESConvert, CAggValuesGoOutAsTheirScriptForm) {
    EXPECT_EQ(written(CAgg()), "undefined undefined");
    EXPECT_EQ(written(CAgg(5L)), "number 5");
    EXPECT_EQ(written(CAgg(2.5)), "number 2.5");
    CAgg flag;
    flag.toQsBool() = 1;
    EXPECT_EQ(written(flag), "boolean true");
    EXPECT_EQ(written(CAgg("pdf text")), "string \"pdf text\"");
    QsTimeRec noMonth{2004, 0, 1, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(written(CAgg(noMonth)), "object null");
    QsTimeRec noon{2004, 1, 1, 12, 0, 0, 0, 4, 0};
    EXPECT_EQ(written(CAgg(noon)), "object [object Date] \"2004-01-01T12:00:00.000Z\"");

    CAgg map;
    map["b"] = CAgg(1L);
    map["a"][1L] = CAgg("z");
    EXPECT_EQ(written(map), "object [object Aggregate] {\"a\":[null,\"z\"],\"b\":1}");
    CAgg atoms;
    atoms[QsAtomFromString("k")] = CAgg(2.0);
    EXPECT_EQ(written(atoms), "object [object Aggregate] {\"k\":2}");
    CAgg shadow{CLobObjShadow()};
    EXPECT_EQ(written(shadow), "object [object LobObjShadow] {}");
    CAgg fixed{QsFixedPoint{0x10000, 0x8000}};
    EXPECT_EQ(written(fixed), "object [object Array] [1,0.5]");
}

TEST_F(CESConvert, TextOfEveryEncodingGoesOutAsItsCharacters) {
    struct Case {
        CEStr text;
        const char* expected; // as a script expression
    };
    std::vector<Case> cases;
    cases.push_back(
        {CEStr("plain text\twith\r\nbreaks ~", kEStrPDFDoc), "'plain text\\twith\\r\\nbreaks ~'"});
    cases.push_back({CEStr("", kEStrPDFDoc), "''"});
    cases.push_back({CEStr("\x80 bullet", kEStrPDFDoc), "'\\u2022 bullet'"});
    cases.push_back({CEStr("a\x18", kEStrPDFDoc), "'a\\u02d8'"});
    cases.push_back({CEStr("h\xE9llo", kEStrHost), "'h\\u00e9llo'"});
    cases.push_back({CEStr::adopt(EStrNewSize(0, kEStrUCS)), "'\\u4e2dx'"});
    EStrSetBytesWithSize(cases.back().text, "\xFE\xFF\x4E\x2D\x00x", 6, kEStrUCS);
    for (Case& c : cases) {
        // Alone, and as the value of a struct's member, as a reply's reader gives it.
        CAgg alone(c.text.get());
        CAgg member;
        member[CEStr("m", kEStrPDFDoc).get()] = CAgg(c.text.get());
        for (CAgg* value : {&alone, &member}) {
            Val out(context);
            CAggToESVal(out.slot(), *value);
            setGlobal("x", out);
            std::string got = value == &alone ? "x" : "x.m";
            EXPECT_EQ(textOf(got + " === " + c.expected + " ? 'same' : escape(" + got + ")"),
                      "same")
                << c.expected;
        }
    }
}

TEST_F(CESConvert, MapsAndVectorsGoOutAndComeBackAlike) {
    CAgg out = read("({list: [1, 'two', {three: 3}], name: 'n\\u00e9', yes: true})");
    CAgg copy = out;
    Val value(context);
    CAggToESVal(value.slot(), copy);
    CAgg back;
    ESValToCAgg(back, value.slot(), 1);
    EXPECT_EQ(describe(back), describe(out));
    EXPECT_EQ(describe(back), "{list: [1, \"two\", {three: 3}], name: \"né\", yes: true}");
}

TEST_F(CESConvert, ObjectPropertiesAreSetFromAMapAndCleared) {
    Val object = run("var o = {old: 1, keep: 2}; o");
    CAgg props;
    props["fresh"] = CAgg("new");
    props["old"] = CAgg(10L);
    ESSetObjectProps(object.object(), props);
    EXPECT_EQ(textOf("JSON.stringify(o)"), "{\"old\":10,\"keep\":2,\"fresh\":\"new\"}");
    ESClearObjectProps(object.object());
    EXPECT_EQ(textOf("JSON.stringify(o)"), "{}");
}

TEST_F(CESConvert, StreamsGoOutOwnedByTheirObjectAndAreClosedOnce) {
    static int closes = 0;
    struct CountingStream : _t_QsStm {
        ~CountingStream() override { ++closes; }
        long read(char* buffer, long count) override {
            if (served || count < 2)
                return 0;
            served = true;
            buffer[0] = '\x01';
            buffer[1] = '\xAB';
            return 2;
        }
        bool served = false;
    };
    closes = 0;
    {
        CAgg stream(new CountingStream, 1);
        Val value(context);
        CAggToESVal(value.slot(), stream);
        setGlobal("s", value);
        // The same stream read back into a CAgg and out again: two objects, one stream.
        CAgg again;
        ESValToCAgg(again, value.slot(), 1);
        Val second(context);
        CAggToESVal(second.slot(), again);
        setGlobal("t", second);
        EXPECT_EQ(textOf("s.read()"), "01ab");
        EXPECT_EQ(textOf("t.read()"), "");
    }
    EXPECT_EQ(closes, 0);
    run("s = t = undefined");
    engine.dropLooseRoots();
    engine.collectGarbage();
    EXPECT_EQ(closes, 1);
}

} // namespace

namespace {

// An icon of 2 by 1 pixels, as the viewer's bundles are.
void measureIcon(_t_VxIconBundleRec6*, int32_t* width, int32_t* height) {
    *width = 2;
    *height = 1;
}

QsStm openIcon(_t_VxIconBundleRec6*, int32_t index) {
    return index == 0 ? QsMemStmRdOpen("\x10\x20\x30\x40\x50\x60\x70\x80", 8) : nullptr;
}

const VxIconBundleHandlerRec kIconHandler = {
    sizeof(VxIconBundleHandlerRec), 0, measureIcon, openIcon, nullptr, nullptr};

TEST_F(CESConvert, ViewerObjectsCrossAsTheirHandles) {
    // An icon goes out as a stream of its pixels with its size.
    _t_VxIconBundleRec6 bundle{kVxIconBundleMagic, kVxIconBundleType, kVxIconBundleVersion,
                               &kIconHandler, nullptr};
    CAgg icon(static_cast<void*>(&bundle));
    Val value(context);
    CAggToESVal(value.slot(), icon);
    setGlobal("icon", value);
    EXPECT_EQ(textOf("icon.width + 'x' + icon.height + ' ' + icon.read()"), "2x1 1020304050607080");
    CAgg noIcon(static_cast<void*>(nullptr));
    CAggToESVal(value.slot(), noIcon);
    EXPECT_EQ(value.type(), kESValUndefined);

    // The host's objects of the classes "Icon" and "LobObj" come in as the object they hold.
    FakeDocumentModel& model = host.documents();
    LobDoc doc = model.dkDocGetLobDoc(model.openDocument(1));
    LobObj held = model.objNewInteger(doc, 7);
    for (const char* className : {"Icon", "LobObj"}) {
        ESObject object = engine.newObject(context, className);
        engine.setPrivate(object, "LobObj", &held);
        CAgg in;
        ESValToCAgg(in, Val(object).slot(), 1);
        ASSERT_EQ(in.getType(), CAgg::eLobObj) << className;
        EXPECT_EQ(model.objGetInteger(in.toLobObj()), 7) << className;
    }
}

} // namespace
