#include "soap/JSSOAP.h"

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "soap/CJSSOAPRequestAsync.h"
#include "soap/SOAPRequestCore.h"
#include "soap/SOAPText.h"
#include "soap/WireDump.h"
#include "values/CES.h"
#include "values/miUrl.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

using CES::Context;
using CES::Val;

namespace {

// The parameters of both methods, by name; each method reads the ones it takes.
enum Param {
    kURL,
    kRequest,
    kAsync,
    kAction,
    kEncoded,
    kNamespace,
    kReqHeader,
    kRespHeader,
    kVersion,
    kAuthenticate,
    kResponseStyle,
    kParamCount,
};

const ESParamRec kRequestParams[] = {
    {"cURL", true},           {"oRequest", true},        {"oAsync", false},
    {"cAction", false},       {"bEncoded", false},       {"cNamespace", false},
    {"oReqHeader", false},    {"oRespHeader", false},    {"cVersion", false},
    {"oAuthenticate", false}, {"cResponseStyle", false},
};
const Param kRequestOrder[] = {kURL,     kRequest,      kAsync,        kAction,
                               kEncoded, kNamespace,    kReqHeader,    kRespHeader,
                               kVersion, kAuthenticate, kResponseStyle};

const ESParamRec kResponseParams[] = {
    {"cURL", true},        {"oRequest", true},    {"cAction", false},  {"bEncoded", false},
    {"cNamespace", false}, {"oReqHeader", false}, {"cVersion", false}, {"oAuthenticate", false},
};
const Param kResponseOrder[] = {kURL,       kRequest,   kAction,  kEncoded,
                                kNamespace, kReqHeader, kVersion, kAuthenticate};

/// The arguments of a call, by parameter; undefined for those not given or not taken.
struct Arguments {
    explicit Arguments(const Context& context)
        : values{Val(context), Val(context), Val(context), Val(context), Val(context), Val(context),
                 Val(context), Val(context), Val(context), Val(context), Val(context)} {}
    Val& operator[](Param p) { return values[p]; }
    /// Given, and neither undefined nor null.
    bool has(Param p) {
        ESValType type = values[p].type();
        return type != kESValUndefined && type != kESValNull;
    }
    Val values[kParamCount];
};

/// Reads the arguments; false when a required one is missing (the engine's error is raised).
template <size_t N>
bool readArguments(ESArgs args, const ESParamRec (&params)[N], const Param (&order)[N],
                   Arguments& out) {
    ESVal slots[N];
    for (size_t i = 0; i < N; ++i)
        slots[i] = out[order[i]].slot();
    return gESHFT->parseArgs(args, params, static_cast<int32_t>(N), slots);
}

[[noreturn]] void badArgument() {
    raiseHostError(kESErrBadArgument);
}

/// An object argument, when given; anything else than an object fails the call.
bool objectArgument(Arguments& a, Param p) {
    if (!a.has(p))
        return false;
    if (a[p].type() != kESValObject)
        badArgument();
    return true;
}

CAgg textValue(const Val& value) {
    return CAgg(SOAPEStrFromUTF8(value.text().getString()).get());
}

CAgg flagValue(bool flag) {
    CAgg value;
    value.toQsBool() = flag ? 1 : 0;
    return value;
}

/// Erases a key from a map of either kind, leaving the kind as it was.
void removeKey(CAgg& map, const char* key) {
    if (map.getType() == CAgg::eQsAtomMap)
        map.remove(QsAtomFromString(key));
    else
        map.remove(key);
}

/// The command of a call from its arguments.
CAgg commandFrom(Arguments& a, bool withResponseStyle) {
    CAgg command;
    std::string url = a[kURL].text().getString();
    CrackedUrlRec cracked{};
    if (miCrackUrl(url.c_str(), &cracked) != kUrlOK ||
        (cracked.scheme != kUrlHttp && cracked.scheme != kUrlHttps))
        badArgument();
    command[kSOAPCmdURL] = textValue(a[kURL]);

    if (!objectArgument(a, kRequest))
        badArgument();
    CAgg& request = command[kSOAPCmdRequest];
    ESValToCAgg(request, a[kRequest].slot(), 0);
    // The parameter order travels beside the request; the writer would skip it anyway.
    if (request.has("soapParameterOrder")) {
        command[kSOAPCmdParamOrder] = request["soapParameterOrder"];
        removeKey(request, "soapParameterOrder");
    }

    command[kSOAPCmdAction] = a.has(kAction) ? textValue(a[kAction]) : CAgg("");
    command[kSOAPCmdEncoded] = flagValue(!a.has(kEncoded) || static_cast<bool>(a[kEncoded]));
    if (a.has(kNamespace))
        command[kSOAPCmdNameSpace] = textValue(a[kNamespace]);
    if (objectArgument(a, kReqHeader))
        ESValToCAgg(command[kSOAPCmdHeader], a[kReqHeader].slot(), 0);

    long version = 0;
    if (a.has(kVersion)) {
        std::string text = a[kVersion].text().getString();
        if (text != "1.1" && text != "1.2")
            badArgument();
        version = text == "1.2" ? 1 : 0;
    }
    command[kSOAPCmdVersion] = CAgg(version);

    if (objectArgument(a, kAuthenticate)) {
        // A map with text keys, as the credential callbacks read it.
        CAgg& authenticate = command[kSOAPCmdAuthenticate];
        ESValToCAgg(authenticate, a[kAuthenticate].slot(), 0);
        authenticate.toMap();
    }
    if (withResponseStyle && a.has(kResponseStyle)) {
        // Any other style is the default one: plain values.
        std::string style = a[kResponseStyle].text().getString();
        if (style == "XML" || style == "Message") {
            CAgg atom;
            atom.toQsAtom() = QsAtomFromString(style.c_str());
            command[kSOAPCmdMessageStyle] = atom;
        }
    }
    return command;
}

/// A text as a script string.
Val scriptText(const _EStrRec* text, const Context& context) {
    CEStr ucs = CEStr::adopt(EStrCopySetEncoding(text, kEStrUCS));
    return Val(ucs.c_str(), context);
}

/// Throws the failure record of a call into the script, as an exception of its type.
[[noreturn]] void raiseFailure(ESObject self, const char* type, CAgg& record,
                               const Context& context) {
    CEStr text = SOAPValueText(record["text"]);
    CEStr message = CEStr::adopt(EStrCopySetEncoding(text, kEStrUCS));
    Val error = CES::errorObject(self, type, message.c_str(), 0);
    if (std::string(type) == kNetworkErrorName) {
        CAgg status(record["error"]);
        error["statusCode"] = Val(static_cast<double>(status.todouble()), context);
    } else {
        error["faultCode"] = scriptText(SOAPValueText(record["error"]), context);
        Val actor(context);
        if (record.has("soapActor"))
            CAggToESVal(actor.slot(), record["soapActor"]);
        error["faultActor"] = actor;
        Val detail(context);
        if (record.has("soapDetail"))
            CAggToESVal(detail.slot(), record["soapDetail"]);
        error["faultDetail"] = detail;
    }
    CES::raiseException(error);
}

/// How deep the search for stream objects goes: as deep as a request is written.
constexpr int kMaxStreamSearchDepth = 1000;

/// Adds each stream object in the value (objects holding a stream of their own) to out. The
/// request reads their streams after an asynchronous call has returned, and only the objects
/// keep those streams open.
void collectStreamObjects(const Val& value, std::vector<Val>& out, std::set<ESObject>& seen,
                          int depth) {
    ESObject object = value.object();
    if (!object || depth > kMaxStreamSearchDepth || !seen.insert(object).second)
        return;
    if (!ESObjectStreamShouldClose(object)) {
        out.push_back(value);
        return;
    }
    for (auto item = value.begin(); item != value.end(); ++item)
        collectStreamObjects(item.value(), out, seen, depth + 1);
}

/// The stream objects of a call's request and header. Their streams are read while the call
/// runs (a dialog's script may run meanwhile) or after it has returned: they are held till then.
std::vector<Val> streamObjectsOf(Arguments& a) {
    std::vector<Val> objects;
    std::set<ESObject> seen;
    collectStreamObjects(a[kRequest], objects, seen, 0);
    collectStreamObjects(a[kReqHeader], objects, seen, 0);
    return objects;
}

bool isDead(ESObject self) {
    void* dead = nullptr;
    return self && gESHFT->getPrivate(self, "Dead", &dead) && dead;
}

} // namespace

