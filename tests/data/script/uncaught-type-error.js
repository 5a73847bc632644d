// exit: 1
// An uncaught exception ends the run: its name and message go to standard error.
console.println("before");
var notAFunction = 5;
notAFunction();
console.println("never");
