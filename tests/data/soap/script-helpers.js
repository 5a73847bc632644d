// Helpers that the SOAP script tests load into their context before each case.

// The value as JSON, or the exception that f throws: its name, message and the properties that
// SOAPError and NetworkError carry.
function attempt(f) {
    try {
        return String(JSON.stringify(f()));
    } catch (e) {
        var text = e.name + ": " + e.message;
        if ("faultCode" in e)
            text += " | faultCode=" + JSON.stringify(e.faultCode) +
                    " faultActor=" + JSON.stringify(e.faultActor) +
                    " faultDetail=" + JSON.stringify(e.faultDetail);
        if ("statusCode" in e)
            text += " | statusCode=" + e.statusCode;
        return text;
    }
}

// A stream's bytes as text.
function text(stream) {
    return SOAP.stringFromStream(stream);
}

// Each async handler call, as JSON, in the order they came.
var heard = [];
function handler(tag) {
    return {
        response: function() {
            var args = [];
            for (var i = 0; i < arguments.length; ++i)
                args.push(arguments[i] === undefined ? "undefined" : arguments[i]);
            heard.push(tag + " " + JSON.stringify(args));
        }
    };
}
