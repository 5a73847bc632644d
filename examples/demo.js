// The demo of the SOAP plug-in. Run it with `vellum-host demo` (or `make demo`): the host then
// serves sample SOAP services on 127.0.0.1 and sets demoServer to their address.
if (typeof demoServer == "undefined")
    throw new Error("run this script with vellum-host demo, which serves the sample services");

function say(text) {
    console.println(text);
}

say("1. Connecting to the echo service through its WSDL document, " + demoServer +
    "/echo.wsdl.");
var echo = SOAP.connect(demoServer + "/echo.wsdl");
var methods = [];
for (var name in echo)
    methods.push(name);
say("   The proxy has one method per operation: " + methods.join(", ") + ".");

say("2. Calling proxy methods, which send rpc/encoded requests.");
say("   echo.echoString(\"Hello from Vellum\") answers \"" + echo.echoString("Hello from Vellum") +
    "\".");
say("   echo.addNumbers(2, 40) answers " + echo.addNumbers(2, 40) + ".");
var info = echo.serverInfo();
say("   echo.serverInfo() answers two values, so the proxy gives both: the name \"" + info.name +
    "\" and the time " + (info.time instanceof Date ? info.time.toISOString() + " (a Date)"
                                                     : String(info.time)) + ".");

say("3. An encoded SOAP.request, written by hand.");
var reply = SOAP.request({
    cURL: demoServer + "/echo",
    oRequest: {"urn:vellum-demo:echo:echoString": {inputString: "sent by SOAP.request"}},
    cAction: "urn:vellum-demo:echo#echoString"
});
for (var element in reply)
    say("   The reply holds the element " + element + ", whose return is \"" +
        reply[element]["return"] + "\".");

say("4. A literal SOAP.request, and the same call through the greeting service's WSDL.");
var literal = SOAP.request({
    cURL: demoServer + "/literal",
    oRequest: {greet: {name: "Ada"}},
    cAction: "urn:vellum-demo:literal#greet",
    bEncoded: false,
    cNamespace: "urn:vellum-demo:literal"
});
say("   The reply, namespaces stripped: " +
    JSON.stringify(SOAP.stripNS(literal, "urn:vellum-demo:literal")) + ".");
var greeter = SOAP.connect(demoServer + "/literal.wsdl");
say("   greeter.greet({name: \"Grace\"}) answers " + JSON.stringify(greeter.greet({name: "Grace"})) +
    ".");

say("5. An asynchronous request: SOAP.request returns at once, and the answer comes later.");
SOAP.request({
    cURL: demoServer + "/echo",
    oRequest: {"urn:vellum-demo:echo:echoString": {inputString: "answered later"}},
    oAsync: {
        response: function(result) {
            for (var element in result)
                say("   ... and here is the asynchronous answer: \"" + result[element]["return"] +
                    "\". The demo is done.");
        }
    }
});
say("   SOAP.request has returned; the script goes on while the call is under way.");

say("6. Calling a service that always fails: the SOAP fault arrives as an exception.");
try {
    SOAP.request({
        cURL: demoServer + "/fault",
        oRequest: {"urn:vellum-demo:echo:echoString": {inputString: "please fail"}}
    });
    say("   The call did not fail, which it should have.");
} catch (e) {
    say("   Caught " + e.name + " with the fault code " + e.faultCode + ": \"" + e.message +
        "\".");
}
say("   Now the host waits for the asynchronous answer.");
