#include "discovery/CDNS.h"

#include "discovery/CDNSRequest.h"

#include <string>

// Browse.

CDNSQuery::CDNSQuery(const char* type, DSQueryCallback callback, void* clientData)
    : callback(callback), clientData(clientData) {
    handle = AsyncDNSBrowserCreate(type, nullptr, Producer, this);
    registerConsumer();
}

CDNSQuery::~CDNSQuery() {
    stop();
}

void CDNSQuery::stop() {
    // Once released, the request's thread calls the producer no more.
    AsyncDNSRelease(handle);
    handle = nullptr;
    unregisterConsumer();
}

void CDNSQuery::Producer(const char* name, const char* type, const char* domain, void* clientData) {
    // The resolver knows no removals.
    static_cast<CDNSQuery*>(clientData)
        ->push({{"name", name}, {"type", type}, {"domain", domain}, {"operation", "add"}});
}

void CDNSQuery::Consumer() {
    DSConsumeBrowseRecords(takeAll(), callback, clientData);
}

// Resolve.

CDNSResolve::CDNSResolve(const char* type, const char* domain, _EStrRec* name,
                         DSResolveCallback callback, void* clientData)
    : callback(callback), clientData(clientData), name(name) {
    std::string instance = EStrToUTF8(name);
    handle = AsyncDNSResolverResolve(instance.c_str(), type, domain, Producer, this);
    registerConsumer();
}

CDNSResolve::~CDNSResolve() {
    stop();
}

void CDNSResolve::stop() {
    AsyncDNSRelease(handle);
    handle = nullptr;
    unregisterConsumer();
}

void CDNSResolve::Producer(const char* name, const char* target, unsigned short port,
                           const char* text, void* clientData) {
    DSRecord record;
    DSAddTextRecordPairs(text, record);
    record["name"] = name;
    record["target"] = target;
    record["port"] = std::to_string(port);
    static_cast<CDNSResolve*>(clientData)->push(std::move(record));
}

void CDNSResolve::Consumer() {
    std::deque<DSRecord> records = takeAll();
    if (records.empty())
        return;
    // The last answer to arrive; the request keeps running. The callback is the last use of
    // the request: the client may stop it from there.
    CAgg result = DSRecordToCAgg(records.back());
    CEStr instance = name;
    callback(instance.get(), result, clientData);
}

// The client.

void* CDNS::startQuery(const char* type, DSQueryCallback callback, void* clientData) {
    return new CDNSQuery(type, callback, clientData);
}

void* CDNS::startResolve(const char* type, const char* domain, _EStrRec* name, unsigned long,
                         DSResolveCallback callback, void* clientData) {
    return new CDNSResolve(type, domain, name, callback, clientData);
}

void CDNS::stop(void* request) {
    delete static_cast<CSynchronizedResource*>(request);
}
