// A small HTTP/1.1 server on 127.0.0.1 for integration tests: a random port, a thread per
// connection, replies scripted per path, and every request it received recorded.
//
// A reply can be ordinary or misbehave on purpose: come in chunks with pauses, announce a length
// it does not keep, stop in the middle of the body, never answer, send garbage, or send a body
// of any size generated on the fly. A path can demand Basic or Digest credentials first.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

/// What the server answers on a path.
struct LoopbackReply {
    int status = 200;
    std::vector<std::pair<std::string, std::string>> headers;
    /// The body, sent piece by piece.
    std::vector<std::string> chunks;
    /// Pause before every piece after the first.
    int chunkDelayMs = 0;
    /// Send the body with Transfer-Encoding: chunked rather than a Content-Length.
    bool chunked = false;
    /// The Content-Length announced, when it is to differ from the truth.
    std::optional<uint64_t> announcedLength;
    /// Announce no length: the body ends when the connection closes.
    bool omitLength = false;
    /// Close the connection after this many bytes of the body.
    std::optional<uint64_t> closeAfter;
    /// Read the request, then keep silent until the server stops.
    bool neverAnswer = false;
    /// Bytes of a generated pattern that follow the pieces.
    uint64_t generatedBytes = 0;
    /// Bytes of filler header lines sent before the end of the headers.
    uint64_t fillerHeaderBytes = 0;
    /// Sent as it stands in place of a reply, after which the connection closes.
    std::optional<std::string> raw;

    /// A reply of status with the body cut into pieces of at most pieceSize bytes.
    static LoopbackReply withBody(int status, const std::string& body, size_t pieceSize);
};

/// Credentials a path demands before it answers.
struct LoopbackAuth {
    enum class Scheme { Basic, Digest };
    Scheme scheme = Scheme::Basic;
    std::string user;
    std::string password;
    std::string realm;
    /// Demanded as a proxy does: 407, Proxy-Authenticate, Proxy-Authorization.
    bool proxy = false;
};

/// One request as the server received it.
struct LoopbackRequest {
    std::string method;
    std::string target;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    /// A header's value (names compare without case), or nothing.
    std::optional<std::string> header(std::string_view name) const;
};

class CLoopbackHTTPServer {
public:
    /// Starts listening on a free port of 127.0.0.1.
    CLoopbackHTTPServer();
    /// Stops: every connection is cut, every thread joined.
    ~CLoopbackHTTPServer();
    CLoopbackHTTPServer(const CLoopbackHTTPServer&) = delete;
    CLoopbackHTTPServer& operator=(const CLoopbackHTTPServer&) = delete;

    uint16_t port() const { return m_port; }
    /// "http://127.0.0.1:<port>" followed by path.
    std::string url(std::string_view path) const;

    /// Answers requests for path (the target without its query; a whole URL when the server is
    /// asked as a proxy) with reply; a path with no route gets a 404.
    void route(const std::string& path, LoopbackReply reply);
    /// Demands credentials on path: requests without valid ones get a 401 with a challenge.
    void requireAuth(const std::string& path, LoopbackAuth auth);
    /// The requests received so far, in order.
    std::vector<LoopbackRequest> requests() const;

private:
    void acceptLoop();
    void serve(int socket);
    bool readRequest(int socket, LoopbackRequest& request);
    bool authorized(const LoopbackRequest& request, const LoopbackAuth& auth) const;
    void reply(int socket, const LoopbackReply& reply);
    bool sendAll(int socket, std::string_view bytes);
    /// Sleeps, or returns false at once when the server stops.
    bool pause(int ms);

    int m_listener = -1;
    int m_wake[2] = {-1, -1};
    uint16_t m_port = 0;
    std::atomic<bool> m_stopping{false};
    mutable std::mutex m_mutex;
    std::condition_variable m_stopped;
    std::map<std::string, LoopbackReply> m_routes;
    std::map<std::string, LoopbackAuth> m_auth;
    std::vector<LoopbackRequest> m_requests;
    std::vector<int> m_connections;
    std::vector<std::thread> m_threads;
    std::thread m_acceptor;
    unsigned m_nonce = 0;
};

/// Base64 of bytes, as in a Basic Authorization header.
std::string loopbackBase64(std::string_view bytes);
