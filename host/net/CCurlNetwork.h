// The reference host's network layer: libcurl behind the "NetSpan" operations.
//
// Clients are a table of identity records. A synchronous request is a curl easy handle driven
// on the spot by a multi handle of its own, so that the caller can read the body in pieces while
// the transfer is paused in between; an asynchronous request joins the one multi handle that the
// GLib main loop drives through its sockets and timer. Either way the reply is held only a block
// at a time.
#pragma once

#include "frame/host/INetwork.h"

#include <map>
#include <string>
#include <vector>

class CMainLoop;

class CCurlNetwork final : public INetwork {
public:
    explicit CCurlNetwork(CMainLoop& loop);
    ~CCurlNetwork() override;
    CCurlNetwork(const CCurlNetwork&) = delete;
    CCurlNetwork& operator=(const CCurlNetwork&) = delete;

    int32_t hftVersion() const override { return 0x70000; }

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

private:
    /// A client identity.
    struct Client {
        std::string userAgent;
        std::vector<std::string> acceptTypes;
        int32_t flags = 0;
        int32_t option = kNetOptionProxyFromEnvironment;
        struct Auth {
            int32_t mode = kNetAuthNone;
            NetAuthProc proc = nullptr;
            void* data = nullptr;
        } auth[2];
        int32_t connectSeconds = 12;
        int32_t stallMs = 300000;
        int32_t totalMs = 0;
        int32_t headerWaitMs = 300000;
    };
    Client* findClient(NetClientID client);

    CMainLoop& m_loop;
    bool m_initialized = false;
    NetClientID m_nextClient = 1;
    std::map<NetClientID, Client> m_clients;
};
