// The subscription store's two costly operations:
//   - Merge/n: setContents of a new version of an n-item feed into the old one, where a tenth of
//     the items are new, the rest carried over in the same order with half of them read (the
//     set-up of the old version is not timed). Expect n log n: 1k, 10k, 100k.
//   - StoreRestore/0, /1, /2: store, restore, both, for 1,000 subscriptions of 100 items each
//     read from generated RSS 2.0 text: storeFeedContents into cabinet files on disk, then a
//     fresh store restoring them. The counters give the bytes of the feeds' XML and of the two
//     cabinet files. The store's time includes making its file durable (fsync), so the wall
//     time depends on the disk as well as the CPU time.
// Run by hand: build/bench/rss_bench --benchmark_filter='Merge|StoreRestore'
#include "host/cabinets/CGVariantCabinets.h"
#include "rss/CRSSManager.h"
#include "rss/CRSSReader.h"
#include "tests/fakehost/FakeHost.h"
#include "values/QsCab.h"
#include "xml/CXML2CAgg.h"

#include <benchmark/benchmark.h>
#include <glib.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

namespace {

FakeHost& host() {
    static FakeHost fake;
    return fake;
}

CAgg item(long serial) {
    QsAtom (*atom)(const char*) = [](const char* text) {
        return host().core().atomFromString(text);
    };
    CAgg entry = CAgg::atomMapWithRoom(6);
    std::string n = std::to_string(serial);
    entry[atom("Title")] = CAgg(("Story number " + n + " about the valley").c_str());
    entry[atom("Link")] = CAgg(("https://bench.example/news/" + n).c_str());
    entry[atom("Guid")] = CAgg(("bench-" + n).c_str());
    entry[atom("Hash")] = CAgg(("0123456789abcdef" + n).c_str());
    entry[atom("Description")] =
        CAgg(("<p>The council met on Tuesday and agreed the plan for item " + n + ".</p>").c_str());
    return entry;
}

CAgg version(long first, long count) {
    CAgg record = CAgg::atomMapWithRoom(4);
    CAgg& items = record[host().core().atomFromString("Items")];
    items.toVector().reserve(static_cast<size_t>(count));
    for (long i = 0; i < count; ++i)
        items.toVector().push_back(item(first + i));
    return record;
}

void Merge(benchmark::State& state) {
    host();
    long n = state.range(0);
    CRSSManager store;
    CEStr url("https://bench.example/rss");
    const CAgg oldVersion = version(0, n);
    const CAgg newVersion = version(n / 10, n);
    for (auto _ : state) {
        state.PauseTiming();
        store.setContents(url, oldVersion);
        CAgg& items = store.getFeedDescriptor(url)["RSS"]["Items"];
        for (long i = 0; i < n; i += 2)
            items[i]["IsRead"].toQsBool() = 1;
        CAgg next = newVersion;
        state.ResumeTiming();
        store.setContents(url, std::move(next));
    }
    state.SetComplexityN(n);
}
BENCHMARK(Merge)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oNLogN);

std::string feedText(int feed) {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rss version=\"2.0\"><channel>"
                      "<title>Feed " +
                      std::to_string(feed) +
                      "</title><link>https://bench.example/</link>"
                      "<description>Generated items</description>\n";
    char entry[768];
    for (int i = 0; i < 100; ++i) {
        std::snprintf(entry, sizeof entry,
                      "<item><title>Story %d of feed %d</title>"
                      "<link>https://bench.example/%d/news/%d</link>"
                      "<guid isPermaLink=\"false\">bench-%d-%d</guid>"
                      "<pubDate>Thu, %02d Mar 2024 %02d:%02d:00 +0000</pubDate>"
                      "<description>The council met on Tuesday and agreed the plan for item "
                      "%d, with a vote of 31 to 9.</description></item>\n",
                      i, feed, feed, i, feed, i, i % 28 + 1, i % 24, i % 60, i);
        out += entry;
    }
    return out + "</channel></rss>\n";
}

void StoreRestore(benchmark::State& state) {
    host();
    gchar* made = g_dir_make_tmp("vell-bench-XXXXXX", nullptr);
    std::string folder = std::string(made) + "/";
    g_free(made);
    CGVariantCabinets disk(host().core(), folder);
    host().support().setCabinets(&disk);
    size_t xmlBytes = 0;
    {
        CRSSManager source;
        source.ensureIsRunning();
        for (int f = 0; f < 1000; ++f) {
            std::string text = feedText(f);
            xmlBytes += text.size();
            CXML2CAgg parser;
            parser.parse(text.data(), static_cast<int>(text.size()), 1);
            CRSSReader reader;
            CEStr url(("https://bench.example/" + std::to_string(f) + "/rss").c_str());
            source.addFeed(url, false, true);
            source.setContents(url, reader.readMessage(parser.getRoot()));
        }
        const int64_t mode = state.range(0);
        if (mode == 1)
            source.storeFeedContents(false);
        for (auto _ : state) {
            if (mode != 1)
                source.storeFeedContents(false);
            if (mode == 0)
                continue;
            auto fresh = std::make_unique<CRSSManager>();
            fresh->ensureIsRunning();
            long restored = fresh->countArticles(CEStr("https://bench.example/999/rss"));
            // The fresh store saves itself as it goes: not part of what is measured.
            state.PauseTiming();
            fresh.reset();
            state.ResumeTiming();
            if (restored != 100)
                state.SkipWithError("the restored store lost items");
        }
    }
    QsCabLocalTerm();
    // An empty binary cabinet may never reach the disk.
    size_t cabinetBytes = 0;
    for (const char* name : {"Collab/RSS", "Collab/RSSBinary"}) {
        std::error_code missing;
        size_t size = std::filesystem::file_size(folder + name, missing);
        cabinetBytes += missing ? 0 : size;
    }
    state.counters["xml_bytes"] = static_cast<double>(xmlBytes);
    state.counters["cabinet_bytes"] = static_cast<double>(cabinetBytes);
    state.counters["cabinet_per_xml"] = static_cast<double>(cabinetBytes) / xmlBytes;
    host().support().setCabinets(&host().cabinets());
    std::filesystem::remove_all(folder);
}
// 0: store only; 1: restore only; 2: both, the figure that counts.
BENCHMARK(StoreRestore)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace
