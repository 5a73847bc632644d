// The host's small HTTP/1.1 server on 127.0.0.1, on which the demo serves its sample services.
//
// It listens on a port the system picks, serves each connection on a thread of its own (a
// synchronous call of the plug-in blocks the main thread while an asynchronous one may hold
// another connection open), reads one request per connection, with a Content-Length or chunked
// body, hands it to the handler and closes the connection after the reply.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

/// A request as the server read it.
struct DemoHTTPRequest {
    std::string method;
    /// The path, without the query.
    std::string path;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    /// A header's value (names compare without case), or nothing.
    std::optional<std::string> header(std::string_view name) const;
};

/// What the handler answers.
struct DemoHTTPReply {
    int status = 200;
    std::string contentType = "text/plain; charset=utf-8";
    std::string body;
};

class CDemoHTTPServer {
public:
    using Handler = std::function<DemoHTTPReply(const DemoHTTPRequest&)>;

    /// A server that answers every request with handler, which runs on the connection's thread.
    explicit CDemoHTTPServer(Handler handler);
    /// Stops the server.
    ~CDemoHTTPServer();
    CDemoHTTPServer(const CDemoHTTPServer&) = delete;
    CDemoHTTPServer& operator=(const CDemoHTTPServer&) = delete;

    /// Listens on a free port of 127.0.0.1; false with a reason when it cannot.
    bool start(std::string& error);
    /// Cuts every connection and joins every thread. Safe to call twice.
    void stop();

    uint16_t port() const { return m_port; }
    /// "http://127.0.0.1:<port>".
    std::string base() const;

    /// The largest request the server reads; a larger one gets a 413.
    static constexpr size_t kMaxRequestBytes = 16 * 1024 * 1024;

private:
    void acceptLoop();
    void serve(int socket);

    Handler m_handler;
    int m_listener = -1;
    int m_wake[2] = {-1, -1};
    uint16_t m_port = 0;
    std::atomic<bool> m_stopping{false};
    std::mutex m_mutex;
    std::vector<int> m_connections;
    std::vector<std::thread> m_threads;
    std::thread m_acceptor;
};
