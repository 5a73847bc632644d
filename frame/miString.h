// Mark-aware C string functions.
//
// A text that starts with the bytes 0xFE 0xFF is UCS: big-endian 16-bit units ending in a zero
// unit. The functions below treat such a text by units, any other by bytes. A marked text
// without its zero unit cannot be measured safely: bytes from outside the plug-in go through the
// functions that take a size (EStrSetBytesWithSize), never through a bare C text.
#pragma once

#include <cstdarg>
#include <cstddef>

/// Bytes up to a double zero for a marked text (mark included); strlen otherwise.
long miStrlen(const char* text);
/// Both marked: unit-wise, high byte first, -1/0/1. Otherwise strcmp on the raw bytes.
int miStrcmp(const char* a, const char* b);
/// As miStrcmp ignoring case; for UCS only units whose high byte is 0 are lowered (the Latin-1
/// capitals with them).
int miStricmp(const char* a, const char* b);
/// Trims white space at both ends, in place.
void miStrip(char* text);
/// Removes every white-space character, in place.
void miStripAll(char* text);
/// The UCS forms of the two above; text starts with the mark.
void miUCSStrip(char* text);
void miUCSStripAll(char* text);

/// Decimal reading as atoi and atol do, out-of-range values held at the type's limits; null
/// reads 0.
int miAtoi(const char* text);
long miAtol(const char* text);
/// Decimal reading of a double in the C locale; null reads 0.
double mdAtof(const char* text);
/// snprintf in the C locale.
int miSnprintf(char* buffer, size_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
/// vsnprintf in the C locale.
int miVsnprintf(char* buffer, size_t size, const char* format, va_list args)
    __attribute__((format(printf, 3, 0)));
