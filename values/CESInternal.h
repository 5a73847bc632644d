// What the rooms of the script bridge share: the engine, guards around its calls, the forms of
// property names, and hexadecimal text. Only the bridge's sources include this header.
#pragma once

#include "values/CES.h"
#include "values/EStr.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace CES::detail {

/// The script engine; without one, the host error of code 1.
IScriptEngine& engine();

/// Throws the script error that waits in the context's handler, or else the internal exception.
[[noreturn]] void throwPending(const Context& context);

/// A read of a value failed: the host error kESErrScript after a script error, else 1.
[[noreturn]] void raiseReadFailure(const Context& context);

/// Runs an engine call; a host error it raises becomes the internal exception.
template <class Fn> auto guarded(Fn&& fn) -> decltype(fn()) {
    try {
        return fn();
    } catch (const HostError&) {
        throwInternalException();
    }
}

/// Whether PDFDocEncoding bytes are all characters that the encoding shares with ASCII, each
/// the character of its own code: tab, line feed, carriage return and 32 to 126.
inline bool isPlainText(const char* bytes, long length) {
    for (long i = 0; i < length; ++i) {
        auto c = static_cast<unsigned char>(bytes[i]);
        if ((c < 0x20 || c > 0x7E) && c != '\t' && c != '\n' && c != '\r')
            return false;
    }
    return true;
}

/// A UCS string of marked bytes.
CEStr ucsString(const char* marked, long length);

/// A name as the engine takes it, from marked UCS units: the mark, big-endian units, a zero unit.
std::string markedName(const std::u16string& units);
/// A name from a host-encoded or marked text of the caller, with the terminator it needs.
std::string nameFromText(const char* text);

/// Bytes as lower-case hexadecimal text, two digits a byte.
std::string hexFromBytes(const char* bytes, size_t count);
/// Hexadecimal text as bytes: characters that are no digits are skipped, so that a pair may be
/// split by them; a last lone digit is dropped.
std::string bytesFromHex(const char* text, size_t length);

/// Lets an object's stream go: closed when the object was its last owner.
void releaseObjectStream(ESObject object);

/// Depth past which the converters leave a value void: deeper nesting than any real data, well
/// short of the stack's end.
constexpr int kMaxConversionDepth = 400;

} // namespace CES::detail
