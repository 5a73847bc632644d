// One request of the curl network layer: a curl easy handle with what goes out (client settings,
// headers, the spooled body) and what came back (status, headers, a bounded window of the body).
//
// The request knows nothing of how it is driven: CCurlNetwork attaches its easy handle to a multi
// handle, synchronous or on the main loop, and asks it what happened. A transfer may run more
// than once: when a server's challenge is answered through the client's authentication callback,
// the request goes out again with the credentials.
#pragma once

#include "frame/host/INetwork.h"
#include "host/net/CBodySpool.h"

#include <curl/curl.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The client identity a request goes out under, copied when the request is put under it.
struct CurlClientSettings {
    std::string userAgent;
    std::vector<std::string> acceptTypes;
    int32_t flags = 0;
    int32_t option = kNetOptionProxyFromEnvironment;
    struct Auth {
        int32_t mode = kNetAuthNone;
        NetAuthProc proc = nullptr;
        void* data = nullptr;
    } auth[2]; // 0: the server's challenges, 1: a proxy's
    int32_t connectSeconds = 12;
    int32_t stallMs = 300000;
    int32_t totalMs = 0;
    int32_t headerWaitMs = 300000;
};

/// Receives one line of the wire trace.
using CurlTraceSink = std::function<void(const std::string& line)>;

class CCurlRequest {
public:
    /// At most this many bytes of the body wait for the reader; curl is paused beyond.
    static constexpr size_t kPendingLimit = 64 * 1024;
    /// Response headers beyond this size make the reply invalid.
    static constexpr size_t kHeaderLimit = 256 * 1024;
    /// Challenges answered per request at most.
    static constexpr int kMaxAuthAttempts = 8;

    CCurlRequest(std::string url, int32_t mode, NetAsyncProc consumer, void* userData);
    ~CCurlRequest();
    CCurlRequest(const CCurlRequest&) = delete;
    CCurlRequest& operator=(const CCurlRequest&) = delete;

    /// Whether the URL is http or https and the easy handle exists.
    bool valid() const { return m_easy != nullptr; }
    CURL* easy() const { return m_easy; }
    bool isAsync() const { return m_consumer != nullptr; }
    /// Hands a piece of the reply (or, with null data, its end) to the consumer of an
    /// asynchronous request; answers what it answered.
    bool consume(NetRequest handle, const char* data, long length) {
        return m_consumer(handle, data, length, httpStatus(), data ? 0 : m_error, m_userData) != 0;
    }
    int32_t mode() const { return m_mode; }

    void setClient(const CurlClientSettings& client, int32_t flags);
    /// The host's own bounds, on top of the client's time-outs, for a request someone waits for:
    /// connecting within connectSeconds, and moving at least kLowSpeedBytes a second over any
    /// idleSeconds (waiting for the headers included), each tightening the client's time-outs.
    /// 0 leaves a bound out. Set before start.
    void setWaitBounds(int32_t connectSeconds, int32_t idleSeconds);
    /// The slowest transfer that the idle bound lets go on, in bytes a second: a server that
    /// trickles a byte now and then is as good as silent.
    static constexpr long kLowSpeedBytes = 16;
    const CurlClientSettings& client() const { return m_client; }
    /// Data for the authentication callbacks in place of the client's; false once started.
    bool setAuthenticationData(void* data);
    bool addHeader(const char* name, const char* value);
    bool setBody(NetPostWriteProc write, NetPostCloseProc close, void* data);
    void setTrace(CurlTraceSink sink) { m_trace = std::move(sink); }
    /// Called when something happened that the driver should look at (data, headers, the end).
    void setOnEvent(std::function<void()> onEvent) { m_onEvent = std::move(onEvent); }

    /// Pulls the body (once) and sets the easy handle up for the first transfer. False when the
    /// body could not be pulled; the request has then failed as aborted.
    bool start();
    bool started() const { return m_started; }
    /// Forgets the reply of the last transfer and readies the next one.
    void restart();
    /// The transfer ended with code.
    void finish(CURLcode code);
    /// The request failed on the driver's side (a time-out of its own, a consumer that
    /// stopped); error 0 ends it as it stands.
    void fail(long error);

    /// The final reply's status line and headers are in (or the transfer is over).
    bool headersFinal() const { return m_headersFinal || m_done; }
    bool done() const { return m_done; }
    /// The HTTP status of the final reply, 0 while none.
    long httpStatus() const { return m_headersFinal ? m_status : 0; }
    /// 0, or the network error the transfer ended with.
    long error() const { return m_error; }

    /// The final reply is a challenge that the client's callback may answer.
    bool wantsAuthentication() const;
    /// Asks the client's callback. True when it gave credentials: the request must go out
    /// again (restart). False: the challenge stands as the reply.
    bool authenticate();

    /// Bytes of the body waiting for the reader.
    size_t pending() const { return m_pending.size() - m_pendingPos; }
    /// Moves up to count waiting bytes into buffer.
    size_t take(char* buffer, size_t count);
    /// Whether curl was paused because the reader fell behind; clears the mark.
    bool takePaused() { return std::exchange(m_paused, false); }

    /// A response header of the final reply, repeated ones joined with ", ".
    std::optional<std::string> header(const char* name) const;

private:
    static size_t onHeader(char* data, size_t size, size_t count, void* self);
    static size_t onWrite(char* data, size_t size, size_t count, void* self);
    static size_t onRead(char* buffer, size_t size, size_t count, void* self);
    static int onSeek(void* self, curl_off_t offset, int origin);
    static int onDebug(CURL*, curl_infotype type, char* data, size_t size, void* self);
    static int onProgress(void* self, curl_off_t downTotal, curl_off_t down, curl_off_t upTotal,
                          curl_off_t up);

    void configure();
    void headerLine(std::string_view line);
    void markHeadersFinal();
    void closeBody();
    void event();
    std::string serverName() const;

    CURL* m_easy = nullptr;
    std::string m_url;
    int32_t m_mode;
    NetAsyncProc m_consumer;
    void* m_userData;
    CurlClientSettings m_client;
    int32_t m_flags = 0;
    int32_t m_boundIdleSeconds = 0; // of the speed check
    void* m_authData = nullptr;
    bool m_hasAuthData = false;
    std::vector<std::pair<std::string, std::string>> m_requestHeaders;
    curl_slist* m_headerList = nullptr;
    CurlTraceSink m_trace;
    std::function<void()> m_onEvent;

    NetPostWriteProc m_bodyWrite = nullptr;
    NetPostCloseProc m_bodyClose = nullptr;
    void* m_bodyData = nullptr;
    bool m_hasBody = false;
    CBodySpool m_body;

    bool m_started = false;
    // This transfer carries credentials, so curl may answer a challenge itself and go round
    // once more before the final reply.
    bool m_sentCredentials = false;
    bool m_authDecided = false;
    int m_authAttempts = 0;

    // The reply of the current transfer.
    long m_status = 0;
    std::vector<std::pair<std::string, std::string>> m_headers;
    size_t m_headerBytes = 0;
    bool m_headersTooLarge = false;
    bool m_headersFinal = false;
    bool m_done = false;
    long m_error = 0;
    std::string m_pending;
    size_t m_pendingPos = 0;
    bool m_paused = false;
    // The stall watch: when bytes last moved either way.
    int64_t m_lastMoveMs = 0;
    curl_off_t m_lastDown = 0;
    curl_off_t m_lastUp = 0;
    bool m_stalled = false;
};
