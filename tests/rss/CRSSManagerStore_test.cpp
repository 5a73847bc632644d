// The store across restarts: what a stored state brings back into a fresh store, what a damaged
// or older state still gives, and what a process killed in the middle of a save leaves on disk.
#include "frame/QsCore.h"
#include "host/cabinets/CGVariantCabinets.h"
#include "rss/CRSSManager.h"
#include "tests/host/TempFolder.h"
#include "tests/rss/RSSTestSupport.h"
#include "values/QsCab.h"

#include <chrono>
#include <cstring>
#include <random>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using rsstest::RSSTest;

class RSSStoreTest : public RSSTest {
protected:
    void SetUp() override { forgetStoredFeeds(); }
    void TearDown() override { forgetStoredFeeds(); }

    static CAgg item(const char* guid) {
        CAgg entry = CAgg::atomMapWithRoom(4);
        entry[rsstest::testHost().core().atomFromString("Guid")] = CAgg(guid);
        entry[rsstest::testHost().core().atomFromString("Title")] = CAgg("title");
        return entry;
    }

    static CAgg feed(std::initializer_list<const char*> guids) {
        CAgg record = CAgg::atomMapWithRoom(4);
        CAgg& items = record[rsstest::testHost().core().atomFromString("Items")];
        items.toVector();
        for (const char* guid : guids)
            items.toVector().push_back(item(guid));
        return record;
    }

    static unsigned char* bytes(const char* text) {
        size_t length = std::strlen(text);
        auto* copy = static_cast<unsigned char*>(QsMalloc(length + 1));
        std::memcpy(copy, text, length + 1);
        return copy;
    }

    QsAtom atom(const char* text) { return host.core().atomFromString(text); }
};

bool readFlag(CRSSManager& store, const char* url, long index) {
    CAgg& items = store.getFeedDescriptor(CEStr(url))["RSS"]["Items"];
    if (items.getType() != CAgg::eVector || index >= static_cast<long>(items.toVector().size()))
        return false;
    CAgg& entry = items[index];
    return entry.has("IsRead") && CAgg(entry["IsRead"]).toQsBool();
}

std::vector<std::string> urls(CRSSManager& store) {
    std::vector<std::string> out;
    for (CEStr& url : store.feeds())
        out.emplace_back(url.c_str());
    return out;
}

TEST_F(RSSStoreTest, AFreshStoreGetsBackWhatTheLastOneKept) {
    {
        CRSSManager store;
        store.ensureIsRunning();
        store.addFeed(CEStr("http://a.example/rss"), false, true);
        store.addFeed(CEStr("http://transient.example/rss"), false, false);
        store.addFeed(CEStr("local://Inbox"), true, false);
        store.addFeed(CEStr("http://a.example/icon.png"), true, true);
        store.getFeedDescriptor(CEStr("http://a.example/icon.png"))["Type"].toQsAtom() =
            atom("PNG");
        store.addFeed(CEStr("http://a.example/ui.js"), true, true);
        store.getFeedDescriptor(CEStr("http://a.example/ui.js"))["Type"].toQsAtom() = atom("UI");
        store.addCode(CEStr("http://a.example/ui.js"), bytes("function f() {}"), 15);
        store.setContents(CEStr("http://a.example/rss"), feed({"1", "2", "3"}));
        store.getFeedDescriptor(CEStr("http://a.example/rss"))["RSS"]["Items"][1]["IsRead"]
            .toQsBool() = 1;
        store.setETag(CEStr("http://a.example/rss"), CEStr("\"v1\""));
        store.getFeedDescriptor(CEStr("http://a.example/rss"))["State"] = CAgg(200L);
        store.setOpenState(CEStr("http://a.example/rss"), nullptr, false);
        store.setOpenState(CEStr("http://a.example/rss"), CEStr("Today"), false);
        // The store saves itself as it goes down, as on quitting.
    }
    CRSSManager store;
    store.addFeed(CEStr("http://live.example/rss"), false, true);
    store.ensureIsRunning();
    // Live feeds first, then the stored ones; the transient http feed did not last the quit.
    EXPECT_EQ(urls(store), (std::vector<std::string>{
                               "http://live.example/rss", "http://a.example/rss", "local://Inbox",
                               "http://a.example/icon.png", "http://a.example/ui.js"}));
    EXPECT_FALSE(readFlag(store, "http://a.example/rss", 0));
    EXPECT_TRUE(readFlag(store, "http://a.example/rss", 1));
    EXPECT_EQ(store.countArticles(CEStr("http://a.example/rss")), 3);
    EXPECT_TRUE(store.isVerified(CEStr("http://a.example/rss")));
    CEStr etag;
    EXPECT_TRUE(store.getETag(CEStr("http://a.example/rss"), etag));
    EXPECT_EQ(EStrToUTF8(etag), "\"v1\"");
    EXPECT_FALSE(store.getOpenState(CEStr("http://a.example/rss"), nullptr));
    EXPECT_FALSE(store.getOpenState(CEStr("http://a.example/rss"), CEStr("Today")));
    EXPECT_TRUE(store.getOpenState(CEStr("http://a.example/rss"), CEStr("Yesterday")));
    const CRSSManager::BinaryData* code = store.getBinary(CEStr("http://a.example/ui.js"));
    ASSERT_NE(code, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(code->data), code->size), "function f() {}");
    EXPECT_EQ(code->data[code->size], 0) << "code comes back zero-ended";
    EXPECT_EQ(code->Type, atom("UI"));
    // The icon feed has no contents kept: it is made stale so that it is fetched again.
    EXPECT_EQ(
        CAgg(store.getFeedDescriptor(CEStr("http://a.example/icon.png"))["State"]).toQsInt32(), 0);
    // A new version merged after the restart still finds the read flag under the text keys.
    store.setContents(CEStr("http://a.example/rss"), feed({"2", "4"}));
    EXPECT_TRUE(readFlag(store, "http://a.example/rss", 0));
    EXPECT_FALSE(readFlag(store, "http://a.example/rss", 1));
}

