#include "host/script/SMText.h"

#include "frame/UTF8.h"
#include "frame/host/IEncodings.h"

#include <cstring>

namespace {

bool isSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDFFF;
}

// Host bytes of the units through the converter, unit by unit where the whole will not go.
std::string encodeHost(const char16_t* units, size_t count, IEncodings& encodings) {
    const char* name = encodings.hostEncodingName();
    std::string out;
    if (encodings.fromUnicode(name, units, count, out))
        return out;
    out.clear();
    for (size_t i = 0; i < count; ++i) {
        std::string one;
        if (!isSurrogate(units[i]) && encodings.fromUnicode(name, &units[i], 1, one))
            out += one;
        else
            out += '?';
    }
    return out;
}

} // namespace

bool SMIsMarkedUCS(const char* text, long length) {
    if (!text || (length >= 0 && length < 2))
        return false;
    return static_cast<unsigned char>(text[0]) == 0xFE &&
           static_cast<unsigned char>(text[1]) == 0xFF;
}

std::u16string SMTextToUnits(const char* text, long length, IEncodings* encodings) {
    std::u16string units;
    if (!text)
        return units;
    if (SMIsMarkedUCS(text, length)) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(text);
        for (long i = 2; length < 0 || i + 1 < length; i += 2) {
            auto unit = static_cast<char16_t>((bytes[i] << 8) | bytes[i + 1]);
            if (length < 0 && unit == 0)
                break;
            units += unit;
        }
        return units;
    }
    size_t size = length < 0 ? std::strlen(text) : static_cast<size_t>(length);
    if (encodings && encodings->toUnicode(encodings->hostEncodingName(), text, size, units))
        return units;
    return UTF16FromUTF8(text, size);
}

std::string SMTextFromUnits(const char16_t* units, size_t count, bool ucs, IEncodings* encodings) {
    if (ucs) {
        std::string out = "\xFE\xFF";
        out.reserve(2 + count * 2);
        for (size_t i = 0; i < count; ++i) {
            out += static_cast<char>(units[i] >> 8);
            out += static_cast<char>(units[i] & 0xFF);
        }
        return out;
    }
    if (encodings)
        return encodeHost(units, count, *encodings);
    return UTF8FromUTF16(units, count);
}
