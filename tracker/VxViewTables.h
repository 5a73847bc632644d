// The view classes' host tables, taken from the view layer at once.
#pragma once

#include "frame/host/IViewLayer.h"

/// The host's view layer, asked for by name and version; null on a host without one.
IViewLayer* VxFindViewLayer();
/// Sets every view class's table from the layer; null clears them all.
void VxSetViewTables(IViewLayer* layer);
/// The view layer the tables came from; null before VxSetViewTables or on a host without one.
IViewLayer* VxViewLayer();
