#include "discovery/CRendezvous.h"

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/host/HostTableIds.h"
#include "values/miTime.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdio>
#include <string>

namespace {

/// The host's multicast DNS, brought up; null on a host without it. Asked for at each start, so
/// that nothing is kept of a host that has gone.
IMulticastDNS* MulticastDNS() {
    if (!gCoreHFT)
        return nullptr;
    HFT table = gCoreHFT->extensionMgrGetHFT(QsAtomFromString(kMulticastDNSTable.name),
                                             kMulticastDNSTable.version);
    // The table of that name is the multicast core by contract.
    auto* mdns = static_cast<IMulticastDNS*>(table);
    if (!mdns || mdns->DNSServicesInitialize(0, 0) != 0)
        return nullptr;
    return mdns;
}

void deallocate(DNSServiceDiscoveryRef& handle) {
    if (!handle)
        return;
    if (IMulticastDNS* mdns = MulticastDNS())
        mdns->DNSServiceDiscoveryDeallocate(handle);
    handle = nullptr;
}

std::string serviceType(const char* type) {
    return "_" + std::string(type ? type : "") + "._tcp";
}

} // namespace

// Browse.

CRendezvousQuery::CRendezvousQuery(DSQueryCallback callback, void* clientData)
    : callback(callback), clientData(clientData) {}

CRendezvousQuery::~CRendezvousQuery() {
    stop();
}

bool CRendezvousQuery::start(const char* type) {
    IMulticastDNS* mdns = MulticastDNS();
    if (!mdns)
        return false;
    handle = mdns->DNSServiceBrowserCreate(serviceType(type).c_str(), nullptr, Producer, this);
    if (!handle)
        return false;
    registerConsumer();
    return true;
}

void CRendezvousQuery::stop() {
    deallocate(handle);
    unregisterConsumer();
}

void CRendezvousQuery::Producer(int32_t resultType, const char* name, const char* type,
                                const char* domain, uint32_t, void* context) {
    const char* operation = nullptr;
    if (resultType == kDNSServiceBrowserReplyAddInstance)
        operation = "add";
    else if (resultType == kDNSServiceBrowserReplyRemoveInstance)
        operation = "remove";
    else
        return;
    static_cast<CRendezvousQuery*>(context)->push({{"name", name ? name : ""},
                                                   {"type", type ? type : ""},
                                                   {"domain", domain ? domain : ""},
                                                   {"operation", operation}});
}

void CRendezvousQuery::Consumer() {
    // The callback is the last use of the request: the client may stop it from there.
    DSConsumeBrowseRecords(takeAll(), callback, clientData);
}

// Resolve.

CRendezvousResolve::CRendezvousResolve(_EStrRec* name, unsigned long timeoutSeconds,
                                       DSResolveCallback callback, void* clientData)
    : callback(callback), clientData(clientData), name(name), startTime(miTimeSecs()),
      timeout(timeoutSeconds) {}

CRendezvousResolve::~CRendezvousResolve() {
    stop();
}

void CRendezvousResolve::start(const char* type, const char* domain) {
    IMulticastDNS* mdns = MulticastDNS();
    if (!mdns)
        return;
    std::string instance = EStrToUTF8(name);
    handle = mdns->DNSServiceResolverResolve(instance.c_str(), serviceType(type).c_str(),
                                             domain ? domain : "local.", Producer, this);
    // Without a handle the consumer is never registered: the request stays silent.
    if (handle)
        registerConsumer();
}

void CRendezvousResolve::stop() {
    deallocate(handle);
    unregisterConsumer();
}

void CRendezvousResolve::release() {
    if (inConsumer) {
        deletePending = 1;
        stop();
        return;
    }
    delete this;
}

void CRendezvousResolve::Producer(const struct sockaddr*, const struct sockaddr* serviceAddress,
                                  const char* txtRecord, uint32_t, void* context) {
    DSRecord record;
    DSAddTextRecordPairs(txtRecord, record);
    // Only an IPv4 address gives a target and port; they win over text keys of those names.
    if (serviceAddress && serviceAddress->sa_family == AF_INET) {
        const auto* in = reinterpret_cast<const sockaddr_in*>(serviceAddress);
        uint32_t address = ntohl(in->sin_addr.s_addr);
        char text[32];
        std::snprintf(text, sizeof text, "%d.%d.%d.%d", (address >> 24) & 0xFF,
                      (address >> 16) & 0xFF, (address >> 8) & 0xFF, address & 0xFF);
        record["target"] = text;
        std::snprintf(text, sizeof text, "%d", ntohs(in->sin_port));
        record["port"] = text;
    }
    static_cast<CRendezvousResolve*>(context)->push(std::move(record));
}

void CRendezvousResolve::Consumer() {
    inConsumer = 1;
    std::deque<DSRecord> records = takeAll();
    // Only the last answer to arrive counts.
    if (!records.empty()) {
        CAgg result = DSRecordToCAgg(records.back());
        callback(name.get(), result, clientData);
        stop();
    }
    // Not guarded by the answer: one that arrives in the very tick of the time-out gives two
    // calls.
    if (static_cast<unsigned long>(miTimeSecs()) > startTime + timeout) {
        CAgg empty;
        empty.toMap();
        callback(name.get(), empty, clientData);
        stop();
    }
    inConsumer = 0;
    if (deletePending)
        delete this;
}

// The client.

void* CRendezvous::startQuery(const char* type, DSQueryCallback callback, void* clientData) {
    auto* request = new CRendezvousQuery(callback, clientData);
    if (request->start(type))
        return request;
    // A browse that cannot start is no request.
    delete request;
    return nullptr;
}

void* CRendezvous::startResolve(const char* type, const char* domain, _EStrRec* name,
                                unsigned long timeoutSeconds, DSResolveCallback callback,
                                void* clientData) {
    auto* request = new CRendezvousResolve(name, timeoutSeconds, callback, clientData);
    request->start(type, domain);
    return request;
}

void CRendezvous::stop(void* request) {
    if (!request)
        return;
    auto* resource = static_cast<CSynchronizedResource*>(request);
    if (auto* resolve = dynamic_cast<CRendezvousResolve*>(resource)) {
        resolve->release();
        return;
    }
    delete resource;
}
