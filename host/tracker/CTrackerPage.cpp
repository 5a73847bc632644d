#include "host/tracker/CTrackerPage.h"

#include "frame/host/VxIconBundle.h"
#include "host/tracker/ContextLinks.h"
#include "host/tracker/TrackerAssets.h"
#include "host/view/JSONText.h"
#include "host/view/ViewState.h"

#include <gdk-pixbuf/gdk-pixbuf.h>
#include <json-glib/json-glib.h>
#include <libsoup/soup.h>
#include <sys/random.h>

#include <algorithm>
#include <cstdio>

namespace {

constexpr const char* kJSON = "application/json; charset=utf-8";

// What an HTML view's page may do in its frame: show itself and its images, nothing else.
constexpr const char* kContentPolicy =
    "sandbox; default-src 'none'; img-src * data:; style-src * 'unsafe-inline'; font-src *; "
    "media-src *; form-action 'none'; base-uri 'none'";

std::string randomToken() {
    unsigned char bytes[16] = {};
    if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes)) {
        // getrandom does not fail for 16 bytes once the pool is ready; GLib's generator,
        // seeded from the system, stands in if it ever does.
        for (unsigned char& byte : bytes)
            byte = static_cast<unsigned char>(g_random_int_range(0, 256));
    }
    std::string token;
    for (unsigned char byte : bytes) {
        char hex[3];
        std::snprintf(hex, sizeof hex, "%02x", byte);
        token += hex;
    }
    return token;
}

// Compares without leaving the length of the common start in the time taken.
bool sameSecret(const std::string& a, const std::string& b) {
    if (a.size() != b.size())
        return false;
    unsigned char difference = 0;
    for (size_t i = 0; i < a.size(); ++i)
        difference |= static_cast<unsigned char>(a[i] ^ b[i]);
    return difference == 0;
}

HTTPReply forbidden() {
    return TextReply(403, "Forbidden\n");
}

// A number after a prefix of the path ("/icon/12" -> 12); 0 when there is none.
uint32_t numberAfter(const std::string& path, const std::string& prefix) {
    if (path.rfind(prefix, 0) != 0)
        return 0;
    std::string digits = path.substr(prefix.size());
    if (digits.empty() || digits.size() > 9 ||
        digits.find_first_not_of("0123456789") != std::string::npos)
        return 0;
    return static_cast<uint32_t>(std::stoul(digits));
}

// The pixels of an icon encoded as PNG; empty when the icon is no bundle or cannot be read.
std::string iconPixels(VxIcon icon, int32_t& width, int32_t& height) {
    _t_VxIconBundleRec6* bundle = VxIconGetBundle(icon);
    width = height = 0;
    if (!bundle || !bundle->handler->measureProc || !bundle->handler->openStmProc)
        return "";
    bundle->handler->measureProc(bundle, &width, &height);
    if (width <= 0 || height <= 0 || width > 1024 || height > 1024)
        return "";
    QsStm stream = bundle->handler->openStmProc(bundle, 0);
    if (!stream)
        return "";
    std::string rgba;
    char block[8192];
    for (long got; (got = stream->read(block, sizeof block)) > 0;)
        rgba.append(block, static_cast<size_t>(got));
    delete stream;
    return rgba.size() == static_cast<size_t>(width) * static_cast<size_t>(height) * 4 ? rgba : "";
}

std::string encodePNG(const std::string& rgba, int32_t width, int32_t height) {
    GdkPixbuf* pixbuf =
        gdk_pixbuf_new_from_data(reinterpret_cast<const guchar*>(rgba.data()), GDK_COLORSPACE_RGB,
                                 TRUE, 8, width, height, width * 4, nullptr, nullptr);
    gchar* buffer = nullptr;
    gsize size = 0;
    std::string png;
    if (pixbuf && gdk_pixbuf_save_to_buffer(pixbuf, &buffer, &size, "png", nullptr, nullptr))
        png.assign(buffer, size);
    g_free(buffer);
    if (pixbuf)
        g_object_unref(pixbuf);
    return png;
}

// A number member; 0 when it is missing or no number.
int64_t member(JsonObject* object, const char* name) {
    if (!object || !json_object_has_member(object, name))
        return 0;
    JsonNode* node = json_object_get_member(object, name);
    if (!JSON_NODE_HOLDS_VALUE(node))
        return 0;
    GType type = json_node_get_value_type(node);
    if (type == G_TYPE_INT64)
        return json_node_get_int(node);
    if (type == G_TYPE_DOUBLE)
        return static_cast<int64_t>(json_node_get_double(node));
    return 0;
}

