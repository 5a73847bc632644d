// Script bridge costs, against the real engine:
//   - a feed-shaped script object of 1,000 items, five text fields each, read into a CAgg with
//     text keys and with atom keys;
//   - the same CAgg written back out as script objects;
//   - an array of 1,000,000 numbers read into a CAgg vector;
//   - 10,000 structs {id, name, price, active}, the shape of a SOAP reply, each way;
//   - one object of 10,000 distinct keys each way, more names than the bridge keeps;
//   - 10,000 such structs as a reply's reader makes them, keys and ASCII text in
//     PDFDocEncoding, written out as script objects.

#include "frame/HostTables.h"
#include "host/core/CHostCore.h"
#include "host/encodings/CIconvEncodings.h"
#include "host/script/CSpiderMonkeyEngine.h"
#include "values/CES.h"
#include "values/CESConvert.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

constexpr const char* kFeed =
    "var items = [];"
    "for (var i = 0; i < 1000; ++i) items.push({title: 'Story ' + i,"
    " link: 'http://www.example.com/news/2004/01/story-' + i + '.html',"
    " description: 'A short description of story ' + i + ', with some words in it.',"
    " author: 'someone@example.com', guid: 'urn:uuid:' + i});"
    "({title: 'A feed', items: items})";

// The tables and the engine, installed for the length of a benchmark.
class Host {
public:
    Host() {
        gCoreHFT = &m_core;
        gBaseKitHFT = &m_encodings;
        m_engine.setCore(&m_core);
        m_engine.setEncodings(&m_encodings);
        gESHFT = &m_engine;
        m_context = m_engine.newContext("App", nullptr);
    }
    ~Host() {
        gESHFT = nullptr;
        gBaseKitHFT = nullptr;
        gCoreHFT = nullptr;
    }

    CES::Val run(const char* source) {
        CES::Val result(m_context);
        m_engine.evaluate(m_context, nullptr, source, -1, result.slot());
        return result;
    }
    ESContext context() const { return m_context; }
    CSpiderMonkeyEngine& engine() { return m_engine; }

private:
    CHostCore m_core;
    CIconvEncodings m_encodings;
    CSpiderMonkeyEngine m_engine;
    ESContext m_context = nullptr;
};

void BM_FeedToCAgg(benchmark::State& state) {
    Host host;
    CES::Val feed = host.run(kFeed);
    for (auto _ : state) {
        CAgg out;
        ESValToCAgg(out, feed.slot(), static_cast<unsigned short>(state.range(0)));
        benchmark::DoNotOptimize(out);
        host.engine().dropLooseRoots();
    }
}
BENCHMARK(BM_FeedToCAgg)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

void BM_NumberArrayToCAgg(benchmark::State& state) {
    Host host;
    CES::Val numbers = host.run("var a = []; for (var i = 0; i < 1000000; ++i) a.push(i); a");
    for (auto _ : state) {
        CAgg out;
        ESValToCAgg(out, numbers.slot(), 1);
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(BM_NumberArrayToCAgg)->Unit(benchmark::kMillisecond);

constexpr const char* kStructs =
    "var items = [];"
    "for (var i = 0; i < 10000; ++i)"
    " items.push({id: i, name: 'Item number ' + i, price: i + 0.25, active: i % 2 == 0});"
    "items";

constexpr const char* kDistinctKeys =
    "var o = {}; for (var i = 0; i < 10000; ++i) o['key ' + i] = i; o";

// Arguments: the source of the value, and whether it is read with text keys.
void BM_ToCAgg(benchmark::State& state, const char* source, bool textKeys) {
    Host host;
    CES::Val value = host.run(source);
    for (auto _ : state) {
        CAgg out;
        ESValToCAgg(out, value.slot(), textKeys);
        benchmark::DoNotOptimize(out);
        host.engine().dropLooseRoots();
    }
}
BENCHMARK_CAPTURE(BM_ToCAgg, Structs10k, kStructs, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ToCAgg, Structs10kAtoms, kStructs, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ToCAgg, DistinctKeys10k, kDistinctKeys, true)->Unit(benchmark::kMillisecond);

void BM_ToScript(benchmark::State& state, const char* source, bool textKeys) {
    Host host;
    CES::Val value = host.run(source);
    CAgg tree;
    ESValToCAgg(tree, value.slot(), textKeys);
    for (auto _ : state) {
        CAgg copy = tree;
        CES::Val out(host.context());
        CAggToESVal(out.slot(), copy);
        benchmark::DoNotOptimize(out.slot());
        host.engine().dropLooseRoots();
    }
}
BENCHMARK_CAPTURE(BM_ToScript, Structs10k, kStructs, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ToScript, Structs10kAtoms, kStructs, false)->Unit(benchmark::kMillisecond);

void BM_FeedToScript(benchmark::State& state) {
    BM_ToScript(state, kFeed, true);
}
BENCHMARK(BM_FeedToScript)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_ToScript, DistinctKeys10k, kDistinctKeys, true)->Unit(benchmark::kMillisecond);

void BM_ReplyToScript(benchmark::State& state) {
    Host host;
    auto text = [](const std::string& bytes) {
        return CAgg::adoptEStr(EStrNew(bytes.c_str(), kEStrPDFDoc));
    };
    CAgg reply;
    CAgg::CAggVector& items = reply.toVector();
    for (long i = 0; i < 10000; ++i) {
        CAgg item;
        item[CEStr("id", kEStrPDFDoc).get()] = CAgg(static_cast<long>(i));
        item[CEStr("name", kEStrPDFDoc).get()] = text("Item number " + std::to_string(i));
        item[CEStr("price", kEStrPDFDoc).get()] = CAgg(i + 0.25);
        item[CEStr("active", kEStrPDFDoc).get()] = CAgg(i % 2 == 0 ? 1L : 0L);
        items.push_back(std::move(item));
    }
    for (auto _ : state) {
        state.PauseTiming();
        CAgg copy = reply;
        state.ResumeTiming();
        CES::Val out(host.context());
        CAggToESVal(out.slot(), copy);
        benchmark::DoNotOptimize(out.slot());
        host.engine().dropLooseRoots();
    }
}
BENCHMARK(BM_ReplyToScript)->Unit(benchmark::kMillisecond);

} // namespace
