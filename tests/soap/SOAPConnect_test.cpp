// SOAP.connect, the proxies it makes, and SOAP.stripNS, against the test host's network and its
// WSDL reader, with the real script engine. SOAP.request is replaced by a recorder in script, so
// that what a proxy method asks for can be seen.
#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "soap/CSOAPServiceProxy.h"
#include "soap/CSoapModule.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/soap/HTTPTestSupport.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

class SOAPConnectTest : public ::testing::Test {
protected:
    void SetUp() override {
        host.installScriptEngine();
        ASSERT_TRUE(host.network().initialize());
        ASSERT_TRUE(module.init());
        context = host.scriptEngine().newContext("App", nullptr);
        serve("http://wsdl.test/calculator.wsdl", "connect-calculator-rpc-encoded.wsdl");
        serve("http://wsdl.test/orders.wsdl", "connect-orders-document-literal.wsdl");
        serve("http://wsdl.test/hostile-rpc.wsdl", "connect-script-in-rpc-values.wsdl");
        serve("http://wsdl.test/hostile-document.wsdl", "connect-script-in-document-values.wsdl");
        run(soapTestData("connect-request-recorder.js"));
    }
    void TearDown() override { module.term(); }

    void serve(const std::string& url, const std::string& file) {
        host.network().addReply(url, FakeReply::withBody(200, soapTestData(file), 100));
    }

    /// Runs script in the test's context: its value as text, or "throws" when it threw.
    std::string run(const std::string& source) {
        int32_t code = 0;
        std::string text = evaluateScript(host.scriptEngine(), context, source, code);
        host.scriptEngine().clearException(context);
        return code ? "throws" : text;
    }

    FakeHost host;
    CSoapModule module;
    ESContext context = nullptr;
};

CSOAPServiceProxy::Operation operation(const char* name, std::vector<const char*> parameters,
                                       int32_t style, const char* action, const char* order) {
    CSOAPServiceProxy::Operation op;
    op.methodName = CEStr(name, kEStrPDFDoc);
    op.methodNS = CEStr("urn:example:calculator:ops", kEStrPDFDoc);
    for (const char* parameter : parameters)
        op.parameters.emplace_back(parameter, kEStrPDFDoc);
    op.style = style;
    op.url = CEStr("http://wsdl.test/calculator", kEStrPDFDoc);
    op.soapAction = CEStr(action, kEStrPDFDoc);
    op.parameterOrder = CEStr(order, kEStrPDFDoc);
    return op;
}

TEST(SOAPServiceProxyText, OrdinaryValuesFillTheTemplatesExactly) {
    CSOAPServiceProxy::Operation document =
        operation("placeOrder", {"ignored"}, 1, "urn:example:orders#placeOrder", "");
    document.methodNS = CEStr("urn:example:orders", kEStrPDFDoc);
    document.url = CEStr("http://wsdl.test/orders", kEStrPDFDoc);
    const struct {
        CSOAPServiceProxy::Operation op;
        const char* expected;
    } cases[] = {
        {operation("subtract", {"minuend", "", "subtrahend"}, kWsdlStyleRPCEncoded,
                   "urn:example:calculator#subtract", "subtrahend minuend"),
         "proxy-rpc-two-parameters.js"},
        {operation("ping", {}, kWsdlStyleRPCEncoded, "", ""), "proxy-rpc-no-parameters.js"},
        {document, "proxy-document-ordinary.js"},
    };
    for (const auto& c : cases) {
        CEStr text = CSOAPServiceProxy::methodText(c.op);
        QsTextRec units;
        QsTextFromEStr(text.get(), &units);
        CQsText readable;
        readable.set(units.units);
        EXPECT_EQ(readable.getString(), soapTestData(c.expected)) << c.expected;
    }
}

