#include "soap/CSOAPServiceProxy.h"

#include "frame/HostError.h"
#include "values/CAgg.h"
#include "values/CES.h"
#include "values/CESEventScope.h"
#include "values/CESScriptText.h"
#include "values/QsCab.h"

#include <cstdio>
#include <cstring>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

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

using Units = std::u16string;

Units unitsOf(const CEStr& text) {
    if (text.isNull())
        return {};
    QsTextRec units;
    QsTextFromEStr(text.get(), &units);
    return units.units;
}

Units unitsOf(std::string_view ascii) {
    return Units(ascii.begin(), ascii.end());
}

// Words a script cannot take as the name of a parameter.
constexpr std::string_view kReservedWords[] = {
    "await",     "break",  "case",     "catch",  "class",      "const",   "continue",  "debugger",
    "default",   "delete", "do",       "else",   "enum",       "export",  "extends",   "false",
    "finally",   "for",    "function", "if",     "implements", "import",  "in",        "instanceof",
    "interface", "let",    "new",      "null",   "package",    "private", "protected", "public",
    "return",    "static", "super",    "switch", "this",       "throw",   "true",      "try",
    "typeof",    "var",    "void",     "while",  "with",       "yield",
};

// Names the method's own text relies on: a parameter of one of them would take its place.
// "p" is overwritten by the request before the parameters are read into it.
constexpr std::string_view kMethodNames[] = {"p", "SOAP", "undefined"};

// Whether the text is a script identifier name of ASCII letters, digits, "_" and "$". Names past
// ASCII are not told apart here; they take the quoted forms, which serve any name.
bool isIdentifierName(const Units& text) {
    if (text.empty() || (text[0] >= u'0' && text[0] <= u'9'))
        return false;
    for (char16_t unit : text) {
        bool letter = (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z');
        bool digit = unit >= u'0' && unit <= u'9';
        if (!letter && !digit && unit != u'_' && unit != u'$')
            return false;
    }
    return true;
}

bool isAmong(const Units& text, std::span<const std::string_view> words) {
    for (std::string_view word : words) {
        if (text == unitsOf(word))
            return true;
    }
    return false;
}

// A parameter of an rpc method: the name it goes under in the request, and the name of the
// function's argument that holds it. The argument takes the part's name when that can stand as
// one; otherwise it gets a name of its own ("$1" for the first parameter), which no other
// argument has. Arguments are passed by position, so the argument's name is never seen.
struct Parameter {
    Units key;
    Units argument;
};

std::vector<Parameter> parametersOf(const std::vector<CEStr>& names) {
    std::vector<Parameter> parameters;
    std::vector<size_t> unnamed;
    std::set<Units> taken;
    for (const CEStr& name : names) {
        Units key = unitsOf(name);
        if (key.empty())
            continue;
        bool usable =
            isIdentifierName(key) && !isAmong(key, kReservedWords) && !isAmong(key, kMethodNames);
        if (usable)
            taken.insert(key);
        else
            unnamed.push_back(parameters.size());
        parameters.push_back({key, usable ? key : Units()});
    }
    for (size_t index : unnamed) {
        Units argument = unitsOf("$" + std::to_string(index + 1));
        while (taken.count(argument))
            argument.insert(argument.begin(), u'$');
        taken.insert(argument);
        parameters[index].argument = argument;
    }
    return parameters;
}

// Fills every {mark} of a template in one pass: what goes in is never searched for marks, so a
// value holding the text of a mark stays as it is. fillMark appends the value of a known mark
// and answers true; a brace that opens no known mark is copied.
template <class FillMark> Units fillTemplate(const char* text, FillMark fillMark) {
    Units out;
    for (const char* at = text; *at;) {
        if (*at == '{') {
            if (const char* close = std::strchr(at + 1, '}')) {
                std::string_view mark(at + 1, static_cast<size_t>(close - at - 1));
                if (fillMark(mark, out)) {
                    at = close + 1;
                    continue;
                }
            }
        }
        out.push_back(static_cast<unsigned char>(*at++));
    }
    return out;
}

// The items of a blank-separated list, each as a script string, joined by ", ", in brackets.
Units parameterOrderArray(const CEStr& order) {
    Units array = u"[";
    bool first = true;
    if (!order.isNull() && EStrGetCharLen(order.get()) > 0) {
        CEStr blank(" ", kEStrPDFDoc);
        for (const CEStr& item : EStrSplit(order.get(), blank.get())) {
            Units name = unitsOf(item);
            if (name.empty())
                continue;
            if (!first)
                array += u", ";
            array += u"\"" + CES::scriptStringBody(name) + u"\"";
            first = false;
        }
    }
    array += u"]";
    return array;
}

CEStr textOf(const QsTextRec& text) {
    return CEStr::adopt(EStrNewFromQsText(&text));
}

} // namespace