std::string textMember(JsonObject* object, const char* name) {
    if (!object || !json_object_has_member(object, name))
        return "";
    JsonNode* node = json_object_get_member(object, name);
    const char* text = JSON_NODE_HOLDS_VALUE(node) ? json_node_get_string(node) : nullptr;
    return text ? text : "";
}

bool flagMember(JsonObject* object, const char* name) {
    if (!object || !json_object_has_member(object, name))
        return false;
    JsonNode* node = json_object_get_member(object, name);
    return JSON_NODE_HOLDS_VALUE(node) && json_node_get_value_type(node) == G_TYPE_BOOLEAN &&
           json_node_get_boolean(node);
}

std::string outcome(bool ok) {
    return ok ? "{\"ok\":true}" : "{\"ok\":false}";
}

} // namespace

/// A dialog shown on the page, waiting for its answer.
struct CTrackerPage::Dialog {
    uint32_t id = 0;
    bool question = false;
    std::string text;
    std::string title;
    std::vector<std::string> buttons;
    std::string fallback;
    bool password = false;
    bool beep = false;
    // The answer: a button, or a text (none: cancelled).
    bool answered = false;
    int32_t button = 0;
    std::optional<std::string> value;
};

CTrackerPage::CTrackerPage(CHostViewLayer& layer, GMainContext* context)
    : m_layer(layer), m_context(context),
      m_server([this](const HTTPRequest& request) { return serve(request); },
               [this](SoupServer* server) {
                   m_server.guardPath("/socket");
                   soup_server_add_websocket_handler(
                       server, "/socket", nullptr, nullptr,
                       [](SoupServer*, SoupServerMessage*, const char*,
                          SoupWebsocketConnection* socket,
                          gpointer self) { static_cast<CTrackerPage*>(self)->addSocket(socket); },
                       this, nullptr);
               },
               [this](const HTTPRequest& request) { return refuse(request); }),
      m_token(randomToken()) {
    m_layer.setChangeListener([this] { scheduleUpdate(); });
    m_layer.setModalPresenter([this] { return !m_sockets.empty(); });
}

CTrackerPage::~CTrackerPage() {
    stop();
    m_layer.setChangeListener(nullptr);
    m_layer.setModalPresenter(nullptr);
}

bool CTrackerPage::start(std::string& error, uint16_t port) {
    return m_server.start(error, port, m_context);
}

void CTrackerPage::stop() {
    for (SoupWebsocketConnection* socket : std::vector<SoupWebsocketConnection*>(m_sockets))
        dropSocket(socket);
    if (m_update) {
        g_source_destroy(m_update);
        g_source_unref(m_update);
        m_update = nullptr;
    }
    m_server.stop();
}

std::string CTrackerPage::address() const {
    return m_server.base() + "/?token=" + m_token;
}

std::optional<HTTPReply> CTrackerPage::refuse(const HTTPRequest& request) const {
    if (request.remoteAddress != "127.0.0.1")
        return forbidden();
    // A page of another site that reaches the port by a name of its own (DNS rebinding) names
    // another host, or another origin.
    std::string port = std::to_string(m_server.port());
    std::optional<std::string> host = request.header("Host");
    if (!host || (*host != "127.0.0.1:" + port && *host != "localhost:" + port))
        return forbidden();
    std::optional<std::string> origin = request.header("Origin");
    if (origin && *origin != "http://127.0.0.1:" + port && *origin != "http://localhost:" + port &&
        *origin != "null")
        return forbidden();
    std::optional<std::string> token = request.parameter("token");
    if (!token || !sameSecret(*token, m_token))
        return forbidden();
    return std::nullopt;
}

