// console.println writes each line to standard output, text of any script value included.
console.println("plain text");
console.println(42);
console.println(["a", 1, null].join("|"));
console.println("accents: h\u00e9llo, \u00fcber; beyond the plane: \ud83d\ude00");
console.println({toString: function () { return "an object's own text"; }});
console.println("");
console.println("the end");
