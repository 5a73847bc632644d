// CHTTPRequest and the simple forms against the test host's scripted network.
#include "frame/ZString.h"
#include "soap/CHTTPRequest.h"
#include "soap/HTTPFunctions.h"
#include "soap/WireDump.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/soap/HTTPTestSupport.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

const std::string kURL = "http://services.example/soap";

class HTTPRequestTest : public ::testing::Test {
protected:
    void SetUp() override {
        net().initialize();
        static const char* const types[] = {"*/*", nullptr};
        ids.client = net().openClient("Test/1.0", types, 5);
        ids.flags = 0;
    }
    void TearDown() override { setEnableWireDump(0); }

    FakeNetwork& net() { return host.network(); }

    FakeHost host;
    HTTPClientIds ids;
};

TEST_F(HTTPRequestTest, RequestsCarryTheirHeadersIdentityAndCredentials) {
    CAgg extra = headerRecords({{"If-None-Match", "\"v1\""}, {"If-Modified-Since", "Tue"}});
    CAgg own = authenticateMap("alice", "pw");
    CAgg halfOwn = authenticateMap("alice", "");
    struct Case {
        const char* what;
        bool post;
        const char* action;
        const CAgg* headers;
        std::optional<std::string> language;
        const CAgg* authenticate;
        std::vector<std::pair<std::string, std::string>> expected;
        bool ownCredentials;
    } cases[] = {
        {"get with conditions",
         false,
         nullptr,
         &extra,
         "de-CH",
         nullptr,
         {{"If-None-Match", "\"v1\""}, {"If-Modified-Since", "Tue"}, {"Accept-Language", "de-CH"}},
         false},
        {"get without a language", false, nullptr, nullptr, std::nullopt, nullptr, {}, false},
        {"post with an action",
         true,
         "urn:echo#echoString",
         nullptr,
         "en-US",
         &own,
         {{"Content-Type", "text/xml; charset=UTF-8"}, {"SOAPAction", "\"urn:echo#echoString\""}},
         true},
        {"post without an action",
         true,
         nullptr,
         nullptr,
         "en-US",
         &halfOwn,
         {{"Content-Type", "text/xml; charset=UTF-8"}, {"SOAPAction", "\"\""}},
         false},
    };
    for (const Case& c : cases) {
        net().setLanguage(c.language);
        net().addReply(kURL, FakeReply::withBody(200, "<ok/>"));
        CHTTPRequest request({ids.client, 7}, kURL.c_str());
        request.setSOAPAction(c.action);
        request.setAuthenticate(c.authenticate);
        ReplyRecord reply;
        long status = c.post ? request.post("text/xml; charset=UTF-8", QsMemStmRdOpen("<call/>", 7),
                                            &ReplyRecord::consume, &reply)
                             : request.open(&ReplyRecord::consume, &reply, c.headers);
        EXPECT_EQ(status, 200) << c.what;
        const FakeSentRequest& sent = net().sent().back();
        EXPECT_EQ(sent.headers, c.expected) << c.what;
        EXPECT_EQ(sent.mode, c.post ? kNetOpenReadWrite : kNetOpenRead) << c.what;
        EXPECT_EQ(sent.body, c.post ? "<call/>" : "") << c.what;
        EXPECT_EQ(sent.client, ids.client) << c.what;
        EXPECT_EQ(sent.flags, 7) << c.what;
        EXPECT_FALSE(sent.async) << c.what;
    }
}

