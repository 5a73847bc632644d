// One DNS service query against the system's resolver, on a thread of its own.
//
// A browse asks for the PTR records of "_" + type + "._tcp." + domain + "." and hands each name
// to its callback; a resolve asks for any record of an instance name and hands each SRV record,
// with the owner's TXT strings, to its callback. The callbacks run on the request's thread: the
// client must be thread-safe. A request is one query; nothing marks its end.
#pragma once

#include <pthread.h>

#include <memory>
#include <string>

/// Called once for each service instance found.
using DNSBrowseCallback = void (*)(const char* name, const char* type, const char* domain,
                                   void* clientData);
/// Called once for each SRV record of the instance, with the owner's joined TXT strings.
using DNSResolveCallback = void (*)(const char* name, const char* target, unsigned short port,
                                    const char* text, void* clientData);

class CDNSRequest {
public:
    /// Starts a browse for the type in the domain; an empty domain is the resolver's default.
    CDNSRequest(const char* type, const char* domain, DNSBrowseCallback callback, void* clientData);
    /// Starts a resolve of the instance name, which is asked for exactly as given.
    CDNSRequest(const char* name, const char* type, const char* domain, DNSResolveCallback callback,
                void* clientData);
    /// Cancels the query. Once it returns no callback runs, and none will.
    virtual ~CDNSRequest();
    CDNSRequest(const CDNSRequest&) = delete;
    CDNSRequest& operator=(const CDNSRequest&) = delete;

    /// What the worker thread reads; it owns a share, so that the request may go first.
    struct State;

private:
    void start();

    std::shared_ptr<State> m_state;
    pthread_t thread{};
    bool m_started = false;
};

/// A new browse request, as void*; domain may be null.
void* AsyncDNSBrowserCreate(const char* type, const char* domain, DNSBrowseCallback callback,
                            void* clientData);
/// A new resolve request, as void*; domain may be null.
void* AsyncDNSResolverResolve(const char* name, const char* type, const char* domain,
                              DNSResolveCallback callback, void* clientData);
/// Deletes a request; null is ignored.
void AsyncDNSRelease(void* request);
