// The update engine against a real web server on loopback: nginx, started by the test with a
// configuration of its own, serving feeds with validators, a redirect, a path behind Basic
// authentication, a server error, HTML and a reply of 100 MB; beside it a port that accepts and
// never answers. The fetches go through the reference host's curl network layer on the GLib
// main loop. What the server saw is read from its access log.
#include "frame/HostTables.h"
#include "frame/PluginEntry.h"
#include "host/loop/CMainLoop.h"
#include "host/net/CCurlNetwork.h"
#include "rss/CRSSManagerModule.h"
#include "soap/AuthCallbacks.h"
#include "soap/CCredStore.h"
#include "tests/fakehost/FakeSealing.h"
#include "tests/host/TempFolder.h"
#include "tests/rss/FeedFetchSupport.h"
#include "values/miTime.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <thread>
#include <tuple>

namespace {

using rsstest::numberOf;
using rsstest::textOf;

constexpr char kNginx[] = "/usr/sbin/nginx";

/// A socket bound to a free port of 127.0.0.1; listening or not.
int boundSocket(bool listening, unsigned short& port) {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
        (listening && listen(fd, 8) != 0)) {
        if (fd >= 0)
            close(fd);
        return -1;
    }
    port = ntohs(address.sin_port);
    return fd;
}

/// A field of the access log as the client sent it: nginx writes a quote as \x22.
std::string unescaped(std::string field) {
    if (field == "-")
        return {};
    for (size_t at = field.find("\\x22"); at != std::string::npos; at = field.find("\\x22", at))
        field.replace(at, 4, "\"");
    return field;
}

/// One line of the access log.
struct LogLine {
    /// Milliseconds: when the request began and when it was logged.
    long long start = 0, end = 0;
    int status = 0;
    long long bytesSent = 0;
    std::string method, uri, ifNoneMatch, ifModifiedSince;
};

/// nginx with its own configuration, files and logs in a temporary folder, on a free port.
class NginxServer {
public:
    NginxServer() {
        namespace fs = std::filesystem;
        const std::string& dir = m_folder.path();
        for (const char* sub : {"www/feeds", "www/slow", "www/private", "tmp", "logs"})
            fs::create_directories(dir + sub);
        const std::string engine = std::string(VELL_TEST_DATA) + "/rss/engine/";
        fs::copy_file(engine + "news-ttl-30.xml", dir + "www/feeds/news.xml");
        fs::copy_file(engine + "html-not-well-formed.html", dir + "www/feeds/page.html");
        fs::copy_file(engine + "unknown-encoding.xml", dir + "www/feeds/unknown.xml");
        fs::copy_file(engine + "news-ttl-30.xml", dir + "www/private/feed.xml");
        writeFileBytes(dir + "www/slow/many.xml", manyItems(300));
        // A reply of 100 MB: a feed's start, then nothing but zero bytes (a sparse file).
        const std::string start = "<?xml version=\"1.0\"?><rss version=\"2.0\"><channel>"
                                  "<title>Big</title><description>";
        writeFileBytes(dir + "www/feeds/huge.xml", start);
        fs::resize_file(dir + "www/feeds/huge.xml", 100L * 1024 * 1024);
        writeFileBytes(dir + "htpasswd", "reader:{PLAIN}secret\n");

        int probe = boundSocket(false, m_port);
        if (probe >= 0)
            close(probe);
        writeFileBytes(dir + "nginx.conf", configuration(dir));
        m_pid = fork();
        if (m_pid == 0) {
            std::freopen((dir + "logs/stderr.log").c_str(), "w", stderr);
            execl(kNginx, kNginx, "-p", dir.c_str(), "-c", (dir + "nginx.conf").c_str(), "-g",
                  "daemon off;", static_cast<char*>(nullptr));
            _exit(127);
        }
        // Ready once it accepts a connection.
        for (int i = 0; i < 200 && !m_ready; ++i) {
            int fd = socket(AF_INET, SOCK_STREAM, 0);
            sockaddr_in address{};
            address.sin_family = AF_INET;
            address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            address.sin_port = htons(m_port);
            m_ready = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
            close(fd);
            if (!m_ready)
                std::this_thread::sleep_for(std::chrono::milliseconds(25));
        }
    }
    ~NginxServer() {
        if (m_pid > 0) {
            kill(m_pid, SIGTERM);
            waitpid(m_pid, nullptr, 0);
        }
    }
    NginxServer(const NginxServer&) = delete;
    NginxServer& operator=(const NginxServer&) = delete;

