#include "host/mdns/CAvahiMulticastDNS.h"

#include "frame/host/HostTableIds.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/error.h>
#include <avahi-common/strlst.h>
#include <avahi-common/thread-watch.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstring>
#include <string>

// What a handle points to: the browser or resolver, and the client's reply procedure.
struct _s_DNSServiceDiscoveryRec {
    AvahiServiceBrowser* browser = nullptr;
    AvahiServiceResolver* resolver = nullptr;
    DNSServiceBrowserReply browseReply = nullptr;
    DNSServiceResolverReply resolveReply = nullptr;
    void* context = nullptr;
};

namespace {

/// Names as the classic calls give them: with a final dot.
std::string withDot(const char* text) {
    std::string out = text ? text : "";
    if (out.empty() || out.back() != '.')
        out += '.';
    return out;
}

void browseCallback(AvahiServiceBrowser*, AvahiIfIndex, AvahiProtocol, AvahiBrowserEvent event,
                    const char* name, const char* type, const char* domain, AvahiLookupResultFlags,
                    void* data) {
    auto* ref = static_cast<DNSServiceDiscoveryRef>(data);
    int32_t resultType;
    if (event == AVAHI_BROWSER_NEW)
        resultType = kDNSServiceBrowserReplyAddInstance;
    else if (event == AVAHI_BROWSER_REMOVE)
        resultType = kDNSServiceBrowserReplyRemoveInstance;
    else
        return;
    // One instance is seen on each interface and protocol; the client's maps merge them.
    ref->browseReply(resultType, name, withDot(type).c_str(), withDot(domain).c_str(), 0,
                     ref->context);
}

/// The TXT record's strings, in the record's order, separated by 0x01.
std::string joinedText(AvahiStringList* txt) {
    std::string out;
    for (AvahiStringList* item = txt; item; item = item->next) {
        if (item != txt)
            out += '\x01';
        out.append(reinterpret_cast<const char*>(item->text), item->size);
    }
    return out;
}

void resolveCallback(AvahiServiceResolver*, AvahiIfIndex, AvahiProtocol, AvahiResolverEvent event,
                     const char*, const char*, const char*, const char*,
                     const AvahiAddress* address, uint16_t port, AvahiStringList* txt,
                     AvahiLookupResultFlags, void* data) {
    if (event != AVAHI_RESOLVER_FOUND || !address)
        return;
    auto* ref = static_cast<DNSServiceDiscoveryRef>(data);
    sockaddr_in interfaceAddress{};
    interfaceAddress.sin_family = AF_INET;
    sockaddr_in v4{};
    sockaddr_in6 v6{};
    const sockaddr* service = nullptr;
    if (address->proto == AVAHI_PROTO_INET) {
        v4.sin_family = AF_INET;
        v4.sin_port = htons(port);
        v4.sin_addr.s_addr = address->data.ipv4.address;
        service = reinterpret_cast<const sockaddr*>(&v4);
    } else {
        v6.sin6_family = AF_INET6;
        v6.sin6_port = htons(port);
        std::memcpy(&v6.sin6_addr, address->data.ipv6.address, sizeof v6.sin6_addr);
        service = reinterpret_cast<const sockaddr*>(&v6);
    }
    std::string text = joinedText(txt);
    ref->resolveReply(reinterpret_cast<const sockaddr*>(&interfaceAddress), service, text.c_str(),
                      0, ref->context);
}

void clientCallback(AvahiClient*, AvahiClientState, void*) {}

} // namespace

CAvahiMulticastDNS::~CAvahiMulticastDNS() {
    DNSServicesFinalize();
}

int32_t CAvahiMulticastDNS::hftVersion() const {
    return static_cast<int32_t>(kMulticastDNSTable.version);
}

int32_t CAvahiMulticastDNS::DNSServicesInitialize(uint32_t, uint32_t) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_client)
        return 0;
    m_poll = avahi_threaded_poll_new();
    if (!m_poll)
        return AVAHI_ERR_NO_MEMORY;
    int error = 0;
    m_client = avahi_client_new(avahi_threaded_poll_get(m_poll), static_cast<AvahiClientFlags>(0),
                                clientCallback, nullptr, &error);
    if (!m_client || avahi_threaded_poll_start(m_poll) < 0) {
        if (m_client)
            avahi_client_free(m_client);
        m_client = nullptr;
        avahi_threaded_poll_free(m_poll);
        m_poll = nullptr;
        return error ? error : AVAHI_ERR_FAILURE;
    }
    return 0;
}

void CAvahiMulticastDNS::DNSServicesFinalize() {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_poll)
        return;
    avahi_threaded_poll_stop(m_poll);
    if (m_client)
        avahi_client_free(m_client);
    m_client = nullptr;
    avahi_threaded_poll_free(m_poll);
    m_poll = nullptr;
}

DNSServiceDiscoveryRef CAvahiMulticastDNS::DNSServiceBrowserCreate(const char* regtype,
                                                                   const char* domain,
                                                                   DNSServiceBrowserReply callBack,
                                                                   void* context) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_client || !regtype || !callBack)
        return nullptr;
    auto* ref = new _s_DNSServiceDiscoveryRec;
    ref->browseReply = callBack;
    ref->context = context;
    avahi_threaded_poll_lock(m_poll);
    ref->browser =
        avahi_service_browser_new(m_client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, regtype, domain,
                                  static_cast<AvahiLookupFlags>(0), browseCallback, ref);
    avahi_threaded_poll_unlock(m_poll);
    if (ref->browser)
        return ref;
    delete ref;
    return nullptr;
}

DNSServiceDiscoveryRef
CAvahiMulticastDNS::DNSServiceResolverResolve(const char* name, const char* regtype,
                                              const char* domain, DNSServiceResolverReply callBack,
                                              void* context) {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_client || !name || !regtype || !callBack)
        return nullptr;
    auto* ref = new _s_DNSServiceDiscoveryRec;
    ref->resolveReply = callBack;
    ref->context = context;
    avahi_threaded_poll_lock(m_poll);
    ref->resolver = avahi_service_resolver_new(
        m_client, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, name, regtype, domain, AVAHI_PROTO_INET,
        static_cast<AvahiLookupFlags>(0), resolveCallback, ref);
    avahi_threaded_poll_unlock(m_poll);
    if (ref->resolver)
        return ref;
    delete ref;
    return nullptr;
}

void CAvahiMulticastDNS::DNSServiceDiscoveryDeallocate(DNSServiceDiscoveryRef ref) {
    if (!ref)
        return;
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_poll)
        avahi_threaded_poll_lock(m_poll);
    // Freed with the client when the core went first.
    if (m_client && ref->browser)
        avahi_service_browser_free(ref->browser);
    if (m_client && ref->resolver)
        avahi_service_resolver_free(ref->resolver);
    if (m_poll)
        avahi_threaded_poll_unlock(m_poll);
    delete ref;
}
