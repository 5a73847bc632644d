// Any bytes through the base64 and hex decoders, whole and in fragments: the fragments give the
// same bytes as one piece, and coding then decoding gives the input back.
#include "values/Filters.h"
#include "values/QsStm.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

std::unique_ptr<CFilter> makeFilter(bool hex, bool encode) {
    if (hex)
        return encode ? std::unique_ptr<CFilter>(new CHexEncoder)
                      : std::unique_ptr<CFilter>(new CHexDecoder);
    return encode ? std::unique_ptr<CFilter>(new CBase64Encoder)
                  : std::unique_ptr<CFilter>(new CBase64Decoder);
}

// Runs bytes through a filter in fragments of the given size, then flushes it.
std::string runFilter(CFilter& filter, const std::string& bytes, size_t fragment) {
    std::string all, in, out;
    for (size_t at = 0; at < bytes.size(); at += fragment) {
        in = bytes.substr(at, fragment);
        filter.processFragment(in, out);
        all += out;
    }
    if (filter.shouldFlush()) {
        in.clear();
        filter.processFragment(in, out);
        all += out;
    }
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2)
        return 0;
    const bool hex = data[0] & 1;
    const size_t fragment = 1 + data[1] % 64;
    const std::string bytes(reinterpret_cast<const char*>(data + 2), size - 2);

    std::string whole = runFilter(*makeFilter(hex, false), bytes, bytes.size() + 1);
    if (runFilter(*makeFilter(hex, false), bytes, fragment) != whole)
        std::abort();

    QsStm decoder = DecodeQsStmRd(QsMemStmRdOpen(bytes.data(), bytes.size()),
                                  hex ? kFilterHex : kFilterBase64, 1);
    std::string streamed = QsStmReadAll(decoder, static_cast<long>(fragment));
    QsStmClose(decoder);
    if (streamed != whole)
        std::abort();

    std::string coded = runFilter(*makeFilter(hex, true), bytes, fragment);
    if (runFilter(*makeFilter(hex, false), coded, fragment) != bytes)
        std::abort();
    return 0;
}