HTTPReply CTrackerPage::serve(const HTTPRequest& request) {
    const std::string& path = request.path;
    bool get = request.method == "GET" || request.method == "HEAD";
    if (path == "/action") {
        if (request.method != "POST")
            return TextReply(405, "Actions are posted.\n");
        return {200, kJSON, act(request.body), {{"Cache-Control", "no-store"}}};
    }
    if (!get)
        return TextReply(405, "Method Not Allowed\n");
    if (path == "/" || path == "/tracker.js" || path == "/tracker.css") {
        std::string name = path == "/" ? "tracker.html" : path.substr(1);
        std::string type = path == "/"            ? "text/html; charset=utf-8"
                           : name.ends_with("js") ? "text/javascript; charset=utf-8"
                                                  : "text/css; charset=utf-8";
        std::string port = std::to_string(m_server.port());
        // The page names its script and style with the token, which every request shows.
        std::string body(trackerAsset(name));
        for (size_t at; (at = body.find("{token}")) != std::string::npos;)
            body.replace(at, 7, m_token);
        return {200,
                type,
                body,
                {{"Content-Security-Policy",
                  "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
                  "frame-src 'self'; connect-src 'self' ws://127.0.0.1:" +
                      port + " ws://localhost:" + port + "; base-uri 'none'; form-action 'none'"},
                 {"X-Content-Type-Options", "nosniff"},
                 {"Referrer-Policy", "no-referrer"},
                 {"Cache-Control", "no-store"}}};
    }
    if (path == "/state")
        return {200, kJSON, state(), {{"Cache-Control", "no-store"}}};
    if (uint32_t icon = numberAfter(path, "/icon/")) {
        auto found = m_iconPNG.find(icon);
        if (found == m_iconPNG.end())
            return TextReply(404, "No such icon.\n");
        return {200, "image/png", found->second, {{"Cache-Control", "private, max-age=3600"}}};
    }
    if (uint32_t view = numberAfter(path, "/content/"))
        return content(view);
    if (uint32_t view = numberAfter(path, "/link/"))
        return link(view, request.parameter("url").value_or(""));
    return TextReply(404, "Not Found\n");
}

HTTPReply CTrackerPage::content(uint32_t id) {
    HostView* view = m_layer.viewById(id);
    if (!view || view->className != "HTML")
        return TextReply(404, "No such view.\n");
    std::string route = "/link/" + std::to_string(id) + "?token=" + m_token + "&url=";
    std::string html = view->url.empty() ? view->html
                                         : "<!DOCTYPE html><p><a href=\"" + view->url + "\">" +
                                               view->url + "</a></p>";
    return {200,
            "text/html; charset=utf-8",
            RouteLinks(html, route),
            {{"Content-Security-Policy", kContentPolicy},
             {"X-Content-Type-Options", "nosniff"},
             {"Referrer-Policy", "no-referrer"},
             {"Cache-Control", "no-store"}}};
}

HTTPReply CTrackerPage::link(uint32_t id, const std::string& url) {
    HostView* view = m_layer.viewById(id);
    if (!view || view->className != "HTML")
        return TextReply(404, "No such view.\n");
    if (m_dialog)
        return {204, "", ""};
    if (m_layer.followLink(id, url))
        return {204, "", ""};
    // A link the plug-in leaves alone opens in the frame, for web addresses only: the frame
    // never runs script, and a javascript: link goes nowhere.
    bool web = url.rfind("http://", 0) == 0 || url.rfind("https://", 0) == 0;
    if (!web)
        return {204, "", ""};
    return {302, "text/plain; charset=utf-8", "", {{"Location", url}}};
}

// The state and its pushes.

uint32_t CTrackerPage::nameIcon(VxIcon icon) {
    auto named = m_passIcons.find(icon);
    if (named != m_passIcons.end())
        return named->second;
    int32_t width = 0;
    int32_t height = 0;
    std::string rgba = iconPixels(icon, width, height);
    uint32_t id = 0;
    if (!rgba.empty()) {
        gchar* digest = g_compute_checksum_for_data(
            G_CHECKSUM_SHA1, reinterpret_cast<const guchar*>(rgba.data()), rgba.size());
        std::string key =
            std::string(digest) + std::to_string(width) + "x" + std::to_string(height);
        g_free(digest);
        Icon& known = m_icons[key];
        if (!known.id) {
            known.id = static_cast<uint32_t>(m_icons.size());
            known.png = encodePNG(rgba, width, height);
            m_iconPNG[known.id] = known.png;
        }
        id = known.png.empty() ? 0 : known.id;
    }
    m_passIcons[icon] = id;
    return id;
}

std::string CTrackerPage::state() {
    m_passIcons.clear();
    std::string json = ViewStateJSON(m_layer, [this](VxIcon icon) { return nameIcon(icon); });
    m_passIcons.clear();
    return json;
}

