// The test host's idle clock: nothing runs until the test advances the virtual ticks.
#pragma once

#include "frame/host/IIdle.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class FakeIdle final : public IIdle {
public:
    void registerIdle(IdleProc proc, void* data, int32_t periodTicks) override;
    void unregisterIdle(IdleProc proc, void* data) override;
    void scheduleDelayed(IdleProc proc, void* data, int32_t delayTicks) override;
    void cancelDelayed(IdleProc proc, void* data) override;
    uint64_t ticks() override { return m_ticks; }
    int64_t currentTime() override { return m_baseTime + static_cast<int64_t>(m_ticks / 60); }

    /// Moves the clock on by n ticks, one at a time; at each tick runs what is due, idle
    /// procedures of period 0 included.
    void advanceTicks(uint64_t n);
    /// One idle moment without moving the clock: runs what is due now.
    void runIdle();
    /// Sets "now" (seconds since the epoch) as of the current tick; later ticks move it on.
    void setTime(int64_t secondsSinceEpoch) {
        m_baseTime = secondsSinceEpoch - static_cast<int64_t>(m_ticks / 60);
    }
    /// Number of idle procedures registered.
    size_t idleCount() const;
    /// Number of delayed calls waiting.
    size_t delayedCount() const;
    /// Whether this pair of procedure and data is registered as an idle procedure.
    bool isRegistered(IdleProc proc, void* data) const;

private:
    struct Entry {
        IdleProc proc;
        void* data;
        int32_t period;
        uint64_t due;
        bool live;
        bool oneShot;
    };
    void runDue();

    std::vector<Entry> m_entries;
    uint64_t m_ticks = 0;
    // 2004-01-01 12:00:00 UTC: a fixed "now" unless a test sets another.
    int64_t m_baseTime = 1072958400;
};
