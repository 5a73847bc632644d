// The merge of a new feed version into the old one: read state follows the old item's key, the
// first match in old order wins, and dates take no part. A plain transcription of the walk is
// the reference for thousands of generated pairs; the named cases pin each rule on its own.
#include "rss/CRSSManager.h"
#include "tests/rss/RSSTestSupport.h"

#include <random>

namespace {

using rsstest::RSSTest;

const char* const kKeys[] = {"Guid", "Link", "Hash"};

/// The walk, written out: for each new item, the old items in order; each old item's key is its
/// first present and non-empty Guid, Link or Hash; the new item's value under that key (empty
/// when missing) must equal the old one.
std::vector<bool> walk(CAgg oldItems, CAgg newItems) {
    std::vector<bool> flags;
    for (CAgg& item : newItems.toVector()) {
        bool isRead = false;
        for (CAgg& old : oldItems.toVector()) {
            const char* key = nullptr;
            for (const char* candidate : kKeys)
                if (old.has(candidate) && EStrGetLen(CAggValueText(old[candidate])) > 0) {
                    key = candidate;
                    break;
                }
            if (!key)
                continue;
            CEStr mine = item.has(key) ? CAggValueText(item[key]) : CEStr("");
            if (EStrCmp(mine, CAggValueText(old[key])) == 0) {
                isRead = old.has("IsRead") && CAgg(old["IsRead"]).toQsBool();
                break;
            }
        }
        flags.push_back(isRead);
    }
    return flags;
}

/// An item whose keys come from small pools, so that values repeat; each key may be missing,
/// empty or set.
CAgg randomItem(std::mt19937& random, bool atomKeys, int pool) {
    CAgg item = atomKeys ? CAgg::atomMapWithRoom(6) : CAgg();
    std::uniform_int_distribution<int> presence(0, 5);
    std::uniform_int_distribution<int> value(0, pool);
    for (const char* key : kKeys) {
        int shape = presence(random);
        if (shape == 0)
            continue;
        std::string text = shape == 1 ? "" : std::string(key) + std::to_string(value(random));
        if (atomKeys)
            item[rsstest::testHost().core().atomFromString(key)] =
                CAgg(CEStr(text.c_str(), kEStrPDFDoc).get());
        else
            item[key] = CAgg(CEStr(text.c_str(), kEStrPDFDoc).get());
    }
    item[rsstest::testHost().core().atomFromString("Title")] = CAgg("t");
    return item;
}

CAgg record(CAgg items) {
    CAgg feed = CAgg::atomMapWithRoom(4);
    feed[rsstest::testHost().core().atomFromString("Items")] = std::move(items);
    return feed;
}

CAgg& itemsOf(CRSSManager& store, const char* url) {
    return store.getFeedDescriptor(CEStr(url))["RSS"]["Items"];
}

std::vector<bool> flagsOf(CAgg& items) {
    std::vector<bool> flags;
    for (CAgg& item : items.toVector())
        flags.push_back(item.has("IsRead") && CAgg(item["IsRead"]).toQsBool());
    return flags;
}

class RSSMergeTest : public RSSTest {};

TEST_F(RSSMergeTest, AgreesWithTheWalkOnGeneratedVersions) {
    std::mt19937 random(1604);
    std::uniform_int_distribution<int> size(0, 14);
    std::bernoulli_distribution coin(0.5);
    CRSSManager store;
    CEStr url("http://example.com/feed.xml");
    int pairs = 0, readCarried = 0;
    for (int round = 0; round < 3000; ++round) {
        int pool = round % 3 == 0 ? 2 : 8;
        CAgg oldItems, newItems;
        oldItems.toVector();
        newItems.toVector();
        for (int i = size(random); i > 0; --i)
            oldItems.toVector().push_back(randomItem(random, coin(random), pool));
        for (int i = size(random); i > 0; --i)
            newItems.toVector().push_back(randomItem(random, true, pool));
        store.setContents(url, record(oldItems));
        // Read flags as the presentation writes them, one item at a time; a restored state has
        // text keys, which the merge must read too.
        CAgg& stored = itemsOf(store, url.c_str());
        for (CAgg& item : stored.toVector())
            item["IsRead"].toQsBool() = coin(random);
        std::vector<bool> expected = walk(stored, newItems);
        store.setContents(url, record(newItems));
        CAgg& merged = itemsOf(store, url.c_str());
        ASSERT_EQ(flagsOf(merged), expected) << "round " << round;
        for (bool flag : expected)
            readCarried += flag;
        ++pairs;
    }
    EXPECT_EQ(pairs, 3000);
    EXPECT_GT(readCarried, 1000) << "the generator must make matches common";
}

struct MergeCase {
    const char* what;
    std::vector<std::vector<std::pair<const char*, const char*>>> oldItems;
    std::vector<bool> oldRead;
    std::vector<std::vector<std::pair<const char*, const char*>>> newItems;
    std::vector<bool> expected;
};

CAgg itemsFrom(const std::vector<std::vector<std::pair<const char*, const char*>>>& items) {
    CAgg list;
    list.toVector();
    for (const auto& fields : items) {
        CAgg item = CAgg::atomMapWithRoom(4);
        for (const auto& [key, value] : fields)
            item[rsstest::testHost().core().atomFromString(key)] = CAgg(value);
        list.toVector().push_back(std::move(item));
    }
    return list;
}

TEST_F(RSSMergeTest, KeyRules) {
    const MergeCase cases[] = {
        {"same guid, new text, stays read",
         {{{"Guid", "a"}, {"Description", "old"}}},
         {true},
         {{{"Guid", "a"}, {"Description", "new"}}},
         {true}},
        {"two new items with one key both take the flag",
         {{{"Guid", "a"}}},
         {true},
         {{{"Guid", "a"}}, {{"Guid", "a"}, {"Title", "again"}}},
         {true, true}},
        {"swapped guids turn every item unread",
         {{{"Guid", "a"}, {"Link", "l1"}}, {{"Guid", "b"}, {"Link", "l2"}}},
         {true, true},
         {{{"Guid", "x"}, {"Link", "l1"}}, {{"Guid", "y"}, {"Link", "l2"}}},
         {false, false}},
        {"an old item with a guid never matches by link",
         {{{"Guid", "g"}, {"Link", "l"}}},
         {true},
         {{{"Link", "l"}}},
         {false}},
        {"an old item without guid, link or hash passes nothing on",
         {{{"Title", "t"}}, {{"Guid", ""}, {"Link", ""}}},
         {true, true},
         {{{"Title", "t"}}, {{"Guid", ""}}},
         {false, false}},
        {"an empty guid falls back to the link",
         {{{"Guid", ""}, {"Link", "l"}}},
         {true},
         {{{"Link", "l"}, {"Guid", "new"}}},
         {true}},
        {"the first old match wins, not the best",
         {{{"Hash", "h"}}, {{"Guid", "g"}}},
         {false, true},
         {{{"Guid", "g"}, {"Hash", "h"}}},
         {false}},
        {"the date takes no part",
         {{{"Guid", "a"}, {"ModDate", "1"}}},
         {true},
         {{{"Guid", "a"}, {"ModDate", "2"}}},
         {true}},
        {"vanished items are gone; the new order wins",
         {{{"Guid", "a"}}, {{"Guid", "b"}}, {{"Guid", "c"}}},
         {true, false, true},
         {{{"Guid", "c"}}, {{"Guid", "d"}}, {{"Guid", "a"}}},
         {true, false, true}},
    };
    CRSSManager store;
    CEStr url("http://example.com/rules.xml");
    for (const MergeCase& c : cases) {
        store.setContents(url, record(itemsFrom(c.oldItems)));
        CAgg& stored = itemsOf(store, url.c_str());
        for (size_t i = 0; i < c.oldRead.size(); ++i)
            stored[i]["IsRead"].toQsBool() = c.oldRead[i];
        store.setContents(url, record(itemsFrom(c.newItems)));
        CAgg& merged = itemsOf(store, url.c_str());
        EXPECT_EQ(flagsOf(merged), c.expected) << c.what;
        for (size_t i = 0; i < merged.toVector().size(); ++i)
            EXPECT_EQ(CAgg(merged[i]["Index"]).toQsInt32(), static_cast<int32_t>(i)) << c.what;
        EXPECT_EQ(EStrCmp(CAggValueText(store.getFeedDescriptor(url)["RSS"]["URL"]), url), 0);
    }
}

} // namespace
