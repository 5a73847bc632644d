// The update engine on the test host: the queue worked one fetch at a time from its front,
// time to live and back-off on the virtual clock, conditional fetches, cancelling, forcing,
// sub-feeds, service feeds and the re-check after new credentials.
#include "frame/HostTables.h"
#include "frame/PluginEntry.h"
#include "rss/CRSSManagerModule.h"
#include "rss/CServiceHandler.h"
#include "soap/CCredStore.h"
#include "tests/fakehost/FakeSealing.h"
#include "tests/rss/FeedFetchSupport.h"

namespace {

using rsstest::engineReply;
using rsstest::FetchTest;
using rsstest::flagOf;
using rsstest::numberOf;
using rsstest::textOf;

using Headers = std::vector<std::pair<std::string, std::string>>;

TEST_F(FetchTest, TheQueueFetchesOneFeedAtATimeFromItsFront) {
    const std::vector<std::string> urls = {"http://one.example/queue/a.xml",
                                           "http://one.example/queue/b.xml",
                                           "http://two.example/queue/c.xml"};
    for (const std::string& url : urls) {
        host.network().addReply(url, engineReply(200, "news-ttl-30.xml"));
        store->addFeed(CEStr(url.c_str()), false, true);
    }
    store->update(true);
    store->update(true); // a second round queues nothing twice
    EXPECT_EQ(store->pending().size(), 3u);
    EXPECT_EQ(drain(), 1u) << "never two fetches at once";
    std::vector<std::string> order;
    for (const FakeSentRequest& request : host.network().sent())
        if (std::find(urls.begin(), urls.end(), request.url) != urls.end())
            order.push_back(request.url);
    EXPECT_EQ(order, urls);
    for (const std::string& url : urls) {
        CAgg& feed = descriptor(url.c_str());
        EXPECT_EQ(numberOf(feed, "State"), 200) << url;
        EXPECT_EQ(numberOf(feed, "TTL"), 30) << url;
        EXPECT_TRUE(flagOf(feed, "Verified")) << url;
        EXPECT_EQ(titleOf(url.c_str()), "Harbour News") << url;
        EXPECT_EQ(store->countArticles(CEStr(url.c_str())), 2) << url;
    }
    EXPECT_EQ(recorder.updated, urls);
    EXPECT_TRUE(store->pending().empty());
    EXPECT_EQ(sentTo(urls[0])[0].client, gEFSClientIDs[1]) << "under the Tracker's client";
}

TEST_F(FetchTest, TimeToLiveAndBackOffOnTheVirtualClock) {
    const char* url = "http://ttl.example/news.xml";
    const Headers validators = {{"Last-Modified", "Sat, 01 Jan 2005 10:00:00 GMT"},
                                {"ETag", "\"v1\""}};
    host.network().addReply(url, engineReply(200, "news-ttl-30.xml", validators));
    host.network().addReply(url, engineReply(304, ""));
    store->addFeed(CEStr(url), false, true);
    store->update(true);
    drain();
    ASSERT_EQ(sentTo(url).size(), 1u);
    EXPECT_FALSE(sentTo(url)[0].header("If-None-Match")) << "the first fetch is unconditional";

    // The idle round every 6000 ticks (100 seconds) queues only what is stale.
    struct Step {
        long minutes;
        size_t requests;
    };
    const Step steps[] = {{27, 1}, {31, 2}, {58, 2}};
    for (const Step& step : steps) {
        minutesLater(step.minutes);
        host.idle().advanceTicks(6000);
        drain();
        EXPECT_EQ(sentTo(url).size(), step.requests) << step.minutes << " minutes on";
    }
    FakeSentRequest again = sentTo(url)[1];
    EXPECT_EQ(again.header("If-None-Match").value_or(""), "\"v1\"");
    EXPECT_EQ(again.header("If-Modified-Since").value_or(""), "Sat, 01 Jan 2005 10:00:00 GMT");
    // The 304 keeps the record and tells nobody.
    EXPECT_EQ(numberOf(descriptor(url), "State"), 200);
    EXPECT_EQ(store->countArticles(CEStr(url)), 2);
    EXPECT_EQ(recorder.updated.size(), 1u);

    // A new feed that fails shows it, and is tried again after more than two hours. A feed
    // known to work fails quietly and is tried again at its time to live.
    const char* broken = "http://ttl.example/broken.xml";
    const char* flaky = "http://ttl.example/flaky.xml";
    host.network().addReply(broken, FakeReply::failure(kNetErrTimeout));
    host.network().addReply(flaky, engineReply(200, "news-ttl-30.xml"));
    host.network().addReply(flaky, FakeReply::failure(kNetErrTimeout));
    store->addFeed(CEStr(broken), false, true);
    store->addFeed(CEStr(flaky), false, true);
    minutesLater(100);
    store->update(true);
    drain();
    EXPECT_EQ(numberOf(descriptor(broken), "State"), -1);
    EXPECT_EQ(textOf(descriptor(broken), "Error"),
              "The network connection timed out trying to reach the server.");
    struct Retry {
        long minutes;
        size_t broken, flaky;
    };
    const Retry retries[] = {{129, 1, 1}, {130, 1, 2}, {220, 1, 3}, {221, 2, 3}};
    for (const Retry& step : retries) {
        minutesLater(step.minutes);
        store->update(true);
        drain();
        EXPECT_EQ(sentTo(broken).size(), step.broken) << step.minutes << " minutes on";
        EXPECT_EQ(sentTo(flaky).size(), step.flaky) << step.minutes << " minutes on";
    }
    EXPECT_EQ(numberOf(descriptor(broken), "FailureCount"), 2);
    EXPECT_EQ(numberOf(descriptor(flaky), "FailureCount"), 2);
    EXPECT_EQ(numberOf(descriptor(flaky), "State"), 200);
    EXPECT_EQ(textOf(descriptor(flaky), "Error"), "");
    EXPECT_EQ(store->countArticles(CEStr(flaky)), 2) << "the record stays";

    // The skip masks are kept beside the record, where the staleness test never looks: a feed
    // that asks to be skipped every day is fetched as its time to live says.
    const char* skipping = "http://ttl.example/skipping.xml";
    host.network().addReply(skipping, engineReply(200, "skip-every-day.xml"));
    store->addFeed(CEStr(skipping), false, true);
    store->update(true);
    drain();
    EXPECT_EQ(numberOf(descriptor(skipping), "SkipDays"), 127);
    minutesLater(221 + 30);
    store->update(true);
    drain();
    EXPECT_EQ(sentTo(skipping).size(), 2u);
}

TEST_F(FetchTest, ForcingClearsTheValidatorsAndTheBlockingPathFetchesAtOnce) {
    const char* url = "http://force.example/news.xml";
    const Headers validators = {{"Last-Modified", "Sat, 01 Jan 2005 10:00:00 GMT"},
                                {"ETag", "\"v1\""}};
    host.network().addReply(url, engineReply(200, "news-ttl-30.xml", validators));
    host.network().addReply(url, engineReply(200, "news-ttl-30-updated.xml", validators));
    store->addFeed(CEStr(url), false, true);
    store->updateFeed(CEStr(url), false, false, false);
    EXPECT_EQ(sentTo(url).size(), 1u) << "blocking: fetched before the call returns";
    EXPECT_FALSE(sentTo(url)[0].async);
    EXPECT_EQ(store->countArticles(CEStr(url)), 2);
    store->updateFeed(CEStr(url), true, false, false);
    EXPECT_TRUE(store->pending().empty()) << "fresh: not queued";
    store->updateFeed(CEStr(url), true, true, false);
    drain();
    ASSERT_EQ(sentTo(url).size(), 2u);
    EXPECT_FALSE(sentTo(url)[1].header("If-None-Match"));
    EXPECT_FALSE(sentTo(url)[1].header("If-Modified-Since"));
    EXPECT_EQ(store->countArticles(CEStr(url)), 3);
}

TEST_F(FetchTest, RemovingTheFeedInFlightDropsItsReply) {
    const char* gone = "http://cancel.example/gone.xml";
    const char* next = "http://cancel.example/next.xml";
    host.network().addReply(gone, engineReply(200, "news-ttl-30.xml"));
    host.network().addReply(next, engineReply(200, "news-ttl-30.xml"));
    store->addFeed(CEStr(gone), false, true);
    store->addFeed(CEStr(next), false, true);
    store->update(true);
    for (int i = 0; i < 10 && host.network().openRequests() == 0; ++i)
        host.idle().runIdle();
    ASSERT_EQ(host.network().openRequests(), 1u);
    store->removeFeed(CEStr(gone));
    ASSERT_FALSE(store->pending().empty());
    EXPECT_TRUE(store->pending().front().cancelled);
    EXPECT_EQ(drain(), 1u);
    EXPECT_FALSE(store->hasFeed(CEStr(gone)));
    EXPECT_EQ(descriptor(gone).getType(), CAgg::eVoid) << "the reply wrote nothing";
    EXPECT_EQ(numberOf(descriptor(next), "State"), 200) << "and the queue moved on";
    EXPECT_EQ(recorder.updated, std::vector<std::string>{next});

    // Cancelling the queue keeps the fetch in flight, marked, and drops the rest.
    const char* more[] = {"http://cancel.example/1.xml", "http://cancel.example/2.xml"};
    for (const char* url : more) {
        host.network().addReply(url, engineReply(200, "news-ttl-30.xml"));
        store->addFeed(CEStr(url), false, true);
    }
    store->update(true);
    for (int i = 0; i < 10 && host.network().openRequests() == 0; ++i)
        host.idle().runIdle();
    store->cancelPendingUpdates();
    ASSERT_EQ(store->pending().size(), 1u);
    EXPECT_TRUE(store->pending().front().cancelled);
    drain();
    EXPECT_TRUE(store->pending().empty());
    EXPECT_EQ(numberOf(descriptor(more[0]), "State"), 0);
    EXPECT_TRUE(sentTo(more[1]).empty());

    // A store that goes while a fetch is under way is not written to when the reply comes.
    store->updateFeed(CEStr(more[1]), true, true, false);
    for (int i = 0; i < 10 && host.network().openRequests() == 0; ++i)
        host.idle().runIdle();
    ASSERT_EQ(host.network().openRequests(), 1u);
    store.reset();
    drain();
    EXPECT_EQ(host.network().openRequests(), 0u);
}

TEST_F(FetchTest, SubFeedsComeAlongAndKeepTheirReferencesThroughAnUpdate) {
    const char* url = "http://workshop.example/notes/feed.xml";
    host.network().addReply(url, engineReply(200, "with-sub-feeds.xml"));
    const char* icon = "http://workshop.example/notes/icon.png";
    const char* ui = "http://workshop.example/ui/workshop.js";
    const char* comments1 = "http://workshop.example/notes/comments/1.xml";
    const char* comments2 = "http://other.example/comments/2.xml";
    host.network().addReply(icon,
                            FakeReply::withBody(200, rsstest::rssData("icons/square-16x16.png")));
    host.network().addReply(ui, FakeReply::withBody(200, "var shown = true;"));
    host.network().addReply(comments1, engineReply(200, "comments.xml"));
    host.network().addReply(comments2, engineReply(200, "comments.xml"));
    store->addFeed(CEStr(url), false, true);
    store->update(true);
    EXPECT_EQ(drain(), 1u);

    std::vector<std::string> subURLs;
    for (CAgg& sub : store->getSubFeeds(CEStr(url)))
        subURLs.push_back(EStrToUTF8(CAggValueText(sub["URL"])));
    EXPECT_EQ(subURLs, (std::vector<std::string>{icon, ui, comments1, comments2}));
    struct Expect {
        const char* url;
        const char* type;
        long state;
    };
    const Expect expected[] = {
        {icon, "PNG", 200}, {ui, "UI", 200}, {comments1, "RSS", 200}, {comments2, "RSS", 200}};
    for (const Expect& e : expected) {
        CAgg& sub = descriptor(e.url);
        EXPECT_TRUE(store->hasFeed(CEStr(e.url))) << e.url;
        EXPECT_TRUE(flagOf(sub, "Hidden")) << e.url;
        EXPECT_EQ(CAgg(sub["Type"]).toQsAtom(), host.core().atomFromString(e.type)) << e.url;
        EXPECT_EQ(numberOf(sub, "State"), e.state) << e.url;
        EXPECT_EQ(numberOf(sub, "RefCount"), 1) << e.url;
    }
    EXPECT_EQ(numberOf(descriptor(icon), "TTL"), 10000);
    EXPECT_NE(store->getIcon(CEStr(icon)), nullptr);
    ASSERT_NE(store->getBinary(CEStr(ui)), nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(store->getBinary(CEStr(ui))->data)),
              "var shown = true;");
    EXPECT_EQ(store->countArticles(CEStr(comments1)), 1);

