#include "tests/host/ScriptFixture.h"

#include "frame/host/IUserInterface.h"

#include <optional>
#include <string>
#include <vector>

namespace {

using ScriptHost = ScriptTest;

TEST_F(ScriptHost, EventsCarryTypeNameAndResult) {
    EXPECT_EQ(textOf("typeof event"), "undefined");
    ESEvent app = engine.openEvent(context, "App", "Init");
    ESEvent console = engine.openEvent(context, "Console", "Exec");
    EXPECT_EQ(engine.currentEvent(context), console);
    EXPECT_EQ(textOf("event.type + '/' + event.name + ' ' + event.target"), "Console/Exec null");
    // An event named in the call is current for that run only.
    ESVal result = slot();
    engine.evaluate(context, app, "event.result = event.name; 'done'", -1, result);
    EXPECT_EQ(text(result), "done");
    EXPECT_EQ(textOf("event.name"), "Exec");
    ESVal taken = slot();
    ASSERT_TRUE(engine.getProperty(engine.eventObject(app), "result", taken));
    EXPECT_EQ(text(taken), "Init");
    engine.closeEvent(console);
    EXPECT_EQ(engine.currentEvent(context), app);
    EXPECT_EQ(textOf("event.type"), "App");
    engine.closeEvent(app);
    EXPECT_EQ(engine.currentEvent(context), nullptr);
    // A closed event is no event at all.
    engine.closeEvent(app);
    EXPECT_EQ(engine.eventObject(app), nullptr);
    EXPECT_STREQ(engine.eventType(app), "");
}

TEST_F(ScriptHost, PrivilegeFollowsTheIdentityAnEventActsAs) {
    ICore& core = host.core();
    const ESEventPair trusted[] = {{core.atomFromString("Console"), core.atomFromString("Exec")},
                                   {core.atomFromString("Batch"), core.atomFromString("Exec")},
                                   {kQsNullAtom, kQsNullAtom}};
    EXPECT_FALSE(engine.isCurrentEventOneOf(context, trusted));
    const struct {
        const char* type;
        const char* name;
        const char* asType;
        const char* asName;
        bool trusted;
    } cases[] = {
        {"Console", "Exec", nullptr, nullptr, true},
        {"Batch", "Exec", nullptr, nullptr, true},
        {"Doc", "Open", nullptr, nullptr, false},
        {"Console", "Init", nullptr, nullptr, false},
        {"Console", "Exec", "Internal", "Exec", false},
        {"Internal", "Exec", "Console", "Exec", true},
    };
    for (const auto& c : cases) {
        ESEvent event = engine.openEvent(context, c.type, c.name);
        if (c.asType)
            engine.setEventAs(event, c.asType, c.asName);
        EXPECT_EQ(engine.isCurrentEventOneOf(context, trusted), c.trusted)
            << c.type << "/" << c.name;
        // What a script writes on its event changes nothing.
        run("event.asType = 'Console'; event.asName = 'Exec'; event.type = 'Console'");
        EXPECT_EQ(engine.isCurrentEventOneOf(context, trusted), c.trusted);
        engine.closeEvent(event);
    }
}

TEST_F(ScriptHost, DatesReadTheTimeTextsOfTheBridge) {
    // 2004-01-01 12:00:00 UTC, whatever the local zone.
    const std::pair<const char*, const char*> cases[] = {
        {"new Date('1 January 2004 12:00:00 Z').getTime()", "1072958400000"},
        {"new Date('1 January 2004 12:00:00 z ').getTime()", "1072958400000"},
        {"new Date('1 January 2004 12:00:00 GMT').getTime()", "1072958400000"},
        {"Date.parse('1 January 2004 12:00:00 Z')", "1072958400000"},
        {"new Date('2004-01-01T12:00:00Z').getTime()", "1072958400000"},
        {"new Date(Date.UTC(2004, 0, 1, 12)).getTime()", "1072958400000"},
        // Only a zone of its own at the end is read as GMT.
        {"new Date('Z 1 January 2004 12:00:00').getTime()", "NaN"},
        {"new Date(2004, 0, 1) instanceof Date", "true"},
        {"new Date(0).constructor === Date && Date.prototype.constructor === Date", "true"},
        {"typeof Date() + ' ' + typeof Date.now()", "string number"},
        {"Object.prototype.toString.call(new Date(0))", "[object Date]"},
        {"class Later extends Date {}; new Later(0) instanceof Later", "true"},
    };
    for (const auto& [source, expected] : cases)
        EXPECT_EQ(textOf(source), expected) << source;
    EXPECT_STREQ(engine.className(objectOf("new Date('1 January 2004 12:00:00 Z')")), "Date");
}

bool soapStrings(const char* key, QsTextRec* out) {
    static int asked = 0;
    if (std::string(key) == "asked") {
        out->units = std::u16string(1, static_cast<char16_t>(u'0' + ++asked));
        return true;
    }
    if (std::string(key) != "IDS_SOAP_AUTHENTICATE_TITLE")
        return false;
    out->units = u"Web Service Authentication";
    return true;
}

TEST_F(ScriptHost, StringProvidersAnswerByKeyInEveryContext) {
    engine.registerStringProvider("SOAPString", soapStrings);
    ESContext later = engine.newContext("Doc", nullptr);
    for (ESContext in : {context, later}) {
        EXPECT_EQ(text(run("SOAPString.IDS_SOAP_AUTHENTICATE_TITLE", in)),
                  "Web Service Authentication");
        EXPECT_EQ(text(run("typeof SOAPString.IDS_NO_SUCH_KEY", in)), "undefined");
    }
    // Each text is asked for once and kept.
    EXPECT_EQ(textOf("SOAPString.asked + SOAPString.asked"), "11");
    engine.destroyContext(later);
}

TEST_F(ScriptHost, ConsoleLinesGoToTheHostsConsole) {
    run("console.println('first'); console.println({cMessage: 'named'}); console.println(3);"
        "console.show()");
    EXPECT_EQ(host.scriptConsole().lines(), (std::vector<std::string>{"first", "named", "3"}));
    EXPECT_EQ(host.scriptConsole().shown(), 1);
    run("console.clear()");
    EXPECT_TRUE(host.scriptConsole().lines().empty());
}

class RecordingUI final : public IUserInterface {
public:
    void registerNotification(int32_t, ExtensionID, VxNotificationProc, void*) override {}
    void unregisterNotification(int32_t, VxNotificationProc, void*) override {}
    int32_t alert(int32_t kind, const char* text, const char* button1, const char* button2,
                  const char* button3, bool) override {
        shown.push_back(std::to_string(kind) + " " + text + " [" + (button1 ? button1 : "") + "|" +
                        (button2 ? button2 : "") + "|" + (button3 ? button3 : "") + "]");
        return press;
    }
    bool hasTopLevelWindow() override { return false; }
    std::string labelLookup(const char*, const char* defaultLabel) override { return defaultLabel; }
    void applyStringFilter(QsTextRec*, int32_t) override {}
    void consolePrintln(const char*) override {}
    void openURL(const char*, const char*) override {}
    std::optional<std::string> response(const char* question, const char* title,
                                        const char* defaultText, bool password) override {
        shown.push_back(std::string(question) + "|" + title + "|" + defaultText + "|" +
                        (password ? "hidden" : "shown"));
        return answer;
    }

