#include "host/runner/CWatchdog.h"

#include "host/loop/CStopRequest.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace {

// What the handler of Ctrl-C reaches: one watchdog catches it at a time.
int gInterruptPipe = -1;
int gPromptPipe = -1;
pthread_t gMainThread;
std::atomic<int> gInterrupts{0};
struct sigaction gPreviousAction;

void onInterrupt(int) {
    // Only a read of the main thread is to be interrupted; another thread hands the signal on.
    if (!pthread_equal(pthread_self(), gMainThread)) {
        pthread_kill(gMainThread, SIGINT);
        return;
    }
    int saved = errno;
    gInterrupts.fetch_add(1);
    char byte = 'i';
    for (int fd : {gInterruptPipe, gPromptPipe}) {
        if (fd >= 0 && write(fd, &byte, 1) < 0) {
            // The pipe is full: its reader has wake-ups enough.
        }
    }
    errno = saved;
}

} // namespace

CWatchdog::CWatchdog(CStopRequest& stop) : m_stop(stop) {
    if (pipe2(m_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        m_pipe[0] = m_pipe[1] = -1;
    if (pipe2(m_promptPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        m_promptPipe[0] = m_promptPipe[1] = -1;
    m_thread = std::thread([this] { watch(); });
}

CWatchdog::~CWatchdog() {
    if (m_catching) {
        sigaction(SIGINT, &gPreviousAction, nullptr);
        gInterruptPipe = -1;
        gPromptPipe = -1;
    }
    poke('q');
    m_thread.join();
    for (int fd : {m_pipe[0], m_pipe[1], m_promptPipe[0], m_promptPipe[1]}) {
        if (fd >= 0)
            close(fd);
    }
}

void CWatchdog::catchInterrupts() {
    if (m_catching || m_pipe[1] < 0)
        return;
    gMainThread = pthread_self();
    gInterruptPipe = m_pipe[1];
    gPromptPipe = m_promptPipe[1];
    gInterrupts = 0;
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0; // no SA_RESTART: a read waiting for the user ends with EINTR
    sigaction(SIGINT, &action, &gPreviousAction);
    m_catching = true;
}

void CWatchdog::arm(int seconds) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_armed = true;
        m_deadline.reset();
        if (seconds > 0)
            m_deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    }
    gInterrupts = 0;
    poke('a');
}

void CWatchdog::disarm() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_armed = false;
        m_deadline.reset();
    }
    poke('a');
}

bool CWatchdog::takeInterrupt() {
    return m_catching && gInterrupts.exchange(0) > 0;
}

bool CWatchdog::waitForInput(int fd) {
    while (!takeInterrupt()) {
        pollfd fds[2] = {{fd, POLLIN, 0}, {m_promptPipe[0], POLLIN, 0}};
        if (poll(fds, m_promptPipe[0] >= 0 ? 2 : 1, -1) < 0 && errno != EINTR)
            return true; // the read tells what is wrong
        if (fds[0].revents)
            return true;
        char bytes[64];
        while (fds[1].revents && read(m_promptPipe[0], bytes, sizeof bytes) > 0) {
            // Only a wake-up: the count says what happened.
        }
    }
    return false;
}

void CWatchdog::poke(char what) {
    if (m_pipe[1] >= 0 && write(m_pipe[1], &what, 1) < 0) {
        // Full: the watchdog wakes anyway and looks at the state.
    }
}

void CWatchdog::watch() {
    // Ctrl-C goes to the main thread, never here.
    sigset_t interrupts;
    sigemptyset(&interrupts);
    sigaddset(&interrupts, SIGINT);
    pthread_sigmask(SIG_BLOCK, &interrupts, nullptr);
    using Clock = std::chrono::steady_clock;
    while (m_pipe[0] >= 0) {
        int waitMs = -1;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_armed && m_deadline) {
                auto left =
                    std::chrono::ceil<std::chrono::milliseconds>(*m_deadline - Clock::now());
                waitMs = static_cast<int>(std::max<long long>(left.count(), 0));
            }
        }
        pollfd fd = {m_pipe[0], POLLIN, 0};
        int ready = poll(&fd, 1, waitMs);
        if (ready < 0 && errno != EINTR)
            return;
        char bytes[64];
        ssize_t count = ready > 0 ? read(m_pipe[0], bytes, sizeof bytes) : 0;
        bool interrupted = false;
        for (ssize_t i = 0; i < count; ++i) {
            if (bytes[i] == 'q')
                return;
            interrupted = interrupted || bytes[i] == 'i';
        }
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_armed)
            continue;
        if (interrupted) {
            m_stop.raise(CStopRequest::Reason::Interrupted);
        } else if (m_deadline && Clock::now() >= *m_deadline) {
            m_deadline.reset();
            m_stop.raise(CStopRequest::Reason::TimeUp);
        }
    }
}
