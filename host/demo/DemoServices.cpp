#include "host/demo/DemoServices.h"

#include "host/demo/DemoDocuments.h"
#include "host/demo/DemoFeeds.h"
#include "host/wsdl/CXmlTree.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <initializer_list>
#include <string_view>

namespace {

constexpr const char* kEnvelope11 = "http://schemas.xmlsoap.org/soap/envelope/";
constexpr const char* kEnvelope12 = "http://www.w3.org/2003/05/soap-envelope";
constexpr const char* kEncoding11 = "http://schemas.xmlsoap.org/soap/encoding/";
constexpr const char* kSchemaInstance = "http://www.w3.org/2001/XMLSchema-instance";
constexpr const char* kSchema = "http://www.w3.org/2001/XMLSchema";

std::string withBase(std::string_view document, const std::string& base) {
    std::string out(document);
    const std::string_view mark = "{base}";
    for (size_t at = out.find(mark); at != std::string::npos; at = out.find(mark, at))
        out.replace(at, mark.size(), base);
    return out;
}

// The call a request envelope carries.
struct SoapCall {
    bool version12 = false;
    const XmlElement* operation = nullptr;
};

// The text of a child with this local name, in any namespace; false when there is none.
bool argument(const XmlElement& operation, std::string_view name, std::string& out) {
    for (const auto& child : operation.children) {
        if (child->localName == name) {
            out = child->text;
            return true;
        }
    }
    return false;
}

bool readNumber(const std::string& text, double& out) {
    char* end = nullptr;
    out = std::strtod(text.c_str(), &end);
    return end != text.c_str() && *end == '\0';
}

std::string formatNumber(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.15g", value);
    return text;
}

std::string nowAsDateTime() {
    std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

size_t characterCount(std::string_view utf8) {
    size_t count = 0;
    for (char c : utf8)
        count += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return count;
}

HTTPReply envelope(bool version12, const std::string& body, int status = 200) {
    HTTPReply reply;
    reply.status = status;
    reply.contentType =
        version12 ? "application/soap+xml; charset=utf-8" : "text/xml; charset=utf-8";
    reply.body = std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<soap:Envelope "
                             "xmlns:soap=\"") +
                 (version12 ? kEnvelope12 : kEnvelope11) + "\" xmlns:xsd=\"" + kSchema +
                 "\" xmlns:xsi=\"" + kSchemaInstance + "\"><soap:Body>" + body +
                 "</soap:Body></soap:Envelope>\n";
    return reply;
}

// A fault: the sender's (Client, Sender) or the service's own (Server, Receiver).
HTTPReply fault(bool version12, bool sender, const std::string& text,
                const std::string& detail = "") {
    std::string body;
    if (version12) {
        body = std::string("<soap:Fault><soap:Code><soap:Value>soap:") +
               (sender ? "Sender" : "Receiver") +
               "</soap:Value></soap:Code><soap:Reason><soap:Text xml:lang=\"en\">" +
               EscapeMarkup(text) + "</soap:Text></soap:Reason>" +
               (detail.empty() ? "" : "<soap:Detail>" + detail + "</soap:Detail>") +
               "</soap:Fault>";
    } else {
        body = std::string("<soap:Fault><faultcode>soap:") + (sender ? "Client" : "Server") +
               "</faultcode><faultstring>" + EscapeMarkup(text) + "</faultstring>" +
               (detail.empty() ? "" : "<detail>" + detail + "</detail>") + "</soap:Fault>";
    }
    return envelope(version12, body, 500);
}

// Reads the envelope; on failure reply holds the fault to send.
bool readCall(const CXmlTree& tree, SoapCall& call, HTTPReply& reply) {
    const XmlElement* root = tree.root();
    call.version12 = root && root->nameSpace == kEnvelope12;
    const char* envelopeNS = call.version12 ? kEnvelope12 : kEnvelope11;
    const XmlElement* body =
        root && root->is(envelopeNS, "Envelope") ? root->firstChild(envelopeNS, "Body") : nullptr;
    call.operation = body ? body->firstChild() : nullptr;
    if (call.operation)
        return true;
    reply = fault(call.version12, true, "The request is no SOAP envelope with a call in its body.");
    return false;
}

// An encoded response element holding typed parts: name, type, value.
HTTPReply encodedResponse(const SoapCall& call, const std::string& operation,
                          std::initializer_list<std::array<std::string, 3>> parts) {
    std::string body = "<ns:" + operation + "Response xmlns:ns=\"" + kDemoEchoNamespace + "\"";
    if (!call.version12)
        body += std::string(" soap:encodingStyle=\"") + kEncoding11 + "\"";
    body += ">";
    for (const auto& [name, type, value] : parts)
        body += "<" + name + " xsi:type=\"xsd:" + type + "\">" + EscapeMarkup(value) + "</" + name +
                ">";
    body += "</ns:" + operation + "Response>";
    return envelope(call.version12, body);
}

HTTPReply serveEcho(const SoapCall& call) {
    const XmlElement& operation = *call.operation;
    if (operation.nameSpace != kDemoEchoNamespace)
        return fault(call.version12, true,
                     "The echo service answers calls in " + std::string(kDemoEchoNamespace) + ".");
    if (operation.localName == "echoString") {
        std::string text;
        if (!argument(operation, "inputString", text))
            return fault(call.version12, true, "echoString takes inputString.");
        return encodedResponse(call, "echoString", {{"return", "string", text}});
    }
    if (operation.localName == "addNumbers") {
        std::string a, b;
        double x = 0, y = 0;
        if (!argument(operation, "a", a) || !argument(operation, "b", b) || !readNumber(a, x) ||
            !readNumber(b, y))
            return fault(call.version12, true, "addNumbers takes two numbers, a and b.");
        return encodedResponse(call, "addNumbers", {{"sum", "double", formatNumber(x + y)}});
    }
    if (operation.localName == "serverInfo") {
        return encodedResponse(call, "serverInfo",
                               {{"name", "string", "Vellum demo echo service"},
                                {"time", "dateTime", nowAsDateTime()}});
    }
    return fault(call.version12, true,
                 "The echo service has no operation " + operation.localName + ".");
}

HTTPReply serveLiteral(const SoapCall& call) {
    const XmlElement& operation = *call.operation;
    std::string name;
    if (!operation.is(kDemoLiteralNamespace, "greet") || !argument(operation, "name", name))
        return fault(call.version12, true,
                     "The greeting service takes a greet element with a name, in " +
                         std::string(kDemoLiteralNamespace) + ".");
    return envelope(call.version12,
                    std::string("<greetResponse xmlns=\"") + kDemoLiteralNamespace +
                        "\"><greeting>Hello, " + EscapeMarkup(name) + "!</greeting><letters>" +
                        std::to_string(characterCount(name)) + "</letters></greetResponse>");
}

} // namespace

HTTPReply serveDemoRequest(const HTTPRequest& request, const std::string& base) {
    const std::string& path = request.path;
    if (IsDemoFeedPath(path))
        return ServeDemoFeed(request, base);
    if (path == "/echo.wsdl" || path == "/literal.wsdl") {
        if (request.method != "GET")
            return TextReply(405, "Use GET for a WSDL document.\n");
        return {200, "text/xml; charset=utf-8", withBase(demoDocument(path.substr(1)), base)};
    }
    if (path != "/echo" && path != "/literal" && path != "/fault")
        return TextReply(404, "No demo service at " + path + ".\n");
    if (request.method != "POST")
        return TextReply(405, "A SOAP service takes POST.\n");

    CXmlTree tree;
    tree.parseAll(request.body);
    SoapCall call;
    HTTPReply reply;
    if (!readCall(tree, call, reply))
        return reply;
    if (path == "/fault")
        return fault(call.version12, false, "The demo's fault service always fails.",
                     "<reason xmlns=\"urn:vellum-demo:fault\">You called " +
                         EscapeMarkup(call.operation->localName) +
                         ", and this service says no.</reason>");
    return path == "/echo" ? serveEcho(call) : serveLiteral(call);
}
