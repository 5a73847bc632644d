// The global objects modules define: members in order, an object shared between modules, and
// the hooks that run on every context.
#include "tests/values/CESTestSupport.h"
#include "values/CESArguments.h"
#include "values/CESGlobalObject.h"

#include <string>

namespace {

using CES::Context;
using CES::Val;

bool answer(ESContext context, ESObject, ESArgs, ESVal result) {
    CES::setResult(result, Val(42L, Context(context)));
    return true;
}

bool gSwitch = false;

bool getSwitch(ESContext context, ESObject, ESVal result) {
    CES::setResult(result, Val(gSwitch, Context(context)));
    return true;
}

bool setSwitch(ESContext, ESObject, ESVal value) {
    gSwitch = static_cast<bool>(Val(value));
    return true;
}

void defineFirst(ESContext context) {
    CES::defineGlobalObject(context, "Shared",
                            {CES::method("answer", answer),
                             CES::accessor("on", getSwitch, setSwitch),
                             CES::accessor("fixed", getSwitch)});
}

void defineSecond(ESContext context) {
    CES::defineGlobalObject(context, "Shared", {CES::method("again", answer)});
}

int gClassInits = 0;

void countApp(ESContext, ESObject) {
    ++gClassInits;
}

using CESGlobalObject = CESTest;

TEST_F(CESGlobalObject, MembersArriveInOrderAndModulesShareTheObject) {
    defineFirst(context);
    defineSecond(context);
    EXPECT_EQ(textOf("Object.getOwnPropertyNames(Shared).join(',')"), "answer,on,fixed,again");
    EXPECT_EQ(textOf("Shared.answer() + Shared.again()"), "84");
    gSwitch = false;
    EXPECT_EQ(textOf("Shared.on = true; Shared.on"), "true");
    EXPECT_TRUE(gSwitch);
    // Without a setter, an assignment is ignored.
    EXPECT_EQ(textOf("Shared.fixed = false; Shared.fixed"), "true");
}

TEST_F(CESGlobalObject, ContextInitialisersRunOnEveryContextNowAndLater) {
    ASSERT_TRUE(CES::registerContextInit(defineFirst));
    EXPECT_EQ(textOf("typeof Shared.answer"), "function");
    ESContext later = engine.newContext("Doc", nullptr);
    Val value(later);
    engine.evaluate(later, nullptr, "Shared.answer()", -1, value.slot());
    EXPECT_EQ(value.text().getString(), "42");
    engine.destroyContext(later);

    gClassInits = 0;
    ASSERT_TRUE(CES::registerClassInit(countApp, "App"));
    EXPECT_GE(gClassInits, 1); // the host's own live App objects
}

TEST(CESGlobalObjectWithoutEngine, HooksSayNoWhenThereIsNoEngine) {
    FakeHost host; // no script engine installed
    EXPECT_FALSE(CES::registerContextInit(defineFirst));
    EXPECT_FALSE(CES::registerClassInit(countApp, "App"));
    EXPECT_FALSE(CES::registerStringProvider("Texts", nullptr));
}

} // namespace