bool JSSOAPRequest(ESContext context, ESObject self, ESArgs args, ESVal result) {
    return CES::scriptBoundary([&] {
        Context scope(context);
        Arguments a(scope);
        if (!readArguments(args, kRequestParams, kRequestOrder, a))
            return false;
        bool async = objectArgument(a, kAsync);
        bool respHeader = objectArgument(a, kRespHeader);
        CAgg command = commandFrom(a, true);
        std::vector<Val> keepAlive = streamObjectsOf(a);
        if (async) {
            auto* request =
                new CJSSOAPRequestAsync(std::move(command), a[kAsync], std::move(keepAlive));
            request->startRequest();
            return true;
        }
        SOAPRequestCore(command);
        CAgg& response = command[kSOAPCmdResponse];
        if (const char* type = SOAPFailureType(response))
            raiseFailure(self, type, response, scope);
        CAggToESVal(result, response);
        if (respHeader) {
            ESObject header = a[kRespHeader].object();
            ESClearObjectProps(header);
            ESSetObjectProps(header, command[kSOAPCmdHeader]);
        }
        return true;
    });
}

bool JSSOAPResponse(ESContext context, ESObject self, ESArgs args, ESVal) {
    return CES::scriptBoundary([&] {
        Context scope(context);
        Arguments a(scope);
        if (!readArguments(args, kResponseParams, kResponseOrder, a))
            return false;
        CAgg command = commandFrom(a, false);
        command[kSOAPCmdMessage] = flagValue(true);
        std::vector<Val> keepAlive = streamObjectsOf(a);
        SOAPRequestCore(command);
        CAgg& response = command[kSOAPCmdResponse];
        if (const char* type = SOAPFailureType(response))
            raiseFailure(self, type, response, scope);
        return true;
    });
}

bool JSSOAPGetWireDump(ESContext, ESObject self, ESVal result) {
    // The object of a context marked dead has no wire dump to tell.
    if (isDead(self))
        return true;
    gESHFT->setBool(result, getEnableWireDump() != 0);
    return true;
}

bool JSSOAPSetWireDump(ESContext, ESObject self, ESVal value) {
    if (isDead(self))
        return true;
    setEnableWireDump(gESHFT->readBool(value) ? 1 : 0);
    return true;
}
