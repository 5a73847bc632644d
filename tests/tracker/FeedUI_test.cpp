// The default feed presentation: titles, tips, the error test, grouping and sorting, menus and
// their actions, the context page and the rendition for web capture.
#include "frame/host/IFileSystem.h"
#include "tests/tracker/TrackerTestSupport.h"
#include "values/QsStm.h"

namespace {

using trackertest::ItemFields;
using trackertest::TrackerTest;

class FeedUITest : public TrackerTest {
public:
    CRSSFeedUI& ui() { return CRSSFeedUIManager::instance().defaultFeedUI(); }
    CEStr url(const char* text) { return CEStr(text, kEStrPDFDoc); }
    std::string contextPage() {
        IFileSystem* files = host.support().files();
        QsStm in = files->open(ui().contextFile(), kQsFileRead);
        std::string page = in ? QsStmReadAll(in) : std::string();
        if (in)
            QsStmClose(in);
        return page;
    }
};

TEST_F(FeedUITest, ShortenCutsURLsAtASpaceAfterTheMinimum) {
    const struct {
        const char* text;
        const char* expected;
    } cases[] = {
        {"short", "short"},
        {"exactly forty-five bytes of text, no more!!!",
         "exactly forty-five bytes of text, no more!!!"},
        // 50 characters and no space: cut at the end of the search, which is the text's end.
        {"abcdefghijabcdefghijabcdefghijabcdefghijabcdefghij",
         "abcdefghijabcdefghijabcdefghijabcdefghijabcdefghij..."},
        {"abcdefghijabcdefghijabcdefghijabcdefghijabcdef ghij klm",
         "abcdefghijabcdefghijabcdefghijabcdefghijabcdef..."},
        {"abcdefghijabcdefghijabcdefghijabcdefghijabcdefghijabcdefghijabcdefghij",
         "abcdefghijabcdefghijabcdefghijabcdefghijabcdefghijabcde..."},
    };
    for (const auto& c : cases)
        EXPECT_EQ(EStrToUTF8(CRSSFeedUI::shorten(CEStr(c.text), 45, 55)), c.expected) << c.text;
}

TEST_F(FeedUITest, StripTagsDropsMarkupKeepsEntities) {
    const struct {
        const char* text;
        const char* expected;
    } cases[] = {
        {"<p>Hello <b>world</b></p>", "Hello world"},
        {"  plain text  ", "plain text"},
        {"a &amp; b <br/>c", "a &amp; b c"},
        {"cut <here and the rest", "cut"},
        {"<>", ""},
        {"x > y", "x > y"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(EStrToUTF8(CRSSFeedUI::stripTags(CEStr(c.text))), c.expected) << c.text;
}

TEST_F(FeedUITest, TheErrorTestDrivesTitlesAndTips) {
    const struct {
        long state;
        bool verified;
        const char* error;
        bool inError;
        const char* title;
        const char* tip;
    } cases[] = {
        {200, true, "", false, "Daily", "Daily"},
        {200, false, "", false, "Daily", "Daily"},
        {-1, false, "Not found", true, "http://x.example/rss", "Not found"},
        {-1, false, "", true, "http://x.example/rss", "This subscription could not be loaded."},
        {-1, true, "", true, "http://x.example/rss", "This subscription could not be loaded."},
        {0, true, "", true, "http://x.example/rss", "This subscription could not be loaded."},
        {404, false, "", false, "Daily", "Daily"},
    };
    for (const auto& c : cases) {
        TearDown();
        SetUp();
        addFeed("http://x.example/rss", makeRecord("Daily", {}), c.state, c.verified);
        if (*c.error)
            descriptor("http://x.example/rss")["Error"] = text(c.error);
        CEStr feed = url("http://x.example/rss");
        EXPECT_EQ(CRSSFeedUI::isError(feed), c.inError) << c.state << " " << c.verified;
        EXPECT_EQ(EStrToUTF8(ui().getTitle(feed)), c.title) << c.state << " " << c.verified;
        EXPECT_EQ(EStrToUTF8(ui().getTip(feed)), c.tip) << c.state << " " << c.verified;
    }
    EXPECT_EQ(EStrToUTF8(ui().getTip(url("http://unknown.example/"))),
              "This subscription could not be loaded.");
    // A long title stands; only a URL is shortened.
    std::string longTitle(100, 't');
    addFeed("http://y.example/rss", makeRecord(longTitle, {{"", "", ""}}));
    EXPECT_EQ(EStrToUTF8(ui().getTitle(url("http://y.example/rss"))), longTitle);
    EXPECT_EQ(EStrToUTF8(ui().getTitle(url("http://y.example/rss"), 0L)), "")
        << "an item with neither title nor description";
}

TEST_F(FeedUITest, GroupingAndSortingReadTheFeedsExtension) {
    std::string ns = kInboxNamespace;
    const struct {
        const char* name;
        std::vector<std::pair<std::string, std::string>> feedExtension;
        bool groups;
        std::vector<std::string> groupsOfFirst;
    } cases[] = {
        {"no grouping", {}, false, {}},
        {"an empty grouping", {{"grouping", ""}}, false, {}},
        {"an item's own key", {{"grouping", "Author"}}, true, {"Ann"}},
        {"an extension key", {{"grouping", ns + ":topic"}}, true, {"Red"}},
        {"a key nobody has", {{"grouping", "Nothing"}}, true, {}},
    };
    for (const auto& c : cases) {
        CAgg record = makeRecord("Feed", {}, c.feedExtension);
        ItemFields fields{"first", "", "", {{"topic", "Red"}}, "Ann"};
        CAgg item = makeItem(fields);
        EXPECT_EQ(ui().shouldGroupBy(record), c.groups) << c.name;
        std::vector<std::string> groups;
        for (CEStr& group : ui().groupBy(record, item))
            groups.push_back(EStrToUTF8(group));
        EXPECT_EQ(groups, c.groupsOfFirst) << c.name;
    }
    // A map of several names puts an item in each of its groups.
    CAgg record = makeRecord("Feed", {});
    CAgg& grouping = record[atom("Extension")][(ns + ":grouping").c_str()];
    grouping["groupBy"].toVector().push_back(text("Author"));
    grouping["groupBy"].toVector().push_back(text(ns + ":topic"));
    CAgg item = makeItem({"first", "", "", {{"topic", "Red"}}, "Ann"});
    EXPECT_TRUE(ui().shouldGroupBy(record));
    EXPECT_EQ(ui().groupBy(record, item).size(), 2u);

    CAgg sorted = makeRecord(
        "Feed", {{"b", "", ""}, {"10", "", ""}, {"9", "", ""}, {"b", "", ""}, {"", "", ""}},
        {{"sortBy", "Title"}});
    EXPECT_EQ(ui().sortBy(sorted, sorted[atom("Items")]), (std::vector<long>{2, 1, 3}))
        << "numbers first, by value; the later of two equal values; none without a value";
    CAgg plain = makeRecord("Feed", {{"b", "", ""}, {"a", "", ""}});
    EXPECT_EQ(ui().sortBy(plain, plain[atom("Items")]), (std::vector<long>{0, 1}));
}

TEST_F(FeedUITest, MenusShowWhatTheNodeAllows) {
    addFeed("http://a.example/rss",
            makeRecord("News", {{"One", "http://a.example/1", "d"}, {"Two", "", "d"}}));
    addFeed("http://q.example/rss", makeRecord("Quiet", {{"Q", "", ""}}, {{"markUnread", "0"}}));
    itemOf("http://a.example/rss", 1)["IsRead"].toQsBool() = 1;
    const struct {
        const char* url;
        long index;
        std::vector<std::string> names;
    } cases[] = {
        {"http://a.example/rss",
         -1,
         {"RSSPanel::RemoveFeed", "RSSPanel::RefreshFeed", "-", "RSSPanel::CopyURL",
          "RSSPanel::CopySubscriptionURL", "-", "RSSPanel::MarkAllRead",
          "RSSPanel::MarkAllUnread"}},
        {"http://q.example/rss",
         -1,
         {"RSSPanel::RemoveFeed", "RSSPanel::RefreshFeed", "-", "RSSPanel::CopyURL",
          "RSSPanel::CopySubscriptionURL", "-"}},
        {"http://a.example/rss",
         0,
         {"RSSPanel::OpenItem", "RSSPanel::CopyArticleURL", "RSSPanel::Mark As Read", "-",
          "RSSPanel::ConvertToPDF"}},
        {"http://a.example/rss",
         1,
         {"RSSPanel::OpenItem", "RSSPanel::CopyArticleURL", "RSSPanel::Mark As Unread", "-",
          "RSSPanel::ConvertToPDF"}},
        {"http://q.example/rss",
         0,
         {"RSSPanel::OpenItem", "RSSPanel::CopyArticleURL", "-", "RSSPanel::ConvertToPDF"}},
    };
    for (const auto& c : cases) {
        ui().startContextMenu(url(c.url), c.index);
        VxMenu menu = c.index < 0 ? ui().getFeedMenu() : ui().getItemMenu();
        EXPECT_EQ(layer.MenuItemNames(menu), c.names) << c.url << " " << c.index;
        layer.DestroyMenu(menu);
    }
    // With the pane on a working feed, Convert To PDF joins the feed menu after a separator.
    ui().didSelect(url("http://a.example/rss"), true);
    ui().startContextMenu(url("http://a.example/rss"), -1L);
    VxMenu menu = ui().getFeedMenu();
    std::vector<std::string> names = layer.MenuItemNames(menu);
    EXPECT_EQ(std::vector<std::string>(names.end() - 2, names.end()),
              (std::vector<std::string>{"-", "RSSPanel::ConvertToPDF"}));
    EXPECT_EQ(layer.menu(menu)->title, "FeedMenu");
    EXPECT_EQ(layer.menu(menu)->name, "RSSPanel::FeedMenu");
    layer.DestroyMenu(menu);
}

TEST_F(FeedUITest, MenuActionsActOnTheContextNode) {
    addFeed("http://a.example/rss",
            makeRecord("News", {{"One", "http://a.example/1", "d"}, {"Two", "", "d"}}));
    addFeed("http://bad.example/rss", CAgg(), -1, false);
    auto run = [&](const char* feed, long index, const char* item) {
        ui().startContextMenu(url(feed), index);
        VxMenu menu = index < 0 ? ui().getFeedMenu() : ui().getItemMenu();
        bool ran = layer.ExecuteMenuItem(menu, item);
        layer.DestroyMenu(menu);
        return ran;
    };
    EXPECT_TRUE(run("http://a.example/rss", 0, "RSSPanel::CopyArticleURL"));
    EXPECT_EQ(layer.GetClipboardText(), "http://a.example/1");
    EXPECT_FALSE(run("http://a.example/rss", 1, "RSSPanel::CopyArticleURL")) << "no link";
    EXPECT_TRUE(run("http://a.example/rss", -1, "RSSPanel::CopySubscriptionURL"));
    EXPECT_EQ(layer.GetClipboardText(), "http://a.example/rss");
    EXPECT_TRUE(run("http://a.example/rss", 0, "RSSPanel::Mark As Read"));
    EXPECT_EQ(CRSSFeedUI::countUnreadItems(url("http://a.example/rss")), 1);
    EXPECT_TRUE(run("http://a.example/rss", -1, "RSSPanel::MarkAllRead"));
    EXPECT_EQ(CRSSFeedUI::countUnreadItems(url("http://a.example/rss")), 0);
    EXPECT_TRUE(run("http://a.example/rss", 1, "RSSPanel::Mark As Unread"));
    EXPECT_EQ(CRSSFeedUI::countUnreadItems(url("http://a.example/rss")), 1);
    EXPECT_TRUE(run("http://a.example/rss", 0, "RSSPanel::OpenItem"));
    EXPECT_EQ(newOpenedURLs(), std::vector<std::string>{"http://a.example/1"});
    EXPECT_FALSE(run("http://bad.example/rss", -1, "RSSPanel::MarkAllUnread"))
        << "a feed in error marks nothing";
    host.ui().answerNext(2);
    EXPECT_TRUE(run("http://a.example/rss", -1, "RSSPanel::RemoveFeed"));
    EXPECT_TRUE(store->hasFeed(url("http://a.example/rss"))) << "cancelled";
    host.ui().answerNext(1);
    EXPECT_TRUE(run("http://a.example/rss", -1, "RSSPanel::RemoveFeed"));
    EXPECT_FALSE(store->hasFeed(url("http://a.example/rss")));
}

TEST_F(FeedUITest, ContextPagesAreWrittenAsGiven) {
    addFeed("http://a.example/rss",
            makeRecord("Daily <News>",
                       {{"Caf\xC3\xA9 opens",
                         "http://a.example/cafe",
                         "<p>New place &amp; more</p>",
                         {},
                         "Ann Author",
                         "http://a.example/cafe#comments",
                         1104580800},
                        {"Dated only", "http://a.example/2", "text", {}, "", "", 1104580800},
                        {"", "", "<i>untitled</i>"}}));
    descriptor("http://a.example/rss")["ResolvedURL"] = text("http://cdn.a.example/rss");
    addFeed("http://gone.example/rss", CAgg(), 404, true);
    descriptor("http://gone.example/rss")["Error"] = text("Not Found");
    descriptor("http://gone.example/rss")["RSS"] = makeRecord("Gone", {});
    addFeed("http://broken.example/rss", makeRecord("", {}), -1, false);
    descriptor("http://broken.example/rss")["Error"] = text("The feed is not well formed.");
    const struct {
        const char* url;
        long index;
        const char* file;
    } cases[] = {
        {"http://a.example/rss", 0, "page-item-author-date-comments.html"},
        {"http://a.example/rss", 1, "page-item-date-only.html"},
        {"http://a.example/rss", 2, "page-item-untitled.html"},
        {"http://a.example/rss", -1, "page-feed.html"},
        {"http://gone.example/rss", -1, "page-error-404.html"},
        {"http://broken.example/rss", -1, "page-error-parse.html"},
    };
    for (const auto& c : cases) {
        ui().didSelect(url(c.url), c.index, true);
        trackertest::expectDataFile(contextPage(), c.file);
    }
    std::string before = contextPage();
    ui().setContextHTML(url("http://nothing.example/"), nullptr, -1);
    EXPECT_EQ(contextPage(), before) << "an unset record leaves the page as it was";
}

TEST_F(FeedUITest, RenditionGoesToTheWebCapture) {
    addFeed("http://a.example/rss",
            makeRecord("Daily", {{"One", "http://a.example/1", "first", {}, "Ann", "", 1104580800},
                                 {"Two", "http://a.example/2", "second", {}, "", "http://c/2"}}));
    trackertest::expectDataFile(EStrToUTF8(ui().getPDFRendition(url("http://a.example/rss"), -1)),
                                "rendition-feed.html");
    trackertest::expectDataFile(EStrToUTF8(ui().getPDFRendition(url("http://a.example/rss"), 1)),
                                "rendition-item.html");
    addFeed("http://bad.example/rss", makeRecord("Bad", {}), -1, false);
    EXPECT_EQ(EStrToUTF8(ui().getPDFRendition(url("http://bad.example/rss"), -1)), "");

    FakeWebCapture& capture = host.webCapture();
    capture.captures.clear();
    capture.opened.clear();
    ui().convertToPDF(url("http://a.example/rss"), 0);
    ASSERT_EQ(capture.captures.size(), 1u);
    EXPECT_EQ(capture.captures[0].mimeType, "text/html");
    EXPECT_EQ(capture.captures[0].url, "http://a.example/rss");
    EXPECT_EQ(capture.captures[0].page,
              EStrToUTF8(ui().getPDFRendition(url("http://a.example/rss"), 0)));
    EXPECT_EQ(capture.opened.size(), 1u);
    ui().convertToPDF(url("http://bad.example/rss"), -1);
    EXPECT_EQ(capture.captures.size(), 1u) << "an empty rendition gives nothing";
    capture.setAvailable(false);
    ui().convertToPDF(url("http://a.example/rss"), -1);
    capture.setAvailable(true);
    EXPECT_EQ(capture.captures.size(), 1u);
    EXPECT_EQ(newAlerts(), std::vector<std::string>{"web capture is switched off in this test"});
}

TEST_F(FeedUITest, LinksInThePaneOpenExceptMail) {
    addFeed("http://a.example/rss", makeRecord("Daily", {{"One", "", "x"}}));
    ui().showContextView(layer.viewOfClass("Container"));
    ui().didSelect(url("http://a.example/rss"), 0L, true);
    const struct {
        const char* link;
        bool handled;
    } cases[] = {
        {"mailto:someone@example.com", false},
        {"http://a.example/more", true},
        {"vellum:Inbox?removeFeed=http://a.example/rss", true},
    };
    for (const auto& c : cases)
        EXPECT_EQ(layer.clickLink(ui().getHTMLView(), c.link), c.handled) << c.link;
    EXPECT_EQ(newOpenedURLs(),
              (std::vector<std::string>{"http://a.example/more",
                                        "vellum:Inbox?removeFeed=http://a.example/rss"}));
}

} // namespace
