// The Tracker page's files (host/tracker/page/), built into vellum-host.
#pragma once

#include <string_view>

/// The page's file of that name, byte for byte; empty when there is none.
std::string_view trackerAsset(std::string_view name);
