#include "discovery/CJSDiscoveryContainer.h"

#include "values/CESCalls.h"
#include "values/CESConvert.h"

#include <utility>

namespace {

constexpr const char* kLocalDomain = "local.";

} // namespace

CJSDiscoveryContainer::CJSDiscoveryContainer(CEStr type, CEStr service, const CES::Val& receiver)
    : type(std::move(type)), service(std::move(service)), receiver(receiver) {}

CJSDiscoveryContainer::~CJSDiscoveryContainer() {
    stop();
    for (CQuery& query : queries)
        delete query.client;
}

void CJSDiscoveryContainer::startQueries(const std::vector<std::string>& domains) {
    std::string typeText = EStrToUTF8(type);
    for (const std::string& domain : domains) {
        if (domain.empty())
            continue;
        // The domain only picks the scope.
        CDiscover* client =
            CreateDiscoveryClient(domain == kLocalDomain ? kDSScopeLocal : kDSScopeUnicast);
        void* request = client->startQuery(typeText.c_str(), QueryHandler, this);
        queries.push_back({client, request});
    }
}

void CJSDiscoveryContainer::startResolve(const char* domain) {
    bool local = domain && std::string(domain) == kLocalDomain;
    CDiscover* client = CreateDiscoveryClient(local ? kDSScopeLocal : kDSScopeUnicast);
    std::string typeText = EStrToUTF8(type);
    void* request = client->startResolve(typeText.c_str(), domain, service.get(),
                                         kScriptResolveTimeout, ResolveHandler, this);
    queries.push_back({client, request});
}

void CJSDiscoveryContainer::stop() {
    for (CQuery& query : queries) {
        if (query.request) {
            void* request = query.request;
            query.request = nullptr;
            query.client->stop(request);
        }
    }
}

void CJSDiscoveryContainer::release(CJSDiscoveryContainer* container) {
    if (!container)
        return;
    if (container->busy == 0) {
        delete container;
        return;
    }
    container->released = true;
    container->stop();
}

CJSDiscoveryContainer::Busy::~Busy() {
    if (--m_container->busy == 0 && m_container->released)
        delete m_container;
}

void CJSDiscoveryContainer::tell(const char* method, std::vector<CES::Val>& arguments) {
    CES::Context context(receiver);
    std::vector<ESVal> slots;
    for (CES::Val& argument : arguments)
        slots.push_back(argument.slot());
    CES::Val answer(context);
    // A method the object lacks is skipped. One that throws is told to the host as an uncaught
    // exception, and the discovery goes on.
    if (!ESObjectSafeCall(receiver.object(), method, static_cast<int32_t>(slots.size()),
                          slots.data(), answer.slot()) &&
        context.hasException())
        context.reportExceptionToHost();
}

unsigned short CJSDiscoveryContainer::QueryHandler(CAgg& added, CAgg& removed, void* container) {
    auto* self = static_cast<CJSDiscoveryContainer*>(container);
    Busy busy(self);
    CES::Context context(self->receiver);
    // The consumer calls every period; the script hears only of changes.
    if (added.getType() != CAgg::eVoid) {
        std::vector<CES::Val> arguments{CES::Val(context)};
        CAggToESVal(arguments[0].slot(), added);
        self->tell("addServices", arguments);
    }
    if (removed.getType() != CAgg::eVoid) {
        std::vector<CES::Val> arguments{CES::Val(context)};
        CAggToESVal(arguments[0].slot(), removed);
        self->tell("removeServices", arguments);
    }
    return 0;
}

unsigned short CJSDiscoveryContainer::ResolveHandler(_EStrRec* name, CAgg& result,
                                                     void* container) {
    auto* self = static_cast<CJSDiscoveryContainer*>(container);
    Busy busy(self);
    CES::Context context(self->receiver);
    std::vector<CES::Val> arguments{CES::Val(context), CES::Val(context)};
    CAgg nameValue(name);
    CAggToESVal(arguments[0].slot(), nameValue);
    CAggToESVal(arguments[1].slot(), result);
    self->tell("resolve", arguments);
    return 0;
}
