// UTF-8 and UTF-16 into each other, the one way the system does it. A sequence that is cut
// short, starts with a byte no sequence starts with, or is a stray continuation byte becomes
// U+FFFD and the reading moves on by one byte; a whole sequence that is overlong, a surrogate or
// past U+10FFFF becomes one U+FFFD. A lone surrogate among UTF-16 units becomes U+FFFD.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Whether every byte is below 0x80: text that reads the same in UTF-8 and in any single-byte
/// encoding the system knows.
bool IsASCII(const char* text, size_t length);
/// Decodes the sequence at text[i] and moves i past it, or past its first byte when it is
/// malformed.
char32_t DecodeUTF8(const unsigned char* text, size_t length, size_t& i);
/// Appends the UTF-8 form of one code point.
void AppendUTF8(std::string& out, uint32_t codePoint);
/// The UTF-16 units of UTF-8 bytes.
std::u16string UTF16FromUTF8(const char* text, size_t length);
/// The UTF-8 bytes of UTF-16 units; a surrogate pair is one character.
std::string UTF8FromUTF16(const char16_t* units, size_t count);
