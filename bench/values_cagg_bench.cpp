// CAgg costs on a feed-shaped tree of 10,000 items, each against the standard containers doing
// the same job in the same run:
//   - deep copy of the feed, against a std::vector<std::map<std::string, std::string>>
//     (target: within 3 times);
//   - lookup of a text key in a map of 10,000 entries, against
//     std::map<std::string, int>::find on the same keys (target: within 3 times);
//   - conversion of 10,000 doubles to text.

#include "frame/HostTables.h"
#include "host/core/CHostCore.h"
#include "values/CAgg.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr int kItems = 10000;

// The core table, installed for the length of a benchmark.
class Tables {
public:
    Tables() { gCoreHFT = &m_core; }
    ~Tables() { gCoreHFT = nullptr; }

private:
    CHostCore m_core;
};

/// The identifying link of item i, as a feed would have it.
std::string itemLink(int i) {
    char text[80];
    std::snprintf(text, sizeof text, "http://www.example.com/news/2004/01/story-%05d.html", i);
    return text;
}

/// The fields of one item, as text.
std::vector<std::pair<std::string, std::string>> itemFields(int i) {
    return {
        {"Title", "Story number " + std::to_string(i)},
        {"Link", itemLink(i)},
        {"Description", "A short description of story " + std::to_string(i) + ", as feeds say."},
        {"ModDate", "D:20040101120000Z"},
        {"Author", "editor@example.com"},
        {"IsRead", "0"},
    };
}

/// A feed record: a map with a title, a link and 10,000 items, each a map of text fields.
CAgg feedTree() {
    CAgg feed;
    feed["Title"] = CAgg("Example News");
    feed["Link"] = CAgg("http://www.example.com/");
    CAgg::CAggVector& items = feed["Items"].toVector();
    items.reserve(kItems);
    for (int i = 0; i < kItems; ++i) {
        CAgg item;
        for (auto& [key, value] : itemFields(i))
            item[key.c_str()] = CAgg(value.c_str());
        items.push_back(std::move(item));
    }
    return feed;
}

std::vector<std::map<std::string, std::string>> feedStd() {
    std::vector<std::map<std::string, std::string>> items;
    items.reserve(kItems);
    for (int i = 0; i < kItems; ++i) {
        std::map<std::string, std::string> item;
        for (auto& [key, value] : itemFields(i))
            item.emplace(key, value);
        items.push_back(std::move(item));
    }
    return items;
}

void CAggDeepCopyFeed(benchmark::State& state) {
    Tables tables;
    CAgg feed = feedTree();
    for (auto _ : state) {
        CAgg copy(feed);
        benchmark::DoNotOptimize(copy);
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(CAggDeepCopyFeed)->Unit(benchmark::kMillisecond);

void StdDeepCopyFeed(benchmark::State& state) {
    auto items = feedStd();
    for (auto _ : state) {
        auto copy = items;
        benchmark::DoNotOptimize(copy);
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(StdDeepCopyFeed)->Unit(benchmark::kMillisecond);

/// The links of all items, in a scrambled order so that lookups do not walk the tree in step.
std::vector<std::string> lookupKeys() {
    std::vector<std::string> keys;
    keys.reserve(kItems);
    for (int i = 0; i < kItems; ++i)
        keys.push_back(itemLink((i * 7919) % kItems));
    return keys;
}

void CAggTextKeyLookup(benchmark::State& state) {
    Tables tables;
    CAgg byLink;
    for (int i = 0; i < kItems; ++i)
        byLink[itemLink(i).c_str()] = CAgg(static_cast<long>(i));
    std::vector<std::string> keys = lookupKeys();
    for (auto _ : state) {
        long sum = 0;
        for (const std::string& key : keys)
            sum += byLink[key.c_str()].toQsInt32();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(CAggTextKeyLookup)->Unit(benchmark::kMicrosecond);

void StdTextKeyLookup(benchmark::State& state) {
    std::map<std::string, int> byLink;
    for (int i = 0; i < kItems; ++i)
        byLink.emplace(itemLink(i), i);
    std::vector<std::string> keys = lookupKeys();
    for (auto _ : state) {
        long sum = 0;
        for (const std::string& key : keys)
            sum += byLink.find(key)->second;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(StdTextKeyLookup)->Unit(benchmark::kMicrosecond);

void CAggDoublesToText(benchmark::State& state) {
    Tables tables;
    CAgg doubles;
    CAgg::CAggVector& elements = doubles.toVector();
    for (int i = 0; i < kItems; ++i)
        elements.emplace_back(i * 1.25 - 3000.0);
    for (auto _ : state) {
        state.PauseTiming();
        CAgg values(doubles);
        state.ResumeTiming();
        for (CAgg& value : values.toVector())
            benchmark::DoNotOptimize(value.toEStr());
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(CAggDoublesToText)->Unit(benchmark::kMicrosecond);

} // namespace
