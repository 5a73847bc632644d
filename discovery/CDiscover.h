// Discovery clients: browse for service instances by type, and resolve one instance, on the
// local link (multicast) or in a DNS domain (unicast).
//
// Answers arrive on network threads; a request queues them as plain string records, and its
// consumer, on the viewer's idle loop every 20 ticks, turns them into CAgg values and calls the
// client there.
#pragma once

#include "values/CAgg.h"
#include "values/EStr.h"

/// Where a request looks.
enum DSRequestScope : int32_t {
    kDSScopeLocal = 0,
    kDSScopeUnicast = 1,
    /// Both, for the exported functions; no single client serves it.
    kDSScopeBoth = 2,
};

/// Instances that appeared and went since the last call, each a map from instance name to a map
/// with "name", "type" and "domain". The result is ignored.
using DSQueryCallback = unsigned short (*)(CAgg& added, CAgg& removed, void* clientData);
/// The instance's resolve record as a map of texts; empty after a time-out.
using DSResolveCallback = unsigned short (*)(_EStrRec* name, CAgg& result, void* clientData);

/// The period of the consumers, in ticks.
inline constexpr int32_t kDiscoveryConsumerPeriod = 20;

class CDiscover {
public:
    virtual ~CDiscover() = default;
    /// Starts a browse for the type; the request as void*, null when none could be made.
    virtual void* startQuery(const char* type, DSQueryCallback callback, void* clientData) = 0;
    /// Starts a resolve of the named instance; a multicast resolve answers an empty result after
    /// timeoutSeconds without an answer.
    virtual void* startResolve(const char* type, const char* domain, _EStrRec* name,
                               unsigned long timeoutSeconds, DSResolveCallback callback,
                               void* clientData) = 0;
    /// Stops and deletes a request of this client; null is ignored.
    virtual void stop(void* request) = 0;
};

/// A new client of the scope (local or unicast); null for any other scope.
CDiscover* CreateDiscoveryClient(DSRequestScope scope);
