// The script road of a SOAP call, whole: SOAP.request in script with an array of n strings,
// answered by the test host's network with the echoed array (arguments to command, writer,
// post, parser, reader, and the reply back into script); and SOAP.streamDigest of a large stream.
#include "frame/HostTables.h"
#include "soap/CSoapModule.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/fakehost/FakeSealing.h"
#include "values/QsCab.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

const std::string kService = "http://bench.example/soap";

struct ScriptHost {
    ScriptHost() {
        host.network().initialize();
        host.installScriptEngine();
        module.init();
        context = host.scriptEngine().newContext("App", nullptr);
    }
    ~ScriptHost() {
        module.term();
        QsCabLocalTerm();
    }
    void run(const std::string& source) {
        IScriptEngine& es = host.scriptEngine();
        ESVal result = es.newVal(context);
        es.evaluate(context, nullptr, source.c_str(), static_cast<long>(source.size()), result);
        es.freeVal(result);
    }

    FakeHost host;
    FakeSealing digests{host.extra()};
    CSoapModule module;
    ESContext context = nullptr;
};

std::string echoedArray(long count) {
    std::string reply = "<?xml version=\"1.0\"?><e:Envelope xmlns:e=\"http://schemas.xmlsoap.org/"
                        "soap/envelope/\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
                        "xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\"><e:Body><m:echoResponse "
                        "xmlns:m=\"urn:bench\"><return xsi:type=\"e:Array\">";
    for (long i = 0; i < count; ++i)
        reply += "<item xsi:type=\"xsd:string\">element " + std::to_string(i) + "</item>";
    return reply + "</return></m:echoResponse></e:Body></e:Envelope>";
}

void BM_ScriptRequestOfAnArray(benchmark::State& state) {
    ScriptHost script;
    script.host.network().addReply(kService, FakeReply::withBody(200, echoedArray(state.range(0))));
    script.run("var items = []; for (var i = 0; i < " + std::to_string(state.range(0)) +
               "; ++i) items.push('element ' + i);");
    const std::string call = "var r = SOAP.request('" + kService +
                             "', {'urn:bench:echo': {items: items}}); "
                             "if (r['urn:bench:echoResponse']['return'].length != items.length) "
                             "throw new Error('short reply');";
    for (auto _ : state)
        script.run(call);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ScriptRequestOfAnArray)->Arg(10)->Arg(1000)->Unit(benchmark::kMicrosecond);

void BM_StreamDigestOfAString(benchmark::State& state) {
    ScriptHost script;
    script.run("var big = new Array(" + std::to_string(state.range(0) + 1) + ").join('x');");
    for (auto _ : state)
        script.run("SOAP.streamDigest(SOAP.streamFromString(big), 'SHA1');");
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_StreamDigestOfAString)->Arg(1 << 20)->Unit(benchmark::kMillisecond);

} // namespace
