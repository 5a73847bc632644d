// The SOAP object where no service answers: nothing listens on port 1 of the loopback.
try {
    SOAP.request("http://127.0.0.1:1/soap", {"urn:x:ping": {}});
} catch (e) {
    console.println(e.name + " " + e.statusCode + ": " + e.message);
}
SOAP.request({cURL: "http://127.0.0.1:1/soap", oRequest: {"urn:x:ping": {}}, oAsync: {
    response: function(result) { console.println("told later: " + JSON.stringify(result)); }
}});
try {
    SOAP.request("file:///etc/passwd", {});
} catch (e) {
    console.println(e.name + ": " + e.message);
}
var digest = SOAP.streamDigest(SOAP.streamFromString("abc"), "SHA1");
console.println(SOAP.stringFromStream(SOAP.streamEncode(digest, "base64")));
console.println("the script ends before the asynchronous call is told");
