// What the Tracker page costs the host: the view layer under a panel of 100 feeds of 100 items
// (the sample panel, built through the tables as the plug-in builds the Tracker), opened for the
// first time, and the state the page is sent after each change, written whole.
#include "host/view/CHostViewLayer.h"
#include "host/view/ViewState.h"
#include "tests/support/CSamplePanel.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

constexpr int kFeeds = 100;
constexpr int kItems = 100;

void addFeeds(CSamplePanel& panel) {
    std::vector<std::string> items;
    for (int i = 0; i < kItems; ++i)
        items.push_back("Item number " + std::to_string(i) + " of a feed, with a title of length");
    for (int f = 0; f < kFeeds; ++f)
        panel.addFeed("Feed number " + std::to_string(f), items);
}

// The panel's window built and its 10,100 nodes placed.
void BM_PanelFirstShow(benchmark::State& state) {
    for (auto _ : state) {
        CHostViewLayer layer;
        CSamplePanel panel(layer, nullptr);
        addFeeds(panel);
        layer.showPanel("Tracker", false);
        benchmark::DoNotOptimize(layer.windows().size());
    }
    state.counters["nodes"] = kFeeds * (kItems + 1);
}
BENCHMARK(BM_PanelFirstShow)->Unit(benchmark::kMillisecond);

// The whole state as JSON, every node's text and style asked of the panel's procedures.
void BM_PageState(benchmark::State& state) {
    CHostViewLayer layer;
    CSamplePanel panel(layer, nullptr);
    addFeeds(panel);
    layer.showPanel("Tracker", false);
    size_t bytes = 0;
    for (auto _ : state) {
        std::string json = ViewStateJSON(layer, {});
        bytes = json.size();
        benchmark::DoNotOptimize(json.data());
    }
    state.counters["bytes"] = static_cast<double>(bytes);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_PageState)->Unit(benchmark::kMillisecond);

// One item selected (read, its page shown) and the state written again, as the page sees it.
void BM_SelectAndRedraw(benchmark::State& state) {
    CHostViewLayer layer;
    CSamplePanel panel(layer, nullptr);
    addFeeds(panel);
    layer.showPanel("Tracker", false);
    HostView* tree = layer.view(panel.tree());
    size_t next = 0;
    for (auto _ : state) {
        const auto& feed = panel.feeds()[next % kFeeds];
        HostTreeItem* item = layer.treeItem(tree, feed->items[(next / kFeeds) % kItems]->node);
        ++next;
        layer.clickItem(tree->id, item->id);
        std::string json = ViewStateJSON(layer, {});
        benchmark::DoNotOptimize(json.data());
    }
}
BENCHMARK(BM_SelectAndRedraw)->Unit(benchmark::kMillisecond);

} // namespace
