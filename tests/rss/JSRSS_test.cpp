// The script RSS object, through scripts on the real engine against the store of the test host.
#include "frame/HostError.h"
#include "frame/QsCore.h"
#include "rss/CRSSManager.h"
#include "rss/CRSSModule.h"
#include "rss/JSRSS.h"
#include "tests/rss/RSSTestSupport.h"
#include "values/CESEventScope.h"
#include "values/QsCab.h"
#include "values/miTime.h"

#include <cstring>

namespace {

using rsstest::RSSTest;

/// Every notice the store sends, one line each.
class Heard : public CRSSManager::Observer {
public:
    std::vector<std::string> log;
    void didAddFeed(EStr url) override { log.push_back(std::string("add ") + EStrGetBytes(url)); }
    void didUpdate(EStr url) override { log.push_back(std::string("update ") + EStrGetBytes(url)); }
    void didRemoveFeed(EStr url) override {
        log.push_back(std::string("remove ") + EStrGetBytes(url));
    }
};

/// What the presentation manager was handed by RSS.addUI.
std::vector<std::string> gInstalledUIs;
void recordUI(ESContext, EStr url, ESObject driver) {
    gInstalledUIs.push_back(std::string(EStrGetBytes(url)) + " " + CES::className(driver));
}

class JSRSSTest : public RSSTest {
protected:
    void SetUp() override {
        forgetStoredFeeds();
        host.installScriptEngine();
        ASSERT_TRUE(module.init());
        store = &CRSSManager::instance();
        store->ensureIsRunning();
        store->addObserver(&heard);
        context = host.scriptEngine().newContext("App", nullptr);
    }
    void TearDown() override {
        JSRSSSetAddUIProc(nullptr);
        gInstalledUIs.clear();
        delete CRSSManager::sm_instance;
        CRSSManager::sm_instance = nullptr;
        module.term();
        // What the scripts held (an icon's stream) is let go before the engine goes.
        host.scriptEngine().destroyContext(context);
        host.scriptEngine().collectGarbage();
        host.removeScriptEngine();
    }

    /// Runs source as a script of the event (a console script unless told); the text of its
    /// value, or "error N" when it fails.
    std::string run(const std::string& source, const char* type = "Console",
                    const char* name = "Exec") {
        std::string text;
        HostFrame frame;
        frame.run([&] {
            CES::EventScope event(context, type, name);
            CES::Val value(context);
            event.evaluate(source.c_str(), static_cast<long>(source.size()), value);
            text = value.text().getString();
        });
        return frame.code() ? "error " + std::to_string(frame.code()) : text;
    }

    CAgg& descriptor(const char* url) { return store->getFeedDescriptor(CEStr(url)); }
    std::string field(const char* url, const char* key) {
        CAgg& d = descriptor(url);
        if (!d.has(key))
            return "-";
        CAgg value(d[key]);
        switch (value.getType()) {
        case CAgg::eQsBool:
            return value.toQsBool() ? "true" : "false";
        case CAgg::eQsAtom:
            return host.core().atomGetString(value.toQsAtom());
        case CAgg::eVoid:
            return "-";
        default:
            return std::to_string(value.toQsInt32());
        }
    }
    /// The URLs waiting in the update queue, one a line.
    std::string queued() {
        std::string out;
        for (const CRSSAsyncUpdate& entry : store->pending())
            out += std::string(entry.url.c_str()) + "\n";
        return out;
    }
    /// Marks the feed as fetched a minute ago with a time to live of an hour.
    void makeFresh(const char* url) {
        CAgg& d = descriptor(url);
        QsTimeRec last{};
        miTimeGetTime(&last, host.idle().currentTime() - 60);
        d["lastAttempt"] = CAgg(last);
        d["State"] = CAgg(200L);
        d["TTL"] = CAgg(60L);
    }
    static unsigned char* owned(const std::string& bytes) {
        auto* copy = static_cast<unsigned char*>(QsMalloc(bytes.size() + 1));
        std::memcpy(copy, bytes.data(), bytes.size());
        copy[bytes.size()] = 0;
        return copy;
    }

