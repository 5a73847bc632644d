#include "frame/miString.h"

#include <cctype>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <locale.h>
#include <strings.h>

namespace {

// Numbers are read and printed in the C locale whatever the process's locale says.
locale_t cLocale() {
    static locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

bool hasMark(const char* text) {
    return text && static_cast<unsigned char>(text[0]) == 0xFE &&
           static_cast<unsigned char>(text[1]) == 0xFF;
}

unsigned unitAt(const char* text, long byteIndex) {
    return (static_cast<unsigned char>(text[byteIndex]) << 8) |
           static_cast<unsigned char>(text[byteIndex + 1]);
}

bool isSpaceUnit(unsigned unit) {
    return unit == 0x20 || unit == 0x09 || unit == 0x0A || unit == 0x0B || unit == 0x0C ||
           unit == 0x0D;
}

// Lowers a unit whose high byte is 0: ASCII and the Latin-1 capitals (but not U+00D7).
unsigned lowerLatin1(unsigned unit) {
    if ((unit >= 'A' && unit <= 'Z') || (unit >= 0xC0 && unit <= 0xDE && unit != 0xD7))
        return unit + 0x20;
    return unit;
}

int compareUnits(const char* a, const char* b, bool foldCase) {
    for (long i = 2;; i += 2) {
        unsigned ua = unitAt(a, i);
        unsigned ub = unitAt(b, i);
        if (foldCase) {
            ua = lowerLatin1(ua);
            ub = lowerLatin1(ub);
        }
        if (ua != ub)
            return ua < ub ? -1 : 1;
        if (ua == 0)
            return 0;
    }
}

} // namespace

long miStrlen(const char* text) {
    if (!text)
        return 0;
    if (!hasMark(text))
        return static_cast<long>(std::strlen(text));
    long i = 2;
    while (text[i] || text[i + 1])
        i += 2;
    return i;
}

int miStrcmp(const char* a, const char* b) {
    if (!a || !b)
        return a == b ? 0 : (a ? 1 : -1);
    if (hasMark(a) && hasMark(b))
        return compareUnits(a, b, false);
    return std::strcmp(a, b);
}

int miStricmp(const char* a, const char* b) {
    if (!a || !b)
        return a == b ? 0 : (a ? 1 : -1);
    if (hasMark(a) && hasMark(b))
        return compareUnits(a, b, true);
    return strcasecmp(a, b);
}

void miUCSStrip(char* text) {
    if (!hasMark(text))
        return;
    long length = miStrlen(text);
    long first = 2;
    while (first < length && isSpaceUnit(unitAt(text, first)))
        first += 2;
    long end = length;
    while (end > first && isSpaceUnit(unitAt(text, end - 2)))
        end -= 2;
    std::memmove(text + 2, text + first, static_cast<size_t>(end - first));
    text[2 + end - first] = 0;
    text[3 + end - first] = 0;
}

void miUCSStripAll(char* text) {
    if (!hasMark(text))
        return;
    long length = miStrlen(text);
    long out = 2;
    for (long i = 2; i < length; i += 2) {
        if (isSpaceUnit(unitAt(text, i)))
            continue;
        text[out] = text[i];
        text[out + 1] = text[i + 1];
        out += 2;
    }
    text[out] = 0;
    text[out + 1] = 0;
}

void miStrip(char* text) {
    if (!text)
        return;
    if (hasMark(text))
        return miUCSStrip(text);
    char* start = text;
    while (*start && std::isspace(static_cast<unsigned char>(*start)))
        ++start;
    size_t length = std::strlen(start);
    while (length > 0 && std::isspace(static_cast<unsigned char>(start[length - 1])))
        --length;
    std::memmove(text, start, length);
    text[length] = 0;
}

void miStripAll(char* text) {
    if (!text)
        return;
    if (hasMark(text))
        return miUCSStripAll(text);
    char* out = text;
    for (char* in = text; *in; ++in) {
        if (!std::isspace(static_cast<unsigned char>(*in)))
            *out++ = *in;
    }
    *out = 0;
}

int miAtoi(const char* text) {
    long value = miAtol(text);
    if (value > INT_MAX)
        return INT_MAX;
    if (value < INT_MIN)
        return INT_MIN;
    return static_cast<int>(value);
}

long miAtol(const char* text) {
    return text ? std::strtol(text, nullptr, 10) : 0;
}

double mdAtof(const char* text) {
    return text ? strtod_l(text, nullptr, cLocale()) : 0.0;
}

int miSnprintf(char* buffer, size_t size, const char* format, ...) {
    va_list args;
    va_start(args, format);
    int written = miVsnprintf(buffer, size, format, args);
    va_end(args);
    return written;
}

int miVsnprintf(char* buffer, size_t size, const char* format, va_list args) {
    locale_t previous = uselocale(cLocale());
    int written = std::vsnprintf(buffer, size, format, args);
    uselocale(previous);
    return written;
}
