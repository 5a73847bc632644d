// The wrappers of the script bridge: values, property proxies, calls, errors and the boundary
// back into the engine, against the real engine.
#include "tests/values/CESTestSupport.h"

#include "frame/HostTables.h"
#include "values/CESCalls.h"

#include <climits>

namespace {

using namespace CES;

class CESWrappers : public CESTest {
protected:
    /// What a thrown Val says, or "no exception".
    template <class Fn> std::string thrown(Fn&& fn) {
        try {
            fn();
        } catch (const Val& exception) {
            return describeException(exception);
        }
        return "no exception";
    }

    /// The host error code that fn raises, 0 for none.
    template <class Fn> int32_t raised(Fn&& fn) {
        try {
            fn();
        } catch (const HostError& error) {
            return error.code;
        }
        return 0;
    }
};

// A native method whose body throws what the script asks for, through the boundary.
bool throwsBack(ESContext context, ESObject, ESArgs args, ESVal) {
    return scriptBoundary([&] {
        Val what(context);
        gESHFT->getArg(args, 0, what.slot());
        if (what.hostText() == "coded")
            throw errorObject(gESHFT->globalObject(context), "SOAPError", "coded failure", 42);
        if (what.hostText() == "value")
            throw Val(7L, Context(context));
        Val none(context);
        return static_cast<bool>(none["property"].get());
    });
}

TEST_F(CESWrappers, ProxiesReadWriteAndChainProperties) {
    Val object = run("var o = {a: {b: [10, 20]}, 'n\\u00e9': 'accent', 7: 'seven'}; o");
    EXPECT_EQ(static_cast<long>(object["a"]["b"][1L].get()), 20);
    object["a"]["b"][2] = Val(30L, context);
    EXPECT_EQ(textOf("o.a.b.join()"), "10,20,30");
    CQsText accented("n\xC3\xA9");
    EXPECT_EQ(object[accented.get()].get().hostText(), "accent");
    EXPECT_EQ(object[Val(7L, context)].get().hostText(), "seven");
    EXPECT_EQ(object[Val("a", context)]["b"].get().len(), 3);
    object["fresh"] = Val(true, context);
    EXPECT_EQ(textOf("typeof o.fresh"), "boolean");
    EXPECT_TRUE(object["fresh"].Known());
    EXPECT_TRUE(object["toString"].Known());
    EXPECT_FALSE(object["missing"].Known());
    EXPECT_FALSE(object[5L].Known());
    EXPECT_EQ(object["missing"].get().type(), kESValUndefined);
    // Values are copies: changing one leaves the other.
    Val copy = object["a"];
    copy = 2.5;
    EXPECT_EQ(textOf("typeof o.a"), "object");
}

TEST_F(CESWrappers, ValuesReadByTheScriptsRules) {
    struct Case {
        const char* source;
        bool truth;
        long whole;
        unsigned short small;
        const char* text;
    };
    const Case cases[] = {
        {"0", false, 0, 0, "0"},
        {"'12'", true, 12, 12, "12"},
        {"-3.75", true, -3, 0, "-3.75"},
        {"1e300", true, LONG_MAX, USHRT_MAX, "1e+300"},
        {"NaN", false, 0, 0, "NaN"},
        {"null", false, 0, 0, "null"},
        {"({valueOf: function () { return 9; }})", true, 9, 9, "[object Object]"},
        {"[]", true, 0, 0, ""},
    };
    for (const Case& c : cases) {
        Val value = run(std::string("(") + c.source + ")");
        EXPECT_EQ(static_cast<bool>(value), c.truth) << c.source;
        EXPECT_EQ(static_cast<long>(value), c.whole) << c.source;
        EXPECT_EQ(static_cast<unsigned short>(value), c.small) << c.source;
        EXPECT_EQ(value.hostText(), c.text) << c.source;
    }
    // A conversion that throws in script raises the host error of a script failure.
    Val broken = run("({valueOf: function () { throw new Error('no number'); }})");
    EXPECT_EQ(raised([&] { (void)static_cast<double>(broken); }), kESErrScript);
}

TEST_F(CESWrappers, CallsPassArgumentsAndThisAndThrowTheScriptsErrors) {
    Val calc = run("({base: 100, add: function (x, y) { return this.base + x + (y || 0); },"
                   " fail: function () { throw new RangeError('too far'); }})");
    Val one(1L, context);
    Val two(2L, context);
    EXPECT_EQ(static_cast<long>(calc["add"](one)), 101);
    EXPECT_EQ(static_cast<long>(calc["add"](one, two)), 103);
    Val pair = run("[5, 6]");
    EXPECT_EQ(static_cast<long>(calc["add"](pair, eThrowException, true)), 111);
    EXPECT_EQ(thrown([&] { calc["fail"](); }), "RangeError: too far");
    EXPECT_EQ(thrown([&] { calc["base"](); }), "InternalError: Native wrappers failure.");
    Val number(5L, context);
    try {
        number["x"];
        ADD_FAILURE() << "a number had a property";
    } catch (const Val& exception) {
        EXPECT_EQ(describeException(exception), "InternalError: Native wrappers failure.");
        EXPECT_EQ(exception["fileName"].get().hostText(), "???");
    }
    // Kept instead of thrown: the call gives undefined and the error waits in the context.
    Context scope(context);
    Val kept = calc["fail"](eKeepException);
    EXPECT_EQ(kept.type(), kESValUndefined);
    ASSERT_TRUE(scope.hasException());
    EXPECT_EQ(describeException(scope.popException()), "RangeError: too far");
    EXPECT_FALSE(scope.hasException());
}

TEST_F(CESWrappers, TheBoundaryRaisesTheErrorsCodeAndTheScriptCatchesTheErrorItself) {
    EXPECT_EQ(raised([&] { raiseException(errorObject(nullptr, "E", "m", 42)); }), 42);
    EXPECT_EQ(raised([&] { raiseException(errorObject(nullptr, "E", "m", 0)); }), 1);
    EXPECT_EQ(raised([&] { raiseException(Val(3L, context)); }), 1);
    EXPECT_EQ(raised([&] { raiseInternalException(); }), 1);

    ESObject global = engine.globalObject(context);
    ASSERT_TRUE(engine.addMethod(global, "throwsBack", throwsBack));
    EXPECT_EQ(textOf("try { throwsBack('coded'); } catch (e) { e.name + ': ' + e.message }"),
              "SOAPError: coded failure");
    EXPECT_EQ(textOf("try { throwsBack('value'); } catch (e) { typeof e + ' ' + e }"), "number 7");
    EXPECT_EQ(textOf("try { throwsBack('none'); } catch (e) { e.name + ': ' + e.message }"),
              "InternalError: Native wrappers failure.");
}

TEST_F(CESWrappers, IteratorsWalkArraysByIndexAndObjectsByTheirKeys) {
    std::string walked;
    Val array = run("['a', 'b', 'c']");
    for (auto it = array.begin(); it != array.end(); ++it) {
        auto [key, value] = it.getPair();
        walked += key.hostText() + "=" + value.hostText() + " ";
    }
    Val object = run("({x: 1, y: [2], 3: 'three'})");
    for (auto it = object.begin(); it != object.end(); ++it)
        walked += it.key().hostText() + "=" + (*it).hostText() + " ";
    Val empty = run("({})");
    EXPECT_TRUE(empty.begin() == empty.end());
    EXPECT_EQ(walked, "0=a 1=b 2=c 3=three x=1 y=2 ");
}

TEST_F(CESWrappers, AValueThatOutlivesItsContextLeavesTheSlotsOfOthersAlone) {
    ESContext doc = engine.newContext("Doc", nullptr);
    auto orphan = std::make_unique<Val>(7L, Context(doc));
    engine.destroyContext(doc);
    // The freed slot is handed out again, to a value of the application's context.
    std::vector<std::unique_ptr<Val>> others;
    for (int i = 0; i < 8; ++i)
        others.push_back(std::make_unique<Val>(static_cast<long>(i), Context(context)));
    size_t live = engine.liveSlotCount();
    orphan.reset();
    EXPECT_EQ(engine.liveSlotCount(), live);
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(static_cast<long>(*others[i]), i);
}

} // namespace

