#include "tests/support/CLoopbackHTTPServer.h"

#include <openssl/evp.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>

namespace {

constexpr size_t kMaxRequestHead = 64 * 1024;
constexpr size_t kMaxRecordedBody = 8 * 1024 * 1024;

const char* reasonPhrase(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 301:
        return "Moved Permanently";
    case 302:
        return "Found";
    case 401:
        return "Unauthorized";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 407:
        return "Proxy Authentication Required";
    case 500:
        return "Internal Server Error";
    default:
        return "Status";
    }
}

std::string_view trim(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r'))
        text.remove_suffix(1);
    return text;
}

std::string md5Hex(const std::string& text) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_Digest(text.data(), text.size(), digest, &length, EVP_md5(), nullptr);
    std::string hex;
    char pair[3];
    for (unsigned i = 0; i < length; ++i) {
        std::snprintf(pair, sizeof pair, "%02x", digest[i]);
        hex += pair;
    }
    return hex;
}

/// The name="value" and name=value parameters of a Digest Authorization header.
std::map<std::string, std::string> digestParameters(std::string_view text) {
    std::map<std::string, std::string> params;
    size_t pos = 0;
    while (pos < text.size()) {
        while (pos < text.size() && (text[pos] == ' ' || text[pos] == ','))
            ++pos;
        size_t equals = text.find('=', pos);
        if (equals == std::string_view::npos)
            break;
        std::string name(trim(text.substr(pos, equals - pos)));
        pos = equals + 1;
        std::string value;
        if (pos < text.size() && text[pos] == '"') {
            size_t close = text.find('"', pos + 1);
            if (close == std::string_view::npos)
                break;
            value = text.substr(pos + 1, close - pos - 1);
            pos = close + 1;
        } else {
            size_t comma = text.find(',', pos);
            value = trim(text.substr(pos, comma == std::string_view::npos ? comma : comma - pos));
            pos = comma == std::string_view::npos ? text.size() : comma;
        }
        params[name] = value;
    }
    return params;
}

} // namespace

std::string loopbackBase64(std::string_view bytes) {
    static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t group = static_cast<uint8_t>(bytes[i]) << 16;
        if (i + 1 < bytes.size())
            group |= static_cast<uint8_t>(bytes[i + 1]) << 8;
        if (i + 2 < bytes.size())
            group |= static_cast<uint8_t>(bytes[i + 2]);
        out += digits[(group >> 18) & 63];
        out += digits[(group >> 12) & 63];
        out += i + 1 < bytes.size() ? digits[(group >> 6) & 63] : '=';
        out += i + 2 < bytes.size() ? digits[group & 63] : '=';
    }
    return out;
}

LoopbackReply LoopbackReply::withBody(int status, const std::string& body, size_t pieceSize) {
    LoopbackReply reply;
    reply.status = status;
    for (size_t pos = 0; pos < body.size(); pos += pieceSize)
        reply.chunks.push_back(body.substr(pos, pieceSize));
    return reply;
}

std::optional<std::string> LoopbackRequest::header(std::string_view name) const {
    for (const auto& [key, value] : headers) {
        if (key.size() == name.size() && strncasecmp(key.data(), name.data(), key.size()) == 0)
            return value;
    }
    return std::nullopt;
}

CLoopbackHTTPServer::CLoopbackHTTPServer() {
    m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    socklen_t size = sizeof address;
    if (m_listener < 0 || bind(m_listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        listen(m_listener, 64) != 0 ||
        getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
        pipe2(m_wake, O_CLOEXEC) != 0) {
        std::perror("loopback server");
        std::abort();
    }
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread([this] { acceptLoop(); });
}

CLoopbackHTTPServer::~CLoopbackHTTPServer() {
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
        for (int connection : m_connections)
            ::shutdown(connection, SHUT_RDWR);
    }
    m_stopped.notify_all();
    char byte = 0;
    [[maybe_unused]] ssize_t written = write(m_wake[1], &byte, 1);
    m_acceptor.join();
    for (std::thread& thread : m_threads)
        thread.join();
    ::close(m_listener);
    ::close(m_wake[0]);
    ::close(m_wake[1]);
}

std::string CLoopbackHTTPServer::url(std::string_view path) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + std::string(path);
}

void CLoopbackHTTPServer::route(const std::string& path, LoopbackReply reply) {
    std::lock_guard lock(m_mutex);
    m_routes[path] = std::move(reply);
}

void CLoopbackHTTPServer::requireAuth(const std::string& path, LoopbackAuth auth) {
    std::lock_guard lock(m_mutex);
    m_auth[path] = std::move(auth);
}

