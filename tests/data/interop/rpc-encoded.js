// rpc/encoded against PHP's SoapServer: a proxy made from the SOAP 1.1 WSDL, and SOAP 1.2
// requests written by hand to the endpoint of the SOAP 1.2 WSDL.
var rpc = SOAP.connect(interopServer + "/rpc-encoded-soap11.wsdl");
attempt("operations", function() { return Object.keys(rpc).join(" "); });
attempt("echoString", function() { return rpc.echoString("Gr\u00fc\u00dfe & <tags>"); });
attempt("echoInteger", function() { return rpc.echoInteger(-42); });
// xsd:double is not among the types the encoded reader converts: its text arrives.
attempt("echoDouble", function() { return rpc.echoDouble(2.5); });
attempt("echoBoolean", function() { return rpc.echoBoolean(true); });
attempt("echoBase64", function() { return rpc.echoBase64(SOAP.streamFromString("bytes\u0001")); });
attempt("echoStringArray", function() { return rpc.echoStringArray(["one", "two", "three"]); });
attempt("echoStruct", function() {
    return rpc.echoStruct({varString: "s", varInt: 7, varFloat: 0.5});
});
attempt("fixedTime", function() {
    var time = rpc.fixedTime();
    return time instanceof Date && time.getTime() == Date.UTC(2004, 4, 6, 7, 8, 9)
               ? "the instant 2004-05-06T07:08:09Z" : time;
});
attempt("whoAmI without a header", function() { return rpc.whoAmI(); });
rpc.whoAmI.requestHeader = {"urn:interop:session": {user: "ada"}};
var served = {stale: true};
rpc.whoAmI.responseHeader = served;
attempt("whoAmI with a header", function() { return rpc.whoAmI(); });
show("response header", served);
attempt("fail", function() { return rpc.fail("no reason"); });
attempt("missing", function() {
    return SOAP.request({cURL: interopServer + "/missing",
                         oRequest: {"urn:interop:echoString": {inputString: "x"}}});
});

// The proxy of a SOAP 1.2 binding still speaks SOAP 1.1: its template names no version.
attempt("proxy of the 1.2 binding", function() {
    return SOAP.connect(interopServer + "/rpc-encoded-soap12.wsdl").echoInteger(1102);
});

function call12(name, parameters) {
    var request = {};
    request["urn:interop:" + name] = parameters;
    return SOAP.request({cURL: interopServer + "/rpc-encoded-soap12", oRequest: request,
                         cAction: "urn:interop#" + name, cVersion: "1.2"});
}
attempt("1.2 echoString", function() { return call12("echoString", {inputString: "twelve"}); });
attempt("1.2 echoInteger", function() { return call12("echoInteger", {inputInteger: 12}); });
attempt("1.2 echoStringArray", function() {
    return call12("echoStringArray", {inputStringArray: ["a", "b"]});
});
// A SOAP 1.2 fault has none of the 1.1 fault's elements: it passes for an empty reply.
attempt("1.2 fail", function() { return call12("fail", {reason: "twelve"}); });
