#include "host/CFeedRelay.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr size_t kMaxRequestHead = 64 * 1024;
constexpr int kPollMs = 100;
constexpr int kReadWaitMs = 5000; // a client that sends no request in this time is dropped

/// Writes all of text; false when the client went away.
bool sendAll(int connection, const std::string& text) {
    size_t sent = 0;
    while (sent < text.size()) {
        ssize_t count = ::send(connection, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        sent += static_cast<size_t>(count);
    }
    return true;
}

} // namespace

CFeedRelay::CFeedRelay(std::string document) : m_document(std::move(document)) {}

CFeedRelay::~CFeedRelay() {
    stop();
}

bool CFeedRelay::start(std::string& error) {
    m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (m_listener < 0 || ::bind(m_listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        ::listen(m_listener, 8) != 0 ||
        ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        error = std::string("cannot serve the feed on 127.0.0.1: ") + std::strerror(errno);
        if (m_listener >= 0)
            ::close(m_listener);
        m_listener = -1;
        return false;
    }
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
    return true;
}

void CFeedRelay::stop() {
    m_stopping = true;
    if (m_thread.joinable())
        m_thread.join();
    if (m_listener >= 0)
        ::close(m_listener);
    m_listener = -1;
}

std::string CFeedRelay::url() const {
    return "http://127.0.0.1:" + std::to_string(m_port) + "/feed";
}

void CFeedRelay::serve() {
    while (!m_stopping) {
        pollfd waiting{m_listener, POLLIN, 0};
        if (::poll(&waiting, 1, kPollMs) <= 0)
            continue;
        int connection = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
            continue;
        answer(connection);
        ::close(connection);
    }
}

void CFeedRelay::answer(int connection) {
    std::string head;
    char block[4096];
    while (head.find("\r\n\r\n") == std::string::npos && head.size() < kMaxRequestHead &&
           !m_stopping) {
        pollfd waiting{connection, POLLIN, 0};
        if (::poll(&waiting, 1, kReadWaitMs) <= 0)
            return;
        ssize_t count = ::recv(connection, block, sizeof block, 0);
        if (count <= 0)
            return;
        head.append(block, static_cast<size_t>(count));
    }
    bool get = head.compare(0, 4, "GET ") == 0;
    std::string body = get ? m_document : std::string();
    std::string reply = get ? "HTTP/1.1 200 OK\r\nContent-Type: application/xml\r\n"
                            : "HTTP/1.1 405 Method Not Allowed\r\nAllow: GET\r\n";
    reply += "Content-Length: " + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n";
    // Counted before the answer goes: the plug-in may have read a short answer whole, and the
    // host asked how many were served, before a count made after sending would have landed.
    if (get)
        ++m_served;
    if (sendAll(connection, reply))
        sendAll(connection, body);
}