    CRSSModule module;
    CRSSManager* store = nullptr;
    Heard heard;
    ESContext context = nullptr;
};

TEST_F(JSRSSTest, PrivilegedMembersWantBatchOrConsoleScripts) {
    store->addFeed(CEStr("http://a.example/rss"), false, true);
    struct Case {
        const char* source;
        const char* elsewhere; // what a script of a document's event gets
    };
    const Case cases[] = {
        {"RSS.addFeed('http://b.example/rss'); 'done'", "error 11"},
        {"RSS.removeFeed('http://a.example/rss'); 'done'", "error 11"},
        {"typeof RSS.getContents('http://a.example/rss')", "error 11"},
        {"RSS.addUI('http://a.example/rss', {}); 'done'", "error 11"},
        {"RSS.feeds.length", "error 11"},
        // Anyone may ask for a fresh copy, or whether feeds go to another reader.
        {"RSS.update('http://a.example/rss'); 'done'", "done"},
        {"RSS.hasExternalReader", "false"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.source);
        EXPECT_EQ(run(c.source, "Doc", "Open"), c.elsewhere);
        EXPECT_EQ(run(c.source, "Console", "Open"), c.elsewhere);
    }
    EXPECT_EQ(store->feeds().size(), 1u) << "nothing was added or removed";
    EXPECT_EQ(run("RSS.addFeed('http://b.example/rss'); RSS.feeds.length", "Batch", "Exec"), "2");
    EXPECT_EQ(run("RSS.removeFeed('http://b.example/rss'); RSS.feeds.length"), "1");
}

TEST_F(JSRSSTest, AddFeedByTypeAndParameter) {
    struct Case {
        const char* call;
        const char* url;
        const char* outcome; // the call's value, or its error
        const char* type;
        const char* hidden;
        const char* persistent;
        const char* ttl;
    };
    const Case cases[] = {
        {"RSS.addFeed('http://a.example/rss')", "http://a.example/rss", "undefined", "RSS", "false",
         "true", "-"},
        {"RSS.addFeed({cURL: 'https://b.example/rss', bHidden: true, bPersistent: false})",
         "https://b.example/rss", "undefined", "RSS", "true", "false", "-"},
        {"RSS.addFeed('http://c.example/rss', false, true, 'JS')", "http://c.example/rss",
         "undefined", "Code", "true", "false", "10000"},
        {"RSS.addFeed({cURL: 'http://d.example/i.png', cType: 'Icon'})", "http://d.example/i.png",
         "undefined", "PNG", "true", "true", "10000"},
        {"RSS.addFeed('http://e.example/ui.js', false, false, 'UI')", "http://e.example/ui.js",
         "undefined", "UI", "true", "true", "10000"},
        // The type is compared exactly.
        {"RSS.addFeed('http://f.example/rss', false, true, 'js')", "http://f.example/rss",
         "undefined", "RSS", "false", "true", "-"},
        // Only web feeds, and cURL is required.
        {"RSS.addFeed('ftp://g.example/rss')", "ftp://g.example/rss", "error 5", "-", "-", "-",
         "-"},
        {"RSS.addFeed('ftp://g.example/rss', false, true, 'Icon')", "ftp://g.example/rss",
         "error 5", "-", "-", "-", "-"},
        {"RSS.addFeed('feed://h.example/rss')", "feed://h.example/rss", "error 5", "-", "-", "-",
         "-"},
        {"RSS.addFeed('file:///tmp/rss.xml')", "file:///tmp/rss.xml", "error 5", "-", "-", "-",
         "-"},
        {"RSS.addFeed('not a url')", "not a url", "error 5", "-", "-", "-", "-"},
        {"RSS.addFeed()", "", "error 5", "-", "-", "-", "-"},
        {"RSS.addFeed({bHidden: true})", "", "error 5", "-", "-", "-", "-"},
    };
    size_t subscribed = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.call);
        EXPECT_EQ(run(c.call), c.outcome);
        bool added = std::string(c.outcome) == "undefined";
        subscribed += added ? 1 : 0;
        EXPECT_EQ(store->hasFeed(CEStr(c.url)), added);
        EXPECT_EQ(store->feeds().size(), subscribed);
        EXPECT_EQ(field(c.url, "Type"), c.type);
        EXPECT_EQ(field(c.url, "Hidden"), c.hidden);
        EXPECT_EQ(field(c.url, "Persistent"), c.persistent);
        EXPECT_EQ(field(c.url, "TTL"), c.ttl);
        EXPECT_EQ(field(c.url, "RefCount"), added ? "1" : "-");
    }
    // Each new feed was forced into the queue, once.
    EXPECT_EQ(queued(), "http://a.example/rss\nhttps://b.example/rss\nhttp://c.example/rss\n"
                        "http://d.example/i.png\nhttp://e.example/ui.js\nhttp://f.example/rss\n");
}

