#include "host/script/SMText.h"

#include "frame/host/IEncodings.h"

#include <cstring>

namespace {

constexpr char16_t kReplacement = 0xFFFD;

// Decodes one UTF-8 sequence at text[i] and moves i past it.
char32_t decodeUTF8(const unsigned char* text, size_t length, size_t& i) {
    unsigned char lead = text[i];
    if (lead < 0x80) {
        ++i;
        return lead;
    }
    int extra = lead >= 0xF5 ? -1 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC2 ? 1 : -1;
    if (extra < 0 || i + static_cast<size_t>(extra) >= length) {
        ++i;
        return kReplacement;
    }
    char32_t code = lead & (0x3F >> extra);
    for (int k = 1; k <= extra; ++k) {
        unsigned char next = text[i + static_cast<size_t>(k)];
        if ((next & 0xC0) != 0x80) {
            ++i;
            return kReplacement;
        }
        code = (code << 6) | (next & 0x3F);
    }
    static const char32_t kMinimum[] = {0, 0x80, 0x800, 0x10000};
    i += static_cast<size_t>(extra) + 1;
    if (code < kMinimum[extra] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        return kReplacement;
    return code;
}

void appendUTF8(std::string& out, char32_t code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

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
    return SMUnitsFromUTF8(text, size);
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
    return SMUTF8FromUnits(units, count);
}

std::u16string SMUnitsFromUTF8(const char* text, size_t length) {
    std::u16string units;
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    for (size_t i = 0; i < length;) {
        char32_t code = decodeUTF8(bytes, length, i);
        if (code >= 0x10000) {
            code -= 0x10000;
            units += static_cast<char16_t>(0xD800 + (code >> 10));
            units += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
        } else {
            units += static_cast<char16_t>(code);
        }
    }
    return units;
}

std::string SMUTF8FromUnits(const char16_t* units, size_t count) {
    std::string out;
    out.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        char32_t code = units[i];
        if (code >= 0xD800 && code <= 0xDBFF && i + 1 < count && units[i + 1] >= 0xDC00 &&
            units[i + 1] <= 0xDFFF) {
            code = 0x10000 + ((code - 0xD800) << 10) + (units[i + 1] - 0xDC00);
            ++i;
        } else if (isSurrogate(static_cast<char16_t>(code))) {
            code = kReplacement;
        }
        appendUTF8(out, code);
    }
    return out;
}
