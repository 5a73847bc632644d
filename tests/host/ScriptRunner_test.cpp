// How vellum-host runs scripts, in process: the run and its wait for work, callbacks that fail,
// the time-out, the console's pieces, and the engine's loose roots dropped at idle moments.
#include "host/core/CHostCore.h"
#include "host/loop/CMainLoop.h"
#include "host/runner/CLooseRootsSource.h"
#include "host/runner/CScriptRunner.h"
#include "host/script/CSpiderMonkeyEngine.h"
#include "tests/fakehost/FakeScriptConsole.h"

#include "frame/HostError.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <sstream>
#include <thread>
#include <vector>

namespace {

class ScriptRunner : public ::testing::Test {
protected:
    ScriptRunner() {
        sm_current = this;
        engine.setCore(&core);
        engine.setConsole(&console);
        engine.registerContextInit(addTestMethods);
    }
    ~ScriptRunner() override { sm_current = nullptr; }

    CScriptRunner::Status run(const std::string& source, int timeoutSeconds = 30) {
        CScriptRunner runner(engine, loop, out, errors);
        return runner.run(source, timeoutSeconds);
    }

    std::string printed() const {
        std::string lines;
        for (const std::string& line : console.lines())
            lines += line + "\n";
        return lines;
    }

    // Test methods of every context: later(fn, ticks) calls fn from the loop after a delay;
    // callNow(fn) calls it at once; privileged() tells whether the event is Console/Exec.
    struct Later {
        ScriptRunner* test;
        ESVal function;
    };

    static void fire(void* data) {
        auto* later = static_cast<Later*>(data);
        CSpiderMonkeyEngine& engine = later->test->engine;
        ESVal result = engine.newVal(engine.valueContext(later->function));
        try {
            engine.callFunction(nullptr, later->function, nullptr, 0, result);
        } catch (const HostError&) {
            // The runner's error handler has been told.
        }
        engine.freeVal(result);
        engine.freeVal(later->function);
    }

    static bool later(ESContext context, ESObject, ESArgs args, ESVal) {
        CSpiderMonkeyEngine& engine = sm_current->engine;
        // The fixture keeps each call, fired or not, until the test ends.
        sm_current->calls.push_back(
            std::make_unique<Later>(Later{sm_current, engine.newVal(context)}));
        Later* entry = sm_current->calls.back().get();
        ESVal ticks = engine.newVal(context);
        engine.getArg(args, 0, entry->function);
        engine.getArg(args, 1, ticks);
        int32_t delay = 0;
        engine.readInt(ticks, delay);
        engine.freeVal(ticks);
        sm_current->loop.scheduleDelayed(fire, entry, delay);
        return true;
    }

    static bool callNow(ESContext context, ESObject, ESArgs args, ESVal result) {
        CSpiderMonkeyEngine& engine = sm_current->engine;
        ESVal function = engine.newVal(context);
        engine.getArg(args, 0, function);
        struct Free {
            CSpiderMonkeyEngine& engine;
            ESVal slot;
            ~Free() { engine.freeVal(slot); }
        } freeFunction{engine, function};
        return engine.callFunction(nullptr, function, nullptr, 0, result);
    }

    static bool privileged(ESContext context, ESObject, ESArgs, ESVal result) {
        CHostCore& core = sm_current->core;
        const ESEventPair pairs[] = {{core.atomFromString("Console"), core.atomFromString("Exec")},
                                     {kQsNullAtom, kQsNullAtom}};
        sm_current->engine.setBool(result, sm_current->engine.isCurrentEventOneOf(context, pairs));
        return true;
    }

    static void addTestMethods(ESContext context) {
        CSpiderMonkeyEngine& engine = sm_current->engine;
        ESObject global = engine.globalObject(context);
        engine.addMethod(global, "later", later);
        engine.addMethod(global, "callNow", callNow);
        engine.addMethod(global, "privileged", privileged);
    }

    static ScriptRunner* sm_current;

    std::vector<std::unique_ptr<Later>> calls;