TEST_F(JSRSSTest, AddFeedOfASubscribedFeedDoesNothing) {
    const char* url = "http://a.example/rss";
    run("RSS.addFeed('http://a.example/rss')");
    store->setETag(CEStr(url), CEStr("\"v1\""));
    heard.log.clear();
    EXPECT_EQ(run("RSS.addFeed('http://a.example/rss', true, false, 'JS', false); 'again'"),
              "again");
    CEStr etag;
    EXPECT_TRUE(store->getETag(CEStr(url), etag)) << "a fetch would have cleared the validators";
    EXPECT_EQ(field(url, "RefCount"), "1");
    EXPECT_EQ(field(url, "Type"), "RSS");
    EXPECT_EQ(field(url, "Hidden"), "false");
    EXPECT_TRUE(heard.log.empty());
}

TEST_F(JSRSSTest, AddFeedFetchesAtOnceOrQueues) {
    CAgg when;
    EXPECT_EQ(run("RSS.addFeed({cURL: 'http://now.example/rss', bUpdateAsync: false}); 1"), "1");
    EXPECT_TRUE(store->getLastChecked(CEStr("http://now.example/rss"), when))
        << "the blocking check stamps the attempt";
    EXPECT_EQ(queued(), "");
    EXPECT_EQ(run("RSS.addFeed('http://later.example/rss'); 1"), "1");
    EXPECT_FALSE(store->getLastChecked(CEStr("http://later.example/rss"), when));
    EXPECT_EQ(queued(), "http://later.example/rss\n");
}

TEST_F(JSRSSTest, RemoveFeedDropsOneReference) {
    const char* url = "http://a.example/rss";
    store->addFeed(CEStr(url), false, true);
    store->addFeed(CEStr(url), false, true);
    heard.log.clear();
    struct Step {
        const char* source;
        const char* outcome;
        bool stays;
    };
    const Step steps[] = {
        {"RSS.removeFeed('http://a.example/rss'); 1", "1", true},
        {"RSS.removeFeed({cURL: 'http://a.example/rss'}); 1", "1", false},
        {"RSS.removeFeed('http://a.example/rss'); 1", "1", false},
        {"RSS.removeFeed('http://never.example/rss'); 1", "1", false},
        {"RSS.removeFeed(); 1", "error 5", false},
    };
    for (const Step& s : steps) {
        SCOPED_TRACE(s.source);
        EXPECT_EQ(run(s.source), s.outcome);
        EXPECT_EQ(store->hasFeed(CEStr(url)), s.stays);
    }
    EXPECT_EQ(heard.log, std::vector<std::string>{"remove http://a.example/rss"});
}

TEST_F(JSRSSTest, UpdateQueuesStaleFeedsOrForcesOne) {
    const char* fresh = "http://fresh.example/rss";
    const char* stale = "http://stale.example/rss";
    for (const char* url : {fresh, stale})
        store->addFeed(CEStr(url), false, true);
    makeFresh(fresh);
    store->setETag(CEStr(fresh), CEStr("\"v1\""));

    // Without a URL only what is stale goes into the queue.
    EXPECT_EQ(run("RSS.update(); 1"), "1");
    EXPECT_EQ(queued(), "http://stale.example/rss\n");
    CEStr etag;
    EXPECT_TRUE(store->getETag(CEStr(fresh), etag));

    // A subscribed URL is fetched whatever its age, without validators.
    EXPECT_EQ(run("RSS.update({cURL: 'http://fresh.example/rss'}); 1", "Doc", "Open"), "1");
    EXPECT_EQ(queued(), "http://stale.example/rss\nhttp://fresh.example/rss\n");
    EXPECT_FALSE(store->getETag(CEStr(fresh), etag));

    // An unknown URL is no error and does nothing.
    EXPECT_EQ(run("RSS.update('http://unknown.example/rss'); 1"), "1");
    EXPECT_FALSE(store->hasFeed(CEStr("http://unknown.example/rss")));
    EXPECT_EQ(store->pending().size(), 2u);
}

