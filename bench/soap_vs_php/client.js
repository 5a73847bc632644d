// Our side of the side-by-side benchmark, run by vellum-host after a first line that sets
// benchURL, benchEncoded, benchCount and benchCalls. Builds a request of benchCount structs,
// then makes benchCalls calls with SOAP.request and prints one line "call MS RESULTCOUNT" for
// each: the milliseconds of the call alone, and how many structs came back.
var items = [];
for (var i = 0; i < benchCount; ++i)
    items.push({id: i, name: "Item number " + i, price: i + 0.25, active: i % 2 == 0});

for (var call = 0; call < benchCalls; ++call) {
    var request = benchEncoded ? {"urn:bench:echoItems": {items: items}}
                               : {echoItems: {item: items}};
    var start = Date.now();
    var result = SOAP.request({cURL: benchURL, oRequest: request, cAction: "urn:bench#echoItems",
                               bEncoded: benchEncoded, cNamespace: "urn:bench"});
    var ms = Date.now() - start;
    var back = benchEncoded ? result["urn:bench:echoItemsResponse"]["return"]
                            : result["urn:bench:echoItemsResponse"]["urn:bench:item"];
    console.println("call " + ms.toFixed(1) + " " + (back ? back.length : 0));
    result = back = undefined;
}
