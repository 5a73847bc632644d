// The Tracker page's server over real loopback connections: who it lets in, what its actions do,
// how it serves an HTML view's page, and what it pushes over its WebSocket, dialogs included.
// The server runs on this thread's loop; clients run on threads of their own.
#include "host/icons/CPngIconBundle.h"
#include "host/tracker/CTrackerPage.h"
#include "host/tracker/ContextLinks.h"
#include "tests/support/CSamplePanel.h"

#include <curl/curl.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <libsoup/soup.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Reply {
    long status = 0;
    std::string headers;
    std::string body;
};

size_t collect(char* data, size_t size, size_t count, void* out) {
    static_cast<std::string*>(out)->append(data, size * count);
    return size * count;
}

Reply curlRequest(const std::string& url, const std::vector<std::string>& headers,
                  const std::string* post) {
    Reply reply;
    CURL* curl = curl_easy_init();
    curl_slist* list = nullptr;
    for (const std::string& header : headers)
        list = curl_slist_append(list, header.c_str());
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, list);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, collect);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &reply.body);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, collect);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &reply.headers);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 20L);
    curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
    if (post) {
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, post->c_str());
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(post->size()));
    }
    curl_easy_perform(curl);
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &reply.status);
    curl_slist_free_all(list);
    curl_easy_cleanup(curl);
    return reply;
}

// A WebSocket client on a thread and loop of its own: it keeps each text message, and answers a
// dialog with the answerer's action when it has one.
class SocketClient {
public:
    SocketClient(std::string url, std::function<std::string(const std::string&)> answerer = {})
        : m_url(std::move(url)), m_answerer(std::move(answerer)) {
        m_thread = std::thread([this] { run(); });
    }
    ~SocketClient() {
        m_stop = true;
        m_thread.join();
    }
    std::vector<std::string> messages() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_messages;
    }
    bool refused() const { return m_refused; }
    bool connected() const { return m_connected; }

private:
    void run() {
        GMainContext* context = g_main_context_new();
        g_main_context_push_thread_default(context);
        SoupSession* session = soup_session_new();
        SoupMessage* message = soup_message_new("GET", m_url.c_str());
        soup_session_websocket_connect_async(
            session, message, nullptr, nullptr, G_PRIORITY_DEFAULT, nullptr,
            [](GObject* source, GAsyncResult* result, gpointer self) {
                auto* client = static_cast<SocketClient*>(self);
                client->m_socket =
                    soup_session_websocket_connect_finish(SOUP_SESSION(source), result, nullptr);
                if (!client->m_socket) {
                    client->m_refused = true;
                    return;
                }
                client->m_connected = true;
                g_signal_connect(
                    client->m_socket, "message",
                    G_CALLBACK(+[](SoupWebsocketConnection*, gint, GBytes* bytes, gpointer data) {
                        static_cast<SocketClient*>(data)->received(bytes);
                    }),
                    client);
            },
            this);
        while (!m_stop)
            g_main_context_iteration(context, FALSE), g_usleep(2000);
        if (m_socket) {
            soup_websocket_connection_close(m_socket, SOUP_WEBSOCKET_CLOSE_NORMAL, nullptr);
            g_object_unref(m_socket);
        }
        g_object_unref(message);
        g_object_unref(session);
        while (g_main_context_iteration(context, FALSE)) {
        }
        g_main_context_pop_thread_default(context);
        g_main_context_unref(context);
    }

    void received(GBytes* bytes) {
        gsize size = 0;
        const char* data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
        std::string text(data, size);
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_messages.push_back(text);
        }
        if (m_answerer && text.find("\"type\":\"dialog\"") != std::string::npos)
            m_answerer(text);
    }

    std::string m_url;
    std::function<std::string(const std::string&)> m_answerer;
    std::thread m_thread;
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_refused{false};
    std::atomic<bool> m_connected{false};
    SoupWebsocketConnection* m_socket = nullptr;
    std::mutex m_mutex;
    std::vector<std::string> m_messages;
};

