// Shared by the interoperability scripts (the test puts this file and the line that sets
// interopServer in front of each script): one line per outcome, in a form that shows types.
function describe(value) {
    if (value === null)
        return "null";
    if (value === undefined)
        return "undefined";
    if (value instanceof Date)
        return "Date " + value.toISOString();
    if (Array.isArray(value))
        return "[" + value.map(describe).join(", ") + "]";
    if (typeof value == "object" && typeof value.read == "function")
        return "stream of the bytes " + SOAP.stringFromStream(SOAP.streamEncode(value, "hex"));
    if (typeof value == "object") {
        var keys = [];
        for (var key in value)
            keys.push(key);
        keys.sort();
        return "{" + keys.map(function(k) { return k + ": " + describe(value[k]); }).join(", ") +
               "}";
    }
    return typeof value + " " + JSON.stringify(value);
}

function show(label, value) {
    console.println(label + ": " + describe(value));
}

function attempt(label, call) {
    try {
        show(label, call());
    } catch (e) {
        var line = label + ": " + e.name + " \"" + e.message + "\"";
        if (e.faultCode !== undefined)
            line += " faultCode " + describe(e.faultCode) + " faultActor " +
                    describe(e.faultActor) + " faultDetail " + describe(e.faultDetail);
        if (e.statusCode !== undefined)
            line += " statusCode " + describe(e.statusCode);
        console.println(line);
    }
}
