// A one-document web server on 127.0.0.1 for `vellum-host feed`: it hands the plug-in the bytes
// that the host read from a file or fetched, so that the plug-in reads them as it reads any feed
// it subscribes to. It answers every GET with the document, from a thread of its own, since the
// plug-in fetches with a blocking request on the main thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

class CFeedRelay {
public:
    explicit CFeedRelay(std::string document);
    /// Stops serving and joins the thread.
    ~CFeedRelay();
    CFeedRelay(const CFeedRelay&) = delete;
    CFeedRelay& operator=(const CFeedRelay&) = delete;

    /// Listens on a free port; false with a reason when it cannot.
    bool start(std::string& error);
    void stop();
    /// Where the document is: "http://127.0.0.1:<port>/feed".
    std::string url() const;
    /// The number of requests for the document answered so far, counted as each answer starts.
    int served() const { return m_served.load(); }

private:
    void serve();
    void answer(int connection);

    std::string m_document;
    int m_listener = -1;
    uint16_t m_port = 0;
    std::atomic<bool> m_stopping{false};
    std::atomic<int> m_served{0};
    std::thread m_thread;
};