namespace {

std::vector<std::string> gHostReports;

void hostHandler(ESContext, int32_t, int32_t, const char* message, void*) {
    gHostReports.push_back(message);
}

TEST_F(CESWrappers, TheBridgeTakesAContextsErrorsOnlyWhileItWorksThere) {
    gHostReports.clear();
    engine.setErrorHandler(context, hostHandler, nullptr);
    Val thrower = run("({fail: function (m) { throw new Error(m); }})");
    {
        Context scope(context);
        EXPECT_EQ(thrown([&] { thrower["fail"](Val("bridge", scope)); }), "Error: bridge");
        EXPECT_TRUE(gHostReports.empty());
    }
    // The host's handler is back once the bridge lets go of the context.
    ESErrorHandlerProc proc = nullptr;
    EXPECT_TRUE(engine.getErrorHandler(context, &proc, nullptr));
    EXPECT_EQ(proc, hostHandler);
    Val message("host", Context(context));
    ESVal args[] = {message.slot()};
    Val ignored(context);
    EXPECT_FALSE(ESObjectSafeCall(thrower.object(), "fail", 1, args, ignored.slot()));
    EXPECT_EQ(gHostReports, std::vector<std::string>{"Error: host"});
    engine.setErrorHandler(context, nullptr, nullptr);
}

} // namespace
