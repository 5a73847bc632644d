#include "values/MD5.h"

#include "frame/QsCore.h"
#include "values/QsStm.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr long kStreamPiece = 1024;

uint32_t rotateLeft(uint32_t x, int n) {
    return (x << n) | (x >> (32 - n));
}

uint32_t loadLittle(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
           static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

void storeLittle(uint8_t* p, uint32_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
    p[2] = static_cast<uint8_t>(v >> 16);
    p[3] = static_cast<uint8_t>(v >> 24);
}

// The four auxiliary functions, F and G in the forms that need one operation less.
inline uint32_t F(uint32_t x, uint32_t y, uint32_t z) {
    return z ^ (x & (y ^ z));
}
inline uint32_t G(uint32_t x, uint32_t y, uint32_t z) {
    return y ^ (z & (x ^ y));
}
inline uint32_t H(uint32_t x, uint32_t y, uint32_t z) {
    return x ^ y ^ z;
}
inline uint32_t I(uint32_t x, uint32_t y, uint32_t z) {
    return y ^ (x | ~z);
}

#define MD5_STEP(f, a, b, c, d, x, s, t) a = b + rotateLeft(a + f(b, c, d) + (x) + (t), s)

// Runs the compression function over count whole 64-byte blocks.
void transform(uint32_t state[4], const uint8_t* blocks, size_t count) {
    uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
    for (; count > 0; --count, blocks += 64) {
        uint32_t x[16];
        for (int i = 0; i < 16; ++i)
            x[i] = loadLittle(blocks + 4 * i);
        const uint32_t aa = a, bb = b, cc = c, dd = d;

        MD5_STEP(F, a, b, c, d, x[0], 7, 0xd76aa478);
        MD5_STEP(F, d, a, b, c, x[1], 12, 0xe8c7b756);
        MD5_STEP(F, c, d, a, b, x[2], 17, 0x242070db);
        MD5_STEP(F, b, c, d, a, x[3], 22, 0xc1bdceee);
        MD5_STEP(F, a, b, c, d, x[4], 7, 0xf57c0faf);
        MD5_STEP(F, d, a, b, c, x[5], 12, 0x4787c62a);
        MD5_STEP(F, c, d, a, b, x[6], 17, 0xa8304613);
        MD5_STEP(F, b, c, d, a, x[7], 22, 0xfd469501);
        MD5_STEP(F, a, b, c, d, x[8], 7, 0x698098d8);
        MD5_STEP(F, d, a, b, c, x[9], 12, 0x8b44f7af);
        MD5_STEP(F, c, d, a, b, x[10], 17, 0xffff5bb1);
        MD5_STEP(F, b, c, d, a, x[11], 22, 0x895cd7be);
        MD5_STEP(F, a, b, c, d, x[12], 7, 0x6b901122);
        MD5_STEP(F, d, a, b, c, x[13], 12, 0xfd987193);
        MD5_STEP(F, c, d, a, b, x[14], 17, 0xa679438e);
        MD5_STEP(F, b, c, d, a, x[15], 22, 0x49b40821);

        MD5_STEP(G, a, b, c, d, x[1], 5, 0xf61e2562);
        MD5_STEP(G, d, a, b, c, x[6], 9, 0xc040b340);
        MD5_STEP(G, c, d, a, b, x[11], 14, 0x265e5a51);
        MD5_STEP(G, b, c, d, a, x[0], 20, 0xe9b6c7aa);
        MD5_STEP(G, a, b, c, d, x[5], 5, 0xd62f105d);
        MD5_STEP(G, d, a, b, c, x[10], 9, 0x02441453);
        MD5_STEP(G, c, d, a, b, x[15], 14, 0xd8a1e681);
        MD5_STEP(G, b, c, d, a, x[4], 20, 0xe7d3fbc8);
        MD5_STEP(G, a, b, c, d, x[9], 5, 0x21e1cde6);
        MD5_STEP(G, d, a, b, c, x[14], 9, 0xc33707d6);
        MD5_STEP(G, c, d, a, b, x[3], 14, 0xf4d50d87);
        MD5_STEP(G, b, c, d, a, x[8], 20, 0x455a14ed);
        MD5_STEP(G, a, b, c, d, x[13], 5, 0xa9e3e905);
        MD5_STEP(G, d, a, b, c, x[2], 9, 0xfcefa3f8);
        MD5_STEP(G, c, d, a, b, x[7], 14, 0x676f02d9);
        MD5_STEP(G, b, c, d, a, x[12], 20, 0x8d2a4c8a);

        MD5_STEP(H, a, b, c, d, x[5], 4, 0xfffa3942);
        MD5_STEP(H, d, a, b, c, x[8], 11, 0x8771f681);
        MD5_STEP(H, c, d, a, b, x[11], 16, 0x6d9d6122);
        MD5_STEP(H, b, c, d, a, x[14], 23, 0xfde5380c);
        MD5_STEP(H, a, b, c, d, x[1], 4, 0xa4beea44);
        MD5_STEP(H, d, a, b, c, x[4], 11, 0x4bdecfa9);
        MD5_STEP(H, c, d, a, b, x[7], 16, 0xf6bb4b60);
        MD5_STEP(H, b, c, d, a, x[10], 23, 0xbebfbc70);
        MD5_STEP(H, a, b, c, d, x[13], 4, 0x289b7ec6);
        MD5_STEP(H, d, a, b, c, x[0], 11, 0xeaa127fa);
        MD5_STEP(H, c, d, a, b, x[3], 16, 0xd4ef3085);
        MD5_STEP(H, b, c, d, a, x[6], 23, 0x04881d05);
        MD5_STEP(H, a, b, c, d, x[9], 4, 0xd9d4d039);
        MD5_STEP(H, d, a, b, c, x[12], 11, 0xe6db99e5);
        MD5_STEP(H, c, d, a, b, x[15], 16, 0x1fa27cf8);
        MD5_STEP(H, b, c, d, a, x[2], 23, 0xc4ac5665);

        MD5_STEP(I, a, b, c, d, x[0], 6, 0xf4292244);
        MD5_STEP(I, d, a, b, c, x[7], 10, 0x432aff97);
        MD5_STEP(I, c, d, a, b, x[14], 15, 0xab9423a7);
        MD5_STEP(I, b, c, d, a, x[5], 21, 0xfc93a039);
        MD5_STEP(I, a, b, c, d, x[12], 6, 0x655b59c3);
        MD5_STEP(I, d, a, b, c, x[3], 10, 0x8f0ccc92);
        MD5_STEP(I, c, d, a, b, x[10], 15, 0xffeff47d);
        MD5_STEP(I, b, c, d, a, x[1], 21, 0x85845dd1);
        MD5_STEP(I, a, b, c, d, x[8], 6, 0x6fa87e4f);
        MD5_STEP(I, d, a, b, c, x[15], 10, 0xfe2ce6e0);
        MD5_STEP(I, c, d, a, b, x[6], 15, 0xa3014314);
        MD5_STEP(I, b, c, d, a, x[13], 21, 0x4e0811a1);
        MD5_STEP(I, a, b, c, d, x[4], 6, 0xf7537e82);
        MD5_STEP(I, d, a, b, c, x[11], 10, 0xbd3af235);
        MD5_STEP(I, c, d, a, b, x[2], 15, 0x2ad7d2bb);
        MD5_STEP(I, b, c, d, a, x[9], 21, 0xeb86d391);

        a += aa;
        b += bb;
        c += cc;
        d += dd;
    }
    state[0] = a;
    state[1] = b;
    state[2] = c;
    state[3] = d;
}

#undef MD5_STEP

long writeToContext(const char* buffer, long count, void* data) {
    MD5Update(static_cast<MD5Context*>(data), buffer, static_cast<size_t>(count));
    return count;
}

CEStr hexOfDigest(const MD5Digest& digest) {
    static const char kLowerHex[] = "0123456789abcdef";
    char text[33];
    for (int i = 0; i < 16; ++i) {
        text[2 * i] = kLowerHex[digest.bytes[i] >> 4];
        text[2 * i + 1] = kLowerHex[digest.bytes[i] & 0x0F];
    }
    text[32] = '\0';
    return CEStr(text, kEStrPDFDoc);
}

} // namespace

