// Multicast discovery: the client and its requests, over the host's multicast DNS table.
#pragma once

#include "discovery/CSynchronizedResource.h"
#include "frame/host/IMulticastDNS.h"

/// The base of the multicast requests: its consumer runs on the idle loop.
class CRendezvousRequest : public CSynchronizedResource {};

/// A browse: every 20 ticks the instances that came and went.
class CRendezvousQuery final : public CRendezvousRequest {
public:
    CRendezvousQuery(DSQueryCallback callback, void* clientData);
    ~CRendezvousQuery() override;
    /// Starts the browse of the type and registers the consumer; false when the lower layer
    /// gives no handle.
    bool start(const char* type);
    /// Deallocates the handle and unregisters the consumer; safe twice.
    void stop() override;
    void Consumer() override;

private:
    static void Producer(int32_t resultType, const char* name, const char* type, const char* domain,
                         uint32_t flags, void* context);

    DNSServiceDiscoveryRef handle = nullptr;
    DSQueryCallback callback;
    void* clientData;
};

/// A resolve: the last answer to arrive, then it stops itself; an empty result after the
/// time-out.
class CRendezvousResolve final : public CRendezvousRequest {
public:
    CRendezvousResolve(_EStrRec* name, unsigned long timeoutSeconds, DSResolveCallback callback,
                       void* clientData);
    ~CRendezvousResolve() override;
    /// Starts the resolve; when the lower layer gives no handle the request stays silent.
    void start(const char* type, const char* domain);
    void stop() override;
    void Consumer() override;
    /// Deletes the request, or, from within its own consumer, once the consumer is done.
    void release();

private:
    static void Producer(const struct sockaddr* interfaceAddress,
                         const struct sockaddr* serviceAddress, const char* txtRecord,
                         uint32_t flags, void* context);

    DNSServiceDiscoveryRef handle = nullptr;
    DSResolveCallback callback;
    void* clientData;
    CEStr name;
    unsigned short inConsumer = 0;
    unsigned short deletePending = 0;
    long startTime = 0;
    unsigned long timeout = 0;
};

/// Multicast discovery on the local link.
class CRendezvous final : public CDiscover {
public:
    void* startQuery(const char* type, DSQueryCallback callback, void* clientData) override;
    void* startResolve(const char* type, const char* domain, _EStrRec* name,
                       unsigned long timeoutSeconds, DSResolveCallback callback,
                       void* clientData) override;
    void stop(void* request) override;
};
