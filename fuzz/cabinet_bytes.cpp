// Any bytes as a stored cabinet: reading never crashes or nests past the bound, and whatever
// reads as a cabinet is written and read back unchanged. The bytes are tried as a whole file and
// as the dictionary of a file with a matching sum, so that the fuzzer gets past the sum.
#include "host/cabinets/CMemoryCabinets.h"
#include "host/cabinets/CabinetBytes.h"
#include "host/core/CHostCore.h"

#include <glib.h>

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

class CStoreless final : public CMemoryCabinets {
public:
    using CMemoryCabinets::CMemoryCabinets;
    QsCab loadCabinet(const char*, const char*) override { return nullptr; }
    void saveCabinet(QsCab, const char*, const char*) override {}
};

uint64_t fnv1a(const void* data, size_t size) {
    uint64_t hash = 14695981039346656037ull;
    for (size_t i = 0; i < size; ++i) {
        hash ^= static_cast<const unsigned char*>(data)[i];
        hash *= 1099511628211ull;
    }
    return hash;
}

/// A file whose dictionary is the bytes as they are, with the sum over them.
std::string fileAround(const std::string& dictBytes) {
    GBytes* bytes = g_bytes_new(dictBytes.data(), dictBytes.size());
    GVariant* dict = g_variant_new_from_bytes(G_VARIANT_TYPE("a(ayv)"), bytes, FALSE);
    g_bytes_unref(bytes);
    GVariant* parts[] = {g_variant_new_string("vellum-cabinet-1"),
                         g_variant_new_uint64(fnv1a(dictBytes.data(), dictBytes.size())), dict};
    GVariant* file = g_variant_ref_sink(g_variant_new_tuple(parts, 3));
    std::string result(static_cast<const char*>(g_variant_get_data(file)),
                       g_variant_get_size(file));
    g_variant_unref(file);
    return result;
}

void check(const std::string& bytes) {
    static CHostCore core;
    static CStoreless cabs(core);
    std::unique_ptr<_t_QsCabinet> cab = CabinetFromBytes(bytes, core);
    if (!cab)
        return;
    if (cab->depth() > kQsCabMaxDepth)
        std::abort();
    std::unique_ptr<_t_QsCabinet> again = CabinetFromBytes(CabinetToBytes(*cab, core), core);
    if (!again || !cabs.equal(cab.get(), again.get()))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string bytes(reinterpret_cast<const char*>(data), size);
    check(bytes);
    check(fileAround(bytes));
    return 0;
}
