#include "frame/QsText.h"

namespace {

constexpr char16_t kReplacement = 0xFFFD;

// Decodes one UTF-8 sequence at text[i]; advances i. Malformed input gives U+FFFD and moves on
// by one byte.
char32_t decodeUtf8(const unsigned char* text, size_t length, size_t& i) {
    unsigned char lead = text[i];
    if (lead < 0x80) {
        ++i;
        return lead;
    }
    int extra = lead >= 0xF0 ? (lead < 0xF5 ? 3 : -1) : lead >= 0xE0 ? 2 : lead >= 0xC2 ? 1 : -1;
    if (extra < 0 || i + static_cast<size_t>(extra) >= length) {
        ++i;
        return kReplacement;
    }
    char32_t code = lead & (0x3F >> extra);
    for (int k = 1; k <= extra; ++k) {
        unsigned char next = text[i + k];
        if ((next & 0xC0) != 0x80) {
            ++i;
            return kReplacement;
        }
        code = (code << 6) | (next & 0x3F);
    }
    static const char32_t kMin[] = {0, 0x80, 0x800, 0x10000};
    i += extra + 1;
    if (code < kMin[extra] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        return kReplacement;
    return code;
}

} // namespace

void CQsText::set(const char* utf8) {
    m_text.units.clear();
    if (!utf8)
        return;
    const auto* bytes = reinterpret_cast<const unsigned char*>(utf8);
    size_t length = std::char_traits<char>::length(utf8);
    for (size_t i = 0; i < length;) {
        char32_t code = decodeUtf8(bytes, length, i);
        if (code >= 0x10000) {
            code -= 0x10000;
            m_text.units.push_back(static_cast<char16_t>(0xD800 + (code >> 10)));
            m_text.units.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
        } else {
            m_text.units.push_back(static_cast<char16_t>(code));
        }
    }
}

std::string CQsText::getString() const {
    std::string out;
    const std::u16string& u = m_text.units;
    for (size_t i = 0; i < u.size(); ++i) {
        char32_t code = u[i];
        if (code >= 0xD800 && code <= 0xDBFF && i + 1 < u.size() && u[i + 1] >= 0xDC00 &&
            u[i + 1] <= 0xDFFF) {
            code = 0x10000 + ((code - 0xD800) << 10) + (u[i + 1] - 0xDC00);
            ++i;
        } else if (code >= 0xD800 && code <= 0xDFFF) {
            code = kReplacement;
        }
        if (code < 0x80) {
            out += static_cast<char>(code);
        } else if (code < 0x800) {
            out += static_cast<char>(0xC0 | (code >> 6));
            out += static_cast<char>(0x80 | (code & 0x3F));
        } else if (code < 0x10000) {
            out += static_cast<char>(0xE0 | (code >> 12));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (code & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (code >> 18));
            out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (code & 0x3F));
        }
    }
    return out;
}

void CQsText::replace(const CQsText& from, const CQsText& to) {
    const std::u16string& f = from.m_text.units;
    if (f.empty())
        return;
    std::u16string& u = m_text.units;
    std::u16string result;
    size_t start = 0;
    for (size_t at; (at = u.find(f, start)) != std::u16string::npos; start = at + f.size())
        result.append(u, start, at - start).append(to.m_text.units);
    result.append(u, start, std::u16string::npos);
    u.swap(result);
}

long CQsText::find(const CQsText& needle, long start) const {
    if (start < 0 || static_cast<size_t>(start) > m_text.units.size())
        return -1;
    size_t at = m_text.units.find(needle.m_text.units, static_cast<size_t>(start));
    return at == std::u16string::npos ? -1 : static_cast<long>(at);
}
