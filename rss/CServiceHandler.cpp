#include "rss/CServiceHandler.h"

#include "frame/HostTables.h"
#include "frame/PluginEntry.h"
#include "rss/CRSSManager.h"

#include <string>

namespace {

// The discovery entries of the exported table "SOAP", as any other plug-in calls them.
constexpr int32_t kResolveServiceEntry = 11;
constexpr int32_t kStopServiceRequestEntry = 13;
// The scopes of a lookup: the local link, or unicast DNS in a domain.
constexpr int32_t kLocalScope = 0;
constexpr int32_t kUnicastScope = 1;
// What a discovery callback is told: an answer came, or the lookup gave up.
constexpr int32_t kAnswered = 0;

using ServiceCallback = void (*)(int32_t op, RSSServiceInfo* info, void* clientData);
using ResolveServiceProc = void* (*)(const char* type, const char* domain, const char* name,
                                     int32_t scope, ServiceCallback callback, void* clientData);
using StopServiceRequestProc = void (*)(void* request);

/// An entry of the exported table "SOAP", or null.
QsCallback discoveryEntry(int32_t index) {
    if (!gCoreHFT)
        return nullptr;
    HFT table = gCoreHFT->extensionMgrGetHFT(gCoreHFT->atomFromString("SOAP"), kExportedHFTVersion);
    auto* entries = dynamic_cast<IEntryTable*>(table);
    return entries ? entries->getEntry(index) : nullptr;
}

} // namespace

CServiceHandler::CServiceHandler(CRSSManager* manager, const _EStrRec* url)
    : CAsyncHandler(manager), url(url) {}

CServiceHandler::~CServiceHandler() {
    stop();
}

void CServiceHandler::detach() {
    m_manager = nullptr;
    delete this;
}

void CServiceHandler::stop() {
    if (!m_request)
        return;
    void* request = m_request;
    m_request = nullptr;
    if (auto stopRequest =
            reinterpret_cast<StopServiceRequestProc>(discoveryEntry(kStopServiceRequestEntry)))
        stopRequest(request);
}

bool CServiceHandler::split(const char* url, std::string& name, std::string& type,
                            std::string& domain) {
    const std::string scheme = "service://";
    if (!url || std::string(url).compare(0, scheme.size(), scheme) != 0)
        return false;
    std::string rest(url + scheme.size());
    size_t last = rest.rfind(':');
    if (last == std::string::npos || last == 0)
        return false;
    size_t before = rest.rfind(':', last - 1);
    if (before == std::string::npos)
        return false;
    domain = rest.substr(last + 1);
    type = rest.substr(before + 1, last - before - 1);
    name = rest.substr(0, before);
    if (domain.empty())
        domain = "local.";
    else if (domain.back() != '.')
        domain += '.';
    return !name.empty() && !type.empty();
}

bool CServiceHandler::begin() {
    std::string name, type, domain;
    if (!split(url.c_str(), name, type, domain))
        return false;
    auto resolveService =
        reinterpret_cast<ResolveServiceProc>(discoveryEntry(kResolveServiceEntry));
    if (!resolveService)
        return false;
    int32_t scope = domain == "local." ? kLocalScope : kUnicastScope;
    // Discovery answers later, from the main loop, never from within this call.
    m_request = resolveService(type.c_str(), domain.c_str(), name.c_str(), scope, &Resolve, this);
    return m_request != nullptr;
}

void CServiceHandler::resolve(const RSSServiceInfo& info) {
    std::string text = "http://";
    text += info.target ? info.target : "";
    text += ":" + std::to_string(info.port);
    text += info.path ? info.path : "";
    resolved = EStrFromUTF8(text);
    if (m_manager)
        m_manager->notifyDidComplete(this);
}

void CServiceHandler::Resolve(int32_t op, RSSServiceInfo* info, void* clientData) {
    auto* self = static_cast<CServiceHandler*>(clientData);
    if (op == kAnswered && info)
        self->resolve(*info);
    else if (self->m_manager)
        self->m_manager->notifyDidComplete(self); // no result: the queue moves on
    delete self;
}