    // The same document again: every sub-feed goes from 1 to 2 to 1 reference, none is lost.
    store->updateFeed(CEStr(url), true, true, false);
    drain();
    for (const Expect& e : expected)
        EXPECT_EQ(numberOf(descriptor(e.url), "RefCount"), 1) << e.url;
    store->removeFeed(CEStr(url));
    for (const Expect& e : expected)
        EXPECT_FALSE(store->hasFeed(CEStr(e.url))) << e.url << " goes with its feed";
}

TEST_F(FetchTest, FeedsThatNameThemselvesOrEachOtherLeaveTheStoreWhole) {
    const char* mirror = "http://mirror.example/feed.xml";
    host.network().addReply(mirror, engineReply(200, "names-itself.xml"));
    const char* a = "http://loop.example/loop-a.xml";
    const char* b = "http://loop.example/loop-b.xml";
    host.network().addReply(a, engineReply(200, "loop-a.xml"));
    host.network().addReply(b, engineReply(200, "loop-b.xml"));
    store->addFeed(CEStr(mirror), false, true);
    store->addFeed(CEStr(a), false, true);
    store->update(true);
    drain();
    for (int round = 0; round < 2; ++round) {
        store->updateFeed(CEStr(mirror), true, true, true);
        store->updateFeed(CEStr(a), true, true, true);
        drain();
    }
    EXPECT_EQ(sentTo(mirror).size(), 3u) << "itself is fetched once a round, as the feed";
    EXPECT_EQ(numberOf(descriptor(mirror), "RefCount"), 1);
    EXPECT_EQ(titleOf(mirror), "Mirror");
    EXPECT_EQ(titleOf(a), "Loop A");
    EXPECT_EQ(titleOf(b), "Loop B");
    EXPECT_TRUE(store->hasFeed(CEStr(b)));
    // Marking read follows RSS sub-feeds, each once.
    store->setIsRead(CEStr(a), true);
    for (const char* url : {a, b})
        EXPECT_TRUE(flagOf(descriptor(url)["RSS"]["Items"].toVector()[0], "IsRead")) << url;
    store->setIsRead(CEStr(mirror), true);
    EXPECT_TRUE(flagOf(descriptor(mirror)["RSS"]["Items"].toVector()[0], "IsRead"));
    store->removeFeed(CEStr(mirror));
    EXPECT_FALSE(store->hasFeed(CEStr(mirror)));
    EXPECT_TRUE(store->hasFeed(CEStr(a)));
}

