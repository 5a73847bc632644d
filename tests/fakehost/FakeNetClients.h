// A network layer for tests of the life cycle: it records the clients the plug-in opens, with
// every parameter, and what it closes; a test can make an open fail. It carries no requests:
// every request operation refuses.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/INetwork.h"

#include <deque>
#include <map>
#include <string>
#include <vector>

class FakeNetClients final : public INetwork {
public:
    struct Authentication {
        int32_t mode = -1;
        NetAuthProc proc = nullptr;
        void* data = nullptr;
    };
    /// A client as the plug-in set it up.
    struct Client {
        std::string userAgent;
        std::vector<std::string> acceptTypes;
        int32_t flags = 0;
        Authentication authentication[2];
        std::vector<int32_t> options;
        int32_t timeoutCount = 0;
        int32_t timeoutPair[2] = {0, 0};
        int32_t timeoutValue = 0;
        bool open = true;
    };

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

    NetRequest openURL(const char*, int32_t) override { return nullptr; }
    NetRequest openURLAsync(const char*, int32_t, NetAsyncProc, void*) override { return nullptr; }
    bool setTimeoutsAndFlags(NetRequest, NetClientID, int32_t) override { return false; }
    bool setAuthenticationData(NetRequest, void*) override { return false; }
    bool setHeader(NetRequest, const char*, const char*) override { return false; }
    bool post(NetRequest, NetPostWriteProc, NetPostCloseProc, void*) override { return false; }
    bool sendAndWait(NetRequest) override { return false; }
    long status(NetRequest) override { return kNetErrGeneral; }
    std::optional<std::string> responseHeader(NetRequest, const char*) override { return {}; }
    long read(NetRequest, char*, long) override { return kNetErrGeneral; }
    void close(NetRequest) override {}
    bool parseDate(const char*, QsTimeRec&) override { return false; }
    std::optional<std::string> acceptLanguage() override { return {}; }

    /// Makes the next openClient fail (-1); calls add up, one per open.
    void failNextOpen() { m_failures.push_back(true); }
    /// Lets the next openClient succeed; with failNextOpen it orders outcomes.
    void succeedNextOpen() { m_failures.push_back(false); }
    /// Every client opened, by identifier.
    const std::map<NetClientID, Client>& clients() const { return m_clients; }
    /// What happened, in order: "initialize", "open 1", "open -1", "close 1", "shutdown".
    const std::vector<std::string>& events() const { return m_events; }

private:
    Client* find(NetClientID client);

    std::deque<bool> m_failures;
    std::map<NetClientID, Client> m_clients;
    NetClientID m_nextClient = 1;
    std::vector<std::string> m_events;
};
