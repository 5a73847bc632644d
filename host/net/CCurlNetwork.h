// The reference host's network layer: libcurl behind the "NetSpan" operations.
//
// Clients are a table of identity records; a request copies its client's record when it is put
// under it. A synchronous request is a curl easy handle driven on the spot by a multi handle of
// its own, so that the caller reads the body in pieces while curl is paused in between. An
// asynchronous request joins the one multi handle that the GLib main loop drives through its
// sockets and timer, and its consumer is called from an idle moment of the loop, never from
// inside curl. Either way only a bounded window of a reply is held.
//
// A synchronous request also has bounds of the host's own, since its caller (a script) can do
// nothing until it ends: connecting, and a server that stops answering or only trickles, end it
// with kNetErrTimeout long before the plug-in's five minutes. A stop of the main loop (the
// watchdog's time-out or Ctrl-C) ends it at once with kNetErrAborted.
//
// Credentials handed back by an authentication callback are wiped and released with free(), the
// reference host's allocator. They never reach the wire trace.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/INetwork.h"
#include "host/net/CCurlRequest.h"

#include <curl/curl.h>
#include <glib.h>

#include <map>
#include <memory>
#include <set>

class CMainLoop;
class IPreferences;

class CCurlNetwork final : public INetwork {
public:
    explicit CCurlNetwork(CMainLoop& loop);
    ~CCurlNetwork() override;
    CCurlNetwork(const CCurlNetwork&) = delete;
    CCurlNetwork& operator=(const CCurlNetwork&) = delete;

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
    std::optional<std::string> acceptLanguage() override;

    /// The host's bounds on a synchronous request, in seconds (0: none of ours); see
    /// CCurlRequest::setWaitBounds. Applies to requests sent afterwards.
    void setWaitBounds(int32_t connectSeconds, int32_t idleSeconds);
    /// The bounds from the preferences Network.SyncConnectSeconds and Network.SyncIdleSeconds,
    /// the defaults for those not set.
    void readWaitBounds(IPreferences& preferences);
    static constexpr int32_t kDefaultConnectSeconds = 30;
    static constexpr int32_t kDefaultIdleSeconds = 60;

    /// Sends every request's header lines (credentials hidden) and curl's notes to sink; an
    /// empty sink turns the trace off. Applies to requests opened afterwards.
    void setTrace(CurlTraceSink sink) { m_trace = std::move(sink); }
    /// Number of requests open.
    size_t openRequests() const { return m_requests.size(); }

private:
    struct Entry;
    struct SocketWatch;

    Entry* find(NetRequest request);
    NetRequest open(const char* url, int32_t mode, NetAsyncProc consumer, void* userData);
    void destroy(NetRequest handle);

    // The synchronous road.
    void driveSync(Entry& entry, int timeoutMs);
    void detachSync(Entry& entry);

    // The asynchronous road.
    static int onSocket(CURL* easy, curl_socket_t socket, int what, void* self, void* watch);
    static int onTimer(CURLM* multi, long timeoutMs, void* self);
    static gboolean onSocketReady(gint fd, GIOCondition condition, gpointer self);
    static gboolean onTimerDue(gpointer self);
    static gboolean onDispatchDue(gpointer token);
    static gboolean onHeaderWaitOver(gpointer token);
    void socketAction(curl_socket_t socket, int mask);
    void collectFinished();
    void scheduleDispatch(Entry& entry);
    void dispatch(NetRequest handle);
    void attachAsync(Entry& entry);
    void detachAsync(Entry& entry);
    void endAsync(Entry& entry);

    CMainLoop& m_loop;
    bool m_initialized = false;
    NetClientID m_nextClient = 1;
    std::map<NetClientID, CurlClientSettings> m_clients;
    std::map<NetRequest, std::unique_ptr<Entry>> m_requests;
    uint64_t m_nextToken = 1;
    std::map<uint64_t, NetRequest> m_tokens;
    CURLM* m_multi = nullptr;
    guint m_timer = 0;
    std::set<SocketWatch*> m_watches;
    CurlTraceSink m_trace;
    int32_t m_waitConnectSeconds = kDefaultConnectSeconds;
    int32_t m_waitIdleSeconds = kDefaultIdleSeconds;
};