TEST_F(HTTPRequestTest, SynchronousRepliesReachTheConsumerInBlocksThenEnd) {
    std::string echo = soapTestData("echo-string-array-reply.xml");
    std::string fault = soapTestData("division-by-zero-fault.xml");
    std::string plain = soapTestData("plain-body-without-content-type.txt");
    FakeReply cut = FakeReply::withBody(200, echo.substr(0, 5000), 1000);
    cut.error = kNetErrInvalidResponse;
    struct Case {
        const char* what;
        FakeReply reply;
        const char* contentType;
        long status;
        long error;
        long finalStatus;
        std::string body;
    } cases[] = {
        {"many chunks", FakeReply::withBody(200, echo, 333), " text/xml ", 200, 0, 200, echo},
        {"a fault with 500", FakeReply::withBody(500, fault, 100), "text/xml", 500, 0, 500, fault},
        {"not found", FakeReply::withBody(404, "gone"), "text/plain", 404, 0, 404, "gone"},
        {"no content type", FakeReply::withBody(200, plain), nullptr, 200, 0, 200, plain},
        {"a reply cut short", cut, "text/xml", 200, kNetErrInvalidResponse, 200,
         echo.substr(0, 5000)},
        {"no connection", FakeReply::failure(kNetErrNoConnection), nullptr, 0, kNetErrNoConnection,
         kNetErrNoConnection, ""},
    };
    for (Case& c : cases) {
        if (c.contentType)
            c.reply.headers.emplace_back("Content-Type", c.contentType);
        c.reply.headers.emplace_back("ETag", "\"e1\"");
        std::string url = kURL + "/" + c.what;
        net().addReply(url, c.reply);
        CHTTPRequest request(ids, url.c_str());
        ReplyRecord reply;
        reply.askAtEnd = {"ETag"};
        EXPECT_EQ(request.open(&ReplyRecord::consume, &reply), c.status) << c.what;
        EXPECT_EQ(reply.body, c.body) << c.what;
        for (long block : reply.blocks)
            EXPECT_LE(block, CHTTPRequest::kBlockSize) << c.what;
        EXPECT_EQ(reply.finalCalls, 1) << c.what;
        EXPECT_EQ(reply.finalStatus, c.finalStatus) << c.what;
        EXPECT_EQ(request.getStatus(), c.status) << c.what;
        EXPECT_EQ(request.getError(), c.error) << c.what;
        // The headers are there for the consumer's last call, and gone once the handle closed.
        std::optional<std::string> etag;
        if (c.status > 0)
            etag = "\"e1\"";
        EXPECT_EQ(reply.answersAtEnd, std::vector<std::optional<std::string>>{etag}) << c.what;
        EXPECT_FALSE(request.getResponseHeader("ETag")) << c.what;
        std::string type = c.contentType && c.status > 0 ? "text/xml" : "";
        if (c.contentType && std::string(c.contentType) == "text/plain")
            type = "text/plain";
        EXPECT_STREQ(request.getContentType().c_str(), type.c_str()) << c.what;
        CAgg headers = request.getHeaders();
        ASSERT_EQ(headers.getType(), CAgg::eVector) << c.what;
        EXPECT_EQ(headers.toVector().size(), type.empty() ? 0u : 1u) << c.what;
        EXPECT_EQ(net().openRequests(), 0u) << c.what;
    }
}

TEST_F(HTTPRequestTest, AConsumerThatSaysStopEndsTheReadingAndTheHandleIsClosed) {
    std::string body(20000, 'x');
    net().addReply(kURL, FakeReply::withBody(200, body, 2048));
    CHTTPRequest request(ids, kURL.c_str());
    ReplyRecord reply;
    reply.stopAtBlock = 2;
    EXPECT_EQ(request.open(&ReplyRecord::consume, &reply), 200);
    EXPECT_EQ(reply.blocks.size(), 2u);
    EXPECT_EQ(reply.finalCalls, 1);
    EXPECT_EQ(net().openRequests(), 0u);
}

TEST_F(HTTPRequestTest, RequestsThatCannotStartNeverCallTheirConsumer) {
    ReplyRecord reply;
    const char* urls[] = {"ftp://services.example/", "not a url", ""};
    for (const char* url : urls) {
        CHTTPRequest request(ids, url);
        EXPECT_EQ(request.open(&ReplyRecord::consume, &reply), 0) << url;
        EXPECT_EQ(request.open(&ReplyRecord::consume, &reply), 0) << "a request is for one use";
        EXPECT_FALSE(simpleAsyncGet(ids, url, &ReplyRecord::consume, &reply, nullptr)) << url;
        EXPECT_EQ(grrRequest(
                      url, QsMemStmRdOpen("x", 1),
                      [](const char*, long, void*, long) -> unsigned short { return 1; }, nullptr,
                      false, nullptr),
                  -1)
            << url;
    }
    EXPECT_EQ(reply.finalCalls, 0);
    EXPECT_TRUE(net().sent().empty());
}

TEST_F(HTTPRequestTest, AsynchronousRequestsInterleaveAndCleanUpAfterTheirEnd) {
    std::string echo = soapTestData("echo-string-array-reply.xml");
    std::string fault = soapTestData("division-by-zero-fault.xml");
    net().addReply(kURL + "/a", FakeReply::withBody(200, echo, 1500));
    net().addReply(kURL + "/b", FakeReply::withBody(500, fault, 100));
    net().addReply(kURL + "/c", FakeReply::failure(kNetErrTimeout));
    ReplyRecord a, b, c;
    ASSERT_TRUE(simpleAsyncGet(ids, (kURL + "/a").c_str(), &ReplyRecord::consume, &a, nullptr));
    ASSERT_TRUE(simpleAsyncPost((kURL + "/b").c_str(), QsMemStmRdOpen("<q/>", 4),
                                &ReplyRecord::consume, &b, "urn:b"));
    ASSERT_TRUE(simpleAsyncGet(ids, (kURL + "/c").c_str(), &ReplyRecord::consume, &c, nullptr));
    EXPECT_TRUE(a.blocks.empty()) << "nothing happens before the main loop runs";
    host.idle().advanceTicks(3);
    EXPECT_FALSE(a.blocks.empty());
    EXPECT_FALSE(b.blocks.empty());
    EXPECT_EQ(a.finalCalls + b.finalCalls, 0) << "both are still under way";
    host.idle().advanceTicks(200);
    EXPECT_EQ(a.body, echo);
    EXPECT_EQ(a.finalStatus, 200);
    EXPECT_EQ(b.body, fault);
    EXPECT_EQ(b.finalStatus, 500);
    EXPECT_EQ(c.body, "");
    EXPECT_EQ(c.finalStatus, kNetErrTimeout);
    for (ReplyRecord* r : {&a, &b, &c})
        EXPECT_EQ(r->finalCalls, 1);
    EXPECT_EQ(net().sent()[1].header("SOAPAction"), "\"urn:b\"");
    EXPECT_EQ(net().openRequests(), 0u);
}

