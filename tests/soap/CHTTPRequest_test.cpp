// CHTTPRequest and the simple forms against the test host's scripted network.
#include "frame/ZString.h"
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
        host.network().initialize();
        ids.client = host.network().openClient("Test/1.0", nullptr, 5);
    }
    void TearDown() override { setEnableWireDump(0); }

    FakeHost host;
    FakeNetwork& net = host.network();
    HTTPClientIds ids;
};

TEST_F(HTTPRequestTest, RequestsCarryTheirHeadersIdentityAndCredentials) {
    CAgg extra = headerRecords({{"If-None-Match", "\"v1\""}, {"If-Modified-Since", "Tue"}});
    CAgg own = authenticateMap("alice", "pw"), halfOwn = authenticateMap("alice", "");
    using Headers = std::vector<std::pair<std::string, std::string>>;
    const struct {
        const char* action; // null: a GET
        const CAgg* headers;
        std::optional<std::string> language;
        const CAgg* authenticate;
        Headers expected;
    } cases[] = {
        {nullptr,
         &extra,
         "de-CH",
         &own,
         {{"If-None-Match", "\"v1\""}, {"If-Modified-Since", "Tue"}, {"Accept-Language", "de-CH"}}},
        {nullptr, nullptr, std::nullopt, nullptr, {}},
        {"urn:echo#echoString",
         nullptr,
         "en-US",
         &own,
         {{"Content-Type", "text/xml; charset=UTF-8"}, {"SOAPAction", "\"urn:echo#echoString\""}}},
        {"",
         nullptr,
         "en-US",
         &halfOwn,
         {{"Content-Type", "text/xml; charset=UTF-8"}, {"SOAPAction", "\"\""}}},
    };
    // Answers the request's own authentication data, as the client's callback would see it.
    net.setAuthentication(
        ids.client, 0, kNetAuthAsk,
        [](const char*, const char*, char** user, char**, long, long, void* data) -> int32_t {
            *user = strdup(data ? "own" : "client's");
            return 1;
        },
        nullptr);
    FakeReply challenge = FakeReply::withBody(401, "");
    challenge.headers.emplace_back("WWW-Authenticate", "Basic realm=\"r\"");
    int index = 0;
    for (const auto& c : cases) {
        std::string url = kURL + std::to_string(index++);
        net.setLanguage(c.language);
        net.addReply(url, challenge);
        net.addReply(url, FakeReply::withBody(200, "<ok/>"));
        CHTTPRequest request({ids.client, 7}, url.c_str());
        request.setSOAPAction(c.action);
        request.setAuthenticate(c.authenticate);
        ReplyRecord reply;
        EXPECT_EQ(c.action ? request.post("text/xml; charset=UTF-8", QsMemStmRdOpen("<call/>", 7),
                                          &ReplyRecord::consume, &reply)
                           : request.open(&ReplyRecord::consume, &reply, c.headers),
                  200);
        const FakeSentRequest& sent = net.sent().back();
        EXPECT_EQ(sent.headers, c.expected);
        EXPECT_EQ(sent.body, c.action ? "<call/>" : "");
        EXPECT_EQ(sent.client, ids.client);
        EXPECT_EQ(sent.flags, 7);
        // Only a map with both a user name and a password goes along with the request.
        EXPECT_EQ(sent.credentials[0].first, c.authenticate == &own ? "own" : "client's");
    }
}

TEST_F(HTTPRequestTest, AConsumerThatSaysStopEndsTheReadingAndARequestIsForOneUse) {
    net.addReply(kURL, FakeReply::withBody(200, std::string(20000, 'x'), 2048));
    CHTTPRequest request(ids, kURL.c_str());
    ReplyRecord reply;
    reply.stopAtBlock = 2;
    EXPECT_EQ(request.open(&ReplyRecord::consume, &reply), 200);
    EXPECT_EQ(request.open(&ReplyRecord::consume, &reply), 0);
    EXPECT_EQ(reply.blocks.size(), 2u);
    EXPECT_EQ(reply.finalCalls, 1);
    EXPECT_EQ(net.openRequests(), 0u);
    EXPECT_EQ(net.sent().size(), 1u);
    // Requests that cannot start never call their consumer.
    EXPECT_FALSE(
        simpleAsyncGet(ids, "ftp://services.example/", &ReplyRecord::consume, &reply, nullptr));
    auto ignore = [](const char*, long, void*, long) -> unsigned short { return 1; };
    EXPECT_EQ(grrRequest("ftp://x/", QsMemStmRdOpen("x", 1), ignore, nullptr, false, ""), -1);
    EXPECT_EQ(reply.finalCalls, 1);
}