// The exported discovery entries as the test plays them: each lookup is recorded, and the test
// answers it.
struct ScriptedDiscovery {
    struct Lookup {
        std::string type, domain, name;
        int32_t scope;
        void (*callback)(int32_t, RSSServiceInfo*, void*);
        void* clientData;
        bool stopped = false;
    };
    static inline std::vector<Lookup> lookups;

    static void* resolve(const char* type, const char* domain, const char* name, int32_t scope,
                         void (*callback)(int32_t, RSSServiceInfo*, void*), void* clientData) {
        lookups.push_back({type, domain, name, scope, callback, clientData});
        return reinterpret_cast<void*>(lookups.size());
    }
    static void stop(void* request) {
        lookups.at(reinterpret_cast<size_t>(request) - 1).stopped = true;
    }
    static void answer(size_t index, const char* target, unsigned short port, const char* path) {
        RSSServiceInfo info{lookups[index].name.c_str(),
                            lookups[index].type.c_str(),
                            lookups[index].domain.c_str(),
                            target,
                            port,
                            path,
                            nullptr};
        lookups[index].callback(target ? 0 : 1, &info, lookups[index].clientData);
    }
};

class ScriptedSOAPTable final : public IEntryTable {
public:
    int32_t entryCount() const override { return 27; }
    QsCallback getEntry(int32_t index) const override {
        if (index == 11)
            return reinterpret_cast<QsCallback>(&ScriptedDiscovery::resolve);
        if (index == 13)
            return reinterpret_cast<QsCallback>(&ScriptedDiscovery::stop);
        return nullptr;
    }
};