TEST_F(SOAPConnectTest, EachOperationBecomesAMethodThatCallsSOAPRequest) {
    run("var calc = realSOAP.connect('http://wsdl.test/calculator.wsdl');");
    EXPECT_EQ(run("typeof calc.subtract + ' ' + typeof calc.ping + ' ' + typeof calc.greet"),
              "function function function");
    EXPECT_EQ(run("Object.keys(calc).join()"), "subtract,ping,greet");

    const struct {
        const char* call;
        const char* reply;   // what the recorder answers, as script
        const char* result;  // the call's value as JSON
        const char* request; // what SOAP.request was given, as JSON
    } cases[] = {
        // Arguments go by position under the part names; the order travels as an array.
        {"calc.subtract(7, 2)",
         "({'urn:example:calculator:ops:subtractResponse': {difference: 5}})", "5",
         "{\"cURL\":\"http://wsdl.test/calculator\",\"oRequest\":{\"urn:example:calculator:ops:"
         "subtract\":{\"minuend\":7,\"subtrahend\":2},\"soapParameterOrder\":[\"subtrahend\","
         "\"minuend\"]},\"cAction\":\"urn:example:calculator#subtract\"}"},
        // A reply with two members gives the whole member object.
        {"calc.ping()", "({r: {a: 1, b: 2}})", "{\"a\":1,\"b\":2}",
         "{\"cURL\":\"http://wsdl.test/calculator\",\"oRequest\":{\"urn:example:calculator:ops:"
         "ping\":{},\"soapParameterOrder\":[]},\"cAction\":\"urn:example:calculator#ping\"}"},
        // Only the first member of the reply counts; an empty reply gives nothing.
        {"calc.greet('Ada')", "({first: {only: 'one'}, second: {x: 2}})", "\"one\"", nullptr},
        {"calc.greet('Ada')", "({})", "undefined", nullptr},
    };
    for (const auto& c : cases) {
        run(std::string("requestsSeen = []; replies = [") + c.reply + "];");
        EXPECT_EQ(run(std::string("String(JSON.stringify(") + c.call + "))"), c.result) << c.call;
        if (c.request) {
            EXPECT_EQ(run("requestsSeen[0]"), c.request) << c.call;
        }
    }
}

