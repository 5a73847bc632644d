// The lookup of a "service://" feed: its name, type and domain are resolved through discovery
// (the exported table "SOAP"), and the answer, an "http://" URL, goes to the queue's front,
// which is then fetched as a plain feed.
#pragma once

#include "rss/CAsyncHandler.h"
#include "values/EStr.h"

#include <cstdint>
#include <string>

/// An answer of discovery, as its exported functions hand it to a callback. The texts are UTF-8
/// and live for the call only.
struct RSSServiceInfo {
    const char* name;
    const char* type;
    const char* domain;
    const char* target;
    unsigned short port;
    const char* path;
    const void* record;
};

class CServiceHandler final : public CAsyncHandler {
public:
    CServiceHandler(CRSSManager* manager, const _EStrRec* url);
    /// Stops the lookup if it still runs.
    ~CServiceHandler() override;

    int32_t getType() override { return kServiceType; }
    /// The store is going: the lookup stops and the handler deletes itself.
    void detach() override;

    /// Splits the URL, "service://" name ":" type ":" domain, read from the right, and asks
    /// discovery. False when nothing was asked: a part is empty, or discovery is not there.
    bool begin();
    /// The answer: resolved becomes "http://" host ":" port and path, and the queue hears.
    void resolve(const RSSServiceInfo& info);
    /// The callback of discovery, with the handler as client data: an answer (op 0) is
    /// resolved; a lookup that gave up (op 1) reaches the queue with no result. Either way the
    /// lookup ends and the handler is deleted.
    static void Resolve(int32_t op, RSSServiceInfo* info, void* clientData);

    /// The parts of a "service://" URL: false when one is empty. An empty domain is "local.",
    /// any other gets a closing "." if it has none.
    static bool split(const char* url, std::string& name, std::string& type, std::string& domain);

    const CEStr& getResolved() const { return resolved; }

private:
    /// Stops the lookup; safe twice, and from within its own callback.
    void stop();

    CEStr url;
    CEStr resolved;
    void* m_request = nullptr;
};
