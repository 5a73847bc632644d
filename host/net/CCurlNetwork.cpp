#include "host/net/CCurlNetwork.h"

#include "host/loop/CMainLoop.h"
#include "host/net/AcceptLanguage.h"
#include "host/net/ISO8601Date.h"

#include "frame/host/IVellSupport.h"

#include <glib-unix.h>

#include <algorithm>
#include <cstdint>

// What the layer keeps of an open request besides the request itself.
struct CCurlNetwork::Entry {
    NetRequest handle = nullptr;
    std::unique_ptr<CCurlRequest> request;
    CURLM* syncMulti = nullptr; // the synchronous road's own multi handle
    bool attached = false;      // the easy handle is in a multi handle
    guint headerWait = 0;       // the asynchronous road's header time-out
    guint dispatchSource = 0;   // the idle call that hands the reply over
    bool busy = false;          // a call of the layer is under way on this request
    bool again = false;         // something happened while it was
    bool closed = false;
    bool finalSent = false;
    bool working = false; // holds the main loop's work count
    int stopWaker = 0;    // wakes the synchronous road's poll when the loop is stopped
};

// A socket curl asked to be watched.
struct CCurlNetwork::SocketWatch {
    guint source = 0;
};

namespace {

// The data of a GLib source that must find its request again: handles are never reused, so a
// request closed in the meantime is simply not found.
struct Ticket {
    CCurlNetwork* network;
    NetRequest handle;
};

void deleteTicket(gpointer ticket) {
    delete static_cast<Ticket*>(ticket);
}

int64_t nowMs() {
    return g_get_monotonic_time() / 1000;
}

} // namespace

CCurlNetwork::CCurlNetwork(CMainLoop& loop) : m_loop(loop) {}

CCurlNetwork::~CCurlNetwork() {
    shutdown();
}

bool CCurlNetwork::initialize() {
    if (m_initialized)
        return true;
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        return false;
    m_multi = curl_multi_init();
    if (!m_multi) {
        curl_global_cleanup();
        return false;
    }
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, &CCurlNetwork::onSocket);
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, &CCurlNetwork::onTimer);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERDATA, this);
    m_initialized = true;
    return true;
}

void CCurlNetwork::shutdown() {
    if (!m_initialized)
        return;
    while (!m_requests.empty())
        destroy(m_requests.begin()->first);
    m_clients.clear();
    curl_multi_cleanup(m_multi);
    m_multi = nullptr;
    for (SocketWatch* watch : m_watches) {
        if (watch->source)
            g_source_remove(watch->source);
        delete watch;
    }
    m_watches.clear();
    if (m_timer)
        g_source_remove(m_timer);
    m_timer = 0;
    curl_global_cleanup();
    m_initialized = false;
}

// Clients.

NetClientID CCurlNetwork::openClient(const char* userAgent, const char* const* acceptTypes,
                                     int32_t flags) {
    if (!m_initialized)
        return kNoNetClient;
    CurlClientSettings client;
    client.userAgent = userAgent ? userAgent : "";
    for (; acceptTypes && *acceptTypes; ++acceptTypes)
        client.acceptTypes.emplace_back(*acceptTypes);
    client.flags = flags;
    NetClientID id = m_nextClient++;
    m_clients.emplace(id, std::move(client));
    return id;
}

void CCurlNetwork::closeClient(NetClientID client) {
    m_clients.erase(client);
}

void CCurlNetwork::setAuthentication(NetClientID client, int32_t which, int32_t mode,
                                     NetAuthProc proc, void* data) {
    auto found = m_clients.find(client);
    if (found == m_clients.end() || which < 0 || which > 1)
        return;
    found->second.auth[which] = {mode, proc, data};
}

void CCurlNetwork::setClientOption(NetClientID client, int32_t value) {
    auto found = m_clients.find(client);
    if (found != m_clients.end())
        found->second.option = value;
}

