// The authentication callbacks: the request's own credentials, the store, the dialog (run by the
// real script engine with a stand-in for the dialog manager) and the Tracker's rules.
#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/ZString.h"
#include "soap/AuthCallbacks.h"
#include "soap/CCredStore.h"
#include "soap/HTTPFunctions.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/fakehost/FakeSealing.h"
#include "tests/soap/HTTPTestSupport.h"
#include "values/QsCab.h"

#include <gtest/gtest.h>

namespace {

bool soapStrings(const char* key, QsTextRec* out) {
    miGetZStringEx(miGetZStringID(key), out);
    return true;
}

/// What a callback answered.
struct Answer {
    int32_t result = -1;
    std::optional<std::string> user;
    std::optional<std::string> password;
};

using AuthProc = int32_t (*)(const char*, const char*, char**, char**, long, long, void*);

Answer ask(AuthProc proc, const char* server, const char* realm, long attempt,
           void* data = nullptr) {
    char* user = reinterpret_cast<char*>(1); // the callback must clear both outputs first
    char* password = reinterpret_cast<char*>(1);
    Answer answer;
    answer.result = proc(server, realm, &user, &password, attempt, 0, data);
    if (user)
        answer.user = user;
    if (password)
        answer.password = password;
    QsFree(user);
    QsFree(password);
    return answer;
}

class AuthCallbacksTest : public ::testing::Test {
protected:
    void SetUp() override {
        IScriptEngine& engine = host.installScriptEngine();
        engine.registerStringProvider("SOAPString", soapStrings);
        context = engine.newContext("App", nullptr);
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
        IScriptEngine& engine = *gESHFT;
        ESVal result = engine.newVal(context);
        HostFrame frame;
        frame.run([&] {
            engine.evaluate(context, nullptr, source.c_str(), static_cast<long>(source.size()),
                            result);
        });
        EXPECT_EQ(frame.code(), 0) << source;
        CQsText text;
        engine.readQsText(result, text.get());
        engine.freeVal(result);
        return text.getString();
    }
    CCredStore& store() { return *CCredStore::instance(); }

