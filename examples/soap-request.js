// Calling a SOAP service of your own with SOAP.request.
//
//   vellum-host run examples/soap-request.js
//
// Set service, namespace and operation to those of your service. The example sends
// echoString(inputString) in the rpc/encoded style, the same call in the document/literal style,
// and the same call once more asynchronously; it prints what comes back or why it failed.
var service = "http://127.0.0.1:8080/soap";
var namespace = "http://soapinterop.org/";
var operation = "echoString";

function report(label, call) {
    try {
        console.println(label + ": " + JSON.stringify(call()));
    } catch (e) {
        if (e.name == "SOAPError")
            console.println(label + ": the service answered with a fault: " + e.message +
                            " (" + e.faultCode + ")");
        else if (e.name == "NetworkError")
            console.println(label + ": " + e.message + " (" + e.statusCode + ")");
        else
            throw e;
    }
}

var request = {};
request[namespace + ":" + operation] = {inputString: "Hello from Vellum"};

// Encoded: every value goes out with its xsi:type; the reply comes back as an object with one
// member per element of the reply's body.
report("encoded", function() {
    return SOAP.request({cURL: service, oRequest: request, cAction: namespace + operation});
});

// Literal: no types; the operation declares the namespace as its default.
report("literal", function() {
    return SOAP.request({cURL: service, oRequest: request, bEncoded: false,
                         cNamespace: namespace, cAction: namespace + operation});
});

// Asynchronous: the call returns at once, and the outcome comes to the handler's response
// method, a failure as a record with its type and text.
SOAP.request({cURL: service, oRequest: request, cAction: namespace + operation, oAsync: {
    response: function(result) {
        console.println("asynchronous: " + JSON.stringify(result));
    }
}});

// Set SOAP.wireDump = true before a call to see what goes over the wire.
