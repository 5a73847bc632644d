// The test host's network layer: replies scripted per URL, and everything sent recorded.
//
// A test queues replies for a URL; each request to it takes the next, and the last one stays for
// the requests after it. A URL with no reply fails as not found. A synchronous request gets its
// reply on the spot; an asynchronous one advances a step at every idle moment of the FakeIdle
// clock (the first piece, the next piece, ..., the final call), so that requests in flight
// interleave as the test moves the clock. A 401 or 407 with a challenge goes through the
// client's authentication callback as the real layer does it, and the next reply answers the
// credentials.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/INetwork.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class FakeIdle;

/// A scripted reply.
struct FakeReply {
    long status = 200;
    std::vector<std::pair<std::string, std::string>> headers;
    /// The body, as the reader or consumer gets it: piece by piece.
    std::vector<std::string> chunks;
    /// A network error: with status 0 the request fails without a reply; with a status the
    /// body breaks off with it after the pieces.
    long error = 0;

    /// A reply of status with body in pieces of at most pieceSize bytes.
    static FakeReply withBody(long status, const std::string& body, size_t pieceSize = 2048);
    /// A request that fails with a network error.
    static FakeReply failure(long error);
};

/// A request as the fake received it.
struct FakeSentRequest {
    std::string url;
    int32_t mode = 0;
    bool async = false;
    NetClientID client = kNoNetClient;
    int32_t flags = 0;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    /// Credentials the authentication callback gave, one pair per answered challenge.
    std::vector<std::pair<std::string, std::string>> credentials;
    /// A header's value (names compare without case), or nothing.
    std::optional<std::string> header(const std::string& name) const;
};

/// A client as the plug-in opened it.
struct FakeClient {
    std::string userAgent;
    std::vector<std::string> acceptTypes;
    int32_t flags = 0;
    int32_t option = 0;
    struct Auth {
        int32_t mode = kNetAuthNone;
        NetAuthProc proc = nullptr;
        void* data = nullptr;
    } auth[2];
    std::optional<NetTimeoutRec> timeouts;
    int32_t timeoutPair[2] = {0, 0};
};

class FakeNetwork final : public INetwork {
public:
    explicit FakeNetwork(FakeIdle& idle);
    ~FakeNetwork() override;

    int32_t hftVersion() const override { return kNetSpanTable.version; }

    bool initialize() override;
    void shutdown() override;
    NetClientID openClient(const char* userAgent, const char* const* acceptTypes,
                           int32_t flags) override;
    void closeClient(NetClientID client) override;
    void setAuthentication(NetClientID client, int32_t which, int32_t mode, NetAuthProc proc,
                           void* data) override;
    void setClientOption(NetClientID client, int32_t value) override;
    void setTimeouts(NetClientID client, const NetTimeoutRec& timeouts) override;

    NetRequest openURL(const char* url, int32_t mode) override;
    NetRequest openURLAsync(const char* url, int32_t mode, NetAsyncProc consumer,
                            void* userData) override;
    bool setTimeoutsAndFlags(NetRequest request, NetClientID client, int32_t flags) override;
    bool setAuthenticationData(NetRequest request, void* data) override;
    bool setHeader(NetRequest request, const char* name, const char* value) override;
    bool post(NetRequest request, NetPostWriteProc write, NetPostCloseProc close,
              void* data) override;
    bool sendAndWait(NetRequest request) override;
    long status(NetRequest request) override;
    std::optional<std::string> responseHeader(NetRequest request, const char* name) override;
    long read(NetRequest request, char* buffer, long count) override;
    void close(NetRequest request) override;
    bool parseDate(const char* text, QsTimeRec& out) override;
    std::optional<std::string> acceptLanguage() override { return m_language; }

    /// Queues a reply for url.
    void addReply(const std::string& url, FakeReply reply);
    /// The requests sent so far, in order.
    const std::vector<FakeSentRequest>& sent() const { return m_sent; }
    /// A client as opened, or null.
    const FakeClient* client(NetClientID id) const;
    /// Whether the layer is up (initialize without shutdown).
    bool isInitialized() const { return m_initialized; }
    /// Number of requests open.
    size_t openRequests() const { return m_requests.size(); }
    /// The language acceptLanguage reports.
    void setLanguage(std::optional<std::string> language) { m_language = std::move(language); }

private:
    struct Request;
    Request* find(NetRequest handle);
    NetRequest open(const char* url, int32_t mode, NetAsyncProc consumer, void* userData);
    void send(Request& request);
    bool answerChallenge(Request& request);
    void destroy(NetRequest handle);
    static void onIdle(void* self);
    void step(NetRequest handle);

    FakeIdle& m_idle;
    bool m_initialized = false;
    bool m_idleRegistered = false;
    NetClientID m_nextClient = 1;
    uintptr_t m_nextHandle = 1;
    std::map<NetClientID, FakeClient> m_clients;
    std::map<std::string, std::vector<FakeReply>> m_replies;
    std::map<NetRequest, std::unique_ptr<Request>> m_requests;
    std::vector<FakeSentRequest> m_sent;
    std::optional<std::string> m_language = "en-US";
};