TEST_F(SOAPConnectTest, AProxyOfADescriptionSplitOverImportsTellsThePortItCalls) {
    // The host's WSDL documents of a service split over three, with the SOAP port second.
    const char* const files[][2] = {
        {"http://wsdl.test/wsdl/main.wsdl", "wsdl-import-main.wsdl"},
        {"http://wsdl.test/wsdl/parts/stock-interface.wsdl", "wsdl-import-interface.wsdl"},
        {"http://wsdl.test/wsdl/bindings/stock-bindings.wsdl", "wsdl-import-bindings.wsdl"},
    };
    for (const auto& [url, file] : files) {
        std::ifstream in(std::string(VELL_TEST_DATA) + "/host/" + file, std::ios::binary);
        std::string body((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        host.network().addReply(url, FakeReply::withBody(200, body, 100));
    }
    run("var stock = realSOAP.connect('http://wsdl.test/wsdl/main.wsdl');");
    // The port is told beside the methods, not among them, and stays as it is.
    EXPECT_EQ(run("Object.keys(stock).join()"), "quote,list");
    EXPECT_EQ(run("stock.wsdlPort = null; JSON.stringify(stock.wsdlPort)"),
              "{\"service\":\"StockService\",\"port\":\"StockSoap\"}");
    run("requestsSeen = []; replies = [({r: {price: 9.5}})];");
    EXPECT_EQ(run("String(stock.quote('ACME', 'EUR'))"), "9.5");
    EXPECT_EQ(run("requestsSeen[0]"),
              "{\"cURL\":\"http://stock.example/soap\",\"oRequest\":{\"urn:example:stock:ops:"
              "quote\":{\"symbol\":\"ACME\",\"currency\":\"EUR\"},\"soapParameterOrder\":"
              "[\"symbol\",\"currency\"]},\"cAction\":\"urn:example:stock#quote\"}");
    // A proxy of one document tells its port too.
    EXPECT_EQ(run("realSOAP.connect('http://wsdl.test/calculator.wsdl').wsdlPort.port"),
              "CalculatorPort");
}

TEST_F(SOAPConnectTest, EachMethodReadsItsOwnSettings) {
    run("var calc = realSOAP.connect('http://wsdl.test/calculator.wsdl');"
        "calc.subtract.asyncHandler = {response: function() {}};"
        "calc.subtract.requestHeader = {h: 1};"
        "calc.subtract.responseHeader = {};"
        "calc.subtract.authenticator = {Username: 'u', Password: 'p'};");
    run("replies = [null, null]; calc.subtract(1, 2); calc.ping();");
    EXPECT_EQ(run("var p = JSON.parse(requestsSeen[0]);"
                  "[typeof p.oAsync, JSON.stringify(p.oReqHeader), JSON.stringify(p.oRespHeader),"
                  " p.oAuthenticate.Username].join(' ')"),
              "object {\"h\":1} {} u");
    EXPECT_EQ(run("var q = JSON.parse(requestsSeen[1]);"
                  "[q.oAsync, q.oReqHeader, q.oRespHeader, q.oAuthenticate].join()"),
              ",,,");
}

TEST_F(SOAPConnectTest, DocumentMethodsSendTheirArgumentLiterallyAndStripTheReply) {
    run("var orders = realSOAP.connect('http://wsdl.test/orders.wsdl');");
    const struct {
        const char* argument;
        const char* reply;
        const char* request; // oRequest as JSON
        const char* result;
    } cases[] = {
        {"{item: 'tea', quantity: 2}",
         "({'urn:example:orders:placeOrderResponse': {'urn:example:orders:id': 'A1'}})",
         "{\"placeOrder\":{\"item\":\"tea\",\"quantity\":2}}", "\"A1\""},
        // A string is the element's content as it stands.
        {"'<item>tea</item>'",
         "({r: {'urn:example:orders:id': 'A1', 'urn:example:orders:total': {'urn:example:orders:"
         "amount': 3, 'urn:other:unit': 'EUR'}}})",
         "{\"placeOrder\":{\"soapValue\":\"<item>tea</item>\"}}",
         "{\"id\":\"A1\",\"total\":{\"amount\":3,\"urn:other:unit\":\"EUR\"}}"},
        {"null", "null", "{\"placeOrder\":null}", "undefined"},
    };
    for (const auto& c : cases) {
        run(std::string("requestsSeen = []; replies = [") + c.reply + "];");
        EXPECT_EQ(run(std::string("String(JSON.stringify(orders.placeOrder(") + c.argument + ")))"),
                  c.result)
            << c.argument;
        EXPECT_EQ(run("var p = JSON.parse(requestsSeen[0]);"
                      "[p.cURL, p.cAction, p.bEncoded, p.cNamespace].join(' ')"),
                  "http://wsdl.test/orders urn:example:orders#placeOrder false urn:example:orders")
            << c.argument;
        EXPECT_EQ(run("JSON.stringify(JSON.parse(requestsSeen[0]).oRequest)"), c.request)
            << c.argument;
    }
}

TEST_F(SOAPConnectTest, AStreamArgumentIsSentAsAnyOtherObject) {
    // The document template looks for a stream by valueOf() giving "[object Stream]", which
    // our stream objects never give: a stream goes as the element's map, not as its content.
    // That is intended.
    run("var orders = realSOAP.connect('http://wsdl.test/orders.wsdl');"
        "requestsSeen = []; replies = [null];"
        "var stream = realSOAP.streamFromString('<item>tea</item>');"
        "orders.placeOrder(stream);");
    EXPECT_EQ(run("String(stream.valueOf() == '[object Stream]')"), "false");
    EXPECT_EQ(run("var p = JSON.parse(requestsSeen[0]);"
                  "typeof p.oRequest.placeOrder + ' ' + ('soapValue' in p.oRequest.placeOrder)"),
              "object false");
}

TEST_F(SOAPConnectTest, NothingOfAHostileRPCDocumentRuns) {
    testing::internal::CaptureStderr();
    run("var hostile = realSOAP.connect('http://wsdl.test/hostile-rpc.wsdl');");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(run("typeof pwned"), "undefined");
    // Every operation is a method, under its name as the document spells it.
    EXPECT_EQ(run(R"(JSON.stringify(Object.keys(hostile)) === JSON.stringify(
                  ["x;pwned=1;var q", "get-Quote", "line\u2028break", "{method_param_list}"]))"),
              "true");

    const char* const address = R"("http://wsdl.test/hostile?\"+(pwned=5)+\"")";
    const struct {
        const char* call;
        const char* method;     // the key of oRequest, as script
        const char* action;     // cAction, as script
        const char* parameters; // the method's parameters as JSON, as script
        const char* order;      // soapParameterOrder as JSON, as script
    } cases[] = {
        {R"(hostile["x;pwned=1;var q"]())", R"("\"+(pwned=3)+\":x;pwned=1;var q")",
         R"("\"+(pwned=2)+\"")", "'{}'", "'[]'"},
        // A backslash at the end of a value does not swallow the quote behind it.
        {R"(hostile["get-Quote"]())", R"("urn:example:hostile\\:get-Quote")",
         R"("urn:example:hostile#quote\\")", "'{}'", "'[]'"},
        {R"(hostile["line\u2028break"]())", R"("urn:example:hostile:line\u2028break")",
         R"("one\ntwo\rthree\u2028pwned=4\u2029\tend")", "'{}'", "'[]'"},
        // Parts named like script, like the template's own names and like its marks go by
        // position under their own names.
        {R"(hostile["{method_param_list}"]("v1", "v2", "v3", "v4", "v5"))",
         R"("urn:example:hostile:{method_param_list}")", R"("{cAction}")",
         R"('{"+(pwned=11)+":"v1","a){pwned=12}//":"v2","p":"v3","$1":"v4","{cURL}":"v5"}')",
         R"('["\\"+(pwned=13)+\\"","p"]')"},
    };
    for (const auto& c : cases) {
        run("requestsSeen = []; replies = [({r: {a: 1, b: 2}})];");
        EXPECT_EQ(run(std::string("JSON.stringify(") + c.call + ")"), "{\"a\":1,\"b\":2}")
            << c.call;
        std::string check = std::string("var q = JSON.parse(requestsSeen[0]), o = q.oRequest;") +
                            "var keys = Object.keys(o);" + "[q.cURL === " + address +
                            ", q.cAction === " + c.action +
                            ", keys.length == 2, keys[0] === " + c.method +
                            ", JSON.stringify(o[keys[0]]) === " + c.parameters +
                            ", JSON.stringify(o.soapParameterOrder) === " + c.order + "].join()";
        EXPECT_EQ(run(check), "true,true,true,true,true,true") << c.call;
    }
    EXPECT_EQ(run("typeof pwned"), "undefined");
}

