// Encoded strings to and from UTF-8.
#include "values/EStr.h"

#include "frame/UTF8.h"
#include "values/EStrInternal.h"

#include <cstdint>
#include <cstring>

namespace {

// Copies the bytes while they are ASCII, eight at a time; false at the first that is not. out
// has room for the whole text rounded up to eight bytes.
bool copyASCII(char* out, const char* in, size_t size) {
    size_t i = 0;
    for (; i + 8 <= size; i += 8) {
        uint64_t word;
        std::memcpy(&word, in + i, sizeof word);
        if (word & 0x8080808080808080ull)
            return false;
        std::memcpy(out + i, &word, sizeof word);
    }
    for (; i < size; ++i) {
        if (static_cast<unsigned char>(in[i]) >= 0x80)
            return false;
        out[i] = in[i];
    }
    return true;
}

} // namespace

void EStrAppendUCSAsUTF8(std::string& out, const _EStrRec* text, long from) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(EStrGetBytes(text));
    long count = (EStrGetLen(text) - 2) / 2;
    auto unitAt = [bytes](long i) -> uint32_t {
        return (bytes[2 + 2 * i] << 8) | bytes[3 + 2 * i];
    };
    for (long i = from; i < count; ++i) {
        uint32_t unit = unitAt(i);
        if (unit >= 0xD800 && unit < 0xDC00 && i + 1 < count) {
            uint32_t low = unitAt(i + 1);
            if (low >= 0xDC00 && low < 0xE000) {
                AppendUTF8(out, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
                ++i;
                continue;
            }
        }
        if (unit < 0x80)
            out.push_back(static_cast<char>(unit));
        else
            AppendUTF8(out, unit); // a lone surrogate gives U+FFFD
    }
}

CEStr EStrFromUTF8(const char* text) {
    return EStrFromUTF8(text, text ? static_cast<long>(std::strlen(text)) : 0);
}

CEStr EStrFromUTF8(const std::string& text) {
    return EStrFromUTF8(text.data(), static_cast<long>(text.size()));
}

// Text takes the smallest form that loses nothing without a converter: ASCII, which is the bulk
// of names, URIs and numbers, goes in as PDFDocEncoding bytes (what a key made from a C string
// has, so lookups and comparisons need no conversion), and anything else as UCS. Text with other
// characters is not narrowed to PDFDocEncoding, since the XML serialiser writes a single-byte
// string's bytes as they stand and would then put Latin bytes into UTF-8 output.
CEStr EStrFromUTF8(const char* text, long length) {
    if (!text || length <= 0)
        length = 0;
    // ASCII is checked as it is copied into a record made to measure; the record is dropped
    // at the first byte past ASCII.
    EStr ascii = estr::newRecord(length + estr::kTerminatorBytes);
    if (copyASCII(ascii->bytes, text, static_cast<size_t>(length))) {
        std::memset(ascii->bytes + length, 0, estr::kTerminatorBytes);
        ascii->length = static_cast<int32_t>(length);
        ascii->encoding = kEStrPDFDoc;
        return CEStr::adopt(ascii);
    }
    EStrDelete(ascii);
    // Each byte of UTF-8 gives at most two bytes of UTF-16 (a four-byte sequence, a surrogate
    // pair), so the units are written straight into a string of that size; the bytes past the
    // end are the zeros a new string comes with.
    EStr s = EStrNewSize(2 + 2 * length, kEStrUCS);
    auto* out = reinterpret_cast<unsigned char*>(s->bytes) + 2;
    auto put = [&out](uint32_t unit) {
        *out++ = static_cast<unsigned char>(unit >> 8);
        *out++ = static_cast<unsigned char>(unit);
    };
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    auto size = static_cast<size_t>(length);
    for (size_t i = 0; i < size;) {
        uint32_t codePoint = DecodeUTF8(bytes, size, i);
        if (codePoint >= 0x10000) {
            codePoint -= 0x10000;
            put(0xD800 + (codePoint >> 10));
            put(0xDC00 + (codePoint & 0x3FF));
        } else {
            put(codePoint);
        }
    }
    s->length = static_cast<int32_t>(out - reinterpret_cast<unsigned char*>(s->bytes));
    return CEStr::adopt(s);
}

std::string EStrToUTF8(const _EStrRec* text) {
    std::string out;
    if (!text)
        return out;
    int32_t encoding = EStrGetEncoding(text);
    if (encoding == kEStrUCS || encoding == kEStrUCSShaped) {
        EStrAppendUCSAsUTF8(out, text);
        return out;
    }
    const char* bytes = EStrGetBytes(text);
    long length = EStrGetLen(text);
    if (IsASCII(bytes, static_cast<size_t>(length)))
        return out.assign(bytes, static_cast<size_t>(length));
    CEStr wide = CEStr::adopt(EStrCopySetEncoding(text, kEStrUCS));
    if (EStrGetEncoding(wide) == kEStrUCS) {
        EStrAppendUCSAsUTF8(out, wide);
        return out;
    }
    // Without a converter at hand the bytes are read as Latin-1.
    for (long i = 0; i < length; ++i)
        AppendUTF8(out, static_cast<unsigned char>(bytes[i]));
    return out;
}
