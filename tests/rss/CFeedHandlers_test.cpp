// What a reply does to the store, through the update queue on the test host: the status and
// error rules for a new feed and for one known to work, validators, and the bytes of icons and
// scripts, bad replies included.
#include "tests/rss/FeedFetchSupport.h"

namespace {

using rsstest::engineReply;
using rsstest::FetchTest;
using rsstest::flagOf;
using rsstest::numberOf;
using rsstest::textOf;

const char kMoved[] = "The network service URL that you are trying to reach has moved";
const char kUnauthorized[] = "Authorization is required for this network service";
const char kMissing[] = "The network service URL that you are trying to reach does not exist.";
const char kBadRequest[] =
    "The network service URL that you are trying to reach could not process the request.";
const char kServerError[] =
    "The network service URL that you are trying to reach caused a server error.";
const char kGeneral[] = "There was a problem creating a network connection.";
const char kNotRSS[] = "The network service URL that you are trying to reach is not a valid RSS "
                       "or ATOM syndication feed.";
const char kBadXML[] =
    "The network service URL that you are trying to reach is not a valid XML Document.";
const char kInvalid[] = "The server returned an invalid response.";

/// A reply just past the limit of a feed document, in pieces of a megabyte.
FakeReply oversizedFeed() {
    std::string body = "<rss version=\"2.0\"><channel><title>Big</title><description>";
    body.append(CRSSManager::kMaxFeedBytes, 'a');
    return FakeReply::withBody(200, body, 1 << 20);
}

TEST_F(FetchTest, StatusAndErrorRules) {
    struct Case {
        const char* what;
        FakeReply reply;
        bool knownGood;
        long state;
        std::string error;
        long failures;
        bool verified;
        long items;
        bool told;
    };
    const Case cases[] = {
        {"a feed", engineReply(200, "news-ttl-30.xml"), false, 200, "", 0, true, 2, true},
        {"HTML", engineReply(200, "html-not-well-formed.html"), false, -1, kBadXML, 0, true, 0,
         true},
        {"well-formed XHTML", engineReply(200, "xhtml-well-formed.html"), false, -1, kNotRSS, 0,
         true, 0, true},
        {"an unknown encoding", engineReply(200, "unknown-encoding.xml"), false, -1,
         "The URL that you are trying to reach is in an encoding (x-tlhingan) which can not be "
         "processed.",
         0, true, 0, true},
        {"an empty 200", engineReply(200, ""), false, -1, kBadXML, 0, true, 0, true},
        {"301", engineReply(301, ""), false, 301, kMoved, 0, true, 0, true},
        {"302", engineReply(302, ""), false, 302, kMoved, 0, true, 0, true},
        {"303", engineReply(303, ""), false, 303, kGeneral, 0, true, 0, true},
        {"401", engineReply(401, ""), false, 401, kUnauthorized, 0, true, 0, true},
        {"403", engineReply(403, ""), false, 403, kBadRequest, 0, true, 0, true},
        {"404", engineReply(404, "html-not-well-formed.html"), false, 404, kMissing, 0, true, 0,
         true},
        {"410", engineReply(410, ""), false, 410, kMissing, 0, true, 0, true},
        {"418", engineReply(418, ""), false, 418, kBadRequest, 0, true, 0, true},
        {"500", engineReply(500, ""), false, 500, kServerError, 0, true, 0, true},
        {"503", engineReply(503, ""), false, 503, kServerError, 0, true, 0, true},
        {"refused for want of a password", FakeReply::failure(kNetErrUnauthorized), false, 401,
         kUnauthorized, 0, true, 0, true},
        {"timeout", FakeReply::failure(kNetErrTimeout), false, -1,
         "The network connection timed out trying to reach the server.", 1, false, 0, true},
        {"not found", FakeReply::failure(kNetErrNotFound), false, -1,
         "The server could not be located.", 1, false, 0, true},
        {"no connection", FakeReply::failure(kNetErrNoConnection), false, -1,
         "The network connection could not connect to the server.", 1, false, 0, true},
        {"SSL", FakeReply::failure(kNetErrSSL), false, -1,
         "The server has an SSL certificate which is invalid.", 1, false, 0, true},
        {"aborted", FakeReply::failure(kNetErrAborted), false, -1,
         "The network connection was aborted.", 1, false, 0, true},
        {"proxy", FakeReply::failure(kNetErrProxy), false, -1,
         "The network connection was denied by the proxy server.", 1, false, 0, true},
        {"invalid", FakeReply::failure(kNetErrInvalidResponse), false, -1, kInvalid, 1, false, 0,
         true},
        {"general", FakeReply::failure(kNetErrGeneral), false, -1, kGeneral, 1, false, 0, true},
        {"too large", oversizedFeed(), false, -1, kInvalid, 0, true, 0, true},
        // A feed that has answered before.
        {"known: 500", engineReply(500, ""), true, 500, kServerError, 0, true, 2, true},
        {"known: timeout", FakeReply::failure(kNetErrTimeout), true, 200, "", 1, true, 2, false},
        {"known: HTML", engineReply(200, "html-not-well-formed.html"), true, -1, kBadXML, 0, true,
         2, true},
        {"known: 304", engineReply(304, ""), true, 200, "", 0, true, 2, false},
        {"known: too large", oversizedFeed(), true, -1, kInvalid, 0, true, 2, true},
        {"known: an update", engineReply(200, "news-ttl-30-updated.xml"), true, 200, "", 0, true, 3,
         true},
    };
    int index = 0;
    long minutes = 0;
    for (const Case& c : cases) {
        std::string url = "http://status.example/" + std::to_string(index++) + ".xml";
        if (c.knownGood)
            host.network().addReply(url, engineReply(200, "news-ttl-30.xml"));
        host.network().addReply(url, c.reply);
        store->addFeed(CEStr(url.c_str()), false, true);
        store->updateFeed(CEStr(url.c_str()), true, false, false);
        drain();
        if (c.knownGood) {
            // Past the feed's time to live of 30 minutes: fetched again, with its validators.
            minutes += 31;
            minutesLater(minutes);
            store->updateFeed(CEStr(url.c_str()), true, false, false);
            drain();
        }
        CAgg& feed = descriptor(url.c_str());
        EXPECT_EQ(numberOf(feed, "State"), c.state) << c.what;
        EXPECT_EQ(textOf(feed, "Error"), c.error) << c.what;
        EXPECT_EQ(numberOf(feed, "FailureCount"), c.failures) << c.what;
        EXPECT_EQ(flagOf(feed, "Verified"), c.verified) << c.what;
        EXPECT_EQ(store->countArticles(CEStr(url.c_str())), c.items) << c.what;
        long told = std::count(recorder.updated.begin(), recorder.updated.end(), url);
        EXPECT_EQ(told, (c.knownGood ? 1 : 0) + (c.told ? 1 : 0)) << c.what;
        EXPECT_TRUE(store->pending().empty()) << c.what;
    }
}

TEST_F(FetchTest, AnETagIsKeptOnlyBesideALastModified) {
    using Headers = std::vector<std::pair<std::string, std::string>>;
    const std::string date = "Sat, 01 Jan 2005 10:00:00 GMT";
    struct Case {
        Headers headers;
        std::string lastModified, etag;
    };
    const Case cases[] = {
        {{{"Last-Modified", date}, {"ETag", "\"x1\""}}, date, "\"x1\""},
        {{{"ETag", "\"x2\""}}, "", ""},
        {{{"Last-Modified", date}}, date, ""},
        {{}, "", ""},
    };
    const std::pair<const char*, std::string> kinds[] = {
        {"RSS", rsstest::rssData("engine/news-ttl-30.xml")},
        {"PNG", rsstest::rssData("icons/square-16x16.png")},
        {"UI", "var ui = 1;"},
        {"Code", "var code = 2;"},
    };
    int index = 0;
    for (const auto& [type, body] : kinds) {
        for (const Case& c : cases) {
            std::string url = "http://validators.example/" + std::to_string(index++);
            FakeReply reply = FakeReply::withBody(200, body);
            reply.headers = c.headers;
            host.network().addReply(url, reply);
            CEStr key(url.c_str());
            store->addFeed(key, true, true);
            store->getFeedDescriptor(key)["Type"].toQsAtom() = host.core().atomFromString(type);
            store->updateFeed(key, true, false, false);
            drain();
            EXPECT_EQ(numberOf(descriptor(url.c_str()), "State"), 200) << type << " " << url;
            CEStr text;
            EXPECT_EQ(store->getLastModified(key, text) ? EStrToUTF8(text) : "", c.lastModified)
                << type << " " << url;
            EXPECT_EQ(store->getETag(key, text) ? EStrToUTF8(text) : "", c.etag)
                << type << " " << url;
        }
    }
}

TEST_F(FetchTest, IconsAndScriptsKeepTheirBytesThroughBadReplies) {
    const std::string square = rsstest::rssData("icons/square-16x16.png");
    const char* url = "http://icons.example/icon.png";
    CEStr key(url);
    struct Step {
        const char* what;
        FakeReply reply;
        long state;
        std::string error;
        bool told;
    };
    const Step steps[] = {
        {"a PNG", FakeReply::withBody(200, square), 200, "", true},
        {"not modified", engineReply(304, ""), 200, "", false},
        {"missing", engineReply(404, "html-not-well-formed.html"), 404, "", false},
        {"not a PNG", FakeReply::withBody(200, rsstest::rssData("icons/not-a-png.png")), -1,
         kInvalid, false},
        {"4000 pixels wide", FakeReply::withBody(200, rsstest::rssData("icons/wide-4000x16.png")),
         -1, kInvalid, false},
        {"HTML", engineReply(200, "html-not-well-formed.html"), -1, kInvalid, false},
        {"too large",
         FakeReply::withBody(200, square + std::string(CRSSManager::kMaxBinaryBytes, 'x'), 1 << 20),
         -1, kInvalid, false},
        {"a network failure", FakeReply::failure(kNetErrTimeout), 0, kInvalid, false},
    };
    for (const Step& step : steps)
        host.network().addReply(url, step.reply);
    store->addFeed(key, true, true);
    store->getFeedDescriptor(key)["Type"].toQsAtom() = host.core().atomFromString("PNG");
    for (const Step& step : steps) {
        size_t toldBefore = recorder.updated.size();
        store->updateFeed(key, true, true, false);
        drain();
        CAgg& icon = descriptor(url);
        EXPECT_EQ(numberOf(icon, "State"), step.state) << step.what;
        EXPECT_EQ(textOf(icon, "Error"), step.error) << step.what;
        EXPECT_EQ(recorder.updated.size() > toldBefore, step.told) << step.what;
        EXPECT_NE(store->getIcon(key), nullptr) << step.what << ": the first icon stays";
        ASSERT_NE(store->getBinary(key), nullptr) << step.what;
        EXPECT_EQ(store->getBinary(key)->size, square.size()) << step.what;
    }

    // A script is kept as it came, closed by a zero byte that its size does not count.
    const char* ui = "http://icons.example/ui.js";
    const std::string code = "function show() { return 'tide'; }";
    host.network().addReply(ui, FakeReply::withBody(200, code, 7));
    store->addFeed(CEStr(ui), true, true);
    store->getFeedDescriptor(CEStr(ui))["Type"].toQsAtom() = host.core().atomFromString("UI");
    store->updateFeed(CEStr(ui), true, false, false);
    drain();
    const CRSSManager::BinaryData* script = store->getBinary(CEStr(ui));
    ASSERT_NE(script, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(script->data), script->size), code);
    EXPECT_EQ(script->data[script->size], 0);
}

} // namespace
