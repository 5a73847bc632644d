// A request to stop what the host is running: raised from any thread (the watchdog that saw the
// time run out or the user press Ctrl-C), and seen by whatever runs or waits on the main thread:
// the script engine at its next interrupt check, the main loop, a synchronous transfer.
//
// Waits that would not notice on their own register a waker, which raise() calls on the raising
// thread; a waker must therefore be safe to call from any thread.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>

class CStopRequest {
public:
    enum class Reason : int { None = 0, TimeUp, Interrupted };

    /// Raises the request and wakes every waiter; the first reason stays until clear().
    void raise(Reason reason);
    Reason reason() const { return static_cast<Reason>(m_reason.load()); }
    bool raised() const { return reason() != Reason::None; }
    /// Lets work run again, once whatever was stopped has been told.
    void clear() { m_reason.store(static_cast<int>(Reason::None)); }

    /// Adds a waker; the answer is its key for removeWaker.
    int addWaker(std::function<void()> waker);
    /// Once it returns, the waker is not running and is not called again.
    void removeWaker(int key);

private:
    std::atomic<int> m_reason{static_cast<int>(Reason::None)};
    std::mutex m_mutex;
    std::map<int, std::function<void()>> m_wakers;
    int m_nextKey = 1;
};
