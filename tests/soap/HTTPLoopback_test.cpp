// CHTTPRequest over the reference host's curl network layer, against a real HTTP server on the
// loopback that the test starts itself. No request leaves 127.0.0.1.
#include "frame/HostTables.h"
#include "frame/ZString.h"
#include "host/loop/CMainLoop.h"
#include "host/net/CCurlNetwork.h"
#include "soap/AuthCallbacks.h"
#include "soap/CCredStore.h"
#include "soap/CHTTPRequest.h"
#include "soap/CRequestWriter.h"
#include "soap/HTTPFunctions.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/fakehost/FakeSealing.h"
#include "tests/host/NetTestSupport.h"
#include "tests/soap/HTTPTestSupport.h"
#include "tests/support/CLoopbackHTTPServer.h"
#include "values/QsCab.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

class HTTPLoopbackTest : public ::testing::Test {
protected:
    void SetUp() override {
        gNetSpanHFT = &curl;
        ASSERT_TRUE(curl.initialize());
        static const char* const types[] = {"*/*", nullptr};
        ids.client = curl.openClient("Mozilla/3.0 (compatible; Vellum SOAP 7.0)", types, 5);
        curl.setAuthentication(ids.client, 0, kNetAuthAsk, InteractiveAuthCB, nullptr);
        curl.setClientOption(ids.client, kNetOptionNoProxy);
        // Connect within 2 s; fail after 1 s without a byte or 1.5 s without headers.
        static const int32_t pair[2] = {1000, 0};
        curl.setTimeouts(ids.client, {2, pair, 1500});
    }
    void TearDown() override {
        delete CCredStore::sm_instance;
        CCredStore::sm_instance = nullptr;
        QsCabLocalTerm();
        curl.shutdown();
    }

    std::string route(const std::string& path, LoopbackReply reply,
                      const char* contentType = "text/xml") {
        if (contentType)
            reply.headers.emplace_back("Content-Type", contentType);
        server.route(path, reply);
        return server.url(path);
    }

    FakeHost host;
    FakeSealing sealing{host.extra()};
    CMainLoop loop;
    CCurlNetwork curl{loop};
    CLoopbackHTTPServer server;
    HTTPClientIds ids;
};

TEST_F(HTTPLoopbackTest, RepliesGoodAndBadEndInTheirStatusOrAMappedError) {
    std::string echo = soapTestData("echo-string-array-reply.xml");
    std::string fault = soapTestData("division-by-zero-fault.xml");
    std::string plain = soapTestData("plain-body-without-content-type.txt");
    std::string long10k(10000, 'x');
    struct Case {
        const char* path;
        LoopbackReply reply;
        const char* contentType;
        long status;
        long error;
        std::string body;
        std::optional<uint16_t> message;
    } cases[] = {
        {"/many-chunks", LoopbackReply::withBody(200, echo, 400), "text/xml", 200, 0, echo, {}},
        {"/fault", LoopbackReply::withBody(500, fault, 100), "text/xml", 500, 0, fault, {}},
        {"/missing", LoopbackReply::withBody(404, "no such service", 100), "text/plain", 404, 0,
         "no such service", IDS_SERVICE_MISSING},
        {"/no-type", LoopbackReply::withBody(200, plain, 10), nullptr, 200, 0, plain, {}},
        {"/closes-mid-body",
         LoopbackReply::withBody(200, long10k, 1000),
         "text/xml",
         200,
         kNetErrInvalidResponse,
         long10k.substr(0, 3000),
         {}},
        {"/announces-more",
         LoopbackReply::withBody(200, long10k, 1000),
         "text/xml",
         200,
         kNetErrInvalidResponse,
         long10k,
         {}},
        {"/never-answers", LoopbackReply::withBody(200, "late", 10), "text/xml", 0, kNetErrTimeout,
         "", IDS_NETWORK_TIMEOUT},
    };
    cases[0].reply.chunkDelayMs = 2;
    cases[4].reply.closeAfter = 3000;
    cases[5].reply.announcedLength = 20000;
    cases[6].reply.neverAnswer = true;
    for (Case& c : cases) {
        std::string url = route(c.path, c.reply, c.contentType);
        CHTTPRequest request(ids, url.c_str());
        ReplyRecord reply;
        auto began = std::chrono::steady_clock::now();
        EXPECT_EQ(request.open(&ReplyRecord::consume, &reply), c.status) << c.path;
        EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(4)) << c.path;
        EXPECT_EQ(request.getError(), c.error) << c.path;
        EXPECT_EQ(reply.body, c.body) << c.path;
        EXPECT_EQ(reply.finalCalls, 1) << c.path;
        EXPECT_STREQ(request.getContentType().c_str(),
                     c.contentType && c.status > 0 ? c.contentType : "")
            << c.path;
        EXPECT_EQ(processHTTPError(request.getStatus(), request.getError()), c.message) << c.path;
    }
    EXPECT_EQ(curl.openRequests(), 0u);
}

