// Throughput of the feed reader and writer on a generated RSS 2.0 feed of 10,000 items (about
// 4 MB, with HTML descriptions, Dublin Core creators and categories), next to bare Expat on the
// same bytes:
//   - Expat alone, namespace mode, empty handlers;
//   - CXML2CAgg building the element records;
//   - bytes to feed record: parse, then CRSSReader::readMessage;
//   - bytes to feed record by CRSSReader::readDocument, which keeps no whole tree;
//   - readMessage alone, on a parsed tree it reads in place;
//   - CRSSWriter::writeMessage on the record, and the same followed by CAgg2XML in 4096-byte
//     pulls to the last byte;
//   - CRSSWriter::writeText, the same bytes written straight from the record (with the copy of
//     the record a writer takes, and without it, by textOf), and bare Expat reading those
//     bytes, the yardstick of the writer.
// Run by hand: build/bench/rss_bench --benchmark_min_time=2
// With VELL_FEED_OUT set, the generated feed is also written to that path, for a comparison with
// other readers on the same bytes (bench/feedparser_compare.py).
#include "frame/HostTables.h"
#include "host/core/CHostCore.h"
#include "rss/CRSSReader.h"
#include "rss/CRSSWriter.h"
#include "xml/CAgg2XML.h"
#include "xml/CXML2CAgg.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace {

constexpr int kItems = 10000;

void setUpHost() {
    static CHostCore core;
    gCoreHFT = &core;
}

const std::string& feedText() {
    static const std::string text = [] {
        std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<rss version=\"2.0\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n"
                          "<channel><title>Bench feed</title><link>https://bench.example/</link>"
                          "<description>Generated items</description>"
                          "<lastBuildDate>Thu, 14 Mar 2024 17:45:10 GMT</lastBuildDate>\n";
        char item[1024];
        for (int i = 0; i < kItems; ++i) {
            std::snprintf(
                item, sizeof item,
                "<item><title>Story number %d about the valley</title>"
                "<link>https://bench.example/news/%d</link>"
                "<guid isPermaLink=\"false\">bench-%d</guid>"
                "<pubDate>Thu, %02d Mar 2024 %02d:%02d:00 +0000</pubDate>"
                "<dc:creator>Desk %d</dc:creator><category>Section %d</category>"
                "<description>&lt;p&gt;&lt;img src=\"https://img.bench.example/%d.jpg\"/&gt;"
                "The council met on Tuesday &amp;amp; agreed the plan for item %d, with a "
                "vote of 31 to 9.&lt;/p&gt;</description></item>\n",
                i, i, i, i % 28 + 1, i % 24, i % 60, i % 40, i % 12, i, i);
            out += item;
        }
        return out + "</channel></rss>\n";
    }();
    return text;
}

// Writes the feed where VELL_FEED_OUT names, before the benchmarks run.
const bool kFeedWritten = [] {
    if (const char* path = std::getenv("VELL_FEED_OUT"))
        std::ofstream(path, std::ios::binary) << feedText();
    return true;
}();

void XMLCALL startNothing(void*, const XML_Char*, const XML_Char**) {}
void XMLCALL endNothing(void*, const XML_Char*) {}
void XMLCALL textNothing(void*, const XML_Char*, int) {}

CAgg parsedTree() {
    CXML2CAgg parser;
    const std::string& text = feedText();
    parser.parse(text.data(), static_cast<int>(text.size()), 1);
    return parser.getRoot();
}

CAgg feedRecord() {
    CRSSReader reader;
    return reader.readMessage(parsedTree());
}

