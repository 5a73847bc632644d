// Encoded strings: heap text that knows its encoding.
//
// An EStr is a _EStrRec*: bytes, their encoding, and the language and country of a PDF UCS
// string. The family is a flat set of free functions; CEStr is the owning wrapper.
//
// Encodings: 0 the host's, 1 PDFDocEncoding, 2 UCS (0xFE 0xFF then big-endian units), 3 automatic
// (a request only), 4 to 16 the named script encodings, 17 best (a request only), 18 UCS-shaped.
//
// Text stays a UTF-8 std::string only where it crosses into a library that speaks UTF-8 (Expat,
// curl, GLib) or a protocol's bytes are built; EStrFromUTF8 and EStrToUTF8 are the two doors.
#pragma once

#include "frame/QsText.h"
#include "frame/host/ICore.h"
#include "frame/host/ViewerHandles.h"
#include "frame/miString.h"

#include <cstdarg>
#include <cstdint>
#include <string>
#include <vector>

struct _EStrRec {
    int32_t encoding;
    char* bytes;      // owned; always followed by at least two zero bytes
    int32_t length;   // in bytes; for UCS the two bytes of the mark included
    int32_t capacity; // in bytes
    uint32_t hash;    // cached hash, 0 while none is computed
    uint16_t language;
    uint16_t country;
};
using EStr = _EStrRec*;

class CEStr;

/// Encoding values with a meaning of their own.
enum : int32_t {
    kEStrHost = 0,
    kEStrPDFDoc = 1,
    kEStrUCS = 2,
    kEStrAuto = 3,
    kEStrBest = 17,
    kEStrUCSShaped = 18,
};

// Create. None returns null except EStrCopySetEncoding of null.
EStr EStrNew(const char* text, int32_t encoding);
EStr EStrNewSize(long size, int32_t encoding);
EStr EStrCopy(const _EStrRec* s);
EStr EStrCopySetEncoding(const _EStrRec* s, int32_t encoding);
/// Joins a null-ended list of strings; empty ones are skipped, the first non-empty one fixes
/// the encoding.
EStr EStrNewFromEStr(const _EStrRec* s, ...);
EStr EStrNewFromInt(long value);
EStr EStrNewFromID(long messageID);
EStr EStrNewFromLobObj(LobObj object);
EStr EStrNewFromQsText(const QsTextRec* text);
/// Host-order units up to a zero unit, as a UCS string.
EStr EStrNewFromQsUns16(const uint16_t* units);
EStr EStrNewFromQsUns16WithLen(const uint16_t* units, long count);

// Destroy.
void EStrDelete(EStr s);
/// Wipes the whole capacity and the record before freeing them: for secrets.
void EStrDeleteSecure(EStr s);
/// EStrDeleteSecure through a pointer to the pointer, which is then null.
void EStrDestroy(EStr* s);

// Set.
void EStrSetBytes(EStr s, const char* text, int32_t encoding);
void EStrSetBytesWithSize(EStr s, const char* text, long size, int32_t encoding);
void EStrSetUCSBytesWithSize(EStr s, const char* units, long size);
void EStrSetHostEndianUCSBytesWithSize(EStr s, const char* units, long size);
void EStrSetSize(EStr s, long size);
void EStrAssign(EStr target, const _EStrRec* source);
void EStrSetBytesFromInt(EStr s, long value);
void EStrSetBytesFromID(EStr s, long messageID);
void EStrSetBytesFromLobObj(EStr s, LobObj object);
/// Makes room for need bytes; a need below 0 raises host error 0x40000003.
void EStrCheck(EStr s, long need);

// Grow.
void EStrCat(EStr s, const char* text);
/// Appends a null-ended list of strings, each copied to s's encoding first.
void EStrCatEStr(EStr s, ...);
void EStrCatChar(EStr s, uint16_t c);
void EStrPrepend(EStr s, const char* text);
void EStrInsertChar(EStr s, uint16_t c, long index);
/// At most 4097 bytes; the string keeps its encoding.
void EStrPrintf(EStr s, const char* format, ...);

// Read. The plain reads are inline: they are called for every key and text of a tree.
inline const char* EStrGetBytes(const _EStrRec* s) {
    return s && s->bytes ? s->bytes : "";
}
inline long EStrGetLen(const _EStrRec* s) {
    return s ? s->length : 0;
}
/// Characters: bytes for single-byte encodings, units for UCS, the mark not counted.
inline long EStrGetCharLen(const _EStrRec* s) {
    if (!s)
        return 0;
    if (s->encoding == kEStrUCS)
        return s->length > 2 ? (s->length - 2) / 2 : 0;
    return s->length;
}
inline int32_t EStrGetEncoding(const _EStrRec* s) {
    return s ? s->encoding : kEStrHost;
}
inline uint16_t EStrGetLanguage(const _EStrRec* s) {
    return s ? s->language : 0;
}
inline uint16_t EStrGetCountry(const _EStrRec* s) {
    return s ? s->country : 0;
}
/// 0 out of range; a single byte is sign-extended to 16 bits.
uint16_t EStrCharAt(const _EStrRec* s, long index);
/// True for no record, and for a record whose text is empty (the mark alone for UCS).
inline bool EStrIsNull(const _EStrRec* s) {
    if (!s)
        return true;
    bool ucsShaped = s->encoding == kEStrUCS || s->encoding == kEStrUCSShaped;
    return ucsShaped ? s->length < 3 : s->length == 0;
}

// Compare.
int EStrCmp(const _EStrRec* a, const _EStrRec* b);
int EStrICmp(const _EStrRec* a, const _EStrRec* b);
int EStrCmpStrict(const _EStrRec* a, const _EStrRec* b);
int EStrLexicalCmp(const _EStrRec* a, const _EStrRec* b, int32_t encoding);
/// lookup2 over the bytes, initial value 725005; never 0. Cached in the record.
uint32_t EStrHash(EStr s);

