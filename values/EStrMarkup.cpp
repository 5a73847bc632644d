// EStr values as markup-safe text, and to and from the viewer's Unicode text.

#include "values/EStrInternal.h"

#include <cstdio>

using namespace estr;

namespace {

// The units of s; bytes stand for their own units when no converter can read them.
std::u16string unitsOf(const _EStrRec* s) {
    std::u16string units;
    if (toUnits(s, units))
        return units;
    for (long i = 0; i < s->length; ++i)
        units.push_back(static_cast<unsigned char>(s->bytes[i]));
    return units;
}

void appendNumber(std::string& out, unsigned value) {
    char entity[16];
    std::snprintf(entity, sizeof entity, "&#%u;", value);
    out += entity;
}

} // namespace

EStr EStrIffyCharsToCharEntities(EStr s) {
    EStr result = EStrNew(nullptr, kEStrPDFDoc);
    if (!s)
        return result;
    EStrSetEncoding(s, kEStrUCS);
    std::string out;
    for (char16_t unit : unitsOf(s)) {
        unsigned high = unit >> 8;
        unsigned low = unit & 0xFF;
        if (high == 0 && low < 0x80 && low != '<' && low != '>' && low != '/' && low != '&') {
            out += static_cast<char>(low);
        } else if (unit == '&') {
            out += "&amp;";
        } else if (unit == '<') {
            out += "&lt;";
        } else if (unit == '>') {
            out += "&gt;";
        } else {
            // The low byte is sign-extended before it joins the high byte, so a low byte of
            // 0x80 or more gives 0xFF00 plus that byte: U+00E9 is written "&#65513;".
            auto extended =
                static_cast<uint16_t>(static_cast<int16_t>(static_cast<signed char>(low)));
            appendNumber(out, static_cast<uint16_t>((high << 8) | extended));
        }
    }
    setRaw(result, out.data(), static_cast<long>(out.size()));
    return result;
}

CEStr EntityEncode(const _EStrRec* s, bool keepMarkup) {
    CEStr result = CEStr::adopt(EStrNew(nullptr, kEStrPDFDoc));
    if (!s)
        return result;
    CEStr ucs = CEStr::adopt(EStrCopySetEncoding(s, kEStrUCS));
    std::string out;
    for (char16_t unit : unitsOf(ucs)) {
        if (unit < 32) {
            if (unit == 9 || unit == 10 || unit == 13)
                out += static_cast<char>(unit);
        } else if (unit > 127) {
            appendNumber(out, unit);
        } else if (!keepMarkup && unit == '"') {
            out += "&quot;";
        } else if (!keepMarkup && unit == '&') {
            out += "&amp;";
        } else if (!keepMarkup && unit == '<') {
            out += "&lt;";
        } else if (!keepMarkup && unit == '>') {
            out += "&gt;";
        } else {
            out += static_cast<char>(unit);
        }
    }
    setRaw(result, out.data(), static_cast<long>(out.size()));
    return result;
}

EStr EStrNewFromQsText(const QsTextRec* text) {
    if (!text)
        return EStrNew(nullptr, kEStrUCS);
    return EStrNewFromQsUns16WithLen(reinterpret_cast<const uint16_t*>(text->units.data()),
                                     static_cast<long>(text->units.size()));
}

QsText QsTextFromEStr(const _EStrRec* s, QsText out) {
    if (!out)
        return out;
    out->units.clear();
    if (!s)
        return out;
    CEStr ucs = CEStr::adopt(EStrCopySetEncoding(s, kEStrUCS));
    out->units = unitsOf(ucs);
    return out;
}
