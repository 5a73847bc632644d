// Comparing and hashing EStr values.

#include "values/EStrInternal.h"

using namespace estr;

namespace {

constexpr uint32_t kHashInitial = 725005;
constexpr uint32_t kGoldenRatio = 0x9E3779B9;

// Bob Jenkins's lookup2 mixing step.
// clang-format off
inline void mix(uint32_t& a, uint32_t& b, uint32_t& c) {
    a -= b; a -= c; a ^= (c >> 13);
    b -= c; b -= a; b ^= (a << 8);
    c -= a; c -= b; c ^= (b >> 13);
    a -= b; a -= c; a ^= (c >> 12);
    b -= c; b -= a; b ^= (a << 16);
    c -= a; c -= b; c ^= (b >> 5);
    a -= b; a -= c; a ^= (c >> 3);
    b -= c; b -= a; b ^= (a << 10);
    c -= a; c -= b; c ^= (b >> 15);
}
// clang-format on

inline uint32_t word(const unsigned char* k) {
    return k[0] | (uint32_t{k[1]} << 8) | (uint32_t{k[2]} << 16) | (uint32_t{k[3]} << 24);
}

uint32_t lookup2(const unsigned char* k, uint32_t length, uint32_t initial) {
    uint32_t a = kGoldenRatio;
    uint32_t b = kGoldenRatio;
    uint32_t c = initial;
    uint32_t left = length;
    while (left >= 12) {
        a += word(k);
        b += word(k + 4);
        c += word(k + 8);
        mix(a, b, c);
        k += 12;
        left -= 12;
    }
    c += length;
    switch (left) {
    case 11:
        c += uint32_t{k[10]} << 24;
        [[fallthrough]];
    case 10:
        c += uint32_t{k[9]} << 16;
        [[fallthrough]];
    case 9:
        c += uint32_t{k[8]} << 8;
        [[fallthrough]]; // the low byte of c holds the length
    case 8:
        b += uint32_t{k[7]} << 24;
        [[fallthrough]];
    case 7:
        b += uint32_t{k[6]} << 16;
        [[fallthrough]];
    case 6:
        b += uint32_t{k[5]} << 8;
        [[fallthrough]];
    case 5:
        b += k[4];
        [[fallthrough]];
    case 4:
        a += uint32_t{k[3]} << 24;
        [[fallthrough]];
    case 3:
        a += uint32_t{k[2]} << 16;
        [[fallthrough]];
    case 2:
        a += uint32_t{k[1]} << 8;
        [[fallthrough]];
    case 1:
        a += k[0];
        [[fallthrough]];
    default:
        break;
    }
    mix(a, b, c);
    return c;
}

using TextCompare = int (*)(const char*, const char*);

// Same encodings compare their bytes; different ones compare as UCS.
int compareAsText(const _EStrRec* a, const _EStrRec* b, TextCompare compare) {
    if (a == b)
        return 0;
    if (!a || !b) {
        const _EStrRec* present = a ? a : b;
        if (EStrIsNull(present))
            return 0;
        return a ? 1 : -1;
    }
    if (a->encoding == b->encoding)
        return compare(a->bytes, b->bytes);
    CEStr ua = isUCS(a->encoding) ? CEStr() : CEStr::adopt(EStrCopySetEncoding(a, kEStrUCS));
    CEStr ub = isUCS(b->encoding) ? CEStr() : CEStr::adopt(EStrCopySetEncoding(b, kEStrUCS));
    return compare(EStrGetBytes(ua.isNull() ? a : ua.get()),
                   EStrGetBytes(ub.isNull() ? b : ub.get()));
}

// Compares two strings that ended in the same encoding through the platform. This platform has
// no collation of its own, so such strings compare equal.
int ComparePtfmString(const _EStrRec*, const _EStrRec*) {
    return 0;
}

} // namespace

int EStrCmp(const _EStrRec* a, const _EStrRec* b) {
    return compareAsText(a, b, miStrcmp);
}

int EStrICmp(const _EStrRec* a, const _EStrRec* b) {
    return compareAsText(a, b, miStricmp);
}

int EStrCmpStrict(const _EStrRec* a, const _EStrRec* b) {
    if (!a || !b)
        return compareAsText(a, b, miStrcmp);
    if (a->encoding == b->encoding)
        return miStrcmp(a->bytes, b->bytes);
    // Different encodings order by encoding alone, UCS last.
    if (isUCS(a->encoding))
        return 1;
    if (isUCS(b->encoding))
        return -1;
    return a->encoding < b->encoding ? -1 : 1;
}

int EStrLexicalCmp(const _EStrRec* a, const _EStrRec* b, int32_t encoding) {
    CEStr sides[2] = {CEStr::adopt(EStrCopySetEncoding(a ? a : CEStr("").get(), kEStrUCS)),
                      CEStr::adopt(EStrCopySetEncoding(b ? b : CEStr("").get(), kEStrUCS))};
    for (CEStr& side : sides) {
        bool preferred = EStrGetBestEncodingWithPref(side, encoding) == encoding;
        EStrSetEncoding(side, preferred ? encoding : kEStrBest);
    }
    int32_t ea = EStrGetEncoding(sides[0]);
    int32_t eb = EStrGetEncoding(sides[1]);
    if (ea == eb)
        return ComparePtfmString(sides[0], sides[1]);
    return ea - eb;
}

uint32_t EStrHash(EStr s) {
    if (!s) {
        uint32_t empty = lookup2(nullptr, 0, kHashInitial);
        return empty ? empty : kHashInitial;
    }
    if (s->hash)
        return s->hash;
    uint32_t hash = lookup2(reinterpret_cast<const unsigned char*>(s->bytes),
                            static_cast<uint32_t>(s->length), kHashInitial);
    // 0 marks an empty cache, so a hash of 0 is given as the initial value instead.
    s->hash = hash ? hash : kHashInitial;
    return s->hash;
}
