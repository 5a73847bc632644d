// exit: 1
// An asynchronous SOAP handler that throws: nothing listens on port 1 of the loopback, so the
// handler is told of the failure from the event loop, where no script can catch what it throws.
SOAP.request({cURL: "http://127.0.0.1:1/soap", oRequest: {"urn:x:ping": {}}, oAsync: {
    response: function(result) {
        console.println("told: " + result.type);
        throw new RangeError("the handler gave up");
    }
}});
console.println("the script ends first");
