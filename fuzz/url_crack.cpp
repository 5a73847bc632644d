// Any bytes as a URL: cracking keeps every part inside the text, canonicalising never writes
// past the buffer it is given, and a URL that cracks compares equal to itself.
#include "values/miUrl.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void checkPart(const char* str, long len, const std::string& url) {
    if (!str) {
        if (len != 0)
            std::abort();
        return;
    }
    if (len < 0 || str < url.c_str() || str + len > url.c_str() + url.size())
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    // The first byte sizes the output buffer; the rest, to its first zero, is the URL.
    const long room = data[0];
    std::string url(reinterpret_cast<const char*>(data + 1), size - 1);
    url.resize(std::strlen(url.c_str()));

    CrackedUrlRec cracked;
    int32_t result = miCrackUrl(url.c_str(), &cracked);
    if (result == kUrlOK) {
        checkPart(cracked.schemeStr, cracked.schemeLen, url);
        checkPart(cracked.userStr, cracked.userLen, url);
        checkPart(cracked.passwordStr, cracked.passwordLen, url);
        checkPart(cracked.hostStr, cracked.hostLen, url);
        checkPart(cracked.pathStr, cracked.pathLen, url);
        checkPart(cracked.queryStr, cracked.queryLen, url);
        checkPart(cracked.fragmentStr, cracked.fragmentLen, url);
    } else if (result != kUrlMalformed) {
        std::abort();
    }

    // An exact heap buffer, so that a write past it is caught.
    char* out = static_cast<char*>(std::malloc(room ? static_cast<size_t>(room) : 1));
    long used = room;
    int32_t error = 0;
    bool ok = miCanonicalizeUrl(url.c_str(), out, &used, &error);
    if (ok != (error == kUrlOK) || (ok && (used >= room || std::strlen(out) != size_t(used))))
        std::abort();
    if (error == kUrlBufferTooSmall && used <= room)
        std::abort();
    std::free(out);

    int32_t same = miCompareUrl(url.c_str(), url.c_str(), 0xFFFFFFFF, &error);
    if (same != (error == kUrlOK ? kUrlMatch : kUrlCompareFailed))
        std::abort();
    return 0;
}
