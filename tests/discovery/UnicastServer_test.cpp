// The unicast road end to end: the C library's resolver asks a server of the test's own, in a
// network namespace whose resolv.conf names it, and the answers reach the callbacks and a
// script. The server answers with the reply files server-browse.hex and server-resolve.hex,
// which both the resolver and this system's reader take (see make-replies.py). The test program
// runs itself again inside the namespace; the cases run there.
#include "discovery/CDNSRequest.h"
#include "discovery/CJSDiscoveryModule.h"
#include "tests/discovery/DiscoveryTestSupport.h"
#include "tests/fakehost/FakeHost.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <atomic>
#include <mutex>

namespace {

const char* const kInsideVariable = "VELL_DISCOVERY_RESOLVER_NAMESPACE";

TEST(UnicastServer, InANamespaceOfItsOwn) {
    if (std::getenv(kInsideVariable))
        GTEST_SKIP() << "the run inside the namespace";
    if (!littleEndian())
        GTEST_SKIP() << "the server's reply files are laid out for a little-endian processor";
    runInNamespace("resolver-namespace.sh", kInsideVariable, "UnicastServerInside.*", 2, {"ip"});
}

/// Answers every query on 127.0.0.1:53 with a reply file, the query's id put in: the browse
/// reply to a PTR query, the resolve reply to any other.
class ReplyServer {
public:
    ReplyServer() {
        m_browse = readHexReply("server-browse.hex");
        m_resolve = readHexReply("server-resolve.hex");
        m_socket = socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(53);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        timeval wait{0, 100000};
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
        m_bound = bind(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        m_thread = std::thread([this] { serve(); });
    }
    ~ReplyServer() {
        m_done = true;
        m_thread.join();
        close(m_socket);
    }
    bool bound() const { return m_bound; }

private:
    void serve() {
        while (!m_done) {
            uint8_t query[512];
            sockaddr_in from{};
            socklen_t fromLength = sizeof from;
            ssize_t length = recvfrom(m_socket, query, sizeof query, 0,
                                      reinterpret_cast<sockaddr*>(&from), &fromLength);
            if (length < 12)
                continue;
            // The query's type follows its name, which ends with the first zero byte.
            size_t end = 12;
            while (end < static_cast<size_t>(length) && query[end] != 0)
                end += query[end] + 1;
            bool ptr = end + 2 < static_cast<size_t>(length) && query[end + 2] == 12;
            std::vector<uint8_t> reply = ptr ? m_browse : m_resolve;
            reply[0] = query[0];
            reply[1] = query[1];
            sendto(m_socket, reply.data(), reply.size(), 0, reinterpret_cast<sockaddr*>(&from),
                   fromLength);
        }
    }

    std::vector<uint8_t> m_browse;
    std::vector<uint8_t> m_resolve;
    int m_socket = -1;
    bool m_bound = false;
    std::atomic<bool> m_done{false};
    std::thread m_thread;
};

class UnicastServerInside : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::getenv(kInsideVariable))
            GTEST_SKIP() << "runs inside the namespace that UnicastServer.InANamespaceOfItsOwn "
                            "makes";
        ASSERT_TRUE(server.bound());
    }

    ReplyServer server;
};

TEST_F(UnicastServerInside, RequestsHandTheRecordsToTheirCallbacks) {
    HeardCalls browsed;
    void* browse = AsyncDNSBrowserCreate("http", nullptr, HeardCalls::browse, &browsed);
    ASSERT_TRUE(waitFor([&] { return browsed.size() > 0; }));
    AsyncDNSRelease(browse);
    EXPECT_EQ(browsed.calls,
              (std::vector<std::string>{"Office._http._tcp.example.test.|http|example.test"}));

    HeardCalls resolved;
    void* resolve = AsyncDNSResolverResolve("Office._http._tcp.example.test", "http", nullptr,
                                            HeardCalls::resolve, &resolved);
    ASSERT_TRUE(waitFor([&] { return resolved.size() > 0; }));
    AsyncDNSRelease(resolve);
    // The TXT strings are joined without a separator.
    EXPECT_EQ(resolved.calls, (std::vector<std::string>{"Office._http._tcp.example.test.|host."
                                                        "example.test.|8080|path=/printnote=two"}));
}

TEST_F(UnicastServerInside, AScriptDiscoversByUnicast) {
    FakeHost host;
    host.installScriptEngine();
    CJSDiscoveryModule module;
    module.init();
    ESContext context = host.scriptEngine().newContext("App", nullptr);
    auto run = [&](const std::string& source) { return runConsoleScript(context, source); };
    // Any domain but "local." browses by unicast, in the resolver's default domain; a resolve
    // without a domain goes to unicast too.
    run("var heard = [];"
        "var q = SOAP.queryServices('http', {addServices: function(s) { "
        "heard.push('add ' + JSON.stringify(s)); }}, ['corp.']);"
        "var r = SOAP.resolveService({cType: 'http', cService: 'Office._http._tcp.example.test', "
        "oResult: {resolve: function(n, x) { heard.push('resolve ' + n + ' ' + "
        "JSON.stringify(x)); }}});");
    EXPECT_TRUE(waitFor([&] {
        host.idle().advanceTicks(20);
        return run("heard.length") == "2";
    }));
    // The unicast resolve goes on until stopped; the text's pairs run to a 0x01 or 0x0A, so
    // joined strings make one value.
    EXPECT_EQ(run("heard.sort().join('\\n')"),
              "add {\"Office._http._tcp.example.test.\":{\"domain\":\"example.test\",\"name\":"
              "\"Office._http._tcp.example.test.\",\"type\":\"http\"}}\n"
              "resolve Office._http._tcp.example.test {\"name\":\"Office._http._tcp.example."
              "test.\",\"path\":\"/printnote=two\",\"port\":\"8080\",\"target\":\"host.example."
              "test.\"}");
    run("q.stop(); r.stop();");
    module.term();
}

} // namespace