    FakeHost host;
    FakeSealing sealing{host.extra()};
    ESContext context = nullptr;
};

TEST_F(AuthCallbacksTest, InteractiveAnswersFollowTheirFourSteps) {
    CAgg own = authenticateMap("carol", "from-the-call");
    struct Case {
        const char* what;
        void* data;
        bool stored;
        long attempt;
        const char* button;
        Answer expected;
        int dialogs;
        bool storedAfter;
    } cases[] = {
        {"the call's own credentials, at any attempt",
         &own,
         true,
         5,
         "ok",
         {1, "carol", "from-the-call"},
         0,
         true},
        {"a fourth attempt gives up", nullptr, true, 4, "ok", {0, {}, {}}, 0, true},
        {"stored ones at the first attempt",
         nullptr,
         true,
         1,
         "ok",
         {1, "alice", "stored-pw"},
         0,
         true},
        {"stored ones failed: forgotten, then the dialog",
         nullptr,
         true,
         2,
         "ok",
         {1, "bob", "s3cret"},
         1,
         false},
        {"nothing stored: the dialog", nullptr, false, 1, "ok", {1, "bob", "s3cret"}, 1, false},
        {"the dialog cancelled", nullptr, false, 3, "cancel", {0, {}, {}}, 1, false},
    };
    for (const Case& c : cases) {
        run("dialogSeen = []; dialogAnswer.button = '" + std::string(c.button) + "'");
        store().clearCredentials("services.example", "vault");
        if (c.stored)
            store().setCredentials("services.example", "vault", "alice", "stored-pw");
        Answer answer = ask(InteractiveAuthCB, "services.example", "vault", c.attempt, c.data);
        EXPECT_EQ(answer.result, c.expected.result) << c.what;
        EXPECT_EQ(answer.user, c.expected.user) << c.what;
        EXPECT_EQ(answer.password, c.expected.password) << c.what;
        EXPECT_EQ(run("dialogSeen.length"), std::to_string(c.dialogs)) << c.what;
        char* user = nullptr;
        char* password = nullptr;
        EXPECT_EQ(store().getCredentials("services.example", "vault", &user, &password),
                  c.storedAfter)
            << c.what;
        QsFree(user);
        QsFree(password);
    }
}

TEST_F(AuthCallbacksTest, TheDialogShowsServerAndRealmAsTextAndMayKeepThePassword) {
    run("dialogAnswer.fields.keyc = true");
    const char* realm = "vault\"}]}]}]}};injected = true;//";
    Answer answer = ask(InteractiveAuthCB, "h\xc3\xb6st:8443", realm, 1);
    EXPECT_EQ(answer.result, 1);
    EXPECT_EQ(run("typeof injected"), "undefined");
    EXPECT_EQ(run("dialogSeen[0].server"), "h\xc3\xb6st:8443");
    EXPECT_EQ(run("dialogSeen[0].realm"), realm);
    EXPECT_EQ(run("dialogSeen[0].title"), "Web Service Authentication");
    EXPECT_EQ(run("dialogSeen[0].fields"), "usrn,pass,keyc");
    EXPECT_EQ(run("dialogSeen[0].passwordHidden"), "true");
    EXPECT_EQ(run("dialogSeen[0].keychainLabel"), "Add to the System Keychain");
    EXPECT_EQ(run("dialogSeen[0].buttons"), "ok_cancel");
    EXPECT_EQ(run("dialogSeen[0].keychainEnabled"), "true");
    // The check box was set: the next first attempt is answered from the store.
    run("dialogSeen = []");
    answer = ask(InteractiveAuthCB, "h\xc3\xb6st:8443", realm, 1);
    EXPECT_EQ(answer.password, "s3cret");
    EXPECT_EQ(run("dialogSeen.length"), "0");
}

TEST_F(AuthCallbacksTest, WithoutAStoreTheCheckBoxIsDisabledAndNothingIsKept) {
    host.extra().setSealing(nullptr);
    run("dialogAnswer.fields.keyc = true");
    EXPECT_EQ(ask(InteractiveAuthCB, "s", "r", 1).user, "bob");
    EXPECT_EQ(run("dialogSeen[0].keychainEnabled"), "false");
    EXPECT_FALSE(store().isAvailable());
    EXPECT_EQ(ask(InteractiveAuthCB, "s", "r", 1).result, 1);
    EXPECT_EQ(run("dialogSeen.length"), "2") << "nothing was kept, so it asks again";
}

TEST_F(AuthCallbacksTest, WithoutADialogManagerTheRequestEndsWithItsChallenge) {
    run("delete app.execDialog");
    Answer answer = ask(InteractiveAuthCB, "services.example", "vault", 1);
    EXPECT_EQ(answer.result, 0);
    EXPECT_FALSE(answer.user);
    EXPECT_FALSE(answer.password);

    // Through the network: the 401 stands as the reply, and it reads as its message.
    FakeNetwork& net = host.network();
    net.initialize();
    NetClientID client = net.openClient("Test/1.0", nullptr, 0);
    net.setAuthentication(client, 0, kNetAuthAsk, InteractiveAuthCB, nullptr);
    FakeReply challenge = FakeReply::withBody(401, "who are you?");
    challenge.headers.emplace_back("WWW-Authenticate", "Basic realm=\"vault\"");
    net.addReply("http://services.example/vault", challenge);
    ReplyRecord reply;
    EXPECT_EQ(simpleGet({client, 0}, "http://services.example/vault", &ReplyRecord::consume, &reply,
                        nullptr),
              401);
    EXPECT_EQ(processHTTPError(401, 0), std::optional<uint16_t>(IDS_UNAUTHORIZED));
    EXPECT_TRUE(net.sent().back().credentials.empty());
}

TEST_F(AuthCallbacksTest, TheDialogsAnswerGoesOutWithTheRepeatedRequest) {
    FakeNetwork& net = host.network();
    net.initialize();
    NetClientID client = net.openClient("Test/1.0", nullptr, 0);
    net.setAuthentication(client, 0, kNetAuthAsk, InteractiveAuthCB, nullptr);
    FakeReply challenge = FakeReply::withBody(401, "who are you?");
    challenge.headers.emplace_back("WWW-Authenticate", "Basic realm=\"vault\"");
    net.addReply("http://services.example/vault", challenge);
    net.addReply("http://services.example/vault", FakeReply::withBody(200, "<welcome/>"));
    ReplyRecord reply;
    EXPECT_EQ(simpleGet({client, 0}, "http://services.example/vault", &ReplyRecord::consume, &reply,
                        nullptr),
              200);
    EXPECT_EQ(reply.body, "<welcome/>");
    using Pair = std::pair<std::string, std::string>;
    EXPECT_EQ(net.sent().back().credentials, std::vector<Pair>{Pair("bob", "s3cret")});
    EXPECT_EQ(run("dialogSeen[0].server"), "services.example");
}

bool trackerShowsIt(const char* server, const char*) {
    return std::string(server) == "feeds.example";
}

TEST_F(AuthCallbacksTest, TheTrackerAsksOnlyAboutTheSubscriptionInView) {
    struct Case {
        const char* what;
        TrackerAuthDialogTest test;
        bool stored;
        long attempt;
        Answer expected;
        int dialogs;
    } cases[] = {
        {"stored ones at the first attempt", nullptr, true, 1, {1, "alice", "stored-pw"}, 0},
        {"stored ones failed, the panel not showing: quiet", nullptr, true, 2, {0, {}, {}}, 0},
        {"nothing stored, the panel not showing: quiet", nullptr, false, 1, {0, {}, {}}, 0},
        {"another subscription in view: quiet",
         [](const char*, const char*) { return false; },
         false,
         1,
         {0, {}, {}},
         0},
        {"this subscription in view: the dialog", trackerShowsIt, true, 2, {1, "bob", "s3cret"}, 1},
    };
    for (const Case& c : cases) {
        run("dialogSeen = []");
        setTrackerAuthDialogTest(c.test);
        store().clearCredentials("feeds.example", "news");
        if (c.stored)
            store().setCredentials("feeds.example", "news", "alice", "stored-pw");
        Answer answer = ask(TrackerAuthCB, "feeds.example", "news", c.attempt);
        EXPECT_EQ(answer.result, c.expected.result) << c.what;
        EXPECT_EQ(answer.user, c.expected.user) << c.what;
        EXPECT_EQ(answer.password, c.expected.password) << c.what;
        EXPECT_EQ(run("dialogSeen.length"), std::to_string(c.dialogs)) << c.what;
    }
    // A failed stored entry is forgotten even when nobody is asked.
    setTrackerAuthDialogTest(nullptr);
    store().setCredentials("feeds.example", "news", "alice", "stored-pw");
    ask(TrackerAuthCB, "feeds.example", "news", 2);
    EXPECT_EQ(ask(TrackerAuthCB, "feeds.example", "news", 1).result, 0);
}

TEST(AuthDialogScriptTest, ServerTextsCannotLeaveTheirStringLiterals) {
    std::string script = makeAuthDialogScript("a\"b\\c\nd\xe2\x80\xa8", "{cServer}", false);
    EXPECT_NE(script.find("name: \"a\\u0022b\\u005cc\\u000ad\\u2028\""), std::string::npos);
    // A realm that looks like a placeholder stays as it is.
    EXPECT_NE(script.find("name: \"{cServer}\""), std::string::npos);
    EXPECT_NE(script.find("dialog.enable({keyc: false})"), std::string::npos);
    EXPECT_NE(script.find("if(app.execDialog(auth) == \"ok\") event.result = auth.result;"),
              std::string::npos);
}

} // namespace
