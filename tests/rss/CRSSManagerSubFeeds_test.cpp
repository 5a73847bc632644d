// The store's look-ups of the feeds an item names: its presentation, its icon and its comment
// thread, resolved against the feed.
#include "rss/CRSSManager.h"
#include "tests/rss/RSSTestSupport.h"

namespace {

using rsstest::RSSTest;

class SubFeedsTest : public RSSTest {
public:
    QsAtom atom(const char* text) { return host.core().atomFromString(text); }
    CAgg itemWith(const std::string& key, const std::string& value) {
        CAgg item = CAgg::atomMapWithRoom(2);
        if (!key.empty())
            item[atom("Extension")][key.c_str()] = CAgg(value.c_str());
        return item;
    }
};

TEST_F(SubFeedsTest, ItemsNameTheirFeedsRelativeToTheirFeed) {
    std::string ns = kInboxNamespace;
    const struct {
        const char* feed;
        std::string key;
        std::string value;
        const char* ui;
        const char* rss;
    } cases[] = {
        {"http://a.example/news/rss", ns + ":feedUI", "ui.js", "http://a.example/news/ui.js", ""},
        {"http://a.example/news/rss", ns + ":subfeed", "/c/1.xml", "", "http://a.example/c/1.xml"},
        {"http://a.example/news/rss", "http://wellformedweb.org/CommentAPI/:commentRSS",
         "http://b.example/c.xml", "", "http://b.example/c.xml"},
        {"http://a.example/news/rss", ns + ":subfeed", "local://Thread", "", "local://Thread"},
        {"http://a.example/news/rss", "", "", "", ""},
        {"local://Inbox", ns + ":subfeed", "relative.xml", "", ""},
    };
    for (const auto& c : cases) {
        CRSSManager store;
        CEStr url(c.feed, kEStrPDFDoc);
        store.addFeed(url, false, true);
        CAgg record = CAgg::atomMapWithRoom(2);
        record[atom("Items")].toVector().push_back(itemWith(c.key, c.value));
        store.setContents(url, std::move(record));
        auto text = [](const CEStr& s) { return s.isNull() ? std::string() : EStrToUTF8(s); };
        EXPECT_EQ(text(store.getUISubFeed(url, 0)), c.ui) << c.key << " " << c.value;
        EXPECT_EQ(text(store.getRSSSubFeed(url, 0)), c.rss) << c.key << " " << c.value;
        EXPECT_EQ(text(store.getRSSSubFeed(url, 5)), "") << "an index past the items";
        EXPECT_EQ(text(store.getRSSSubFeed(CEStr("http://unknown.example/"), 0)), "");
    }
}

TEST_F(SubFeedsTest, AFeedKnowsItsDocument) {
    CRSSManager store;
    CEStr url("http://a.example/doc.xml", kEStrPDFDoc);
    store.addFeed(url, false, true);
    EXPECT_EQ(store.getFeedDocument(url), nullptr);
    auto doc = reinterpret_cast<VxDoc>(0x20);
    store.addDocumentFeed(doc, url);
    EXPECT_EQ(store.getFeedDocument(url), doc);
    store.documentWillClose(doc);
    EXPECT_EQ(store.getFeedDocument(url), nullptr);
}

} // namespace
