// Calls a SOAP service the way a user's script does: @SERVICE@ stands for its address.
// Synchronous calls, encoded and literal, a fault, a missing endpoint, and two asynchronous
// calls whose replies come back in the other order.
function show(label, f) {
    try {
        console.println(label + ": " + JSON.stringify(f()));
    } catch (e) {
        console.println(label + ": " + e.name + ": " + e.message +
                        ("faultCode" in e ? " [" + e.faultCode + "]" : "") +
                        ("statusCode" in e ? " [" + e.statusCode + "]" : ""));
    }
}

show("encoded", function() {
    return SOAP.request({cURL: "@SERVICE@/echo", cAction: "urn:echo",
                         oRequest: {"http://soapinterop.org/:echoString": {inputString: "hi"}}});
});
show("literal", function() {
    return SOAP.request({cURL: "@SERVICE@/greet", bEncoded: false,
                         cNamespace: "http://soapinterop.org/",
                         oRequest: {"http://soapinterop.org/:echoString": {inputString: "hi"}}});
});
show("fault", function() { return SOAP.request("@SERVICE@/fault", {"urn:calc:divide": {}}); });
show("missing", function() { return SOAP.request("@SERVICE@/missing", {"urn:x:ping": {}}); });

["slow", "echo"].forEach(function(path) {
    SOAP.request({cURL: "@SERVICE@/" + path, oRequest: {"urn:x:ping": {}}, oAsync: {
        response: function(result, url) {
            console.println("async " + path + ": " + JSON.stringify(result) + " " + url);
        }
    }});
});
console.println("both asynchronous calls are under way");
