// A stream object of a script whose read fails.
({
    read: function(nBytes) { throw new Error("the disk is gone"); },
    write: function(cHex) { return cHex.length / 2; }
});
