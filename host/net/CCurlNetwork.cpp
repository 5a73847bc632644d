#include "host/net/CCurlNetwork.h"

#include "host/loop/CMainLoop.h"

#include <curl/curl.h>

CCurlNetwork::CCurlNetwork(CMainLoop& loop) : m_loop(loop) {}

CCurlNetwork::~CCurlNetwork() {
    shutdown();
}

bool CCurlNetwork::initialize() {
    if (m_initialized)
        return true;
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        return false;
    m_initialized = true;
    return true;
}

void CCurlNetwork::shutdown() {
    if (!m_initialized)
        return;
    m_clients.clear();
    curl_global_cleanup();
    m_initialized = false;
}

CCurlNetwork::Client* CCurlNetwork::findClient(NetClientID client) {
    auto found = m_clients.find(client);
    return found == m_clients.end() ? nullptr : &found->second;
}

NetClientID CCurlNetwork::openClient(const char* userAgent, const char* const* acceptTypes,
                                     int32_t flags) {
    if (!m_initialized)
        return kNoNetClient;
    Client client;
    client.userAgent = userAgent ? userAgent : "";
    for (; acceptTypes && *acceptTypes; ++acceptTypes)
        client.acceptTypes.emplace_back(*acceptTypes);
    client.flags = flags;
    NetClientID id = m_nextClient++;
    m_clients.emplace(id, std::move(client));
    return id;
}

void CCurlNetwork::closeClient(NetClientID client) {
    m_clients.erase(client);
}

void CCurlNetwork::setAuthentication(NetClientID client, int32_t which, int32_t mode,
                                     NetAuthProc proc, void* data) {
    Client* found = findClient(client);
    if (!found || which < 0 || which > 1)
        return;
    found->auth[which] = {mode, proc, data};
}

void CCurlNetwork::setClientOption(NetClientID client, int32_t value) {
    if (Client* found = findClient(client))
        found->option = value;
}

void CCurlNetwork::setTimeouts(NetClientID client, const NetTimeoutRec& timeouts) {
    Client* found = findClient(client);
    if (!found)
        return;
    found->connectSeconds = timeouts.count;
    if (timeouts.pair) {
        found->stallMs = timeouts.pair[0];
        found->totalMs = timeouts.pair[1];
    }
    found->headerWaitMs = timeouts.value;
}

NetRequest CCurlNetwork::openURL(const char*, int32_t) {
    return nullptr;
}

NetRequest CCurlNetwork::openURLAsync(const char*, int32_t, NetAsyncProc, void*) {
    return nullptr;
}

bool CCurlNetwork::setTimeoutsAndFlags(NetRequest, NetClientID, int32_t) {
    return false;
}

bool CCurlNetwork::setHeader(NetRequest, const char*, const char*) {
    return false;
}

bool CCurlNetwork::post(NetRequest, NetPostWriteProc, NetPostCloseProc, void*) {
    return false;
}

bool CCurlNetwork::sendAndWait(NetRequest) {
    return false;
}

long CCurlNetwork::status(NetRequest) {
    return kNetErrGeneral;
}

std::optional<std::string> CCurlNetwork::responseHeader(NetRequest, const char*) {
    return std::nullopt;
}

long CCurlNetwork::read(NetRequest, char*, long) {
    return kNetErrGeneral;
}

void CCurlNetwork::close(NetRequest) {}

bool CCurlNetwork::parseDate(const char*, QsTimeRec&) {
    return false;
}

std::optional<std::string> CCurlNetwork::acceptLanguage() {
    return std::nullopt;
}
