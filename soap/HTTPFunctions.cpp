#include "soap/HTTPFunctions.h"

#include "frame/HostTables.h"
#include "frame/PluginEntry.h"
#include "frame/ZString.h"
#include "values/QsStm.h"

#include <cstring>
#include <memory>
#include <string>

#include <strings.h>

namespace {

/// The identity of script-driven SOAP traffic.
HTTPClientIds soapClient() {
    return {gEFSClientIDs[0], 0};
}

/// What grrSimpleHTTPConsumer needs between the request and the caller's callback.
struct GrrContext {
    GrrProc callback;
    void* userData;
    std::string url;
    bool ownedByConsumer;
};

unsigned short grrSimpleHTTPConsumer(void*, void* data, long length, void* userData, long status) {
    auto* context = static_cast<GrrContext*>(userData);
    if (length > 0)
        return context->callback(static_cast<const char*>(data), length, context->userData, status);
    context->callback(nullptr, 0, context->userData, status);
    if (context->ownedByConsumer)
        delete context;
    return 0;
}

bool hasScheme(const char* url, const char* scheme) {
    size_t length = std::strlen(scheme);
    return strncasecmp(url, scheme, length) == 0;
}

} // namespace

long simpleGet(const HTTPClientIds& ids, const char* url, HTTPConsumerProc consumer, void* userData,
               const CAgg* headers) {
    CHTTPRequest request(ids, url);
    return request.open(consumer, userData, headers);
}

bool simpleAsyncGet(const HTTPClientIds& ids, const char* url, HTTPConsumerProc consumer,
                    void* userData, const CAgg* headers) {
    auto request = std::make_unique<CHTTPRequest>(ids, url);
    request->initAsync();
    request->deleteWhenDone();
    if (!request->open(consumer, userData, headers))
        return false;
    request.release(); // it deletes itself after its consumer's final call
    return true;
}

long simplePost(const char* url, QsStm stream, HTTPConsumerProc consumer, void* userData,
                const char* action) {
    CHTTPRequest request(soapClient(), url);
    request.setSOAPAction(action);
    return request.post("text/xml", stream, consumer, userData);
}

bool simpleAsyncPost(const char* url, QsStm stream, HTTPConsumerProc consumer, void* userData,
                     const char* action) {
    auto request = std::make_unique<CHTTPRequest>(soapClient(), url);
    request->setSOAPAction(action);
    request->initAsync();
    request->deleteWhenDone();
    if (!request->post("text/xml", stream, consumer, userData))
        return false;
    request.release(); // it deletes itself after its consumer's final call
    return true;
}

long grrRequest(const char* url, QsStm stream, GrrProc callback, void* userData, bool async,
                const char* action) {
    if (!url || !callback || !(hasScheme(url, "http://") || hasScheme(url, "https://"))) {
        QsStmClose(stream);
        return -1;
    }
    if (!async) {
        GrrContext context{callback, userData, url, false};
        return simplePost(context.url.c_str(), stream, grrSimpleHTTPConsumer, &context, action);
    }
    auto context = std::make_unique<GrrContext>(GrrContext{callback, userData, url, true});
    if (!simpleAsyncPost(context->url.c_str(), stream, grrSimpleHTTPConsumer, context.get(),
                         action))
        return 0;
    context.release(); // the consumer frees it at the end
    return 1;
}

std::optional<uint16_t> processHTTPError(long status, long error) {
    if (status <= 0)
        return MapEFSError(error);
    if (status >= 300 && status <= 399)
        return IDS_SERVICE_MOVED;
    // A 403 reads as a demand for credentials on this road.
    if (status == 401 || status == 403 || status == 407)
        return IDS_UNAUTHORIZED;
    if (status == 404)
        return IDS_SERVICE_MISSING;
    if ((status >= 200 && status <= 299) || status >= 500)
        return std::nullopt;
    return IDS_NETWORK_GENERAL;
}

uint16_t MapEFSError(long error) {
    switch (error) {
    case kNetErrSSL:
        return IDS_NETWORK_SSL;
    case kNetErrInvalidResponse:
        return IDS_NETWORK_INVALID;
    case kNetErrNoConnection:
        return IDS_NETWORK_NO_CONNECT;
    case kNetErrProxy:
        return IDS_NETWORK_PROXY;
    case kNetErrNotFound:
        return IDS_NETWORK_NOT_FOUND;
    case kNetErrTimeout:
        return IDS_NETWORK_TIMEOUT;
    case kNetErrUnauthorized:
        return IDS_UNAUTHORIZED;
    case kNetErrAborted:
        return IDS_NETWORK_ABORTED;
    default:
        return IDS_NETWORK_GENERAL;
    }
}

void ExecuteURL(const char* url) {
    if (!url || !*url || !gVellViewUserInterfaceHFT)
        return;
    gVellViewUserInterfaceHFT->openURL(url, hasScheme(url, "vellum:") ? nullptr : "_blank");
}
