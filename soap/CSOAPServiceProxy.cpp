#include "soap/CSOAPServiceProxy.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "values/CAgg.h"
#include "values/CES.h"
#include "values/QsCab.h"

#include <cstdio>

const char* const CSOAPServiceProxy::sm_RPCTemplate =
    "event.result = function({param_list}){\tvar p =\t{\t\tcURL: \"{cURL}\",\t\toRequest: {},"
    "\t\tcAction: \"{cAction}\",\t};\tp.oRequest[\"{methodNS}:{methodName}\"] = \t{\t\t"
    "{method_param_list}\t};\tp.oRequest.soapParameterOrder = {parameter_order};\t"
    "var m = this.{methodName};\tif(m.asyncHandler != undefined) p.oAsync = m.asyncHandler;\t"
    "if(m.requestHeader != undefined) p.oReqHeader = m.requestHeader;\t"
    "if(m.responseHeader != undefined) p.oRespHeader = m.responseHeader;\t"
    "if(m.authenticator != undefined) p.oAuthenticate = m.authenticator;\t"
    "var r = SOAP.request(p);\tfor(var i in r)\t{\t\tvar length = 0;\t\t"
    "for(var j in r[i]) length++;\t\tif(length > 1) return r[i];\t\t"
    "else for(var j in r[i]) return r[i][j];\t}}";

// Its stream test never matches our stream objects, which do not give "[object Stream]": a
// stream argument is sent as any other object. That is intended.
const char* const CSOAPServiceProxy::sm_DocumentTemplate =
    "event.result = function(message){\tvar p =\t{\t\tcURL: \"{cURL}\",\t\toRequest: {},"
    "\t\tcAction: \"{cAction}\",\t\tbEncoded: false,\t\tcNamespace: \"{methodNS}\",\t};\t"
    "if(typeof message == \"string\" || (typeof message == \"object\" && message != null && "
    "message.valueOf() == \"[object Stream]\"))\t\tp.oRequest[\"{methodName}\"] = "
    "{ soapValue: message };\telse\t\tp.oRequest[\"{methodName}\"] = message;\t"
    "var m = this.{methodName};\tif(m.asyncHandler != undefined) p.oAsync = m.asyncHandler;\t"
    "if(m.requestHeader != undefined) p.oReqHeader = m.requestHeader;\t"
    "if(m.responseHeader != undefined) p.oRespHeader = m.responseHeader;\t"
    "if(m.authenticator != undefined) p.oAuthenticate = m.authenticator;\t"
    "var r = SOAP.request(p);\tfor(var i in r)\t{\t\tvar length = 0;\t\t"
    "for(var j in r[i]) length++;\t\tif(length > 1) return SOAP.stripNS(r[i], \"{methodNS}\");"
    "\t\telse for(var j in r[i]) return SOAP.stripNS(r[i][j], \"{methodNS}\");\t}}";

const char* const CSOAPServiceProxy::sm_ParameterTemplate = "\"{param}\": {value}";

namespace {

// ASCII text as UCS, so that whatever is put into it keeps every character.
CEStr ucsText(const char* ascii) {
    CEStr text(ascii, kEStrPDFDoc);
    return CEStr::adopt(EStrCopySetEncoding(text.get(), kEStrUCS));
}

// Replaces every mark in text. The value goes in as it is: a name or URL holding a quote breaks
// the function's text, and the engine's failure then leaves the operation out.
void replaceAll(CEStr& text, const char* mark, const CEStr& value) {
    CEStr from(mark, kEStrPDFDoc);
    CEStr to = value.isNull() ? CEStr("", kEStrPDFDoc) : value;
    EStrReplace(text.get(), from.get(), to.get());
}

// The items of a blank-separated list, each in double quotes, joined by ", ", in brackets.
CEStr parameterOrderArray(const CEStr& order) {
    CEStr array = ucsText("[");
    bool first = true;
    if (!order.isNull() && EStrGetCharLen(order.get()) > 0) {
        CEStr blank(" ", kEStrPDFDoc);
        for (const CEStr& item : EStrSplit(order.get(), blank.get())) {
            if (item.isNull() || EStrGetCharLen(item.get()) == 0)
                continue;
            if (!first)
                array += CEStr(", ", kEStrPDFDoc);
            array += CEStr("\"", kEStrPDFDoc);
            array += item;
            array += CEStr("\"", kEStrPDFDoc);
            first = false;
        }
    }
    array += CEStr("]", kEStrPDFDoc);
    return array;
}

CEStr textOf(const QsTextRec& text) {
    return CEStr::adopt(EStrNewFromQsText(&text));
}

} // namespace