TEST_F(HTTPRequestTest, AnAsynchronousConsumerMayDeleteItsRequestMidway) {
    net().addReply(kURL, FakeReply::withBody(200, std::string(9000, 'y'), 1000));
    ReplyRecord reply;
    reply.deleteAtBlock = 3;
    auto* request = new CHTTPRequest(ids, kURL.c_str());
    request->initAsync();
    ASSERT_EQ(request->open(&ReplyRecord::consume, &reply), 1);
    host.idle().advanceTicks(50);
    EXPECT_EQ(reply.blocks.size(), 3u);
    EXPECT_EQ(reply.finalCalls, 0);
    EXPECT_EQ(net().openRequests(), 0u);
}

TEST_F(HTTPRequestTest, GrrRequestChecksTheSchemeAndForwardsToTheCallback) {
    struct Seen {
        std::string body;
        int ends = 0;
        long status = 0;
    };
    auto callback = [](const char* data, long length, void* userData,
                       long status) -> unsigned short {
        auto* seen = static_cast<Seen*>(userData);
        if (length == 0) {
            ++seen->ends;
            seen->status = status;
        } else {
            seen->body.append(data, static_cast<size_t>(length));
        }
        return 1;
    };
    const std::string urls[] = {"HTTP://services.example/grr", "Https://services.example/grr"};
    for (const std::string& url : urls)
        net().addReply(url, FakeReply::withBody(200, "<grr/>"));
    Seen sync, async;
    EXPECT_EQ(
        grrRequest(urls[0].c_str(), QsMemStmRdOpen("<p/>", 4), callback, &sync, false, "urn:grr"),
        200);
    EXPECT_EQ(
        grrRequest(urls[1].c_str(), QsMemStmRdOpen("<p/>", 4), callback, &async, true, nullptr), 1);
    host.idle().advanceTicks(10);
    for (Seen* seen : {&sync, &async}) {
        EXPECT_EQ(seen->body, "<grr/>");
        EXPECT_EQ(seen->ends, 1);
        EXPECT_EQ(seen->status, 200);
    }
    EXPECT_EQ(net().sent()[0].header("Content-Type"), "text/xml");
    EXPECT_EQ(net().sent()[0].body, "<p/>");
}

TEST_F(HTTPRequestTest, FailedRepliesMapToTheirMessages) {
    int rows = 0;
    for (const auto& row : soapCaseTable("http-status-messages.tsv")) {
        ASSERT_EQ(row.size(), 3u);
        long status = std::stol(row[0]);
        long error = std::stol(row[1]);
        std::optional<uint16_t> message = processHTTPError(status, error);
        std::string key = message ? miGetZStringTagName(*message) : "-";
        EXPECT_EQ(key, row[2] == "-" ? "-" : "$$$" + row[2]) << status << " " << error;
        ++rows;
    }
    EXPECT_GT(rows, 30);
    char text[256];
    EXPECT_STREQ(miGetZString(MapEFSError(kNetErrTimeout), text, sizeof text),
                 "The network connection timed out trying to reach the server.");
}