TEST_F(FetchTest, AServiceFeedIsResolvedThenFetched) {
    ScriptedSOAPTable table;
    host.core().registerTable("SOAP", kExportedHFTVersion, &table);
    ScriptedDiscovery::lookups.clear();
    const char* service = "service://Kitchen Feed:_rss._tcp:";
    const char* corp = "service://Desk:_rss._tcp:corp.example";
    const char* broken = "service://_rss._tcp:local.";
    const char* fetched = "http://kitchen.local:8080/feeds/news.xml";
    host.network().addReply(fetched, engineReply(200, "with-sub-feeds.xml"));
    for (const char* url : {broken, corp, service})
        store->addFeed(CEStr(url), false, true);
    store->update(true);
    drain();
    // The broken URL asks nothing and gets no error; the queue goes on to the next.
    ASSERT_EQ(ScriptedDiscovery::lookups.size(), 1u);
    EXPECT_EQ(textOf(descriptor(broken), "Error"), "");
    ScriptedDiscovery::Lookup first = ScriptedDiscovery::lookups[0];
    EXPECT_EQ(first.name, "Desk");
    EXPECT_EQ(first.type, "_rss._tcp");
    EXPECT_EQ(first.domain, "corp.example.");
    EXPECT_EQ(first.scope, 1);
    EXPECT_EQ(store->pending().size(), 2u) << "the queue waits for the lookup";
    ScriptedDiscovery::answer(0, nullptr, 0, nullptr); // gave up: nothing is fetched
    drain();
    ASSERT_EQ(ScriptedDiscovery::lookups.size(), 2u);
    EXPECT_TRUE(ScriptedDiscovery::lookups[0].stopped);
    EXPECT_EQ(textOf(descriptor(corp), "Error"), "");
    EXPECT_EQ(ScriptedDiscovery::lookups[1].domain, "local.");
    EXPECT_EQ(ScriptedDiscovery::lookups[1].scope, 0);
    ScriptedDiscovery::answer(1, "kitchen.local", 8080, "/feeds/news.xml");
    drain();
    ASSERT_EQ(sentTo(fetched).size(), 1u);
    EXPECT_EQ(numberOf(descriptor(service), "State"), 200);
    EXPECT_EQ(textOf(descriptor(service), "ResolvedURL"), fetched);
    EXPECT_EQ(titleOf(service), "Workshop Notes");
    // Relative sub-feeds resolve against the URL that was fetched.
    EXPECT_EQ(EStrToUTF8(store->getIconSubFeed(CEStr(service), -1)),
              "http://kitchen.local:8080/feeds/icon.png");
    EXPECT_TRUE(store->pending().empty() || !store->pending().front().started);
    host.core().unregisterTable("SOAP");
    drain();
}

