// URLs as plain byte text: cracking into parts, resolving a reference against a base, a canonical
// form, a part-by-part comparison, percent encoding and two UTF-8 tests.
//
// Nothing here allocates what the caller must free, raises, or writes past the size it is given.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Kinds of URL, by scheme.
enum : int32_t {
    kUrlUnknown = 0,
    kUrlHttp = 1,
    kUrlHttps = 2,
    kUrlFtp = 3,
    kUrlFile = 4,
    kUrlNone = 5, // no scheme: a relative reference
};

/// Result codes of the URL functions.
enum : int32_t {
    kUrlOK = 0,
    kUrlCopyFailed = -1,
    kUrlBadArgument = -2,
    kUrlBufferTooSmall = -3,
    kUrlMalformed = -5,
    kUrlNoMemory = -7,
};

/// Flags of miCompareUrl: which parts must match, and how.
enum : uint32_t {
    kUrlCmpKind = 0x01,
    kUrlCmpHost = 0x02,
    kUrlCmpPort = 0x04,
    kUrlCmpUser = 0x08,
    kUrlCmpPassword = 0x10,
    kUrlCmpPath = 0x20,
    kUrlCmpQuery = 0x80,
    kUrlCmpUserNoCase = 0x100,
    kUrlCmpPasswordNoCase = 0x200,
    kUrlCmpPathNoCase = 0x400,
    kUrlCmpPathLowerEscapes = 0x2000,
};

/// Results of miCompareUrl.
enum : int32_t {
    kUrlDiffer = 0,
    kUrlMatch = 1,
    kUrlFirstDirIsPrefix = 3,  // paths differ; the first's folder holds the second's
    kUrlSecondDirIsPrefix = 5, // paths differ; the second's folder holds the first's
    kUrlSameDir = 7,           // paths differ within one folder
    kUrlCompareFailed = 0x80000,
};

/// A cracked URL. Each part points into the cracked text; an absent part is 0 and null.
struct CrackedUrlRec {
    int32_t scheme; ///< the kind, kUrlUnknown to kUrlNone
    long schemeLen;
    const char* schemeStr; ///< without the colon
    long userLen;
    const char* userStr;
    long passwordLen;
    const char* passwordStr;
    long hostLen;
    const char* hostStr;
    int32_t port; ///< the scheme's default port when the URL names none
    long pathLen;
    const char* pathStr;
    long queryLen;
    const char* queryStr; ///< with the leading "?"
    long fragmentLen;
    const char* fragmentStr; ///< with the leading "#"
};

/// Splits a zero-ended URL into its parts; a result code.
int32_t miCrackUrl(const char* url, CrackedUrlRec* out);

/// Resolves relative against base into out, which holds *size bytes; *size becomes the length
/// written, or on kUrlBufferTooSmall the size needed. False with *error set on failure.
bool miCombineUrl(const char* base, const char* relative, char* out, long* size, int32_t* error);

/// The canonical form of url into out, sized as for miCombineUrl.
bool miCanonicalizeUrl(const char* url, char* out, long* size, int32_t* error);

/// Compares the parts of two URLs that flags select; kUrlMatch, kUrlDiffer, a folder relation
/// of the paths, or kUrlCompareFailed with *error set.
int32_t miCompareUrl(const char* a, const char* b, uint32_t flags, int32_t* error);

/// Percent-encodes length bytes for a URL under the RFC 1738 rules. Writes at most *size bytes
/// to out (a zero byte behind them when there is room), sets *size to the whole encoded length,
/// and returns that length.
long PercentEncodeRFC1738(const char* in, long length, char* out, long* size);

/// As PercentEncodeRFC1738 with the looser URL table, or, with spacesOnly, escaping only space,
/// "#" and "%".
long PercentEncodeURL(const char* in, long length, char* out, long* size, bool spacesOnly);

/// PercentEncodeURL into a new string.
std::string PercentEncodeURLCopy(std::string_view in, bool spacesOnly = false);

/// True when the text has a byte at or above 0x80 and every lead byte is followed by its
/// continuation bytes; plain ASCII is not UTF-8 here.
bool miIsUTF8(const char* text, long length);

/// The index of the first byte that cannot belong to one- or two-byte UTF-8 where it stands, or
/// -1 when every byte can.
long miFindNonTwoByteUTF8(const char* text, long length);

/// Removes "/../" with the segment before it, then "/./", from a zero-ended path in place.
void miSubstituteDots(char* path);
