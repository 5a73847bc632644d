// Helpers for the Tracker's tests: the test host with its recording view layer, a store of
// feeds made from compact descriptions, and the expected-file check.
#pragma once

#include "frame/host/HostTableIds.h"
#include "rss/CRSSManager.h"
#include "rss/CRSSReader.h"
#include "tests/fakehost/FakeHost.h"
#include "tracker/CRSSFeedUIManager.h"
#include "tracker/CVxInboxPanel.h"
#include "tracker/FeedRecords.h"
#include "tracker/RSSPanel.h"
#include "tracker/VxViewTables.h"
#include "values/CAggWalk.h"
#include "values/QsCab.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace trackertest {

/// The one test host of the program (atoms stay valid while the core at the same address lives).
inline FakeHost& testHost() {
    static FakeHost host;
    return host;
}

/// A file under tests/data/tracker/; empty when it is missing.
inline std::string readData(const std::string& name) {
    std::ifstream in(std::string(VELL_TEST_DATA) + "/tracker/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// Compares text with the expected file of tests/data/tracker/. VELL_WRITE_EXPECTED=1 rewrites
/// the file instead, for review before it is kept.
inline void expectDataFile(const std::string& text, const std::string& file) {
    if (std::getenv("VELL_WRITE_EXPECTED"))
        std::ofstream(std::string(VELL_TEST_DATA) + "/tracker/" + file, std::ios::binary) << text;
    EXPECT_EQ(text, readData(file)) << file;
}

/// One item, by its keys; an empty value leaves the key out. extension: pairs of a local name in
/// the Tracker's namespace and its text.
struct ItemFields {
    std::string title;
    std::string link;
    std::string description;
    std::vector<std::pair<std::string, std::string>> extension = {};
    std::string author = {};
    std::string comments = {};
    long modDate = 0;
};

class TrackerTest : public ::testing::Test {
public:
    FakeHost& host = testHost();
    FakeViewLayer& layer = host.viewLayer();
    CRSSManager* store = nullptr;
    size_t alertsBefore = 0;
    size_t questionsBefore = 0;
    size_t openedBefore = 0;

    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
        QsCabLocalTerm();
        for (const char* name : {"RSS", "RSSBinary", "Tracker"})
            if (auto path = host.cabinets().fileOf("Collab", name))
                host.files().remove(*path);
        VxSetViewTables(&layer);
        store = new CRSSManager;
        CRSSManager::sm_instance = store;
        store->ensureIsRunning();
        alertsBefore = host.ui().alerts().size();
        questionsBefore = host.ui().questions().size();
        openedBefore = host.ui().openedURLs().size();
    }

    void TearDown() override {
        DestroyInboxPanel();
        CRSSFeedUIManager::destroyInstance();
        CRSSManager::sm_instance = nullptr;
        delete store;
        VxSetViewTables(nullptr);
        QsCabLocalTerm();
    }

    QsAtom atom(const char* text) { return host.core().atomFromString(text); }

    CAgg text(const std::string& value) { return CAgg(EStrFromUTF8(value).get()); }

    CAgg makeItem(const ItemFields& fields) {
        CAgg item = CAgg::atomMapWithRoom(8);
        if (!fields.title.empty())
            item[atom("Title")] = text(fields.title);
        if (!fields.link.empty())
            item[atom("Link")] = text(fields.link);
        if (!fields.description.empty())
            item[atom("Description")] = text(fields.description);
        if (!fields.author.empty())
            item[atom("Author")] = text(fields.author);
        if (!fields.comments.empty())
            item[atom("Comments")] = text(fields.comments);
        if (fields.modDate)
            item[atom("ModDate")] = CAgg(fields.modDate);
        for (const auto& [name, value] : fields.extension)
            item[atom("Extension")][(std::string(kInboxNamespace) + ":" + name).c_str()] =
                text(value);
        return item;
    }

    /// A feed record with a title (empty: none), feed-level extension keys and items.
    CAgg makeRecord(const std::string& title, const std::vector<ItemFields>& items,
                    const std::vector<std::pair<std::string, std::string>>& extension = {}) {
        CAgg record = CAgg::atomMapWithRoom(8);
        if (!title.empty())
            record[atom("Title")] = text(title);
        for (const auto& [name, value] : extension)
            record[atom("Extension")][(std::string(kInboxNamespace) + ":" + name).c_str()] =
                text(value);
        CAgg& list = record[atom("Items")];
        list.toVector();
        for (const ItemFields& item : items)
            list.toVector().push_back(makeItem(item));
        return record;
    }

    /// Subscribes to a feed with a record and a state: 200 and verified by default.
    void addFeed(const std::string& url, CAgg record, long state = 200, bool verified = true) {
        CEStr key(url.c_str(), kEStrPDFDoc);
        store->addFeed(key, false, true);
        store->setContents(key, std::move(record));
        setState(url, state, verified);
    }

    void setState(const std::string& url, long state, bool verified) {
        CAgg& descriptor = store->getFeedDescriptor(CEStr(url.c_str(), kEStrPDFDoc));
        descriptor["State"] = CAgg(state);
        descriptor["Verified"].toQsBool() = verified ? 1 : 0;
    }

    CAgg& descriptor(const std::string& url) {
        return store->getFeedDescriptor(CEStr(url.c_str(), kEStrPDFDoc));
    }

    CAgg& itemOf(const std::string& url, long index) {
        return descriptor(url)["RSS"]["Items"].toVector()[static_cast<size_t>(index)];
    }

    /// The alerts shown since the test began.
    std::vector<std::string> newAlerts() {
        std::vector<std::string> texts;
        const auto& alerts = host.ui().alerts();
        for (size_t i = alertsBefore; i < alerts.size(); ++i)
            texts.push_back(alerts[i].text);
        return texts;
    }

    std::vector<std::string> newOpenedURLs() {
        std::vector<std::string> urls;
        const auto& opened = host.ui().openedURLs();
        for (size_t i = openedBefore; i < opened.size(); ++i)
            urls.push_back(opened[i].first);
        return urls;
    }

    /// Opens the Tracker as the host would; the panel.
    CVxInboxPanel& openPanel() {
        ShowInboxWindow(false);
        EXPECT_NE(CVxInboxPanel::sm_instance, nullptr);
        return *CVxInboxPanel::sm_instance;
    }

    VxView tree() { return CVxInboxPanel::sm_instance->getTreeView()->getView(); }
    std::string dump() { return layer.dump(tree()); }
};

} // namespace trackertest
