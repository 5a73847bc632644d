// Any bytes as a WSDL document, read by the host's reader into a proxy whose every method is then
// called: nothing of the document may run as script. Every operation the reader delivers must
// become a method, and the script's global object must come out as it went in: the same own
// property names (its own and those of the objects it holds, the standard prototypes among them)
// and a sentinel with its value. SOAP.request is a script function that answers a fixed reply,
// so that no call goes to the network.
//
// Run it with -detect_leaks=0: the script engine's own memory belongs to its collector, which
// the leak checker takes for leaks.
#include "fuzz/FuzzHost.h"
#include "host/cabinets/CMemoryCabinets.h"
#include "host/files/CPosixFileSystem.h"
#include "host/script/CSpiderMonkeyEngine.h"
#include "host/support/CHostSupport.h"
#include "host/wsdl/CWsdlReader.h"
#include "soap/CSOAPServiceProxy.h"
#include "soap/CSoapModule.h"
#include "values/CES.h"
#include "values/QsStm.h"

#include <cstdint>
#include <set>
#include <string>

namespace {

class CStoreless final : public CMemoryCabinets {
public:
    using CMemoryCabinets::CMemoryCabinets;
    QsCab loadCabinet(const char*, const char*) override { return nullptr; }
    void saveCabinet(QsCab, const char*, const char*) override {}
};

// What the script side looks like before any input: the stand-in for SOAP, the sentinel, and the
// two globals each input sets.
constexpr char kSetUp[] = R"(
var sentinel = {value: "untouched"};
var proxy = null;
var methodNames = [];
SOAP = {
    request: function(p) { return {reply: {first: 1, second: 2}}; },
    stripNS: function(value, ns) { return value; },
};
)";

// The global's own names, each followed by the own names of the object it holds, then the
// prototypes' names and the sentinel's value. The two globals each input sets are left out.
constexpr char kSnapshot[] = R"((function(g) {
    var out = [];
    var names = Object.getOwnPropertyNames(g).sort();
    for (var i = 0; i < names.length; ++i) {
        var name = names[i];
        out.push(name);
        if (name == "proxy" || name == "methodNames")
            continue;
        var value = Object.getOwnPropertyDescriptor(g, name).value;
        if (value !== null && (typeof value == "object" || typeof value == "function"))
            out.push("  " + Object.getOwnPropertyNames(value).sort().join(" "));
    }
    [Object.prototype, Function.prototype, Array.prototype, String.prototype].forEach(
        function(p) { out.push(Object.getOwnPropertyNames(p).sort().join(" ")); });
    out.push(String(sentinel.value));
    return out.join("\n");
})(this))";

// Each method called with three arguments and as a document method with one; a method that
// throws (a reply it cannot unwrap) is fine.
constexpr char kCallAll[] = R"((function() {
    for (var i = 0; i < methodNames.length; ++i) {
        var method = proxy[methodNames[i]];
        if (typeof method != "function")
            return "not a method: " + methodNames[i];
        try { method.call(proxy, "a", "b", "c"); } catch (e) {}
    }
    return "called";
})())";

struct Script {
    CHostCore core;
    CIconvEncodings encodings;
    CStoreless cabinets{core};
    CPosixFileSystem files;
    CHostSupport support{files, cabinets};
    CSpiderMonkeyEngine engine;
    CSoapModule module;
    ESContext context = nullptr;
    std::string before;

    Script() {
        gCoreHFT = &core;
        gBaseKitHFT = &encodings;
        gVellSupportHFT = &support;
        core.registerTable("VellScriptInterface", 0x70000, &encodings);
        engine.setCore(&core);
        engine.setEncodings(&encodings);
        gESHFT = &engine;
        fuzzRequire(module.init());
        context = engine.newContext("App", nullptr);
        evaluate(kSetUp);
        before = evaluate(kSnapshot);
    }

    std::string evaluate(const char* source) {
        CES::Context scope(context);
        CES::Val result(scope);
        HostFrame frame;
        frame.run([&] {
            engine.evaluate(context, nullptr, source, static_cast<long>(std::string(source).size()),
                            result.slot());
        });
        fuzzRequire(frame.code() == 0);
        return result.text().getString();
    }
};

// Counts the distinct method names while the proxy takes the operations.
struct Filling {
    CSOAPServiceProxy* proxy;
    std::set<std::u16string> names;
};

void takeOperation(const WsdlOperationRec& record, void* context) {
    auto& filling = *static_cast<Filling*>(context);
    filling.names.insert(record.methodName.units);
    CSOAPServiceProxy::operationProc(record, filling.proxy);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Script script;
    CES::Context scope(script.context);
    CES::Val proxy = CES::newObject(scope, "SOAPService");
    CSOAPServiceProxy filler(script.context, proxy.object());
    Filling filling{&filler, {}};
    CWsdlReader reader(script.cabinets);
    QsStm stream = QsMemStmRdOpen(reinterpret_cast<const char*>(data), size);
    reader.readWsdl(stream, takeOperation, &filling);
    QsStmClose(stream);

    CES::Val global = scope.global();
    CES::Val names = CES::newArray(scope);
    long index = 0;
    for (const std::u16string& name : filling.names) {
        QsTextRec text{name};
        names[index++] = CES::Val(&text, scope);
    }
    global["proxy"] = proxy;
    global["methodNames"] = names;
    fuzzRequire(script.evaluate(kCallAll) == "called");
    fuzzRequire(script.evaluate(kSnapshot) == script.before);
    return 0;
}
