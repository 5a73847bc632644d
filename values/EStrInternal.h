// What the files of the EStr family share: raw byte editing that keeps the record's invariants,
// and the road to the encoding converter. Not for use outside values/EStr*.cpp.
#pragma once

#include "frame/host/IEncodings.h"
#include "values/EStr.h"

#include <string>

namespace estr {

/// Zero bytes kept behind the text, so that a scan for a double zero never leaves the buffer,
/// whatever the parity of the length.
constexpr long kTerminatorBytes = 4;

/// The host's default encoding when there is no converter to name it.
constexpr const char* kFallbackHostName = "latin1_encoding";
constexpr const char* kPDFDocName = "PDFDocEncoding";

inline bool isUCS(int32_t encoding) {
    return encoding == kEStrUCS;
}
/// UCS, and the value 18 where it is carried like UCS.
inline bool isUCSShaped(int32_t encoding) {
    return encoding == kEStrUCS || encoding == kEStrUCSShaped;
}
/// Bytes a character takes: 2 for UCS, 1 for the rest.
inline long unitWidth(int32_t encoding) {
    return isUCS(encoding) ? 2 : 1;
}
/// Where the characters start: behind the mark for UCS.
inline long textStart(int32_t encoding) {
    return isUCS(encoding) ? 2 : 0;
}

/// A record with room for need bytes, record and buffer in one small block. The record is
/// zeroed, the buffer is not.
EStr newRecord(long need);
/// Whether the buffer is the one allocated with the record.
inline bool hasInlineBuffer(const _EStrRec* s) {
    return s->bytes == reinterpret_cast<const char*>(s + 1);
}
/// The size of the record's block: the record and its own room. While the buffer is that room
/// its capacity tells it; once the buffer has moved out, the room remembers it.
size_t recordBlockBytes(const _EStrRec* s);

/// Sets the length and writes the zero bytes behind it, growing the buffer when needed.
void setLength(EStr s, long length);
/// Replaces the bytes.
void setRaw(EStr s, const char* bytes, long size);
/// Inserts bytes at a byte offset (clamped into the text).
void insertRaw(EStr s, long at, const char* bytes, long size);
/// Removes bytes at a byte offset (clamped into the text).
void eraseRaw(EStr s, long at, long size);
/// Makes the string an empty one of its encoding: the mark alone for UCS.
void makeEmpty(EStr s);

/// The converter, imported as "BaseKit" at 0x50010 when the import step did not get it.
IEncodings* converter();
/// The converter's name of an encoding value, as ConvertEncodingToPtfm names it.
const char* encodingName(int32_t encoding);
/// The encoding value of a name, as ConvertPtfmToEncoding maps it; 0 for null.
int32_t encodingOfName(const char* name);

/// The text of s as units (UCS bytes read directly, other encodings through the converter).
/// False when the converter cannot read the encoding.
bool toUnits(const _EStrRec* s, std::u16string& units);
/// Replaces the bytes of s with the mark and the units, big-endian; the encoding becomes UCS.
void setUnits(EStr s, const char16_t* units, size_t count);
/// Raises s to UCS in place; false (s untouched) when the converter cannot.
bool raiseToUCS(EStr s);

/// Scans for needle (width 1 or 2 bytes a character) from character start: the naive scan
/// that restarts at the character that broke a partial match. -1 when not found.
long findChars(const char* text, long textChars, const char* needle, long needleChars, long width,
               long start);

} // namespace estr
