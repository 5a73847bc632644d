// Keys can be listed, but the second value throws when it is read.
({
    first: "fine",
    get second() { throw new RangeError("second is broken"); },
    third: "never reached"
});
