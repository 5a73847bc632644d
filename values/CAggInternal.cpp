#include "values/CAggInternal.h"

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/miString.h"

namespace {

bool hasMark(const char* text) {
    return text && static_cast<unsigned char>(text[0]) == 0xFE &&
           static_cast<unsigned char>(text[1]) == 0xFF;
}

} // namespace

bool CAggIsNumericKey(const _EStrRec* key) {
    if (key->encoding != kEStrPDFDoc || key->length <= 0 || !key->bytes)
        return false;
    for (int32_t i = 0; i < key->length; ++i) {
        if (key->bytes[i] < '0' || key->bytes[i] > '9')
            return false;
    }
    return true;
}

CAggBorrowedKey::CAggBorrowedKey(const char* text, int32_t encoding) {
    const char* bytes = text ? text : "";
    m_record.encoding = encoding;
    m_record.bytes = const_cast<char*>(bytes);
    m_record.length = static_cast<int32_t>(miStrlen(bytes));
    m_record.capacity = 0;
    m_record.hash = 0;
    m_record.language = 0;
    m_record.country = 0;
}

CAggTextKey::CAggTextKey(const char* text)
    : m_borrowed(hasMark(text) ? "" : text, kEStrPDFDoc),
      m_made(hasMark(text) ? CEStr(text, kEStrAuto) : CEStr()) {}

QsAtom CAggAtomOf(const char* text) {
    return gCoreHFT ? QsAtomFromString(text) : kQsNullAtom;
}

QsAtom CAggAtomOfKey(const _EStrRec* key) {
    if (!key)
        return CAggAtomOf("");
    if (key->encoding != kEStrUCS)
        return CAggAtomOf(key->bytes ? key->bytes : "");
    CEStr copy = CEStr::adopt(EStrCopySetEncoding(key, kEStrPDFDoc));
    return CAggAtomOf(copy.c_str());
}