TEST_F(JSRSSTest, UpdateBlockingAndRecursive) {
    const char* url = "http://a.example/rss";
    store->addFeed(CEStr(url), false, true);
    std::string text = rsstest::readData("blog-creators-and-comments.xml");
    CRSSReader reader;
    CAgg record = rsstest::readFeed(text, reader);
    std::string icon = std::string(kInboxNamespace) + ":icon";
    CAgg& extension = record[host.core().atomFromString("Extension")];
    extension[icon.c_str()] = CAgg("/favicon.png");
    std::string subfeed = std::string(kInboxNamespace) + ":subfeed";
    CAgg& items = record[host.core().atomFromString("Items")];
    items.toVector()[2][host.core().atomFromString("Extension")][subfeed.c_str()] =
        CAgg("comments/1031.xml");
    store->setContents(CEStr(url), record);
    makeFresh(url);

    EXPECT_EQ(run("RSS.update('http://a.example/rss', false); 1"), "1");
    EXPECT_EQ(queued(), "") << "a blocking update does not queue";
    CAgg when;
    EXPECT_TRUE(store->getLastChecked(CEStr(url), when));

    // Recursive: the feed, then its icon and the sub-feed of an item, by the feed's URL.
    EXPECT_EQ(run("RSS.update('http://a.example/rss', true, 'recursive'); 1"), "1");
    EXPECT_EQ(queued(), "http://a.example/rss\nhttp://a.example/favicon.png\n"
                        "http://a.example/comments/1031.xml\n");
}

TEST_F(JSRSSTest, LocalUpdateRedrawsAfterTheScript) {
    const char* url = "http://a.example/rss";
    store->addFeed(CEStr(url), false, true);
    heard.log.clear();
    EXPECT_EQ(run("RSS.update('http://a.example/rss', true, 'local'); 'returned'"), "returned");
    EXPECT_TRUE(heard.log.empty()) << "the redraw comes later";
    EXPECT_EQ(queued(), "") << "a local update fetches nothing";
    host.idle().runIdle();
    EXPECT_EQ(heard.log, std::vector<std::string>{"update http://a.example/rss"});

    // A feed removed before the redraw is not drawn.
    heard.log.clear();
    run("RSS.update('http://a.example/rss', true, 'local'); "
        "RSS.removeFeed('http://a.example/rss')");
    host.idle().runIdle();
    EXPECT_EQ(heard.log, std::vector<std::string>{"remove http://a.example/rss"});

    // A redraw still waiting when the object's module goes is dropped.
    store->addFeed(CEStr(url), false, true);
    run("RSS.update('http://a.example/rss', true, 'local')");
    EXPECT_EQ(host.idle().delayedCount(), 1u);
    JSRSSCancelLocalUpdates();
    EXPECT_EQ(host.idle().delayedCount(), 0u);
}

TEST_F(JSRSSTest, GetContentsByType) {
    const char* rss = "http://a.example/rss";
    run("RSS.addFeed('http://a.example/rss')");
    EXPECT_EQ(run("JSON.stringify(RSS.getContents('http://a.example/rss'))"), "{}")
        << "a feed that has not arrived is a record without items";
    CRSSReader reader;
    store->setContents(
        CEStr(rss), rsstest::readFeed(rsstest::readData("blog-creators-and-comments.xml"), reader));
    run("RSS.addFeed('http://a.example/icon.png', false, true, 'Icon');"
        "RSS.addFeed('http://a.example/bad.png', false, true, 'Icon');"
        "RSS.addFeed('http://a.example/code.js', false, true, 'JS');"
        "RSS.addFeed('http://a.example/ui.js', false, true, 'UI');"
        "RSS.addFeed('http://a.example/none.js', false, true, 'JS');"
        "RSS.addFeed('http://a.example/internal')");
    std::ifstream png(std::string(VELL_TEST_DATA) + "/rss/icons/square-16x16.png",
                      std::ios::binary);
    std::string pngBytes((std::istreambuf_iterator<char>(png)), std::istreambuf_iterator<char>());
    store->addIcon(CEStr("http://a.example/icon.png"), owned(pngBytes), pngBytes.size());
    store->addIcon(CEStr("http://a.example/bad.png"), owned("not a png"), 9);
    std::string code = "var greeting = 'h\xC3\xA9llo';";
    store->addCode(CEStr("http://a.example/code.js"), owned(code), code.size());
    store->addCode(CEStr("http://a.example/ui.js"), owned("({})"), 4);
    descriptor("http://a.example/internal")["Type"].toQsAtom() =
        host.core().atomFromString("Internal");

    struct Case {
        const char* source;
        const char* expected;
    };
    const Case cases[] = {
        {"var r = RSS.getContents('http://a.example/rss'); [r.Title, r.Items.length, "
         "r.Items[0].Title, r.Items[0].IsRead, r.Items[4].Index, r.URL].join('|')",
         "Marguerite's Kitchen|5|Notes on a slow cooker sourdough|false|4|http://a.example/rss"},
        {"RSS.getContents({cURL: 'http://a.example/rss'}).Items[1].Link",
         "https://margueriteskitchen.example.net/the-ten-minute-pantry-audit/"},
        // An icon: a read stream of its pixels, four bytes each, two hex digits a byte.
        {"var s = RSS.getContents('http://a.example/icon.png'); "
         "[s.width, s.height, s.read(100000).length, s.read(10).length].join('|')",
         "16|16|2048|0"},
        {"typeof RSS.getContents('http://a.example/bad.png')", "undefined"},
        {"RSS.getContents('http://a.example/code.js')", "var greeting = 'h\xC3\xA9llo';"},
        {"RSS.getContents('http://a.example/ui.js')", "({})"},
        {"typeof RSS.getContents('http://a.example/none.js')", "undefined"},
        {"typeof RSS.getContents('http://a.example/internal')", "undefined"},
        {"typeof RSS.getContents('http://never.example/rss')", "undefined"},
        {"RSS.getContents()", "error 5"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.source);
        EXPECT_EQ(run(c.source), c.expected);
    }
    // Changing the script's copy leaves the store's record alone.
    run("RSS.getContents('http://a.example/rss').Items.length = 0");
    EXPECT_EQ(store->countArticles(CEStr(rss)), 5);
}

