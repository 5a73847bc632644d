// PDFDocEncoding: the one-byte encoding of PDF text strings, as a table of all 256 codes.
#pragma once

#include <cstdint>

/// The Unicode unit of a PDFDocEncoding byte. Codes the encoding leaves undefined (most of
/// 0x00-0x17, 0x7F, 0x9F, 0xAD) read as the unit of the same number, so no byte is lost.
char16_t PDFDocToUnicode(uint8_t byte);

/// The PDFDocEncoding byte of a unit; false when the unit has no code in the encoding.
bool PDFDocFromUnicode(char16_t unit, uint8_t* byte);