// Every value from the WSDL document is put in where the template has it, in the form that
// place needs: in a string, as a script string; as a property after ".", as an identifier when it
// is one and in brackets otherwise; as an argument, under a name that can stand as one. A
// document can thus name its operations and parts as it likes without its text becoming script.
CEStr CSOAPServiceProxy::methodText(const Operation& operation) {
    Units methodName = unitsOf(operation.methodName);
    std::vector<Parameter> parameters = parametersOf(operation.parameters);
    auto fillMark = [&](std::string_view mark, Units& out) {
        if (mark == "methodName") {
            if (!out.empty() && out.back() == u'.' && !isIdentifierName(methodName)) {
                out.back() = u'[';
                out += u"\"" + CES::scriptStringBody(methodName) + u"\"]";
            } else {
                out += CES::scriptStringBody(methodName);
            }
        } else if (mark == "methodNS") {
            out += CES::scriptStringBody(unitsOf(operation.methodNS));
        } else if (mark == "cURL") {
            out += CES::scriptStringBody(unitsOf(operation.url));
        } else if (mark == "cAction") {
            out += CES::scriptStringBody(unitsOf(operation.soapAction));
        } else if (mark == "param_list") {
            for (size_t i = 0; i < parameters.size(); ++i)
                out += (i ? u", " : u"") + parameters[i].argument;
        } else if (mark == "method_param_list") {
            for (size_t i = 0; i < parameters.size(); ++i) {
                const Parameter& parameter = parameters[i];
                if (i)
                    out += u",\n";
                out +=
                    fillTemplate(sm_ParameterTemplate, [&](std::string_view inner, Units& member) {
                        if (inner == "param")
                            member += CES::scriptStringBody(parameter.key);
                        else if (inner == "value")
                            member += parameter.argument;
                        else
                            return false;
                        return true;
                    });
            }
        } else if (mark == "parameter_order") {
            out += parameterOrderArray(operation.parameterOrder);
        } else {
            return false;
        }
        return true;
    };
    Units text = fillTemplate(
        operation.style == kWsdlStyleRPCEncoded ? sm_RPCTemplate : sm_DocumentTemplate, fillMark);
    QsTextRec units{std::move(text)};
    return textOf(units);
}

bool CSOAPServiceProxy::addOperation(const Operation& operation) {
    CEStr text = methodText(operation);
    // A failure of the text goes to this handler rather than to the host's, and ends here.
    CES::Context guard(m_context);
    CES::Val scratch(guard);
    CES::Val function(guard);
    int32_t code = 0;
    {
        CES::EventScope event(guard, "App", "Exec");
        HostFrame frame;
        code = frame.run([&] {
            event.evaluate(EStrGetBytes(text.get()), EStrGetLen(text.get()), scratch);
            function = event.result();
        });
    }
    if (code != 0) {
        if (guard.hasException())
            guard.popException();
        guard.clearException();
        std::fprintf(stderr, "EXCEPTION: %d\n", code);
        return false;
    }
    // Under the name's units as they are, whatever characters it holds.
    QsTextRec name{unitsOf(operation.methodName)};
    CES::Val proxy(m_proxy);
    proxy[&name] = function;
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
    if (m_portName.units.empty() || CES::Val(m_proxy)["wsdlPort"].Known())
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
