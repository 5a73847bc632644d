// The viewer's icons as the reference host gives them: PNG bytes decoded by gdk-pixbuf.
#pragma once

#include "frame/host/IIcons.h"
#include "host/icons/CPngIconBundle.h"

/// PngIconBundleNew and PngIconBundleRelease behind the viewer's interface.
class CPngIcons final : public IIcons {
public:
    VxIcon iconFromPNG(const unsigned char* bytes, size_t size) override {
        return PngIconBundleNew(bytes, size);
    }
    void releaseIcon(VxIcon icon) override { PngIconBundleRelease(icon); }
};
