#include "frame/QsText.h"

#include "frame/UTF8.h"

#include <cstring>

void CQsText::set(const char* utf8) {
    m_text.units.clear();
    if (utf8)
        m_text.units = UTF16FromUTF8(utf8, std::strlen(utf8));
}

std::string CQsText::getString() const {
    return UTF8FromUTF16(m_text.units.data(), m_text.units.size());
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