TEST_F(HTTPLoopbackTest, APostCarriesItsBodyActionAndTypeAndReadsAMultipartReply) {
    std::string scan = soapTestData("multipart-root-after-attachment-stray-line.txt");
    std::string root = soapTestData("multipart-root-after-attachment-stray-line.expected.xml");
    std::string url = route("/scan", LoopbackReply::withBody(200, scan, 50),
                            "multipart/related; type=\"text/xml\"; start=\"<root@example.org>\"; "
                            "boundary=\"=_scan_boundary\"");
    std::string envelope = soapTestData("encoded-echo-string.xml");
    for (bool async : {false, true}) {
        CSinglePartWriter writer;
        writer.setContent("text/xml; charset=UTF-8",
                          QsMemStmRdOpen(envelope.data(), envelope.size()));
        auto request = std::make_unique<CHTTPRequest>(ids, url.c_str());
        request->setSOAPAction("urn:scans#getScan");
        ReplyRecord reply;
        if (async) {
            request->initAsync();
            ASSERT_EQ(request->doPost(&writer, &ReplyRecord::consume, &reply), 1);
            loop.run(5000);
        } else {
            EXPECT_EQ(request->doPost(&writer, &ReplyRecord::consume, &reply), 200);
        }
        EXPECT_EQ(reply.body, root) << async;
        EXPECT_EQ(reply.finalCalls, 1) << async;
        EXPECT_TRUE(request->getPartResolver()->hasPart(CEStr("<scan@example.org>", 1)));
        const LoopbackRequest sent = server.requests().back();
        EXPECT_EQ(sent.method, "POST");
        EXPECT_EQ(sent.body, envelope);
        EXPECT_EQ(sent.header("Content-Type"), "text/xml; charset=UTF-8");
        EXPECT_EQ(sent.header("SOAPAction"), "\"urn:scans#getScan\"");
        EXPECT_EQ(sent.header("User-Agent"), "Mozilla/3.0 (compatible; Vellum SOAP 7.0)");
    }
}

