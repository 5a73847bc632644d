// An object that holds itself, directly and through an array.
var o = {name: "loop"};
o.self = o;
o.list = [o, 1];
o;
