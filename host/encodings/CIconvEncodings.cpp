#include "host/encodings/CIconvEncodings.h"

#include "host/encodings/PDFDocEncoding.h"

#include <bit>
#include <cerrno>
#include <cstring>

namespace {

constexpr const char* kHostName = "latin1_encoding";
constexpr const char* kPDFDocName = "PDFDocEncoding";

// Units cross iconv in host order.
constexpr const char* kUnitCharset =
    std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

struct Named {
    const char* name;
    const char* charset; // null for PDFDocEncoding, which has its own table
};

constexpr Named kEncodings[] = {
    {kHostName, "ISO-8859-1"},        {kPDFDocName, nullptr},
    {"Shift-JIS", "SHIFT_JIS"},       {"roman_encoding", "MACINTOSH"},
    {"cyrillic_encoding", "CP1251"},  {"arabic_encoding", "CP1256"},
    {"hebrew_encoding", "CP1255"},    {"easteurope_encoding", "CP1250"},
    {"greek_encoding", "CP1253"},     {"turkish_encoding", "CP1254"},
    {"chinesetrad_encoding", "BIG5"}, {"chinesesimp_encoding", "GBK"},
    {"korean_encoding", "CP949"},     {"baltic_encoding", "CP1257"},
    {"croatian_encoding", "CP1250"},  {"romanian_encoding", "ISO-8859-16"},
    {"icelandic_encoding", "MAC-IS"}, {"ukrainian_encoding", "MAC-UK"},
};

// The order in which bestEncoding tries the script encodings: the host's first, so that plain
// Latin text stays in it; the Japanese set before the Chinese ones, which also hold kana.
constexpr const char* kBestOrder[] = {
    kHostName,         "roman_encoding",   "easteurope_encoding",  "cyrillic_encoding",
    "greek_encoding",  "turkish_encoding", "hebrew_encoding",      "arabic_encoding",
    "baltic_encoding", "Shift-JIS",        "chinesesimp_encoding", "chinesetrad_encoding",
    "korean_encoding",
};

const Named* findEncoding(const char* name) {
    if (!name)
        return nullptr;
    for (const Named& named : kEncodings) {
        if (std::strcmp(named.name, name) == 0)
            return &named;
    }
    return nullptr;
}

const iconv_t kNoHandle = reinterpret_cast<iconv_t>(-1);

/// One iconv call that decodes into buffer after its first `produced` units, growing the buffer
/// while it is too small. With no input it flushes what the converter holds and resets it.
/// Returns 0, or the errno of a byte iconv could not take (EILSEQ, EINVAL).
int decodeInto(iconv_t cd, char** in, size_t* inLeft, std::u16string& buffer, size_t& produced) {
    while (true) {
        char* outPtr = reinterpret_cast<char*>(buffer.data() + produced);
        size_t outLeft = (buffer.size() - produced) * sizeof(char16_t);
        size_t result = iconv(cd, in, inLeft, &outPtr, &outLeft);
        int error = errno;
        produced = buffer.size() - outLeft / sizeof(char16_t);
        if (result != static_cast<size_t>(-1))
            return 0;
        if (error != E2BIG)
            return error;
        buffer.resize(buffer.size() * 2 + 8);
    }
}

} // namespace

CIconvEncodings::~CIconvEncodings() {
    for (auto& [charset, cd] : m_decoders) {
        if (cd != kNoHandle)
            iconv_close(cd);
    }
    for (auto& [charset, cd] : m_encoders) {
        if (cd != kNoHandle)
            iconv_close(cd);
    }
}

iconv_t CIconvEncodings::handle(const char* charset, bool decoding) {
    auto& cache = decoding ? m_decoders : m_encoders;
    auto found = cache.find(charset);
    iconv_t cd;
    if (found != cache.end()) {
        cd = found->second;
    } else {
        cd = decoding ? iconv_open(kUnitCharset, charset) : iconv_open(charset, kUnitCharset);
        cache.emplace(charset, cd);
    }
    if (cd != kNoHandle)
        iconv(cd, nullptr, nullptr, nullptr, nullptr); // a fresh shift state for every call
    return cd;
}

const char* CIconvEncodings::hostEncodingName() {
    return kHostName;
}

bool CIconvEncodings::knowsEncoding(const char* name) {
    const Named* named = findEncoding(name);
    return named && (!named->charset || handle(named->charset, true) != kNoHandle);
}

