// Searching, editing and splitting EStr values by characters.

#include "values/EStrInternal.h"

#include <algorithm>
#include <cstring>

using namespace estr;

namespace {

// The largest number of pieces a split pads its result to.
constexpr long kMaxPieces = 65536;

// The characters of a string: where they start, how many, how wide.
struct Chars {
    const char* text;
    long count;
    long width;
};

// ucsShaped: whether the value 18 counts as UCS, as it does for EStrReplace.
Chars charsOf(const _EStrRec* s, bool ucsShaped = false) {
    bool wide = ucsShaped ? isUCSShaped(s->encoding) : isUCS(s->encoding);
    long width = wide ? 2 : 1;
    long start = wide ? 2 : 0;
    long count = s->length > start ? (s->length - start) / width : 0;
    return {s->bytes + start, count, width};
}

bool sameChar(const char* a, long i, const char* b, long j, long width) {
    return std::memcmp(a + i * width, b + j * width, static_cast<size_t>(width)) == 0;
}

bool isSpace(uint16_t c) {
    return c == ' ' || (c >= 0x09 && c <= 0x0D);
}

// A new string of s's encoding holding count characters from start.
EStr newPiece(const _EStrRec* s, long start, long count) {
    EStr piece = EStrNew(nullptr, isUCS(s->encoding) ? kEStrUCS : kEStrPDFDoc);
    EStrSubstr(piece, s, start, count);
    return piece;
}

// Replaces the characters of s with chars (a mark first for UCS-shaped strings).
void setChars(EStr s, const std::string& chars, bool wide) {
    s->hash = 0;
    if (!wide) {
        setRaw(s, chars.data(), static_cast<long>(chars.size()));
        return;
    }
    std::string bytes = "\xFE\xFF" + chars;
    setRaw(s, bytes.data(), static_cast<long>(bytes.size()));
}

bool isDelimiter(const _EStrRec* delims, uint16_t c) {
    long count = EStrGetCharLen(delims);
    for (long i = 0; i < count; ++i) {
        if (EStrCharAt(delims, i) == c)
            return true;
    }
    return false;
}

std::vector<CEStr> split(const _EStrRec* s, EStr delims, long count, bool keep) {
    std::vector<CEStr> pieces;
    count = std::min(count, kMaxPieces);
    if (s && delims)
        EStrSetEncoding(delims, s->encoding);
    long length = EStrGetCharLen(s);
    long start = 0;
    long i = 0;
    while (s && i < length) {
        if (count > 0 && count - static_cast<long>(pieces.size()) == 1) {
            // The last piece allowed is the rest, delimiters and all.
            pieces.push_back(CEStr::adopt(newPiece(s, start, -1)));
            start = length;
            break;
        }
        if (!isDelimiter(delims, EStrCharAt(s, i))) {
            ++i;
            continue;
        }
        if (keep) {
            pieces.push_back(CEStr::adopt(newPiece(s, start, i + 1 - start)));
            start = ++i;
            continue;
        }
        pieces.push_back(CEStr::adopt(newPiece(s, start, i - start)));
        // The scan jumps over a whole multi-character delimiter, whatever follows the first.
        i += 1 + std::max<long>(EStrGetCharLen(delims) - 1, 0);
        start = i;
    }
    // No final piece follows a delimiter that ends the text.
    if (s && start < length)
        pieces.push_back(CEStr::adopt(newPiece(s, start, -1)));
    int32_t encoding = s ? s->encoding : kEStrPDFDoc;
    while (count > 0 && static_cast<long>(pieces.size()) < count)
        pieces.push_back(CEStr::adopt(EStrNew(nullptr, encoding)));
    return pieces;
}

} // namespace

namespace estr {

long findChars(const char* text, long textChars, const char* needle, long needleChars, long width,
               long start) {
    if (needleChars <= 0 || start < 0 || start > textChars)
        return -1;
    long i = start;
    long j = 0;
    while (i < textChars) {
        if (sameChar(text, i, needle, j, width)) {
            ++i;
            if (++j == needleChars)
                return i - j;
        } else if (j > 0) {
            // A broken partial match restarts at the character that broke it, not one past
            // where it began: a match that starts inside the partial one is missed.
            j = 0;
        } else {
            ++i;
        }
    }
    return -1;
}

} // namespace estr

// Search.

