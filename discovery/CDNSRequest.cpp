#include "discovery/CDNSRequest.h"

#include "discovery/DNSReply.h"

#include <arpa/nameser.h>
#include <netinet/in.h>
#include <resolv.h>

#include <mutex>
#include <vector>

struct CDNSRequest::State {
    DNSBrowseCallback browseCallback = nullptr;
    DNSResolveCallback resolveCallback = nullptr;
    void* clientData = nullptr;
    std::string queryName;
    std::string domain;
    std::string serviceType;
    int32_t mode = 0; // 0 browse, 1 resolve
    // Set by the destructor under deliveryMutex, which the worker holds while it delivers.
    bool cancelled = false;
    std::mutex deliveryMutex;
};

namespace {

constexpr int32_t kModeBrowse = 0;
constexpr int32_t kModeResolve = 1;

/// Lets the thread be cancelled while it lives: around the query, nowhere else. Once acted on,
/// cancellation unwinds the thread with cancellation disabled, so the resolver's state is closed
/// on the way out without a second one.
class CancellationPoint {
public:
    CancellationPoint() { pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, &m_previous); }
    ~CancellationPoint() { pthread_setcancelstate(m_previous, nullptr); }

private:
    int m_previous = 0;
};

/// The thread's own resolver state, closed when the thread ends or is cancelled.
class ResolverState {
public:
    ResolverState() { m_ok = res_ninit(&m_state) == 0; }
    ~ResolverState() { res_nclose(&m_state); }
    bool ok() const { return m_ok; }
    res_state get() { return &m_state; }

private:
    struct __res_state m_state {};
    bool m_ok = false;
};

// The resolver's query, called through a pointer of a type that may throw: the C library
// declares it as never throwing, yet cancellation unwinds out of it. A volatile pointer keeps
// the compiler from calling it directly.
using QueryProc = int (*)(res_state, const char*, int, int, unsigned char*, int);
QueryProc volatile gQuery = res_nquery;

void deliver(CDNSRequest::State& state, const DNSReplyRecords& records) {
    std::lock_guard<std::mutex> lock(state.deliveryMutex);
    if (state.cancelled)
        return;
    if (state.mode == kModeBrowse) {
        for (const std::string& name : records.names) {
            state.browseCallback(name.c_str(), state.serviceType.c_str(), state.domain.c_str(),
                                 state.clientData);
        }
        return;
    }
    // Only SRV records drive the delivery: a TXT record without one gives nothing.
    for (const auto& [owner, service] : records.services) {
        auto text = records.textRecords.find(owner);
        state.resolveCallback(owner.c_str(), service.target.c_str(), service.port,
                              text == records.textRecords.end() ? "" : text->second.c_str(),
                              state.clientData);
    }
}

void executeThread(CDNSRequest::State& state) {
    std::vector<uint8_t> reply(kDNSReplyBufferSize, 0);
    int length = -1;
    {
        ResolverState resolver;
        if (resolver.ok()) {
            if (state.mode == kModeBrowse) {
                if (state.domain.empty())
                    state.domain = resolver.get()->defdname;
                state.queryName += "." + state.domain + ".";
            }
            int type = state.mode == kModeBrowse ? kDNSTypePTR : kDNSTypeAny;
            CancellationPoint cancellable;
            length = gQuery(resolver.get(), state.queryName.c_str(), C_IN, type, reply.data(),
                            static_cast<int>(reply.size()));
        }
    }
    if (length < 1)
        return;
    DNSReplyRecords records;
    if (!DNSReplyParse(reply.data(), static_cast<size_t>(length), records))
        return;
    deliver(state, records);
}

struct ThreadStart {
    std::shared_ptr<CDNSRequest::State> state;
};

void* RunThread(void* data) {
    // Cancellation acts only inside the resolver (see CancellationPoint).
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    std::unique_ptr<ThreadStart> start(static_cast<ThreadStart*>(data));
    executeThread(*start->state);
    return nullptr;
}

std::string orEmpty(const char* text) {
    return text ? text : "";
}

} // namespace

CDNSRequest::CDNSRequest(const char* type, const char* domain, DNSBrowseCallback callback,
                         void* clientData)
    : m_state(std::make_shared<State>()) {
    m_state->browseCallback = callback;
    m_state->clientData = clientData;
    m_state->queryName = "_" + orEmpty(type) + "._tcp";
    m_state->serviceType = orEmpty(type);
    m_state->domain = orEmpty(domain);
    m_state->mode = kModeBrowse;
    start();
}

CDNSRequest::CDNSRequest(const char* name, const char* type, const char* domain,
                         DNSResolveCallback callback, void* clientData)
    : m_state(std::make_shared<State>()) {
    m_state->resolveCallback = callback;
    m_state->clientData = clientData;
    m_state->queryName = orEmpty(name);
    m_state->serviceType = orEmpty(type);
    m_state->domain = orEmpty(domain);
    m_state->mode = kModeResolve;
    start();
}

void CDNSRequest::start() {
    auto* start = new ThreadStart{m_state};
    m_started = pthread_create(&thread, nullptr, RunThread, start) == 0;
    if (!m_started)
        delete start;
}

CDNSRequest::~CDNSRequest() {
    {
        std::lock_guard<std::mutex> lock(m_state->deliveryMutex);
        m_state->cancelled = true;
    }
    if (!m_started)
        return;
    // The worker is neither waited for nor needed any more: a query inside the resolver ends at
    // its next cancellation point, one past it finds the request cancelled and delivers nothing.
    pthread_cancel(thread);
    pthread_detach(thread);
}

void* AsyncDNSBrowserCreate(const char* type, const char* domain, DNSBrowseCallback callback,
                            void* clientData) {
    return new CDNSRequest(type, domain, callback, clientData);
}

void* AsyncDNSResolverResolve(const char* name, const char* type, const char* domain,
                              DNSResolveCallback callback, void* clientData) {
    return new CDNSRequest(name, type, domain, callback, clientData);
}

void AsyncDNSRelease(void* request) {
    delete static_cast<CDNSRequest*>(request);
}
