// Feeds' own presentations: coming, changing and going, the context focus, and what the panel
// redraws for each.
#include "tests/tracker/TrackerTestSupport.h"
#include "tracker/CInboxData.h"

namespace {

using trackertest::TrackerTest;

/// A presentation that records its life and titles every item "custom".
class RecordingUI : public CRSSFeedUI {
public:
    explicit RecordingUI(std::vector<std::string>& log) : m_log(log) {}
    ~RecordingUI() override { m_log.push_back("deleted"); }
    void didLoad() override { m_log.push_back("didLoad"); }
    void willUnload() override { m_log.push_back("willUnload"); }
    void willLoseContextFocus() override { m_log.push_back("willLoseContextFocus"); }
    CEStr getTitle(EStr, long) override { return CEStr("custom", kEStrPDFDoc); }

private:
    std::vector<std::string>& m_log;
};

class Observer : public CRSSFeedUIObserver {
public:
    std::vector<std::string> log;
    void didAddUI(EStr url) override { log.push_back("add " + EStrToUTF8(url)); }
    void didUpdateUI(EStr url) override { log.push_back("update " + EStrToUTF8(url)); }
    void didRemoveUI(EStr url) override { log.push_back("remove " + EStrToUTF8(url)); }
};

class FeedUIManagerTest : public TrackerTest {};

TEST_F(FeedUIManagerTest, PresentationsComeChangeAndGo) {
    CRSSFeedUIManager& manager = CRSSFeedUIManager::instance();
    Observer observer;
    manager.addObserver(&observer);
    std::vector<std::string> first, second;
    CEStr url("http://a.example/rss", kEStrPDFDoc);
    EXPECT_EQ(manager.getFeedUI(url), &manager.defaultFeedUI());
    manager.addFeedUI(url, new RecordingUI(first));
    EXPECT_EQ(first, std::vector<std::string>{"didLoad"});
    manager.addFeedUI(url, new RecordingUI(second));
    EXPECT_EQ(first, (std::vector<std::string>{"didLoad", "deleted"}));
    EXPECT_TRUE(second.empty()) << "a replacement is not loaded again";
    manager.removeFeedUI(url);
    EXPECT_EQ(manager.getFeedUI(url), &manager.defaultFeedUI());
    EXPECT_TRUE(second.empty()) << "deletion waits for a delayed call";
    host.idle().advanceTicks(1);
    EXPECT_EQ(second, (std::vector<std::string>{"willUnload", "deleted"}));
    EXPECT_EQ(observer.log,
              (std::vector<std::string>{"add http://a.example/rss", "update http://a.example/rss",
                                        "remove http://a.example/rss"}));
    manager.removeObserver(&observer);
}

TEST_F(FeedUIManagerTest, TheContextPaneShowsOnePresentationAtATime) {
    addFeed("http://a.example/rss", makeRecord("Alpha", {{"a1", "", "one"}}));
    addFeed("http://b.example/rss", makeRecord("Beta", {{"b1", "", "two"}}));
    std::vector<std::string> log;
    auto* own = new RecordingUI(log);
    CRSSFeedUIManager::instance().addFeedUI(CEStr("http://b.example/rss", kEStrPDFDoc), own);
    openPanel();
    EXPECT_EQ(dump(), "*Alpha\n  *a1\n*Beta\n  *custom\n")
        << "items titled by their own presentation";
    layer.click(tree(), layer.findItem(tree(), "custom"));
    EXPECT_EQ(CRSSFeedUIManager::instance().contextFocus(), own);
    layer.click(tree(), layer.findItem(tree(), "a1"));
    CRSSFeedUI& fallback = CRSSFeedUIManager::instance().defaultFeedUI();
    EXPECT_EQ(CRSSFeedUIManager::instance().contextFocus(), &fallback);
    EXPECT_EQ(log, (std::vector<std::string>{"didLoad", "willLoseContextFocus"}));
    // Each presentation's views live in the pane; only the focused one shows.
    FakeView* pane = layer.view(CVxInboxPanel::sm_instance->getContextContainer());
    ASSERT_EQ(pane->children.size(), 2u);
    EXPECT_FALSE(pane->children[0]->visible);
    EXPECT_TRUE(pane->children[1]->visible);
    // A presentation that goes: its feed is drawn by the default one again.
    CRSSFeedUIManager::instance().removeFeedUI(CEStr("http://b.example/rss", kEStrPDFDoc));
    host.idle().advanceTicks(1);
    EXPECT_EQ(dump(), "Alpha\n  a1\nBeta\n  b1\n");
}

TEST_F(FeedUIManagerTest, StoreNoticesRedrawWhatChanged) {
    std::string thread = "http://a.example/comments";
    addFeed("http://a.example/rss",
            makeRecord("Posts", {{"Post", "", "", {{"subfeed", thread}}}, {"Other", "", ""}}));
    addFeed(thread, makeRecord("Comments", {{"Reply", "", ""}}));
    descriptor(thread)["Hidden"].toQsBool() = 1;
    openPanel();
    layer.resetCounters();
    // Marking a comment read (a script or another window did it) redraws the comment, its item
    // and the feed.
    itemOf(thread, 0)["IsRead"].toQsBool() = 1;
    store->notifyDidMarkRead(CEStr(thread.c_str(), kEStrPDFDoc), 0, 1);
    EXPECT_EQ(layer.invalidations(), 3);
    EXPECT_EQ(dump(), "*Posts\n  *Post\n    Reply\n  *Other\n");
    // Mark all read: every item of the feed and its thread.
    store->setIsRead(CEStr("http://a.example/rss", kEStrPDFDoc), true);
    EXPECT_EQ(dump(), "Posts\n  Post\n    Reply\n  Other\n");
    store->removeFeed(CEStr("http://a.example/rss", kEStrPDFDoc));
    EXPECT_EQ(dump(), "");
}

TEST_F(FeedUIManagerTest, NextUnreadWalksTheTreeAndWraps) {
    addFeed("http://a.example/rss", makeRecord("Alpha", {{"a1", "", ""}, {"a2", "", ""}}));
    addFeed("http://b.example/rss", makeRecord("Beta", {{"b1", "", ""}}));
    itemOf("http://a.example/rss", 1)["IsRead"].toQsBool() = 1;
    CVxInboxPanel& panel = openPanel();
    std::vector<std::string> visited;
    while (panel.goToNextUnread())
        visited.push_back(EStrToUTF8(panel.getSelection()->getTitle()));
    EXPECT_EQ(visited, (std::vector<std::string>{"a1", "b1"}))
        << "each selection marks its item read, so the walk ends";
    EXPECT_EQ(dump(), "Alpha\n  a1\n  a2\nBeta\n  b1\n");
}

} // namespace
