// exit: 1
// A script that does not compile runs nothing.
console.println("never");
var x = ;
