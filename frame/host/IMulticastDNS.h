// Multicast DNS on the local link: the classic service-discovery calls of the platform.
//
// A browse or resolve runs until its handle is deallocated. Its reply procedure runs on a thread
// of the multicast core, never on the viewer's; once DNSServiceDiscoveryDeallocate has returned,
// no reply procedure of that handle runs or will run. The reference host serves the table with
// Avahi; the test host scripts the answers.
#pragma once

#include "frame/host/IHostTable.h"

#include <cstdint>

struct sockaddr;

/// A running browse or resolve; null when it could not start.
using DNSServiceDiscoveryRef = struct _s_DNSServiceDiscoveryRec*;

/// What a browse reply tells.
enum DNSServiceBrowserReplyResultType : int32_t {
    kDNSServiceBrowserReplyAddInstance = 0,
    kDNSServiceBrowserReplyRemoveInstance = 1,
    kDNSServiceBrowserReplyAddDomain = 2,
    kDNSServiceBrowserReplyRemoveDomain = 3,
};

/// One instance of a browse: its name, type ("_" + type + "._tcp.") and domain.
using DNSServiceBrowserReply = void (*)(int32_t resultType, const char* replyName,
                                        const char* replyType, const char* replyDomain,
                                        uint32_t flags, void* context);
/// The answer of a resolve: the interface's and the service's address, and the TXT record as one
/// text whose strings are separated by 0x01.
using DNSServiceResolverReply = void (*)(const struct sockaddr* interfaceAddress,
                                         const struct sockaddr* serviceAddress,
                                         const char* txtRecord, uint32_t flags, void* context);

class IMulticastDNS : public IHostTable {
public:
    /// Brings the multicast core up; 0 when it runs. flags and cacheEntries are the core's.
    virtual int32_t DNSServicesInitialize(uint32_t flags, uint32_t cacheEntries) = 0;
    /// Takes the core down; every handle must be deallocated first.
    virtual void DNSServicesFinalize() = 0;
    /// Browses for instances of the type ("_http._tcp") in the domain ("local." when null).
    virtual DNSServiceDiscoveryRef DNSServiceBrowserCreate(const char* regtype, const char* domain,
                                                           DNSServiceBrowserReply callBack,
                                                           void* context) = 0;
    /// Resolves one instance to its address and TXT record.
    virtual DNSServiceDiscoveryRef DNSServiceResolverResolve(const char* name, const char* regtype,
                                                             const char* domain,
                                                             DNSServiceResolverReply callBack,
                                                             void* context) = 0;
    /// Ends a browse or resolve; null is ignored.
    virtual void DNSServiceDiscoveryDeallocate(DNSServiceDiscoveryRef ref) = 0;
};
