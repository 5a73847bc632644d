// The curl network layer's synchronous road, against a real HTTP server on the loopback.
#include "host/loop/CMainLoop.h"
#include "host/net/CCurlNetwork.h"
#include "tests/host/NetTestSupport.h"
#include "tests/support/CLoopbackHTTPServer.h"

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace {

class CurlSyncTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(net.initialize());
        static const char* const types[] = {"*/*", nullptr};
        client = net.openClient("VellumTest/1.0", types, kNetClientVerifyTLS);
        net.setClientOption(client, kNetOptionNoProxy);
        // Connect within 2 s, fail after 1 s without a byte or 1.5 s without headers.
        static const int32_t pair[2] = {1000, 0};
        net.setTimeouts(client, {2, pair, 1500});
    }

    NetRequest open(const std::string& url, int32_t mode = kNetOpenRead, int32_t flags = 0) {
        NetRequest request = net.openURL(url.c_str(), mode);
        EXPECT_NE(request, nullptr) << url;
        EXPECT_TRUE(net.setTimeoutsAndFlags(request, client, flags));
        return request;
    }

    CMainLoop loop;
    CCurlNetwork net{loop};
    CLoopbackHTTPServer server;
    NetClientID client = kNoNetClient;
};

/// A port on the loopback where nothing listens.
uint16_t closedPort() {
    int probe = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(probe, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size);
    close(probe);
    return ntohs(address.sin_port);
}

TEST_F(CurlSyncTest, RepliesReachTheReaderByteForByte) {
    std::string echo = hostTestData("echo-string-array-200.xml");
    std::string fault = hostTestData("soap-fault-500.xml");
    std::string multipart = hostTestData("multipart-related-reply.bin");
    std::string plain = hostTestData("body-without-content-type.txt");
    const std::string multipartType = "multipart/related; type=\"text/xml\"; "
                                      "start=\"<root.part@127.0.0.1>\"; "
                                      "boundary=\"----=_Part_0_boundary\"";
    struct Case {
        const char* path;
        LoopbackReply reply;
        long status;
        std::optional<std::string> contentType;
        std::string body;
    } cases[] = {
        {"/many-chunks", LoopbackReply::withBody(200, echo, 400), 200, "text/xml", echo},
        {"/fault", LoopbackReply::withBody(500, fault, 100), 500, "text/xml", fault},
        {"/multipart", LoopbackReply::withBody(200, multipart, 300), 200, multipartType, multipart},
        {"/no-type", LoopbackReply::withBody(200, plain, 10), 200, std::nullopt, plain},
        {"/chunked", LoopbackReply::withBody(200, echo, 1000), 200, "text/xml", echo},
        {"/missing", LoopbackReply::withBody(404, "no such thing", 100), 404, std::nullopt,
         "no such thing"},
        {"/moved", LoopbackReply::withBody(302, "moved", 100), 302, std::nullopt, "moved"},
    };
    cases[0].reply.chunkDelayMs = 2;
    cases[4].reply.chunked = true;
    cases[6].reply.headers.emplace_back("Location", server.url("/many-chunks"));
    for (Case& c : cases) {
        if (c.contentType)
            c.reply.headers.emplace_back("Content-Type", *c.contentType);
        server.route(c.path, c.reply);
    }

    for (const Case& c : cases) {
        NetRequest request = open(server.url(c.path));
        ASSERT_TRUE(net.sendAndWait(request)) << c.path;
        EXPECT_EQ(net.status(request), c.status) << c.path;
        EXPECT_EQ(net.responseHeader(request, "content-type"), c.contentType) << c.path;
        ReadResult read = readToEnd(net, request);
        EXPECT_EQ(read.last, 0) << c.path;
        EXPECT_EQ(read.body, c.body) << c.path;
        EXPECT_LE(read.largestRead, 2048u);
        net.close(request);
    }
    // One request per case: the redirect was not followed.
    EXPECT_EQ(server.requests().size(), std::size(cases));
    EXPECT_EQ(net.openRequests(), 0u);
}

