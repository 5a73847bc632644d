// Events a native routine opens, value scopes, and the context it borrows or makes.
#include "tests/values/CESTestSupport.h"
#include "values/CESEventScope.h"

#include <string>

namespace {

using CES::EventScope;
using CES::Val;

using CESEventScope = CESTest;

TEST_F(CESEventScope, TheEventIsCurrentOnlyWhileTheScopeLives) {
    Val before = run("typeof event == 'object' && event ? event.type + '/' + event.name : 'none'");
    {
        EventScope event(context, "App", "Exec");
        Val inside(context);
        std::string source = "event.result = event.type + '/' + event.name; 7";
        event.evaluate(source.c_str(), static_cast<long>(source.size()), inside);
        EXPECT_EQ(inside.text().getString(), "7");
        EXPECT_EQ(event.result().text().getString(), "App/Exec");
        EXPECT_EQ(event.object()["type"].get().text().getString(), "App");
    }
    EXPECT_EQ(run("typeof event == 'object' && event ? event.type + '/' + event.name : 'none'")
                  .text()
                  .getString(),
              before.text().getString());
}

TEST_F(CESEventScope, AScriptFailureRaisesTheHostErrorAndClosesTheEvent) {
    std::string before = textOf("event ? event.type : 'none'");
    int32_t code = 0;
    try {
        EventScope event(context, "Console", "Exec");
        Val result(context);
        std::string source = "throw new Error('no')";
        event.evaluate(source.c_str(), static_cast<long>(source.size()), result);
    } catch (const HostError& error) {
        code = error.code;
    }
    EXPECT_NE(code, 0);
    CES::Context(context).clearException();
    EXPECT_EQ(textOf("event ? event.type : 'none'"), before);
}

TEST_F(CESEventScope, ActingAsAnotherEventChangesWhatPrivilegeTestsSee) {
    EventScope event(context, "Doc", "Open");
    EXPECT_STREQ(engine.eventType(engine.currentEvent(context)), "Doc");
    event.actAs("Console", "Exec");
    EXPECT_STREQ(engine.eventType(engine.currentEvent(context)), "Console");
    // The script still sees the event's own type.
    EXPECT_EQ(event.object()["type"].get().text().getString(), "Doc");
}

TEST_F(CESEventScope, EvaluateRunsInTheCurrentEvent) {
    Val result(context);
    std::string source = "[1, 2, 3].length";
    CES::evaluate(context, source.c_str(), static_cast<long>(source.size()), result);
    EXPECT_EQ(result.text().getString(), "3");
}

TEST_F(CESEventScope, ABorrowedContextIsTheCurrentOneOrANewOneThatGoes) {
    engine.enterContext(context);
    {
        CES::CurrentOrNewContext borrowed("Console");
        EXPECT_EQ(borrowed.get(), context);
    }
    engine.leaveContext(context);
    // With the only context gone, one is made and goes with the object.
    engine.destroyContext(context);
    context = nullptr;
    ESContext made = nullptr;
    {
        CES::CurrentOrNewContext borrowed("Console");
        made = borrowed.get();
        ASSERT_NE(made, nullptr);
        EXPECT_EQ(engine.defaultContext(), made);
    }
    EXPECT_EQ(engine.defaultContext(), nullptr);
}

} // namespace
