// The curl network layer's asynchronous road: transfers driven by the GLib main loop, replies
// handed to consumers at idle moments.
#include "host/loop/CMainLoop.h"
#include "host/net/CCurlNetwork.h"
#include "tests/host/NetTestSupport.h"
#include "tests/support/CLoopbackHTTPServer.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

class CurlAsyncTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(net.initialize());
        static const char* const types[] = {"*/*", nullptr};
        client = net.openClient("VellumTest/1.0", types, kNetClientVerifyTLS);
        net.setClientOption(client, kNetOptionNoProxy);
        static const int32_t pair[2] = {1000, 0};
        net.setTimeouts(client, {2, pair, 1500});
    }

    NetRequest open(const std::string& path, AsyncRecord& record, int32_t mode = kNetOpenRead) {
        record.net = &net;
        NetRequest request =
            net.openURLAsync(server.url(path).c_str(), mode, &AsyncRecord::consume, &record);
        EXPECT_NE(request, nullptr) << path;
        EXPECT_TRUE(net.setTimeoutsAndFlags(request, client, 0));
        return request;
    }

    CMainLoop loop;
    CCurlNetwork net{loop};
    CLoopbackHTTPServer server;
    NetClientID client = kNoNetClient;
};

TEST_F(CurlAsyncTest, RepliesArriveInPiecesThenOneFinalCall) {
    std::string echo = hostTestData("echo-string-array-200.xml");
    std::string fault = hostTestData("soap-fault-500.xml");
    struct Case {
        const char* path;
        LoopbackReply reply;
        long status;
        long error;
        std::string body;
    } cases[] = {
        {"/many-chunks", LoopbackReply::withBody(200, echo, 500), 200, 0, echo},
        {"/fault", LoopbackReply::withBody(500, fault, 50), 500, 0, fault},
        {"/missing", LoopbackReply::withBody(404, "gone", 50), 404, 0, "gone"},
        {"/closes-mid-body", LoopbackReply::withBody(200, echo, 500), 200, kNetErrInvalidResponse,
         echo.substr(0, 1500)},
        {"/stalls", LoopbackReply::withBody(200, echo, 5000), 200, kNetErrTimeout,
         echo.substr(0, 5000)},
        {"/never-answers", {}, 0, kNetErrTimeout, ""},
        {"/not-http", {}, 0, kNetErrInvalidResponse, ""},
    };
    cases[0].reply.chunkDelayMs = 2;
    cases[0].reply.headers.emplace_back("Content-Type", "text/xml; charset=utf-8");
    cases[3].reply.closeAfter = 1500;
    cases[4].reply.chunkDelayMs = 3000; // longer than the 1 s stall time-out
    cases[5].reply.neverAnswer = true;
    cases[6].reply.raw = hostTestData("not-http-reply.txt");
    for (const Case& c : cases)
        server.route(c.path, c.reply);

    // All in flight at once.
    std::vector<AsyncRecord> records(std::size(cases));
    std::vector<NetRequest> requests;
    for (size_t i = 0; i < std::size(cases); ++i)
        requests.push_back(open(cases[i].path, records[i]));
    auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(loop.run(5000)); // returns once every request has had its final call
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));

    for (size_t i = 0; i < std::size(cases); ++i) {
        const Case& c = cases[i];
        const AsyncRecord& got = records[i];
        EXPECT_EQ(got.finalCalls, 1) << c.path;
        EXPECT_EQ(got.status, c.status) << c.path;
        EXPECT_EQ(got.error, c.error) << c.path;
        EXPECT_EQ(got.body, c.body) << c.path;
        net.close(requests[i]);
    }
    EXPECT_EQ(records[0].contentType, "text/xml; charset=utf-8");
    EXPECT_GT(records[0].pieceLengths.size(), 1u);
    EXPECT_EQ(net.openRequests(), 0u);
}