void CCurlNetwork::setTimeouts(NetClientID client, const NetTimeoutRec& timeouts) {
    auto found = m_clients.find(client);
    if (found == m_clients.end())
        return;
    CurlClientSettings& settings = found->second;
    settings.connectSeconds = timeouts.count;
    if (timeouts.pair) {
        settings.stallMs = timeouts.pair[0];
        settings.totalMs = timeouts.pair[1];
    }
    settings.headerWaitMs = timeouts.value;
}

void CCurlNetwork::setWaitBounds(int32_t connectSeconds, int32_t idleSeconds) {
    m_waitConnectSeconds = std::max(connectSeconds, 0);
    m_waitIdleSeconds = std::max(idleSeconds, 0);
}

void CCurlNetwork::readWaitBounds(IPreferences& preferences) {
    setWaitBounds(
        preferences.getInt("Network", "SyncConnectSeconds").value_or(kDefaultConnectSeconds),
        preferences.getInt("Network", "SyncIdleSeconds").value_or(kDefaultIdleSeconds));
}

// Requests.

CCurlNetwork::Entry* CCurlNetwork::find(NetRequest request) {
    auto found = m_requests.find(request);
    if (found == m_requests.end() || found->second->closed)
        return nullptr;
    return found->second.get();
}

NetRequest CCurlNetwork::open(const char* url, int32_t mode, NetAsyncProc consumer,
                              void* userData) {
    if (!m_initialized || !url)
        return nullptr;
    auto request = std::make_unique<CCurlRequest>(url, mode, consumer, userData);
    if (!request->valid())
        return nullptr;
    // Handles count up and are never dereferenced: a stale one finds nothing.
    auto handle = reinterpret_cast<NetRequest>(static_cast<uintptr_t>(m_nextToken++));
    if (m_trace)
        request->setTrace(m_trace);
    auto entry = std::make_unique<Entry>();
    entry->handle = handle;
    entry->request = std::move(request);
    Entry& added = *m_requests.emplace(handle, std::move(entry)).first->second;
    if (consumer) {
        added.request->setOnEvent([this, handle] {
            if (Entry* found = find(handle))
                scheduleDispatch(*found);
        });
        added.working = true;
        m_loop.beginWork();
        scheduleDispatch(added);
    }
    return handle;
}

NetRequest CCurlNetwork::openURL(const char* url, int32_t mode) {
    return open(url, mode, nullptr, nullptr);
}

NetRequest CCurlNetwork::openURLAsync(const char* url, int32_t mode, NetAsyncProc consumer,
                                      void* userData) {
    if (!consumer)
        return nullptr;
    return open(url, mode, consumer, userData);
}

bool CCurlNetwork::setTimeoutsAndFlags(NetRequest request, NetClientID client, int32_t flags) {
    Entry* entry = find(request);
    auto found = m_clients.find(client);
    if (!entry || entry->request->started() || found == m_clients.end())
        return false;
    entry->request->setClient(found->second, flags);
    return true;
}

bool CCurlNetwork::setAuthenticationData(NetRequest request, void* data) {
    Entry* entry = find(request);
    return entry && entry->request->setAuthenticationData(data);
}

bool CCurlNetwork::setHeader(NetRequest request, const char* name, const char* value) {
    Entry* entry = find(request);
    return entry && entry->request->addHeader(name, value);
}

bool CCurlNetwork::post(NetRequest request, NetPostWriteProc write, NetPostCloseProc close,
                        void* data) {
    Entry* entry = find(request);
    return entry && entry->request->setBody(write, close, data);
}

void CCurlNetwork::destroy(NetRequest handle) {
    auto found = m_requests.find(handle);
    if (found == m_requests.end())
        return;
    Entry& entry = *found->second;
    if (entry.syncMulti) {
        m_loop.stopRequest().removeWaker(entry.stopWaker);
        detachSync(entry);
        curl_multi_cleanup(entry.syncMulti);
        entry.syncMulti = nullptr;
    }
    detachAsync(entry);
    endAsync(entry);
    // No source of ours may outlive the request: the main loop's context outlives the layer.
    if (entry.dispatchSource)
        g_source_remove(entry.dispatchSource);
    m_requests.erase(found);
}

