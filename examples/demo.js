// The demo of the SOAP plug-in. Run it with `vellum-host demo` (or `make demo`): the host then
// serves sample SOAP services and two sample feeds on 127.0.0.1 and sets demoServer to their
// address. Run it twice: the second run finds the feeds that the first subscribed to.
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

say("5. Feeds: RSS.addFeed subscribes to the two sample feeds that the demo serves.");
// The demo's server takes a free port each time, so a subscription of an earlier run names that
// run's port. Finding one shows that the store kept it, with what had arrived for it.
var sampleFeed = /^http:\/\/127\.0\.0\.1:\d+\/feeds\/(news\.xml|notes\.atom)$/;
var earlier = RSS.feeds.filter(function(url) {
    return sampleFeed.test(url) && url.indexOf(demoServer + "/") != 0;
});
if (earlier.length == 0)
    say("   No subscriptions from an earlier run of the demo: run it again to see them found.");
earlier.forEach(function(url) {
    var kept = RSS.getContents(url);
    say("   Found again from an earlier run: " + url.replace(/^http:\/\/[^/]+/, "") +
        (kept.Items ? ", kept as \"" + kept.Title + "\" with " + kept.Items.length + " items"
                    : ", which had not arrived") + ".");
    // That run's server has gone: the feed is subscribed again on this run's port below.
    RSS.removeFeed(url);
});

function day(seconds) {
    return typeof seconds == "number" && seconds > 0 ? new Date(seconds * 1000).toISOString()
                                                           .substring(0, 10)
                                                     : "(no date) ";
}

["/feeds/news.xml", "/feeds/notes.atom"].forEach(function(path) {
    var url = demoServer + path;
    // Without bUpdateAsync the call returns once the fetch is over; a feed subscribed already is
    // fetched again with RSS.update.
    if (RSS.feeds.indexOf(url) < 0)
        RSS.addFeed({cURL: url, bUpdateAsync: false});
    else
        RSS.update(url, false);
    var feed = RSS.getContents(url);
    if (!feed.Items) {
        say("   " + path + " has not arrived: the fetch failed or has not happened.");
        return;
    }
    say("   " + path + " is \"" + feed.Title + "\" with " + feed.Items.length +
        " items; the first ones:");
    feed.Items.slice(0, 3).forEach(function(item) {
        say("     " + day(item.ModDate) + "  " + item.Title);
    });
});

say("6. An asynchronous request: SOAP.request returns at once, and the answer comes later.");
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

say("7. Calling a service that always fails: the SOAP fault arrives as an exception.");
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