class TrackerPage : public ::testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(page.start(error)) << error;
        panel.addFeed("Gazette", {"Ferry", "Storm <b>warning</b>"});
        panel.addFeed("Notes", {"Geese"});
        ASSERT_TRUE(layer.showPanel("Tracker", true));
        base = "http://127.0.0.1:" + std::to_string(page.port());
    }

    // A request made on another thread while this one serves it.
    Reply ask(const std::string& url, const std::vector<std::string>& headers = {},
              const std::string* post = nullptr) {
        Reply reply;
        std::atomic<bool> done{false};
        std::thread client([&] {
            reply = curlRequest(url, headers, post);
            done = true;
            g_main_context_wakeup(g_main_context_default());
        });
        while (!done)
            g_main_context_iteration(g_main_context_default(), TRUE);
        client.join();
        return reply;
    }

    Reply act(const std::string& json) {
        return ask(base + "/action?token=" + page.token(), {"Content-Type: application/json"},
                   &json);
    }

    // Serves until the condition holds or some seconds pass.
    bool serveUntil(const std::function<bool()>& condition, int seconds = 10) {
        gint64 deadline = g_get_monotonic_time() + seconds * G_USEC_PER_SEC;
        while (!condition() && g_get_monotonic_time() < deadline)
            g_main_context_iteration(g_main_context_default(), FALSE), g_usleep(1000);
        return condition();
    }

    uint32_t itemId(VxTreeItem item) { return layer.treeItem(layer.view(panel.tree()), item)->id; }

    CHostViewLayer layer;
    CTrackerPage page{layer, g_main_context_default()};
    CSamplePanel panel{layer, &page};
    std::string base;
};

TEST_F(TrackerPage, AnswersOnlyWithTheTokenForItsOwnAddress) {
    const std::string token = page.token();
    const std::string host = "Host: 127.0.0.1:" + std::to_string(page.port());
    const struct {
        std::string path;
        std::vector<std::string> headers;
        long status;
    } cases[] = {
        {"/?token=" + token, {}, 200},
        {"/state?token=" + token, {}, 200},
        {"/tracker.js?token=" + token, {}, 200},
        {"/?token=" + token, {"Host: localhost:" + std::to_string(page.port())}, 200},
        {"/?token=" + token, {"Origin: http://127.0.0.1:" + std::to_string(page.port())}, 200},
        {"/", {}, 403},
        {"/?token=", {}, 403},
        {"/?token=" + token.substr(1), {}, 403},
        {"/?token=" + token + "0", {}, 403},
        {"/state", {}, 403},
        {"/icon/1", {}, 403},
        {"/content/1", {}, 403},
        {"/nowhere", {}, 403},
        // A page of another site that reached the port under a name of its own.
        {"/?token=" + token, {"Host: attacker.example:" + std::to_string(page.port())}, 403},
        {"/?token=" + token, {"Origin: http://attacker.example"}, 403},
        {"/nowhere?token=" + token, {}, 404},
        {"/icon/999?token=" + token, {}, 404},
        {"/content/1?token=" + token, {}, 404},
    };
    for (const auto& c : cases) {
        Reply reply = ask(base + c.path, c.headers);
        EXPECT_EQ(reply.status, c.status)
            << c.path << " " << (c.headers.empty() ? "" : c.headers[0]);
    }
    // The page carries its policy, and names its script and style with the token.
    Reply index = ask(base + "/?token=" + token);
    EXPECT_NE(index.headers.find("Content-Security-Policy: default-src 'none'; script-src 'self'"),
              std::string::npos);
    EXPECT_NE(index.body.find("src=\"tracker.js?token=" + token + "\""), std::string::npos);
    EXPECT_EQ(ask(base + "/?token=" + token, {}, &token).status, 405);
}

