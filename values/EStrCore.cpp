// The EStr record: its buffer, creation, destruction, setting, growing and reading.

#include "frame/HostError.h"
#include "frame/QsCore.h"
#include "values/EStrInternal.h"
#include "values/SmallBlocks.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <strings.h>

using namespace estr;

namespace {

// The largest buffer a record may ask for; its capacity is a 32-bit number.
constexpr long kMaxNeed = INT32_MAX - 64;

long roundedTarget(long need) {
    return (need / 32) * 32 + 32;
}

void checkNeed(long need) {
    if (need < 0)
        raiseHostError(kHostErrBadSize);
    if (need > kMaxNeed)
        raiseHostError(kHostErrNoMemory);
}

bool startsWithMark(const char* text, long length) {
    return text && length >= 2 && static_cast<unsigned char>(text[0]) == 0xFE &&
           static_cast<unsigned char>(text[1]) == 0xFF;
}

// Creation and EStrSetBytes agree on the encoding of a text: 3 means UCS when the text has the
// mark, else 1; 2 without the mark means 1. An empty text keeps 2 (it gets the mark alone).
int32_t creationEncoding(const char* text, long length, int32_t encoding) {
    bool marked = startsWithMark(text, length);
    if (encoding == kEStrAuto)
        return marked ? kEStrUCS : kEStrPDFDoc;
    if (encoding == kEStrUCS && length > 0 && !marked)
        return kEStrPDFDoc;
    return encoding;
}

bool pointsInto(const _EStrRec* s, const char* bytes) {
    return bytes && s->bytes && bytes >= s->bytes && bytes < s->bytes + s->capacity;
}

// Bytes of a marked text up to its zero unit (size 0), or the given size.
long measureUnits(const char* units, long size) {
    if (size != 0 || !units)
        return size;
    long i = 0;
    while (units[i] || units[i + 1])
        i += 2;
    return i;
}

void setUCSBytes(EStr s, const char* units, long size, bool swap) {
    if (!s)
        return;
    checkNeed(size);
    size = measureUnits(units, size);
    std::string bytes = "\xFE\xFF";
    if (units)
        bytes.append(units, static_cast<size_t>(size));
    if (swap) {
        for (size_t i = 2; i + 1 < bytes.size(); i += 2)
            std::swap(bytes[i], bytes[i + 1]);
    }
    s->hash = 0;
    s->language = 0;
    s->country = 0;
    setRaw(s, bytes.data(), static_cast<long>(bytes.size()));
    s->encoding = kEStrUCS;
    EStrCollapseCountryAndLanguageEscapes(s);
}

void setText(EStr s, const char* text, long length, int32_t encoding) {
    s->hash = 0;
    s->language = 0;
    s->country = 0;
    setRaw(s, text, length);
    s->encoding = creationEncoding(text, length, encoding);
    if (s->encoding == kEStrUCS && length == 0)
        setRaw(s, "\xFE\xFF", 2);
    EStrCollapseCountryAndLanguageEscapes(s);
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

} // namespace

namespace estr {

EStr newRecord(long need) {
    checkNeed(need);
    long target = roundedTarget(need);
    auto* s = static_cast<EStr>(smallBlockAllocate(sizeof(_EStrRec) + static_cast<size_t>(target)));
    std::memset(s, 0, sizeof(_EStrRec));
    s->bytes = reinterpret_cast<char*>(s + 1);
    s->capacity = static_cast<int32_t>(target);
    return s;
}

size_t recordBlockBytes(const _EStrRec* s) {
    if (hasInlineBuffer(s))
        return sizeof(_EStrRec) + static_cast<size_t>(s->capacity);
    size_t bytes;
    std::memcpy(&bytes, s + 1, sizeof bytes);
    return bytes;
}

void setLength(EStr s, long length) {
    EStrCheck(s, length + kTerminatorBytes);
    s->length = static_cast<int32_t>(length);
    std::memset(s->bytes + length, 0, kTerminatorBytes);
}

void setRaw(EStr s, const char* bytes, long size) {
    if (pointsInto(s, bytes)) {
        std::string copy(bytes, static_cast<size_t>(size));
        return setRaw(s, copy.data(), size);
    }
    EStrCheck(s, size + kTerminatorBytes);
    if (bytes && size > 0)
        std::memcpy(s->bytes, bytes, static_cast<size_t>(size));
    setLength(s, bytes ? size : 0);
}

void insertRaw(EStr s, long at, const char* bytes, long size) {
    if (!bytes || size <= 0)
        return;
    if (pointsInto(s, bytes)) {
        std::string copy(bytes, static_cast<size_t>(size));
        return insertRaw(s, at, copy.data(), size);
    }
    at = std::clamp<long>(at, 0, s->length);
    long length = s->length;
    EStrCheck(s, length + size + kTerminatorBytes);
    std::memmove(s->bytes + at + size, s->bytes + at, static_cast<size_t>(length - at));
    std::memcpy(s->bytes + at, bytes, static_cast<size_t>(size));
    setLength(s, length + size);
}

void eraseRaw(EStr s, long at, long size) {
    at = std::clamp<long>(at, 0, s->length);
    size = std::clamp<long>(size, 0, s->length - at);
    std::memmove(s->bytes + at, s->bytes + at + size, static_cast<size_t>(s->length - at - size));
    setLength(s, s->length - size);
}

void makeEmpty(EStr s) {
    s->hash = 0;
    if (isUCSShaped(s->encoding))
        setRaw(s, "\xFE\xFF", 2);
    else
        setLength(s, 0);
}

} // namespace estr

namespace {

// The buffer leaves the record's own room for one of its own of `bytes` bytes, which takes the
// text along. The room is wiped, so that a secure delete still leaves nothing behind, and then
// remembers the size of the record's block, which its capacity no longer tells.
void leaveOwnRoom(EStr s, long bytes) {
    size_t blockBytes = sizeof(_EStrRec) + static_cast<size_t>(s->capacity);
    auto* buffer = static_cast<char*>(QsSureCalloc(1, static_cast<size_t>(bytes)));
    std::memcpy(buffer, s->bytes, static_cast<size_t>(std::min<long>(bytes, s->capacity)));
    explicit_bzero(s->bytes, static_cast<size_t>(s->capacity));
    std::memcpy(s->bytes, &blockBytes, sizeof blockBytes);
    s->bytes = buffer;
    s->capacity = static_cast<int32_t>(bytes);
}

} // namespace

void EStrCheck(EStr s, long need) {
    checkNeed(need);
    if (!s)
        return;
    long target = roundedTarget(need);
    long capacity = s->capacity;
    if (target > capacity) {
        if (capacity == 0) {
            s->bytes = static_cast<char*>(QsSureCalloc(1, static_cast<size_t>(target)));
            s->capacity = static_cast<int32_t>(target);
            return;
        }
        long grown = capacity;
        while (grown < target)
            grown = std::min<long>(grown * 2, kMaxNeed + 64);
        if (hasInlineBuffer(s))
            return leaveOwnRoom(s, grown);
        s->bytes = static_cast<char*>(QsSureRealloc(s->bytes, static_cast<size_t>(grown)));
        s->capacity = static_cast<int32_t>(grown);
        return;
    }
    if (capacity >= 129 && target <= capacity / 2) {
        // The record's own room cannot shrink in place: the text moves to a buffer of the
        // smaller size.
        if (hasInlineBuffer(s))
            return leaveOwnRoom(s, target);
        s->bytes = static_cast<char*>(QsSureRealloc(s->bytes, static_cast<size_t>(target)));
        s->capacity = static_cast<int32_t>(target);
    }
}

// Create.

EStr EStrNew(const char* text, int32_t encoding) {
    long length = miStrlen(text);
    EStr s = newRecord(length + kTerminatorBytes);
    if (length)
        std::memcpy(s->bytes, text, static_cast<size_t>(length));
    std::memset(s->bytes + length, 0, static_cast<size_t>(s->capacity - length));
    s->length = static_cast<int32_t>(length);
    s->encoding = creationEncoding(text, length, encoding);
    if (s->encoding == kEStrUCS && length == 0) {
        s->bytes[0] = '\xFE';
        s->bytes[1] = '\xFF';
        s->length = 2;
    }
    EStrCollapseCountryAndLanguageEscapes(s);
    return s;
}

EStr EStrNewSize(long size, int32_t encoding) {
    checkNeed(size);
    EStr s = newRecord(size + kTerminatorBytes);
    std::memset(s->bytes, 0, static_cast<size_t>(s->capacity));
    s->length = static_cast<int32_t>(size);
    s->encoding = encoding == kEStrAuto ? kEStrPDFDoc : encoding;
    // The mark sits inside the size: a UCS string of size n holds (n - 2) / 2 units.
    if (s->encoding == kEStrUCS && size >= 2) {
        s->bytes[0] = '\xFE';
        s->bytes[1] = '\xFF';
    }
    return s;
}

EStr EStrCopy(const _EStrRec* s) {
    if (!s)
        return EStrNew(nullptr, kEStrPDFDoc);
    EStr copy = newRecord(s->length + kTerminatorBytes);
    if (s->length > 0)
        std::memcpy(copy->bytes, s->bytes, static_cast<size_t>(s->length));
    std::memset(copy->bytes + s->length, 0, static_cast<size_t>(copy->capacity - s->length));
    copy->length = s->length;
    copy->encoding = s->encoding;
    copy->hash = s->hash;
    copy->language = s->language;
    copy->country = s->country;
    EStrCollapseCountryAndLanguageEscapes(copy);
    return copy;
}

EStr EStrCopySetEncoding(const _EStrRec* s, int32_t encoding) {
    if (!s)
        return nullptr;
    EStr copy = EStrCopy(s);
    EStrSetEncoding(copy, encoding);
    return copy;
}

EStr EStrNewFromInt(long value) {
    char text[32];
    std::snprintf(text, sizeof text, "%ld", value);
    return EStrNew(text, kEStrHost);
}

EStr EStrNewFromQsUns16(const uint16_t* units) {
    long count = 0;
    while (units && units[count])
        ++count;
    return EStrNewFromQsUns16WithLen(units, count);
}

EStr EStrNewFromQsUns16WithLen(const uint16_t* units, long count) {
    checkNeed(count);
    EStr s = EStrNew(nullptr, kEStrUCS);
    if (units && count > 0) {
        setUnits(s, reinterpret_cast<const char16_t*>(units), static_cast<size_t>(count));
        EStrCollapseCountryAndLanguageEscapes(s);
    }
    return s;
}

// Destroy.

void EStrDelete(EStr s) {
    if (!s)
        return;
    size_t blockBytes = recordBlockBytes(s);
    if (!hasInlineBuffer(s))
        QsFree(s->bytes);
    smallBlockFree(s, blockBytes);
}

void EStrDeleteSecure(EStr s) {
    if (!s)
        return;
    size_t blockBytes = recordBlockBytes(s);
    bool inlineBuffer = hasInlineBuffer(s);
    char* bytes = s->bytes;
    if (bytes)
        explicit_bzero(bytes, static_cast<size_t>(s->capacity));
    if (!inlineBuffer)
        QsFree(bytes);
    explicit_bzero(s, sizeof(_EStrRec));
    smallBlockFree(s, blockBytes);
}

void EStrDestroy(EStr* s) {
    if (!s)
        return;
    EStrDeleteSecure(*s);
    *s = nullptr;
}

// Set.

void EStrSetBytes(EStr s, const char* text, int32_t encoding) {
    if (!s)
        return;
    setText(s, text, miStrlen(text), encoding);
}

void EStrSetBytesWithSize(EStr s, const char* text, long size, int32_t encoding) {
    if (!s)
        return;
    checkNeed(size);
    if (!text || size == 0) {
        s->hash = 0;
        setLength(s, 0);
        EStrSetEncoding(s, encoding);
        return;
    }
    setText(s, text, size, encoding);
}

void EStrSetUCSBytesWithSize(EStr s, const char* units, long size) {
    setUCSBytes(s, units, size, false);
}

void EStrSetHostEndianUCSBytesWithSize(EStr s, const char* units, long size) {
    setUCSBytes(s, units, size, std::endian::native == std::endian::little);
}

void EStrSetSize(EStr s, long size) {
    checkNeed(size);
    if (!s)
        return;
    s->hash = 0;
    long old = s->length;
    EStrCheck(s, size + kTerminatorBytes);
    if (size > old)
        std::memset(s->bytes + old, 0, static_cast<size_t>(size - old));
    setLength(s, size);
}

void EStrAssign(EStr target, const _EStrRec* source) {
    if (!target || target == source)
        return;
    if (!source) {
        makeEmpty(target);
        return;
    }
    setRaw(target, source->bytes, source->length);
    target->encoding = source->encoding;
    target->hash = source->hash;
    target->language = source->language;
    target->country = source->country;
}

void EStrSetBytesFromInt(EStr s, long value) {
    char text[32];
    std::snprintf(text, sizeof text, "%ld", value);
    EStrSetBytes(s, text, kEStrHost);
}

// Grow.

void EStrCat(EStr s, const char* text) {
    if (!s || !text)
        return;
    long length = miStrlen(text);
    // A marked text is appended without its mark: the target is taken to be UCS.
    long skip = startsWithMark(text, length) ? 2 : 0;
    s->hash = 0;
    insertRaw(s, s->length, text + skip, length - skip);
}

void EStrCatChar(EStr s, uint16_t c) {
    if (!s)
        return;
    s->hash = 0;
    if (isUCSShaped(s->encoding)) {
        if (s->length < 2)
            setRaw(s, "\xFE\xFF", 2);
        char unit[2] = {static_cast<char>(c >> 8), static_cast<char>(c & 0xFF)};
        insertRaw(s, s->length, unit, 2);
        return;
    }
    char byte = static_cast<char>(c & 0xFF);
    insertRaw(s, s->length, &byte, 1);
}

void EStrPrepend(EStr s, const char* text) {
    if (!s || !text)
        return;
    long length = miStrlen(text);
    long skip = startsWithMark(text, length) ? 2 : 0;
    s->hash = 0;
    insertRaw(s, std::min<long>(textStart(s->encoding), s->length), text + skip, length - skip);
}

void EStrInsertChar(EStr s, uint16_t c, long index) {
    if (!s || index < 0)
        return;
    if (index >= EStrGetCharLen(s))
        return EStrCatChar(s, c);
    s->hash = 0;
    long width = unitWidth(s->encoding);
    char unit[2] = {static_cast<char>(c >> 8), static_cast<char>(c & 0xFF)};
    const char* bytes = width == 2 ? unit : unit + 1;
    insertRaw(s, textStart(s->encoding) + index * width, bytes, width);
}

void EStrPrintf(EStr s, const char* format, ...) {
    if (!s || !format)
        return;
    char text[4098];
    va_list args;
    va_start(args, format);
    int written = miVsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (written < 0)
        return;
    s->hash = 0;
    setRaw(s, text, std::min<long>(written, sizeof text - 1));
}

// Read.

uint16_t EStrCharAt(const _EStrRec* s, long index) {
    if (!s || index < 0 || index >= EStrGetCharLen(s))
        return 0;
    if (isUCS(s->encoding)) {
        auto high = static_cast<unsigned char>(s->bytes[2 + index * 2]);
        auto low = static_cast<unsigned char>(s->bytes[3 + index * 2]);
        return static_cast<uint16_t>((high << 8) | low);
    }
    // A single byte reads sign-extended: 0x80 and above come out as 0xFF80 and above.
    return static_cast<uint16_t>(static_cast<int16_t>(static_cast<signed char>(s->bytes[index])));
}

// Language and country escapes.

void EStrCollapseCountryAndLanguageEscapes(EStr s) {
    if (!s || s->encoding != kEStrUCS || s->length < 3)
        return;
    const char* b = s->bytes;
    if (s->length < 4 || b[2] != 0 || b[3] != 0x1B)
        return;
    long pos = 4;
    uint16_t pairs[2] = {0, 0};
    for (int i = 0; i < 2 && pos + 1 < s->length; ++i) {
        if (!isLetter(b[pos]) || !isLetter(b[pos + 1]))
            break;
        pairs[i] = static_cast<uint16_t>((static_cast<unsigned char>(b[pos]) << 8) |
                                         static_cast<unsigned char>(b[pos + 1]));
        pos += 2;
    }
    if (pos + 1 < s->length && b[pos] == 0 && b[pos + 1] == 0x1B)
        pos += 2;
    s->hash = 0;
    eraseRaw(s, 2, pos - 2);
    s->language = pairs[0];
    s->country = pairs[1];
}
