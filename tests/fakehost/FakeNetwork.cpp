#include "tests/fakehost/FakeNetwork.h"

#include "host/net/HttpChallenge.h"
#include "host/net/ISO8601Date.h"
#include "tests/fakehost/FakeIdle.h"

#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace {

std::optional<std::string> findHeader(const std::vector<std::pair<std::string, std::string>>& list,
                                      const std::string& name) {
    std::optional<std::string> value;
    for (const auto& [key, text] : list) {
        if (strcasecmp(key.c_str(), name.c_str()) != 0)
            continue;
        value = value ? *value + ", " + text : text;
    }
    return value;
}

/// The host of a URL, with its port when one is given.
std::string serverOf(const std::string& url) {
    size_t start = url.find("://");
    start = start == std::string::npos ? 0 : start + 3;
    size_t end = url.find_first_of("/?#", start);
    std::string server = url.substr(start, end == std::string::npos ? end : end - start);
    size_t at = server.rfind('@');
    return at == std::string::npos ? server : server.substr(at + 1);
}

bool isHttpURL(const char* url) {
    return strncasecmp(url, "http://", 7) == 0 || strncasecmp(url, "https://", 8) == 0;
}

constexpr int kMaxAuthAttempts = 8;

} // namespace

FakeReply FakeReply::withBody(long status, const std::string& body, size_t pieceSize) {
    FakeReply reply;
    reply.status = status;
    for (size_t pos = 0; pos < body.size(); pos += pieceSize)
        reply.chunks.push_back(body.substr(pos, pieceSize));
    return reply;
}

FakeReply FakeReply::failure(long error) {
    FakeReply reply;
    reply.status = 0;
    reply.error = error;
    return reply;
}

std::optional<std::string> FakeSentRequest::header(const std::string& name) const {
    return findHeader(headers, name);
}

struct FakeNetwork::Request {
    NetRequest handle = nullptr;
    std::string url;
    int32_t mode = 0;
    NetAsyncProc consumer = nullptr;
    void* userData = nullptr;
    NetClientID client = kNoNetClient;
    int32_t flags = 0;
    void* authData = nullptr;
    std::vector<std::pair<std::string, std::string>> headers;
    NetPostWriteProc write = nullptr;
    NetPostCloseProc closeBody = nullptr;
    void* bodyData = nullptr;
    bool sent = false;
    FakeReply reply;
    size_t chunk = 0;
    size_t offset = 0;
    bool finalSent = false;
    bool busy = false;
    bool closed = false;
};

FakeNetwork::FakeNetwork(FakeIdle& idle) : m_idle(idle) {}

FakeNetwork::~FakeNetwork() {
    if (m_idleRegistered)
        m_idle.unregisterIdle(&FakeNetwork::onIdle, this);
}

bool FakeNetwork::initialize() {
    m_initialized = true;
    return true;
}

void FakeNetwork::shutdown() {
    while (!m_requests.empty())
        destroy(m_requests.begin()->first);
    m_clients.clear();
    m_initialized = false;
}

NetClientID FakeNetwork::openClient(const char* userAgent, const char* const* acceptTypes,
                                    int32_t flags) {
    if (!m_initialized)
        return kNoNetClient;
    FakeClient client;
    client.userAgent = userAgent ? userAgent : "";
    for (; acceptTypes && *acceptTypes; ++acceptTypes)
        client.acceptTypes.emplace_back(*acceptTypes);
    client.flags = flags;
    NetClientID id = m_nextClient++;
    m_clients.emplace(id, std::move(client));
    return id;
}

void FakeNetwork::closeClient(NetClientID client) {
    m_clients.erase(client);
}

void FakeNetwork::setAuthentication(NetClientID client, int32_t which, int32_t mode,
                                    NetAuthProc proc, void* data) {
    auto found = m_clients.find(client);
    if (found != m_clients.end() && which >= 0 && which <= 1)
        found->second.auth[which] = {mode, proc, data};
}

void FakeNetwork::setClientOption(NetClientID client, int32_t value) {
    auto found = m_clients.find(client);
    if (found != m_clients.end())
        found->second.option = value;
}

void FakeNetwork::setTimeouts(NetClientID client, const NetTimeoutRec& timeouts) {
    auto found = m_clients.find(client);
    if (found == m_clients.end())
        return;
    FakeClient& record = found->second;
    record.timeoutPair[0] = timeouts.pair ? timeouts.pair[0] : 0;
    record.timeoutPair[1] = timeouts.pair ? timeouts.pair[1] : 0;
    record.timeouts = NetTimeoutRec{timeouts.count, record.timeoutPair, timeouts.value};
}

