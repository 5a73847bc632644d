// The SOAP calls of the exported table "SOAP", for other plug-ins of the viewer.
//
// A call is described by a cabinet holding the keys of a command (soap/SOAPRequestCore.h):
// "request", and as wished "soapAction", "encoded" (true when absent), "nameSpace", "header",
// "version", "authenticate", "messageStyle", "Message". A "soapParameterOrder" entry of the
// request is taken out as the parameter order, as script's is.
#pragma once

#include "frame/host/ICabinets.h"
#include "soap/CSOAPProcRequestAsync.h"

#include <cstdint>

/// Entry 1: calls the service at url and waits. The cabinet gets the command back: "response"
/// and "header" hold the reply, and after a failure "error" holds its record in place of
/// "response". 1 for a reply, 0 for a failure.
int32_t CSOAPRequest(const char* url, QsCab cabinet);
/// Entry 2: the asynchronous form. The outcome goes to proc, at a later idle moment; when the
/// call cannot start it goes there before this returns. 1 when the call is under way.
int32_t CSOAPAsyncRequest(const char* url, QsCab cabinet, SOAPAsyncProc proc, void* data);
/// Entry 4, reserved: does nothing.
void CSOAPCall();
/// Entry 5: base64 of length bytes of data (length -1: up to a NUL) as a NUL-terminated text
/// from the viewer's allocator, which the caller frees with QsFree. *outLength, when asked for,
/// gets its length.
char* CSOAPEncodeString(const char* data, long length, long* outLength);
/// Entry 6: the bytes of base64 text (length -1: up to a NUL), NUL-terminated, from the
/// viewer's allocator; *outLength gets their number without the NUL.
char* CSOAPDecodeString(const char* text, long length, long* outLength);