MD5Digest* MD5DigestNew() {
    return static_cast<MD5Digest*>(QsSureCalloc(1, sizeof(MD5Digest)));
}

void MD5DigestDelete(MD5Digest* digest) {
    QsFree(digest);
}

bool MD5DigestEqual(const MD5Digest* a, const MD5Digest* b) {
    if (!a || !b)
        return a == b;
    return std::memcmp(a->bytes, b->bytes, sizeof a->bytes) == 0;
}

bool MD5DigestIsNull(const MD5Digest* digest) {
    static const MD5Digest kNull{};
    return !digest || MD5DigestEqual(digest, &kNull);
}

void MD5Init(MD5Context* context) {
    context->state[0] = 0x67452301;
    context->state[1] = 0xefcdab89;
    context->state[2] = 0x98badcfe;
    context->state[3] = 0x10325476;
    context->count = 0;
}

void MD5Update(MD5Context* context, const void* data, size_t length) {
    if (length == 0)
        return;
    const auto* bytes = static_cast<const uint8_t*>(data);
    size_t held = static_cast<size_t>(context->count % 64);
    context->count += length;
    if (held > 0) {
        size_t take = std::min(length, 64 - held);
        std::memcpy(context->buffer + held, bytes, take);
        bytes += take;
        length -= take;
        if (held + take < 64)
            return;
        transform(context->state, context->buffer, 1);
    }
    transform(context->state, bytes, length / 64);
    std::memcpy(context->buffer, bytes + length / 64 * 64, length % 64);
}

void MD5Final(MD5Digest* out, MD5Context* context) {
    uint8_t tail[72] = {0x80};
    uint64_t bits = context->count * 8;
    size_t held = static_cast<size_t>(context->count % 64);
    size_t padding = held < 56 ? 56 - held : 120 - held;
    for (int i = 0; i < 8; ++i)
        tail[padding + i] = static_cast<uint8_t>(bits >> (8 * i));
    MD5Update(context, tail, padding + 8);
    for (int i = 0; i < 4; ++i)
        storeLittle(out->bytes + 4 * i, context->state[i]);
    std::memset(context, 0, sizeof *context);
}

long MD5DigestCalcFromQsStm(MD5Digest* out, QsStm stream) {
    MD5Context context;
    MD5Init(&context);
    char piece[kStreamPiece];
    long total = 0;
    for (long n; (n = QsStmRead(stream, piece, kStreamPiece)) > 0; total += n)
        MD5Update(&context, piece, static_cast<size_t>(n));
    MD5Final(out, &context);
    return total;
}

QsStm MD5CreateQsStm(MD5Context* context) {
    return context ? QsProcStmWrOpen(writeToContext, nullptr, context) : nullptr;
}

CEStr makeMD5String(const char* data, long length) {
    MD5Context context;
    MD5Init(&context);
    if (data && length > 0)
        MD5Update(&context, data, static_cast<size_t>(length));
    MD5Digest digest;
    MD5Final(&digest, &context);
    return hexOfDigest(digest);
}

CEStr makeMD5String(const _EStrRec* text) {
    return text ? makeMD5String(EStrGetBytes(text), EStrGetLen(text)) : makeMD5String(nullptr, 0);
}
