// Unicast discovery: the client and its requests, over CDNSRequest.
#pragma once

#include "discovery/CSynchronizedResource.h"

/// A browse in the resolver's default domain: every name found is an "add".
class CDNSQuery final : public CSynchronizedResource {
public:
    /// Starts the request's thread and registers the consumer.
    CDNSQuery(const char* type, DSQueryCallback callback, void* clientData);
    ~CDNSQuery() override;
    void stop() override;
    void Consumer() override;

private:
    static void Producer(const char* name, const char* type, const char* domain, void* clientData);

    void* handle = nullptr;
    DSQueryCallback callback;
    void* clientData;
};

/// A resolve of an instance's full name. Without an answer it stays quiet until stopped.
class CDNSResolve final : public CSynchronizedResource {
public:
    CDNSResolve(const char* type, const char* domain, _EStrRec* name, DSResolveCallback callback,
                void* clientData);
    ~CDNSResolve() override;
    void stop() override;
    void Consumer() override;

private:
    static void Producer(const char* name, const char* target, unsigned short port,
                         const char* text, void* clientData);

    void* handle = nullptr;
    DSResolveCallback callback;
    void* clientData;
    CEStr name;
};

/// Unicast discovery through the system's resolver. A browse always asks in the resolver's
/// default domain.
class CDNS final : public CDiscover {
public:
    void* startQuery(const char* type, DSQueryCallback callback, void* clientData) override;
    void* startResolve(const char* type, const char* domain, _EStrRec* name,
                       unsigned long timeoutSeconds, DSResolveCallback callback,
                       void* clientData) override;
    void stop(void* request) override;
};