void BM_ExpatBare(benchmark::State& state) {
    const std::string& text = feedText();
    for (auto _ : state) {
        XML_Parser parser = XML_ParserCreateNS(nullptr, '\0');
        XML_SetElementHandler(parser, startNothing, endNothing);
        XML_SetCharacterDataHandler(parser, textNothing);
        if (XML_Parse(parser, text.data(), static_cast<int>(text.size()), 1) != XML_STATUS_OK)
            state.SkipWithError("Expat refused the feed");
        XML_ParserFree(parser);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_ExpatBare)->Unit(benchmark::kMillisecond);

void BM_ParseToTree(benchmark::State& state) {
    setUpHost();
    const std::string& text = feedText();
    for (auto _ : state) {
        CXML2CAgg parser;
        if (!parser.parse(text.data(), static_cast<int>(text.size()), 1))
            state.SkipWithError("the parser refused the feed");
        benchmark::DoNotOptimize(parser.getRoot());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_ParseToTree)->Unit(benchmark::kMillisecond);

void BM_BytesToRecord(benchmark::State& state) {
    setUpHost();
    const std::string& text = feedText();
    for (auto _ : state) {
        CXML2CAgg parser;
        parser.parse(text.data(), static_cast<int>(text.size()), 1);
        CRSSReader reader;
        CAgg record = reader.readMessage(std::move(parser.getRoot()));
        if (record[kRSSKeyItems].toVector().size() != kItems)
            state.SkipWithError("items were lost");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_BytesToRecord)->Unit(benchmark::kMillisecond);

void BM_ReadDocument(benchmark::State& state) {
    setUpHost();
    const std::string& text = feedText();
    for (auto _ : state) {
        CRSSReader reader;
        CAgg record = reader.readDocument(text.data(), text.size());
        if (record[kRSSKeyItems].toVector().size() != kItems)
            state.SkipWithError("items were lost");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_ReadDocument)->Unit(benchmark::kMillisecond);

void BM_ReadMessage(benchmark::State& state) {
    setUpHost();
    CAgg tree = parsedTree();
    for (auto _ : state) {
        CRSSReader reader;
        benchmark::DoNotOptimize(reader.readMessage(tree));
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_ReadMessage)->Unit(benchmark::kMillisecond);

void BM_WriteMessage(benchmark::State& state) {
    setUpHost();
    CAgg record = feedRecord();
    for (auto _ : state) {
        CRSSWriter writer(record);
        benchmark::DoNotOptimize(writer.writeMessage());
    }
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_WriteMessage)->Unit(benchmark::kMillisecond);

void BM_WriteAndSerialise(benchmark::State& state) {
    setUpHost();
    CAgg record = feedRecord();
    size_t bytes = 0;
    for (auto _ : state) {
        CRSSWriter writer(record);
        CAgg2XML serialiser(writer.writeMessage());
        char buffer[4096];
        bytes = 0;
        for (long n; (n = serialiser.readProc(buffer, sizeof buffer)) > 0;)
            bytes += static_cast<size_t>(n);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_WriteAndSerialise)->Unit(benchmark::kMillisecond);

void BM_WriteText(benchmark::State& state) {
    setUpHost();
    CAgg record = feedRecord();
    size_t bytes = 0;
    for (auto _ : state) {
        CRSSWriter writer(record);
        bytes = writer.writeText().size();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_WriteText)->Unit(benchmark::kMillisecond);

void BM_TextOfRecord(benchmark::State& state) {
    setUpHost();
    CAgg record = feedRecord();
    size_t bytes = 0;
    for (auto _ : state)
        bytes = CRSSWriter::textOf(record).size();
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
    state.SetItemsProcessed(state.iterations() * kItems);
}
BENCHMARK(BM_TextOfRecord)->Unit(benchmark::kMillisecond);

void BM_ExpatBareOnWritten(benchmark::State& state) {
    setUpHost();
    CAgg record = feedRecord();
    CRSSWriter writer(record);
    const std::string text = writer.writeText();
    for (auto _ : state) {
        XML_Parser parser = XML_ParserCreateNS(nullptr, '\0');
        XML_SetElementHandler(parser, startNothing, endNothing);
        XML_SetCharacterDataHandler(parser, textNothing);
        if (XML_Parse(parser, text.data(), static_cast<int>(text.size()), 1) != XML_STATUS_OK)
            state.SkipWithError("Expat refused the written feed");
        XML_ParserFree(parser);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_ExpatBareOnWritten)->Unit(benchmark::kMillisecond);

} // namespace
