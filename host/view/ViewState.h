// The host's view layer as the page draws it: one JSON document of the windows that are shown,
// their views, tree items (text, icon and style as the plug-in's procedures give them now) and
// the menus of their buttons; and the same trees as plain text, for a terminal.
#pragma once

#include "host/view/CHostViewLayer.h"

#include <functional>
#include <string>

/// Names an icon for the page: a number by which the page asks for its image, 0 for none.
using IconNamer = std::function<uint32_t(VxIcon icon)>;

/// Every window (shown or not), with its views; the panels on offer.
std::string ViewStateJSON(CHostViewLayer& layer, const IconNamer& icons);

/// A menu and its sub-menus, with each item's enabled and marked state asked now.
std::string MenuJSON(CHostViewLayer& layer, HostMenu* menu);

/// Every tree of every window as indented text, one item a line, items under closed items too;
/// "*" marks an item drawn bold (unread), "-" a closed item with children.
std::string ViewTreesAsText(CHostViewLayer& layer);
