// The Tracker as a local web page: the host's view layer drawn in a browser.
//
// The page is served on 127.0.0.1 only, on the host's main loop, to a client that shows the
// token printed with the address; every other request gets 403. The page reads the view
// layer's state as JSON, is pushed each change over a WebSocket, and posts what the person does
// (clicks, keys, drags, menu choices, dialog answers) back as JSON actions, which run the
// plug-in's procedures through the view layer. An HTML view's page is served apart, for a frame
// that runs no script; its links come back to the plug-in first.
//
//   GET  /                    the page            GET /content/VIEW  an HTML view's page
//   GET  /tracker.js, .css    its script, style   GET /link/VIEW     a link followed there
//   GET  /state               the state as JSON   GET /icon/N        an icon as PNG
//   POST /action              one action          GET /socket        the WebSocket of changes
#pragma once

#include "host/ui/IPageDialogs.h"
#include "host/view/CHostViewLayer.h"
#include "host/web/CLoopbackServer.h"

#include <glib.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

typedef struct _SoupWebsocketConnection SoupWebsocketConnection;

class CTrackerPage final : public IPageDialogs {
public:
    /// A page over layer, on the main context given (the host's loop).
    CTrackerPage(CHostViewLayer& layer, GMainContext* context);
    ~CTrackerPage() override;
    CTrackerPage(const CTrackerPage&) = delete;
    CTrackerPage& operator=(const CTrackerPage&) = delete;

    /// Listens on 127.0.0.1 at port (0: a free one). False with a reason when it cannot.
    bool start(std::string& error, uint16_t port = 0);
    /// Closes every connection; a dialog that waits gets no answer.
    void stop();

    /// "http://127.0.0.1:PORT/?token=TOKEN": the address to open.
    std::string address() const;
    const std::string& token() const { return m_token; }
    uint16_t port() const { return m_server.port(); }

    /// Answers one request as the server does, after the gate: for the server and for tests.
    HTTPReply serve(const HTTPRequest& request);
    /// Whether the request may be served at all: from 127.0.0.1, for this host and port, with
    /// the token. A reply when not.
    std::optional<HTTPReply> refuse(const HTTPRequest& request) const;
    /// Runs one action given as JSON; the reply as JSON ({"ok":...}).
    std::string act(const std::string& json);

    bool hasPage() override;
    std::optional<int32_t> alert(const std::string& text, const std::vector<std::string>& buttons,
                                 bool beep) override;
    std::optional<std::optional<std::string>> response(const std::string& question,
                                                       const std::string& title,
                                                       const std::string& fallback,
                                                       bool password) override;

private:
    struct Dialog;
    struct Icon {
        uint32_t id = 0;
        std::string png;
    };

    uint32_t nameIcon(VxIcon icon);
    std::string state();
    std::string stateMessage();
    void scheduleUpdate();
    void pushUpdate();
    void sendToAll(const std::string& message);
    void addSocket(SoupWebsocketConnection* socket);
    void dropSocket(SoupWebsocketConnection* socket);
    std::string dialogMessage(const Dialog& dialog) const;
    /// Shows a dialog and runs the loop until it is answered or the last page goes.
    bool runDialog(Dialog& dialog);
    HTTPReply content(uint32_t view);
    HTTPReply link(uint32_t view, const std::string& url);

    CHostViewLayer& m_layer;
    GMainContext* m_context;
    CLoopbackServer m_server;
    std::string m_token;
    std::vector<SoupWebsocketConnection*> m_sockets;
    GSource* m_update = nullptr;
    std::map<std::string, Icon> m_icons;       // by a digest of the pixels
    std::map<uint32_t, std::string> m_iconPNG; // by number
    std::map<VxIcon, uint32_t> m_passIcons;    // named in the state being written
    Dialog* m_dialog = nullptr;
    uint32_t m_nextDialog = 1;
};