void CCurlNetwork::close(NetRequest request) {
    Entry* entry = find(request);
    if (!entry)
        return;
    entry->closed = true;
    if (entry->dispatchSource)
        g_source_remove(entry->dispatchSource);
    entry->dispatchSource = 0;
    if (entry->busy) {
        // The call under way lets go of it; only its transfer stops now.
        detachSync(*entry);
        detachAsync(*entry);
        return;
    }
    destroy(request);
}

long CCurlNetwork::status(NetRequest request) {
    Entry* entry = find(request);
    if (!entry)
        return kNetErrGeneral;
    CCurlRequest& r = *entry->request;
    if (r.httpStatus() > 0)
        return r.httpStatus();
    return r.done() ? r.error() : 0;
}

std::optional<std::string> CCurlNetwork::responseHeader(NetRequest request, const char* name) {
    Entry* entry = find(request);
    if (!entry)
        return std::nullopt;
    return entry->request->header(name);
}

// The synchronous road.

void CCurlNetwork::detachSync(Entry& entry) {
    if (!entry.attached || !entry.syncMulti)
        return;
    curl_multi_remove_handle(entry.syncMulti, entry.request->easy());
    entry.attached = false;
}

void CCurlNetwork::driveSync(Entry& entry, int timeoutMs) {
    CCurlRequest& r = *entry.request;
    if (r.pending() == 0 && r.takePaused())
        curl_easy_pause(r.easy(), CURLPAUSE_CONT);
    curl_multi_poll(entry.syncMulti, nullptr, 0, std::max(timeoutMs, 0), nullptr);
    if (m_loop.stopRequest().raised()) {
        // What waits for the request is being stopped: the transfer ends here.
        detachSync(entry);
        r.fail(kNetErrAborted);
        return;
    }
    int running = 0;
    curl_multi_perform(entry.syncMulti, &running);
    int queued = 0;
    while (CURLMsg* message = curl_multi_info_read(entry.syncMulti, &queued)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        detachSync(entry);
        r.finish(message->data.result);
    }
}

bool CCurlNetwork::sendAndWait(NetRequest request) {
    Entry* entry = find(request);
    if (!entry || entry->busy || entry->request->isAsync() || entry->request->started())
        return false;
    CCurlRequest& r = *entry->request;
    r.setWaitBounds(m_waitConnectSeconds, m_waitIdleSeconds);
    if (!r.start())
        return false;
    entry->syncMulti = curl_multi_init();
    if (!entry->syncMulti) {
        r.fail(kNetErrGeneral);
        return false;
    }
    CURLM* multi = entry->syncMulti;
    entry->stopWaker = m_loop.stopRequest().addWaker([multi] { curl_multi_wakeup(multi); });
    entry->busy = true;
    for (;;) {
        curl_multi_add_handle(entry->syncMulti, r.easy());
        entry->attached = true;
        int32_t wait = r.client().headerWaitMs;
        int64_t deadline = nowMs() + wait;
        while (!r.headersFinal()) {
            int64_t left = deadline - nowMs();
            if (wait > 0 && left <= 0) {
                detachSync(*entry);
                r.fail(kNetErrTimeout);
                break;
            }
            driveSync(*entry, static_cast<int>(wait > 0 ? std::min<int64_t>(left, 1000) : 1000));
        }
        if (!r.wantsAuthentication() || !r.authenticate() || entry->closed)
            break;
        detachSync(*entry);
        r.restart();
    }
    entry->busy = false;
    if (entry->closed) {
        destroy(request);
        return false;
    }
    return r.httpStatus() > 0;
}