TEST_F(CurlAsyncTest, ConsumersMayStopTheReadingOrCloseTheirRequest) {
    LoopbackReply slow = LoopbackReply::withBody(200, std::string(4000, 's'), 1000);
    slow.chunkDelayMs = 20;
    server.route("/slow", slow);

    AsyncRecord stops;
    stops.stopAfterPieces = 1;
    NetRequest stopped = open("/slow", stops);
    AsyncRecord closes;
    closes.closeAtEnd = true; // as an owner that deletes itself at the end does
    open("/slow", closes);
    AsyncRecord abandoned;
    NetRequest gone = open("/slow", abandoned);
    net.close(gone); // before it even started: no call ever comes

    EXPECT_TRUE(loop.run(5000));
    EXPECT_EQ(stops.pieceLengths.size(), 1u);
    EXPECT_EQ(stops.finalCalls, 1);
    EXPECT_EQ(stops.status, 200);
    EXPECT_EQ(stops.error, 0);
    EXPECT_EQ(closes.body.size(), 4000u);
    EXPECT_EQ(closes.finalCalls, 1);
    EXPECT_EQ(abandoned.finalCalls, 0);
    EXPECT_TRUE(abandoned.body.empty());
    net.close(stopped);
    EXPECT_EQ(net.openRequests(), 0u);
}

TEST_F(CurlAsyncTest, PostsAreAnsweredAfterTheChallenge) {
    server.route("/private", LoopbackReply::withBody(200, "<ok/>", 100));
    server.requireAuth("/private", {LoopbackAuth::Scheme::Digest, "bob", "pw", "async"});
    AuthScript script{"bob", "pw", 3, {}};
    net.setAuthentication(client, 0, kNetAuthAsk, &AuthScript::answer, &script);

    AsyncRecord record;
    NetRequest request = open("/private", record, kNetOpenReadWrite);
    BodySource body{"<call/>", 2};
    ASSERT_TRUE(net.setHeader(request, "Content-Type", "text/xml"));
    ASSERT_TRUE(net.post(request, &BodySource::write, &BodySource::close, &body));
    EXPECT_TRUE(loop.run(5000));
    EXPECT_EQ(record.status, 200);
    EXPECT_EQ(record.body, "<ok/>");
    ASSERT_EQ(script.calls.size(), 1u);
    EXPECT_EQ(script.calls[0].realm, "async");
    EXPECT_EQ(server.requests().back().body, "<call/>");
    EXPECT_EQ(server.requests().back().header("Content-Type"), "text/xml");
    EXPECT_EQ(body.closes, 1);
    net.close(request);
}

TEST_F(CurlAsyncTest, AHundredMebibyteReplyPassesThroughInBoundedMemory) {
    const uint64_t size = 100ull * 1024 * 1024;
    LoopbackReply huge;
    huge.generatedBytes = size;
    server.route("/huge", huge);
    // At its first piece the consumer runs the loop itself for a while, as a dialog would: the
    // transfer goes on meanwhile and must wait for it rather than pile up.
    struct Counter {
        CMainLoop* loop;
        long peak = residentKiB();
        uint64_t total = 0;
        long largest = 0;
        int finals = 0;
        static int32_t consume(NetRequest, const char*, long length, long, long, void* data) {
            auto* self = static_cast<Counter*>(data);
            if (self->total == 0 && length > 0) {
                self->loop->beginWork();
                self->loop->run(300);
                self->loop->endWork();
            }
            uint64_t before = self->total;
            self->total += static_cast<uint64_t>(length);
            if (before / (1024 * 1024) != self->total / (1024 * 1024))
                self->peak = std::max(self->peak, residentKiB());
            self->largest = std::max(self->largest, length);
            self->finals += length == 0;
            return 1;
        }
    } counter{&loop};
    long before = counter.peak;
    NetRequest request =
        net.openURLAsync(server.url("/huge").c_str(), kNetOpenRead, &Counter::consume, &counter);
    net.setTimeoutsAndFlags(request, client, 0);
    EXPECT_TRUE(loop.run(20000));
    EXPECT_EQ(counter.total, size);
    EXPECT_EQ(counter.finals, 1);
    EXPECT_LE(counter.largest, 16384);
    EXPECT_LT(counter.peak - before, kBoundedGrowthKiB);
    net.close(request);
}

} // namespace