std::vector<LoopbackRequest> CLoopbackHTTPServer::requests() const {
    std::lock_guard lock(m_mutex);
    return m_requests;
}

void CLoopbackHTTPServer::acceptLoop() {
    for (;;) {
        pollfd fds[2] = {{m_listener, POLLIN, 0}, {m_wake[0], POLLIN, 0}};
        if (poll(fds, 2, -1) < 0)
            continue;
        if (m_stopping || (fds[1].revents & POLLIN))
            return;
        int connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
            continue;
        std::lock_guard lock(m_mutex);
        if (m_stopping) {
            ::close(connection);
            return;
        }
        m_connections.push_back(connection);
        m_threads.emplace_back([this, connection] { serve(connection); });
    }
}

bool CLoopbackHTTPServer::pause(int ms) {
    std::unique_lock lock(m_mutex);
    return !m_stopped.wait_for(lock, std::chrono::milliseconds(ms),
                               [this] { return m_stopping.load(); });
}

bool CLoopbackHTTPServer::sendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

bool CLoopbackHTTPServer::readRequest(int socket, LoopbackRequest& request) {
    std::string data;
    size_t headEnd;
    char buffer[16384];
    while ((headEnd = data.find("\r\n\r\n")) == std::string::npos) {
        if (data.size() > kMaxRequestHead)
            return false;
        ssize_t got = recv(socket, buffer, sizeof buffer, 0);
        if (got <= 0)
            return false;
        data.append(buffer, static_cast<size_t>(got));
        // Not a request line at all (a TLS greeting, say): hang up at once.
        if (data[0] < 'A' || data[0] > 'Z')
            return false;
    }
    std::string_view head(data.data(), headEnd);
    size_t lineEnd = head.find("\r\n");
    std::string_view requestLine = head.substr(0, lineEnd);
    size_t space1 = requestLine.find(' ');
    size_t space2 = requestLine.rfind(' ');
    if (space1 == std::string_view::npos || space2 <= space1)
        return false;
    request.method = requestLine.substr(0, space1);
    request.target = requestLine.substr(space1 + 1, space2 - space1 - 1);
    while (lineEnd != std::string_view::npos) {
        size_t next = head.find("\r\n", lineEnd + 2);
        std::string_view line =
            head.substr(lineEnd + 2, next == std::string_view::npos ? std::string_view::npos
                                                                    : next - lineEnd - 2);
        size_t colon = line.find(':');
        if (colon != std::string_view::npos)
            request.headers.emplace_back(trim(line.substr(0, colon)), trim(line.substr(colon + 1)));
        lineEnd = next;
    }

    std::string body = data.substr(headEnd + 4);
    auto readMore = [&]() {
        ssize_t got = recv(socket, buffer, sizeof buffer, 0);
        if (got <= 0)
            return false;
        body.append(buffer, static_cast<size_t>(got));
        return true;
    };
    if (auto length = request.header("Content-Length")) {
        uint64_t expected = std::strtoull(length->c_str(), nullptr, 10);
        while (body.size() < expected) {
            if (!readMore())
                return false;
        }
        body.resize(expected);
    } else if (request.header("Transfer-Encoding").value_or("") == "chunked") {
        std::string decoded;
        size_t pos = 0;
        for (;;) {
            size_t end;
            while ((end = body.find("\r\n", pos)) == std::string::npos) {
                if (!readMore())
                    return false;
            }
            uint64_t size = std::strtoull(body.c_str() + pos, nullptr, 16);
            pos = end + 2;
            while (body.size() < pos + size + 2) {
                if (!readMore())
                    return false;
            }
            if (size == 0)
                break;
            decoded.append(body, pos, size);
            pos += size + 2;
        }
        body = std::move(decoded);
    }
    if (body.size() > kMaxRecordedBody)
        body.resize(kMaxRecordedBody);
    request.body = std::move(body);
    return true;
}

bool CLoopbackHTTPServer::authorized(const LoopbackRequest& request,
                                     const LoopbackAuth& auth) const {
    std::string given =
        request.header(auth.proxy ? "Proxy-Authorization" : "Authorization").value_or("");
    if (auth.scheme == LoopbackAuth::Scheme::Basic)
        return given == "Basic " + loopbackBase64(auth.user + ":" + auth.password);
    if (given.compare(0, 7, "Digest ") != 0)
        return false;
    auto params = digestParameters(std::string_view(given).substr(7));
    if (params["username"] != auth.user || params["realm"] != auth.realm)
        return false;
    std::string ha1 = md5Hex(auth.user + ":" + auth.realm + ":" + auth.password);
    std::string ha2 = md5Hex(request.method + ":" + params["uri"]);
    std::string expected = params["qop"].empty()
                               ? md5Hex(ha1 + ":" + params["nonce"] + ":" + ha2)
                               : md5Hex(ha1 + ":" + params["nonce"] + ":" + params["nc"] + ":" +
                                        params["cnonce"] + ":" + params["qop"] + ":" + ha2);
    return params["response"] == expected;
}

