#include "host/demo/CDemoHTTPServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <strings.h>

namespace {

// A client that keeps silent this long loses its connection.
constexpr int kReadTimeoutSeconds = 10;
constexpr size_t kMaxHeaderBytes = 64 * 1024;

// Reads lines and counted bytes from a socket through a buffer.
class SocketReader {
public:
    explicit SocketReader(int socket) : m_socket(socket) {}

    // A line without its CRLF (or bare LF); false at the end of input or past limit bytes.
    bool line(std::string& out, size_t limit) {
        out.clear();
        for (;;) {
            size_t end = m_buffer.find('\n', m_at);
            if (end != std::string::npos) {
                out.assign(m_buffer, m_at, end - m_at);
                m_at = end + 1;
                if (!out.empty() && out.back() == '\r')
                    out.pop_back();
                return true;
            }
            if (m_buffer.size() - m_at > limit || !fill())
                return false;
        }
    }

    bool bytes(size_t count, std::string& out) {
        while (m_buffer.size() - m_at < count) {
            if (!fill())
                return false;
        }
        out.append(m_buffer, m_at, count);
        m_at += count;
        return true;
    }

private:
    bool fill() {
        if (m_at > 0) {
            m_buffer.erase(0, m_at);
            m_at = 0;
        }
        char block[8192];
        ssize_t got = recv(m_socket, block, sizeof block, 0);
        if (got <= 0)
            return false;
        m_buffer.append(block, static_cast<size_t>(got));
        return true;
    }

    int m_socket;
    std::string m_buffer;
    size_t m_at = 0;
};

bool sendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

const char* reasonOf(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 400:
        return "Bad Request";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 413:
        return "Payload Too Large";
    case 500:
        return "Internal Server Error";
    default:
        return "Unknown";
    }
}

void sendReply(int socket, const DemoHTTPReply& reply) {
    std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " " + reasonOf(reply.status) +
                       "\r\nContent-Type: " + reply.contentType +
                       "\r\nContent-Length: " + std::to_string(reply.body.size()) +
                       "\r\nConnection: close\r\n\r\n";
    if (sendAll(socket, head))
        sendAll(socket, reply.body);
}

DemoHTTPReply plainReply(int status) {
    return {status, "text/plain; charset=utf-8", std::string(reasonOf(status)) + "\n"};
}

// The chunks of a chunked body, up to the last one and the trailer.
bool readChunkedBody(SocketReader& reader, std::string& body) {
    std::string line;
    for (;;) {
        if (!reader.line(line, kMaxHeaderBytes))
            return false;
        char* end = nullptr;
        unsigned long size = std::strtoul(line.c_str(), &end, 16);
        if (end == line.c_str())
            return false;
        if (size == 0)
            break;
        if (size > CDemoHTTPServer::kMaxRequestBytes - body.size() || !reader.bytes(size, body) ||
            !reader.line(line, 2) || !line.empty())
            return false;
    }
    do {
        if (!reader.line(line, kMaxHeaderBytes))
            return false;
    } while (!line.empty());
    return true;
}