TEST_F(FetchTest, StoredCredentialsBringBackWhatAServerRefused) {
    const char* url = "http://locked.example/feed.xml";
    host.network().addReply(url, FakeReply::failure(kNetErrUnauthorized));
    host.network().addReply(url, engineReply(200, "news-ttl-30.xml"));
    FakeSealing sealing(host.extra());
    // The store's module is what connects the credential store to the feeds.
    store.reset();
    CRSSManagerModule module;
    module.init();
    CRSSManager& shared = *CRSSManager::sm_instance;
    shared.ensureIsRunning();
    shared.addFeed(CEStr(url), false, true);
    shared.update(true);
    drain();
    EXPECT_EQ(numberOf(shared.getFeedDescriptor(CEStr(url)), "State"), 401);
    EXPECT_EQ(textOf(shared.getFeedDescriptor(CEStr(url)), "Error"),
              "Authorization is required for this network service");
    shared.update(true);
    drain();
    EXPECT_EQ(sentTo(url).size(), 1u) << "refused feeds wait like other failures";
    CCredStore::instance()->setCredentials("locked.example", "Feeds", "reader", "secret");
    drain();
    EXPECT_EQ(sentTo(url).size(), 2u);
    EXPECT_EQ(numberOf(shared.getFeedDescriptor(CEStr(url)), "State"), 200);
    module.term();
    delete CCredStore::sm_instance;
    CCredStore::sm_instance = nullptr;
}

} // namespace
