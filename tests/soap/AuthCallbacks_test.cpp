// The authentication callbacks: the request's own credentials, the store, the dialog (run by the
// real script engine, with a stand-in for the dialog manager) and the Tracker's rules.
#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/ZString.h"
#include "soap/AuthCallbacks.h"
#include "soap/CCredStore.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/fakehost/FakeSealing.h"
#include "tests/soap/HTTPTestSupport.h"
#include "values/QsCab.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

bool soapStrings(const char* key, QsTextRec* out) {
    miGetZStringEx(miGetZStringID(key), out);
    return true;
}

/// What a callback answered: its result, the user name and the password.
using Answer = std::tuple<int32_t, std::optional<std::string>, std::optional<std::string>>;
const Answer kNone{0, std::nullopt, std::nullopt};

Answer ask(NetAuthProc proc, const char* server, const char* realm, long attempt,
           void* data = nullptr) {
    char* user = reinterpret_cast<char*>(1); // both outputs must be cleared first
    char* password = reinterpret_cast<char*>(1);
    int32_t result = proc(server, realm, &user, &password, attempt, 0, data);
    Answer answer{result, user ? std::optional<std::string>(user) : std::nullopt,
                  password ? std::optional<std::string>(password) : std::nullopt};
    QsFree(user);
    QsFree(password);
    return answer;
}

class AuthCallbacksTest : public ::testing::Test {
protected:
    void SetUp() override {
        host.installScriptEngine().registerStringProvider("SOAPString", soapStrings);
        context = host.scriptEngine().newContext("App", nullptr);
        run(soapTestData("exec-dialog-stub.js"));
    }
    void TearDown() override {
        setTrackerAuthDialogTest(nullptr);
        delete CCredStore::sm_instance;
        CCredStore::sm_instance = nullptr;
        QsCabLocalTerm();
    }

    /// Runs script in the test's context; its value as UTF-8 text.
    std::string run(const std::string& source) {
        int32_t code = 0;
        std::string text = evaluateScript(host.scriptEngine(), context, source, code);
        EXPECT_EQ(code, 0) << source;
        return text;
    }
    /// Stores alice's credentials for the server and realm, or forgets them.
    void store(const char* server, const char* realm, bool stored) {
        CCredStore::instance()->clearCredentials(server, realm);
        if (stored)
            CCredStore::instance()->setCredentials(server, realm, "alice", "stored-pw");
    }

    FakeHost host;
    FakeSealing sealing{host.extra()};
    ESContext context = nullptr;
};

TEST_F(AuthCallbacksTest, InteractiveAnswersFollowTheirSteps) {
    CAgg own = authenticateMap("carol", "from-the-call");
    const Answer fromDialog{1, "bob", "s3cret"};
    const struct {
        const char* what;
        void* data;
        bool stored;
        long attempt;
        const char* script; // run before the callback
        Answer expected;
        int dialogs;
        bool storedAfter;
    } cases[] = {
        {"the call's own, at a third attempt",
         &own,
         true,
         3,
         "",
         {1, "carol", "from-the-call"},
         0,
         true},
        {"the call's own are not tried a fourth time", &own, true, 4, "", kNone, 0, true},
        {"a fourth attempt gives up", nullptr, true, 4, "", kNone, 0, true},
        {"stored, first attempt", nullptr, true, 1, "", {1, "alice", "stored-pw"}, 0, true},
        {"stored ones failed: forgotten, asked", nullptr, true, 2, "", fromDialog, 1, false},
        {"cancelled", nullptr, false, 3, "dialogAnswer.button = 'cancel'", kNone, 1, false},
        {"kept from the dialog", nullptr, false, 1, "dialogAnswer.fields.keyc = true", fromDialog,
         1, true},
        {"no dialog manager", nullptr, false, 1, "delete app.execDialog", kNone, 0, false},
    };
    for (const auto& c : cases) {
        run(std::string("dialogSeen = []; dialogAnswer.button = 'ok';"
                        "dialogAnswer.fields.keyc = false;") +
            c.script);
        store("services.example", "vault", c.stored);
        EXPECT_EQ(ask(InteractiveAuthCB, "services.example", "vault", c.attempt, c.data),
                  c.expected)
            << c.what;
        EXPECT_EQ(run("dialogSeen.length"), std::to_string(c.dialogs)) << c.what;
        EXPECT_EQ(storedCredentials("services.example", "vault").has_value(), c.storedAfter)
            << c.what;
    }
}

