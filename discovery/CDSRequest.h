// Discovery for other plug-ins: the functions QueryServices, ResolveService, GetServiceInfo and
// StopServiceRequest of the exported table "SOAP".
//
// A request runs one client per scope (both for kDSScopeBoth) and calls its callback on the
// viewer's thread, once per instance that came or went, and once per resolve answer.
#pragma once

#include "discovery/CDiscover.h"

#include <cstdint>
#include <string>
#include <vector>

/// What a callback tells.
enum DSRequestOp : int32_t {
    /// An instance appeared, or a resolve answered.
    kDSOpAdded = 0,
    /// An instance went, or a resolve gave an empty result: a multicast resolve that gave up.
    kDSOpRemoved = 1,
};

/// One instance, or one resolve answer. The texts are UTF-8 and live for the callback only;
/// what a browse does not know is empty.
struct _t_DSQueryInfo {
    const char* name;
    const char* type;
    const char* domain;
    const char* target;
    unsigned short port;
    const char* path;
    /// The whole record, for GetServiceInfo.
    const CAgg* record;
};

using DSRequestCallback = void (*)(DSRequestOp op, _t_DSQueryInfo* info, void* clientData);

class CDSRequest {
public:
    CDSRequest(const char* type, const char* domain, const char* name, DSRequestCallback callback,
               void* clientData);
    /// Stops every request and frees the clients.
    ~CDSRequest();
    CDSRequest(const CDSRequest&) = delete;
    CDSRequest& operator=(const CDSRequest&) = delete;

    void startQueries(DSRequestScope scope);
    void startResolves(DSRequestScope scope);
    /// Stops every request; safe twice.
    void stop();
    /// Deletes the request, or, from within its own callback, stops it and deletes it once the
    /// callback is done.
    static void release(CDSRequest* request);

private:
    /// Marks a handler running for its scope; the last one out deletes a released request.
    class Busy {
    public:
        explicit Busy(CDSRequest* request) : m_request(request) { ++m_request->busy; }
        ~Busy();
        Busy(const Busy&) = delete;
        Busy& operator=(const Busy&) = delete;

    private:
        CDSRequest* m_request;
    };

    struct Query {
        CDiscover* client;
        void* request;
    };
    static unsigned short handleQuery(CAgg& added, CAgg& removed, void* data);
    static unsigned short Resolve(_EStrRec* name, CAgg& result, void* data);
    std::vector<DSRequestScope> scopesOf(DSRequestScope scope) const;

    std::string type;
    std::string domain;
    std::string name;
    DSRequestCallback callback;
    void* clientData;
    std::vector<Query> queries;
    int busy = 0;
    bool released = false;
};

/// Entry 10: browses for the type in the scope; null for an unknown scope.
CDSRequest* QueryServices(const char* type, DSRequestScope scope, DSRequestCallback callback,
                          void* clientData);
/// Entry 11: resolves the instance in the scope; the multicast side gives up after 60 seconds.
CDSRequest* ResolveService(const char* type, const char* domain, const char* name,
                           DSRequestScope scope, DSRequestCallback callback, void* clientData);
/// Entry 12: the text of the key ("name", "target", "port", a TXT key...) of the answer the
/// callback was given, copied into buffer (size bytes with the NUL). The text's full length, or
/// -1 when the answer has no such key.
long GetServiceInfo(const _t_DSQueryInfo* info, const char* key, char* buffer, long size);
/// Entry 13: stops every query of the request and deletes it; null is ignored.
void StopServiceRequest(CDSRequest* request);
