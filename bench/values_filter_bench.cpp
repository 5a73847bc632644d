// Base64 through the stream filters against a plain table loop on the same buffer, and our MD5
// against OpenSSL's on the same data. The targets are ratios between neighbours of one run:
// the filters at least a third of the plain loop's speed, our MD5 within twice OpenSSL's time.
#include "values/Filters.h"
#include "values/MD5.h"
#include "values/QsStm.h"

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <cstring>
#include <random>
#include <string>

namespace {

constexpr size_t kBase64Bytes = 16u << 20;
constexpr size_t kMD5Bytes = 64u << 20;
constexpr long kReadBlock = 64 * 1024;

const std::string& randomBytes(size_t length) {
    static std::string bytes;
    if (bytes.size() < length) {
        std::mt19937_64 random(42);
        bytes.resize(length);
        for (size_t i = 0; i + 8 <= length; i += 8) {
            uint64_t word = random();
            std::memcpy(bytes.data() + i, &word, 8);
        }
    }
    return bytes;
}

const std::string& base64Text() {
    static std::string text;
    if (text.empty()) {
        const std::string& plain = randomBytes(kBase64Bytes);
        QsStm encoder = EncodeQsStmRd(QsMemStmRdOpen(plain.data(), kBase64Bytes), kFilterBase64, 1);
        text = QsStmReadAll(encoder, kReadBlock);
        QsStmClose(encoder);
    }
    return text;
}

// A read stream over bytes that stay where they are, so the benchmark times the filter only.
struct Source {
    const char* at;
    const char* end;
    static long read(char* buffer, long count, void* data) {
        auto* source = static_cast<Source*>(data);
        long n = std::min<long>(count, source->end - source->at);
        std::memcpy(buffer, source->at, static_cast<size_t>(n));
        source->at += n;
        return n;
    }
};

size_t readThrough(QsStm filtered, std::string& out) {
    size_t total = 0;
    for (long n; (n = QsStmRead(filtered, out.data() + total, kReadBlock)) > 0;)
        total += static_cast<size_t>(n);
    QsStmClose(filtered);
    return total;
}

void BM_Base64EncodeThroughFilter(benchmark::State& state) {
    const std::string& plain = randomBytes(kBase64Bytes);
    std::string out(kBase64Bytes / 3 * 4 + kReadBlock + 4, '\0');
    for (auto _ : state) {
        Source source{plain.data(), plain.data() + kBase64Bytes};
        QsStm stream = QsProcStmRdOpen(Source::read, nullptr, &source);
        benchmark::DoNotOptimize(readThrough(EncodeQsStmRd(stream, kFilterBase64, 1), out));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBase64Bytes));
}
BENCHMARK(BM_Base64EncodeThroughFilter)->Unit(benchmark::kMillisecond);

void BM_Base64EncodePlainLoop(benchmark::State& state) {
    static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::string& plain = randomBytes(kBase64Bytes);
    std::string out(kBase64Bytes / 3 * 4 + 4, '\0');
    for (auto _ : state) {
        const auto* from = reinterpret_cast<const uint8_t*>(plain.data());
        char* to = out.data();
        for (size_t i = 0; i + 3 <= kBase64Bytes; i += 3, to += 4) {
            uint32_t group = uint32_t(from[i]) << 16 | uint32_t(from[i + 1]) << 8 | from[i + 2];
            to[0] = digits[group >> 18];
            to[1] = digits[(group >> 12) & 63];
            to[2] = digits[(group >> 6) & 63];
            to[3] = digits[group & 63];
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBase64Bytes));
}
BENCHMARK(BM_Base64EncodePlainLoop)->Unit(benchmark::kMillisecond);

void BM_Base64DecodeThroughFilter(benchmark::State& state) {
    const std::string& text = base64Text();
    std::string out(kBase64Bytes + kReadBlock, '\0');
    for (auto _ : state) {
        Source source{text.data(), text.data() + text.size()};
        QsStm stream = QsProcStmRdOpen(Source::read, nullptr, &source);
        benchmark::DoNotOptimize(readThrough(DecodeQsStmRd(stream, kFilterBase64, 1), out));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBase64Bytes));
}
BENCHMARK(BM_Base64DecodeThroughFilter)->Unit(benchmark::kMillisecond);

void BM_Base64DecodePlainLoop(benchmark::State& state) {
    uint8_t values[256];
    std::memset(values, 0, sizeof values);
    for (int i = 0; i < 64; ++i)
        values[static_cast<uint8_t>(
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"[i])] =
            static_cast<uint8_t>(i);
    const std::string& text = base64Text();
    std::string out(kBase64Bytes + 4, '\0');
    for (auto _ : state) {
        const auto* from = reinterpret_cast<const uint8_t*>(text.data());
        char* to = out.data();
        for (size_t i = 0; i + 4 <= text.size(); i += 4, to += 3) {
            uint32_t group = uint32_t(values[from[i]]) << 18 | uint32_t(values[from[i + 1]]) << 12 |
                             uint32_t(values[from[i + 2]]) << 6 | values[from[i + 3]];
            to[0] = static_cast<char>(group >> 16);
            to[1] = static_cast<char>(group >> 8);
            to[2] = static_cast<char>(group);
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBase64Bytes));
}
BENCHMARK(BM_Base64DecodePlainLoop)->Unit(benchmark::kMillisecond);

void BM_MD5Ours(benchmark::State& state) {
    const std::string& data = randomBytes(kMD5Bytes);
    for (auto _ : state) {
        MD5Context context;
        MD5Init(&context);
        MD5Update(&context, data.data(), kMD5Bytes);
        MD5Digest digest;
        MD5Final(&digest, &context);
        benchmark::DoNotOptimize(digest);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kMD5Bytes));
}
BENCHMARK(BM_MD5Ours)->Unit(benchmark::kMillisecond);

void BM_MD5OpenSSL(benchmark::State& state) {
    const std::string& data = randomBytes(kMD5Bytes);
    for (auto _ : state) {
        unsigned char digest[EVP_MAX_MD_SIZE];
        unsigned int length = 0;
        EVP_Digest(data.data(), kMD5Bytes, digest, &length, EVP_md5(), nullptr);
        benchmark::DoNotOptimize(digest);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kMD5Bytes));
}
BENCHMARK(BM_MD5OpenSSL)->Unit(benchmark::kMillisecond);

} // namespace
