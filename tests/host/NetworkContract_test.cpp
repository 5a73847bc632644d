// The test host's scripted network and the real one answer the same scenarios the same way, so
// that what the plug-in's tests learn from the fake holds against libcurl.
#include "host/loop/CMainLoop.h"
#include "host/net/CCurlNetwork.h"
#include "tests/fakehost/FakeIdle.h"
#include "tests/fakehost/FakeNetwork.h"
#include "tests/host/NetTestSupport.h"
#include "tests/support/CLoopbackHTTPServer.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

/// A network with a way to script replies and to let asynchronous work happen.
class NetWorld {
public:
    virtual ~NetWorld() = default;
    virtual INetwork& net() = 0;
    /// Serves body in pieces under path, with a Content-Type; answers the URL.
    virtual std::string serve(const std::string& path, long status, const std::string& body) = 0;
    /// A URL on which nothing answers the connection.
    virtual std::string refused() = 0;
    /// Serves "secret" under path behind a Basic challenge for alice.
    virtual std::string guard(const std::string& path) = 0;
    /// The body of the last request that reached the server.
    virtual std::string lastBody() = 0;
    /// Lets asynchronous requests run to their end.
    virtual void settle() = 0;

    NetClientID open() {
        net().initialize();
        static const char* const types[] = {"*/*", nullptr};
        NetClientID client = net().openClient("Contract/1.0", types, kNetClientVerifyTLS);
        net().setClientOption(client, kNetOptionNoProxy);
        static const int32_t pair[2] = {2000, 0};
        net().setTimeouts(client, {2, pair, 2000});
        return client;
    }
};

class RealWorld final : public NetWorld {
public:
    INetwork& net() override { return m_net; }
    std::string serve(const std::string& path, long status, const std::string& body) override {
        LoopbackReply reply = LoopbackReply::withBody(static_cast<int>(status), body, 700);
        reply.headers.emplace_back("Content-Type", "text/xml");
        m_server.route(path, reply);
        return m_server.url(path);
    }
    std::string refused() override {
        // Nothing listens on the discard port of a test machine's loopback.
        return "http://127.0.0.1:9/";
    }
    std::string guard(const std::string& path) override {
        m_server.route(path, LoopbackReply::withBody(200, "secret", 100));
        m_server.requireAuth(path, {LoopbackAuth::Scheme::Basic, "alice", "pw", "vault"});
        return m_server.url(path);
    }
    std::string lastBody() override { return m_server.requests().back().body; }
    void settle() override { m_loop.run(5000); }

private:
    CMainLoop m_loop;
    CCurlNetwork m_net{m_loop};
    CLoopbackHTTPServer m_server;
};

class FakeWorld final : public NetWorld {
public:
    INetwork& net() override { return m_net; }
    std::string serve(const std::string& path, long status, const std::string& body) override {
        FakeReply reply = FakeReply::withBody(status, body, 700);
        reply.headers.emplace_back("Content-Type", "text/xml");
        m_net.addReply(kBase + path, reply);
        return kBase + path;
    }
    std::string refused() override {
        m_net.addReply("http://127.0.0.1:9/", FakeReply::failure(kNetErrNoConnection));
        return "http://127.0.0.1:9/";
    }
    std::string guard(const std::string& path) override {
        FakeReply challenge = FakeReply::withBody(401, "denied");
        challenge.headers.emplace_back("WWW-Authenticate", "Basic realm=\"vault\"");
        m_net.addReply(kBase + path, challenge);
        m_net.addReply(kBase + path, FakeReply::withBody(200, "secret"));
        return kBase + path;
    }
    std::string lastBody() override { return m_net.sent().back().body; }
    void settle() override {
        for (int i = 0; i < 1000 && m_net.openRequests() > 0; ++i)
            m_idle.runIdle();
    }

private:
    inline static const std::string kBase = "http://127.0.0.1:8080";
    FakeIdle m_idle;
    FakeNetwork m_net{m_idle};
};

enum class World { Fake, Curl };

class NetworkContract : public ::testing::TestWithParam<World> {
protected:
    void SetUp() override {
        if (GetParam() == World::Fake)
            world = std::make_unique<FakeWorld>();
        else
            world = std::make_unique<RealWorld>();
        client = world->open();
    }
    INetwork& net() { return world->net(); }
    std::unique_ptr<NetWorld> world;
    NetClientID client = kNoNetClient;
};