    bool ready() const { return m_ready; }
    unsigned short port() const { return m_port; }
    std::string url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(m_port) + path;
    }
    std::string errors() const { return readFileBytes(m_folder.path() + "logs/stderr.log"); }

    /// The access log so far, one record a request.
    std::vector<LogLine> accessLog() const {
        std::vector<LogLine> lines;
        std::istringstream in(readFileBytes(m_folder.path() + "logs/access.log"));
        std::string text;
        while (std::getline(in, text)) {
            // msec request_time status bytes "method uri" "if-none-match" "if-modified-since"
            std::vector<std::string> quoted;
            for (size_t at = text.find('"'); at != std::string::npos;) {
                size_t end = text.find('"', at + 1);
                quoted.push_back(text.substr(at + 1, end - at - 1));
                at = text.find('"', end + 1);
            }
            LogLine line;
            double end = 0, duration = 0;
            std::istringstream head(text);
            head >> end >> duration >> line.status >> line.bytesSent;
            line.end = std::llround(end * 1000);
            line.start = line.end - std::llround(duration * 1000);
            if (quoted.size() == 3) {
                std::istringstream request(quoted[0]);
                request >> line.method >> line.uri;
                line.ifNoneMatch = unescaped(quoted[1]);
                line.ifModifiedSince = unescaped(quoted[2]);
            }
            lines.push_back(line);
        }
        return lines;
    }

private:
    static std::string manyItems(int count) {
        std::string feed =
            "<?xml version=\"1.0\"?><rss version=\"2.0\"><channel>"
            "<title>Many</title><description>A feed that takes a while</description>";
        for (int i = 0; i < count; ++i)
            feed += "<item><title>Item " + std::to_string(i) + "</title><guid>many-" +
                    std::to_string(i) + "</guid><description>" + std::string(120, 'x') +
                    "</description></item>";
        return feed + "</channel></rss>";
    }
    std::string configuration(const std::string& dir) const {
        std::string temp = dir + "tmp/";
        return "master_process off;\n"
               "pid " +
               dir +
               "nginx.pid;\n"
               "error_log " +
               dir +
               "logs/error.log;\n"
               "events { worker_connections 64; }\n"
               "http {\n"
               "  types { text/xml xml; text/html html; }\n"
               "  client_body_temp_path " +
               temp +
               "body;\n"
               "  proxy_temp_path " +
               temp +
               "proxy;\n"
               "  fastcgi_temp_path " +
               temp +
               "fastcgi;\n"
               "  uwsgi_temp_path " +
               temp +
               "uwsgi;\n"
               "  scgi_temp_path " +
               temp +
               "scgi;\n"
               "  log_format timing '$msec $request_time $status $body_bytes_sent "
               "\"$request_method $uri\" "
               "\"$http_if_none_match\" \"$http_if_modified_since\"';\n"
               "  access_log " +
               dir +
               "logs/access.log timing;\n"
               "  server {\n"
               "    listen 127.0.0.1:" +
               std::to_string(m_port) +
               ";\n"
               "    root " +
               dir +
               "www;\n"
               "    location /slow/ { limit_rate 64k; }\n"
               "    location = /moved.xml { return 301 /feeds/news.xml; }\n"
               "    location = /broken.xml { return 500; }\n"
               "    location /private/ { auth_basic \"Feeds\"; auth_basic_user_file " +
               dir +
               "htpasswd; }\n"
               "  }\n"
               "}\n";
    }

    TempFolder m_folder;
    unsigned short m_port = 0;
    pid_t m_pid = -1;
    bool m_ready = false;
};

