// The store's feeds, descriptors, states and observers, through its public operations and the
// entries other plug-ins call.
#include "frame/QsCore.h"
#include "rss/CRSSManager.h"
#include "rss/RSSExports.h"
#include "tests/rss/RSSTestSupport.h"
#include "values/QsCab.h"
#include "values/miTime.h"

namespace {

using rsstest::RSSTest;

class RSSManagerTest : public RSSTest {
protected:
    void SetUp() override { forgetStoredFeeds(); }
    QsAtom atom(const char* text) { return host.core().atomFromString(text); }
};

std::vector<std::string> urls(CRSSManager& store) {
    std::vector<std::string> out;
    for (CEStr& url : store.feeds())
        out.emplace_back(url.c_str());
    return out;
}

/// Every notice as one line.
class Recorder : public CRSSManager::Observer {
public:
    std::vector<std::string> log;
    void didAddFeed(EStr url) override { log.push_back(std::string("add ") + EStrGetBytes(url)); }
    void didUpdate(EStr url) override { log.push_back(std::string("update ") + EStrGetBytes(url)); }
    void didMarkRead(EStr url, long index, unsigned short isRead) override {
        log.push_back(std::string("read ") + EStrGetBytes(url) + " " + std::to_string(index) + " " +
                      std::to_string(isRead));
    }
    void didRemoveFeed(EStr url) override {
        log.push_back(std::string("remove ") + EStrGetBytes(url));
    }
    void didAddNewItem(EStr url, long index) override {
        log.push_back(std::string("new ") + EStrGetBytes(url) + " " + std::to_string(index));
    }
};

CAgg feedWithItems(int count, const char* extensionKey = nullptr, const char* value = nullptr) {
    CAgg record = CAgg::atomMapWithRoom(4);
    CAgg& items = record[rsstest::testHost().core().atomFromString("Items")];
    items.toVector();
    for (int i = 0; i < count; ++i) {
        CAgg item = CAgg::atomMapWithRoom(4);
        item[rsstest::testHost().core().atomFromString("Guid")] = CAgg(std::to_string(i).c_str());
        if (extensionKey)
            item[rsstest::testHost().core().atomFromString("Extension")][extensionKey] =
                CAgg(value);
        items.toVector().push_back(std::move(item));
    }
    return record;
}

TEST_F(RSSManagerTest, ReferencesKeepAFeedUntilTheLastRemove) {
    CRSSManager store;
    Recorder recorder;
    store.addObserver(&recorder);
    CEStr url("http://a.example/rss");
    store.addFeed(url, false, true);
    store.addFeed(url, true, false);
    CAgg& descriptor = store.getFeedDescriptor(url);
    EXPECT_EQ(CAgg(descriptor["RefCount"]).toQsInt32(), 2);
    EXPECT_FALSE(CAgg(descriptor["Hidden"]).toQsBool()) << "the first call's flags stay";
    EXPECT_TRUE(CAgg(descriptor["Persistent"]).toQsBool());
    EXPECT_EQ(CAgg(descriptor["Type"]).toQsAtom(), atom("RSS"));
    store.removeFeed(url);
    EXPECT_TRUE(store.hasFeed(url));
    store.removeFeed(url);
    EXPECT_FALSE(store.hasFeed(url));
    store.removeFeed(url);
    EXPECT_EQ(recorder.log, (std::vector<std::string>{"add http://a.example/rss",
                                                      "remove http://a.example/rss"}));
    // The removed feed leaves an empty slot in Contents.
    EXPECT_TRUE(store.state()["Contents"].has(url.get()));
    EXPECT_EQ(store.state()["Contents"][url].getType(), CAgg::eVoid);
    EXPECT_TRUE(host.idle().isRegistered(CRSSManager::doUpdateFeed, &store));
}

TEST_F(RSSManagerTest, MoveFeed) {
    struct Case {
        const char* target;
        const char* url;
        bool before;
        std::vector<std::string> expected;
    };
    const Case cases[] = {
        {"a", "c", true, {"c", "a", "b"}},
        {"a", "c", false, {"a", "c", "b"}},
        {"c", "a", false, {"b", "c", "a"}},
        {"b", "b", true, {"a", "c"}}, // the target went with the move
        {"zz", "a", true, {"b", "c"}},
        {"a", "zz", true, {"a", "b", "c"}},
    };
    for (const Case& c : cases) {
        CRSSManager store;
        for (const char* url : {"a", "b", "c"})
            store.addFeed(CEStr(url), false, true);
        store.moveFeed(CEStr(c.target), CEStr(c.url), c.before);
        EXPECT_EQ(urls(store), c.expected) << c.target << " " << c.url << " " << c.before;
    }
}

TEST_F(RSSManagerTest, DescriptorsFragmentsAndURLKinds) {
    CRSSManager store;
    store.getFeedDescriptor(CEStr("http://u.example/#a"))["ETag"] = CAgg("x");
    EXPECT_EQ(&store.getFeedDescriptor(CEStr("http://u.example/#a")),
              &store.getFeedDescriptor(CEStr("http://u.example/#b")));
    EXPECT_EQ(&store.getFeedDescriptor(CEStr("http://u.example/#a")),
              &store.getFeedDescriptor(CEStr("http://u.example/")));
    store.addFeed(CEStr("http://u.example/#a"), false, true);
    store.addFeed(CEStr("http://u.example/#b"), false, true);
    EXPECT_EQ(urls(store),
              (std::vector<std::string>{"http://u.example/#a", "http://u.example/#b"}));
    EXPECT_EQ(CAgg(store.getFeedDescriptor(CEStr("http://u.example/"))["RefCount"]).toQsInt32(), 1)
        << "the second fragment is a feed of its own in Feeds, on a shared descriptor";
    // A URL in UCS, as a cabinet gives it back, is the same feed as in bytes.
    CEStr ucs = CEStr::adopt(EStrCopySetEncoding(CEStr("http://u.example/#a"), kEStrUCS));
    EXPECT_TRUE(store.hasFeed(ucs));
    EXPECT_EQ(&store.getFeedDescriptor(ucs), &store.getFeedDescriptor(CEStr("http://u.example/")));
    const std::pair<const char*, std::pair<bool, bool>> kinds[] = {
        {"local://Inbox", {true, false}},
        {"service://_rss._tcp/x", {false, true}},
        {"http://local://", {false, false}},
        {"LOCAL://x", {false, false}},
        {"", {false, false}},
    };
    for (const auto& [url, expected] : kinds) {
        EXPECT_EQ(CRSSManager::isLocalURL(CEStr(url)), expected.first) << url;
        EXPECT_EQ(CRSSManager::isServiceURL(CEStr(url)), expected.second) << url;
    }
}

TEST_F(RSSManagerTest, OpenStates) {
    CRSSManager store;
    CEStr url("http://a.example/rss");
    CEStr group("Today");
    // Open is the default, and opening what was never closed leaves no trace.
    store.setOpenState(url, group, true);
    store.setOpenState(url, nullptr, true);
    EXPECT_FALSE(store.state()["OpenState"].has(url.get()));
    struct Step {
        const char* group;
        bool open;
        bool feedOpen, todayOpen, otherOpen;
    };
    const Step steps[] = {
        {"Today", false, true, false, true}, {nullptr, false, false, false, true},
        {"Today", true, false, true, true},  {"Other", false, false, true, false},
        {nullptr, true, true, true, true}, // the feed opens and its groups' states go
    };
    for (const Step& step : steps) {
        store.setOpenState(url, step.group ? CEStr(step.group).get() : nullptr, step.open);
        EXPECT_EQ(store.getOpenState(url, nullptr), step.feedOpen);
        EXPECT_EQ(store.getOpenState(url, group), step.todayOpen);
        EXPECT_EQ(store.getOpenState(url, CEStr("Other")), step.otherOpen);
    }
    EXPECT_FALSE(store.state()["OpenState"].has(url.get()));
}

TEST_F(RSSManagerTest, ValidatorsStaleAndLastChecked) {
    CRSSManager store;
    CEStr url("http://a.example/rss");
    CEStr text;
    EXPECT_FALSE(store.getETag(url, text));
    EXPECT_FALSE(store.getLastModified(url, text));
    CAgg when;
    EXPECT_FALSE(store.getLastChecked(url, when));
    store.addFeed(url, false, true);
    store.setETag(url, CEStr("\"e\""));
    store.setLastModified(url, CEStr("Thu, 01 Jan 2004 12:00:00 GMT"));
    QsTimeRec now{};
    miTimeGetTime(&now, 1000000);
    store.getFeedDescriptor(url)["lastAttempt"] = CAgg(now);
    store.getFeedDescriptor(url)["State"] = CAgg(200L);
    ASSERT_TRUE(store.getETag(url, text));
    EXPECT_STREQ(text.c_str(), "\"e\"");
    ASSERT_TRUE(store.getLastModified(url, text));
    ASSERT_TRUE(store.getLastChecked(url, when));
    EXPECT_EQ(when.toQsTimeRec().year, now.year);
    store.setStale(url);
    EXPECT_FALSE(store.getETag(url, text));
    EXPECT_FALSE(store.getLastModified(url, text));
    EXPECT_FALSE(store.getLastChecked(url, when));
    EXPECT_EQ(CAgg(store.getFeedDescriptor(url)["State"]).toQsInt32(), 0);
    // A URL never seen gets no descriptor from setStale.
    store.setStale(CEStr("http://never.example/"));
    EXPECT_FALSE(store.state()["Contents"].has(CEStr("http://never.example/").get()));
}

TEST_F(RSSManagerTest, Staleness) {
    struct Case {
        const char* what;
        long state, ttl, failures;
        bool verified;
        long minutesAgo;
        bool stale;
    };
    const Case cases[] = {
        {"ttl 30 at 29 minutes", 200, 30, 0, true, 29, false},
        {"ttl 30 at 30 minutes", 200, 30, 0, true, 30, true},
        {"no ttl means 120", 200, 0, 0, true, 119, false},
        {"no ttl means 120, reached", 200, 0, 0, true, 120, true},
        {"failed unverified at 120", -1, 60, 3, false, 120, false},
        {"failed unverified at 121", -1, 60, 3, false, 121, true},
        {"verified, ttl 60, three failures at 180", -1, 60, 3, true, 180, false},
        {"verified, ttl 60, three failures at 181", -1, 60, 3, true, 181, true},
    };
    CRSSManager store;
    CEStr url("http://a.example/rss");
    store.addFeed(url, false, true);
    const long now = 1100000000;
    // The other tests of this program read the clock as the test host starts it.
    struct ClockBack {
        FakeIdle& idle;
        int64_t was;
        ~ClockBack() { idle.setTime(was); }
    } clockBack{host.idle(), host.idle().currentTime()};
    host.idle().setTime(now);
    for (const Case& c : cases) {
        CAgg& descriptor = store.getFeedDescriptor(url);
        descriptor["State"] = CAgg(c.state);
        descriptor["TTL"] = CAgg(c.ttl);
        descriptor["FailureCount"] = CAgg(c.failures);
        descriptor["Verified"].toQsBool() = c.verified;
        QsTimeRec last{};
        miTimeGetTime(&last, now - c.minutesAgo * 60);
        descriptor["lastAttempt"] = CAgg(last);
        EXPECT_EQ(store.isStale(url), c.stale) << c.what;
    }
    store.setStale(url);
    EXPECT_TRUE(store.isStale(url)) << "a feed never tried is stale";
}

TEST_F(RSSManagerTest, MarkingReadTellsEachChangedItemAndFollowsSubFeeds) {
    CRSSManager store;
    Recorder recorder;
    CEStr url("http://a.example/rss");
    CEStr comments("http://a.example/comments/1");
    store.addFeed(url, false, true);
    store.addFeed(comments, true, true);
    std::string subfeedKey = std::string(kInboxNamespace) + ":subfeed";
    store.setContents(url, feedWithItems(3, subfeedKey.c_str(), "comments/1"));
    store.setContents(comments, feedWithItems(2));
    store.getFeedDescriptor(url)["RSS"]["Items"][1]["IsRead"].toQsBool() = 1;
    store.addObserver(&recorder);
    store.setIsRead(url, true);
    EXPECT_EQ(recorder.log, (std::vector<std::string>{"read http://a.example/rss 0 1",
                                                      "read http://a.example/rss 2 1",
                                                      "read http://a.example/comments/1 0 1",
                                                      "read http://a.example/comments/1 1 1"}));
    recorder.log.clear();
    store.setIsRead(CEStr("http://not.subscribed/"), false);
    store.notifyDidMarkRead(url, 7, 0);
    EXPECT_EQ(recorder.log, std::vector<std::string>{"read http://a.example/rss 7 0"});
    // Removing the feed drops its sub-feed's reference too.
    store.removeFeed(url);
    EXPECT_FALSE(store.hasFeed(comments));
}

/// Does something to the store while it is told of a change.
class Meddler : public CRSSManager::Observer {
public:
    CRSSManager& store;
    std::vector<CRSSManager::Observer*> victims;
    int calls = 0;
    explicit Meddler(CRSSManager& s) : store(s) {}
    void act() {
        ++calls;
        for (CRSSManager::Observer* victim : victims)
            store.removeObserver(victim);
        if (calls < 3)
            store.addFeed(CEStr(("http://added.example/" + std::to_string(calls)).c_str()), false,
                          true);
    }
    void didAddFeed(EStr) override { act(); }
    void didRemoveFeed(EStr) override { act(); }
    void didAddNewItem(EStr, long) override { act(); }
    void didMarkRead(EStr, long, unsigned short) override { act(); }
};

TEST_F(RSSManagerTest, ObserversThatRemoveThemselvesOrAddFeedsWhileTold) {
    CRSSManager store;
    auto* first = new Meddler(store);
    auto* second = new Meddler(store);
    Recorder recorder;
    store.addObserver(first);
    store.addObserver(second);
    store.addObserver(&recorder);
    first->victims = {first, second};
    store.addFeed(CEStr("http://a.example/rss"), false, true);
    // The first removed both at its first call: neither hears of the feed it added then, nor
    // of the first; the recorder hears of both, the nested one first.
    EXPECT_EQ(first->calls, 1);
    EXPECT_EQ(second->calls, 0);
    delete first;
    delete second;
    store.setContents(CEStr("http://a.example/rss"), feedWithItems(4));
    store.setIsRead(CEStr("http://a.example/rss"), true);
    store.removeFeed(CEStr("http://a.example/rss"));
    ASSERT_GE(recorder.log.size(), 2u);
    EXPECT_EQ(recorder.log[0], "add http://added.example/1");
    EXPECT_EQ(recorder.log[1], "add http://a.example/rss");
    EXPECT_EQ(recorder.log.back(), "remove http://a.example/rss");
    // An observer that deletes the store's other observers one by one while the store removes
    // feeds: every notice lands on a live one.
    auto* self = new Meddler(store);
    self->victims = {self};
    store.addObserver(self);
    store.removeFeed(CEStr("http://added.example/1"));
    store.removeFeed(CEStr("http://added.example/2"));
    EXPECT_EQ(self->calls, 1);
    EXPECT_EQ(urls(store), std::vector<std::string>{"http://added.example/1"})
        << "the feed the observer added while told of a removal";
    delete self;
}

TEST_F(RSSManagerTest, AClosingDocumentTakesItsFeeds) {
    CRSSManager store;
    store.ensureIsRunning();
    DkDoc opened = host.documents().openDocument(1);
    auto doc = reinterpret_cast<VxDoc>(opened);
    CRSSManager::sm_instance = &store;
    AddFeed("http://doc.example/rss", doc, "RSS", false);
    AddFeed("http://doc.example/rss", nullptr, "RSS", false);
    AddFeed("http://doc.example/only", doc, nullptr, true);
    host.documents().closeDocument(opened);
    CRSSManager::sm_instance = nullptr;
    EXPECT_EQ(urls(store), std::vector<std::string>{"http://doc.example/rss"})
        << "a feed another subscriber holds stays";
}

QsCab provideInbox(void* data) {
    ++*static_cast<int*>(data);
    ICabinets& cabs = rsstest::testHost().cabinets();
    QsCab record = cabs.newCabinet();
    QsCab items = cabs.newCabinet();
    QsCab item = cabs.newCabinet();
    cabs.putString(item, "Guid", "1", 1);
    cabs.putCabinet(items, "0", item);
    cabs.putCabinet(record, "Items", items);
    return record;
}

int gStarts = 0;
std::vector<std::string> gHeard;

TEST_F(RSSManagerTest, TheExportedEntries) {
    gStarts = 0;
    gHeard.clear();
    RegisterOnStartProc([](void*) { ++gStarts; }, nullptr);
    RegisterOnStartProc([](void*) { gStarts += 10; }, nullptr);
    CRSSManager::sm_instance = new CRSSManager;
    CRSSManager& store = *CRSSManager::sm_instance;
    RegisterNotificationProc([](const char* url, void*) { gHeard.emplace_back(url); }, nullptr);
    store.ensureIsRunning();
    store.ensureIsRunning();
    EXPECT_EQ(gStarts, 11) << "each start procedure runs once, in order";
    int provided = 0;
    RegisterFeedProc("local://Inbox", "Inbox.png", provideInbox, &provided);
    EXPECT_EQ(provided, 1);
    EXPECT_EQ(store.countArticles(CEStr("local://Inbox")), 1);
    EXPECT_EQ(CAgg(store.getFeedDescriptor(CEStr("local://Inbox"))["State"]).toQsInt32(), 200);
    UpdateFeedProc("local://Inbox");
    EXPECT_EQ(provided, 2);
    EXPECT_EQ(gHeard, (std::vector<std::string>{"local://Inbox", "local://Inbox"}));
    EXPECT_TRUE(HasFeed("local://Inbox"));
    UnregisterFeedProc("local://Inbox");
    UpdateFeedProc("local://Inbox");
    EXPECT_EQ(provided, 2);

    struct Case {
        const char* type;
        bool hidden;
        const char* storedType;
        bool storedHidden, storedPersistent;
    };
    const Case cases[] = {{"Code", false, "Code", true, false},
                          {"PNG", false, "PNG", true, true},
                          {"RSS", true, "RSS", true, true},
                          {nullptr, false, "RSS", false, true}};
    for (const Case& c : cases) {
        std::string url = std::string("http://x.example/") + (c.type ? c.type : "none");
        AddFeed(url.c_str(), nullptr, c.type, c.hidden);
        CAgg& descriptor = store.getFeedDescriptor(CEStr(url.c_str()));
        EXPECT_TRUE(HasFeed(url.c_str()));
        EXPECT_EQ(CAgg(descriptor["Type"]).toQsAtom(), atom(c.storedType)) << url;
        EXPECT_EQ(CAgg(descriptor["Hidden"]).toQsBool() != 0, c.storedHidden) << url;
        EXPECT_EQ(CAgg(descriptor["Persistent"]).toQsBool() != 0, c.storedPersistent) << url;
    }
    EXPECT_FALSE(HasFeed("http://x.example/other"));
    delete CRSSManager::sm_instance;
    EXPECT_EQ(CRSSManager::sm_instance, nullptr);
}

TEST_F(RSSManagerTest, OtherPlugInsReadConvertAndRemoveSubscribedFeeds) {
    const char* url = "http://x.example/atom";
    EXPECT_EQ(ConvertToStream(url), nullptr) << "no store yet";
    EXPECT_EQ(GetFeedContents(url), nullptr);
    EXPECT_FALSE(SupportsFeedProtocol());

    CRSSManager::sm_instance = new CRSSManager;
    CRSSManager& store = *CRSSManager::sm_instance;
    AddFeed(url, nullptr, "RSS", false);
    EXPECT_EQ(ConvertToStream(url), nullptr) << "subscribed, but nothing fetched yet";
    EXPECT_EQ(GetFeedContents(url), nullptr);

    CRSSReader reader;
    CAgg record = reader.readMessage(
        rsstest::parseDocument(rsstest::readData("atom-0.3-persons-and-modes.xml")));
    store.setContents(CEStr(url), record);
    QsStm stream = ConvertToStream(url);
    ASSERT_NE(stream, nullptr);
    std::string text = QsStmReadAll(stream, 7);
    QsStmClose(stream);
    EXPECT_EQ(text, rsstest::readData("atom-0.3-persons-and-modes.written.xml"))
        << "an Atom feed leaves as RSS 2.0";
    EXPECT_EQ(ConvertToStream("http://x.example/other"), nullptr);
    EXPECT_EQ(ConvertToStream(nullptr), nullptr);

    QsCab cab = GetFeedContents(url);
    ASSERT_NE(cab, nullptr);
    CAgg copy;
    QsCab2CAgg(copy, cab);
    QsCabDestroy(cab);
    // A cabinet may keep text in either encoding; the text itself must come back whole.
    auto textOnly = [](std::string printed) {
        for (size_t at; (at = printed.find("[ucs]")) != std::string::npos;)
            printed.erase(at, 5);
        return printed;
    };
    EXPECT_EQ(textOnly(rsstest::printRecord(copy)),
              rsstest::printRecord(store.getFeedDescriptor(CEStr(url))["RSS"]));

    RemoveFeed(url);
    EXPECT_FALSE(HasFeed(url));
    EXPECT_EQ(ConvertToStream(url), nullptr) << "gone with its subscription";
    RemoveFeed(nullptr);
    RemoveFeed("http://x.example/never");
    delete CRSSManager::sm_instance;
}

TEST_F(RSSManagerTest, TheQueueHoldsOneEntryPerFeedAndCancelsAFetchInFlight) {
    CRSSManager store;
    CEStr a("http://a.example/rss"), b("http://b.example/rss");
    store.addFeed(a, false, true);
    store.addFeed(b, false, true);
    store.addToPendingList(a, false);
    store.addToPendingList(a, true);
    store.addToPendingList(b, false);
    ASSERT_EQ(store.pending().size(), 2u);
    const_cast<CRSSAsyncUpdate&>(store.pending().front()).started = 1;
    store.removeFeed(a);
    store.removeFeed(b);
    ASSERT_EQ(store.pending().size(), 1u) << "a fetch in flight is marked, not erased";
    EXPECT_TRUE(store.pending().front().cancelled);
    store.cancelPendingUpdates();
    EXPECT_EQ(store.pending().size(), 1u);
    store.addFeed(b, false, true);
    store.addToPendingList(b, false);
    store.cancelPendingUpdates();
    EXPECT_EQ(store.pending().size(), 1u);
}

} // namespace
