#include "tests/host/ScriptFixture.h"

#include "frame/HostTables.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using ScriptObjects = ScriptTest;

// The ASCII of a marked UCS name, for names that are ASCII.
std::string asciiOfUCS(const char* name, long length) {
    std::string out;
    for (long i = 3; i < length; i += 2)
        out += name[i];
    return out;
}

struct Visit {
    CSpiderMonkeyEngine* engine;
    std::vector<std::string> seen;
    size_t stopAfter = 1000;
};

bool visitByName(const char* name, long length, ESVal value, void* data) {
    auto& visit = *static_cast<Visit*>(data);
    std::string shown;
    visit.engine->readString(value, false, shown);
    visit.seen.push_back(asciiOfUCS(name, length) + "=" + shown);
    return visit.seen.size() < visit.stopAfter;
}

TEST_F(ScriptObjects, EnumerationFollowsTheEnginesOrder) {
    ESObject object = objectOf(dataFile("enumeration-order.js"));
    Visit visit{&engine, {}};
    ASSERT_TRUE(engine.enumerate(object, visitByName, &visit));
    EXPECT_EQ(visit.seen, (std::vector<std::string>{"2=4", "10=3", "b=1", "a=2", "c=5", "d=8"}));

    struct AtomVisit {
        ICore* core;
        std::vector<std::string> names;
    } atoms{&host.core(), {}};
    auto byAtom = [](QsAtom name, ESVal, void* data) {
        auto& v = *static_cast<AtomVisit*>(data);
        v.names.push_back(v.core->atomGetString(name));
        return true;
    };
    ASSERT_TRUE(engine.enumerateAtoms(object, byAtom, &atoms));
    EXPECT_EQ(atoms.names, (std::vector<std::string>{"2", "10", "b", "a", "c", "d"}));

    Visit shortVisit{&engine, {}, 2};
    ASSERT_TRUE(engine.enumerate(object, visitByName, &shortVisit));
    EXPECT_EQ(shortVisit.seen.size(), 2u);
}

TEST_F(ScriptObjects, PrivateDataIsInvisibleToScripts) {
    ESObject probe = objectOf("globalThis.probe = {visible: 1}; probe");
    ESObject other = objectOf("({visible: 2})");
    int marker = 0;
    engine.setPrivate(probe, "QsStm", &marker);
    engine.setPrivate(probe, "Dead", reinterpret_cast<void*>(1));
    const std::pair<const char*, const char*> views[] = {
        {"JSON.stringify(probe)", "{\"visible\":1}"},
        {"Reflect.ownKeys(probe).map(String).join()", "visible"},
        {"var names = []; for (var n in probe) names.push(n); names.join()", "visible"},
        {"'QsStm' in probe || 'Dead' in probe", "false"},
        {"Object.getOwnPropertyDescriptors(probe).QsStm === undefined", "true"},
    };
    for (const auto& [source, expected] : views)
        EXPECT_EQ(textOf(source), expected) << source;
    Visit visit{&engine, {}};
    engine.enumerate(probe, visitByName, &visit);
    EXPECT_EQ(visit.seen, std::vector<std::string>{"visible=1"});

    engine.collectGarbage();
    void* data = nullptr;
    EXPECT_TRUE(engine.getPrivate(probe, "QsStm", &data));
    EXPECT_EQ(data, &marker);
    EXPECT_FALSE(engine.getPrivate(other, "QsStm", &data));
    engine.removePrivate(probe, "QsStm");
    EXPECT_FALSE(engine.getPrivate(probe, "QsStm", &data));
    EXPECT_TRUE(engine.getPrivate(probe, "Dead", &data));
}

struct Finalised {
    static inline CSpiderMonkeyEngine* engine = nullptr;
    static inline std::vector<std::string> labels;
    static inline bool sawLiveObject = false;

