// The test host's multicast DNS: browses and resolves are recorded, and the test scripts their
// answers, from its own thread or another one, as the multicast core's thread would.
#pragma once

#include "frame/host/IMulticastDNS.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

class FakeMulticastDNS final : public IMulticastDNS {
public:
    /// A browse or resolve as the plug-in started it.
    struct Request {
        DNSServiceDiscoveryRef handle;
        bool browse;
        std::string name; // resolve only
        std::string type;
        std::string domain; // "" for a null domain
        bool live;
    };

    int32_t hftVersion() const override;
    int32_t DNSServicesInitialize(uint32_t flags, uint32_t cacheEntries) override;
    void DNSServicesFinalize() override;
    DNSServiceDiscoveryRef DNSServiceBrowserCreate(const char* regtype, const char* domain,
                                                   DNSServiceBrowserReply callBack,
                                                   void* context) override;
    DNSServiceDiscoveryRef DNSServiceResolverResolve(const char* name, const char* regtype,
                                                     const char* domain,
                                                     DNSServiceResolverReply callBack,
                                                     void* context) override;
    void DNSServiceDiscoveryDeallocate(DNSServiceDiscoveryRef ref) override;

    /// Every request started, in order.
    std::vector<Request> requests() const;
    /// The requests not yet deallocated.
    size_t liveCount() const;
    /// Makes later starts fail (a null handle), or succeed again.
    void setFailStarts(bool fail) { m_failStarts = fail; }

    /// Tells the browse at this index of requests() of an instance; false when it has been
    /// deallocated.
    bool browseReply(size_t index, int32_t resultType, const std::string& name,
                     const std::string& type = "_http._tcp.", const std::string& domain = "local.");
    /// Answers the resolve at this index with an IPv4 address and port (host order), or with an
    /// IPv6 address when ipv6 is set; txt's strings are separated by 0x01.
    bool resolveReply(size_t index, const std::string& txt, uint32_t ipv4 = 0x0A000001,
                      uint16_t port = 80, bool ipv6 = false);

private:
    struct Entry {
        Request request;
        DNSServiceBrowserReply browseReply;
        DNSServiceResolverReply resolveReply;
        void* context;
    };
    DNSServiceDiscoveryRef add(Entry entry);

    // Held while a reply runs and while a handle is deallocated: after deallocation, no reply.
    mutable std::recursive_mutex m_mutex;
    std::vector<Entry> m_entries;
    bool m_failStarts = false;
    bool m_initialized = false;
};