/// The viewer layer with the real main loop for its idle clock.
class LoopView final : public IVellView {
public:
    LoopView(CMainLoop& loop, IIcons* icons) : m_loop(loop), m_icons(icons) {}
    IIdle* idle() override { return &m_loop; }
    IIcons* icons() override { return m_icons; }

private:
    CMainLoop& m_loop;
    IIcons* m_icons;
};

class NginxFeedsTest : public rsstest::RSSTest {
protected:
    void SetUp() override {
        if (access(kNginx, X_OK) != 0)
            GTEST_SKIP() << "no nginx";
        forgetStoredFeeds();
        server = std::make_unique<NginxServer>();
        ASSERT_TRUE(server->ready()) << server->errors();
        m_savedView = gVellViewHFT;
        m_savedNet = gNetSpanHFT;
        m_savedClient = gEFSClientIDs[1];
        gVellViewHFT = &view;
        gNetSpanHFT = &net;
        ASSERT_TRUE(net.initialize());
        static const char* const types[] = {"*/*", nullptr};
        NetClientID client = net.openClient("VellumTracker/1.0", types, 0);
        net.setAuthentication(client, 0, kNetAuthAsk, TrackerAuthCB, nullptr);
        net.setClientOption(client, kNetOptionNoProxy);
        static const int32_t pair[2] = {1000, 0};
        net.setTimeouts(client, {2, pair, 1500});
        gEFSClientIDs[1] = client;
        silent = boundSocket(true, silentPort);
        ASSERT_GE(silent, 0);
    }
    void TearDown() override {
        if (!server)
            return;
        if (CRSSManager::sm_instance)
            module.term();
        delete CCredStore::sm_instance;
        CCredStore::sm_instance = nullptr;
        net.shutdown();
        gVellViewHFT = m_savedView;
        gNetSpanHFT = m_savedNet;
        gEFSClientIDs[1] = m_savedClient;
        if (silent >= 0)
            close(silent);
    }

    /// Runs the main loop until the store's queue is empty, for at most limitMs.
    bool runQueue(CRSSManager& store, int limitMs = 20000) {
        auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(limitMs);
        do {
            loop.run(20);
        } while (!store.pending().empty() && std::chrono::steady_clock::now() < until);
        return store.pending().empty();
    }

    CMainLoop loop;
    CCurlNetwork net{loop};
    LoopView view{loop, host.view().icons()};
    std::unique_ptr<NginxServer> server;
    CRSSManagerModule module;
    int silent = -1;
    unsigned short silentPort = 0;

private:
    IVellView* m_savedView = nullptr;
    INetwork* m_savedNet = nullptr;
    NetClientID m_savedClient = kNoNetClient;
};

