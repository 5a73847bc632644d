// The owning wrapper of an EStr.

#include "values/EStrInternal.h"

using namespace estr;

CEStr& CEStr::operator=(CEStr&& other) noexcept {
    if (this != &other) {
        EStrDelete(m_s);
        m_s = other.m_s;
        other.m_s = nullptr;
    }
    return *this;
}

CEStr& CEStr::operator=(const _EStrRec* source) {
    if (source == m_s)
        return *this;
    if (!source) {
        EStrDelete(m_s);
        m_s = nullptr;
    } else if (!m_s) {
        m_s = EStrCopy(source);
    } else {
        EStrAssign(m_s, source);
    }
    return *this;
}

CEStr& CEStr::operator=(const char* text) {
    if (!m_s)
        m_s = EStrNew(text, kEStrAuto);
    else
        EStrSetBytes(m_s, text, kEStrAuto);
    return *this;
}

CEStr& CEStr::operator+=(const CEStr& other) {
    if (other.isNull())
        return *this;
    if (isNull() || EStrIsNull(m_s))
        return *this = other.m_s;
    if (m_s->encoding == other.m_s->encoding) {
        long skip = isUCS(m_s->encoding) ? 2 : 0;
        m_s->hash = 0;
        insertRaw(m_s, m_s->length, other.m_s->bytes + skip, other.m_s->length - skip);
        return *this;
    }
    // Different encodings meet in UCS, and the target stays there.
    EStrSetEncoding(m_s, kEStrUCS);
    CEStr raised = CEStr::adopt(EStrCopySetEncoding(other.m_s, kEStrUCS));
    long skip = isUCS(raised.m_s->encoding) ? 2 : 0;
    m_s->hash = 0;
    insertRaw(m_s, m_s->length, raised.m_s->bytes + skip, raised.m_s->length - skip);
    return *this;
}

CEStr& CEStr::operator+=(const char* text) {
    if (!text)
        return *this;
    if (isNull() || EStrIsNull(m_s))
        return *this = text;
    EStrCat(m_s, text);
    return *this;
}

const char* CEStr::c_str() const {
    return EStrGetBytes(m_s);
}