    int32_t press = 1;
    std::optional<std::string> answer;
    std::vector<std::string> shown;
};

TEST_F(ScriptHost, AppAlertsAndQuestionsGoToTheUserInterface) {
    RecordingUI ui;
    engine.setUserInterface(&ui);
    const struct {
        const char* call;
        int32_t press;
        const char* shown;
        const char* result;
    } alerts[] = {
        {"app.alert('a')", 1, "1 a [OK||]", "1"},
        {"app.alert('b', 1, 1)", 2, "3 b [OK|Cancel|]", "2"},
        {"app.alert({cMsg: 'c', nIcon: 2, nType: 2})", 1, "2 c [Yes|No|]", "4"},
        {"app.alert('d', 3, 2)", 2, "3 d [Yes|No|]", "3"},
        {"app.alert('e', 9, 3)", 3, "0 e [Yes|No|Cancel]", "2"},
        {"try { app.alert() } catch (e) { e.name }", 1, nullptr, "ArgumentError"},
    };
    for (const auto& a : alerts) {
        ui.shown.clear();
        ui.press = a.press;
        EXPECT_EQ(textOf(a.call), a.result) << a.call;
        if (a.shown) {
            EXPECT_EQ(ui.shown, std::vector<std::string>{a.shown});
        }
    }
    ui.shown.clear();
    ui.answer = "http://example.com/feed";
    EXPECT_EQ(textOf("app.response('Enter the URL', 'Add', 'http://')"), "http://example.com/feed");
    ui.answer.reset();
    EXPECT_EQ(textOf("app.response({cQuestion: 'Secret?', bPassword: true})"), "null");
    EXPECT_EQ(ui.shown,
              (std::vector<std::string>{"Enter the URL|Add|http://|shown", "Secret?|||hidden"}));
    // Without a user interface the alert is printed and answers its first button.
    engine.setUserInterface(nullptr);
    EXPECT_EQ(textOf("app.alert('printed', 0, 2, 'Title')"), "4");
    EXPECT_EQ(host.scriptConsole().lines().back(), "Title: printed");
}

TEST_F(ScriptHost, ContextsKnowTheirDocumentsAndTheDefaultOne) {
    auto* document = reinterpret_cast<DkDoc>(0x1000);
    ESContext doc = engine.newContext("Doc", document);
    EXPECT_EQ(engine.contextDocument(doc), document);
    EXPECT_EQ(engine.contextDocument(context), nullptr);
    EXPECT_EQ(engine.documentObject(document), engine.globalObject(doc));
    EXPECT_EQ(engine.objectContext(engine.globalObject(doc)), doc);
    EXPECT_EQ(engine.objectContext(objectOf("({})")), context);
    EXPECT_EQ(engine.valueContext(slot(doc)), doc);

    EXPECT_EQ(engine.defaultContext(), context);
    engine.enterContext(doc);
    EXPECT_EQ(engine.defaultContext(), doc);
    engine.leaveContext(doc);
    EXPECT_EQ(engine.defaultContext(), context);

    // Objects pass between contexts as they are.
    ESVal fromDoc = run("({origin: 'doc'})", doc);
    engine.setProperty(engine.globalObject(context), "visitor", fromDoc);
    EXPECT_EQ(textOf("visitor.origin"), "doc");
    engine.destroyContext(doc);
    EXPECT_EQ(engine.documentObject(document), nullptr);
}

} // namespace