    static void record(ESObject object) {
        void* label = nullptr;
        if (engine->getPrivate(object, "label", &label))
            labels.push_back(static_cast<const char*>(label));
        void* slot = nullptr;
        if (engine->getPrivate(object, "slot", &slot))
            engine->freeVal(static_cast<ESVal>(slot));
        // A dying object is nothing but its private data.
        sawLiveObject =
            sawLiveObject || engine->objectContext(object) || *engine->className(object);
    }
};

TEST_F(ScriptObjects, FinalisersRunForPlainAndClassObjects) {
    Finalised::engine = &engine;
    Finalised::labels.clear();
    ESVal kept = slot();
    engine.beginScope(context);
    const std::pair<const char*, const char*> made[] = {
        {nullptr, "plain"}, {"Aggregate", "class"}, {"Stream", "kept"}};
    for (const auto& [className, label] : made) {
        ESObject object = engine.newObject(context, className);
        engine.setPrivate(object, "label", const_cast<char*>(label));
        engine.setFinalizer(object, Finalised::record);
        if (std::string(label) == "kept")
            engine.setObject(kept, object);
    }
    // A finaliser may free slots: that waits until the collection is over.
    ESVal evaluated = engine.newVal(context);
    engine.evaluate(context, nullptr, "({})", -1, evaluated);
    ESObject freesSlot = engine.readObject(evaluated);
    engine.freeVal(evaluated);
    engine.setPrivate(freesSlot, "slot", engine.makeString(context, "held", -1));
    engine.setFinalizer(freesSlot, Finalised::record);
    engine.endScope(context);
    size_t slotsBefore = engine.liveSlotCount();
    engine.collectGarbage();
    // The next use of the engine frees what the finaliser let go.
    engine.freeVal(engine.newVal(context));
    EXPECT_EQ(engine.liveSlotCount(), slotsBefore - 1);
    std::sort(Finalised::labels.begin(), Finalised::labels.end());
    EXPECT_EQ(Finalised::labels, (std::vector<std::string>{"class", "plain"}));
    EXPECT_FALSE(Finalised::sawLiveObject);
    // The held one goes when its context does.
    ESContext doc = engine.newContext("Doc", nullptr);
    ESObject inDoc = engine.newObject(doc, "Stream");
    engine.setPrivate(inDoc, "label", const_cast<char*>("with its context"));
    engine.setFinalizer(inDoc, Finalised::record);
    engine.destroyContext(doc);
    EXPECT_EQ(Finalised::labels.back(), "with its context");
}

TEST_F(ScriptObjects, ClassesNameTheirObjectsAndRunTheirInitialisers) {
    static int appInits = 0;
    static int contextInits = 0;
    appInits = contextInits = 0;
    engine.registerClassInit(
        [](ESContext in, ESObject object) {
            ESVal kind = gESHFT->makeString(in, "widget", -1);
            gESHFT->setProperty(object, "kind", kind);
            gESHFT->freeVal(kind);
        },
        "Widget");
    ESObject widget = engine.newObject(context, "Widget");
    EXPECT_STREQ(engine.className(widget), "Widget");
    ESVal held = slot();
    engine.setObject(held, widget);
    ESObject global = engine.globalObject(context);
    engine.setProperty(global, "w", held);
    EXPECT_EQ(textOf("Object.prototype.toString.call(w) + ' ' + w.kind"), "[object Widget] widget");
    EXPECT_STREQ(engine.className(objectOf("new Date(0)")), "Date");
    EXPECT_STREQ(engine.className(objectOf("({})")), "Object");
    // The script's own classes are made by their constructors.
    EXPECT_TRUE(engine.isArray(engine.newObject(context, "Array")));
    ESObject date = engine.newObject(context, "Date");
    EXPECT_STREQ(engine.className(date), "Date");
    EXPECT_TRUE(engine.callMethod(date, "getTime", nullptr, 0, slot()));
    ESVal text = engine.makeString(context, "safe", -1);
    ESObject boxed = engine.newObjectFrom(context, "String", text);
    engine.freeVal(text);
    EXPECT_STREQ(engine.className(boxed), "String");
    ESVal unboxed = slot();
    engine.setObject(unboxed, boxed);
    EXPECT_EQ(this->text(unboxed), "safe");
    EXPECT_EQ(engine.newObjectFrom(context, "NoSuchConstructor", unboxed), nullptr);

    // Initialisers of "App" and of contexts run on what exists now and on what comes later.
    engine.registerClassInit([](ESContext, ESObject) { ++appInits; }, "App");
    engine.registerContextInit([](ESContext) { ++contextInits; });
    EXPECT_EQ(appInits, 1);
    EXPECT_EQ(contextInits, 1);
    ESContext doc = engine.newContext("Doc", nullptr);
    EXPECT_EQ(appInits, 2);
    EXPECT_EQ(contextInits, 2);
    engine.destroyContext(doc);
}

