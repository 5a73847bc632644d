#include "tests/fakehost/FakeNetClients.h"

bool FakeNetClients::initialize() {
    m_events.push_back("initialize");
    return true;
}

void FakeNetClients::shutdown() {
    m_events.push_back("shutdown");
}

NetClientID FakeNetClients::openClient(const char* userAgent, const char* const* acceptTypes,
                                       int32_t flags) {
    bool fail = !m_failures.empty() && m_failures.front();
    if (!m_failures.empty())
        m_failures.pop_front();
    if (fail) {
        m_events.push_back("open -1");
        return kNoNetClient;
    }
    NetClientID id = m_nextClient++;
    Client& client = m_clients[id];
    client.userAgent = userAgent ? userAgent : "";
    for (const char* const* type = acceptTypes; type && *type; ++type)
        client.acceptTypes.push_back(*type);
    client.flags = flags;
    m_events.push_back("open " + std::to_string(id));
    return id;
}

void FakeNetClients::closeClient(NetClientID client) {
    m_events.push_back("close " + std::to_string(client));
    if (Client* found = find(client))
        found->open = false;
}

void FakeNetClients::setAuthentication(NetClientID client, int32_t which, int32_t mode,
                                       NetAuthProc proc, void* data) {
    Client* found = find(client);
    if (found && (which == 0 || which == 1))
        found->authentication[which] = {mode, proc, data};
}

void FakeNetClients::setClientOption(NetClientID client, int32_t value) {
    if (Client* found = find(client))
        found->options.push_back(value);
}

void FakeNetClients::setTimeouts(NetClientID client, const NetTimeoutRec& timeouts) {
    Client* found = find(client);
    if (!found)
        return;
    found->timeoutCount = timeouts.count;
    if (timeouts.pair) {
        found->timeoutPair[0] = timeouts.pair[0];
        found->timeoutPair[1] = timeouts.pair[1];
    }
    found->timeoutValue = timeouts.value;
}

FakeNetClients::Client* FakeNetClients::find(NetClientID client) {
    auto found = m_clients.find(client);
    return found == m_clients.end() ? nullptr : &found->second;
}