TEST_F(TrackerPage, ActionsRunThePanelsProceduresAndTheStateShowsTheOutcome) {
    const std::string ok = "{\"ok\":true}";
    const std::string refused = "{\"ok\":false}";
    HostView* tree = layer.view(panel.tree());
    uint32_t ferry = itemId(panel.feeds()[0]->items[0]->node);
    uint32_t notes = itemId(panel.feeds()[1]->node);
    uint32_t gazette = itemId(panel.feeds()[0]->node);
    std::string treeId = std::to_string(tree->id);
    const struct {
        std::string action;
        std::string reply;
        std::string log; // the panel's last line afterwards
    } steps[] = {
        {"{\"action\":\"click\",\"tree\":" + treeId + ",\"item\":" + std::to_string(ferry) + "}",
         ok, ""},
        {"{\"action\":\"key\",\"tree\":" + treeId + ",\"key\":13}", ok, "opened Ferry"},
        {"{\"action\":\"doubleClick\",\"tree\":" + treeId + ",\"item\":" + std::to_string(notes) +
             "}",
         ok, "opened Notes"},
        {"{\"action\":\"move\",\"tree\":" + treeId + ",\"item\":" + std::to_string(notes) +
             ",\"target\":" + std::to_string(gazette) + ",\"before\":true}",
         ok, "moved Notes"},
        // An item is no feed: the panel refuses to move it.
        {"{\"action\":\"move\",\"tree\":" + treeId + ",\"item\":" + std::to_string(ferry) +
             ",\"target\":" + std::to_string(gazette) + ",\"before\":true}",
         refused, "moved Notes"},
        {"{\"action\":\"click\",\"tree\":" + treeId + ",\"item\":999999}", refused, "moved Notes"},
        {"{\"action\":\"click\",\"tree\":\"" + treeId + "\"}", refused, "moved Notes"},
        {"{\"action\":\"fly\"}", "{\"ok\":false,\"error\":\"no action fly\"}", "moved Notes"},
        {"[1, 2]", "{\"ok\":false,\"error\":\"not a JSON object\"}", "moved Notes"},
        {"{\"action\":", "{\"ok\":false,\"error\":\"not a JSON object\"}", "moved Notes"},
    };
    for (const auto& step : steps) {
        Reply reply = act(step.action);
        EXPECT_EQ(reply.status, 200) << step.action;
        EXPECT_EQ(reply.body, step.reply) << step.action;
        EXPECT_EQ(panel.log().empty() ? "" : panel.log().back(), step.log) << step.action;
    }
    EXPECT_EQ(panel.feeds()[0]->title, "Notes");
    EXPECT_FALSE(panel.feeds()[1]->items[0]->unread);
    std::string state = ask(base + "/state?token=" + page.token()).body;
    EXPECT_NE(state.find("\"id\":" + std::to_string(ferry) +
                         ",\"text\":\"Ferry\",\"tip\":\"\",\"icon\":0,\"style\":0,"
                         "\"open\":false,\"selected\":true"),
              std::string::npos)
        << state;
    EXPECT_NE(state.find("\"text\":\"Storm \\u003cb\\u003ewarning\\u003c/b\\u003e\",\"tip\":\"\","
                         "\"icon\":0,\"style\":1"),
              std::string::npos)
        << state;
}

TEST_F(TrackerPage, TheContextPageRunsNoScriptAndItsLinksGoToThePanelFirst) {
    HostView* tree = layer.view(panel.tree());
    ASSERT_TRUE(layer.clickItem(tree->id, itemId(panel.feeds()[0]->items[1]->node)));
    std::string html = std::to_string(layer.view(panel.html())->id);
    Reply content = ask(base + "/content/" + html + "?token=" + page.token() + "&v=1");
    EXPECT_EQ(content.status, 200);
    EXPECT_NE(content.headers.find("Content-Security-Policy: sandbox; default-src 'none'"),
              std::string::npos)
        << content.headers;
    const std::string route = "/link/" + html + "?token=" + page.token() + "&url=";
    EXPECT_NE(content.body.find("href=\"" + route + "javascript%3Adocument.body.textContent%3D"),
              std::string::npos)
        << content.body;
    EXPECT_NE(content.body.find("href=\"" + route + "sample%3Aopen%3Fwhat%3DStorm%20%3Cb%3E"),
              std::string::npos)
        << content.body;

    const struct {
        std::string url;
        long status;
        std::string location;
    } links[] = {
        {"sample%3Aopen", 204, ""},
        {"javascript%3Aalert(1)", 204, ""},
        {"http%3A%2F%2F127.0.0.1%2Fstory", 302, "Location: http://127.0.0.1/story\r\n"},
        {"mailto%3Aeditor%40example.org", 204, ""},
    };
    for (const auto& l : links) {
        Reply reply = ask(base + route + l.url);
        EXPECT_EQ(reply.status, l.status) << l.url;
        if (!l.location.empty()) {
            EXPECT_NE(reply.headers.find(l.location), std::string::npos) << reply.headers;
        }
        char* decoded = g_uri_unescape_string(l.url.c_str(), nullptr);
        EXPECT_EQ(panel.lastLink(), decoded);
        g_free(decoded);
    }
}

