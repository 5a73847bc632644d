// The SOAP object's stream helpers: moving between strings and stream objects, and running
// streams through the base64 and hexadecimal filters or a digest.
//
//   SOAP.stringFromStream(oStream)           the whole stream as a string
//   SOAP.streamFromString(cString)           a stream of the string's bytes
//   SOAP.stringEncode(cString, cEncoder)     "entity" (the default) escapes markup
//   SOAP.streamEncode(oStream, cEncoder)     "hex", "base64", or nothing: the same bytes
//   SOAP.streamDecode(oStream, cEncoder)     the same, the other way
//   SOAP.streamDigest(oStream, cEncoder)     "SHA1" or "MD5": the raw digest bytes
//
// Strings and bytes meet in UTF-8. The streams that encode, decode and digest keep their source
// in their property "srcStm", so that the source lives as long as they do; encoding and decoding
// read nothing until the script reads the result.
#pragma once

#include "frame/host/IScriptEngine.h"
#include "frame/host/QsStmRec.h"

#include <string>

/// The rest of the stream, read to its end, as text.
std::string StringFromStream(QsStm stream);
/// A new read stream over the bytes of the text.
QsStm StreamFromString(const std::string& text);
/// A new read stream over a copy of length bytes of data.
QsStm StreamFromData(const void* data, size_t length);

/// SOAP.stringFromStream.
bool JSSOAPStringFromStream(ESContext context, ESObject self, ESArgs args, ESVal result);
/// SOAP.streamFromString.
bool JSSOAPStreamFromString(ESContext context, ESObject self, ESArgs args, ESVal result);
/// SOAP.stringEncode.
bool JSSOAPStringEncode(ESContext context, ESObject self, ESArgs args, ESVal result);
/// SOAP.streamEncode, SOAP.streamDecode and SOAP.streamDigest: one method, told apart by the
/// name it was called under.
bool JSSOAPStreamFilter(ESContext context, ESObject self, ESArgs args, ESVal result);
