// Text as it crosses the script engine's table: host-encoded bytes or marked UCS in, script
// units (UTF-16) inside, and back.
#pragma once

#include <cstddef>
#include <string>

class IEncodings;

/// Whether the bytes start with the UCS mark 0xFE 0xFF.
bool SMIsMarkedUCS(const char* text, long length);
/// The units of a text given as marked UCS (big-endian units after the mark) or as host bytes
/// (through the converter, or UTF-8 without one). A length of -1 means up to the terminator: a
/// zero byte, or a zero unit for marked UCS. An odd last byte of marked UCS is dropped.
std::u16string SMTextToUnits(const char* text, long length, IEncodings* encodings);
/// Units as marked UCS bytes, or as host bytes where a unit the encoding cannot hold is "?".
std::string SMTextFromUnits(const char16_t* units, size_t count, bool ucs, IEncodings* encodings);
