// Lets the script engine drop the objects it keeps for callers outside any scope, each time the
// main loop is about to wait: a GLib source that never dispatches, whose prepare step is the
// loop's idle moment.
#pragma once

#include <glib.h>

class CSpiderMonkeyEngine;

class CLooseRootsSource {
public:
    /// Attaches to the loop's context; the engine is not owned and must outlive the source.
    CLooseRootsSource(GMainContext* context, CSpiderMonkeyEngine& engine);
    ~CLooseRootsSource();
    CLooseRootsSource(const CLooseRootsSource&) = delete;
    CLooseRootsSource& operator=(const CLooseRootsSource&) = delete;

private:
    GSource* m_source;
};
