// An icon as the viewer passes it around: a bundle record whose handler measures the icon and
// opens its pixels as a stream. A VxIcon handle points at one of these records.
#pragma once

#include "frame/host/QsStmRec.h"
#include "frame/host/ViewerHandles.h"

#include <cstdint>

struct _t_VxIconBundleRec6;

/// Stores the icon's width and height in pixels.
using VxIconBundleMeasureProc = void (*)(_t_VxIconBundleRec6* bundle, int32_t* width,
                                         int32_t* height);
/// A new read stream over the pixels of image index (only 0 exists), or null.
using VxIconBundleOpenStmProc = QsStm (*)(_t_VxIconBundleRec6* bundle, int32_t index);
/// Flags of the bundle.
using VxIconBundleFlagsProc = uint32_t (*)(_t_VxIconBundleRec6* bundle);

/// The operations of a bundle: its own size, then the three procedures.
struct VxIconBundleHandlerRec {
    uint32_t size;
    uint32_t reserved;
    VxIconBundleMeasureProc measureProc;
    VxIconBundleOpenStmProc openStmProc;
    VxIconBundleFlagsProc flagsProc;
    void* reserved2;
};

/// "VXIC", "ONBU": the first two words of every bundle.
constexpr uint32_t kVxIconBundleMagic = 0x56584943;
constexpr uint32_t kVxIconBundleType = 0x4F4E4255;
constexpr uint32_t kVxIconBundleVersion = 0x60000;

struct _t_VxIconBundleRec6 {
    uint32_t magic;
    uint32_t type;
    uint32_t version;
    const VxIconBundleHandlerRec* handler;
    void* clientData;
};

/// The bundle behind an icon handle; null for a null handle or one that is no bundle.
inline _t_VxIconBundleRec6* VxIconGetBundle(VxIcon icon) {
    auto* bundle = reinterpret_cast<_t_VxIconBundleRec6*>(icon);
    if (!bundle || bundle->magic != kVxIconBundleMagic || bundle->type != kVxIconBundleType ||
        !bundle->handler)
        return nullptr;
    return bundle;
}
