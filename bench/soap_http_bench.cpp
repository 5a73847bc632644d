// The HTTP road and the credential store: a reply read through CHTTPRequest in 2048-byte blocks,
// from the test host's network and from a loopback server over curl; sealing and a stored
// credential's lookup.
#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "host/loop/CMainLoop.h"
#include "host/net/CCurlNetwork.h"
#include "soap/CCredStore.h"
#include "soap/HTTPFunctions.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/fakehost/FakeSealing.h"
#include "tests/support/CLoopbackHTTPServer.h"
#include "values/QsCab.h"

#include <benchmark/benchmark.h>

namespace {

unsigned short countBytes(void*, void* data, long length, void* total, long) {
    if (data)
        *static_cast<int64_t*>(total) += length;
    return 1;
}

void BM_ReplyFromTheTestNetwork(benchmark::State& state) {
    FakeHost host;
    host.network().initialize();
    const std::string url = "http://bench.example/reply";
    host.network().addReply(url,
                            FakeReply::withBody(200, std::string(state.range(0), 'x'), 16 * 1024));
    for (auto _ : state) {
        int64_t total = 0;
        simpleGet({}, url.c_str(), countBytes, &total, nullptr);
        benchmark::DoNotOptimize(total);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ReplyFromTheTestNetwork)->Arg(1 << 20)->Arg(16 << 20);

void BM_ReplyFromALoopbackServer(benchmark::State& state) {
    FakeHost host;
    CMainLoop loop;
    CCurlNetwork curl(loop);
    curl.initialize();
    gNetSpanHFT = &curl;
    CLoopbackHTTPServer server;
    LoopbackReply reply;
    reply.generatedBytes = static_cast<uint64_t>(state.range(0));
    server.route("/reply", reply);
    const std::string url = server.url("/reply");
    for (auto _ : state) {
        int64_t total = 0;
        simpleGet({}, url.c_str(), countBytes, &total, nullptr);
        benchmark::DoNotOptimize(total);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
    curl.shutdown();
}
BENCHMARK(BM_ReplyFromALoopbackServer)->Arg(16 << 20)->Unit(benchmark::kMillisecond);

void BM_SealAndUnseal(benchmark::State& state) {
    FakeHost host;
    FakeSealing sealing(host.extra());
    for (auto _ : state) {
        std::optional<std::string> sealed =
            sealing.sealing().seal("0123456789abcdef0123456789abcdef:alice", "correct horse");
        benchmark::DoNotOptimize(sealing.sealing().unseal(*sealed));
    }
}
BENCHMARK(BM_SealAndUnseal);

void BM_StoredCredentialLookup(benchmark::State& state) {
    FakeHost host;
    FakeSealing sealing(host.extra());
    {
        CCredStore store;
        for (int i = 0; i < 100; ++i)
            store.setCredentials(("server" + std::to_string(i)).c_str(), "realm", "user", "pw");
    }
    CCredStore store;
    for (auto _ : state) {
        char* user = nullptr;
        char* password = nullptr;
        benchmark::DoNotOptimize(store.getCredentials("server42", "realm", &user, &password));
        QsFree(user);
        QsFree(password);
    }
    QsCabLocalTerm();
}
BENCHMARK(BM_StoredCredentialLookup);

} // namespace