// Encoding.
void EStrSetEncoding(EStr s, int32_t encoding);
void EStrThisIsTheEncoding(EStr s, int32_t encoding);
void EStrFlipBytes(EStr s);
QsAtom EStrGetBestEncoding(EStr s);
int32_t EStrGetBestESEEncoding(EStr s);
int32_t EStrGetBestEncodingWithPref(EStr s, int32_t preferred);
void EStrSetEncodingWithDkScript(EStr s, int32_t script);
void EStrCollapseCountryAndLanguageEscapes(EStr s);
QsAtom ConvertEncodingToPtfm(int32_t encoding);
int32_t ConvertPtfmToEncoding(QsAtom name);
int32_t ESEToFontType(int32_t encoding);
int32_t FontTypeToESE(int32_t fontType);

// Search. Needles are set to the string's encoding in place.
long EStrIndexOf(const _EStrRec* s, uint16_t c, bool forward);
long EStrIndexOfStartAt(const _EStrRec* s, uint16_t c, long start, bool forward);
long EStrFindStr(const _EStrRec* s, EStr needle, long start);
/// The last occurrence of needle to the end, as a new string; null if none.
EStr EStrrStr(const _EStrRec* s, EStr needle);
/// The text between leftDelim (from start; null means start itself) and rightDelim (or the end)
/// into out; the index after the right delimiter, -1 when the left is not found.
long EStrSnarf(const _EStrRec* s, EStr leftDelim, EStr rightDelim, long start, EStr out);

// Edit.
void EStrTrunc(EStr s, long count);
void EStrCharTrunc(EStr s, long count);
void EStrTruncFront(EStr s, long count);
void EStrSubstr(EStr out, const _EStrRec* s, long start, long count);
void EStrReplace(EStr s, EStr from, EStr to);
void EStrReplaceByIndex(EStr s, const _EStrRec* text, long start, long end);
void EStrReplaceChar(EStr s, uint16_t c, long index);
void EStrRemoveCharAt(EStr s, long index);
void EStrStrip(EStr s);
void EStrStripChar(EStr s, uint16_t c);
void EStrStripAll(EStr s);

// Split. The delimiter string is set to the source's encoding in place.
std::vector<CEStr> EStrSplit(const _EStrRec* s, EStr delims);
std::vector<CEStr> EStrSplitNum(const _EStrRec* s, EStr delims, long count);
std::vector<CEStr> EStrSplitKeep(const _EStrRec* s, EStr delims);

// Markup.
/// s as plain ASCII safe for markup, as a new string of encoding 1; s is moved to UCS.
EStr EStrIffyCharsToCharEntities(EStr s);
CEStr EntityEncode(const _EStrRec* s, bool keepMarkup);

// Bridge.
QsText QsTextFromEStr(const _EStrRec* s, QsText out);

/// The owning form of an EStr. May hold null.
class CEStr {
public:
    CEStr() = default;
    /// A new string of the text; encoding 3 takes UCS when the text starts with the mark.
    CEStr(const char* text, int32_t encoding = kEStrAuto) : m_s(EStrNew(text, encoding)) {}
    /// A copy of the record (null stays null).
    CEStr(const _EStrRec* s) : m_s(s ? EStrCopy(s) : nullptr) {}
    CEStr(const CEStr& other) : m_s(other.m_s ? EStrCopy(other.m_s) : nullptr) {}
    CEStr(CEStr&& other) noexcept : m_s(other.m_s) { other.m_s = nullptr; }
    ~CEStr() { EStrDelete(m_s); }

    /// Takes a record over without copying it.
    static CEStr adopt(EStr s) {
        CEStr wrapped;
        wrapped.m_s = s;
        return wrapped;
    }

    CEStr& operator=(const CEStr& other) { return *this = other.m_s; }
    CEStr& operator=(CEStr&& other) noexcept;
    /// Into a null wrapper copies; a null source destroys the record; else EStrAssign.
    CEStr& operator=(const _EStrRec* source);
    CEStr& operator=(const char* text);

    /// A null source does nothing; an empty target takes a copy; same encodings join by bytes;
    /// different ones are both raised to UCS and the target stays UCS.
    CEStr& operator+=(const CEStr& other);
    /// Appends the bytes as they are, after the same empty-target test.
    CEStr& operator+=(const char* text);

    EStr get() const { return m_s; }
    operator EStr() const { return m_s; }
    EStr release() {
        EStr s = m_s;
        m_s = nullptr;
        return s;
    }
    bool isNull() const { return m_s == nullptr; }
    /// The bytes; the empty text for a null wrapper or buffer.
    const char* c_str() const;

private:
    EStr m_s = nullptr;
};

// UTF-8, at the boundaries with libraries and protocols.

/// UTF-8 bytes as a CEStr: PDFDocEncoding when every byte is ASCII, else UCS. Malformed sequences
/// read as U+FFFD.
CEStr EStrFromUTF8(const char* text, long length);
/// The same for a zero-ended text; null gives the empty text.
CEStr EStrFromUTF8(const char* text);
CEStr EStrFromUTF8(const std::string& text);
/// The text of any encoding as UTF-8; null gives the empty text.
std::string EStrToUTF8(const _EStrRec* text);
/// Appends the UTF-8 form of a UCS string's units from unit `from` on; a surrogate pair is one
/// character, a lone surrogate gives U+FFFD.
void EStrAppendUCSAsUTF8(std::string& out, const _EStrRec* text, long from = 0);
