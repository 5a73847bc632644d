#include "values/CESScriptText.h"

#include "frame/UTF8.h"

namespace {

bool isHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool isLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

// Units that a script string literal cannot hold as they stand, or that would read as something
// else: control characters, the two line terminators past ASCII, and halves of a pair.
bool needsUnitEscape(std::u16string_view text, size_t i) {
    char16_t unit = text[i];
    if (unit < 0x20 || (unit >= 0x7F && unit <= 0x9F) || unit == 0x2028 || unit == 0x2029)
        return true;
    if (isHighSurrogate(unit))
        return i + 1 >= text.size() || !isLowSurrogate(text[i + 1]);
    if (isLowSurrogate(unit))
        return i == 0 || !isHighSurrogate(text[i - 1]);
    return false;
}

} // namespace

namespace CES {

std::u16string scriptStringBody(std::u16string_view text) {
    static const char kHex[] = "0123456789abcdef";
    std::u16string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char16_t unit = text[i];
        switch (unit) {
        case u'"':
            out += u"\\\"";
            continue;
        case u'\\':
            out += u"\\\\";
            continue;
        case u'\n':
            out += u"\\n";
            continue;
        case u'\r':
            out += u"\\r";
            continue;
        case u'\t':
            out += u"\\t";
            continue;
        default:
            break;
        }
        if (!needsUnitEscape(text, i)) {
            out.push_back(unit);
            continue;
        }
        out += u"\\u";
        for (int shift = 12; shift >= 0; shift -= 4)
            out.push_back(static_cast<char16_t>(kHex[(unit >> shift) & 0xF]));
    }
    return out;
}

std::string scriptStringBody(std::string_view utf8) {
    std::u16string body = scriptStringBody(UTF16FromUTF8(utf8.data(), utf8.size()));
    return UTF8FromUTF16(body.data(), body.size());
}

} // namespace CES
