// SOAP.connect, which makes a proxy object of a WSDL document, and SOAP.stripNS, which the
// proxies of document-style operations use to take the namespace off the keys of a reply.
#pragma once

#include "frame/host/IScriptEngine.h"

/// SOAP.connect(cURL): the proxy of the WSDL document at the URL (an object of the class
/// "SOAPService" with one method per operation), an empty proxy for a document that offers no
/// operation, null when the fetch gave nothing. A URL that is not http or https fails with the
/// engine's bad-argument error; a network failure is no exception.
bool JSSOAPConnect(ESContext context, ESObject self, ESArgs args, ESVal result);

/// SOAP.stripNS(value, cNamespace): a copy of the value in which every key of the form
/// namespace ":" name, in plain objects and arrays at any depth, is the name alone. Without a
/// namespace, any namespace is stripped (up to the last ":"). Other values come back as they are.
bool JSSOAPStripNS(ESContext context, ESObject self, ESArgs args, ESVal result);

/// Entry 3 of the exported table "SOAP", reserved: does nothing.
void CSOAPConnect();