    CMainLoop loop;
    CHostCore core;
    FakeScriptConsole console;
    CSpiderMonkeyEngine engine;
    CLooseRootsSource looseRoots{loop.context(), engine};
    std::ostringstream out;
    std::ostringstream errors;
};

ScriptRunner* ScriptRunner::sm_current = nullptr;

TEST_F(ScriptRunner, ARunWaitsForTheWorkItsScriptStartedForTheConsoleEvent) {
    EXPECT_EQ(run("console.println('start ' + event.type + '/' + event.name + ' ' + privileged());"
                  "later(function () { console.println('later');"
                  "  later(function () { console.println('last'); }, 2); }, 1);"
                  "console.println('script done');"),
              CScriptRunner::kRunOK);
    EXPECT_EQ(printed(), "start Console/Exec true\nscript done\nlater\nlast\n");
    EXPECT_EQ(errors.str(), "");
    EXPECT_FALSE(loop.hasWork());
}

TEST_F(ScriptRunner, ErrorsThatTheScriptCatchesAreNotTold) {
    EXPECT_EQ(run("try { callNow(function () { throw new Error('inner'); }); }"
                  "catch (e) { console.println('caught ' + e.message); }"),
              CScriptRunner::kRunOK);
    EXPECT_EQ(printed(), "caught inner\n");
    EXPECT_EQ(errors.str(), "");
}

TEST_F(ScriptRunner, AnErrorInACallbackFailsTheRunAndStopsTheWait) {
    EXPECT_EQ(run("later(function () { throw new TypeError('too late'); }, 1);"
                  "later(function () { console.println('never'); }, 600);"),
              CScriptRunner::kRunFailed);
    EXPECT_EQ(errors.str(), "TypeError: too late\n");
    EXPECT_EQ(printed(), "");
}

TEST_F(ScriptRunner, TheTimeOutEndsAWaitForWorkThatDoesNotCome) {
    EXPECT_EQ(run("later(function () { console.println('an hour later'); }, 216000);", 1),
              CScriptRunner::kRunTimedOut);
    EXPECT_EQ(errors.str(), "vellum-host: gave up after 1 seconds with work still pending\n");
    EXPECT_EQ(printed(), "");
}

TEST_F(ScriptRunner, TheTimeLimitEndsABusyScriptOrCallbackAndNothingCatchesIt) {
    const char* const kStopped = "vellum-host: stopped the script after 1 seconds\n";
    const char* const kGaveUp = "vellum-host: gave up after 1 seconds with work still pending\n";
    struct Case {
        const char* source;
        const char* error;
        const char* printed;
    };
    const Case cases[] = {
        {"console.println('before'); while (true) {}", kStopped, "before\n"},
        {"try { while (true) {} } catch (e) { console.println('caught'); }"
         "finally { console.println('finally'); }",
         kStopped, ""},
        {"callNow(function () { try { for (;;) {} } catch (e) {} }); console.println('after');",
         kStopped, ""},
        {"later(function () { for (;;) {} }, 1);", kGaveUp, ""},
    };
    for (const Case& c : cases) {
        errors.str("");
        console.clear();
        auto started = std::chrono::steady_clock::now();
        EXPECT_EQ(run(c.source, 1), CScriptRunner::kRunTimedOut) << c.source;
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5)) << c.source;
        EXPECT_EQ(errors.str(), c.error) << c.source;
        EXPECT_EQ(printed(), c.printed) << c.source;
        // Script runs again once the stop is told.
        errors.str("");
        EXPECT_EQ(run("console.println('again');", 1), CScriptRunner::kRunOK) << c.source;
        EXPECT_EQ(errors.str(), "") << c.source;
    }
}

TEST_F(ScriptRunner, CtrlCEndsARunThatCatchesIt) {
    CScriptRunner runner(engine, loop, out, errors);
    runner.catchInterrupts();
    // Sent to the process, as a terminal does, from a thread that is not the one running.
    std::thread presser([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        kill(getpid(), SIGINT);
    });
    EXPECT_EQ(runner.run("for (;;) {}", 0), CScriptRunner::kRunInterrupted);
    presser.join();
    EXPECT_EQ(errors.str(), "vellum-host: interrupted\n");
}

TEST_F(ScriptRunner, TheConsoleRunsEachPieceOnceItsBracketsClose) {
    struct Case {
        const char* text;
        bool complete;
    };
    const Case cases[] = {
        {"1 + 1", true},
        {"function f() {", false},
        {"function f() {\n return 1; }", true},
        {"'{'", true},
        {"// {", true},
        {"/* { */ (", false},
        {"/* open", false},
        {"`template {", false},
        {"`template\n`", true},
        {"\"escaped \\\" {\"", true},
        {"}", true},
    };
    for (const Case& c : cases)
        EXPECT_EQ(CScriptRunner::isComplete(c.text), c.complete) << c.text;

    std::istringstream in("var total = 0\nfor (var i = 1; i <= 4; ++i) {\n  total += i;\n}\n"
                          "total\nlater(function () { console.println('async'); }, 1)\n"
                          "undefinedName\n'after'\n");
    CScriptRunner runner(engine, loop, out, errors);
    EXPECT_EQ(runner.console(in, true, 30), CScriptRunner::kRunOK);
    // A loop leaves the value of its last statement, as script does.
    EXPECT_EQ(out.str(), "> > ... ... 10\n> 10\n> > > after\n> \n");
    EXPECT_EQ(printed(), "async\n");
    EXPECT_EQ(errors.str(), "ReferenceError: undefinedName is not defined\n");
}

TEST_F(ScriptRunner, TheLoopLetsTheEngineDropLooseRootsWhenIdle) {
    CScriptRunner runner(engine, loop, out, errors);
    ASSERT_TRUE(runner.open());
    ESVal made = engine.newVal(runner.context());
    engine.evaluate(runner.context(), nullptr, "({})", -1, made);
    size_t before = engine.liveSlotCount();
    // Handed out outside any scope: kept until the host is idle.
    ASSERT_NE(engine.readObject(made), nullptr);
    EXPECT_EQ(engine.liveSlotCount(), before + 1);
    g_main_context_iteration(loop.context(), FALSE);
    EXPECT_EQ(engine.liveSlotCount(), before);
    engine.freeVal(made);
}

} // namespace