TEST_F(ScriptObjects, ArraysAreMadeFromSlotsAndReadByIndex) {
    ESVal items[] = {engine.makeNumber(context, 1.5), engine.makeString(context, "two", -1),
                     engine.makeObject(context, engine.newObject(context, nullptr))};
    ESObject array = engine.newArray(context, items, 3);
    for (ESVal item : items)
        engine.freeVal(item);
    engine.collectGarbage();
    EXPECT_TRUE(engine.isArray(array));
    EXPECT_EQ(engine.arrayLength(array), 3);
    ESVal element = slot();
    ASSERT_TRUE(engine.getElement(array, 1, element));
    EXPECT_EQ(text(element), "two");
    ASSERT_TRUE(engine.setElement(array, 4, element));
    EXPECT_EQ(engine.arrayLength(array), 5);

    ESObject plain = objectOf("({length: 3})");
    EXPECT_FALSE(engine.isArray(plain));
    EXPECT_EQ(engine.arrayLength(plain), 0);
    EXPECT_FALSE(engine.isFunction(plain));
    EXPECT_TRUE(engine.isFunction(objectOf("(function() {})")));
}

TEST_F(ScriptObjects, AnObjectThatHoldsItselfHasOneHandle) {
    ESObject loop = objectOf(dataFile("self-holding-object.js"));
    ESVal self = slot();
    ESVal list = slot();
    ASSERT_TRUE(engine.getProperty(loop, "self", self));
    ASSERT_TRUE(engine.getProperty(loop, "list", list));
    ESVal first = slot();
    ASSERT_TRUE(engine.getElement(engine.readObject(list), 0, first));
    // Same object, same handle: a converter's set of visited objects sees the loop.
    EXPECT_EQ(engine.readObject(self), loop);
    EXPECT_EQ(engine.readObject(first), loop);
    Visit visit{&engine, {}};
    EXPECT_TRUE(engine.enumerate(loop, visitByName, &visit));
    EXPECT_EQ(visit.seen.size(), 3u);
}

TEST_F(ScriptObjects, HandlesStayWithTheirObjectsThroughCollections) {
    constexpr int kCount = 3000;
    auto handlesOf = [&](const char* array) {
        ESObject list = objectOf(array);
        std::vector<ESObject> handles;
        ESVal element = slot();
        for (int i = 0; i < kCount; ++i) {
            EXPECT_TRUE(engine.getElement(list, static_cast<uint32_t>(i), element));
            handles.push_back(engine.readObject(element));
        }
        return handles;
    };
    // Young objects, handed out, then moved out of the young generation by collections.
    std::vector<ESObject> old =
        handlesOf("globalThis.kept = []; for (var i = 0; i < 3000; ++i) kept.push({i: i}); kept");
    for (int i = 0; i < kCount; ++i)
        engine.setPrivate(old[i], "index", reinterpret_cast<void*>(static_cast<intptr_t>(i + 1)));
    engine.collectGarbage();
    std::vector<ESObject> again = handlesOf("kept");
    EXPECT_EQ(again, old);

    // Once they are gone, no object made later is taken for one of them.
    run("kept = null");
    engine.dropLooseRoots();
    engine.collectGarbage();
    engine.collectGarbage();
    for (int round = 0; round < 3; ++round) {
        std::vector<ESObject> fresh = handlesOf(
            "globalThis.fresh = []; for (var i = 0; i < 3000; ++i) fresh.push({j: i}); fresh");
        int carried = 0;
        for (ESObject handle : fresh) {
            void* data = nullptr;
            carried += engine.getPrivate(handle, "index", &data) ? 1 : 0;
        }
        EXPECT_EQ(carried, 0) << "round " << round;
        run("fresh = null");
        engine.dropLooseRoots();
        engine.collectGarbage();
    }
}