TEST_F(CurlSyncTest, BrokenRepliesEndInMappedErrorsWithBoundedReads) {
    std::string body(10000, 'x');
    struct Case {
        const char* path;
        LoopbackReply reply;
        long status;       // after sendAndWait
        long last;         // the read that ended the body
        size_t bodyLength; // bytes read before it
    } cases[] = {
        {"/closes-mid-body", LoopbackReply::withBody(200, body, 1000), 200, kNetErrInvalidResponse,
         3000},
        {"/announces-more", LoopbackReply::withBody(200, body, 1000), 200, kNetErrInvalidResponse,
         10000},
        {"/announces-less", LoopbackReply::withBody(200, body, 1000), 200, 0, 10},
        {"/chunked-closes", LoopbackReply::withBody(200, body, 1000), 200, kNetErrInvalidResponse,
         2000},
        {"/stalls", LoopbackReply::withBody(200, body, 5000), 200, kNetErrTimeout, 5000},
        {"/not-http", {}, kNetErrInvalidResponse, kNetErrInvalidResponse, 0},
        {"/says-nothing", {}, kNetErrInvalidResponse, kNetErrInvalidResponse, 0},
        {"/header-flood", {}, kNetErrInvalidResponse, kNetErrInvalidResponse, 0},
        {"/never-answers", {}, kNetErrTimeout, kNetErrTimeout, 0},
    };
    cases[0].reply.closeAfter = 3000;
    cases[1].reply.announcedLength = 20000;
    cases[2].reply.announcedLength = 10;
    cases[3].reply.chunked = true;
    cases[3].reply.closeAfter = 2000;
    cases[4].reply.chunkDelayMs = 3000; // longer than the 1 s stall time-out
    cases[5].reply.raw = hostTestData("not-http-reply.txt");
    cases[6].reply.raw = "";
    cases[7].reply.fillerHeaderBytes = 1024 * 1024;
    cases[8].reply.neverAnswer = true;
    for (const Case& c : cases)
        server.route(c.path, c.reply);

    for (const Case& c : cases) {
        auto start = std::chrono::steady_clock::now();
        NetRequest request = open(server.url(c.path));
        EXPECT_EQ(net.sendAndWait(request), c.status > 0) << c.path;
        EXPECT_EQ(net.status(request), c.status) << c.path;
        ReadResult read = readToEnd(net, request);
        EXPECT_EQ(read.last, c.last) << c.path;
        EXPECT_EQ(read.body.size(), c.bodyLength) << c.path;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4)) << c.path;
        net.close(request);
    }
}

TEST_F(CurlSyncTest, TheHostsBoundsEndServersThatGoSilentOrTrickle) {
    // The plug-in's own time-outs would wait five minutes without a byte or without headers.
    static const int32_t pluginPair[2] = {300000, 0};
    net.setTimeouts(client, {12, pluginPair, 300000});
    net.setWaitBounds(30, 2);
    std::string body(100, 'x');
    struct Case {
        const char* path;
        LoopbackReply reply;
        long status;      // after sendAndWait
        size_t leastBody; // bytes read before the time-out, at least
        size_t mostBody;  // and at most
    } cases[] = {
        {"/no-headers", {}, kNetErrTimeout, 0, 0},
        {"/stalled-body", LoopbackReply::withBody(200, body, 10), 200, 10, 10},
        {"/trickles", LoopbackReply::withBody(200, body, 1), 200, 1, 20},
    };
    cases[0].reply.neverAnswer = true;
    cases[1].reply.chunkDelayMs = 60000;
    cases[2].reply.chunkDelayMs = 400; // a byte now and then, below the least speed
    for (const Case& c : cases)
        server.route(c.path, c.reply);

    for (const Case& c : cases) {
        auto start = std::chrono::steady_clock::now();
        NetRequest request = open(server.url(c.path));
        EXPECT_EQ(net.sendAndWait(request), c.status > 0) << c.path;
        EXPECT_EQ(net.status(request), c.status) << c.path;
        ReadResult read = readToEnd(net, request);
        EXPECT_EQ(read.last, kNetErrTimeout) << c.path;
        EXPECT_GE(read.body.size(), c.leastBody) << c.path;
        EXPECT_LE(read.body.size(), c.mostBody) << c.path;
        auto took = std::chrono::steady_clock::now() - start;
        EXPECT_GE(took, std::chrono::seconds(2)) << c.path;
        EXPECT_LT(took, std::chrono::seconds(8)) << c.path;
        net.close(request);
    }
}

TEST_F(CurlSyncTest, AStopOfTheLoopEndsAWaitingRequestAtOnce) {
    LoopbackReply stalled = LoopbackReply::withBody(200, std::string(100, 'x'), 10);
    stalled.chunkDelayMs = 60000;
    LoopbackReply silent;
    silent.neverAnswer = true;
    server.route("/stalled", stalled);
    server.route("/silent", silent);
    for (const char* path : {"/silent", "/stalled"}) {
        NetRequest request = open(server.url(path));
        // Raised from another thread, as the watchdog does.
        std::thread watchdog([this] {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            loop.stopRequest().raise(CStopRequest::Reason::TimeUp);
        });
        auto start = std::chrono::steady_clock::now();
        net.sendAndWait(request);
        ReadResult read = readToEnd(net, request);
        auto took = std::chrono::steady_clock::now() - start;
        watchdog.join();
        EXPECT_EQ(read.last, kNetErrAborted) << path;
        EXPECT_LT(took, std::chrono::milliseconds(900)) << path;
        net.close(request);
        loop.stopRequest().clear();
    }
}