// Reads one request; answers the status to reply with at once, or 0 when it was read whole.
int readRequest(int socket, SocketReader& reader, DemoHTTPRequest& request) {
    std::string line;
    if (!reader.line(line, kMaxHeaderBytes))
        return 400;
    size_t firstBlank = line.find(' ');
    size_t secondBlank = line.find(' ', firstBlank + 1);
    if (firstBlank == std::string::npos || secondBlank == std::string::npos)
        return 400;
    request.method = line.substr(0, firstBlank);
    std::string target = line.substr(firstBlank + 1, secondBlank - firstBlank - 1);
    request.path = target.substr(0, target.find('?'));
    size_t headerBytes = 0;
    for (;;) {
        if (!reader.line(line, kMaxHeaderBytes))
            return 400;
        headerBytes += line.size();
        if (line.empty())
            break;
        size_t colon = line.find(':');
        if (colon == std::string::npos || headerBytes > kMaxHeaderBytes)
            return 400;
        size_t valueAt = line.find_first_not_of(" \t", colon + 1);
        request.headers.emplace_back(line.substr(0, colon),
                                     valueAt == std::string::npos ? "" : line.substr(valueAt));
    }
    std::optional<std::string> expect = request.header("Expect");
    if (expect && strcasecmp(expect->c_str(), "100-continue") == 0)
        sendAll(socket, "HTTP/1.1 100 Continue\r\n\r\n");
    std::optional<std::string> coding = request.header("Transfer-Encoding");
    if (coding && strcasecmp(coding->c_str(), "chunked") == 0)
        return readChunkedBody(reader, request.body) ? 0 : 400;
    std::optional<std::string> length = request.header("Content-Length");
    if (!length)
        return 0;
    char* end = nullptr;
    unsigned long long count = std::strtoull(length->c_str(), &end, 10);
    if (end == length->c_str() || *end)
        return 400;
    if (count > CDemoHTTPServer::kMaxRequestBytes)
        return 413;
    return reader.bytes(static_cast<size_t>(count), request.body) ? 0 : 400;
}

} // namespace

std::optional<std::string> DemoHTTPRequest::header(std::string_view name) const {
    for (const auto& [key, value] : headers) {
        if (key.size() == name.size() && strncasecmp(key.data(), name.data(), name.size()) == 0)
            return value;
    }
    return std::nullopt;
}

CDemoHTTPServer::CDemoHTTPServer(Handler handler) : m_handler(std::move(handler)) {}

CDemoHTTPServer::~CDemoHTTPServer() {
    stop();
}

bool CDemoHTTPServer::start(std::string& error) {
    m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (m_listener < 0 || bind(m_listener, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(m_listener, 32) != 0 ||
        getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
        pipe2(m_wake, O_CLOEXEC) != 0) {
        error = std::string("cannot listen on 127.0.0.1: ") + std::strerror(errno);
        stop();
        return false;
    }
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread([this] { acceptLoop(); });
    return true;
}

void CDemoHTTPServer::stop() {
    m_stopping = true;
    if (m_wake[1] >= 0) {
        char byte = 0;
        (void)!write(m_wake[1], &byte, 1);
    }
    if (m_acceptor.joinable())
        m_acceptor.join();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (int connection : m_connections)
            shutdown(connection, SHUT_RDWR);
    }
    for (std::thread& thread : m_threads)
        thread.join();
    m_threads.clear();
    for (int* fd : {&m_listener, &m_wake[0], &m_wake[1]}) {
        if (*fd >= 0)
            close(*fd);
        *fd = -1;
    }
}

std::string CDemoHTTPServer::base() const {
    return "http://127.0.0.1:" + std::to_string(m_port);
}

void CDemoHTTPServer::acceptLoop() {
    pollfd waiting[2] = {{m_listener, POLLIN, 0}, {m_wake[0], POLLIN, 0}};
    while (!m_stopping) {
        if (poll(waiting, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        if (waiting[1].revents || m_stopping)
            return;
        int connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
            continue;
        timeval timeout{kReadTimeoutSeconds, 0};
        setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        std::lock_guard<std::mutex> lock(m_mutex);
        m_connections.push_back(connection);
        m_threads.emplace_back([this, connection] { serve(connection); });
    }
}

void CDemoHTTPServer::serve(int socket) {
    SocketReader reader(socket);
    DemoHTTPRequest request;
    int status = readRequest(socket, reader, request);
    DemoHTTPReply reply = plainReply(status ? status : 500);
    if (!status) {
        try {
            reply = m_handler(request);
        } catch (const std::exception&) {
            // The handler failed; the client gets the 500 made above.
        }
    }
    sendReply(socket, reply);
    // Closed under the lock, so that stop() never shuts down a number that was reused.
    std::lock_guard<std::mutex> lock(m_mutex);
    m_connections.erase(std::find(m_connections.begin(), m_connections.end(), socket));
    close(socket);
}