TEST_F(NginxFeedsTest, FeedsAreFetchedOneAtATimeAndAStaleOneConditionally) {
    module.init();
    CRSSManager& store = *CRSSManager::sm_instance;
    store.ensureIsRunning();
    struct Case {
        std::string url;
        long state;
        std::string error;
    };
    const Case cases[] = {
        {server->url("/feeds/news.xml"), 200, ""},
        {server->url("/slow/many.xml"), 200, ""},
        {server->url("/moved.xml"), 301,
         "The network service URL that you are trying to reach has moved"},
        {server->url("/broken.xml"), 500,
         "The network service URL that you are trying to reach caused a server error."},
        {server->url("/feeds/missing.xml"), 404,
         "The network service URL that you are trying to reach does not exist."},
        {server->url("/feeds/page.html"), -1,
         "The network service URL that you are trying to reach is not a valid XML Document."},
        {server->url("/feeds/unknown.xml"), -1,
         "The URL that you are trying to reach is in an encoding (x-tlhingan) which can not be "
         "processed."},
        {server->url("/feeds/huge.xml"), -1, "The server returned an invalid response."},
        {server->url("/private/feed.xml"), 401,
         "Authorization is required for this network service"},
        {"http://127.0.0.1:" + std::to_string(silentPort) + "/feed.xml", -1,
         "The network connection timed out trying to reach the server."},
    };
    for (const Case& c : cases)
        store.addFeed(CEStr(c.url.c_str()), false, true);
    store.update(true);
    ASSERT_TRUE(runQueue(store));
    for (const Case& c : cases) {
        CAgg& feed = store.getFeedDescriptor(CEStr(c.url.c_str()));
        EXPECT_EQ(numberOf(feed, "State"), c.state) << c.url;
        EXPECT_EQ(textOf(feed, "Error"), c.error) << c.url;
    }
    EXPECT_EQ(store.countArticles(CEStr(cases[1].url.c_str())), 300);
    CEStr news(cases[0].url.c_str());
    CEStr etag, modified;
    ASSERT_TRUE(store.getETag(news, etag));
    ASSERT_TRUE(store.getLastModified(news, modified));

    // Half an hour later the news feed, whose time to live is 30 minutes, is stale; nothing
    // else is.
    QsTimeRec earlier{};
    miTimeGetTime(&earlier, miTimeSecs() - 31 * 60);
    store.getFeedDescriptor(news)["lastAttempt"] = CAgg(earlier);
    store.update(true);
    ASSERT_TRUE(runQueue(store));
    EXPECT_EQ(numberOf(store.getFeedDescriptor(news), "State"), 200);
    EXPECT_EQ(store.countArticles(news), 2);

    std::vector<LogLine> log = server->accessLog();
    std::vector<LogLine> newsLines;
    for (const LogLine& line : log)
        if (line.uri == "/feeds/news.xml")
            newsLines.push_back(line);
    ASSERT_EQ(newsLines.size(), 2u) << "the redirect is not followed";
    EXPECT_EQ(newsLines[0].status, 200);
    EXPECT_EQ(newsLines[0].ifNoneMatch, "");
    EXPECT_EQ(newsLines[1].status, 304);
    EXPECT_EQ(newsLines[1].ifNoneMatch, EStrToUTF8(etag));
    EXPECT_EQ(newsLines[1].ifModifiedSince, EStrToUTF8(modified));
    // Nine feeds on nginx (the silent port is not), and the one re-fetch: every other feed was
    // fresh.
    EXPECT_EQ(log.size(), 10u);
    auto huge = std::find_if(log.begin(), log.end(),
                             [](const LogLine& line) { return line.uri == "/feeds/huge.xml"; });
    ASSERT_NE(huge, log.end());
    EXPECT_LT(huge->bytesSent, 32LL * 1024 * 1024) << "the reading stops at the limit";

    // No two fetches ever overlapped; the log counts in milliseconds, so one that begins in
    // the millisecond the last one ended touches it.
    std::sort(log.begin(), log.end(), [](const LogLine& a, const LogLine& b) {
        return std::tie(a.start, a.end) < std::tie(b.start, b.end);
    });
    for (size_t i = 1; i < log.size(); ++i)
        EXPECT_GE(log[i].start, log[i - 1].end - 1)
            << log[i - 1].uri << " (" << log[i - 1].start << " to " << log[i - 1].end << ") and "
            << log[i].uri << " (" << log[i].start << " to " << log[i].end << ") overlap";
}

TEST_F(NginxFeedsTest, StoredCredentialsOpenAFeedBehindBasicAuthentication) {
    FakeSealing sealing(host.extra());
    module.init();
    CRSSManager& store = *CRSSManager::sm_instance;
    store.ensureIsRunning();
    CEStr url(server->url("/private/feed.xml").c_str());
    store.addFeed(url, false, true);
    store.update(true);
    ASSERT_TRUE(runQueue(store));
    EXPECT_EQ(numberOf(store.getFeedDescriptor(url), "State"), 401);
    std::string serverName = "127.0.0.1:" + std::to_string(server->port());
    CCredStore::instance()->setCredentials(serverName.c_str(), "Feeds", "reader", "secret");
    ASSERT_TRUE(runQueue(store));
    EXPECT_EQ(numberOf(store.getFeedDescriptor(url), "State"), 200);
    EXPECT_EQ(store.countArticles(url), 2);
    std::vector<int> statuses;
    for (const LogLine& line : server->accessLog())
        statuses.push_back(line.status);
    EXPECT_EQ(statuses, (std::vector<int>{401, 401, 200}));
}

} // namespace