TEST_F(CurlSyncTest, ConnectionFailuresAndBadRequestsAreRefused) {
    std::string refused = "http://127.0.0.1:" + std::to_string(closedPort()) + "/";
    // TLS spoken to a server that only speaks plain HTTP.
    std::string notTLS = "https://127.0.0.1:" + std::to_string(server.port()) + "/";
    for (auto [url, expected] :
         {std::pair{refused, kNetErrNoConnection}, std::pair{notTLS, kNetErrSSL}}) {
        NetRequest request = open(url);
        EXPECT_FALSE(net.sendAndWait(request)) << url;
        EXPECT_EQ(net.status(request), expected) << url;
        char block[16];
        EXPECT_EQ(net.read(request, block, sizeof block), expected) << url;
        net.close(request);
    }

    for (auto [url, mode] :
         {std::pair{"ftp://127.0.0.1/", kNetOpenRead},
          std::pair{"file:///etc/passwd", kNetOpenRead}, std::pair{"not a url", kNetOpenRead},
          std::pair{"http://127.0.0.1/", 2}}) {
        EXPECT_EQ(net.openURL(url, mode), nullptr) << url;
    }
    NetRequest request = net.openURL(server.url("/").c_str(), kNetOpenRead);
    EXPECT_FALSE(net.setTimeoutsAndFlags(request, 9999, 0)); // no such client
    EXPECT_FALSE(net.setHeader(request, "X-Injected", "a\r\nHost: elsewhere"));
    EXPECT_FALSE(net.setHeader(request, "Bad: Name", "a"));
    BodySource source;
    EXPECT_FALSE(net.post(request, &BodySource::write, &BodySource::close, &source));
    EXPECT_EQ(source.closes, 0);
    net.close(request);
    // A closed handle is forgotten; using it again does no harm.
    EXPECT_EQ(net.status(request), kNetErrGeneral);
    net.close(request);
}

TEST_F(CurlSyncTest, PostSendsTheWholeBodyWithTheHeadersGiven) {
    server.route("/echo", LoopbackReply::withBody(200, "ok", 10));
    // Large enough to spill from memory into the temporary file.
    BodySource big{std::string(300 * 1024, 'b') + "end", 1000};
    BodySource empty;
    for (BodySource* source : {&big, &empty}) {
        NetRequest request = open(server.url("/echo"), kNetOpenReadWrite);
        EXPECT_TRUE(net.setHeader(request, "Content-Type", "text/xml; charset=UTF-8"));
        EXPECT_TRUE(net.setHeader(request, "SOAPAction", "\"urn:echo\""));
        EXPECT_TRUE(net.post(request, &BodySource::write, &BodySource::close, source));
        ASSERT_TRUE(net.sendAndWait(request));
        EXPECT_EQ(source->closes, 1);
        EXPECT_FALSE(net.setHeader(request, "X-Late", "too late"));
        EXPECT_EQ(net.status(request), 200);
        EXPECT_EQ(readToEnd(net, request).body, "ok");
        net.close(request);
        EXPECT_EQ(source->closes, 1);

        LoopbackRequest seen = server.requests().back();
        EXPECT_EQ(seen.method, "POST");
        EXPECT_EQ(seen.body, source->bytes);
        EXPECT_EQ(seen.header("Content-Length"), std::to_string(source->bytes.size()));
        EXPECT_EQ(seen.header("Content-Type"), "text/xml; charset=UTF-8");
        EXPECT_EQ(seen.header("SOAPAction"), "\"urn:echo\"");
        EXPECT_EQ(seen.header("User-Agent"), "VellumTest/1.0");
        EXPECT_EQ(seen.header("Accept"), "*/*");
        EXPECT_EQ(seen.header("Expect"), std::nullopt);
    }

    // A body that fails to come aborts the request before anything is sent.
    size_t before = server.requests().size();
    BodySource failing{"partial", 3, 0, 0, true};
    NetRequest request = open(server.url("/echo"), kNetOpenReadWrite);
    ASSERT_TRUE(net.post(request, &BodySource::write, &BodySource::close, &failing));
    EXPECT_FALSE(net.sendAndWait(request));
    EXPECT_EQ(net.status(request), kNetErrAborted);
    EXPECT_EQ(failing.closes, 1);
    net.close(request);
    EXPECT_EQ(server.requests().size(), before);

    // A body never sent is still closed, once, with its request.
    BodySource unsent{"never"};
    request = open(server.url("/echo"), kNetOpenReadWrite);
    ASSERT_TRUE(net.post(request, &BodySource::write, &BodySource::close, &unsent));
    net.close(request);
    EXPECT_EQ(unsent.closes, 1);
}

