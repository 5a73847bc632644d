#include "xml/XMLName.h"

#include "frame/UTF8.h"

#include <cstdint>

namespace {

constexpr bool inRange(char32_t c, char32_t low, char32_t high) {
    return c >= low && c <= high;
}

constexpr bool isNameStartChar(char32_t c) {
    if (c < 0x80)
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
    return inRange(c, 0xC0, 0xD6) || inRange(c, 0xD8, 0xF6) || inRange(c, 0xF8, 0x2FF) ||
           inRange(c, 0x370, 0x37D) || inRange(c, 0x37F, 0x1FFF) || inRange(c, 0x200C, 0x200D) ||
           inRange(c, 0x2070, 0x218F) || inRange(c, 0x2C00, 0x2FEF) || inRange(c, 0x3001, 0xD7FF) ||
           inRange(c, 0xF900, 0xFDCF) || inRange(c, 0xFDF0, 0xFFFD) || inRange(c, 0x10000, 0xEFFFF);
}

constexpr bool isNameChar(char32_t c) {
    if (isNameStartChar(c))
        return true;
    return (c >= '0' && c <= '9') || c == '-' || c == '.' || c == 0xB7 ||
           inRange(c, 0x300, 0x36F) || inRange(c, 0x203F, 0x2040);
}

// What each ASCII character may be in a name: 2 a start character (and so any name character),
// 1 only a later character, 0 neither. The colon is a start character; the caller decides on it.
struct ASCIINameTable {
    unsigned char kind[128] = {};
    constexpr ASCIINameTable() {
        for (char32_t c = 0; c < 128; ++c)
            kind[c] = isNameStartChar(c) ? 2 : (isNameChar(c) ? 1 : 0);
    }
};
constexpr ASCIINameTable kASCIINames;

bool isName(std::string_view text, bool colons) {
    if (text.empty())
        return false;
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    // Names are ASCII nearly always: one look-up per byte, until a byte past ASCII.
    size_t ascii = 0;
    for (; ascii < text.size() && bytes[ascii] < 0x80; ++ascii) {
        unsigned char c = bytes[ascii];
        if (kASCIINames.kind[c] < (ascii == 0 ? 2 : 1) || (c == ':' && !colons))
            return false;
    }
    for (size_t i = ascii; i < text.size();) {
        size_t at = i;
        char32_t c = bytes[i] < 0x80 ? bytes[i++] : DecodeUTF8(bytes, text.size(), i);
        // The decoder reads what is malformed as U+FFFD: only the real one is a character.
        if (c == 0xFFFD && text.substr(at, i - at) != "\xEF\xBF\xBD")
            return false;
        if (c == ':' && !colons)
            return false;
        if (at == 0 ? !isNameStartChar(c) : !isNameChar(c))
            return false;
    }
    return true;
}

} // namespace

bool XMLIsName(std::string_view text) {
    return isName(text, true);
}

bool XMLIsNCName(std::string_view text) {
    return isName(text, false);
}
