// The viewer's icons: PNG bytes decoded into icon bundles.
#pragma once

#include "frame/host/ViewerHandles.h"

#include <cstddef>

class IIcons {
public:
    virtual ~IIcons() = default;
    /// A new icon bundle of the PNG bytes, which the caller owns; null when the bytes are no
    /// image the platform reads (a file cut short among them).
    virtual VxIcon iconFromPNG(const unsigned char* bytes, size_t size) = 0;
    /// Frees a bundle that iconFromPNG made; null is fine.
    virtual void releaseIcon(VxIcon icon) = 0;
};
