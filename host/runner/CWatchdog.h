// The watchdog of a script run: a thread that raises the main loop's stop request when the run's
// time is up, or, once it catches interrupts, when the user presses Ctrl-C while a run is armed.
//
// Ctrl-C outside an armed run stops nothing; it is counted, and interrupts the read it comes
// in (the console's prompt), which then asks takeInterrupt() what happened.
#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <thread>

class CStopRequest;

class CWatchdog {
public:
    explicit CWatchdog(CStopRequest& stop);
    ~CWatchdog();
    CWatchdog(const CWatchdog&) = delete;
    CWatchdog& operator=(const CWatchdog&) = delete;

    /// Takes Ctrl-C (SIGINT) from here on, until this watchdog goes. Call it on the main thread,
    /// which is the one whose reads Ctrl-C interrupts.
    void catchInterrupts();

    /// Watches a run from now: the stop is raised after that many seconds (0: never), or at
    /// Ctrl-C.
    void arm(int seconds);
    /// The run is over: neither the time nor Ctrl-C stops anything.
    void disarm();
    /// Whether Ctrl-C was pressed since the last call.
    bool takeInterrupt();
    /// Whether interrupts are caught.
    bool catching() const { return m_catching; }
    /// Waits until fd has input (true) or Ctrl-C is pressed (false). A read that merely blocks
    /// would miss a Ctrl-C that comes just before it starts.
    bool waitForInput(int fd);

private:
    void watch();
    void poke(char what);

    CStopRequest& m_stop;
    std::mutex m_mutex;
    bool m_armed = false;
    std::optional<std::chrono::steady_clock::time_point> m_deadline;
    int m_pipe[2] = {-1, -1};       // wakes the watchdog's thread
    int m_promptPipe[2] = {-1, -1}; // wakes the main thread's waitForInput
    bool m_catching = false;
    std::thread m_thread;
};
