// The SOAP script object's calls: SOAP.request, SOAP.response and the wireDump property.
//
// SOAP.request(cURL, oRequest, oAsync, cAction, bEncoded, cNamespace, oReqHeader, oRespHeader,
// cVersion, oAuthenticate, cResponseStyle) takes its arguments by position, or by name as the
// properties of one object. They become a command (soap/SOAPRequestCore.h); the call's reply
// comes back as the method's value, and a failure as an exception named SOAPError (with
// faultCode, faultActor, faultDetail) or NetworkError (with statusCode). With oAsync the call
// returns nothing at once, and the outcome goes later to oAsync.response.
//
// SOAP.response(cURL, oRequest, cAction, bEncoded, cNamespace, oReqHeader, cVersion,
// oAuthenticate) sends a message and throws its reply away.
//
// A missing or wrong argument fails the call with the engine's bad-argument error.
#pragma once

#include "frame/host/IScriptEngine.h"

/// SOAP.request.
bool JSSOAPRequest(ESContext context, ESObject self, ESArgs args, ESVal result);
/// SOAP.response.
bool JSSOAPResponse(ESContext context, ESObject self, ESArgs args, ESVal result);
/// Reads SOAP.wireDump: whether the traffic is printed to the console.
bool JSSOAPGetWireDump(ESContext context, ESObject self, ESVal result);
/// Sets SOAP.wireDump.
bool JSSOAPSetWireDump(ESContext context, ESObject self, ESVal value);
