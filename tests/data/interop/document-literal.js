// document/literal against PHP's SoapServer: a proxy made from the SOAP 1.1 WSDL, whose methods
// take the wrapper element's content, and SOAP 1.2 requests written by hand to the endpoint of
// the SOAP 1.2 WSDL. The literal reader keeps no types: every value arrives as text.
var doc = SOAP.connect(interopServer + "/document-literal-soap11.wsdl");
attempt("operations", function() { return Object.keys(doc).join(" "); });
attempt("echoString", function() { return doc.echoString({inputString: "Gr\u00fc\u00dfe & <tags>"}); });
attempt("echoInteger", function() { return doc.echoInteger({inputInteger: -42}); });
attempt("echoDouble", function() { return doc.echoDouble({inputDouble: 2.5}); });
attempt("echoBoolean", function() { return doc.echoBoolean({inputBoolean: true}); });
attempt("echoBase64", function() {
    return doc.echoBase64({inputBase64: SOAP.streamFromString("bytes\u0001")});
});
attempt("echoStringArray", function() {
    return doc.echoStringArray({inputStringArray: ["one", "two", "three"]});
});
attempt("echoStruct", function() {
    return doc.echoStruct({inputStruct: {varString: "s", varInt: 7, varFloat: 0.5}});
});
attempt("fixedTime", function() { return doc.fixedTime({}); });
attempt("whoAmI without a header", function() { return doc.whoAmI({}); });
doc.whoAmI.requestHeader = {"urn:interop:session": {user: "grace"}};
var served = {};
doc.whoAmI.responseHeader = served;
attempt("whoAmI with a header", function() { return doc.whoAmI({}); });
show("response header", served);
attempt("fail", function() { return doc.fail({reason: "no reason"}); });

function call12(name, parameters) {
    var request = {};
    request[name] = parameters;
    return SOAP.request({cURL: interopServer + "/document-literal-soap12", oRequest: request,
                         cAction: "urn:interop#" + name, cVersion: "1.2", bEncoded: false,
                         cNamespace: "urn:interop"});
}
attempt("1.2 echoString", function() {
    return SOAP.stripNS(call12("echoString", {inputString: "twelve"}), "urn:interop");
});
attempt("1.2 echoStruct", function() {
    return SOAP.stripNS(call12("echoStruct", {inputStruct: {varString: "t", varInt: 12,
                                                            varFloat: 1.5}}), "urn:interop");
});
attempt("1.2 fail", function() { return call12("fail", {reason: "twelve"}); });
