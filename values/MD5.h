// MD5 digests (RFC 1321): of bytes, of streams, and as a write stream.
#pragma once

#include "frame/host/QsStmRec.h"
#include "values/EStr.h"

#include <cstddef>
#include <cstdint>

/// A 128-bit MD5 digest; all zero is the null digest.
struct MD5Digest {
    uint8_t bytes[16];
};

/// The running state of one MD5 computation.
struct MD5Context {
    uint32_t state[4];
    uint64_t count; ///< bytes taken so far
    uint8_t buffer[64];
};

/// A new null digest; raises the out-of-memory host error rather than give null.
MD5Digest* MD5DigestNew();
/// Frees a digest from MD5DigestNew; null is fine.
void MD5DigestDelete(MD5Digest* digest);
/// The digest of everything the stream gives, read in pieces of 1024 bytes until a read gives
/// nothing; the number of bytes read.
long MD5DigestCalcFromQsStm(MD5Digest* out, QsStm stream);
/// True when both digests hold the same bytes.
bool MD5DigestEqual(const MD5Digest* a, const MD5Digest* b);
/// True for a null pointer or a digest of all zero bytes.
bool MD5DigestIsNull(const MD5Digest* digest);

/// Starts a computation.
void MD5Init(MD5Context* context);
/// Adds length bytes to a computation.
void MD5Update(MD5Context* context, const void* data, size_t length);
/// Ends a computation with its digest; the context must be started again before reuse.
void MD5Final(MD5Digest* out, MD5Context* context);

/// A write stream whose bytes go to MD5Update on context, which the caller keeps and finishes.
QsStm MD5CreateQsStm(MD5Context* context);

/// The digest of length bytes as 32 lower-case hexadecimal digits, a string of encoding 1.
CEStr makeMD5String(const char* data, long length);
/// The digest of a string's bytes as they are stored (a UCS string with its mark); null is the
/// digest of no bytes.
CEStr makeMD5String(const _EStrRec* text);