TEST_F(ScriptObjects, ThrowingProxiesAndGettersFailCleanly) {
    struct Reported {
        std::vector<std::string> messages;
    } reported;
    engine.setErrorHandler(
        context,
        [](ESContext, int32_t, int32_t, const char* message, void* data) {
            static_cast<Reported*>(data)->messages.push_back(message);
        },
        &reported);
    ESObject proxy = objectOf(dataFile("throwing-proxy.js"));
    ESVal out = slot();
    EXPECT_FALSE(engine.getProperty(proxy, "a", out));
    EXPECT_FALSE(engine.hasProperty(proxy, "a"));
    Visit visit{&engine, {}};
    EXPECT_FALSE(engine.enumerate(proxy, visitByName, &visit));
    EXPECT_FALSE(engine.isArray(proxy));
    ASSERT_EQ(reported.messages.size(), 3u);
    EXPECT_EQ(reported.messages[0], "TypeError: no reading a");
    EXPECT_EQ(reported.messages[2], "TypeError: no listing");
    ESVal exception = slot();
    ASSERT_TRUE(engine.exceptionValue(context, exception));
    ESVal message = slot();
    engine.getProperty(engine.readObject(exception), "message", message);
    EXPECT_EQ(text(message), "no listing");

    ESObject getter = objectOf(dataFile("throwing-getter.js"));
    Visit partial{&engine, {}};
    EXPECT_FALSE(engine.enumerate(getter, visitByName, &partial));
    EXPECT_EQ(partial.seen, std::vector<std::string>{"first=fine"});
    EXPECT_EQ(reported.messages.back(), "RangeError: second is broken");
    // The context is still whole.
    EXPECT_EQ(textOf("1 + 1"), "2");
}

TEST_F(ScriptObjects, LooseObjectsAreKeptUntilTheHostIsIdle) {
    size_t before = engine.liveSlotCount();
    for (int i = 0; i < 10; ++i)
        engine.newObject(context, nullptr);
    EXPECT_EQ(engine.liveSlotCount(), before + 10);
    engine.beginScope(context);
    engine.dropLooseRoots();
    EXPECT_EQ(engine.liveSlotCount(), before + 10);
    engine.endScope(context);
    engine.dropLooseRoots();
    EXPECT_LE(engine.liveSlotCount(), before);
}

TEST_F(ScriptObjects, HugeArraysAndDeepRecursionStayInBounds) {
    ESObject big = objectOf("new Array(10000000).fill(1.5)");
    EXPECT_EQ(engine.arrayLength(big), 10000000);
    ESVal element = slot();
    ASSERT_TRUE(engine.getElement(big, 9999999, element));
    double number = 0;
    EXPECT_TRUE(engine.readNumber(element, number));
    EXPECT_EQ(number, 1.5);
    std::vector<ESVal> many(10000000, element);
    ESObject made = engine.newArray(context, many.data(), static_cast<long>(many.size()));
    EXPECT_EQ(engine.arrayLength(made), 10000000);

    EXPECT_EQ(failureOf("function down(n) { return down(n + 1) + 1; } down(0)"), kESErrScript);
    EXPECT_EQ(failureOf("var o = {}; o.toString = function() { return String(o); }; String(o)"),
              kESErrScript);
    EXPECT_EQ(textOf("'still ' + 'running'"), "still running");
}

} // namespace