TEST_F(CurlSyncTest, ChallengesAreAnsweredThroughTheClientsCallback) {
    using Scheme = LoopbackAuth::Scheme;
    const std::string port = std::to_string(server.port());
    struct Case {
        const char* path;
        Scheme scheme;
        const char* password; // the callback's
        int answerUpTo;
        long status;
        std::vector<long> attempts;
    } cases[] = {
        {"/basic", Scheme::Basic, "s3cret", 3, 200, {1}},
        {"/digest", Scheme::Digest, "s3cret", 3, 200, {1}},
        {"/basic-wrong", Scheme::Basic, "wrong", 3, 401, {1, 2, 3, 4}},
        {"/digest-wrong", Scheme::Digest, "wrong", 3, 401, {1, 2, 3, 4}},
        {"/basic-declined", Scheme::Basic, "s3cret", 0, 401, {1}},
    };
    for (const Case& c : cases) {
        server.route(c.path, LoopbackReply::withBody(200, "welcome", 100));
        server.requireAuth(c.path, {c.scheme, "alice", "s3cret", "SOAP realm"});
        AuthScript script{"alice", c.password, c.answerUpTo, {}};
        net.setAuthentication(client, 0, kNetAuthAsk, &AuthScript::answer, &script);

        BodySource body{"<request/>", 4};
        NetRequest request = open(server.url(c.path), kNetOpenReadWrite, 7);
        ASSERT_TRUE(net.post(request, &BodySource::write, &BodySource::close, &body));
        ASSERT_TRUE(net.sendAndWait(request)) << c.path;
        EXPECT_EQ(net.status(request), c.status) << c.path;
        std::vector<long> attempts;
        for (const AuthScript::Call& call : script.calls) {
            attempts.push_back(call.attempt);
            EXPECT_EQ(call.server, "127.0.0.1:" + port);
            EXPECT_EQ(call.realm, "SOAP realm");
            EXPECT_EQ(call.flags, 7); // the request's flags
        }
        EXPECT_EQ(attempts, c.attempts) << c.path;
        ReadResult read = readToEnd(net, request);
        EXPECT_EQ(read.last, 0);
        EXPECT_EQ(read.body, c.status == 200 ? "welcome" : "<html>authorization required</html>");
        net.close(request);
        // Every round carried the whole body again.
        EXPECT_EQ(server.requests().back().body, "<request/>") << c.path;
        EXPECT_EQ(body.closes, 1);
    }
    net.setAuthentication(client, 0, kNetAuthNone, nullptr, nullptr);
}