TEST_F(RSSStoreTest, ASuspendKeepsTransientFeedsAndResumeMergesTheStoredState) {
    CRSSManager store;
    store.ensureIsRunning();
    store.addFeed(CEStr("http://transient.example/rss"), false, false);
    store.suspend(false);
    store.suspend(false);
    {
        // The other instance's change, made on the stored state.
        CRSSManager other;
        other.ensureIsRunning();
        EXPECT_EQ(urls(other), std::vector<std::string>{"http://transient.example/rss"});
        other.addFeed(CEStr("http://other.example/rss"), false, true);
        other.storeFeedContents(false);
    }
    store.resume(false);
    EXPECT_EQ(urls(store), std::vector<std::string>{"http://transient.example/rss"})
        << "the state comes back only when the last suspend ends";
    store.resume(false);
    EXPECT_EQ(urls(store), (std::vector<std::string>{"http://transient.example/rss",
                                                     "http://other.example/rss"}));
}

TEST_F(RSSStoreTest, AShutdownStoresEveryFeedVerifiedAndLeavesTheLiveDescriptorsAsTheyWere) {
    struct Feed {
        const char* url;
        int verified; // -1: no such key
    } feeds[] = {
        {"http://never.example/rss", -1},
        {"http://failed.example/rss", 0},
        {"http://good.example/rss", 1},
    };
    {
        CRSSManager store;
        store.ensureIsRunning();
        for (const Feed& feed : feeds) {
            store.addFeed(CEStr(feed.url), false, true);
            store.setContents(CEStr(feed.url), this->feed({"1"}));
            if (feed.verified >= 0)
                store.getFeedDescriptor(CEStr(feed.url))["Verified"].toQsBool() =
                    static_cast<QsBool>(feed.verified);
        }
        CAgg::CAggType kind = store.getFeedDescriptor(CEStr(feeds[0].url)).getType();
        store.storeFeedContents(true);
        for (const Feed& feed : feeds) {
            SCOPED_TRACE(feed.url);
            CAgg& descriptor = store.getFeedDescriptor(CEStr(feed.url));
            EXPECT_EQ(descriptor.getType(), kind) << "the kind of map is kept";
            EXPECT_EQ(descriptor.has("Verified"), feed.verified >= 0);
            if (feed.verified >= 0) {
                EXPECT_EQ(CAgg(descriptor["Verified"]).toQsBool(), feed.verified);
            }
        }
        QsCabLocalTerm();
    }
    CRSSManager restored;
    restored.ensureIsRunning();
    for (const Feed& feed : feeds)
        EXPECT_TRUE(restored.isVerified(CEStr(feed.url))) << feed.url;
}

/// Writes a cabinet under "Collab" and a name as the host would, from a filler.
template <class Fill> void storeCabinet(const char* name, Fill fill) {
    ICabinets& cabs = rsstest::testHost().cabinets();
    QsCab cab = cabs.newCabinet();
    fill(cabs, cab);
    cabs.saveCabinet(cab, "Collab", name);
    cabs.destroyCabinet(cab);
}

