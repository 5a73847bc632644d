// Guarded calls, safe strings and script dates, against the real engine.
#include "tests/values/CESTestSupport.h"
#include "tests/values/CaseTable.h"

#include "frame/HostTables.h"
#include "values/CESCalls.h"
#include "values/CESTime.h"

namespace {

using namespace CES;

class CESCalls : public CESTest {
protected:
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

// What a method saw of its event: privileged as an internal execution or not.
bool gSawInternalExec = false;

bool recordEvent(ESContext context, ESObject, ESArgs, ESVal) {
    const ESEventPair internal[] = {{QsAtomFromString("Internal"), QsAtomFromString("Exec")},
                                    {kQsNullAtom, kQsNullAtom}};
    gSawInternalExec = gESHFT->isCurrentEventOneOf(context, internal);
    return true;
}

TEST_F(CESCalls, ASafeCallRunsForAnInternalEventAimedAtTheDocument) {
    auto document = reinterpret_cast<DkDoc>(0x1000);
    ESContext doc = engine.newContext("Doc", document);
    engine.evaluate(doc, nullptr, "var docName = 'report.pdf';", -1, nullptr);
    Val handler =
        run("({seen: '', handle: function (a) {"
            " this.seen = event.type + ' ' + (event.target ? event.target.docName : 'none')"
            " + ' ' + a; record(); return 'done'; }})");
    ASSERT_TRUE(engine.addMethod(engine.globalObject(context), "record", recordEvent));
    Val argument("arg", Context(context));
    ESVal args[] = {argument.slot()};
    Val result(context);
    gSawInternalExec = false;
    EXPECT_TRUE(
        ESObjectSafeCallWithDkDoc(handler.object(), document, "handle", 1, args, result.slot()));
    EXPECT_EQ(result.hostText(), "done");
    EXPECT_EQ(handler["seen"].get().hostText(), "Internal report.pdf arg");
    EXPECT_TRUE(gSawInternalExec);
    EXPECT_EQ(engine.currentEvent(context), nullptr);

    EXPECT_TRUE(ESObjectSafeCall(handler.object(), "handle", 1, args, result.slot()));
    EXPECT_EQ(handler["seen"].get().hostText(), "Internal none arg");
    EXPECT_FALSE(ESObjectSafeCall(handler.object(), "missing", 0, nullptr, result.slot()));
}

TEST_F(CESCalls, AScriptErrorIsRaisedAfterTheEventClosesOrKeptFromTheCaller) {
    Val thrower = run("({fail: function () { throw new Error('inside'); }})");
    Val result(context);
    EXPECT_EQ(raised([&] {
                  ESObjectSafeCallWithDkDoc(thrower.object(), nullptr, "fail", 0, nullptr,
                                            result.slot());
              }),
              kESErrScript);
    EXPECT_EQ(engine.currentEvent(context), nullptr);
    bool called = true;
    EXPECT_EQ(raised([&] {
                  called = ESObjectSafeCall(thrower.object(), "fail", 0, nullptr, result.slot());
              }),
              0);
    EXPECT_FALSE(called);
    EXPECT_EQ(engine.currentEvent(context), nullptr);
}

TEST_F(CESCalls, ToSourceGivesTheObjectsOwnTextOrNull) {
    CEStr source =
        ESObjectSafeToSource(run("({toSource: function () { return 'src'; }})").object());
    ASSERT_FALSE(source.isNull());
    EXPECT_EQ(EStrGetEncoding(source), kEStrUCS);
    EXPECT_EQ(std::string(EStrGetBytes(source), EStrGetLen(source)),
              std::string("\xFE\xFF\0s\0r\0c", 8));
    EXPECT_TRUE(ESObjectSafeToSource(run("Object.create(null)").object()).isNull());
    EXPECT_TRUE(
        ESObjectSafeToSource(run("({toSource: function () { throw 1; }})").object()).isNull());
}

TEST_F(CESCalls, OnlyStringsThePlugInMadeAreSafe) {
    CEStr made("made here", kEStrPDFDoc);
    setGlobal("safe", ESValCreateSafeString(context, made));
    struct Case {
        const char* source;
        bool safe;
    };
    const Case cases[] = {
        {"safe", true},
        {"String(safe)", false},
        {"new String('made here')", false},
        {"'made here'", false},
        {"({toString: function () { return 'made here'; }})", false},
        {"undefined", false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ESValIsSafeString(run(c.source).slot()), c.safe) << c.source;
    EXPECT_EQ(textOf("typeof safe + ' ' + safe"), "object made here");
}

TEST_F(CESCalls, TimeRecordsBecomeDatesWithTheirOffsetAndMilliseconds) {
    run("var calls = 0; var original = Date.prototype.setMilliseconds;"
        "Date.prototype.setMilliseconds = function (ms) { ++calls;"
        " return original.call(this, ms); };");
    for (const auto& row : readCaseTable("time-to-script-date.tsv")) {
        ASSERT_EQ(row.size(), 9u);
        QsTimeRec rec{};
        int16_t* fields[] = {&rec.year,   &rec.month,  &rec.date,        &rec.hour,
                             &rec.minute, &rec.second, &rec.millisecond, &rec.gmtOffset};
        for (size_t i = 0; i < 8; ++i)
            *fields[i] = static_cast<int16_t>(std::stoi(row[i]));
        run("calls = 0");
        Val date(context);
        ESValSetTime(date.slot(), &rec);
        setGlobal("d", date);
        EXPECT_EQ(textOf("isNaN(d) ? 'invalid' : d.toISOString()"), row[8]) << row[8];
        EXPECT_EQ(textOf("String(calls)"), rec.millisecond ? "1" : "0") << row[8];
    }
}

TEST_F(CESCalls, DatesReadAsTimeRecordsWithTheOffsetInHalfHours) {
    QsTimeRec rec{};
    ASSERT_TRUE(ESValGetTime(run("new Date(2004, 0, 2, 3, 4, 5, 6)").slot(), &rec));
    EXPECT_EQ(rec.year, 2004);
    EXPECT_EQ(rec.month, 1);
    EXPECT_EQ(rec.date, 2);
    EXPECT_EQ(rec.hour, 3);
    EXPECT_EQ(rec.minute, 4);
    EXPECT_EQ(rec.second, 5);
    EXPECT_EQ(rec.millisecond, 6);
    EXPECT_EQ(rec.day, 5);
    // Minutes west become half hours east, cut towards zero.
    const std::pair<int, int> offsets[] = {{-90, 3}, {45, -1}, {0, 0}, {300, -10}, {-59, 1}};
    for (auto [minutes, halfHours] : offsets) {
        Val date = run("var d = new Date(2004, 0, 1); d.getTimezoneOffset = function () { return " +
                       std::to_string(minutes) + "; }; d");
        ASSERT_TRUE(ESValGetTime(date.slot(), &rec));
        EXPECT_EQ(rec.gmtOffset, halfHours) << minutes;
    }
    EXPECT_FALSE(ESValGetTime(run("({getFullYear: function () { return 1; }})").slot(), &rec));
    EXPECT_FALSE(ESValGetTime(run("'2004-01-01'").slot(), &rec));
}

} // namespace