TEST_F(HTTPRequestTest, AnAsynchronousConsumerMayDeleteItsRequestMidway) {
    net.addReply(kURL, FakeReply::withBody(200, std::string(9000, 'y'), 1000));
    ReplyRecord reply;
    reply.deleteAtBlock = 3;
    auto* request = new CHTTPRequest(ids, kURL.c_str());
    request->initAsync();
    ASSERT_EQ(request->open(&ReplyRecord::consume, &reply), 1);
    host.idle().advanceTicks(50);
    EXPECT_EQ(reply.blocks.size(), 3u);
    EXPECT_EQ(reply.finalCalls, 0);
    EXPECT_EQ(net.openRequests(), 0u);
}

TEST_F(HTTPRequestTest, FailedRepliesMapToTheirMessages) {
    for (const auto& row : soapCaseTable("http-status-messages.tsv")) {
        std::optional<uint16_t> message = processHTTPError(std::stol(row[0]), std::stol(row[1]));
        EXPECT_EQ(message ? miGetZStringTagName(*message) : "-",
                  row[2] == "-" ? "-" : "$$$" + row[2])
            << row[0] << " " << row[1];
    }
}

TEST_F(HTTPRequestTest, WireDumpShowsTheTrafficButNoCredential) {
    FakeReply binary;
    binary.chunks = {std::string("<a/>\0hidden", 11), "<b/>"};
    net.addReply(kURL, binary);
    net.setLanguage(std::nullopt);
    CAgg headers = headerRecords({{"Authorization", "Basic YWxpY2U6cHc="}, {"X-Trace", "1"}});
    simpleGet(ids, kURL.c_str(), nullptr, nullptr, &headers);
    EXPECT_TRUE(host.ui().consoleLines().empty()) << "nothing while the dump is off";
    setEnableWireDump(1);
    simpleGet(ids, kURL.c_str(), nullptr, nullptr, &headers);
    simplePost(kURL.c_str(), QsMemStmRdOpen("<post/>", 7), nullptr, nullptr, "urn:x");
    // A piece is printed as a NUL-terminated text: one with a NUL shows up to it.
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
    EXPECT_EQ(host.ui().consoleLines(), expected);
}

TEST_F(HTTPRequestTest, ExecuteURLSendsTheViewersOwnSchemeToItsCommands) {
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"vellum:Inbox?show=1", ""},
        {"VELLUM:Inbox?addFeed=x", ""},
        {"http://example.org/item", "_blank"},
    };
    for (const auto& [url, target] : expected)
        ExecuteURL(url.c_str());
    ExecuteURL("");
    EXPECT_EQ(host.ui().openedURLs(), expected);
}

TEST_F(HTTPRequestTest, OnlyATextXMLRootPartReachesTheConsumerOnBothRoads) {
    std::string scan = soapTestData("multipart-root-after-attachment-stray-line.txt");
    std::string root = soapTestData("multipart-root-after-attachment-stray-line.expected.xml");
    const std::string start = "start=\"<root@example.org>\"; ";
    const struct {
        std::string contentType;
        std::string body;
        std::string expected;
        bool attachment;
    } cases[] = {
        {"multipart/related; type=\"text/xml\"; " + start + "boundary=\"=_scan_boundary\"", scan,
         root, true},
        {"Multipart/Related; start=<root@example.org>; boundary==_scan_boundary", scan, root, true},
        {"multipart/related; " + start + "boundary=\"=_b\"",
         soapTestData("multipart-root-not-xml.txt"), "", false},
        {"multipart/related; type=\"text/xml\"", scan, "", false},
        {"multipart/related; boundary=\"elsewhere\"", scan, "", false},
        {"multipart/related; boundary=\"=_scan_boundary\"", scan.substr(0, 500), "", true},
    };
    int index = 0;
    for (const auto& c : cases) {
        for (bool async : {false, true}) {
            std::string url = kURL + "/" + std::to_string(index++);
            FakeReply reply = FakeReply::withBody(200, c.body, async ? 7 : 100);
            reply.headers.emplace_back("Content-Type", c.contentType);
            net.addReply(url, reply);
            ReplyRecord record;
            auto request = std::make_unique<CHTTPRequest>(ids, url.c_str());
            if (async)
                request->initAsync();
            request->open(&ReplyRecord::consume, &record);
            host.idle().advanceTicks(200);
            EXPECT_EQ(record.body, c.expected) << c.contentType << async;
            EXPECT_EQ(record.finalCalls, 1);
            CEStr scanName("<scan@example.org>", kEStrPDFDoc);
            ASSERT_EQ(request->getPartResolver()->hasPart(scanName), c.attachment);
            if (c.attachment) {
                QsStm part = request->getPartResolver()->getPart(scanName);
                EXPECT_EQ(QsStmReadAll(part), std::string("%PDF-1.4 <not the root> \0\1\2", 27));
                QsStmClose(part);
            }
            request.reset();
            for (int i = 1; i < 60; ++i)
                EXPECT_FALSE(host.files().isFile("/tmp/vellum-" + std::to_string(i))) << i;
        }
    }
}

} // namespace