TEST_F(JSRSSTest, AnIconStreamOutlivesItsFeed) {
    run("RSS.addFeed('http://a.example/icon.png', false, true, 'Icon')");
    std::ifstream png(std::string(VELL_TEST_DATA) + "/rss/icons/square-6x6.png", std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(png)), std::istreambuf_iterator<char>());
    store->addIcon(CEStr("http://a.example/icon.png"), owned(bytes), bytes.size());
    EXPECT_EQ(run("var s = RSS.getContents('http://a.example/icon.png'); "
                  "RSS.removeFeed('http://a.example/icon.png'); s.read(1000).length"),
              "288");
}

TEST_F(JSRSSTest, AddUIWantsThePresentationManager) {
    store->addFeed(CEStr("http://a.example/rss"), false, true);
    const char* call = "RSS.addUI('http://a.example/rss', {getTitle: function() {}}); 'added'";
    EXPECT_EQ(run(call), "error 11") << "there is no presentation manager yet";
    JSRSSSetAddUIProc(recordUI);
    struct Case {
        const char* source;
        const char* outcome;
    };
    const Case cases[] = {
        {call, "added"},
        {"RSS.addUI({cURL: 'http://b.example/rss', oDriver: new Array()}); 'added'", "added"},
        {"RSS.addUI('http://a.example/rss'); 'added'", "error 5"},
        {"RSS.addUI('http://a.example/rss', 'driver'); 'added'", "error 5"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.source);
        EXPECT_EQ(run(c.source), c.outcome);
    }
    EXPECT_EQ(gInstalledUIs, (std::vector<std::string>{"http://a.example/rss Object",
                                                       "http://b.example/rss Array"}));
}

TEST_F(JSRSSTest, FeedsListsEveryURLInOrder) {
    EXPECT_EQ(run("String(RSS) + ' ' + JSON.stringify(RSS.feeds)"), "[object RSS] []");
    run("RSS.addFeed('http://b.example/rss'); RSS.addFeed('http://a.example/rss', true);"
        "RSS.addFeed('http://c.example/i.png', false, true, 'Icon')");
    store->moveFeed(CEStr("http://b.example/rss"), CEStr("http://c.example/i.png"), true);
    EXPECT_EQ(run("JSON.stringify(RSS.feeds)"),
              "[\"http://c.example/i.png\",\"http://b.example/rss\",\"http://a.example/rss\"]");
    // A new array each time, and the property cannot be set.
    EXPECT_EQ(run("RSS.feeds.push('x'); RSS.feeds = []; RSS.feeds.length"), "3");
    EXPECT_EQ(run("RSS.hasExternalReader = true; RSS.hasExternalReader"), "false");
}

TEST_F(JSRSSTest, ADeadObjectAnswersNothing) {
    store->addFeed(CEStr("http://a.example/rss"), false, true);
    CES::markDead(CES::Context(context).global()["RSS"].get().object());
    struct Case {
        const char* source;
        const char* outcome;
    };
    const Case cases[] = {
        {"RSS.feeds", "error 13"},
        {"RSS.hasExternalReader", "error 13"},
        {"String(RSS.addFeed('http://b.example/rss'))", "undefined"},
        {"String(RSS.removeFeed('http://a.example/rss'))", "undefined"},
        {"String(RSS.update())", "undefined"},
        {"String(RSS.getContents('http://a.example/rss'))", "undefined"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.source);
        EXPECT_EQ(run(c.source), c.outcome);
    }
    EXPECT_EQ(store->feeds().size(), 1u);
    EXPECT_EQ(queued(), "");
}

} // namespace
