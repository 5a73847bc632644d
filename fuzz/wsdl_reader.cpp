// Any bytes as a WSDL document, fed in pieces of any size: the host's reader never crashes,
// delivers the same operations whatever the pieces, and every record it gives is whole.
#include "host/cabinets/CMemoryCabinets.h"
#include "host/core/CHostCore.h"
#include "host/wsdl/CWsdlReader.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

class CStoreless final : public CMemoryCabinets {
public:
    using CMemoryCabinets::CMemoryCabinets;
    QsCab loadCabinet(const char*, const char*) override { return nullptr; }
    void saveCabinet(QsCab, const char*, const char*) override {}
};

struct PieceStream final : _t_QsStm {
    PieceStream(const uint8_t* data, size_t size, size_t piece)
        : data(data), size(size), piece(piece) {}
    long read(char* buffer, long count) override {
        size_t n = std::min({static_cast<size_t>(count), piece, size - at});
        std::copy(data + at, data + at + n, buffer);
        at += n;
        return static_cast<long>(n);
    }
    const uint8_t* data;
    size_t size;
    size_t piece;
    size_t at = 0;
};

struct Seen {
    CMemoryCabinets* cabinets;
    std::vector<std::u16string> names;
};

void collect(const WsdlOperationRec& op, void* context) {
    auto& seen = *static_cast<Seen*>(context);
    if (!op.parameters || seen.cabinets->liveCount() != 1)
        std::abort();
    seen.names.push_back(op.methodName.units + u"|" + op.url.units);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CHostCore core;
    CStoreless cabinets(core);
    CWsdlReader reader(cabinets);
    Seen whole{&cabinets, {}};
    PieceStream all(data, size, 1 << 20);
    reader.readWsdl(&all, collect, &whole);
    Seen pieces{&cabinets, {}};
    PieceStream small(data, size, 1 + size % 13);
    reader.readWsdl(&small, collect, &pieces);
    if (whole.names != pieces.names || cabinets.liveCount() != 0)
        std::abort();
    return 0;
}
