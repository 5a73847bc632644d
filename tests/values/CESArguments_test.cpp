// Reading a native method's arguments: in order or by name, defaults, required ones, object
// arguments, and the method's own name.
#include "tests/values/CESTestSupport.h"
#include "values/CESArguments.h"
#include "values/CESGlobalObject.h"

#include <string>

namespace {

using CES::Arguments;
using CES::Context;
using CES::Val;

/// What the last call of the probe read, as text.
std::string gRead;

// Reads (cName required, nCount, bFlag, oThing) and reports what it found.
bool probe(ESContext context, ESObject, ESArgs args, ESVal result) {
    return CES::scriptBoundary([&] {
        Arguments a(context, args,
                    {{"cName", true}, {"nCount", false}, {"bFlag", false}, {"oThing", false}});
        if (!a.ok()) {
            gRead = "missing";
            return false;
        }
        gRead = a.methodName() + ": " + a.text("cName") + " " + a.text("nCount", "none") + " " +
                (a.flag("bFlag", true) ? "yes" : "no") + " " +
                (a.object("oThing") ? "object" : "no object");
        CES::setResult(result, Val(static_cast<long>(gRead.size()), Context(context)));
        return true;
    });
}

// Reads two arguments by position only: a lone object is a value, never a bag of names.
bool positional(ESContext context, ESObject, ESArgs args, ESVal result) {
    return CES::scriptBoundary([&] {
        Arguments a = Arguments::byPosition(context, args, 2);
        gRead = std::string(a.has("0") ? "first" : "-") + (a.has("1") ? " second" : " -");
        CES::setResult(result, a["0"]);
        return true;
    });
}

class CESArguments : public CESTest {
protected:
    CESArguments() {
        CES::defineGlobalObject(context, "Probe",
                                {CES::method("probe", probe), CES::method("other", probe),
                                 CES::method("positional", positional)});
    }

    /// What the probe read for a call, or the error the call threw.
    std::string call(const std::string& expression) {
        gRead.clear();
        std::string outcome =
            textOf("try { " + expression + "; 'ok' } catch (e) { e.name + ': ' + e.message }");
        return outcome == "ok" ? gRead : outcome;
    }
};

TEST_F(CESArguments, ReadsInOrderOrByNameWithDefaults) {
    struct Case {
        const char* call;
        const char* read;
    };
    const Case cases[] = {
        {"Probe.probe('a')", "probe: a none yes no object"},
        {"Probe.probe('a', 3, false, {})", "probe: a 3 no object"},
        {"Probe.probe({cName: 'b', bFlag: 0})", "probe: b none no no object"},
        {"Probe.probe({nCount: 7, cName: 'c', oThing: []})", "probe: c 7 yes object"},
        // null counts as not given: the default holds.
        {"Probe.probe('d', null, null, null)", "probe: d none yes no object"},
        // An object without any of the names is a positional argument.
        {"Probe.probe({other: 1})", "probe: [object Object] none yes no object"},
        {"Probe.other('e')", "other: e none yes no object"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(call(c.call), c.read) << c.call;
}

TEST_F(CESArguments, MissingOrWrongArgumentsFailTheCall) {
    EXPECT_NE(call("Probe.probe()").find("Error"), std::string::npos);
    EXPECT_EQ(gRead, "missing");
    EXPECT_NE(call("Probe.probe({nCount: 1})").find("Error"), std::string::npos);
    EXPECT_EQ(gRead, "missing");
    // An object parameter given something else.
    std::string wrong = call("Probe.probe('a', 1, true, 'not an object')");
    EXPECT_NE(wrong.find("Error"), std::string::npos) << wrong;
}

TEST_F(CESArguments, PositionalReadingLeavesAnObjectWhole) {
    EXPECT_EQ(call("Probe.positional({cName: 1})"), "first -");
    EXPECT_EQ(textOf("Probe.positional({cName: 'x'}).cName"), "x");
    EXPECT_EQ(call("Probe.positional(undefined, 2)"), "- second");
    EXPECT_EQ(textOf("Probe.probe('abc')"), "29"); // the length of what it read
}

} // namespace
