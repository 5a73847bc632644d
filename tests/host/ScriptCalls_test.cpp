#include "tests/host/ScriptFixture.h"

#include "frame/HostTables.h"

#include <string>
#include <vector>

namespace {

// Methods of the test object "t". They reach the engine through the table, as the plug-in does.

bool echo(ESContext context, ESObject, ESArgs args, ESVal result) {
    static const ESParamRec kParams[] = {{"cURL", true}, {"bEncoded", false}};
    ESVal values[2] = {gESHFT->newVal(context), gESHFT->newVal(context)};
    bool ok = gESHFT->parseArgs(args, kParams, 2, values);
    if (ok) {
        std::string url, encoded = "-";
        gESHFT->readString(values[0], false, url);
        if (gESHFT->valType(values[1]) != kESValUndefined)
            gESHFT->readString(values[1], false, encoded);
        std::string text = std::string(gESHFT->methodName(args)) + ":" + url + "," + encoded;
        gESHFT->setString(result, text.c_str(), -1);
    }
    gESHFT->freeVal(values[0]);
    gESHFT->freeVal(values[1]);
    return ok;
}

bool whoAmI(ESContext context, ESObject self, ESArgs, ESVal result) {
    if (!self) {
        gESHFT->setString(result, "no this", -1);
        return true;
    }
    return gESHFT->getProperty(self, "name", result) && context;
}

bool fails(ESContext, ESObject, ESArgs, ESVal) {
    raiseHostError(kESErrGeneral);
}
bool answersFalse(ESContext, ESObject, ESArgs, ESVal) {
    return false;
}
bool failsInside(ESContext, ESObject, ESArgs, ESVal) {
    raiseHostError(kHostErrGeneral);
}

bool throwsFault(ESContext context, ESObject, ESArgs, ESVal) {
    ESObject error = gESHFT->newError(context, "SOAPError", "the fault");
    ESVal code = gESHFT->makeString(context, "soap:Server", -1);
    ESVal thrown = gESHFT->makeObject(context, error);
    gESHFT->setProperty(error, "faultCode", code);
    gESHFT->throwValue(context, thrown);
    gESHFT->freeVal(code);
    gESHFT->freeVal(thrown);
    // A thrown exception wins over the answer.
    return true;
}

bool privileged(ESContext context, ESObject, ESArgs, ESVal result) {
    const ESEventPair pairs[] = {
        {gCoreHFT->atomFromString("Console"), gCoreHFT->atomFromString("Exec")},
        {gCoreHFT->atomFromString("Batch"), gCoreHFT->atomFromString("Exec")},
        {kQsNullAtom, kQsNullAtom}};
    if (!gESHFT->isCurrentEventOneOf(context, pairs)) {
        gESHFT->raiseError(context, kESErrSecurity, nullptr);
        return false;
    }
    gESHFT->setBool(result, true);
    return true;
}

// Calls its one argument, a function, with 2 and 3.
bool callsBack(ESContext context, ESObject, ESArgs args, ESVal result) {
    ESVal function = gESHFT->newVal(context);
    ESVal numbers[2] = {gESHFT->makeNumber(context, 2), gESHFT->makeNumber(context, 3)};
    gESHFT->getArg(args, 0, function);
    struct Free {
        ESVal slots[3];
        ~Free() {
            for (ESVal slot : slots)
                gESHFT->freeVal(slot);
        }
    } free{{function, numbers[0], numbers[1]}};
    return gESHFT->callFunction(nullptr, function, numbers, 2, result);
}

bool destroysItsContext(ESContext context, ESObject, ESArgs, ESVal) {
    gESHFT->destroyContext(context);
    return true;
}

bool wireDump = false;
bool getWireDump(ESContext, ESObject, ESVal result) {
    gESHFT->setBool(result, wireDump);
    return true;
}
bool setWireDump(ESContext, ESObject, ESVal value) {
    wireDump = gESHFT->readBool(value);
    return true;
}

class ScriptCalls : public ScriptTest {
protected:
    ScriptCalls() {
        t = installTestObject(context);
        engine.setErrorHandler(
            context,
            [](ESContext, int32_t code, int32_t line, const char* message, void* data) {
                auto* self = static_cast<ScriptCalls*>(data);
                self->reported.push_back(std::to_string(code) + " " + std::to_string(line) + " " +
                                         message);
            },
            this);
    }

