#include "host/encodings/PDFDocEncoding.h"

#include <array>

namespace {

// The codes whose character differs from the Unicode unit of the same number: the accents at
// 0x18-0x1F, the typographic block at 0x80-0x9E and the euro sign at 0xA0. Every other code is
// Latin-1 (and ASCII below 0x80).
struct Special {
    uint8_t code;
    char16_t unit;
};

constexpr Special kSpecials[] = {
    {0x18, 0x02D8}, // breve
    {0x19, 0x02C7}, // caron
    {0x1A, 0x02C6}, // circumflex
    {0x1B, 0x02D9}, // dot accent
    {0x1C, 0x02DD}, // double acute
    {0x1D, 0x02DB}, // ogonek
    {0x1E, 0x02DA}, // ring
    {0x1F, 0x02DC}, // small tilde
    {0x80, 0x2022}, // bullet
    {0x81, 0x2020}, // dagger
    {0x82, 0x2021}, // double dagger
    {0x83, 0x2026}, // ellipsis
    {0x84, 0x2014}, // em dash
    {0x85, 0x2013}, // en dash
    {0x86, 0x0192}, // florin
    {0x87, 0x2044}, // fraction slash
    {0x88, 0x2039}, // single left angle quote
    {0x89, 0x203A}, // single right angle quote
    {0x8A, 0x2212}, // minus
    {0x8B, 0x2030}, // per mille
    {0x8C, 0x201E}, // double low quote
    {0x8D, 0x201C}, // left double quote
    {0x8E, 0x201D}, // right double quote
    {0x8F, 0x2018}, // left single quote
    {0x90, 0x2019}, // right single quote
    {0x91, 0x201A}, // single low quote
    {0x92, 0x2122}, // trade mark
    {0x93, 0xFB01}, // fi ligature
    {0x94, 0xFB02}, // fl ligature
    {0x95, 0x0141}, // L with stroke
    {0x96, 0x0152}, // OE ligature
    {0x97, 0x0160}, // S with caron
    {0x98, 0x0178}, // Y with diaeresis
    {0x99, 0x017D}, // Z with caron
    {0x9A, 0x0131}, // dotless i
    {0x9B, 0x0142}, // l with stroke
    {0x9C, 0x0153}, // oe ligature
    {0x9D, 0x0161}, // s with caron
    {0x9E, 0x017E}, // z with caron
    {0xA0, 0x20AC}, // euro sign
};

constexpr std::array<char16_t, 256> makeTable() {
    std::array<char16_t, 256> table{};
    for (unsigned code = 0; code < 256; ++code)
        table[code] = static_cast<char16_t>(code);
    for (const Special& special : kSpecials)
        table[special.code] = special.unit;
    return table;
}

constexpr std::array<char16_t, 256> kToUnicode = makeTable();

} // namespace

char16_t PDFDocToUnicode(uint8_t byte) {
    return kToUnicode[byte];
}

bool PDFDocFromUnicode(char16_t unit, uint8_t* byte) {
    // A unit below 0x100 stands for itself unless its code was given to a special character.
    if (unit < 0x100 && kToUnicode[unit] == unit) {
        *byte = static_cast<uint8_t>(unit);
        return true;
    }
    for (const Special& special : kSpecials) {
        if (special.unit == unit) {
            *byte = special.code;
            return true;
        }
    }
    return false;
}
