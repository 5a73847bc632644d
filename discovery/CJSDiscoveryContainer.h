// A running discovery request of a script: one client and request per domain, and the script
// object that hears of the answers.
#pragma once

#include "discovery/CDiscover.h"
#include "values/CES.h"

#include <string>
#include <vector>

/// A client and the request it returned (null when it could not start).
struct CQuery {
    CDiscover* client;
    void* request;
};

class CJSDiscoveryContainer {
public:
    /// A container for the type (and, for a resolve, the instance) whose answers go to the
    /// receiver's methods.
    CJSDiscoveryContainer(CEStr type, CEStr service, const CES::Val& receiver);
    /// Stops every request and frees the clients.
    ~CJSDiscoveryContainer();
    CJSDiscoveryContainer(const CJSDiscoveryContainer&) = delete;
    CJSDiscoveryContainer& operator=(const CJSDiscoveryContainer&) = delete;

    /// Browses once for each domain: "local." on the local link, any other non-empty name by
    /// unicast, which always asks in the resolver's default domain. Empty names are skipped.
    void startQueries(const std::vector<std::string>& domains);
    /// Resolves the instance: on the local link for "local.", else by unicast (also for a null
    /// domain). A multicast resolve gives up after 60 seconds.
    void startResolve(const char* domain);
    /// Stops every request; the container stays. Safe twice.
    void stop();

    const std::vector<CQuery>& getQueries() const { return queries; }

    /// What the result object's finaliser calls: deletes the container, or, while one of its
    /// handlers runs a script (which may collect the result object), stops it and deletes it
    /// once the handler is done.
    static void release(CJSDiscoveryContainer* container);

private:
    /// Marks a handler running for its scope; the last one out deletes a released container.
    class Busy {
    public:
        explicit Busy(CJSDiscoveryContainer* container) : m_container(container) {
            ++m_container->busy;
        }
        ~Busy();
        Busy(const Busy&) = delete;
        Busy& operator=(const Busy&) = delete;

    private:
        CJSDiscoveryContainer* m_container;
    };

    static unsigned short QueryHandler(CAgg& added, CAgg& removed, void* container);
    static unsigned short ResolveHandler(_EStrRec* name, CAgg& result, void* container);
    /// Calls the receiver's method with the values; what it throws goes to the host.
    void tell(const char* method, std::vector<CES::Val>& arguments);

    std::vector<CQuery> queries;
    CEStr type;
    CEStr service;
    CES::Val receiver;
    int busy = 0;
    bool released = false;
};

/// The seconds a multicast resolve of a script waits for an answer.
inline constexpr unsigned long kScriptResolveTimeout = 60;