    ESObject installTestObject(ESContext in) {
        ESObject object = engine.newObject(in, "Test");
        const std::pair<const char*, ESMethodProc> methods[] = {
            {"echo", echo},
            {"whoAmI", whoAmI},
            {"fails", fails},
            {"answersFalse", answersFalse},
            {"failsInside", failsInside},
            {"throwsFault", throwsFault},
            {"privileged", privileged},
            {"callsBack", callsBack},
            {"destroysItsContext", destroysItsContext},
        };
        for (const auto& [name, proc] : methods)
            EXPECT_TRUE(engine.addMethod(object, name, proc));
        ESVal name = engine.makeString(in, "the test object", -1);
        engine.setProperty(object, "name", name);
        engine.setObject(name, object);
        engine.setProperty(engine.globalObject(in), "t", name);
        engine.freeVal(name);
        return object;
    }

    ESObject t = nullptr;
    std::vector<std::string> reported;
};

TEST_F(ScriptCalls, MethodsTakeArgumentsByPositionOrByName) {
    const std::pair<const char*, const char*> calls[] = {
        {"t.echo('u')", "echo:u,-"},
        {"t.echo('u', false)", "echo:u,false"},
        {"t.echo({cURL: 'u', bEncoded: true})", "echo:u,true"},
        // One object without any of the names is the first argument itself.
        {"t.echo({other: 1})", "echo:[object Object],-"},
        {"t.echo(['a', 'b'])", "echo:a,b,-"},
        {"try { t.echo(); } catch (e) { e.name + ' ' + e.number + ' ' + e.message }",
         "ArgumentError 5 Missing argument cURL of echo."},
        {"try { t.echo({bEncoded: true}); } catch (e) { e.name }", "ArgumentError"},
        {"t.whoAmI()", "the test object"},
        {"var f = t.whoAmI; f()", "no this"},
        {"t.callsBack(function(a, b) { return a * b; })", "6"},
    };
    for (const auto& [source, expected] : calls)
        EXPECT_EQ(textOf(source), expected) << source;
}

TEST_F(ScriptCalls, NativeFailuresBecomeScriptExceptions) {
    EXPECT_EQ(textOf(dataFile("native-failures.js")),
              "fails: GeneralError 14 The operation failed.\n"
              "answersFalse: GeneralError 14 The operation failed.\n"
              "failsInside: HostError 1 The host failed with error 1.\n"
              "throwsFault: SOAPError undefined the fault soap:Server true\n"
              "privileged: SecurityError 11 This is not allowed for the current event.");
    // Caught in script, none of them reached the error handler.
    EXPECT_TRUE(reported.empty());
}

TEST_F(ScriptCalls, UncaughtErrorsReachTheHandlerAndRaiseHostErrors) {
    const struct {
        const char* source;
        int32_t raised;
        const char* reported;
    } cases[] = {
        {"t.fails()", kESErrGeneral, "14 1 GeneralError: The operation failed."},
        {"\n\nnull.x", kESErrScript, "0 3 TypeError: null has no properties"},
        {"throw 'plain'", kESErrScript, "0 1 uncaught exception: plain"},
        {"(", kESErrScript, "0 1 SyntaxError: expected expression, got end of script"},
    };
    for (const auto& c : cases) {
        reported.clear();
        EXPECT_EQ(failureOf(c.source), c.raised) << c.source;
        ASSERT_EQ(reported.size(), 1u) << c.source;
        EXPECT_EQ(reported[0], c.reported);
    }
    ESVal exception = slot();
    failureOf("throw {code: 7}");
    ASSERT_TRUE(engine.exceptionValue(context, exception));
    ESVal code = slot();
    engine.getProperty(engine.readObject(exception), "code", code);
    EXPECT_EQ(text(code), "7");
    engine.clearException(context);
    EXPECT_FALSE(engine.exceptionValue(context, exception));

    // Without a handler the error is printed to the console.
    engine.setErrorHandler(context, nullptr, nullptr);
    failureOf("\nundefinedName");
    ASSERT_FALSE(host.scriptConsole().lines().empty());
    EXPECT_EQ(host.scriptConsole().lines().back(),
              "ReferenceError: undefinedName is not defined (line 2)");
}

TEST_F(ScriptCalls, AnErrorInsideTheHandlerIsOnlyPrinted) {
    static int calls = 0;
    calls = 0;
    engine.setErrorHandler(
        context,
        [](ESContext in, int32_t, int32_t, const char*, void*) {
            ++calls;
            try {
                gESHFT->evaluate(in, nullptr, "handlerFails()", -1, nullptr);
            } catch (const HostError&) {
            }
        },
        nullptr);
    EXPECT_EQ(failureOf("scriptFails()"), kESErrScript);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(host.scriptConsole().lines(),
              std::vector<std::string>{"ReferenceError: handlerFails is not defined (line 1)"});
}

TEST_F(ScriptCalls, CallsIntoScriptReturnResultsOrRaise) {
    ESEvent event = engine.openEvent(context, "App", "Exec");
    engine.evaluate(context, event, dataFile("event-result.js").c_str(), -1, slot());
    ESVal function = slot();
    ASSERT_TRUE(engine.getProperty(engine.eventObject(event), "result", function));
    engine.closeEvent(event);
    ESVal args[2] = {engine.makeNumber(context, 2), engine.makeNumber(context, 5)};
    ESVal result = slot();
    ASSERT_TRUE(engine.callFunction(nullptr, function, args, 2, result));
    EXPECT_EQ(text(result), "7");
    // Methods by name; a missing one is no call and no error.
    ASSERT_TRUE(engine.callMethod(t, "echo", args, 1, result));
    EXPECT_EQ(text(result), "echo:2,-");
    EXPECT_FALSE(engine.callMethod(t, "noSuchMethod", args, 1, result));
    EXPECT_FALSE(engine.callFunction(nullptr, args[0], args, 1, result));
    // A script error inside a call raises, and the error handler has it first.
    int32_t raised = 0;
    try {
        engine.callMethod(t, "echo", nullptr, 0, result);
    } catch (const HostError& error) {
        raised = error.code;
    }
    EXPECT_EQ(raised, kESErrBadArgument);
    ASSERT_EQ(reported.size(), 1u);
    EXPECT_EQ(reported[0], "5 0 ArgumentError: Missing argument cURL of echo.");
    // An exception thrown in a callback travels through native code as it was.
    EXPECT_EQ(textOf("try { t.callsBack(function() { throw new RangeError('inner'); }); }"
                     "catch (e) { e.name + ': ' + e.message }"),
              "RangeError: inner");
    engine.freeVal(args[0]);
    engine.freeVal(args[1]);
}

TEST_F(ScriptCalls, AStreamWhoseReadThrowsRaisesAndLeavesTheContextWhole) {
    ESObject stream = objectOf(dataFile("stream-read-throws.js"));
    ESVal count = engine.makeInt(context, 4096);
    ESVal result = slot();
    int32_t raised = 0;
    try {
        engine.callMethod(stream, "read", &count, 1, result);
    } catch (const HostError& error) {
        raised = error.code;
    }
    engine.freeVal(count);
    EXPECT_EQ(raised, kESErrScript);
    EXPECT_EQ(reported, std::vector<std::string>{"0 3 Error: the disk is gone"});
    ESVal hex = engine.makeString(context, "0a0b", -1);
    ASSERT_TRUE(engine.callMethod(stream, "write", &hex, 1, result));
    engine.freeVal(hex);
    EXPECT_EQ(text(result), "2");
}

TEST_F(ScriptCalls, AccessorsAndReadOnlyPropertiesKeepTheirRules) {
    wireDump = false;
    ASSERT_TRUE(engine.addAccessor(t, "wireDump", getWireDump, setWireDump));
    ASSERT_TRUE(engine.addAccessor(t, "alwaysOff", getWireDump, nullptr));
    ESVal seven = engine.makeInt(context, 7);
    ASSERT_TRUE(engine.addReadOnlyProperty(t, "version", seven));
    engine.freeVal(seven);
    EXPECT_EQ(textOf("t.wireDump = 1; t.wireDump"), "true");
    EXPECT_TRUE(wireDump);
    EXPECT_EQ(textOf("t.alwaysOff = false; t.alwaysOff"), "true");
    EXPECT_EQ(textOf("t.version = 8; delete t.version; t.version"), "7");
    // Methods are not enumerated; data and accessor properties are.
    EXPECT_EQ(textOf("Object.keys(t).join()"), "name,wireDump,alwaysOff,version");
}

TEST_F(ScriptCalls, AContextTakenDownByItsOwnCallGoesWhenTheCallReturns) {
    ESContext doc = engine.newContext("Doc", nullptr);
    installTestObject(doc);
    ESVal result = slot();
    engine.evaluate(doc, nullptr, "t.destroysItsContext(); 'still running'", -1, result);
    EXPECT_EQ(text(result), "still running");
    EXPECT_EQ(engine.globalObject(doc), nullptr);
    EXPECT_EQ(engine.newVal(doc), nullptr);
    EXPECT_EQ(engine.defaultContext(), context);
}

} // namespace
