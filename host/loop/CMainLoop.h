// The host's one main loop: the default GLib main context of the process, with the viewer's idle
// clock on top of it. Idle procedures and delayed calls are GLib time-outs; other host pieces
// (the network layer) attach their own sources to the same context and tell the loop while they
// have work under way, so that run() knows when nothing is left to do.
#pragma once

#include "frame/host/IIdle.h"
#include "host/loop/CStopRequest.h"

#include <glib.h>

#include <cstdint>
#include <vector>

class CMainLoop final : public IIdle {
public:
    CMainLoop();
    ~CMainLoop() override;
    CMainLoop(const CMainLoop&) = delete;
    CMainLoop& operator=(const CMainLoop&) = delete;

    void registerIdle(IdleProc proc, void* data, int32_t periodTicks) override;
    void unregisterIdle(IdleProc proc, void* data) override;
    void scheduleDelayed(IdleProc proc, void* data, int32_t delayTicks) override;
    void cancelDelayed(IdleProc proc, void* data) override;
    uint64_t ticks() override;
    int64_t currentTime() override;

    /// Runs the loop until quit(), or until nothing is pending (no idle procedure, no delayed
    /// call, no work under way), or, with a limit of 0 or more, until that many milliseconds
    /// have passed. Answers false when it stopped at the limit. May be called from within a
    /// procedure the loop runs; quit() then ends the innermost run.
    bool run(int64_t limitMs = -1);
    /// Ends the innermost run() at the next moment the loop is free.
    void quit();
    /// Whether an idle procedure, a delayed call or work is pending.
    bool hasPending() const;
    /// Whether a delayed call or work is pending: what a script's run waits for, where periodic
    /// idle procedures are the host's background duties.
    bool hasWork() const;

    /// Tells the loop that work it does not see (a transfer under way) keeps it busy; each call
    /// is paired with one endWork().
    void beginWork();
    void endWork();

    /// The request to stop what runs on this loop; raising it wakes the loop.
    CStopRequest& stopRequest() { return m_stop; }

    /// The GLib context the loop runs; sources of other host pieces go here.
    GMainContext* context() const { return m_context; }

    /// Milliseconds of a period in ticks (60 to a second), rounded up.
    static guint ticksToMs(int32_t ticks);

private:
    struct Entry;
    static gboolean dispatchEntry(gpointer data);
    static void destroyEntry(gpointer data);
    void add(IdleProc proc, void* data, int32_t ticks, bool oneShot);
    void remove(IdleProc proc, void* data, bool oneShot);
    void forget(Entry* entry);

    GMainContext* m_context;
    int64_t m_startMicros;
    std::vector<Entry*> m_entries;
    int m_work = 0;
    bool m_quit = false;
    CStopRequest m_stop;
    int m_stopWaker = 0;
};
