#include "soap/JSSOAP.h"

#include "frame/QsCore.h"
#include "soap/CJSSOAPRequestAsync.h"
#include "soap/SOAPRequestCore.h"
#include "soap/WireDump.h"
#include "values/CAggWalk.h"
#include "values/CES.h"
#include "values/CESArguments.h"
#include "values/CESConvert.h"
#include "values/CESStreams.h"
#include "values/miUrl.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

using CES::Context;
using CES::Val;

namespace {

[[noreturn]] void badArgument() {
    raiseHostError(kESErrBadArgument);
}

CAgg textValue(const Val& value) {
    return CAgg(EStrFromUTF8(value.text().getString()).get());
}

CAgg flagValue(bool flag) {
    CAgg value;
    value.toQsBool() = flag ? 1 : 0;
    return value;
}

/// The command of a call from its arguments.
CAgg commandFrom(const CES::Arguments& a, bool withResponseStyle) {
    CAgg command;
    std::string url = a.text("cURL");
    CrackedUrlRec cracked{};
    if (miCrackUrl(url.c_str(), &cracked) != kUrlOK ||
        (cracked.scheme != kUrlHttp && cracked.scheme != kUrlHttps))
        badArgument();
    command[kSOAPCmdURL] = textValue(a["cURL"]);

    if (!a.object("oRequest"))
        badArgument();
    CAgg& request = command[kSOAPCmdRequest];
    ESValToCAgg(request, a["oRequest"].slot(), 0);
    // The parameter order travels beside the request; the writer would skip it anyway.
    if (request.has("soapParameterOrder")) {
        command[kSOAPCmdParamOrder] = request["soapParameterOrder"];
        CAggRemoveKey(request, "soapParameterOrder");
    }

    command[kSOAPCmdAction] = a.has("cAction") ? textValue(a["cAction"]) : CAgg("");
    command[kSOAPCmdEncoded] = flagValue(a.flag("bEncoded", true));
    if (a.has("cNamespace"))
        command[kSOAPCmdNameSpace] = textValue(a["cNamespace"]);
    if (a.object("oReqHeader"))
        ESValToCAgg(command[kSOAPCmdHeader], a["oReqHeader"].slot(), 0);

    long version = 0;
    if (a.has("cVersion")) {
        std::string text = a.text("cVersion");
        if (text != "1.1" && text != "1.2")
            badArgument();
        version = text == "1.2" ? 1 : 0;
    }
    command[kSOAPCmdVersion] = CAgg(version);

    if (a.object("oAuthenticate")) {
        // A map with text keys, as the credential callbacks read it.
        CAgg& authenticate = command[kSOAPCmdAuthenticate];
        ESValToCAgg(authenticate, a["oAuthenticate"].slot(), 0);
        authenticate.toMap();
    }
    if (withResponseStyle && a.has("cResponseStyle")) {
        // Any other style is the default one: plain values.
        std::string style = a.text("cResponseStyle");
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
    CEStr text = CAggValueText(record["text"]);
    CEStr message = CEStr::adopt(EStrCopySetEncoding(text, kEStrUCS));
    Val error = CES::errorObject(self, type, message.c_str(), 0);
    if (std::string(type) == kNetworkErrorName) {
        CAgg status(record["error"]);
        error["statusCode"] = Val(static_cast<double>(status.todouble()), context);
    } else {
        error["faultCode"] = scriptText(CAggValueText(record["error"]), context);
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

/// Whether a converted value holds a stream anywhere: only then did its script value hold a
/// stream object.
bool holdsStream(CAgg& value, int depth) {
    if (depth > kMaxStreamSearchDepth)
        return false;
    switch (value.getType()) {
    case CAgg::eQsStm:
        return true;
    case CAgg::eVector:
        for (CAgg& item : value.toVector()) {
            if (holdsStream(item, depth + 1))
                return true;
        }
        return false;
    case CAgg::eMap:
        for (auto& [key, item] : value.toMap()) {
            if (holdsStream(item, depth + 1))
                return true;
        }
        return false;
    case CAgg::eQsAtomMap:
        for (auto& [atom, item] : value.toQsAtomMap()) {
            if (holdsStream(item, depth + 1))
                return true;
        }
        return false;
    default:
        return false;
    }
}

/// The stream objects of a call's request and header. Their streams are read while the call
/// runs (a dialog's script may run meanwhile) or after it has returned: they are held till then.
/// The script values are searched only when their conversion in the command holds a stream,
/// which a request of plain data never does.
std::vector<Val> streamObjectsOf(const CES::Arguments& a, CAgg& command) {
    std::vector<Val> objects;
    bool request = command.has(kSOAPCmdRequest) && holdsStream(command[kSOAPCmdRequest], 0);
    bool header = command.has(kSOAPCmdHeader) && holdsStream(command[kSOAPCmdHeader], 0);
    if (!request && !header)
        return objects;
    std::set<ESObject> seen;
    collectStreamObjects(a["oRequest"], objects, seen, 0);
    collectStreamObjects(a["oReqHeader"], objects, seen, 0);
    return objects;
}

} // namespace

bool JSSOAPRequest(ESContext context, ESObject self, ESArgs args, ESVal result) {
    return CES::scriptBoundary([&] {
        Context scope(context);
        CES::Arguments a(context, args,
                         {{"cURL", true},
                          {"oRequest", true},
                          {"oAsync", false},
                          {"cAction", false},
                          {"bEncoded", false},
                          {"cNamespace", false},
                          {"oReqHeader", false},
                          {"oRespHeader", false},
                          {"cVersion", false},
                          {"oAuthenticate", false},
                          {"cResponseStyle", false}});
        if (!a.ok())
            return false;
        bool async = a.object("oAsync") != nullptr;
        ESObject respHeader = a.object("oRespHeader");
        CAgg command = commandFrom(a, true);
        std::vector<Val> keepAlive = streamObjectsOf(a, command);
        if (async) {
            auto* request =
                new CJSSOAPRequestAsync(std::move(command), a["oAsync"], std::move(keepAlive));
            request->startRequest();
            return true;
        }
        SOAPRequestCore(command, SOAPRequestAfterWriting::handedOver);
        CAgg& response = command[kSOAPCmdResponse];
        if (const char* type = SOAPFailureType(response))
            raiseFailure(self, type, response, scope);
        CAggToESVal(result, response);
        if (respHeader) {
            ESClearObjectProps(respHeader);
            ESSetObjectProps(respHeader, command[kSOAPCmdHeader]);
        }
        return true;
    });
}

bool JSSOAPResponse(ESContext context, ESObject self, ESArgs args, ESVal) {
    return CES::scriptBoundary([&] {
        Context scope(context);
        CES::Arguments a(context, args,
                         {{"cURL", true},
                          {"oRequest", true},
                          {"cAction", false},
                          {"bEncoded", false},
                          {"cNamespace", false},
                          {"oReqHeader", false},
                          {"cVersion", false},
                          {"oAuthenticate", false}});
        if (!a.ok())
            return false;
        CAgg command = commandFrom(a, false);
        command[kSOAPCmdMessage] = flagValue(true);
        std::vector<Val> keepAlive = streamObjectsOf(a, command);
        SOAPRequestCore(command, SOAPRequestAfterWriting::handedOver);
        CAgg& response = command[kSOAPCmdResponse];
        if (const char* type = SOAPFailureType(response))
            raiseFailure(self, type, response, scope);
        return true;
    });
}

bool JSSOAPGetWireDump(ESContext context, ESObject self, ESVal result) {
    // The object of a context marked dead has no wire dump to tell.
    if (CES::isDead(self))
        return true;
    CES::setResult(result, Val(getEnableWireDump() != 0, Context(context)));
    return true;
}

bool JSSOAPSetWireDump(ESContext, ESObject self, ESVal value) {
    if (CES::isDead(self))
        return true;
    setEnableWireDump(static_cast<bool>(Val(value)) ? 1 : 0);
    return true;
}
