// The Tracker panel against the recording view layer: what the tree shows for the store's feeds,
// and what the user's clicks, keys, buttons and prompts do.
#include "tests/tracker/TrackerTestSupport.h"
#include "tracker/CArticleData.h"
#include "tracker/CInboxData.h"

namespace {

using trackertest::ItemFields;
using trackertest::TrackerTest;

class InboxPanelTest : public TrackerTest {
public:
    /// Tells the panel a feed changed, as the update engine does after a fetch.
    void updated(const std::string& url) {
        CVxInboxPanel::sm_instance->didUpdate(CEStr(url.c_str(), kEStrPDFDoc));
    }
    VxTreeItem node(const std::string& title) { return layer.findItem(tree(), title); }
};

TEST_F(InboxPanelTest, RefreshRulesPlaceEachFeed) {
    struct Case {
        const char* name;
        std::function<void(InboxPanelTest&)> setUp;
        const char* expected;
    };
    const Case cases[] = {
        {"a working feed sits at the top with its unread items in bold",
         [](InboxPanelTest& t) {
             t.addFeed("http://a.example/rss",
                       t.makeRecord("News", {{"One", "http://a.example/1", "first"},
                                             {"", "", "<p>Only a <b>description</b></p>"}}));
         },
         "*News\n  *One\n  *Only a description\n"},
        {"a feed that never answered sits under Subscription Errors, titled by its URL",
         [](InboxPanelTest& t) {
             t.addFeed("http://ok.example/rss", t.makeRecord("Fine", {}));
             t.addFeed("http://down.example/a-feed-with-a-rather-long-address.xml", CAgg(), -1,
                       false);
         },
         "Fine\nSubscription Errors\n  "
         "http://down.example/a-feed-with-a-rather-long-address.x...\n"},
        {"a verified feed made stale stays in place but counts as failing: its URL for a title",
         [](InboxPanelTest& t) {
             t.addFeed("http://stale.example/rss", t.makeRecord("Stale", {{"x", "", ""}}), 0, true);
         },
         "*http://stale.example/rss\n  *x\n"},
        {"a hidden feed has no node, even with items",
         [](InboxPanelTest& t) {
             t.addFeed("http://hidden.example/rss", t.makeRecord("Hidden", {{"x", "", ""}}));
             t.descriptor("http://hidden.example/rss")["Hidden"].toQsBool() = 1;
         },
         ""},
        {"an item without a group goes under Other; groups keep their first appearance",
         [](InboxPanelTest& t) {
             t.addFeed("http://g.example/rss",
                       t.makeRecord("Grouped",
                                    {{"a", "", "", {{"topic", "Red"}}},
                                     {"b", "", ""},
                                     {"c", "", "", {{"topic", "Blue"}}},
                                     {"d", "", "", {{"topic", "Red"}}}},
                                    {{"grouping", std::string(kInboxNamespace) + ":topic"}}));
         },
         "*Grouped\n  *Red\n    *a\n    *d\n  *Other\n    *b\n  *Blue\n    *c\n"},
        {"sorting by a key drops items with equal or no values",
         [](InboxPanelTest& t) {
             CAgg record = t.makeRecord(
                 "Sorted", {{"b", "", ""}, {"a", "", ""}, {"a2", "", ""}, {"", "", "no title"}},
                 {{"sortBy", "Title"}});
             t.addFeed("http://s.example/rss", std::move(record));
         },
         "*Sorted\n  *a\n  *a2\n  *b\n"},
        {"an item marked hidden in the Tracker's namespace is left out",
         [](InboxPanelTest& t) {
             t.addFeed("http://h.example/rss",
                       t.makeRecord("Some hidden",
                                    {{"shown", "", ""}, {"gone", "", "", {{"hidden", "true"}}}}));
         },
         "*Some hidden\n  *shown\n"},
        {"a feed with no items has no children and no bold",
         [](InboxPanelTest& t) { t.addFeed("http://e.example/rss", t.makeRecord("Empty", {})); },
         "Empty\n"},
    };
    for (const Case& c : cases) {
        TearDown();
        SetUp();
        c.setUp(*this);
        openPanel();
        EXPECT_EQ(dump(), c.expected) << c.name;
    }
}

TEST_F(InboxPanelTest, AFeedMovesOutOfErrorsOnceItAnswers) {
    addFeed("http://a.example/rss", makeRecord("Alpha", {}));
    addFeed("http://b.example/rss", CAgg(), -1, false);
    addFeed("http://c.example/rss", CAgg(), 404, false);
    openPanel();
    EXPECT_EQ(dump(),
              "Alpha\nSubscription Errors\n  http://b.example/rss\n  http://c.example/rss\n");
    store->setContents(CEStr("http://b.example/rss"), makeRecord("Beta", {{"new", "", ""}}));
    setState("http://b.example/rss", 200, true);
    updated("http://b.example/rss");
    EXPECT_EQ(dump(), "Alpha\nSubscription Errors\n  http://c.example/rss\n*Beta\n  *new\n")
        << "the errors root stays while another feed fails";
    store->setContents(CEStr("http://c.example/rss"), makeRecord("Gamma", {}));
    setState("http://c.example/rss", 200, true);
    updated("http://c.example/rss");
    EXPECT_EQ(dump(), "Alpha\n*Beta\n  *new\nGamma\n") << "an empty errors root goes";
    // A refresh keeps a feed where it was.
    updated("http://a.example/rss");
    EXPECT_EQ(dump(), "Alpha\n*Beta\n  *new\nGamma\n");
}

TEST_F(InboxPanelTest, CommentThreadsShowUnderTheirItems) {
    std::string thread = "http://a.example/comments/1";
    addFeed("http://a.example/rss",
            makeRecord("Posts", {{"Post", "", "", {{"subfeed", thread}}}, {"Other post", "", ""}}));
    addFeed(thread, makeRecord("Comments", {{"First!", "", ""}, {"Second", "", ""}}));
    descriptor(thread)["Hidden"].toQsBool() = 1;
    // A thread that names its own item's feed again stops there.
    addFeed("http://loop.example/rss",
            makeRecord("Loop", {{"Self", "", "", {{"subfeed", "http://loop.example/rss"}}}}));
    openPanel();
    EXPECT_EQ(dump(), "*Posts\n  *Post\n    *First!\n    *Second\n  *Other post\n"
                      "*Loop\n  *Self\n");
}

TEST_F(InboxPanelTest, DocumentFeedsGoUnderTheirDocument) {
    addFeed("http://a.example/top", makeRecord("Top", {}));
    addFeed("http://d.example/review/notes.xml", makeRecord("Review notes", {}));
    store->addDocumentFeed(reinterpret_cast<VxDoc>(0x10),
                           CEStr("http://d.example/review/notes.xml"));
    openPanel();
    EXPECT_EQ(dump(), "Top\nDocument Subscriptions\n  notes.xml\n    Review notes\n");
    VxTreeItem group = node("notes.xml");
    EXPECT_EQ(layer.itemToolTip(tree(), group),
              "These are subscriptions that are specific to notes.xml.");
    EXPECT_EQ(layer.itemToolTip(tree(), node("Document Subscriptions")),
              "These are subscriptions that are specific to a document.");
}

TEST_F(InboxPanelTest, SelectingAnItemMarksItReadAndRedrawsOnlyItsBranch) {
    addFeed("http://a.example/rss",
            makeRecord("News", {{"One", "http://a.example/1", "first item"}, {"Two", "", "two"}}));
    addFeed("http://b.example/rss", makeRecord("Other", {{"Else", "", ""}}));
    addFeed("http://quiet.example/rss",
            makeRecord("Quiet", {{"Q", "", ""}}, {{"markUnread", "false"}}));
    openPanel();
    EXPECT_EQ(dump(), "*News\n  *One\n  *Two\n*Other\n  *Else\n*Quiet\n  Q\n")
        << "items of a feed without read state show as read, the feed still counts them";
    layer.resetCounters();
    layer.click(tree(), node("One"));
    EXPECT_EQ(dump(), "*News\n  One\n  *Two\n*Other\n  *Else\n*Quiet\n  Q\n");
    EXPECT_TRUE(BoolOf(itemOf("http://a.example/rss", 0), "IsRead"));
    EXPECT_EQ(layer.invalidations(), 2) << "the item and its feed, nothing else";
    EXPECT_EQ(layer.view(tree())->fullRedraws, 0);
    // The pane shows the item's page.
    CRSSFeedUI& ui = CRSSFeedUIManager::instance().defaultFeedUI();
    EXPECT_TRUE(ui.isViewLoaded());
    EXPECT_EQ(EStrToUTF8(ui.getCurrentURL()), "http://a.example/rss");
    EXPECT_EQ(ui.getCurrentItem(), 0);
    FakeView* html = layer.view(ui.getHTMLView());
    ASSERT_NE(html, nullptr);
    EXPECT_EQ(std::get<0>(std::any_cast<std::tuple<std::string>>(html->props["GoToFile"])),
              ui.contextFile());

    layer.resetCounters();
    layer.click(tree(), node("Two"));
    layer.click(tree(), node("Else"));
    EXPECT_EQ(dump(), "News\n  One\n  Two\nOther\n  Else\n*Quiet\n  Q\n");
    layer.resetCounters();
    layer.click(tree(), node("Q"));
    EXPECT_FALSE(BoolOf(itemOf("http://quiet.example/rss", 0), "IsRead"))
        << "selecting an item of a feed whose markUnread is false changes nothing";
    EXPECT_EQ(layer.invalidations(), 0);
}

TEST_F(InboxPanelTest, DoubleClickAndOpenFollowLinks) {
    addFeed("http://a.example/rss",
            makeRecord("News", {{"Linked", "http://a.example/story", ""}, {"Bare", "", ""}}));
    openPanel();
    layer.doubleClick(tree(), node("Linked"));
    layer.doubleClick(tree(), node("Bare"));
    layer.doubleClick(tree(), node("News")) /* a feed from RSS keeps no link */;
    EXPECT_EQ(newOpenedURLs(), std::vector<std::string>{"http://a.example/story"});
    layer.click(tree(), node("Linked"));
    VxView open = layer.viewNamed("INBOX:Open");
    EXPECT_TRUE(layer.buttonEnabled(open));
    EXPECT_TRUE(layer.pressButton(open));
    EXPECT_TRUE(layer.pressKey(tree(), kVxKeyEnter));
    EXPECT_EQ(newOpenedURLs().size(), 3u);
    layer.click(tree(), node("Bare"));
    EXPECT_FALSE(layer.buttonEnabled(open));
}

TEST_F(InboxPanelTest, BindBuildsTheToolBarAndKeepsTheSplitter) {
    QsCab cab = QsCabAcquireLocal("Collab", "Tracker");
    host.cabinets().putInt(cab, "PositionSplitter", 321);
    QsCabSaveLocal(cab);
    QsCabReleaseLocal(cab);
    openPanel();
    std::vector<std::string> buttons;
    FakeView* bar = layer.view(layer.viewNamed("INBOX:InboxToolBar"));
    ASSERT_NE(bar, nullptr);
    for (FakeView* button : bar->children)
        buttons.push_back(button->name + (button->props.count("MakeSeparator") ? " |" : ""));
    EXPECT_EQ(buttons, (std::vector<std::string>{"INBOX:Open", "INBOX:Expand", "INBOX:Collapse",
                                                 "INBOX:S0 |", "INBOX:Services", "INBOX:S1 |"}));
    FakeView* services = layer.view(layer.viewNamed("INBOX:Services"));
    auto menu = std::any_cast<VxMenu>(services->props["Menu"]);
    EXPECT_EQ(layer.MenuItemNames(menu),
              (std::vector<std::string>{"INBOX:Add", "INBOX:Search", "INBOX:Remove",
                                        "INBOX:Refresh", "INBOX:ConvertToPDF"}));
    EXPECT_NE(std::any_cast<VxIcon>(services->props["Icon"]), nullptr);
    EXPECT_EQ(std::any_cast<std::string>(services->props["HelpText"]),
              "Add Services to the Tracker");
    VxView splitter = layer.viewNamed("INBOX:Splitter");
    EXPECT_EQ(layer.splitterView()->GetHorizontalOpenToSize(splitter), 321);
    layer.splitterView()->SetHorizontalOpenToSize(splitter, 180);
    DestroyInboxPanel();
    cab = QsCabAcquireLocal("Collab", "Tracker");
    EXPECT_EQ(host.cabinets().getInt(cab, "PositionSplitter"), 180);
    QsCabReleaseLocal(cab);
}

TEST_F(InboxPanelTest, SubscribePromptsUntilAUsableURL) {
    addFeed("http://have.example/rss", makeRecord("Have", {}));
    struct Case {
        std::string clipboard;
        std::vector<std::optional<std::string>> answers;
        std::vector<std::string> alerts;
        std::vector<std::string> defaults;
        bool subscribed;
    };
    const Case cases[] = {
        {"http://clip.example/feed",
         {"http://new.example/rss"},
         {},
         {"http://clip.example/feed"},
         true},
        {"not a url", {std::nullopt}, {}, {""}, false},
        {"",
         {"http://have.example/rss", "", "ftp://x.example/f", "https://new.example/atom"},
         {"The subscription http://have.example/rss has already been added to the Tracker.",
          "There was a problem with the subscription URL: \"\". Please enter the URL of a RSS or "
          "ATOM subscription feed.",
          "There was a problem with the subscription URL: \"ftp://x.example/f\". Please enter "
          "the URL of a RSS or ATOM subscription feed."},
         {"", "http://have.example/rss", "", "ftp://x.example/f"},
         true},
    };
    openPanel();
    for (const Case& c : cases) {
        alertsBefore = host.ui().alerts().size();
        questionsBefore = host.ui().questions().size();
        layer.SetClipboardText(c.clipboard.c_str());
        for (const auto& answer : c.answers)
            host.ui().respondNext(answer);
        std::vector<CEStr> before = store->feeds();
        auto menu =
            std::any_cast<VxMenu>(layer.view(layer.viewNamed("INBOX:Services"))->props["Menu"]);
        EXPECT_TRUE(layer.ExecuteMenuItem(menu, "INBOX:Add"));
        EXPECT_EQ(newAlerts(), c.alerts) << c.clipboard;
        std::vector<std::string> defaults;
        const auto& questions = host.ui().questions();
        for (size_t i = questionsBefore; i < questions.size(); ++i) {
            defaults.push_back(questions[i].defaultAnswer);
            EXPECT_EQ(questions[i].question, "Enter the URL of an RSS subscription.");
            EXPECT_EQ(questions[i].title, "Add Subscription");
        }
        EXPECT_EQ(defaults, c.defaults);
        EXPECT_EQ(store->feeds().size(), before.size() + (c.subscribed ? 1 : 0));
        if (c.subscribed) {
            CEStr added = store->feeds().back();
            EXPECT_EQ(CAgg(store->getFeedDescriptor(added)["Type"]).toQsAtom(), atom("RSS"));
        }
    }
    EXPECT_EQ(dump(), "Have\nSubscription Errors\n  http://new.example/rss\n"
                      "  https://new.example/atom\n")
        << "a new feed waits under the errors until it answers";
}

TEST_F(InboxPanelTest, RemovingAFeedAsksFirst) {
    addFeed("http://a.example/rss", makeRecord("Alpha", {{"x", "", ""}}));
    addFeed("http://b.example/rss", makeRecord("Beta", {}));
    openPanel();
    struct Step {
        const char* how;
        int32_t answer;
        const char* expected;
    };
    const Step steps[] = {
        {"key", 2, "*Alpha\n  *x\nBeta\n"},
        {"key", 1, "Beta\n"},
        {"menu", 1, ""},
    };
    const char* targets[] = {"Alpha", "Alpha", "Beta"};
    for (size_t i = 0; i < std::size(steps); ++i) {
        alertsBefore = host.ui().alerts().size();
        layer.click(tree(), node(targets[i]));
        host.ui().answerNext(steps[i].answer);
        if (std::string(steps[i].how) == "key") {
            EXPECT_TRUE(layer.pressKey(tree(), kVxKeyDelete));
        } else {
            VxMenu menu = layer.contextMenu(tree(), node(targets[i]));
            EXPECT_TRUE(layer.ExecuteMenuItem(menu, "RSSPanel::RemoveFeed"));
            layer.DestroyMenu(menu);
        }
        EXPECT_EQ(newAlerts(),
                  std::vector<std::string>{"Are you sure you want to remove the subscription?"});
        EXPECT_EQ(dump(), steps[i].expected) << i;
    }
    // An item cannot be removed: the key does nothing.
    addFeed("http://c.example/rss", makeRecord("Gamma", {{"item", "", ""}}));
    updated("http://c.example/rss");
    layer.click(tree(), node("item"));
    alertsBefore = host.ui().alerts().size();
    EXPECT_FALSE(layer.pressKey(tree(), kVxKeyDelete));
    EXPECT_TRUE(newAlerts().empty());
}

TEST_F(InboxPanelTest, MovingFeedsReordersStoreAndTree) {
    for (const char* name : {"a", "b", "c"})
        addFeed(std::string("http://") + name + ".example/rss", makeRecord(name, {}));
    openPanel();
    struct Case {
        const char* moved;
        const char* target;
        bool before;
        const char* expected;
    };
    const Case cases[] = {
        {"c", "a", true, "c\na\nb\n"},
        {"c", "b", false, "a\nb\nc\n"},
        {"a", "c", false, "b\nc\na\n"},
        {"a", "b", true, "a\nb\nc\n"},
    };
    for (const Case& c : cases) {
        layer.click(tree(), node(c.moved));
        VxTreeProcs procs = layer.treeView()->GetProcs(tree());
        ASSERT_TRUE(procs.canMove(tree(), node(c.moved),
                                  layer.treeView()->GetItem(tree(), node(c.moved)), procs.data));
        EXPECT_TRUE(procs.move(tree(), node(c.moved), node(c.target), c.before, procs.data));
        EXPECT_EQ(dump(), c.expected) << c.moved << " " << c.target;
        std::string order;
        for (CEStr& url : store->feeds())
            order += std::string(EStrToUTF8(url)).substr(7, 1) + "\n";
        EXPECT_EQ(order, c.expected) << "the store keeps the tree's order";
    }
}

TEST_F(InboxPanelTest, UpdatesWaitWhileThePanelIsBusy) {
    addFeed("http://a.example/rss", makeRecord("Alpha", {{"one", "", ""}}));
    CVxInboxPanel& panel = openPanel();
    VxTreeItem before = node("one");
    panel.busy([&] {
        store->setContents(CEStr("http://a.example/rss"),
                           makeRecord("Alpha", {{"one", "", ""}, {"two", "", ""}}));
        updated("http://a.example/rss");
        EXPECT_EQ(node("one"), before) << "the node a callback may be using stays";
        EXPECT_EQ(dump(), "*Alpha\n  *one\n");
    });
    EXPECT_EQ(dump(), "*Alpha\n  *one\n  *two\n") << "the update ran after the operation";
}

TEST_F(InboxPanelTest, ExpandCollapseAndRefreshFollowTheSelection) {
    addFeed("http://a.example/rss", makeRecord("Alpha", {{"one", "", ""}}));
    openPanel();
    VxView expand = layer.viewNamed("INBOX:Expand");
    VxView collapse = layer.viewNamed("INBOX:Collapse");
    auto menu = std::any_cast<VxMenu>(layer.view(layer.viewNamed("INBOX:Services"))->props["Menu"]);
    EXPECT_FALSE(layer.menuItemEnabled(menu, "INBOX:Refresh")) << "nothing selected";
    layer.click(tree(), node("Alpha"));
    EXPECT_FALSE(layer.buttonEnabled(expand));
    EXPECT_TRUE(layer.pressButton(collapse));
    EXPECT_EQ(dump(), "*-Alpha\n  *one\n");
    EXPECT_FALSE(store->getOpenState(CEStr("http://a.example/rss"), nullptr))
        << "the open state is kept in the store";
    EXPECT_TRUE(layer.pressButton(expand));
    EXPECT_EQ(dump(), "*Alpha\n  *one\n");
    EXPECT_TRUE(layer.menuItemEnabled(menu, "INBOX:Refresh"));
    EXPECT_TRUE(layer.menuItemEnabled(menu, "INBOX:Remove"));
    EXPECT_FALSE(layer.menuItemEnabled(menu, "INBOX:Search")) << "no search for services here";
}

TEST_F(InboxPanelTest, TheHostOpensTheTrackerThroughItsPanel) {
    RSSPanel module;
    ASSERT_TRUE(module.init());
    ASSERT_TRUE(layer.hasPanel("Tracker"));
    EXPECT_TRUE(layer.showPanel("Tracker", true));
    VxWindow window = GetInboxWindow();
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(layer.window(window)->title, "Tracker");
    EXPECT_TRUE(GetInboxVisible());
    host.idle().advanceTicks(1);
    EXPECT_TRUE(layer.window(window)->activated) << "brought forward by a delayed call";
    // Closing the window keeps the panel.
    layer.window(window)->proc(window, kVxWinDidClose, layer.window(window)->data);
    EXPECT_FALSE(GetInboxVisible());
    EXPECT_NE(CVxInboxPanel::sm_instance, nullptr);
    EXPECT_TRUE(module.term());
    EXPECT_FALSE(layer.hasPanel("Tracker"));
    EXPECT_EQ(CVxInboxPanel::sm_instance, nullptr);
    VxSetViewTables(&layer);
}

} // namespace
