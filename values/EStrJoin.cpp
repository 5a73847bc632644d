// Joining lists of EStr values.

#include "values/EStrInternal.h"

#include <cstdarg>

using namespace estr;

namespace {

// Appends the text of piece, copied to the encoding of s first.
void appendConverted(EStr s, const _EStrRec* piece) {
    CEStr same = CEStr::adopt(EStrCopySetEncoding(piece, s->encoding));
    long skip = isUCS(same.get()->encoding) ? 2 : 0;
    s->hash = 0;
    insertRaw(s, s->length, same.get()->bytes + skip, same.get()->length - skip);
}

void appendList(EStr s, const _EStrRec* first, va_list pieces) {
    for (const _EStrRec* piece = first; piece; piece = va_arg(pieces, const _EStrRec*)) {
        // Strings of length 0 are skipped; a UCS string holding its mark alone is not.
        if (piece->length == 0)
            continue;
        if (s->length == 0)
            EStrAssign(s, piece);
        else
            appendConverted(s, piece);
    }
}

} // namespace

EStr EStrNewFromEStr(const _EStrRec* s, ...) {
    EStr result = EStrNew(nullptr, kEStrPDFDoc);
    va_list pieces;
    va_start(pieces, s);
    appendList(result, s, pieces);
    va_end(pieces);
    if (result->length == 0) {
        result->encoding = s ? s->encoding : kEStrPDFDoc;
        makeEmpty(result);
    }
    return result;
}

void EStrCatEStr(EStr s, ...) {
    if (!s)
        return;
    va_list pieces;
    va_start(pieces, s);
    const _EStrRec* first = va_arg(pieces, const _EStrRec*);
    appendList(s, first, pieces);
    va_end(pieces);
}