long CCurlNetwork::read(NetRequest request, char* buffer, long count) {
    Entry* entry = find(request);
    if (!entry || !buffer || count <= 0 || entry->request->isAsync() ||
        !entry->request->started() || entry->busy)
        return kNetErrGeneral;
    CCurlRequest& r = *entry->request;
    while (r.pending() == 0) {
        if (r.done())
            return r.error();
        if (!entry->attached)
            return 0;
        driveSync(*entry, 1000);
    }
    return static_cast<long>(r.take(buffer, static_cast<size_t>(count)));
}

// The asynchronous road.

int CCurlNetwork::onSocket(CURL*, curl_socket_t socket, int what, void* self, void* watch) {
    auto* network = static_cast<CCurlNetwork*>(self);
    auto* socketWatch = static_cast<SocketWatch*>(watch);
    if (socketWatch && socketWatch->source) {
        g_source_remove(socketWatch->source);
        socketWatch->source = 0;
    }
    if (what == CURL_POLL_REMOVE) {
        network->m_watches.erase(socketWatch);
        delete socketWatch;
        curl_multi_assign(network->m_multi, socket, nullptr);
        return 0;
    }
    if (!socketWatch) {
        socketWatch = new SocketWatch;
        network->m_watches.insert(socketWatch);
        curl_multi_assign(network->m_multi, socket, socketWatch);
    }
    int condition = G_IO_ERR | G_IO_HUP;
    if (what & CURL_POLL_IN)
        condition |= G_IO_IN;
    if (what & CURL_POLL_OUT)
        condition |= G_IO_OUT;
    socketWatch->source = g_unix_fd_add(socket, static_cast<GIOCondition>(condition),
                                        &CCurlNetwork::onSocketReady, network);
    return 0;
}

gboolean CCurlNetwork::onSocketReady(gint fd, GIOCondition condition, gpointer self) {
    int mask = 0;
    if (condition & G_IO_IN)
        mask |= CURL_CSELECT_IN;
    if (condition & G_IO_OUT)
        mask |= CURL_CSELECT_OUT;
    if (condition & (G_IO_ERR | G_IO_HUP))
        mask |= CURL_CSELECT_ERR;
    // curl may drop this very watch while it acts; the source is then gone already.
    static_cast<CCurlNetwork*>(self)->socketAction(fd, mask);
    return G_SOURCE_CONTINUE;
}

int CCurlNetwork::onTimer(CURLM*, long timeoutMs, void* self) {
    auto* network = static_cast<CCurlNetwork*>(self);
    if (network->m_timer)
        g_source_remove(network->m_timer);
    network->m_timer = 0;
    if (timeoutMs >= 0)
        network->m_timer =
            g_timeout_add(static_cast<guint>(timeoutMs), &CCurlNetwork::onTimerDue, network);
    return 0;
}

gboolean CCurlNetwork::onTimerDue(gpointer self) {
    auto* network = static_cast<CCurlNetwork*>(self);
    network->m_timer = 0;
    network->socketAction(CURL_SOCKET_TIMEOUT, 0);
    return G_SOURCE_REMOVE;
}

void CCurlNetwork::socketAction(curl_socket_t socket, int mask) {
    int running = 0;
    curl_multi_socket_action(m_multi, socket, mask, &running);
    collectFinished();
}

void CCurlNetwork::collectFinished() {
    int queued = 0;
    while (CURLMsg* message = curl_multi_info_read(m_multi, &queued)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        CURL* easy = message->easy_handle;
        CURLcode result = message->data.result;
        char* privateData = nullptr;
        curl_easy_getinfo(easy, CURLINFO_PRIVATE, &privateData);
        for (auto& [handle, entry] : m_requests) {
            if (entry->request.get() != reinterpret_cast<CCurlRequest*>(privateData))
                continue;
            detachAsync(*entry);
            entry->request->finish(result);
            break;
        }
    }
}