long EStrIndexOfStartAt(const _EStrRec* s, uint16_t c, long start, bool forward) {
    if (!s)
        return -1;
    long length = EStrGetCharLen(s);
    // Steps outside the string read 0: a search for 0 ends on the first of them, any other
    // search passes over them.
    if (forward) {
        if (start < 0) {
            if (c == 0)
                return start;
            start = 0;
        }
        for (long i = start; i < length; ++i) {
            if (EStrCharAt(s, i) == c)
                return i;
        }
        return -1;
    }
    if (start >= length) {
        if (c == 0)
            return start;
        start = length - 1;
    }
    for (long i = start; i >= 0; --i) {
        if (EStrCharAt(s, i) == c)
            return i;
    }
    return -1;
}

long EStrIndexOf(const _EStrRec* s, uint16_t c, bool forward) {
    if (!s)
        return -1;
    // The backward start is the byte length less one, so for UCS the first steps lie past the
    // last character and read 0.
    return EStrIndexOfStartAt(s, c, forward ? 0 : s->length - 1, forward);
}

long EStrFindStr(const _EStrRec* s, EStr needle, long start) {
    if (!s || !needle)
        return -1;
    EStrSetEncoding(needle, s->encoding);
    Chars text = charsOf(s);
    Chars find = charsOf(needle);
    if (text.width != find.width)
        return -1;
    return findChars(text.text, text.count, find.text, find.count, text.width, start);
}

long EStrSnarf(const _EStrRec* s, EStr leftDelim, EStr rightDelim, long start, EStr out) {
    if (!s)
        return -1;
    long from = start;
    if (leftDelim) {
        from = EStrFindStr(s, leftDelim, start);
        if (from < 0)
            return -1;
        from += EStrGetCharLen(leftDelim);
    }
    long to = rightDelim ? EStrFindStr(s, rightDelim, from) : -1;
    if (to < 0) {
        EStrSubstr(out, s, from, -1);
        return EStrGetCharLen(s);
    }
    EStrSubstr(out, s, from, to - from);
    return to + EStrGetCharLen(rightDelim);
}

EStr EStrrStr(const _EStrRec* s, EStr needle) {
    if (!s || !needle || isUCS(s->encoding) || needle->encoding != s->encoding ||
        needle->length <= 0 || needle->length > s->length)
        return nullptr;
    for (long at = s->length - needle->length; at >= 0; --at) {
        if (std::memcmp(s->bytes + at, needle->bytes, static_cast<size_t>(needle->length)) != 0)
            continue;
        EStr tail = EStrNew(nullptr, s->encoding);
        setRaw(tail, s->bytes + at, s->length - at);
        return tail;
    }
    return nullptr;
}

// Edit.

void EStrTrunc(EStr s, long count) {
    if (!s)
        return;
    s->hash = 0;
    if (!isUCSShaped(s->encoding)) {
        setLength(s, std::clamp<long>(count, 0, s->length));
        return;
    }
    long units = s->length > 2 ? (s->length - 2) / 2 : 0;
    count = std::clamp<long>(count, 0, units);
    // The text keeps count units behind the mark, but the length is set to count * 2, leaving
    // the mark out of it; EStrCharTrunc is the form that keeps the length right.
    std::memset(s->bytes + 2 + count * 2, 0, kTerminatorBytes);
    s->length = static_cast<int32_t>(count * 2);
}

void EStrCharTrunc(EStr s, long count) {
    if (!s)
        return;
    s->hash = 0;
    Chars chars = charsOf(s);
    count = std::clamp<long>(count, 0, chars.count);
    setLength(s, (chars.text - s->bytes) + count * chars.width);
}

void EStrTruncFront(EStr s, long count) {
    if (!s || count <= 0)
        return;
    Chars chars = charsOf(s);
    if (count >= chars.count)
        return makeEmpty(s);
    s->hash = 0;
    eraseRaw(s, chars.text - s->bytes, count * chars.width);
}

void EStrSubstr(EStr out, const _EStrRec* s, long start, long count) {
    if (!out)
        return;
    if (!s) {
        makeEmpty(out);
        return;
    }
    Chars chars = charsOf(s);
    start = std::clamp<long>(start, 0, chars.count);
    if (count < 0 || count > chars.count - start)
        count = chars.count - start;
    std::string piece(chars.text + start * chars.width, static_cast<size_t>(count * chars.width));
    int32_t encoding = s->encoding;
    uint16_t language = s->language;
    uint16_t country = s->country;
    setChars(out, piece, chars.width == 2);
    out->encoding = encoding;
    out->language = language;
    out->country = country;
}