TEST_F(RSSStoreTest, ADamagedStateRestoresWhatItCanAndNeverFails) {
    struct Damage {
        const char* what;
        std::function<void()> write;
        std::vector<std::string> feeds;
    };
    ICabinets& cabs = host.cabinets();
    auto feedList = [&](QsCab cab, std::vector<const char*> list) {
        QsCab feeds = cabs.newCabinet();
        for (size_t i = 0; i < list.size(); ++i)
            cabs.putString(feeds, std::to_string(i).c_str(), list[i], std::strlen(list[i]));
        cabs.putCabinet(cab, "Feeds", feeds);
    };
    const Damage cases[] = {
        {"a file that is no cabinet",
         [&] {
             host.files().putFile(*host.cabinets().fileOf("Collab", "RSS"), "not a cabinet");
             host.files().putFile(*host.cabinets().fileOf("Collab", "RSSBinary"), "\x01\x02");
         },
         {}},
        {"keys of the wrong kinds",
         [&] {
             storeCabinet("RSS", [&](ICabinets& c, QsCab cab) {
                 c.putInt(cab, "Feeds", 3);
                 c.putString(cab, "Contents", "x", 1);
                 c.putBool(cab, "OpenState", true);
             });
         },
         {}},
        {"no Contents or OpenState, and odd entries in Feeds",
         [&] {
             storeCabinet("RSS", [&](ICabinets& c, QsCab cab) {
                 QsCab feeds = c.newCabinet();
                 c.putString(feeds, "0", "http://ok.example/rss", 21);
                 c.putInt(feeds, "1", 7);
                 c.putString(feeds, "2", "", 0);
                 c.putCabinet(cab, "Feeds", feeds);
             });
         },
         {"http://ok.example/rss"}},
        {"descriptors of the wrong kinds and a record that is no map",
         [&] {
             storeCabinet("RSS", [&](ICabinets& c, QsCab cab) {
                 feedList(cab, {"http://a.example/rss", "http://b.example/rss"});
                 QsCab contents = c.newCabinet();
                 c.putInt(contents, "http_003a_002f_002fa_002eexample_002frss", 5);
                 QsCab descriptor = c.newCabinet();
                 c.putString(descriptor, "RSS", "garbage", 7);
                 c.putString(descriptor, "RefCount", "many", 4);
                 c.putString(descriptor, "Type", "PNG", 3);
                 c.putCabinet(contents, "http_003a_002f_002fb_002eexample_002frss", descriptor);
                 c.putCabinet(cab, "Contents", contents);
             });
         },
         {"http://a.example/rss", "http://b.example/rss"}},
        {"binary entries missing keys or of other kinds",
         [&] {
             storeCabinet("RSSBinary", [&](ICabinets& c, QsCab cab) {
                 c.putInt(cab, "0", 1);
                 QsCab noURL = c.newCabinet();
                 c.putAtom(noURL, "Type", rsstest::testHost().core().atomFromString("Code"));
                 c.putBinary(noURL, "Content", "x", 1);
                 c.putCabinet(cab, "1", noURL);
                 QsCab wrongKinds = c.newCabinet();
                 c.putString(wrongKinds, "Type", "Code", 4);
                 c.putInt(wrongKinds, "URL", 4);
                 c.putString(wrongKinds, "Content", "x", 1);
                 c.putCabinet(cab, "2", wrongKinds);
             });
         },
         {}},
    };
    for (const Damage& damage : cases) {
        forgetStoredFeeds();
        damage.write();
        CRSSManager store;
        store.addFeed(CEStr("http://live.example/rss"), false, true);
        store.setContents(CEStr("http://live.example/rss"), feed({"1"}));
        store.ensureIsRunning();
        std::vector<std::string> expected{"http://live.example/rss"};
        expected.insert(expected.end(), damage.feeds.begin(), damage.feeds.end());
        EXPECT_EQ(urls(store), expected) << damage.what;
        EXPECT_EQ(store.countArticles(CEStr("http://live.example/rss")), 1) << damage.what;
        // What came back is usable: the feeds merge, count, mark and store again.
        for (const std::string& url : damage.feeds) {
            store.setContents(CEStr(url.c_str()), feed({"1", "2"}));
            store.setIsRead(CEStr(url.c_str()), true);
            EXPECT_TRUE(readFlag(store, url.c_str(), 1)) << damage.what;
            store.removeFeed(CEStr(url.c_str()));
        }
        store.storeFeedContents(true);
    }
}

// Big enough that a save takes a while, so that kills land inside writes.
void fill(CRSSManager& store, int generation) {
    for (int f = 0; f < 30; ++f) {
        std::string url = "http://feeds.example/" + std::to_string(f) + ".xml";
        CAgg record = CAgg::atomMapWithRoom(4);
        CAgg& items = record[rsstest::testHost().core().atomFromString("Items")];
        items.toVector();
        for (int i = 0; i < 30; ++i) {
            CAgg entry = CAgg::atomMapWithRoom(4);
            std::string text(200, static_cast<char>('a' + generation));
            entry[rsstest::testHost().core().atomFromString("Guid")] =
                CAgg((std::to_string(i) + text).c_str());
            items.toVector().push_back(std::move(entry));
        }
        store.addFeed(CEStr(url.c_str()), false, true);
        store.setContents(CEStr(url.c_str()), std::move(record));
    }
    auto* code = static_cast<unsigned char*>(QsMalloc(100001));
    std::memset(code, 'a' + generation, 100000);
    code[100000] = 0;
    store.addCode(CEStr("http://feeds.example/ui.js"), code, 100000);
}

