// An object whose every read and whose key listing throw.
new Proxy({a: 1}, {
    get: function(target, key) { throw new TypeError("no reading " + String(key)); },
    has: function(target, key) { throw new TypeError("no asking"); },
    ownKeys: function(target) { throw new TypeError("no listing"); }
});
