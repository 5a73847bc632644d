// Text as XML character data: the escaping every writer of XML in the system shares, so that
// the same text comes out the same whichever writer made it.
#pragma once

#include "values/EStr.h"

#include <cstdint>
#include <string>

/// Appends one character, escaped: "&", "<", ">" and the double quote as entities, control
/// characters other than tab, line feed and carriage return dropped, anything past ASCII as a
/// decimal reference. The apostrophe is not escaped.
void XMLAppendEscaped(std::string& out, uint32_t c);
/// Appends the text, every character escaped as above. A single-byte text past ASCII is read
/// through its encoding, or as Latin-1 when it cannot be converted; a lone surrogate of a UCS
/// text is dropped.
void XMLAppendEscapedText(std::string& out, const _EStrRec* text);
