#include "discovery/CDSRequest.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

/// The text under the key of a map, as UTF-8; empty when missing.
std::string textAt(CAgg& map, const char* key) {
    if (map.getType() != CAgg::eMap || !map.has(key))
        return "";
    CAgg value = map[key];
    return EStrToUTF8(value.toEStr());
}

} // namespace

CDSRequest::CDSRequest(const char* type, const char* domain, const char* name,
                       DSRequestCallback callback, void* clientData)
    : type(type ? type : ""), domain(domain ? domain : ""), name(name ? name : ""),
      callback(callback), clientData(clientData) {}

CDSRequest::~CDSRequest() {
    stop();
    for (Query& query : queries)
        delete query.client;
}

std::vector<DSRequestScope> CDSRequest::scopesOf(DSRequestScope scope) const {
    if (scope == kDSScopeBoth)
        return {kDSScopeLocal, kDSScopeUnicast};
    return {scope};
}

void CDSRequest::startQueries(DSRequestScope scope) {
    for (DSRequestScope one : scopesOf(scope)) {
        CDiscover* client = CreateDiscoveryClient(one);
        queries.push_back({client, client->startQuery(type.c_str(), handleQuery, this)});
    }
}

void CDSRequest::startResolves(DSRequestScope scope) {
    CEStr instance = EStrFromUTF8(name);
    for (DSRequestScope one : scopesOf(scope)) {
        CDiscover* client = CreateDiscoveryClient(one);
        const char* where = domain.empty() ? nullptr : domain.c_str();
        queries.push_back(
            {client, client->startResolve(type.c_str(), where, instance.get(), 60, Resolve, this)});
    }
}

void CDSRequest::stop() {
    for (Query& query : queries) {
        if (query.request) {
            void* request = query.request;
            query.request = nullptr;
            query.client->stop(request);
        }
    }
}

void CDSRequest::release(CDSRequest* request) {
    if (!request)
        return;
    if (request->busy == 0) {
        delete request;
        return;
    }
    request->released = true;
    request->stop();
}

CDSRequest::Busy::~Busy() {
    if (--m_request->busy == 0 && m_request->released)
        delete m_request;
}

unsigned short CDSRequest::handleQuery(CAgg& added, CAgg& removed, void* data) {
    auto* self = static_cast<CDSRequest*>(data);
    Busy busy(self);
    // Added first, then removed; one call per instance, until the client stops the request.
    for (auto [batch, op] : {std::pair{&added, kDSOpAdded}, std::pair{&removed, kDSOpRemoved}}) {
        if (batch->getType() != CAgg::eMap)
            continue;
        for (auto& [key, entry] : batch->toMap()) {
            if (self->released)
                return 0;
            std::string domain = textAt(entry, "domain");
            std::string name = textAt(entry, "name");
            std::string type = textAt(entry, "type");
            _t_DSQueryInfo info{name.c_str(), type.c_str(), domain.c_str(), "", 0, "", &entry};
            self->callback(op, &info, self->clientData);
        }
    }
    return 0;
}

unsigned short CDSRequest::Resolve(_EStrRec* name, CAgg& result, void* data) {
    auto* self = static_cast<CDSRequest*>(data);
    Busy busy(self);
    std::string instance = EStrToUTF8(name);
    std::string domain = textAt(result, "domain");
    std::string target = textAt(result, "target");
    std::string port = textAt(result, "port");
    std::string path = textAt(result, "path");
    _t_DSQueryInfo info{instance.c_str(),
                        self->type.c_str(),
                        domain.c_str(),
                        target.c_str(),
                        static_cast<unsigned short>(std::strtoul(port.c_str(), nullptr, 10)),
                        path.c_str(),
                        &result};
    // An empty result is a resolve that gave up.
    DSRequestOp op = result.isCollectionTypeEmpty() ? kDSOpRemoved : kDSOpAdded;
    self->callback(op, &info, self->clientData);
    return 0;
}

CDSRequest* QueryServices(const char* type, DSRequestScope scope, DSRequestCallback callback,
                          void* clientData) {
    if (scope < kDSScopeLocal || scope > kDSScopeBoth || !callback)
        return nullptr;
    auto* request = new CDSRequest(type, nullptr, nullptr, callback, clientData);
    request->startQueries(scope);
    return request;
}

CDSRequest* ResolveService(const char* type, const char* domain, const char* name,
                           DSRequestScope scope, DSRequestCallback callback, void* clientData) {
    if (scope < kDSScopeLocal || scope > kDSScopeBoth || !callback)
        return nullptr;
    auto* request = new CDSRequest(type, domain, name, callback, clientData);
    request->startResolves(scope);
    return request;
}

long GetServiceInfo(const _t_DSQueryInfo* info, const char* key, char* buffer, long size) {
    if (!info || !info->record || !key)
        return -1;
    CAgg record = *info->record;
    if (record.getType() != CAgg::eMap || !record.has(key))
        return -1;
    std::string text = textAt(record, key);
    if (buffer && size > 0) {
        size_t count = std::min(text.size(), static_cast<size_t>(size - 1));
        std::memcpy(buffer, text.data(), count);
        buffer[count] = '\0';
    }
    return static_cast<long>(text.size());
}

void StopServiceRequest(CDSRequest* request) {
    CDSRequest::release(request);
}