CEStr CSOAPServiceProxy::methodText(const Operation& operation) {
    CEStr text =
        ucsText(operation.style == kWsdlStyleRPCEncoded ? sm_RPCTemplate : sm_DocumentTemplate);
    replaceAll(text, "{methodName}", operation.methodName);
    replaceAll(text, "{methodNS}", operation.methodNS);

    CEStr paramList = ucsText("");
    CEStr methodParamList = ucsText("");
    bool first = true;
    for (const CEStr& name : operation.parameters) {
        if (name.isNull() || EStrGetCharLen(name.get()) == 0)
            continue;
        CEStr member = ucsText(sm_ParameterTemplate);
        replaceAll(member, "{param}", name);
        replaceAll(member, "{value}", name);
        if (!first) {
            paramList += CEStr(", ", kEStrPDFDoc);
            methodParamList += CEStr(",\n", kEStrPDFDoc);
        }
        paramList += name;
        methodParamList += member;
        first = false;
    }
    replaceAll(text, "{param_list}", paramList);
    replaceAll(text, "{cURL}", operation.url);
    replaceAll(text, "{method_param_list}", methodParamList);
    replaceAll(text, "{cAction}", operation.soapAction);
    replaceAll(text, "{parameter_order}", parameterOrderArray(operation.parameterOrder));
    return text;
}

bool CSOAPServiceProxy::addOperation(const Operation& operation) {
    CEStr text = methodText(operation);
    // A failure of the text goes to this handler rather than to the host's, and ends here.
    CES::Context guard(m_context);
    CES::Val scratch(guard);
    CES::Val function(guard);
    ESEvent event = gESHFT->openEvent(m_context, "App", "Exec");
    HostFrame frame;
    int32_t code = frame.run([&] {
        gESHFT->evaluate(m_context, event, EStrGetBytes(text.get()), EStrGetLen(text.get()),
                         scratch.slot());
        gESHFT->getProperty(gESHFT->eventObject(event), "result", function.slot());
    });
    gESHFT->closeEvent(event);
    if (code != 0) {
        if (guard.hasException())
            guard.popException();
        gESHFT->clearException(m_context);
        std::fprintf(stderr, "EXCEPTION: %d\n", code);
        return false;
    }
    CEStr name = CEStr::adopt(EStrCopySetEncoding(operation.methodName.get(), kEStrUCS));
    CES::Val proxy(m_proxy);
    proxy[EStrGetBytes(name.get())] = function;
    return true;
}

void CSOAPServiceProxy::operationProc(const WsdlOperationRec& record, void* context) {
    auto& proxy = *static_cast<CSOAPServiceProxy*>(context);
    try {
        Operation operation;
        operation.methodName = textOf(record.methodName);
        operation.methodNS = textOf(record.methodNamespace);
        CAgg parameters;
        QsCab2CAgg(parameters, record.parameters);
        for (CAgg& name : parameters.toVector())
            operation.parameters.emplace_back(name.toEStr());
        operation.style = record.style;
        operation.url = textOf(record.url);
        operation.soapAction = textOf(record.soapAction);
        operation.parameterOrder = textOf(record.parameterOrder);
        proxy.m_serviceName = record.serviceName;
        proxy.m_portName = record.portName;
        proxy.addOperation(operation);
    } catch (const CES::Val&) {
        // The proxy could not take the method: the operation is left out, as a failing text is.
    } catch (const HostError&) {
    }
}

void CSOAPServiceProxy::addPortProperty() {
    if (m_portName.units.empty() || gESHFT->hasProperty(m_proxy, "wsdlPort"))
        return;
    CES::Context context(m_context);
    CES::Val port = CES::newObject(context, "Object");
    port["service"] = CES::Val(&m_serviceName, context);
    port["port"] = CES::Val(&m_portName, context);
    CES::Val descriptor = CES::newObject(context, "Object");
    descriptor["value"] = port;
    CES::Val proxy(m_proxy);
    context.global()["Object"]["defineProperty"](proxy, CES::Val("wsdlPort", context), descriptor);
}