TEST_F(RSSStoreTest, KilledSavesLeaveTheOldOrTheNewStateWhole) {
    TempFolder folder;
    CGVariantCabinets disk(host.core(), folder.path());
    host.support().setCabinets(&disk);
    CRSSManager versions[2];
    QsCab saved[2][2];
    for (int v = 0; v < 2; ++v) {
        versions[v].ensureIsRunning();
        fill(versions[v], v);
    }
    for (int v = 0; v < 2; ++v) {
        versions[v].storeFeedContents(false);
        saved[v][0] = disk.loadCabinet("Collab", "RSS");
        saved[v][1] = disk.loadCabinet("Collab", "RSSBinary");
    }
    ASSERT_FALSE(disk.equal(saved[0][0], saved[1][0]));
    auto start = std::chrono::steady_clock::now();
    versions[0].storeFeedContents(false);
    long storeMicros = std::chrono::duration_cast<std::chrono::microseconds>(
                           std::chrono::steady_clock::now() - start)
                           .count();

    std::mt19937 random(1604);
    std::uniform_int_distribution<long> delay(0, 3 * storeMicros + 1000);
    int torn = 0, changed = 0, stored = 0;
    for (int round = 0; round < 40; ++round) {
        pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int i = stored + 1;; ++i)
                versions[i % 2].storeFeedContents(false);
        }
        usleep(static_cast<useconds_t>(delay(random)));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        for (int part = 0; part < 2; ++part) {
            QsCab found = disk.loadCabinet("Collab", part ? "RSSBinary" : "RSS");
            if (disk.equal(found, saved[1 - stored][part]))
                changed += part == 0;
            else if (!disk.equal(found, saved[stored][part]) &&
                     !disk.equal(found, saved[1 - stored][part]))
                ++torn;
            disk.destroyCabinet(found);
        }
        QsCab now = disk.loadCabinet("Collab", "RSS");
        if (disk.equal(now, saved[1 - stored][0]))
            stored = 1 - stored;
        disk.destroyCabinet(now);
    }
    // The last state on disk restores whole into a fresh store.
    {
        CRSSManager fresh;
        fresh.ensureIsRunning();
        EXPECT_EQ(fresh.feeds().size(), 30u);
        EXPECT_EQ(fresh.countArticles(CEStr("http://feeds.example/29.xml")), 30);
        fresh.storeFeedContents(false);
    }
    for (auto& pair : saved)
        for (QsCab cab : pair)
            disk.destroyCabinet(cab);
    QsCabLocalTerm();
    host.support().setCabinets(&host.cabinets());
    EXPECT_EQ(torn, 0);
    EXPECT_GT(changed, 0) << "no save ever finished: the kills came too early to test anything";
}

} // namespace

namespace {

std::vector<std::string> gBrackets;

TEST_F(RSSStoreTest, ASecondaryInstanceWorksOnTheStoredStateInsideBrackets) {
    {
        CRSSManager primary;
        primary.ensureIsRunning();
        primary.addFeed(CEStr("http://primary.example/rss"), false, true);
        primary.storeFeedContents(false);
    }
    gBrackets.clear();
    CRSSManager::setPlatformHooks([] { return true; }, [] { gBrackets.push_back("begin"); },
                                  [] { gBrackets.push_back("end"); });
    {
        CRSSManager secondary;
        EXPECT_TRUE(secondary.isSecondary());
        secondary.ensureIsRunning();
        EXPECT_FALSE(secondary.isRunning()) << "a secondary instance runs no update engine";
        secondary.addFeed(CEStr("http://secondary.example/rss"), false, true);
        EXPECT_EQ(urls(secondary), (std::vector<std::string>{"http://primary.example/rss",
                                                             "http://secondary.example/rss"}));
        secondary.addToPendingList(CEStr("http://secondary.example/rss"), true);
        EXPECT_TRUE(secondary.pending().empty());
        EXPECT_FALSE(host.idle().isRegistered(CRSSManager::doUpdateFeed, &secondary));
        secondary.removeFeed(CEStr("http://primary.example/rss"));
    }
    CRSSManager::setPlatformHooks(nullptr, nullptr, nullptr);
    EXPECT_EQ(gBrackets, (std::vector<std::string>{"begin", "end", "begin", "end"}));
    // Each change reached the disk as it was made.
    CRSSManager primary;
    primary.ensureIsRunning();
    EXPECT_EQ(urls(primary), std::vector<std::string>{"http://secondary.example/rss"});
}

} // namespace