std::string CTrackerPage::stateMessage() {
    return "{\"type\":\"state\",\"state\":" + state() + "}";
}

void CTrackerPage::scheduleUpdate() {
    if (m_update || m_sockets.empty())
        return;
    m_update = g_idle_source_new();
    g_source_set_callback(
        m_update,
        [](gpointer self) {
            auto* page = static_cast<CTrackerPage*>(self);
            g_source_unref(page->m_update);
            page->m_update = nullptr;
            page->pushUpdate();
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
    g_source_attach(m_update, m_context);
}

void CTrackerPage::pushUpdate() {
    if (!m_sockets.empty())
        sendToAll(stateMessage());
}

void CTrackerPage::sendToAll(const std::string& message) {
    for (SoupWebsocketConnection* socket : m_sockets) {
        if (soup_websocket_connection_get_state(socket) == SOUP_WEBSOCKET_STATE_OPEN)
            soup_websocket_connection_send_text(socket, message.c_str());
    }
}

void CTrackerPage::addSocket(SoupWebsocketConnection* socket) {
    g_object_ref(socket);
    m_sockets.push_back(socket);
    g_signal_connect(socket, "closed",
                     G_CALLBACK(+[](SoupWebsocketConnection* closed, gpointer self) {
                         static_cast<CTrackerPage*>(self)->dropSocket(closed);
                     }),
                     this);
    soup_websocket_connection_set_keepalive_interval(socket, 20);
    soup_websocket_connection_send_text(socket, stateMessage().c_str());
    if (m_dialog)
        soup_websocket_connection_send_text(socket, dialogMessage(*m_dialog).c_str());
}

void CTrackerPage::dropSocket(SoupWebsocketConnection* socket) {
    auto found = std::find(m_sockets.begin(), m_sockets.end(), socket);
    if (found == m_sockets.end())
        return;
    m_sockets.erase(found);
    g_signal_handlers_disconnect_by_data(socket, this);
    if (soup_websocket_connection_get_state(socket) == SOUP_WEBSOCKET_STATE_OPEN)
        soup_websocket_connection_close(socket, SOUP_WEBSOCKET_CLOSE_GOING_AWAY, nullptr);
    g_object_unref(socket);
}

// Actions.

std::string CTrackerPage::act(const std::string& json) {
    JsonParser* parser = json_parser_new();
    GError* error = nullptr;
    std::string reply = "{\"ok\":false,\"error\":\"not a JSON object\"}";
    if (!json_parser_load_from_data(parser, json.data(), static_cast<gssize>(json.size()),
                                    &error) ||
        !JSON_NODE_HOLDS_OBJECT(json_parser_get_root(parser))) {
        g_clear_error(&error);
        g_object_unref(parser);
        return reply;
    }
    JsonObject* object = json_node_get_object(json_parser_get_root(parser));
    std::string action = textMember(object, "action");
    auto id = [object](const char* name) { return static_cast<uint32_t>(member(object, name)); };

    if (action == "answer") {
        bool matches = m_dialog && id("dialog") == m_dialog->id && !m_dialog->answered;
        if (matches) {
            m_dialog->answered = true;
            m_dialog->button = static_cast<int32_t>(member(object, "button"));
            if (!flagMember(object, "cancel"))
                m_dialog->value = textMember(object, "value");
        }
        reply = outcome(matches);
    } else if (m_dialog) {
        // A dialog is modal: the rest of the page waits for it.
        reply = "{\"ok\":false,\"error\":\"a dialog is open\"}";
    } else if (action == "showPanel") {
        reply = outcome(m_layer.showPanel(textMember(object, "name"), true));
    } else if (action == "closeWindow") {
        reply = outcome(m_layer.closeWindow(id("window")));
    } else if (action == "click") {
        reply = outcome(m_layer.clickItem(id("tree"), id("item")));
    } else if (action == "doubleClick") {
        reply = outcome(m_layer.doubleClickItem(id("tree"), id("item")));
    } else if (action == "open") {
        reply = outcome(m_layer.openItem(id("tree"), id("item"), flagMember(object, "open")));
    } else if (action == "key") {
        reply = outcome(m_layer.keyDown(id("tree"), static_cast<int32_t>(member(object, "key"))));
    } else if (action == "move") {
        reply = outcome(
            m_layer.moveItem(id("tree"), id("item"), id("target"), flagMember(object, "before")));
    } else if (action == "contextMenu") {
        HostMenu* menu = m_layer.contextMenu(id("tree"), id("item"));
        reply = menu ? "{\"ok\":true,\"menu\":" + MenuJSON(m_layer, menu) + "}" : outcome(false);
    } else if (action == "buttonMenu") {
        HostView* button = m_layer.viewById(id("view"));
        HostMenu* menu = button && m_layer.buttonEnabled(button) ? button->menu : nullptr;
        reply = menu ? "{\"ok\":true,\"menu\":" + MenuJSON(m_layer, menu) + "}" : outcome(false);
    } else if (action == "menu") {
        reply = outcome(m_layer.chooseMenuItem(id("menu"), textMember(object, "name")));
    } else if (action == "closeMenu") {
        m_layer.closeMenu(id("menu"));
        reply = outcome(true);
    } else if (action == "press") {
        reply = outcome(m_layer.pressButton(id("view")));
    } else if (action == "choose") {
        reply =
            outcome(m_layer.chooseEntry(id("view"), static_cast<int32_t>(member(object, "index"))));
    } else if (action == "splitter") {
        reply =
            outcome(m_layer.dragSplitter(id("view"), static_cast<int32_t>(member(object, "size"))));
    } else if (action == "edit") {
        reply = outcome(
            m_layer.editText(id("view"), textMember(object, "text"), flagMember(object, "commit")));
    } else {
        reply = "{\"ok\":false,\"error\":" + JSONString("no action " + action) + "}";
    }
    g_object_unref(parser);
    return reply;
}

// Dialogs.

bool CTrackerPage::hasPage() {
    return !m_sockets.empty() && !m_dialog;
}

std::string CTrackerPage::dialogMessage(const Dialog& dialog) const {
    std::string buttons;
    for (const std::string& button : dialog.buttons)
        buttons += (buttons.empty() ? "" : ",") + JSONString(button);
    return "{\"type\":\"dialog\",\"dialog\":{\"id\":" + std::to_string(dialog.id) +
           ",\"kind\":" + (dialog.question ? "\"response\"" : "\"alert\"") +
           ",\"text\":" + JSONString(dialog.text) + ",\"title\":" + JSONString(dialog.title) +
           ",\"buttons\":[" + buttons +
           "],\"default\":" + JSONString(dialog.password ? "" : dialog.fallback) +
           ",\"password\":" + (dialog.password ? "true" : "false") +
           ",\"beep\":" + (dialog.beep ? "true" : "false") + "}}";
}

bool CTrackerPage::runDialog(Dialog& dialog) {
    dialog.id = m_nextDialog++;
    m_dialog = &dialog;
    sendToAll(dialogMessage(dialog));
    // A modal dialog: the loop goes on (the page must be served) until the answer comes.
    while (!dialog.answered && !m_sockets.empty())
        g_main_context_iteration(m_context, TRUE);
    m_dialog = nullptr;
    sendToAll("{\"type\":\"dialogDone\",\"id\":" + std::to_string(dialog.id) + "}");
    return dialog.answered;
}

std::optional<int32_t> CTrackerPage::alert(const std::string& text,
                                           const std::vector<std::string>& buttons, bool beep) {
    if (!hasPage())
        return std::nullopt;
    Dialog dialog;
    dialog.text = text;
    dialog.buttons = buttons;
    dialog.beep = beep;
    if (!runDialog(dialog))
        return std::nullopt;
    return std::clamp(dialog.button, 1, static_cast<int32_t>(std::max<size_t>(buttons.size(), 1)));
}

std::optional<std::optional<std::string>> CTrackerPage::response(const std::string& question,
                                                                 const std::string& title,
                                                                 const std::string& fallback,
                                                                 bool password) {
    if (!hasPage())
        return std::nullopt;
    Dialog dialog;
    dialog.question = true;
    dialog.text = question;
    dialog.title = title;
    dialog.fallback = fallback;
    dialog.password = password;
    if (!runDialog(dialog))
        return std::nullopt;
    // The page never sees a password's default; an empty field keeps it, as on the terminal.
    if (password && dialog.value && dialog.value->empty())
        dialog.value = fallback;
    return std::optional<std::optional<std::string>>(dialog.value);
}