TEST_F(TrackerPage, ChangesArePushedAndDialogsAreAnsweredOnThePage) {
    const std::string socketURL =
        "ws://127.0.0.1:" + std::to_string(page.port()) + "/socket?token=" + page.token();
    {
        SocketClient stranger("ws://127.0.0.1:" + std::to_string(page.port()) + "/socket");
        ASSERT_TRUE(serveUntil([&] { return stranger.refused() || stranger.connected(); }));
        EXPECT_TRUE(stranger.refused());
    }
    EXPECT_FALSE(page.hasPage());

    // The client answers each dialog: the second button of an alert, a text for a question.
    std::string actionURL = base + "/action?token=" + page.token();
    auto answer = [actionURL](const std::string& message) {
        std::smatch id;
        std::regex_search(message, id, std::regex("\"id\":(\\d+)"));
        std::string json =
            message.find("\"kind\":\"alert\"") != std::string::npos
                ? "{\"action\":\"answer\",\"dialog\":" + id[1].str() + ",\"button\":2}"
                : "{\"action\":\"answer\",\"dialog\":" + id[1].str() + ",\"value\":\"Night Sky\"}";
        return curlRequest(actionURL, {}, &json).body;
    };
    SocketClient client(socketURL, answer);
    ASSERT_TRUE(serveUntil([&] { return !client.messages().empty(); }));
    EXPECT_EQ(client.messages()[0].rfind("{\"type\":\"state\",\"state\":{\"windows\":[", 0), 0u);
    EXPECT_TRUE(page.hasPage());

    // A change is pushed once the loop is free.
    layer.staticTextView()->SetText(panel.status(), "pushed <now>");
    ASSERT_TRUE(serveUntil([&] {
        return client.messages().back().find("\"text\":\"pushed \\u003cnow\\u003e\"") !=
               std::string::npos;
    }));

    std::optional<int32_t> pressed = page.alert("Remove it?", {"Remove", "Cancel"}, false);
    EXPECT_EQ(pressed, std::optional<int32_t>(2));
    auto typed = page.response("Enter a title.", "Add Subscription", "", false);
    ASSERT_TRUE(typed && *typed);
    EXPECT_EQ(**typed, "Night Sky");
    std::vector<std::string> seen = client.messages();
    size_t dialogs = 0;
    for (const std::string& message : seen)
        dialogs += message.find("\"type\":\"dialog\"") != std::string::npos;
    EXPECT_EQ(dialogs, 2u);
    EXPECT_TRUE(std::any_of(seen.begin(), seen.end(), [](const std::string& m) {
        return m.find("{\"type\":\"dialog\",\"dialog\":{\"id\":1,\"kind\":\"alert\",\"text\":"
                      "\"Remove it?\",\"title\":\"\",\"buttons\":[\"Remove\",\"Cancel\"]") == 0;
    }));
}

// PNG bytes of a square of one colour.
std::string squarePNG(int size, guint32 rgba) {
    GdkPixbuf* pixbuf = gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, size, size);
    gdk_pixbuf_fill(pixbuf, rgba);
    gchar* buffer = nullptr;
    gsize length = 0;
    gdk_pixbuf_save_to_buffer(pixbuf, &buffer, &length, "png", nullptr, nullptr);
    std::string png(buffer, length);
    g_free(buffer);
    g_object_unref(pixbuf);
    return png;
}

