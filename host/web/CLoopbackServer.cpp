#include "host/web/CLoopbackServer.h"

#include <libsoup/soup.h>

#include <exception>

namespace {

HTTPRequest readRequest(SoupServerMessage* message) {
    HTTPRequest request;
    request.method = soup_server_message_get_method(message);
    GUri* uri = soup_server_message_get_uri(message);
    request.path = g_uri_get_path(uri);
    if (const char* query = g_uri_get_query(uri))
        request.query = query;
    SoupMessageHeadersIter iter;
    soup_message_headers_iter_init(&iter, soup_server_message_get_request_headers(message));
    const char* name = nullptr;
    const char* value = nullptr;
    while (soup_message_headers_iter_next(&iter, &name, &value))
        request.headers.emplace_back(name, value);
    if (const char* remote = soup_server_message_get_remote_host(message))
        request.remoteAddress = remote;
    return request;
}

void readBody(SoupServerMessage* message, HTTPRequest& request) {
    GBytes* body = soup_message_body_flatten(soup_server_message_get_request_body(message));
    gsize size = 0;
    const char* bytes = static_cast<const char*>(g_bytes_get_data(body, &size));
    if (bytes)
        request.body.assign(bytes, size);
    g_bytes_unref(body);
}

void sendReply(SoupServerMessage* message, const HTTPReply& reply) {
    soup_server_message_set_status(message, static_cast<guint>(reply.status), nullptr);
    SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
    for (const auto& [name, value] : reply.headers)
        soup_message_headers_replace(headers, name.c_str(), value.c_str());
    // A 304 and a 204 carry no body at all.
    if (reply.status == 304 || reply.status == 204)
        return;
    soup_server_message_set_response(message, reply.contentType.c_str(), SOUP_MEMORY_COPY,
                                     reply.body.data(), reply.body.size());
}

void serve(SoupServer*, SoupServerMessage* message, const char*, GHashTable*, gpointer data) {
    auto* handler = static_cast<CLoopbackServer::Handler*>(data);
    HTTPReply reply = TextReply(500, "Internal Server Error\n");
    try {
        HTTPRequest request = readRequest(message);
        readBody(message, request);
        reply = (*handler)(request);
    } catch (const std::exception&) {
        // The service failed; the client gets the 500 made above.
    }
    sendReply(message, reply);
}

} // namespace

CLoopbackServer::CLoopbackServer(Handler handler, Setup setup, Gate gate)
    : m_handler(std::move(handler)), m_setup(std::move(setup)), m_gate(std::move(gate)) {}

// Before a body is read: a body too large, or a length that is no number, is refused at once,
// and so is what the gate refuses.
void CLoopbackServer::checkHeaders(SoupServer*, SoupServerMessage* message, const char*,
                                   GHashTable*, gpointer self) {
    SoupMessageHeaders* headers = soup_server_message_get_request_headers(message);
    if (const char* length = soup_message_headers_get_one(headers, "Content-Length")) {
        char* end = nullptr;
        guint64 count = g_ascii_strtoull(length, &end, 10);
        if (end == length || *end) {
            sendReply(message, TextReply(400, "Bad Request\n"));
            return;
        }
        if (count > kMaxRequestBytes) {
            sendReply(message, TextReply(413, "Payload Too Large\n"));
            return;
        }
    }
    const Gate& gate = static_cast<CLoopbackServer*>(self)->m_gate;
    if (!gate)
        return;
    try {
        if (std::optional<HTTPReply> refusal = gate(readRequest(message)))
            sendReply(message, *refusal);
    } catch (const std::exception&) {
        sendReply(message, TextReply(500, "Internal Server Error\n"));
    }
}

CLoopbackServer::~CLoopbackServer() {
    stop();
}

bool CLoopbackServer::start(std::string& error, uint16_t port, GMainContext* context) {
    if (context) {
        g_main_context_push_thread_default(context);
        bool listening = listen(error, port);
        g_main_context_pop_thread_default(context);
        return listening;
    }
    m_ownContext = g_main_context_new();
    m_ownLoop = g_main_loop_new(m_ownContext, FALSE);
    m_thread = std::thread([this, port] { runOwnLoop(port); });
    std::unique_lock<std::mutex> lock(m_mutex);
    m_started.wait(lock, [this] { return m_ready; });
    if (m_startError.empty())
        return true;
    error = m_startError;
    lock.unlock();
    stop();
    return false;
}

void CLoopbackServer::guardPath(const char* path) {
    if (m_server)
        soup_server_add_early_handler(m_server, path, checkHeaders, this, nullptr);
}

bool CLoopbackServer::listen(std::string& error, uint16_t port) {
    m_server = SOUP_SERVER(g_object_new(SOUP_TYPE_SERVER, "server-header", "vellum-host", nullptr));
    soup_server_add_early_handler(m_server, nullptr, checkHeaders, this, nullptr);
    if (m_setup)
        m_setup(m_server);
    soup_server_add_handler(m_server, nullptr, serve, &m_handler, nullptr);
    GError* failure = nullptr;
    if (!soup_server_listen_local(m_server, port, SOUP_SERVER_LISTEN_IPV4_ONLY, &failure)) {
        error = std::string("cannot listen on 127.0.0.1: ") +
                (failure ? failure->message : "unknown reason");
        g_clear_error(&failure);
        g_clear_object(&m_server);
        return false;
    }
    GSList* uris = soup_server_get_uris(m_server);
    m_port = uris ? static_cast<uint16_t>(g_uri_get_port(static_cast<GUri*>(uris->data))) : 0;
    g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
    return true;
}

void CLoopbackServer::runOwnLoop(uint16_t port) {
    g_main_context_push_thread_default(m_ownContext);
    std::string error;
    bool listening = listen(error, port);
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_ready = true;
        m_startError = listening ? "" : error;
    }
    m_started.notify_one();
    if (listening)
        g_main_loop_run(m_ownLoop);
    if (m_server) {
        soup_server_disconnect(m_server);
        g_clear_object(&m_server);
    }
    // What the closed connections left behind runs down before the context goes.
    while (g_main_context_iteration(m_ownContext, FALSE)) {
    }
    g_main_context_pop_thread_default(m_ownContext);
}

void CLoopbackServer::stop() {
    if (m_thread.joinable()) {
        // Through the context, so that a quit that comes before the loop runs is not lost.
        g_main_context_invoke(
            m_ownContext,
            [](gpointer loop) {
                g_main_loop_quit(static_cast<GMainLoop*>(loop));
                return G_SOURCE_REMOVE;
            },
            m_ownLoop);
        m_thread.join();
    }
    if (m_server) {
        soup_server_disconnect(m_server);
        g_clear_object(&m_server);
    }
    if (m_ownLoop)
        g_main_loop_unref(m_ownLoop);
    if (m_ownContext)
        g_main_context_unref(m_ownContext);
    m_ownLoop = nullptr;
    m_ownContext = nullptr;
}

std::string CLoopbackServer::base() const {
    return "http://127.0.0.1:" + std::to_string(m_port);
}