TEST_F(SOAPConnectTest, NothingOfAHostileDocumentStyleDocumentRuns) {
    run("var hostile = realSOAP.connect('http://wsdl.test/hostile-document.wsdl');");
    EXPECT_EQ(
        run(R"(Object.keys(hostile).length + " " + typeof hostile["order\"]=1;pwned=21;//"])"),
        "1 function");
    // The namespace reaches the request and the stripping of the reply as it is.
    run(R"(requestsSeen = [];
           replies = [{r: {'urn:x");pwned=22;(":total': 3, 'urn:x");pwned=22;(":unit': 'EUR'}}];)");
    EXPECT_EQ(run(R"(JSON.stringify(hostile["order\"]=1;pwned=21;//"]({item: "tea"})))"),
              R"({"total":3,"unit":"EUR"})");
    EXPECT_EQ(run(R"(var q = JSON.parse(requestsSeen[0]);
                     [q.cNamespace === 'urn:x");pwned=22;("',
                      JSON.stringify(q.oRequest) === '{"order\\"]=1;pwned=21;//":{"item":"tea"}}'
                     ].join())"),
              "true,true");
    EXPECT_EQ(run("typeof pwned"), "undefined");
}

TEST_F(SOAPConnectTest, DocumentsThatOfferNothingGiveANullOrEmptyProxy) {
    host.network().addReply("http://wsdl.test/page.html",
                            FakeReply::withBody(200, "<html><p>Moved.</html>"));
    host.network().addReply("http://wsdl.test/schema.xml",
                            FakeReply::withBody(200, soapTestData("literal-echo-string.xml")));
    host.network().addReply("http://wsdl.test/empty", FakeReply::withBody(200, ""));
    host.network().addReply("http://wsdl.test/gone", FakeReply::withBody(404, "Not here."));
    host.network().addReply("http://wsdl.test/refused", FakeReply::failure(kNetErrNoConnection));
    const struct {
        const char* script;
        const char* expected;
    } cases[] = {
        {"realSOAP.connect('http://wsdl.test/page.html')", "empty"},
        {"realSOAP.connect('http://wsdl.test/schema.xml')", "empty"},
        {"realSOAP.connect('http://wsdl.test/gone')", "empty"},
        {"realSOAP.connect('http://wsdl.test/empty')", "null"},
        {"realSOAP.connect('http://wsdl.test/refused')", "null"},
        {"realSOAP.connect('http://wsdl.test/nobody-serves-this')", "null"},
        {"realSOAP.connect({cURL: 'http://wsdl.test/calculator.wsdl'})", "3"},
        // Not an http or https URL, or none at all: the engine's bad-argument error.
        {"realSOAP.connect('ftp://wsdl.test/calculator.wsdl')", "throws"},
        {"realSOAP.connect('calculator.wsdl')", "throws"},
        {"realSOAP.connect()", "throws"},
    };
    for (const auto& c : cases) {
        std::string script = std::string("var proxy = ") + c.script +
                             "; proxy === null ? 'null' : Object.keys(proxy).length || 'empty'";
        EXPECT_EQ(run(script), c.expected) << c.script;
    }
    EXPECT_EQ(run("try { realSOAP.connect('ftp://x/'); } catch (e) { e.name }"), "ArgumentError");
}

