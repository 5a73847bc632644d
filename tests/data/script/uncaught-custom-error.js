// exit: 1
// An object with a name and a message counts as an error; one without a message shows its name.
function Failure(name) { this.name = name; }
throw new Failure("NoMessageError");
