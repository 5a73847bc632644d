#include "tests/fakehost/FakeIdle.h"

#include <algorithm>

void FakeIdle::registerIdle(IdleProc proc, void* data, int32_t periodTicks) {
    uint64_t period = periodTicks > 0 ? static_cast<uint64_t>(periodTicks) : 0;
    m_entries.push_back({proc, data, periodTicks, m_ticks + period, true, false});
}

void FakeIdle::unregisterIdle(IdleProc proc, void* data) {
    for (auto& entry : m_entries) {
        if (entry.live && !entry.oneShot && entry.proc == proc && entry.data == data) {
            entry.live = false;
            return;
        }
    }
}

void FakeIdle::scheduleDelayed(IdleProc proc, void* data, int32_t delayTicks) {
    uint64_t delay = delayTicks > 0 ? static_cast<uint64_t>(delayTicks) : 0;
    m_entries.push_back({proc, data, delayTicks, m_ticks + delay, true, true});
}

void FakeIdle::cancelDelayed(IdleProc proc, void* data) {
    for (auto& entry : m_entries) {
        if (entry.live && entry.oneShot && entry.proc == proc && entry.data == data) {
            entry.live = false;
            return;
        }
    }
}

void FakeIdle::runDue() {
    // Procedures may register and unregister while we walk; new entries wait for the next pass.
    size_t count = m_entries.size();
    for (size_t i = 0; i < count; ++i) {
        if (!m_entries[i].live || m_entries[i].due > m_ticks)
            continue;
        Entry entry = m_entries[i];
        if (entry.oneShot) {
            m_entries[i].live = false;
        } else {
            uint64_t period = entry.period > 0 ? static_cast<uint64_t>(entry.period) : 0;
            m_entries[i].due = m_ticks + std::max<uint64_t>(period, 1);
            if (period == 0)
                m_entries[i].due = m_ticks;
        }
        entry.proc(entry.data);
    }
    std::erase_if(m_entries, [](const Entry& entry) { return !entry.live; });
}

void FakeIdle::runIdle() {
    runDue();
}

void FakeIdle::advanceTicks(uint64_t n) {
    for (uint64_t i = 0; i < n; ++i) {
        ++m_ticks;
        runDue();
    }
}

size_t FakeIdle::idleCount() const {
    return static_cast<size_t>(std::count_if(m_entries.begin(), m_entries.end(),
                                             [](const Entry& e) { return e.live && !e.oneShot; }));
}

size_t FakeIdle::delayedCount() const {
    return static_cast<size_t>(std::count_if(m_entries.begin(), m_entries.end(),
                                             [](const Entry& e) { return e.live && e.oneShot; }));
}

bool FakeIdle::isRegistered(IdleProc proc, void* data) const {
    return std::any_of(m_entries.begin(), m_entries.end(), [&](const Entry& e) {
        return e.live && !e.oneShot && e.proc == proc && e.data == data;
    });
}
