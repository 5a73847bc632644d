// Calls each failing method of the test object and describes what the script caught.
var seen = [];
["fails", "answersFalse", "failsInside", "throwsFault", "privileged"].forEach(function(name) {
    try {
        t[name]();
        seen.push(name + ": no exception");
    } catch (e) {
        var line = name + ": " + e.name + " " + e.number + " " + e.message;
        if (e.faultCode !== undefined)
            line += " " + e.faultCode + " " + (e instanceof Error);
        seen.push(line);
    }
});
seen.join("\n");