bool CIconvEncodings::toUnicode(const char* name, const char* bytes, size_t length,
                                std::u16string& out) {
    out.clear();
    const Named* named = findEncoding(name);
    if (!named)
        return false;
    if (!bytes)
        length = 0;
    if (!named->charset) {
        out.resize(length);
        for (size_t i = 0; i < length; ++i)
            out[i] = PDFDocToUnicode(static_cast<uint8_t>(bytes[i]));
        return true;
    }
    iconv_t cd = handle(named->charset, true);
    if (cd == kNoHandle)
        return false;

    // One byte gives at most one unit in these sets; decodeInto still grows the buffer on E2BIG.
    std::u16string buffer(length + 4, u'\0');
    size_t produced = 0;
    char* in = const_cast<char*>(bytes);
    size_t inLeft = length;
    while (inLeft > 0) {
        if (decodeInto(cd, &in, &inLeft, buffer, produced) == 0)
            continue;
        // A byte with no meaning here, or a sequence cut off at the end: what the converter
        // held back before it, then a replacement character for that byte, and on with the next.
        decodeInto(cd, nullptr, nullptr, buffer, produced);
        if (produced == buffer.size())
            buffer.resize(buffer.size() * 2 + 8);
        buffer[produced++] = u'\uFFFD';
        ++in;
        --inLeft;
    }
    // The input is used up, but a set may still hold its last character back: CP1255 keeps a
    // letter until it knows no combining mark follows. Flushing emits it.
    decodeInto(cd, nullptr, nullptr, buffer, produced);
    buffer.resize(produced);
    out.swap(buffer);
    return true;
}

bool CIconvEncodings::encodeWithIconv(const char* charset, const char16_t* units, size_t count,
                                      std::string& out) {
    out.clear();
    iconv_t cd = handle(charset, false);
    if (cd == kNoHandle)
        return false;
    out.resize(count * 2 + 8);
    char* in = reinterpret_cast<char*>(const_cast<char16_t*>(units));
    size_t inLeft = count * sizeof(char16_t);
    size_t produced = 0;
    while (true) {
        char* outPtr = out.data() + produced;
        size_t outLeft = out.size() - produced;
        size_t result = inLeft ? iconv(cd, &in, &inLeft, &outPtr, &outLeft)
                               : iconv(cd, nullptr, nullptr, &outPtr, &outLeft);
        produced = out.size() - outLeft;
        if (result != static_cast<size_t>(-1)) {
            if (inLeft == 0) {
                // Flush what a stateful set still holds, then stop.
                char* flushPtr = out.data() + produced;
                size_t flushLeft = out.size() - produced;
                iconv(cd, nullptr, nullptr, &flushPtr, &flushLeft);
                produced = out.size() - flushLeft;
                break;
            }
            continue;
        }
        if (errno == E2BIG) {
            out.resize(out.size() * 2 + 8);
            continue;
        }
        out.clear();
        return false;
    }
    out.resize(produced);
    return true;
}

bool CIconvEncodings::fromUnicode(const char* name, const char16_t* units, size_t count,
                                  std::string& out) {
    out.clear();
    const Named* named = findEncoding(name);
    if (!named)
        return false;
    if (!units)
        count = 0;
    if (named->charset)
        return encodeWithIconv(named->charset, units, count, out);
    out.resize(count);
    for (size_t i = 0; i < count; ++i) {
        uint8_t byte;
        if (!PDFDocFromUnicode(units[i], &byte)) {
            out.clear();
            return false;
        }
        out[i] = static_cast<char>(byte);
    }
    return true;
}

bool CIconvEncodings::canEncode(const char* name, const char16_t* units, size_t count) {
    const Named* named = findEncoding(name);
    if (!named)
        return false;
    if (!units || count == 0)
        return true;
    if (!named->charset) {
        uint8_t byte;
        for (size_t i = 0; i < count; ++i) {
            if (!PDFDocFromUnicode(units[i], &byte))
                return false;
        }
        return true;
    }
    return encodeWithIconv(named->charset, units, count, m_scratch);
}

const char* CIconvEncodings::bestEncoding(const char16_t* units, size_t count,
                                          const char* preferred) {
    const Named* wanted = findEncoding(preferred);
    if (wanted && canEncode(wanted->name, units, count))
        return wanted->name;
    for (const char* name : kBestOrder) {
        if (canEncode(name, units, count))
            return findEncoding(name)->name;
    }
    return nullptr;
}