TEST_P(NetworkContract, SynchronousRequestsReadTheReplyOrTheError) {
    std::string body = hostTestData("soap-fault-500.xml");
    struct Case {
        std::string url;
        long status;
        std::optional<std::string> type;
        std::string body;
    } cases[] = {
        {world->serve("/fault", 500, body), 500, "text/xml", body},
        {world->serve("/ok", 200, "<ok/>"), 200, "text/xml", "<ok/>"},
        {world->refused(), kNetErrNoConnection, std::nullopt, ""},
    };
    for (const Case& c : cases) {
        NetRequest request = net().openURL(c.url.c_str(), kNetOpenReadWrite);
        ASSERT_TRUE(net().setTimeoutsAndFlags(request, client, 0));
        BodySource source{"<in/>", 2};
        ASSERT_TRUE(net().post(request, &BodySource::write, &BodySource::close, &source));
        EXPECT_EQ(net().sendAndWait(request), c.status > 0) << c.url;
        EXPECT_EQ(net().status(request), c.status) << c.url;
        EXPECT_EQ(net().responseHeader(request, "CONTENT-TYPE"), c.type) << c.url;
        ReadResult read = readToEnd(net(), request);
        EXPECT_EQ(read.body, c.body) << c.url;
        EXPECT_EQ(read.last, c.status > 0 ? 0 : c.status) << c.url;
        EXPECT_EQ(source.closes, 1);
        if (c.status > 0) {
            EXPECT_EQ(world->lastBody(), "<in/>");
        }
        net().close(request);
    }
}

TEST_P(NetworkContract, AsynchronousRequestsEndWithOneFinalCall) {
    std::string echo = hostTestData("echo-string-array-200.xml");
    struct Case {
        std::string url;
        long status;
        long error;
        std::string body;
    } cases[] = {
        {world->serve("/echo", 200, echo), 200, 0, echo},
        {world->refused(), 0, kNetErrNoConnection, ""},
    };
    std::vector<AsyncRecord> records(std::size(cases));
    for (size_t i = 0; i < std::size(cases); ++i) {
        records[i].net = &net();
        records[i].closeAtEnd = true;
        NetRequest request = net().openURLAsync(cases[i].url.c_str(), kNetOpenRead,
                                                &AsyncRecord::consume, &records[i]);
        ASSERT_TRUE(net().setTimeoutsAndFlags(request, client, 0));
    }
    world->settle();
    for (size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(records[i].finalCalls, 1) << cases[i].url;
        EXPECT_EQ(records[i].status, cases[i].status) << cases[i].url;
        EXPECT_EQ(records[i].error, cases[i].error) << cases[i].url;
        EXPECT_EQ(records[i].body, cases[i].body) << cases[i].url;
    }
    EXPECT_EQ(records[0].contentType, "text/xml");
    EXPECT_GT(records[0].pieceLengths.size(), 1u);
}

TEST_P(NetworkContract, AChallengeGoesToTheClientsCallback) {
    std::string url = world->guard("/vault");
    AuthScript script{"alice", "pw", 3, {}};
    net().setAuthentication(client, 0, kNetAuthAsk, &AuthScript::answer, &script);
    NetRequest request = net().openURL(url.c_str(), kNetOpenRead);
    ASSERT_TRUE(net().setTimeoutsAndFlags(request, client, 5));
    ASSERT_TRUE(net().sendAndWait(request));
    EXPECT_EQ(net().status(request), 200);
    EXPECT_EQ(readToEnd(net(), request).body, "secret");
    ASSERT_EQ(script.calls.size(), 1u);
    EXPECT_EQ(script.calls[0].realm, "vault");
    EXPECT_EQ(script.calls[0].attempt, 1);
    EXPECT_EQ(script.calls[0].flags, 5);
    net().close(request);
}

TEST_P(NetworkContract, ARequestsOwnAuthenticationDataReachesTheCallback) {
    std::string url = world->guard("/vault");
    AuthScript clientWide{"mallory", "wrong", 3, {}};
    AuthScript ownData{"alice", "pw", 3, {}};
    net().setAuthentication(client, 0, kNetAuthAsk, &AuthScript::answer, &clientWide);
    NetRequest request = net().openURL(url.c_str(), kNetOpenRead);
    ASSERT_TRUE(net().setTimeoutsAndFlags(request, client, 0));
    ASSERT_TRUE(net().setAuthenticationData(request, &ownData));
    ASSERT_TRUE(net().sendAndWait(request));
    EXPECT_FALSE(net().setAuthenticationData(request, nullptr)) << "too late once sent";
    EXPECT_EQ(net().status(request), 200);
    EXPECT_EQ(ownData.calls.size(), 1u);
    EXPECT_TRUE(clientWide.calls.empty());
    net().close(request);
}

INSTANTIATE_TEST_SUITE_P(Worlds, NetworkContract, ::testing::Values(World::Fake, World::Curl),
                         [](const auto& info) {
                             return info.param == World::Fake ? "Fake" : "Curl";
                         });

} // namespace
