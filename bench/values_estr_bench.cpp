// EStr costs: appending character by character (which must stay linear), copying, comparing,
// hashing, and the scrub of a conversion.

#include "frame/HostTables.h"
#include "frame/host/HostTableIds.h"
#include "host/core/CHostCore.h"
#include "host/encodings/CIconvEncodings.h"
#include "values/EStr.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

// The tables a conversion needs, installed for the length of a benchmark.
class Tables {
public:
    Tables() {
        gCoreHFT = &m_core;
        gBaseKitHFT = &m_encodings;
        m_core.registerTable(kVellScriptInterfaceTable.name, kVellScriptInterfaceTable.version,
                             &m_encodings);
    }
    ~Tables() {
        gCoreHFT = nullptr;
        gBaseKitHFT = nullptr;
        gVellScriptInterfaceHFT = nullptr;
    }

private:
    CHostCore m_core;
    CIconvEncodings m_encodings;
};

// EStrCat of n texts of one character each; the 100,000 case is to stay within 20 times the
// 10,000 case.
void EStrCatSingleCharacters(benchmark::State& state) {
    Tables tables;
    for (auto _ : state) {
        EStr s = EStrNew("", kEStrPDFDoc);
        for (int64_t i = 0; i < state.range(0); ++i)
            EStrCat(s, "x");
        benchmark::DoNotOptimize(s->bytes);
        EStrDelete(s);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(EStrCatSingleCharacters)->Arg(10000)->Arg(100000)->Complexity(benchmark::oN);

void EStrCatCharUCS(benchmark::State& state) {
    Tables tables;
    for (auto _ : state) {
        EStr s = EStrNew(nullptr, kEStrUCS);
        for (int64_t i = 0; i < state.range(0); ++i)
            EStrCatChar(s, 0x4E2D);
        benchmark::DoNotOptimize(s->bytes);
        EStrDelete(s);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(EStrCatCharUCS)->Arg(10000)->Arg(100000)->Complexity(benchmark::oN);

// A short key copied, against the std::string copy it stands beside in a CAgg tree.
void EStrCopyShortKey(benchmark::State& state) {
    Tables tables;
    CEStr key("ContentLength", kEStrPDFDoc);
    for (auto _ : state) {
        EStr copy = EStrCopy(key);
        benchmark::DoNotOptimize(copy);
        EStrDelete(copy);
    }
}
BENCHMARK(EStrCopyShortKey);

void StdStringCopyShortKey(benchmark::State& state) {
    std::string key = "ContentLength";
    for (auto _ : state) {
        std::string copy = key;
        benchmark::DoNotOptimize(copy.data());
    }
}
BENCHMARK(StdStringCopyShortKey);

void EStrCmpSameEncoding(benchmark::State& state) {
    Tables tables;
    CEStr a("ContentLength", kEStrPDFDoc);
    CEStr b("ContentType", kEStrPDFDoc);
    for (auto _ : state)
        benchmark::DoNotOptimize(EStrCmp(a, b));
}
BENCHMARK(EStrCmpSameEncoding);

void EStrHashUncached(benchmark::State& state) {
    Tables tables;
    CEStr s(std::string(static_cast<size_t>(state.range(0)), 'k').c_str(), kEStrPDFDoc);
    for (auto _ : state) {
        s.get()->hash = 0;
        benchmark::DoNotOptimize(EStrHash(s));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(EStrHashUncached)->Arg(16)->Arg(4096);

// UCS to PDFDocEncoding with one lost character in every eight: the scrub halves its way down.
void EStrSetEncodingScrub(benchmark::State& state) {
    Tables tables;
    std::string ucs = "\xFE\xFF";
    for (int64_t i = 0; i < state.range(0); ++i)
        ucs += i % 8 == 3 ? std::string("\x4E\x2D", 2) : std::string("\0a", 2);
    for (auto _ : state) {
        EStr s = EStrNew(nullptr, kEStrPDFDoc);
        EStrSetBytesWithSize(s, ucs.data(), static_cast<long>(ucs.size()), kEStrUCS);
        EStrSetEncoding(s, kEStrPDFDoc);
        benchmark::DoNotOptimize(s->bytes);
        EStrDelete(s);
    }
}
BENCHMARK(EStrSetEncodingScrub)->Arg(1000)->Arg(10000);

} // namespace
