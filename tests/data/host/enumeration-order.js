// Integer keys come first in ascending order, then names in the order they were made. Symbols
// and properties that are not enumerable are left out.
var o = {b: 1, a: 2, 10: 3, 2: 4, c: 5};
o[Symbol("hidden")] = 6;
Object.defineProperty(o, "quiet", {value: 7, enumerable: false});
o.d = 8;
o;
