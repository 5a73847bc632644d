// Icons decoded from PNG bytes by gdk-pixbuf, as the viewer's icon bundles: the bundle measures
// the image and opens its pixels as a stream of RGBA rows, four bytes a pixel, top row first.
#pragma once

#include "frame/host/ViewerHandles.h"

#include <cstddef>

/// A new icon bundle of PNG bytes, or null when the bytes are no image gdk-pixbuf can read.
VxIcon PngIconBundleNew(const unsigned char* bytes, size_t size);
/// Frees a bundle made by PngIconBundleNew; null is fine.
void PngIconBundleRelease(VxIcon icon);
