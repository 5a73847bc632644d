// vellum-host tracker: the plug-in's Tracker served as a local web page until Ctrl-C.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

class CReferenceHost;

/// How the Tracker is served.
struct TrackerRequest {
    /// The port on 127.0.0.1; 0 for a free one.
    uint16_t port = 0;
    /// Hands the address to the desktop's browser (xdg-open).
    bool open = false;
    /// Ends the serving after this long; 0 for no limit.
    int timeoutSeconds = 0;
};

/// Starts the host with the plug-in, serves the page, prints its address with its token
/// ("http://127.0.0.1:PORT/?token=..."), opens the Tracker panel in it, and serves until Ctrl-C
/// (or the time limit). Exit status: 0; 1 when the page cannot be served; 2 when the plug-in
/// cannot be loaded.
int RunTracker(CReferenceHost& host, const std::string& plugin, const TrackerRequest& request,
               std::ostream& out, std::ostream& errors);
