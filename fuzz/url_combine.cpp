// Any two texts as base and reference: combining never writes past the buffer, a too-small
// buffer reports the size that then works, and the percent encoders count what they cut.
#include "values/miUrl.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    const long room = data[0];
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    size_t split = text.find('\n');
    std::string base = text.substr(0, split);
    std::string relative = split == std::string::npos ? std::string() : text.substr(split + 1);
    base.resize(std::strlen(base.c_str()));
    relative.resize(std::strlen(relative.c_str()));

    char* out = static_cast<char*>(std::malloc(room ? static_cast<size_t>(room) : 1));
    long used = room;
    int32_t error = 0;
    bool ok = miCombineUrl(base.c_str(), relative.c_str(), out, &used, &error);
    std::free(out);
    if (ok != (error == kUrlOK))
        std::abort();
    if (error == kUrlBufferTooSmall) {
        if (used <= room)
            std::abort();
        out = static_cast<char*>(std::malloc(static_cast<size_t>(used)));
        long needed = used;
        if (!miCombineUrl(base.c_str(), relative.c_str(), out, &used, &error) || used != needed - 1)
            std::abort();
        std::free(out);
    }

    out = static_cast<char*>(std::malloc(room ? static_cast<size_t>(room) : 1));
    long encoded = room;
    long whole = PercentEncodeRFC1738(text.data(), static_cast<long>(text.size()), out, &encoded);
    if (whole != encoded || whole < static_cast<long>(text.size()))
        std::abort();
    encoded = room;
    PercentEncodeURL(text.data(), static_cast<long>(text.size()), out, &encoded, data[0] & 1);
    std::free(out);

    std::string path = text.substr(0, std::strlen(text.c_str()));
    size_t before = path.size();
    miSubstituteDots(path.data());
    if (std::strlen(path.c_str()) > before)
        std::abort();
    miIsUTF8(text.data(), static_cast<long>(text.size()));
    miFindNonTwoByteUTF8(text.data(), static_cast<long>(text.size()));
    return 0;
}