void CLoopbackHTTPServer::serve(int socket) {
    LoopbackRequest request;
    bool received = readRequest(socket, request);
    LoopbackReply answer;
    std::optional<LoopbackAuth> auth;
    if (received) {
        std::lock_guard lock(m_mutex);
        m_requests.push_back(request);
        std::string path = request.target.substr(0, request.target.find('?'));
        auto route = m_routes.find(path);
        if (route != m_routes.end())
            answer = route->second;
        else
            answer.status = 404;
        auto demanded = m_auth.find(path);
        if (demanded != m_auth.end())
            auth = demanded->second;
    }
    if (received && auth && !authorized(request, *auth)) {
        LoopbackReply challenge;
        challenge.status = auth->proxy ? 407 : 401;
        const char* header = auth->proxy ? "Proxy-Authenticate" : "WWW-Authenticate";
        if (auth->scheme == LoopbackAuth::Scheme::Basic) {
            challenge.headers.emplace_back(header, "Basic realm=\"" + auth->realm + "\"");
        } else {
            std::lock_guard lock(m_mutex);
            challenge.headers.emplace_back(
                header, "Digest realm=\"" + auth->realm + "\", qop=\"auth\", nonce=\"" +
                            md5Hex(std::to_string(++m_nonce)) + "\", algorithm=MD5");
        }
        challenge.chunks.push_back("<html>authorization required</html>");
        answer = challenge;
    }
    if (received)
        reply(socket, answer);
    {
        std::lock_guard lock(m_mutex);
        std::erase(m_connections, socket);
        ::close(socket);
    }
}

void CLoopbackHTTPServer::reply(int socket, const LoopbackReply& reply) {
    if (reply.neverAnswer) {
        std::unique_lock lock(m_mutex);
        m_stopped.wait(lock, [this] { return m_stopping.load(); });
        return;
    }
    if (reply.raw) {
        sendAll(socket, *reply.raw);
        return;
    }
    uint64_t bodySize = reply.generatedBytes;
    for (const std::string& chunk : reply.chunks)
        bodySize += chunk.size();

    std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " " +
                       reasonPhrase(reply.status) + "\r\nConnection: close\r\n";
    for (const auto& [name, value] : reply.headers)
        head += name + ": " + value + "\r\n";
    if (reply.chunked)
        head += "Transfer-Encoding: chunked\r\n";
    else if (!reply.omitLength)
        head +=
            "Content-Length: " + std::to_string(reply.announcedLength.value_or(bodySize)) + "\r\n";
    if (!sendAll(socket, head))
        return;
    for (uint64_t filler = 0; filler < reply.fillerHeaderBytes; filler += 1024) {
        if (!sendAll(socket, "X-Filler: " + std::string(1010, 'f') + "\r\n"))
            return;
    }
    if (!sendAll(socket, "\r\n"))
        return;

    uint64_t sent = 0;
    uint64_t limit = reply.closeAfter.value_or(UINT64_MAX);
    auto sendBody = [&](std::string_view piece) {
        if (sent + piece.size() > limit)
            piece = piece.substr(0, static_cast<size_t>(limit - sent));
        sent += piece.size();
        if (piece.empty())
            return sent < limit;
        std::string framed;
        if (reply.chunked) {
            char size[32];
            std::snprintf(size, sizeof size, "%zx\r\n", piece.size());
            framed = size + std::string(piece) + "\r\n";
            piece = framed;
        }
        return sendAll(socket, piece) && sent < limit;
    };
    for (size_t i = 0; i < reply.chunks.size(); ++i) {
        if (i > 0 && reply.chunkDelayMs > 0 && !pause(reply.chunkDelayMs))
            return;
        if (!sendBody(reply.chunks[i]))
            return;
    }
    std::string pattern(65536, '\0');
    for (size_t i = 0; i < pattern.size(); ++i)
        pattern[i] = static_cast<char>('a' + i % 26);
    for (uint64_t left = reply.generatedBytes; left > 0 && !m_stopping;) {
        size_t piece = static_cast<size_t>(std::min<uint64_t>(left, pattern.size()));
        if (!sendBody(std::string_view(pattern).substr(0, piece)))
            return;
        left -= piece;
    }
    if (reply.chunked)
        sendAll(socket, "0\r\n\r\n");
}