const FakeClient* FakeNetwork::client(NetClientID id) const {
    auto found = m_clients.find(id);
    return found == m_clients.end() ? nullptr : &found->second;
}

void FakeNetwork::addReply(const std::string& url, FakeReply reply) {
    m_replies[url].push_back(std::move(reply));
}

FakeNetwork::Request* FakeNetwork::find(NetRequest handle) {
    auto found = m_requests.find(handle);
    if (found == m_requests.end() || found->second->closed)
        return nullptr;
    return found->second.get();
}

NetRequest FakeNetwork::open(const char* url, int32_t mode, NetAsyncProc consumer, void* userData) {
    if (!m_initialized || !url || !isHttpURL(url) ||
        (mode != kNetOpenRead && mode != kNetOpenReadWrite))
        return nullptr;
    auto handle = reinterpret_cast<NetRequest>(m_nextHandle++);
    auto request = std::make_unique<Request>();
    request->handle = handle;
    request->url = url;
    request->mode = mode;
    request->consumer = consumer;
    request->userData = userData;
    m_requests.emplace(handle, std::move(request));
    if (consumer && !m_idleRegistered) {
        m_idleRegistered = true;
        m_idle.registerIdle(&FakeNetwork::onIdle, this, 0);
    }
    return handle;
}

NetRequest FakeNetwork::openURL(const char* url, int32_t mode) {
    return open(url, mode, nullptr, nullptr);
}

NetRequest FakeNetwork::openURLAsync(const char* url, int32_t mode, NetAsyncProc consumer,
                                     void* userData) {
    return consumer ? open(url, mode, consumer, userData) : nullptr;
}

bool FakeNetwork::setTimeoutsAndFlags(NetRequest handle, NetClientID client, int32_t flags) {
    Request* request = find(handle);
    if (!request || request->sent || !m_clients.count(client))
        return false;
    request->client = client;
    request->flags = flags;
    return true;
}

bool FakeNetwork::setAuthenticationData(NetRequest handle, void* data) {
    Request* request = find(handle);
    if (!request || request->sent)
        return false;
    request->authData = data;
    return true;
}

bool FakeNetwork::setHeader(NetRequest handle, const char* name, const char* value) {
    Request* request = find(handle);
    if (!request || request->sent || !name || !*name || !value || std::strpbrk(name, ":\r\n") ||
        std::strpbrk(value, "\r\n"))
        return false;
    request->headers.emplace_back(name, value);
    return true;
}

bool FakeNetwork::post(NetRequest handle, NetPostWriteProc write, NetPostCloseProc close,
                       void* data) {
    Request* request = find(handle);
    if (!request || request->sent || request->write || request->mode != kNetOpenReadWrite || !write)
        return false;
    request->write = write;
    request->closeBody = close;
    request->bodyData = data;
    return true;
}

bool FakeNetwork::answerChallenge(Request& request) {
    long status = request.reply.status;
    int which = status == 401 ? 0 : status == 407 ? 1 : -1;
    auto client = m_clients.find(request.client);
    if (which < 0 || client == m_clients.end())
        return false;
    const FakeClient::Auth& auth = client->second.auth[which];
    FakeSentRequest& record = m_sent.back();
    if (auth.mode != kNetAuthAsk || !auth.proc ||
        static_cast<int>(record.credentials.size()) >= kMaxAuthAttempts)
        return false;
    auto value =
        findHeader(request.reply.headers, which == 0 ? "WWW-Authenticate" : "Proxy-Authenticate");
    std::string realm;
    bool known = false;
    for (const HttpChallenge& challenge : parseHttpChallenges(value.value_or(""))) {
        if (strcasecmp(challenge.scheme.c_str(), "Basic") == 0 ||
            strcasecmp(challenge.scheme.c_str(), "Digest") == 0) {
            realm = challenge.realm;
            known = true;
            break;
        }
    }
    if (!known)
        return false;
    char* user = nullptr;
    char* password = nullptr;
    auth.proc(serverOf(request.url).c_str(), realm.c_str(), &user, &password,
              static_cast<long>(record.credentials.size()) + 1, request.flags,
              request.authData ? request.authData : auth.data);
    bool answered = user != nullptr;
    if (answered)
        record.credentials.emplace_back(user, password ? password : "");
    std::free(user);
    std::free(password);
    return answered;
}

