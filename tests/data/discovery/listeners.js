// Helpers that the script discovery tests load into their context before each case.

// Every call of a listener, as "tag method JSON", in the order they came.
var heard = [];
function listener(tag) {
    return {
        addServices: function(services) { heard.push(tag + " add " + JSON.stringify(services)); },
        removeServices: function(services) {
            heard.push(tag + " remove " + JSON.stringify(services));
        },
        resolve: function(name, result) {
            heard.push(tag + " resolve " + JSON.stringify(name) + " " + JSON.stringify(result));
        }
    };
}

// The value as JSON, or the exception that f throws, as "name: message".
function attempt(f) {
    try {
        return String(JSON.stringify(f()));
    } catch (e) {
        return e.name + ": " + e.message;
    }
}
