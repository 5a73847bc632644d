#include "xml/XMLEscape.h"

#include "frame/UTF8.h"

#include <cstring>

namespace {

bool isUCS(const _EStrRec* text) {
    int32_t encoding = EStrGetEncoding(text);
    return encoding == kEStrUCS || encoding == kEStrUCSShaped;
}

uint32_t unitAt(const unsigned char* bytes, long i) {
    return (bytes[2 + 2 * i] << 8) | bytes[3 + 2 * i];
}

long unitCount(const _EStrRec* text) {
    long count = (EStrGetLen(text) - 2) / 2;
    return count > 0 ? count : 0;
}

// What an ASCII character becomes in escaped text: null for itself, "" for nothing (control
// characters other than tab, line feed and carriage return), or its entity; and the length of
// that. The apostrophe is not escaped; that is intended.
struct EscapeTable {
    const char* replacement[128];
    unsigned char length[128];
    // Per byte: 0 when it stands for itself, else 1 (the bytes past ASCII included), so that a
    // run of plain text is found by one test per byte.
    unsigned char special[256];
    EscapeTable() {
        for (int c = 0; c < 256; ++c)
            special[c] = c >= 128;
        for (int c = 0; c < 128; ++c) {
            bool dropped = c < 32 && c != '\t' && c != '\n' && c != '\r';
            replacement[c] = dropped ? "" : nullptr;
            length[c] = dropped ? 0 : 1;
            special[c] = dropped;
        }
        set('"', "&quot;");
        set('&', "&amp;");
        set('<', "&lt;");
        set('>', "&gt;");
    }
    void set(char c, const char* entity) {
        special[static_cast<int>(c)] = 1;
        replacement[static_cast<int>(c)] = entity;
        length[static_cast<int>(c)] = static_cast<unsigned char>(std::strlen(entity));
    }
};
const EscapeTable kEscapes;

// "&#%u;" without the cost of a formatted print.
void appendReference(std::string& out, uint32_t c) {
    char digits[10];
    int n = 0;
    do {
        digits[n++] = static_cast<char>('0' + c % 10);
        c /= 10;
    } while (c);
    out += "&#";
    while (n)
        out.push_back(digits[--n]);
    out.push_back(';');
}

} // namespace

// ASCII by the table (127 included), anything past it as a decimal reference.
void XMLAppendEscaped(std::string& out, uint32_t c) {
    if (c >= 128) {
        appendReference(out, c);
        return;
    }
    if (const char* replacement = kEscapes.replacement[c])
        out.append(replacement, kEscapes.length[c]);
    else
        out.push_back(static_cast<char>(c));
}

namespace {

// Escapes ASCII bytes, copying runs that need nothing whole. False, with nothing appended, at
// the first byte past ASCII.
bool appendEscapedASCII(std::string& out, const char* bytes, long length) {
    const auto* in = reinterpret_cast<const unsigned char*>(bytes);
    size_t mark = out.size();
    long i = 0;
    while (i < length) {
        long run = i;
        while (i < length && !kEscapes.special[in[i]])
            ++i;
        out.append(bytes + run, static_cast<size_t>(i - run));
        if (i == length)
            break;
        unsigned char c = in[i++];
        if (c >= 0x80) {
            out.resize(mark);
            return false;
        }
        out.append(kEscapes.replacement[c], kEscapes.length[c]);
    }
    return true;
}

// Escapes the units of a UCS string. A surrogate pair is one character and one reference; a
// lone surrogate is no character at all and is dropped, as a control character is.
void appendEscapedUnits(std::string& out, const _EStrRec* text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(EStrGetBytes(text));
    long count = unitCount(text);
    out.reserve(out.size() + static_cast<size_t>(count));
    for (long i = 0; i < count; ++i) {
        uint32_t unit = unitAt(bytes, i);
        // Most text is ASCII that stands for itself.
        if (unit < 0x80 && !kEscapes.special[unit]) {
            out.push_back(static_cast<char>(unit));
            continue;
        }
        if (unit >= 0xD800 && unit < 0xE000) {
            uint32_t low = i + 1 < count ? unitAt(bytes, i + 1) : 0;
            if (unit < 0xDC00 && low >= 0xDC00 && low < 0xE000) {
                XMLAppendEscaped(out, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
                ++i;
            }
            continue;
        }
        XMLAppendEscaped(out, unit);
    }
}

} // namespace

void XMLAppendEscapedText(std::string& out, const _EStrRec* text) {
    if (!text)
        return;
    if (isUCS(text)) {
        appendEscapedUnits(out, text);
        return;
    }
    if (appendEscapedASCII(out, EStrGetBytes(text), EStrGetLen(text)))
        return;
    CEStr wide = CEStr::adopt(EStrCopySetEncoding(text, kEStrUCS));
    if (isUCS(wide)) {
        appendEscapedUnits(out, wide);
        return;
    }
    // Without a converter at hand the bytes are read as Latin-1.
    const char* bytes = EStrGetBytes(text);
    for (long i = 0; i < EStrGetLen(text); ++i)
        XMLAppendEscaped(out, static_cast<unsigned char>(bytes[i]));
}