TEST_F(TrackerPage, IconsAreServedAsPNGOneNumberForEachPicture) {
    std::string red = squarePNG(16, 0xff0000ff);
    std::string blue = squarePNG(16, 0x0000ffff);
    auto bundle = [](const std::string& png) {
        return PngIconBundleNew(reinterpret_cast<const unsigned char*>(png.data()), png.size());
    };
    // Two bundles of the same picture are one icon for the page; another picture is another.
    VxIcon icons[] = {bundle(red), bundle(red), bundle(blue)};
    VxView root = layer.GetWindowRootView(panel.window());
    std::vector<VxView> views;
    for (VxIcon icon : icons) {
        views.push_back(layer.staticIconView()->Create(root, "icon"));
        layer.staticIconView()->SetIcon(views.back(), icon);
    }
    std::string state = ask(base + "/state?token=" + page.token()).body;
    std::vector<std::string> numbers;
    for (VxView view : views) {
        std::smatch icon;
        std::string id = std::to_string(layer.view(view)->id);
        ASSERT_TRUE(std::regex_search(
            state, icon,
            std::regex("\\{\"id\":" + id + ",\"class\":\"StaticIcon\".*?\"icon\":(\\d+)")));
        numbers.push_back(icon[1]);
    }
    EXPECT_EQ(numbers[0], numbers[1]);
    EXPECT_NE(numbers[0], numbers[2]);
    EXPECT_NE(numbers[0], "0");
    Reply png = ask(base + "/icon/" + numbers[2] + "?token=" + page.token());
    EXPECT_EQ(png.status, 200);
    EXPECT_NE(png.headers.find("Content-Type: image/png"), std::string::npos);
    GdkPixbufLoader* loader = gdk_pixbuf_loader_new();
    ASSERT_TRUE(gdk_pixbuf_loader_write(loader, reinterpret_cast<const guchar*>(png.body.data()),
                                        png.body.size(), nullptr));
    gdk_pixbuf_loader_close(loader, nullptr);
    GdkPixbuf* decoded = gdk_pixbuf_loader_get_pixbuf(loader);
    ASSERT_NE(decoded, nullptr);
    EXPECT_EQ(gdk_pixbuf_get_width(decoded), 16);
    const guchar* pixel = gdk_pixbuf_get_pixels(decoded);
    EXPECT_EQ((std::vector<int>{pixel[0], pixel[1], pixel[2], pixel[3]}),
              (std::vector<int>{0, 0, 255, 255}));
    g_object_unref(loader);
    // A handle that is no bundle is no icon.
    int notAnIcon = 0;
    layer.staticIconView()->SetIcon(views[0], reinterpret_cast<VxIcon>(&notAnIcon));
    state = ask(base + "/state?token=" + page.token()).body;
    EXPECT_NE(state.find("\"id\":" + std::to_string(layer.view(views[0])->id) +
                         ",\"class\":\"StaticIcon\",\"name\":\"icon\",\"visible\":true,"
                         "\"enabled\":true,\"icon\":0"),
              std::string::npos);
    for (VxView view : views)
        layer.baseView()->Destroy(view);
    for (VxIcon icon : icons)
        PngIconBundleRelease(icon);
}

TEST(ContextLinks, EachLinkGoesThroughTheRouteAndNothingElseChanges) {
    const struct {
        const char* html;
        const char* routed;
    } cases[] = {
        {"<a href=\"http://a.example/x?y=1&amp;z=2\">x</a>",
         "<a href=\"R:http%3A%2F%2Fa.example%2Fx%3Fy%3D1%26z%3D2\">x</a>"},
        {"<A HREF='javascript:alert(1)' class=k>x</A>",
         "<A href=\"R:javascript%3Aalert%281%29\" class=k>x</A>"},
        {"<a id=q href=page.html>x</a>", "<a id=q href=\"R:page.html\">x</a>"},
        {"<area shape=rect href=\"m.html\">", "<area shape=rect href=\"R:m.html\">"},
        {"<a name=top>x</a><abbr href=\"no\">y</abbr>",
         "<a name=top>x</a><abbr href=\"no\">y</abbr>"},
        {"<link href=\"s.css\"><img src=\"i.png\">", "<link href=\"s.css\"><img src=\"i.png\">"},
        {"<a data-href=\"k\" href = \"v\">", "<a data-href=\"k\" href=\"R:v\">"},
        {"text < 3 and <a href=\"x\"", "text < 3 and <a href=\"x\""},
        {"", ""},
        // Relative links resolve against the page's base, as the browser would have.
        {"<BODY><BASE href=\"http://n.example/feeds/news.xml\"><a href=\"../story?id=1\">s</a>"
         "<a href=\"vellum:Inbox?removeFeed=x\">r</a>",
         "<BODY><BASE href=\"http://n.example/feeds/news.xml\"><a "
         "href=\"R:http%3A%2F%2Fn.example%2Fstory%3Fid%3D1\">s</a><a "
         "href=\"R:vellum%3AInbox%3FremoveFeed%3Dx\">r</a>"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(RouteLinks(c.html, "R:"), c.routed) << c.html;
}

} // namespace
