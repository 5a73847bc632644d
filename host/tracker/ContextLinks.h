// The links of an HTML view's page, routed back to the host: each link's target becomes an
// address of the host's own, which hands the original to the plug-in before anything follows it.
#pragma once

#include <string>

/// The page with the href of each <a> and <area> element replaced by route followed by the
/// original address, percent-encoded; a relative address is first resolved against the page's
/// <base href>, when it has one. Everything else is kept byte for byte.
std::string RouteLinks(const std::string& html, const std::string& route);
