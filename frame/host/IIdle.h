// The viewer's idle clock: idle procedures with a period in ticks (60 to a second), one-shot
// delayed calls, and the current time. The reference host drives it with the GLib main loop; the
// test host with a virtual clock advanced by hand.
#pragma once

#include <cstdint>

/// An idle procedure or delayed call; data is what it was registered with.
using IdleProc = void (*)(void* data);

class IIdle {
public:
    virtual ~IIdle() = default;
    /// Runs proc every periodTicks ticks (0: at every idle moment) until unregistered.
    virtual void registerIdle(IdleProc proc, void* data, int32_t periodTicks) = 0;
    /// Removes the registration with this same pair of procedure and data; a pair that is not
    /// registered is ignored. Safe to call from within the procedure itself.
    virtual void unregisterIdle(IdleProc proc, void* data) = 0;
    /// Runs proc once, delayTicks ticks from now.
    virtual void scheduleDelayed(IdleProc proc, void* data, int32_t delayTicks) = 0;
    /// Removes a delayed call not yet run; ignored when there is none.
    virtual void cancelDelayed(IdleProc proc, void* data) = 0;
    /// Ticks since the clock started.
    virtual uint64_t ticks() = 0;
    /// Seconds since the epoch: "now" for every time computation of the plug-in.
    virtual int64_t currentTime() = 0;
};