void EStrReplace(EStr s, EStr from, EStr to) {
    if (!s || !from)
        return;
    EStrSetEncoding(from, s->encoding);
    if (to)
        EStrSetEncoding(to, s->encoding);
    Chars text = charsOf(s, true);
    Chars find = charsOf(from, true);
    if (find.count == 0 || text.width != find.width)
        return;
    std::string with;
    if (to) {
        Chars put = charsOf(to, true);
        with.assign(put.text, static_cast<size_t>(put.count * put.width));
    }
    std::string result;
    long pos = 0;
    long at;
    while ((at = findChars(text.text, text.count, find.text, find.count, text.width, pos)) >= 0) {
        result.append(text.text + pos * text.width, static_cast<size_t>((at - pos) * text.width));
        result += with;
        pos = at + find.count;
    }
    if (pos == 0)
        return;
    result.append(text.text + pos * text.width,
                  static_cast<size_t>((text.count - pos) * text.width));
    setChars(s, result, text.width == 2);
}

void EStrReplaceByIndex(EStr s, const _EStrRec* text, long start, long end) {
    if (!s)
        return;
    Chars chars = charsOf(s);
    start = std::clamp<long>(start, 0, chars.count);
    end = std::clamp<long>(end, start, chars.count);
    std::string with;
    if (text) {
        CEStr same = CEStr::adopt(EStrCopySetEncoding(text, s->encoding));
        Chars put = charsOf(same);
        if (put.width == chars.width)
            with.assign(put.text, static_cast<size_t>(put.count * put.width));
    }
    long offset = chars.text - s->bytes;
    s->hash = 0;
    eraseRaw(s, offset + start * chars.width, (end - start) * chars.width);
    insertRaw(s, offset + start * chars.width, with.data(), static_cast<long>(with.size()));
}

void EStrReplaceChar(EStr s, uint16_t c, long index) {
    if (!s || index < 0 || index >= EStrGetCharLen(s))
        return;
    s->hash = 0;
    Chars chars = charsOf(s);
    char* at = s->bytes + (chars.text - s->bytes) + index * chars.width;
    if (chars.width == 2) {
        at[0] = static_cast<char>(c >> 8);
        at[1] = static_cast<char>(c & 0xFF);
    } else {
        at[0] = static_cast<char>(c & 0xFF);
    }
}

void EStrRemoveCharAt(EStr s, long index) {
    if (!s || index < 0 || index >= EStrGetCharLen(s))
        return;
    s->hash = 0;
    Chars chars = charsOf(s);
    eraseRaw(s, (chars.text - s->bytes) + index * chars.width, chars.width);
}

namespace {

template <class Pred> void trimEnds(EStr s, Pred matches) {
    if (!s)
        return;
    Chars chars = charsOf(s);
    long first = 0;
    while (first < chars.count && matches(EStrCharAt(s, first)))
        ++first;
    long end = chars.count;
    while (end > first && matches(EStrCharAt(s, end - 1)))
        --end;
    if (first == 0 && end == chars.count)
        return;
    std::string kept(chars.text + first * chars.width,
                     static_cast<size_t>((end - first) * chars.width));
    setChars(s, kept, chars.width == 2);
}

} // namespace

void EStrStrip(EStr s) {
    trimEnds(s, isSpace);
}

void EStrStripChar(EStr s, uint16_t c) {
    // Single bytes read sign-extended; the character is matched by its low byte there.
    bool wide = s && isUCS(s->encoding);
    trimEnds(s, [&](uint16_t at) { return wide ? at == c : (at & 0xFF) == (c & 0xFF); });
}

void EStrStripAll(EStr s) {
    if (!s)
        return;
    Chars chars = charsOf(s);
    std::string kept;
    for (long i = 0; i < chars.count; ++i) {
        if (!isSpace(EStrCharAt(s, i)))
            kept.append(chars.text + i * chars.width, static_cast<size_t>(chars.width));
    }
    if (static_cast<long>(kept.size()) == chars.count * chars.width)
        return;
    setChars(s, kept, chars.width == 2);
}

// Split.

std::vector<CEStr> EStrSplit(const _EStrRec* s, EStr delims) {
    return EStrSplitNum(s, delims, 0);
}

std::vector<CEStr> EStrSplitNum(const _EStrRec* s, EStr delims, long count) {
    return split(s, delims, count, false);
}

std::vector<CEStr> EStrSplitKeep(const _EStrRec* s, EStr delims) {
    return split(s, delims, 0, true);
}
