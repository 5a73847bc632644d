// An HTTP server on 127.0.0.1 over libsoup 3, for the host's own pages and sample services.
//
// The server listens on a port of the loopback interface only, and runs on a GLib main context:
// the caller's (the host's main loop, for pages that drive the plug-in), or one of its own on a
// thread of its own (for services that the plug-in calls synchronously, which block the main
// thread until they answer).
#pragma once

#include "host/web/LoopbackHTTP.h"

#include <glib.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

typedef struct _SoupServer SoupServer;
typedef struct _SoupServerMessage SoupServerMessage;

class CLoopbackServer {
public:
    using Handler = std::function<HTTPReply(const HTTPRequest&)>;
    /// Adds further handlers to the server before it listens; runs on the server's context.
    using Setup = std::function<void(SoupServer*)>;
    /// Sees each request once its headers are read, before any handler (its body is not read
    /// yet); a reply refuses the request with it.
    using Gate = std::function<std::optional<HTTPReply>(const HTTPRequest&)>;

    /// A server that answers every request that no other handler takes with handler.
    explicit CLoopbackServer(Handler handler, Setup setup = {}, Gate gate = {});
    /// Stops the server.
    ~CLoopbackServer();
    CLoopbackServer(const CLoopbackServer&) = delete;
    CLoopbackServer& operator=(const CLoopbackServer&) = delete;

    /// Listens on 127.0.0.1 at port (0: a free one), on context, or with a null context on a
    /// thread and context of its own. False with a reason when it cannot.
    bool start(std::string& error, uint16_t port = 0, GMainContext* context = nullptr);
    /// Closes the listener and every connection; the server's own thread ends. Safe to call
    /// twice.
    void stop();

    /// Puts the gate and the size checks before a path that setup gave a handler of its own
    /// (a WebSocket's); the server's other paths have them already. Call it from setup.
    void guardPath(const char* path);

    uint16_t port() const { return m_port; }
    /// "http://127.0.0.1:<port>".
    std::string base() const;

    /// The largest request body the server takes; a larger one gets a 413.
    static constexpr size_t kMaxRequestBytes = 16 * 1024 * 1024;

private:
    bool listen(std::string& error, uint16_t port);
    static void checkHeaders(SoupServer*, SoupServerMessage* message, const char*, GHashTable*,
                             gpointer self);
    void runOwnLoop(uint16_t port);

    Handler m_handler;
    Setup m_setup;
    Gate m_gate;
    SoupServer* m_server = nullptr;
    uint16_t m_port = 0;

    // The server's own thread, when it has one.
    std::thread m_thread;
    GMainContext* m_ownContext = nullptr;
    GMainLoop* m_ownLoop = nullptr;
    std::mutex m_mutex;
    std::condition_variable m_started;
    bool m_ready = false;
    std::string m_startError;
};