TEST_F(CurlSyncTest, ClientFlagsAndOptionsShapeTheRequest) {
    std::string xml = hostTestData("soap-fault-500.xml");
    std::string packed = hostTestData("soap-fault-500.xml.gz");
    LoopbackReply compressed = LoopbackReply::withBody(200, packed, 100);
    compressed.headers.emplace_back("Content-Encoding", "gzip");
    server.route("/packed", compressed);
    // Asked as a proxy, the server sees whole URLs; port 9 itself is closed.
    server.route("http://127.0.0.1:9/feed", LoopbackReply::withBody(200, "via proxy", 100));
    server.route("http://127.0.0.1:9/guarded", LoopbackReply::withBody(200, "past proxy", 100));
    server.requireAuth("http://127.0.0.1:9/guarded",
                       {LoopbackAuth::Scheme::Basic, "carol", "pw", "proxy realm", true});
    AuthScript proxyAuth{"carol", "pw", 3, {}};

    struct Env {
        const char* name;
        std::optional<std::string> old;
        Env(const char* n, const std::string& value) : name(n) {
            if (const char* was = std::getenv(n))
                old = was;
            setenv(n, value.c_str(), 1);
        }
        ~Env() {
            if (old)
                setenv(name, old->c_str(), 1);
            else
                unsetenv(name);
        }
    } proxy("http_proxy", server.url("")), noProxy("no_proxy", "");

    static const char* const types[] = {"text/xml", "application/soap+xml", nullptr};
    NetClientID inflating = net.openClient("Inflating", types, kNetClientDecompress);
    net.setClientOption(inflating, kNetOptionNoProxy);
    NetClientID proxied = net.openClient("Proxied", types, 0);
    net.setClientOption(proxied, kNetOptionProxyFromEnvironment);
    net.setAuthentication(proxied, 1, kNetAuthAsk, &AuthScript::answer, &proxyAuth);
    struct Case {
        NetClientID client;
        std::string url;
        long status;
        std::string body;
        std::string target;  // as the server saw it
        bool acceptEncoding; // whether it was asked for compression
    } cases[] = {
        {inflating, server.url("/packed"), 200, xml, "/packed", true},
        {client, server.url("/packed"), 200, packed, "/packed", false},
        {proxied, "http://127.0.0.1:9/feed", 200, "via proxy", "http://127.0.0.1:9/feed", false},
        {client, "http://127.0.0.1:9/feed", kNetErrNoConnection, "", "", false},
        {proxied, "http://127.0.0.1:9/guarded", 200, "past proxy", "http://127.0.0.1:9/guarded",
         false},
    };
    for (const Case& c : cases) {
        size_t before = server.requests().size();
        NetRequest request = net.openURL(c.url.c_str(), kNetOpenRead);
        ASSERT_TRUE(net.setTimeoutsAndFlags(request, c.client, 0));
        net.sendAndWait(request);
        EXPECT_EQ(net.status(request), c.status) << c.url;
        EXPECT_EQ(readToEnd(net, request).body, c.body) << c.url;
        net.close(request);
        if (c.status < 0) {
            EXPECT_EQ(server.requests().size(), before) << c.url;
            continue;
        }
        LoopbackRequest seen = server.requests().back();
        EXPECT_EQ(seen.target, c.target);
        EXPECT_EQ(seen.header("Accept-Encoding").has_value(), c.acceptEncoding) << c.url;
        EXPECT_EQ(seen.header("Accept"),
                  c.client == client ? "*/*" : "text/xml, application/soap+xml")
            << c.url;
    }
    ASSERT_EQ(proxyAuth.calls.size(), 1u);
    EXPECT_EQ(proxyAuth.calls[0].realm, "proxy realm");
    EXPECT_EQ(server.requests().back().header("Proxy-Authorization"),
              "Basic " + loopbackBase64("carol:pw"));
}

TEST_F(CurlSyncTest, TheTraceNeverShowsThePassword) {
    std::vector<std::string> trace;
    net.setTrace([&](const std::string& line) { trace.push_back(line); });
    for (auto scheme : {LoopbackAuth::Scheme::Basic, LoopbackAuth::Scheme::Digest}) {
        server.route("/private", LoopbackReply::withBody(200, "inside", 100));
        server.requireAuth("/private", {scheme, "alice", "s3cret-pa55", "realm"});
        AuthScript script{"alice", "s3cret-pa55", 3, {}};
        net.setAuthentication(client, 0, kNetAuthAsk, &AuthScript::answer, &script);
        NetRequest request = open(server.url("/private"));
        ASSERT_TRUE(net.sendAndWait(request));
        EXPECT_EQ(net.status(request), 200);
        net.close(request);
    }
    std::string all;
    for (const std::string& line : trace)
        all += line + "\n";
    EXPECT_NE(all.find("> Authorization: <hidden>"), std::string::npos) << all;
    EXPECT_NE(all.find("< HTTP/1.1 401"), std::string::npos) << all;
    EXPECT_EQ(all.find("s3cret-pa55"), std::string::npos) << all;
    EXPECT_EQ(all.find(loopbackBase64("alice:s3cret-pa55")), std::string::npos) << all;
}

TEST_F(CurlSyncTest, AHundredMebibyteReplyIsReadInBoundedMemory) {
    const uint64_t size = 100ull * 1024 * 1024;
    LoopbackReply huge;
    huge.generatedBytes = size;
    server.route("/huge", huge);
    long before = residentKiB();
    long peak = before;
    NetRequest request = open(server.url("/huge"));
    ASSERT_TRUE(net.sendAndWait(request));
    uint64_t total = 0;
    bool patternHolds = true;
    char block[2048];
    for (long got; (got = net.read(request, block, sizeof block)) > 0;) {
        patternHolds = patternHolds && block[0] == static_cast<char>('a' + total % 65536 % 26);
        total += static_cast<uint64_t>(got);
        if (total % (1024 * 1024) == 0)
            peak = std::max(peak, residentKiB());
    }
    net.close(request);
    EXPECT_EQ(total, size);
    EXPECT_TRUE(patternHolds);
    EXPECT_LT(peak - before, kBoundedGrowthKiB);
}

} // namespace
