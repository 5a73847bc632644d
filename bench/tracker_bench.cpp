// The Tracker panel over the test host's recording view layer:
//   - FullRefresh: 100 feeds of 100 items each; the panel's first full refresh, every node made
//     and every node's text and style asked for once, as a host draws the opened tree. Target:
//     under 300 ms.
//   - MarkOneRead: selecting one unread item (which marks it read); the counter "redraws" is the
//     number of nodes the panel asks the host to draw again (the item and its feed: 2) and
//     "fullRedraws" the whole-tree redraws (0).
// Run by hand: build/bench/tracker_bench
#include "rss/CRSSManager.h"
#include "tests/fakehost/FakeHost.h"
#include "tracker/CRSSFeedUIManager.h"
#include "tracker/CVxInboxPanel.h"
#include "tracker/RSSPanel.h"
#include "tracker/VxViewTables.h"
#include "values/QsCab.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

constexpr int kFeeds = 100;
constexpr int kItems = 100;

FakeHost& host() {
    static FakeHost fake;
    return fake;
}

QsAtom atom(const char* text) {
    return host().core().atomFromString(text);
}

CAgg record(int feed) {
    CAgg out = CAgg::atomMapWithRoom(4);
    out[atom("Title")] = CAgg(("Feed number " + std::to_string(feed)).c_str());
    CAgg& items = out[atom("Items")];
    items.toVector().reserve(kItems);
    for (int i = 0; i < kItems; ++i) {
        CAgg item = CAgg::atomMapWithRoom(4);
        std::string n = std::to_string(feed) + "-" + std::to_string(i);
        item[atom("Title")] = CAgg(("Story " + n + " about the valley").c_str());
        item[atom("Link")] = CAgg(("https://bench.example/news/" + n).c_str());
        item[atom("Description")] = CAgg(("<p>The council met about item " + n + ".</p>").c_str());
        items.toVector().push_back(std::move(item));
    }
    return out;
}

/// A store of the feeds, all working; the panel's tables set.
CRSSManager* makeStore() {
    QsCabLocalTerm();
    VxSetViewTables(&host().viewLayer());
    auto* store = new CRSSManager;
    CRSSManager::sm_instance = store;
    store->ensureIsRunning();
    for (int feed = 0; feed < kFeeds; ++feed) {
        CEStr url(("https://bench.example/feed/" + std::to_string(feed)).c_str(), kEStrPDFDoc);
        store->addFeed(url, false, true);
        store->setContents(url, record(feed));
        CAgg& descriptor = store->getFeedDescriptor(url);
        descriptor["State"] = CAgg(200L);
        descriptor["Verified"].toQsBool() = 1;
    }
    return store;
}

void dropStore(CRSSManager* store) {
    DestroyInboxPanel();
    CRSSFeedUIManager::destroyInstance();
    CRSSManager::sm_instance = nullptr;
    delete store;
    VxSetViewTables(nullptr);
}

/// Asks every node for its text and style, as a host drawing the tree does.
size_t drawAll(FakeViewLayer& layer, VxView tree) {
    size_t drawn = 0;
    auto walk = [&](auto& self, VxTreeItem parent) -> void {
        for (VxTreeItem item : layer.children(tree, parent)) {
            drawn += layer.itemText(tree, item).size() + layer.itemStyle(tree, item);
            self(self, item);
        }
    };
    walk(walk, nullptr);
    return drawn;
}

void FullRefresh(benchmark::State& state) {
    CRSSManager* store = makeStore();
    FakeViewLayer& layer = host().viewLayer();
    ShowInboxWindow(false);
    CVxInboxPanel& panel = *CVxInboxPanel::sm_instance;
    VxView tree = panel.getTreeView()->getView();
    for (auto _ : state) {
        panel.refresh();
        benchmark::DoNotOptimize(drawAll(layer, tree));
    }
    state.counters["nodes"] = static_cast<double>(layer.treeView()->NumOpenItems(tree));
    dropStore(store);
}
BENCHMARK(FullRefresh)->Unit(benchmark::kMillisecond);

void MarkOneRead(benchmark::State& state) {
    CRSSManager* store = makeStore();
    FakeViewLayer& layer = host().viewLayer();
    ShowInboxWindow(false);
    CVxInboxPanel& panel = *CVxInboxPanel::sm_instance;
    VxView tree = panel.getTreeView()->getView();
    std::vector<VxTreeItem> feeds = layer.children(tree, nullptr);
    int redraws = 0;
    int fullRedraws = 0;
    size_t next = 0;
    for (auto _ : state) {
        state.PauseTiming();
        // A fresh unread item each time, in turn from every feed.
        VxTreeItem feed = feeds[next % feeds.size()];
        VxTreeItem item = layer.children(tree, feed)[(next / feeds.size()) % kItems];
        ++next;
        layer.resetCounters();
        state.ResumeTiming();
        layer.click(tree, item);
        state.PauseTiming();
        redraws = layer.invalidations();
        fullRedraws = layer.view(tree)->fullRedraws;
        state.ResumeTiming();
    }
    state.counters["redraws"] = redraws;
    state.counters["fullRedraws"] = fullRedraws;
    dropStore(store);
}
// Fewer clicks than items, so that every click marks a fresh unread item read.
BENCHMARK(MarkOneRead)->Unit(benchmark::kMicrosecond)->Iterations(kFeeds* kItems / 2);

} // namespace
