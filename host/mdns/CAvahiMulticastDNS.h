// Multicast DNS for the reference host, over Avahi's client library.
//
// Avahi's threaded poll stands in for the multicast core's thread: it runs the replies, with the
// poll's lock held. Every call of the table takes that lock, so once a handle is deallocated no
// reply of it runs any more. The daemon (avahi-daemon, over the system bus) does the network
// work; without it DNSServicesInitialize fails and every start gives a null handle.
#pragma once

#include "frame/host/IMulticastDNS.h"

#include <mutex>

struct AvahiClient;
struct AvahiThreadedPoll;

class CAvahiMulticastDNS final : public IMulticastDNS {
public:
    CAvahiMulticastDNS() = default;
    ~CAvahiMulticastDNS() override;
    CAvahiMulticastDNS(const CAvahiMulticastDNS&) = delete;
    CAvahiMulticastDNS& operator=(const CAvahiMulticastDNS&) = delete;

    int32_t hftVersion() const override;
    /// Connects to the daemon and starts the poll's thread; 0 when running (also already).
    int32_t DNSServicesInitialize(uint32_t flags, uint32_t cacheEntries) override;
    void DNSServicesFinalize() override;
    DNSServiceDiscoveryRef DNSServiceBrowserCreate(const char* regtype, const char* domain,
                                                   DNSServiceBrowserReply callBack,
                                                   void* context) override;
    /// Resolves to an IPv4 address.
    DNSServiceDiscoveryRef DNSServiceResolverResolve(const char* name, const char* regtype,
                                                     const char* domain,
                                                     DNSServiceResolverReply callBack,
                                                     void* context) override;
    void DNSServiceDiscoveryDeallocate(DNSServiceDiscoveryRef ref) override;

private:
    // Guards the client's start and end; the poll's own lock guards the rest.
    std::mutex m_mutex;
    AvahiThreadedPoll* m_poll = nullptr;
    AvahiClient* m_client = nullptr;
};