TEST_F(AuthCallbacksTest, TheDialogShowsServerAndRealmAsTextOnly) {
    const char* realm = "vault\"}]}]}]}};injected = true;//";
    EXPECT_EQ(std::get<0>(ask(InteractiveAuthCB, "h\xc3\xb6st:8443", realm, 1)), 1);
    EXPECT_EQ(run("typeof injected"), "undefined");
    EXPECT_EQ(run("var s = dialogSeen[0]; [s.server, s.realm, s.title, s.fields, s.passwordHidden,"
                  " s.keychainLabel, s.buttons, s.keychainEnabled].join('|')"),
              std::string("h\xc3\xb6st:8443|") + realm +
                  "|Web Service Authentication|usrn,pass,keyc|true|Add to the System "
                  "Keychain|ok_cancel|true");
    // Without a store the check box is disabled.
    host.extra().setSealing(nullptr);
    delete CCredStore::sm_instance;
    CCredStore::sm_instance = nullptr;
    ask(InteractiveAuthCB, "s", "r", 1);
    EXPECT_EQ(run("dialogSeen[1].keychainEnabled"), "false");
}

TEST_F(AuthCallbacksTest, TheTrackerAsksOnlyAboutTheSubscriptionInView) {
    const struct {
        TrackerAuthDialogTest test;
        bool stored;
        long attempt;
        Answer expected;
        int dialogs;
    } cases[] = {
        {nullptr, true, 1, {1, "alice", "stored-pw"}, 0},
        {nullptr, true, 2, kNone, 0},
        {nullptr, false, 1, kNone, 0},
        {[](const char*, const char*) { return false; }, false, 1, kNone, 0},
        {[](const char* server, const char*) { return std::string(server) == "feeds.example"; },
         true,
         2,
         {1, "bob", "s3cret"},
         1},
    };
    for (const auto& c : cases) {
        run("dialogSeen = []");
        setTrackerAuthDialogTest(c.test);
        store("feeds.example", "news", c.stored);
        EXPECT_EQ(ask(TrackerAuthCB, "feeds.example", "news", c.attempt), c.expected);
        EXPECT_EQ(run("dialogSeen.length"), std::to_string(c.dialogs));
        // A stored entry that failed is forgotten, whether anybody is asked or not.
        EXPECT_EQ(storedCredentials("feeds.example", "news").has_value(),
                  c.stored && c.attempt == 1);
    }
}

TEST_F(AuthCallbacksTest, WithoutADialogManagerTheHostAsksLineByLine) {
    run("delete app.execDialog");
    FakeUserInterface& ui = host.ui();
    const struct {
        std::vector<std::optional<std::string>> responses;
        int32_t keepButton; // 1 OK, 2 Cancel
        Answer expected;
        size_t questions;
        bool stored;
    } cases[] = {
        {{"dave", "pw"}, 1, {1, "dave", "pw"}, 2, true},
        {{"dave", "pw"}, 2, {1, "dave", "pw"}, 2, false},
        {{std::nullopt}, 1, kNone, 1, false},
        {{"dave", std::nullopt}, 1, kNone, 2, false},
    };
    for (const auto& c : cases) {
        store("services.example", "vault", false);
        size_t asked = ui.questions().size();
        for (const auto& response : c.responses)
            ui.respondNext(response);
        ui.answerNext(c.keepButton);
        EXPECT_EQ(ask(InteractiveAuthCB, "services.example", "vault", 1), c.expected);
        ASSERT_EQ(ui.questions().size() - asked, c.questions);
        const auto& user = ui.questions()[asked];
        EXPECT_EQ(user.title, "Web Service Authentication");
        EXPECT_EQ(user.question, "services.example\nvault\nUsername: ");
        EXPECT_FALSE(user.password);
        if (c.questions > 1) {
            EXPECT_TRUE(ui.questions()[asked + 1].password) << "the password is not shown";
        }
        EXPECT_EQ(storedCredentials("services.example", "vault").has_value(), c.stored);
    }
}

} // namespace