void FakeNetwork::send(Request& request) {
    request.sent = true;
    FakeSentRequest record;
    record.url = request.url;
    record.mode = request.mode;
    record.async = request.consumer != nullptr;
    record.client = request.client;
    record.flags = request.flags;
    record.headers = request.headers;
    bool pulled = true;
    if (request.write) {
        char block[4096];
        for (long got; (got = request.write(block, sizeof block, request.bodyData)) != 0;) {
            if (got < 0 || got > static_cast<long>(sizeof block)) {
                pulled = false;
                break;
            }
            record.body.append(block, static_cast<size_t>(got));
        }
        if (request.closeBody)
            request.closeBody(request.bodyData);
        request.write = nullptr;
        request.closeBody = nullptr;
    }
    m_sent.push_back(std::move(record));
    if (!pulled) {
        request.reply = FakeReply::failure(kNetErrAborted);
        return;
    }
    do {
        auto queued = m_replies.find(request.url);
        if (queued == m_replies.end() || queued->second.empty()) {
            request.reply = FakeReply::failure(kNetErrNotFound);
            return;
        }
        request.reply = queued->second.front();
        if (queued->second.size() > 1)
            queued->second.erase(queued->second.begin());
    } while (answerChallenge(request));
}

bool FakeNetwork::sendAndWait(NetRequest handle) {
    Request* request = find(handle);
    if (!request || request->consumer || request->sent)
        return false;
    send(*request);
    return request->reply.status > 0;
}

long FakeNetwork::status(NetRequest handle) {
    Request* request = find(handle);
    if (!request)
        return kNetErrGeneral;
    if (!request->sent)
        return 0;
    return request->reply.status > 0 ? request->reply.status : request->reply.error;
}

std::optional<std::string> FakeNetwork::responseHeader(NetRequest handle, const char* name) {
    Request* request = find(handle);
    if (!request || !request->sent || request->reply.status <= 0 || !name)
        return std::nullopt;
    return findHeader(request->reply.headers, name);
}

long FakeNetwork::read(NetRequest handle, char* buffer, long count) {
    Request* request = find(handle);
    if (!request || request->consumer || !request->sent || !buffer || count <= 0)
        return kNetErrGeneral;
    const auto& chunks = request->reply.chunks;
    while (request->chunk < chunks.size()) {
        const std::string& piece = chunks[request->chunk];
        size_t n = std::min(piece.size() - request->offset, static_cast<size_t>(count));
        std::memcpy(buffer, piece.data() + request->offset, n);
        request->offset += n;
        if (request->offset == piece.size()) {
            ++request->chunk;
            request->offset = 0;
        }
        if (n > 0)
            return static_cast<long>(n);
    }
    return request->reply.error;
}

void FakeNetwork::destroy(NetRequest handle) {
    auto found = m_requests.find(handle);
    if (found == m_requests.end())
        return;
    Request& request = *found->second;
    if (request.closeBody)
        request.closeBody(request.bodyData);
    m_requests.erase(found);
}

void FakeNetwork::close(NetRequest handle) {
    Request* request = find(handle);
    if (!request)
        return;
    request->closed = true;
    if (!request->busy)
        destroy(handle);
}

void FakeNetwork::onIdle(void* self) {
    auto* network = static_cast<FakeNetwork*>(self);
    std::vector<NetRequest> handles;
    for (const auto& [handle, request] : network->m_requests) {
        if (request->consumer && !request->finalSent && !request->closed)
            handles.push_back(handle);
    }
    for (NetRequest handle : handles)
        network->step(handle);
    for (const auto& [handle, request] : network->m_requests) {
        if (request->consumer && !request->finalSent && !request->closed)
            return;
    }
    network->m_idleRegistered = false;
    network->m_idle.unregisterIdle(&FakeNetwork::onIdle, network);
}

void FakeNetwork::step(NetRequest handle) {
    Request* request = find(handle);
    if (!request || request->busy || request->finalSent)
        return;
    request->busy = true;
    if (!request->sent)
        send(*request);
    const FakeReply& reply = request->reply;
    while (request->chunk < reply.chunks.size() && reply.chunks[request->chunk].empty())
        ++request->chunk;
    if (reply.status > 0 && request->chunk < reply.chunks.size()) {
        const std::string& piece = reply.chunks[request->chunk++];
        bool goOn = request->consumer(handle, piece.data(), static_cast<long>(piece.size()),
                                      reply.status, 0, request->userData) != 0;
        if (!goOn && !request->closed) {
            // The consumer stopped: the final call follows, as it ended.
            request->chunk = reply.chunks.size();
            request->reply.error = 0;
        }
    } else {
        request->finalSent = true;
        request->consumer(handle, nullptr, 0, reply.status, reply.error, request->userData);
    }
    request->busy = false;
    if (request->closed)
        destroy(handle);
}

bool FakeNetwork::parseDate(const char* text, QsTimeRec& out) {
    return parseISO8601Date(text, out);
}