TEST_F(HTTPRequestTest, WireDumpShowsTheTrafficButNoCredential) {
    FakeReply binary;
    binary.chunks = {std::string("<a/>\0hidden", 11), "<b/>"};
    net().addReply(kURL, binary);
    const std::vector<std::string>& console = host.ui().consoleLines();
    CAgg headers = headerRecords({{"Authorization", "Basic YWxpY2U6cHc="}, {"X-Trace", "1"}});
    simpleGet(ids, kURL.c_str(), nullptr, nullptr, &headers);
    EXPECT_TRUE(console.empty()) << "nothing while the dump is off";

    setEnableWireDump(1);
    EXPECT_EQ(getEnableWireDump(), 1);
    net().setLanguage(std::nullopt);
    ReplyRecord reply;
    simpleGet(ids, kURL.c_str(), &ReplyRecord::consume, &reply, &headers);
    simplePost(kURL.c_str(), QsMemStmRdOpen("<post/>", 7), &ReplyRecord::consume, &reply, "urn:x");
    // A piece is printed as a NUL-terminated text: the one with a NUL shows up to it.
    const std::vector<std::string> expected = {
        "GET " + kURL,
        "Authorization: <hidden>",
        "X-Trace: 1",
        "<a/>",
        "<b/>",
        "POST " + kURL,
        "Content-Type: text/xml",
        "SOAPAction: \"urn:x\"",
        "<post/>",
        "<a/>",
        "<b/>",
    };
    EXPECT_EQ(console, expected);
    for (const std::string& line : console)
        EXPECT_EQ(line.find("YWxpY2U6cHc="), std::string::npos);
}

TEST_F(HTTPRequestTest, ExecuteURLSendsTheViewersOwnSchemeToItsCommands) {
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"vellum:Inbox?show=1", ""},
        {"VELLUM:Inbox?addFeed=x", ""},
        {"http://example.org/item", "_blank"},
        {"feed://example.org/rss", "_blank"},
    };
    for (const auto& [url, target] : expected)
        ExecuteURL(url.c_str());
    ExecuteURL("");
    ExecuteURL(nullptr);
    EXPECT_EQ(host.ui().openedURLs(), expected);
}

} // namespace

class HTTPMultipartTest : public HTTPRequestTest {
protected:
    /// Temporary files left in the test host's temporary folder.
    int tempFilesLeft() {
        int left = 0;
        for (int i = 1; i < 100; ++i)
            left += host.files().isFile("/tmp/vellum-" + std::to_string(i)) ? 1 : 0;
        return left;
    }
};

TEST_F(HTTPMultipartTest, TheRootPartAloneReachesTheConsumerOnBothRoads) {
    std::string scan = soapTestData("multipart-root-after-attachment-stray-line.txt");
    std::string root = soapTestData("multipart-root-after-attachment-stray-line.expected.xml");
    std::string notXML = soapTestData("multipart-root-not-xml.txt");
    struct Case {
        const char* what;
        std::string contentType;
        std::string body;
        std::string expected;
        bool attachment;
    } cases[] = {
        {"root after an attachment, a stray line in front",
         "multipart/related; type=\"text/xml\"; start=\"<root@example.org>\"; "
         "boundary=\"=_scan_boundary\"",
         scan, root, true},
        {"parameters without quotes, type in capitals",
         "Multipart/Related; type=text/xml; start=<root@example.org>; boundary==_scan_boundary",
         scan, root, true},
        {"a root part that is not text/xml",
         "multipart/related; start=\"<root@example.org>\"; boundary=\"=_b\"", notXML, "", false},
        {"no boundary", "multipart/related; type=\"text/xml\"", scan, "", false},
        {"a boundary the body never has", "multipart/related; boundary=\"elsewhere\"", scan, "",
         false},
        {"a body cut in the root part", "multipart/related; boundary=\"=_scan_boundary\"",
         scan.substr(0, scan.size() / 2 + 100), "", true},
    };
    for (const Case& c : cases) {
        for (bool async : {false, true}) {
            std::string url = kURL + "/" + c.what + (async ? "/async" : "/sync");
            FakeReply reply = FakeReply::withBody(200, c.body, async ? 7 : 100);
            reply.headers.emplace_back("Content-Type", c.contentType);
            net().addReply(url, reply);
            ReplyRecord record;
            auto request = std::make_unique<CHTTPRequest>(ids, url.c_str());
            if (async) {
                request->initAsync();
                ASSERT_EQ(request->open(&ReplyRecord::consume, &record), 1);
                host.idle().advanceTicks(c.body.size() / 7 + 10);
            } else {
                EXPECT_EQ(request->open(&ReplyRecord::consume, &record), 200) << c.what;
            }
            EXPECT_TRUE(request->isMultipart()) << c.what;
            EXPECT_EQ(record.body, c.expected) << c.what << (async ? " async" : " sync");
            EXPECT_EQ(record.finalCalls, 1) << c.what;
            EXPECT_EQ(record.finalStatus, 200) << c.what;
            CEStr scanName("<scan@example.org>", kEStrPDFDoc);
            CPartResolver* parts = request->getPartResolver();
            ASSERT_EQ(parts->hasPart(scanName), c.attachment) << c.what;
            if (c.attachment) {
                QsStm part = parts->getPart(scanName);
                EXPECT_EQ(QsStmReadAll(part), std::string("%PDF-1.4 <not the root> \0\1\2", 27));
                QsStmClose(part);
            }
            request.reset();
            EXPECT_EQ(tempFilesLeft(), 0) << c.what;
        }
    }
}