void CCurlNetwork::attachAsync(Entry& entry) {
    curl_multi_add_handle(m_multi, entry.request->easy());
    entry.attached = true;
    int32_t wait = entry.request->client().headerWaitMs;
    if (wait <= 0)
        return;
    entry.headerWait = g_timeout_add_full(G_PRIORITY_DEFAULT, static_cast<guint>(wait),
                                          &CCurlNetwork::onHeaderWaitOver,
                                          new Ticket{this, entry.handle}, deleteTicket);
}

void CCurlNetwork::detachAsync(Entry& entry) {
    if (entry.headerWait)
        g_source_remove(entry.headerWait);
    entry.headerWait = 0;
    if (!entry.attached || entry.syncMulti)
        return;
    curl_multi_remove_handle(m_multi, entry.request->easy());
    entry.attached = false;
}

void CCurlNetwork::endAsync(Entry& entry) {
    if (!entry.working)
        return;
    entry.working = false;
    m_loop.endWork();
}

gboolean CCurlNetwork::onHeaderWaitOver(gpointer data) {
    auto* ticket = static_cast<Ticket*>(data);
    Entry* entry = ticket->network->find(ticket->handle);
    if (!entry)
        return G_SOURCE_REMOVE;
    entry->headerWait = 0; // this source ends as it returns
    if (!entry->request->headersFinal()) {
        ticket->network->detachAsync(*entry);
        entry->request->fail(kNetErrTimeout);
    }
    return G_SOURCE_REMOVE;
}

void CCurlNetwork::scheduleDispatch(Entry& entry) {
    if (entry.dispatchSource)
        return;
    entry.dispatchSource = g_idle_add_full(G_PRIORITY_DEFAULT, &CCurlNetwork::onDispatchDue,
                                           new Ticket{this, entry.handle}, deleteTicket);
}

gboolean CCurlNetwork::onDispatchDue(gpointer data) {
    auto* ticket = static_cast<Ticket*>(data);
    ticket->network->dispatch(ticket->handle);
    return G_SOURCE_REMOVE;
}

void CCurlNetwork::dispatch(NetRequest handle) {
    Entry* entry = find(handle);
    if (!entry)
        return;
    entry->dispatchSource = 0; // the source ends as it returns
    if (entry->busy) {
        entry->again = true; // a consumer that runs the loop itself gets no call inside its own
        return;
    }
    entry->busy = true;
    CCurlRequest& r = *entry->request;
    for (;;) {
        entry->again = false;
        if (!r.started() && r.start())
            attachAsync(*entry);
        if (r.wantsAuthentication()) {
            bool retry = r.authenticate();
            if (entry->closed)
                break;
            if (retry) {
                detachAsync(*entry);
                r.restart();
                attachAsync(*entry);
            }
        }
        if (r.headersFinal() && !r.wantsAuthentication()) {
            char piece[16384];
            while (!entry->closed && r.pending() > 0) {
                size_t length = r.take(piece, sizeof piece);
                if (!r.consume(handle, piece, static_cast<long>(length)) && !entry->closed) {
                    detachAsync(*entry);
                    r.fail(0);
                    while (r.pending() > 0)
                        r.take(piece, sizeof piece);
                }
            }
            if (entry->closed)
                break;
            if (r.pending() == 0 && r.takePaused())
                curl_easy_pause(r.easy(), CURLPAUSE_CONT);
            if (r.done() && r.pending() == 0 && !entry->finalSent) {
                entry->finalSent = true;
                r.consume(handle, nullptr, 0);
                if (entry->closed)
                    break;
                endAsync(*entry);
            }
        }
        if (!entry->again || entry->closed)
            break;
    }
    entry->busy = false;
    if (entry->closed)
        destroy(handle);
}

// The rest of the table.

bool CCurlNetwork::parseDate(const char* text, QsTimeRec& out) {
    return parseISO8601Date(text, out);
}

std::optional<std::string> CCurlNetwork::acceptLanguage() {
    return acceptLanguageFromEnvironment();
}
