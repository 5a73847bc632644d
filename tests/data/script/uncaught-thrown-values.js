// exit: 1
// A thrown value that is no error object has no name: it is told by its text.
try {
    throw new RangeError("caught and told");
} catch (e) {
    console.println(e.name + ": " + e.message);
}
throw "a bare string";
