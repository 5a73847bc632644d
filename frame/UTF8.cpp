#include "frame/UTF8.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isSurrogate(uint32_t code) {
    return code >= 0xD800 && code <= 0xDFFF;
}

} // namespace

char32_t DecodeUTF8(const unsigned char* text, size_t length, size_t& i) {
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
    if (code < kMinimum[extra] || code > 0x10FFFF || isSurrogate(code))
        return kReplacement;
    return code;
}

void AppendUTF8(std::string& out, uint32_t codePoint) {
    if (codePoint > 0x10FFFF || isSurrogate(codePoint))
        codePoint = kReplacement;
    if (codePoint < 0x80) {
        out.push_back(static_cast<char>(codePoint));
    } else if (codePoint < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (codePoint >> 6)));
        out.push_back(static_cast<char>(0x80 | (codePoint & 0x3F)));
    } else if (codePoint < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (codePoint >> 12)));
        out.push_back(static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (codePoint & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (codePoint >> 18)));
        out.push_back(static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (codePoint & 0x3F)));
    }
}

std::u16string UTF16FromUTF8(const char* text, size_t length) {
    std::u16string units;
    units.reserve(length);
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    for (size_t i = 0; i < length;) {
        char32_t code = DecodeUTF8(bytes, length, i);
        if (code >= 0x10000) {
            code -= 0x10000;
            units.push_back(static_cast<char16_t>(0xD800 + (code >> 10)));
            units.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
        } else {
            units.push_back(static_cast<char16_t>(code));
        }
    }
    return units;
}

std::string UTF8FromUTF16(const char16_t* units, size_t count) {
    std::string out;
    out.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        uint32_t code = units[i];
        if (code >= 0xD800 && code <= 0xDBFF && i + 1 < count && units[i + 1] >= 0xDC00 &&
            units[i + 1] <= 0xDFFF) {
            code = 0x10000 + ((code - 0xD800) << 10) + (units[i + 1] - 0xDC00);
            ++i;
        }
        AppendUTF8(out, code); // a lone surrogate gives U+FFFD
    }
    return out;
}

bool IsASCII(const char* text, size_t length) {
    for (size_t i = 0; i < length; ++i) {
        if (static_cast<unsigned char>(text[i]) >= 0x80)
            return false;
    }
    return true;
}