TEST_F(SOAPConnectTest, WithoutAWsdlReaderTheProxyIsEmpty) {
    gFormFlowHFT = nullptr;
    EXPECT_EQ(run("Object.keys(realSOAP.connect('http://wsdl.test/calculator.wsdl')).length"), "0");
}

TEST_F(SOAPConnectTest, StripNSTakesTheNamespaceOffKeysAtEveryDepth) {
    const struct {
        const char* call;
        const char* expected;
    } cases[] = {
        {"realSOAP.stripNS({'urn:a:x': 1, 'urn:b:y': 2}, 'urn:a')", "{\"x\":1,\"urn:b:y\":2}"},
        {"realSOAP.stripNS({'urn:a:list': [{'urn:a:v': 1}, 'urn:a:text']}, 'urn:a')",
         "{\"list\":[{\"v\":1},\"urn:a:text\"]}"},
        {"realSOAP.stripNS({'urn:a:x': {'urn:b:y': 1}, z: 2})", "{\"x\":{\"y\":1},\"z\":2}"},
        {"realSOAP.stripNS({'urn:a': 1, 'urn:ab:c': 2}, 'urn:a')", "{\"urn:a\":1,\"urn:ab:c\":2}"},
        {"realSOAP.stripNS('urn:a:text', 'urn:a')", "\"urn:a:text\""},
        {"realSOAP.stripNS(null, 'urn:a')", "null"},
        {"realSOAP.stripNS()", "undefined"},
        {"realSOAP.stripNS({'urn:a:when': new Date(0)}, 'urn:a').when instanceof Date", "true"},
        {"(function() { var s = realSOAP.streamFromString('abc');"
         " return realSOAP.stripNS({'urn:a:s': s}, 'urn:a').s === s; })()",
         "true"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(run(std::string("String(JSON.stringify(") + c.call + "))"), c.expected) << c.call;

    // A value nested past the bound comes back cut off, not as a crash.
    EXPECT_EQ(run("var deep = {}; for (var i = 0; i < 5000; ++i) deep = {'urn:a:d': deep};"
                  "var out = realSOAP.stripNS(deep, 'urn:a'), n = 0;"
                  "while (out.d) { out = out.d; ++n; } n + ' ' + Object.keys(out)[0]"),
              "256 urn:a:d");
}

} // namespace
