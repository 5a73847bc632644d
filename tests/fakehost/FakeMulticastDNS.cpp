#include "tests/fakehost/FakeMulticastDNS.h"

#include "frame/host/HostTableIds.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstring>

int32_t FakeMulticastDNS::hftVersion() const {
    return static_cast<int32_t>(kMulticastDNSTable.version);
}

int32_t FakeMulticastDNS::DNSServicesInitialize(uint32_t, uint32_t) {
    m_initialized = true;
    return 0;
}

void FakeMulticastDNS::DNSServicesFinalize() {
    m_initialized = false;
}

DNSServiceDiscoveryRef FakeMulticastDNS::add(Entry entry) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (m_failStarts || !m_initialized)
        return nullptr;
    // Handles count up from 1.
    entry.request.handle = reinterpret_cast<DNSServiceDiscoveryRef>(m_entries.size() + 1);
    entry.request.live = true;
    m_entries.push_back(entry);
    return entry.request.handle;
}

DNSServiceDiscoveryRef FakeMulticastDNS::DNSServiceBrowserCreate(const char* regtype,
                                                                 const char* domain,
                                                                 DNSServiceBrowserReply callBack,
                                                                 void* context) {
    return add({{nullptr, true, "", regtype ? regtype : "", domain ? domain : "", false},
                callBack,
                nullptr,
                context});
}

DNSServiceDiscoveryRef FakeMulticastDNS::DNSServiceResolverResolve(const char* name,
                                                                   const char* regtype,
                                                                   const char* domain,
                                                                   DNSServiceResolverReply callBack,
                                                                   void* context) {
    return add(
        {{nullptr, false, name ? name : "", regtype ? regtype : "", domain ? domain : "", false},
         nullptr,
         callBack,
         context});
}

void FakeMulticastDNS::DNSServiceDiscoveryDeallocate(DNSServiceDiscoveryRef ref) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    auto index = reinterpret_cast<uintptr_t>(ref);
    if (index >= 1 && index <= m_entries.size())
        m_entries[index - 1].request.live = false;
}

std::vector<FakeMulticastDNS::Request> FakeMulticastDNS::requests() const {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    std::vector<Request> out;
    for (const Entry& entry : m_entries)
        out.push_back(entry.request);
    return out;
}

size_t FakeMulticastDNS::liveCount() const {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    size_t count = 0;
    for (const Entry& entry : m_entries)
        count += entry.request.live ? 1 : 0;
    return count;
}

bool FakeMulticastDNS::browseReply(size_t index, int32_t resultType, const std::string& name,
                                   const std::string& type, const std::string& domain) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (index >= m_entries.size() || !m_entries[index].request.live ||
        !m_entries[index].browseReply)
        return false;
    m_entries[index].browseReply(resultType, name.c_str(), type.c_str(), domain.c_str(), 0,
                                 m_entries[index].context);
    return true;
}

bool FakeMulticastDNS::resolveReply(size_t index, const std::string& txt, uint32_t ipv4,
                                    uint16_t port, bool ipv6) {
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (index >= m_entries.size() || !m_entries[index].request.live ||
        !m_entries[index].resolveReply)
        return false;
    sockaddr_in interfaceAddress{};
    interfaceAddress.sin_family = AF_INET;
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    v4.sin_addr.s_addr = htonl(ipv4);
    v4.sin_port = htons(port);
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    v6.sin6_port = htons(port);
    v6.sin6_addr.s6_addr[15] = 1;
    const sockaddr* service =
        ipv6 ? reinterpret_cast<const sockaddr*>(&v6) : reinterpret_cast<const sockaddr*>(&v4);
    m_entries[index].resolveReply(reinterpret_cast<const sockaddr*>(&interfaceAddress), service,
                                  txt.c_str(), 0, m_entries[index].context);
    return true;
}
