// Bytes read as a program over a CAgg tree: each pair of bytes picks a step (index, convert to
// a mask, flatten, split, join, combine, copy, compare) and its argument. Nothing may crash,
// whatever order the steps come in.

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "host/core/CHostCore.h"
#include "values/CAgg.h"

#include <string>

namespace {

/// Entries of a collection, without converting anything else.
size_t entries(CAgg& value) {
    switch (value.getType()) {
    case CAgg::eVector:
        return value.toVector().size();
    case CAgg::eMap:
        return value.toMap().size();
    case CAgg::eQsAtomMap:
        return value.toQsAtomMap().size();
    default:
        return 0;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static CHostCore core;
    gCoreHFT = &core;
    CAgg value;
    CAgg other;
    for (size_t i = 0; i + 1 < size; i += 2) {
        uint8_t step = data[i] % 16;
        uint8_t arg = data[i + 1];
        CAgg& target = arg & 0x80 ? other : value;
        // Flattening doubles a collection; past a few thousand entries that is only slow.
        if (entries(value) + entries(other) > 4096)
            break;
        try {
            switch (step) {
            case 0: {
                bool mask[CAgg::kTypeCount];
                for (int t = 0; t < CAgg::kTypeCount; ++t)
                    mask[t] = ((arg * 31u + t * 7u) % 5u) == 0;
                target.convert(mask);
                break;
            }
            case 1:
                target.convert(static_cast<CAgg::CAggType>(arg % CAgg::kTypeCount));
                break;
            case 2:
                target[static_cast<long>(arg % 8)] = CAgg(static_cast<long>(arg));
                break;
            case 3:
                target[std::to_string(arg % 12).c_str()] = CAgg(arg / 3.0);
                break;
            case 4:
                target[static_cast<unsigned short>(arg % 4)] = CAgg("t");
                break;
            case 5:
                target.map2VectorPERLStyle();
                break;
            case 6:
                target.vector2MapPERLStyle();
                break;
            case 7:
                target.splitVector(arg % 4);
                break;
            case 8:
                target.joinVector();
                break;
            case 9:
                value.combine(other, arg & 1);
                break;
            case 10:
                value.difference(other, arg & 1);
                break;
            case 11:
                value.intersect(other);
                break;
            case 12:
                other = value;
                break;
            case 13:
                (void)(value == other);
                break;
            case 14:
                target.makeIndependent();
                break;
            default:
                target = target[static_cast<long>(arg % 3)];
                break;
            }
        } catch (const HostError& error) {
            if (error.code != kHostErrBadSize)
                throw;
        }
    }
    return 0;
}
