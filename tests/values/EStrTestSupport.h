// Helpers for the EStr tests: UCS strings built and read byte by byte, and test data files.
#pragma once

#include "values/EStr.h"

#include <fstream>
#include <iterator>
#include <string>

namespace estrtest {

/// The bytes of a UCS string: the mark, then big-endian units.
inline std::string ucsBytes(const std::u16string& text) {
    std::string bytes = "\xFE\xFF";
    for (char16_t unit : text) {
        bytes += static_cast<char>(unit >> 8);
        bytes += static_cast<char>(unit & 0xFF);
    }
    return bytes;
}

/// A UCS EStr of the units.
inline CEStr ucs(const std::u16string& text) {
    std::string bytes = ucsBytes(text);
    CEStr s = CEStr::adopt(EStrNew(nullptr, kEStrPDFDoc));
    EStrSetBytesWithSize(s, bytes.data(), static_cast<long>(bytes.size()), kEStrUCS);
    return s;
}

/// The units of a UCS EStr, read from its bytes behind the mark up to its length.
inline std::u16string unitsOf(const _EStrRec* s) {
    std::u16string units;
    const auto* b = reinterpret_cast<const unsigned char*>(EStrGetBytes(s));
    for (long i = 2; i + 1 < EStrGetLen(s); i += 2)
        units += static_cast<char16_t>((b[i] << 8) | b[i + 1]);
    return units;
}

/// The bytes of an EStr up to its length.
inline std::string bytesOf(const _EStrRec* s) {
    return std::string(EStrGetBytes(s), static_cast<size_t>(EStrGetLen(s)));
}

/// A file under tests/data/values/.
inline std::string readData(const std::string& name) {
    std::ifstream in(std::string(VELL_TEST_DATA) + "/values/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace estrtest
