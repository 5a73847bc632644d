// Percent encoding, the UTF-8 tests and the simple in-place dot cleaning of the URL family.
#include "values/miUrl.h"

#include <array>
#include <cstring>

namespace {

using EscapeTable = std::array<bool, 256>;

// Control bytes, space, DEL and every byte above it are escaped by both tables.
constexpr EscapeTable makeTable(const char* marked) {
    EscapeTable table{};
    for (int c = 0; c < 256; ++c)
        table[c] = c < 0x21 || c >= 0x7F;
    for (; *marked; ++marked)
        table[static_cast<unsigned char>(*marked)] = true;
    return table;
}

constexpr EscapeTable kRFC1738Table = makeTable("\"`#$%&/:;<=>?@[\\]^{|}~");
constexpr EscapeTable kURLTable = makeTable("\"`#%<>[\\]^{}~");
constexpr char kUpperHex[] = "0123456789ABCDEF";

bool isHexDigit(unsigned char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

long percentEncode(const char* in, long length, char* out, long* size, const EscapeTable* table) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(in);
    long room = (out && size && *size > 0) ? *size : 0;
    long count = 0;
    auto put = [&](char c) {
        if (count < room)
            out[count] = c;
        ++count;
    };
    for (long i = 0; bytes && i < length; ++i) {
        unsigned char c = bytes[i];
        if (c == '%' && i + 2 < length && isHexDigit(bytes[i + 1]) && isHexDigit(bytes[i + 2])) {
            put('%');
            put(static_cast<char>(bytes[++i]));
            put(static_cast<char>(bytes[++i]));
            continue;
        }
        bool escape = table ? (*table)[c] : (c == ' ' || c == '#' || c == '%');
        if (!escape) {
            put(static_cast<char>(c));
            continue;
        }
        put('%');
        put(kUpperHex[c >> 4]);
        put(kUpperHex[c & 0x0F]);
    }
    if (count < room)
        out[count] = '\0';
    if (size)
        *size = count;
    return count;
}

// The continuation bytes a UTF-8 lead byte asks for; -1 for a byte that cannot lead.
int continuationCount(unsigned char lead) {
    if (lead >= 0xC0 && lead <= 0xDF)
        return 1;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 2;
    if (lead >= 0xF0 && lead <= 0xF7)
        return 3;
    if (lead >= 0xF8 && lead <= 0xFB)
        return 4;
    if (lead >= 0xFC && lead <= 0xFD)
        return 5;
    return -1;
}

bool isContinuation(unsigned char c) {
    return (c & 0xC0) == 0x80;
}

} // namespace

long PercentEncodeRFC1738(const char* in, long length, char* out, long* size) {
    return percentEncode(in, length, out, size, &kRFC1738Table);
}

long PercentEncodeURL(const char* in, long length, char* out, long* size, bool spacesOnly) {
    return percentEncode(in, length, out, size, spacesOnly ? nullptr : &kURLTable);
}

std::string PercentEncodeURLCopy(std::string_view in, bool spacesOnly) {
    long length = static_cast<long>(in.size());
    long size = 0;
    std::string encoded(
        static_cast<size_t>(PercentEncodeURL(in.data(), length, nullptr, &size, spacesOnly)), '\0');
    size = static_cast<long>(encoded.size());
    PercentEncodeURL(in.data(), length, encoded.data(), &size, spacesOnly);
    return encoded;
}

bool miIsUTF8(const char* text, long length) {
    if (!text)
        return false;
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    bool sawHighByte = false;
    for (long i = 0; i < length; ++i) {
        if (bytes[i] < 0x80)
            continue;
        sawHighByte = true;
        int follow = continuationCount(bytes[i]);
        if (follow < 0 || length - i - 1 < follow)
            return false;
        for (int k = 1; k <= follow; ++k) {
            if (!isContinuation(bytes[i + k]))
                return false;
        }
        i += follow;
    }
    return sawHighByte;
}

long miFindNonTwoByteUTF8(const char* text, long length) {
    if (!text)
        return -1;
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    for (long i = 0; i < length; ++i) {
        if (bytes[i] < 0x80)
            continue;
        if (continuationCount(bytes[i]) == 1 && i + 1 < length && isContinuation(bytes[i + 1])) {
            ++i;
            continue;
        }
        return i;
    }
    return -1;
}

void miSubstituteDots(char* path) {
    if (!path)
        return;
    size_t length = std::strlen(path);
    // The scan back for a segment stops at the start of the text, so "a/../b" leaves "/b".
    for (char* step = std::strstr(path, "/../"); step; step = std::strstr(path, "/../")) {
        char* segment = step;
        while (segment > path && *(segment - 1) != '/')
            --segment;
        if (segment > path)
            --segment;
        char* tail = step + 3;
        std::memmove(segment, tail, length - static_cast<size_t>(tail - path) + 1);
        length -= static_cast<size_t>(tail - segment);
    }
    for (char* step = std::strstr(path, "/./"); step; step = std::strstr(step, "/./")) {
        std::memmove(step + 1, step + 3, length - static_cast<size_t>(step + 3 - path) + 1);
        length -= 2;
    }
}
