// A run happens for the event Console/Exec, with the plug-in's objects and texts in the context.
console.println(event.type + "/" + event.name);
console.println(typeof SOAP + " " + typeof RSS);
console.println(SOAPString.IDS_FULL_NAME + ", " + SOAPString.IDS_SOAP_JS_BUILTIN);
console.println(typeof SOAPString.IDS_NO_SUCH_MESSAGE);