TEST_F(HTTPLoopbackTest, AChallengeIsAnsweredByTheCallOrTheStoreOrEndsIn401) {
    host.installScriptEngine(); // no dialog manager: the dialog's script fails in the engine
    std::string url = route("/vault", LoopbackReply::withBody(200, "<welcome/>", 100));
    server.requireAuth("/vault", {LoopbackAuth::Scheme::Basic, "alice", "pw", "vault"});
    std::string server127 = "127.0.0.1:" + std::to_string(server.port());
    CAgg own = authenticateMap("alice", "pw");
    CAgg wrong = authenticateMap("alice", "nope");
    struct Case {
        const char* what;
        const CAgg* authenticate;
        const char* stored;
        long status;
        size_t requests; // that reach the server
    } cases[] = {
        {"the call's own credentials", &own, nullptr, 200, 2},
        // The first request and three answers to the challenge; never more.
        {"the call's own wrong ones", &wrong, nullptr, 401, 4},
        {"stored credentials", nullptr, "pw", 200, 2},
        {"stored wrong ones, then no dialog", nullptr, "nope", 401, 2},
        {"nothing at all", nullptr, nullptr, 401, 1},
    };
    for (const Case& c : cases) {
        CCredStore::instance()->clearCredentials(server127.c_str(), "vault");
        if (c.stored)
            CCredStore::instance()->setCredentials(server127.c_str(), "vault", "alice", c.stored);
        CHTTPRequest request(ids, url.c_str());
        request.setAuthenticate(c.authenticate);
        ReplyRecord reply;
        size_t before = server.requests().size();
        EXPECT_EQ(request.open(&ReplyRecord::consume, &reply), c.status) << c.what;
        EXPECT_EQ(server.requests().size() - before, c.requests) << c.what;
        if (c.status == 200)
            EXPECT_EQ(reply.body, "<welcome/>") << c.what;
        else
            EXPECT_EQ(processHTTPError(request.getStatus(), request.getError()),
                      std::optional<uint16_t>(IDS_UNAUTHORIZED))
                << c.what;
    }
    // The stored entry that failed was forgotten.
    EXPECT_FALSE(storedCredentials(server127.c_str(), "vault"));
}

TEST_F(HTTPLoopbackTest, AHundredMebibyteReplyPassesInBoundedMemory) {
    LoopbackReply huge;
    huge.generatedBytes = 100ull * 1024 * 1024;
    std::string url = route("/huge", huge, "application/octet-stream");
    struct Counter {
        uint64_t bytes = 0;
        long peakKiB = residentKiB();
        static unsigned short consume(void*, void* data, long length, void* self, long) {
            auto* counter = static_cast<Counter*>(self);
            counter->bytes += data ? static_cast<uint64_t>(length) : 0;
            if (counter->bytes % (4 * 1024 * 1024) < static_cast<uint64_t>(length))
                counter->peakKiB = std::max(counter->peakKiB, residentKiB());
            return 1;
        }
    } all;
    long before = all.peakKiB;
    EXPECT_EQ(simpleGet(ids, url.c_str(), &Counter::consume, &all, nullptr), 200);
    EXPECT_EQ(all.bytes, huge.generatedBytes);
    EXPECT_LT(all.peakKiB - before, kBoundedGrowthKiB);
}

TEST_F(HTTPLoopbackTest, AsynchronousRequestsRunOnTheMainLoop) {
    std::string echo = soapTestData("echo-string-array-reply.xml");
    LoopbackReply slow = LoopbackReply::withBody(200, echo, 700);
    slow.chunkDelayMs = 3;
    std::string a = route("/a", slow);
    LoopbackReply silent;
    silent.neverAnswer = true;
    std::string c = route("/c", silent);
    ReplyRecord ra, rc;
    ra.askAtEnd = "Content-Type";
    ASSERT_TRUE(simpleAsyncGet(ids, a.c_str(), &ReplyRecord::consume, &ra, nullptr));
    ASSERT_TRUE(simpleAsyncGet(ids, c.c_str(), &ReplyRecord::consume, &rc, nullptr));
    EXPECT_TRUE(loop.run(6000)) << "every request ends, the silent one by its time-out";
    EXPECT_EQ(ra.body, echo);
    EXPECT_EQ(ra.finalStatus, 200);
    EXPECT_EQ(ra.answerAtEnd, "text/xml");
    EXPECT_EQ(rc.finalStatus, kNetErrTimeout);
    for (ReplyRecord* r : {&ra, &rc})
        EXPECT_EQ(r->finalCalls, 1);
    EXPECT_EQ(curl.openRequests(), 0u);
}

} // namespace
