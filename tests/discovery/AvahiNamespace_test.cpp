// Multicast DNS of the reference host against a real avahi-daemon: one of the test's own, on a
// system bus of its own, in a network namespace of its own where it publishes one service. The
// test program runs itself again inside the namespace; the cases run there.
#include "discovery/CJSDiscoveryModule.h"
#include "frame/host/HostTableIds.h"
#include "host/mdns/CAvahiMulticastDNS.h"
#include "tests/discovery/DiscoveryTestSupport.h"
#include "tests/fakehost/FakeHost.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <mutex>

namespace {

const char* const kInsideVariable = "VELL_DISCOVERY_AVAHI_NAMESPACE";

TEST(AvahiDaemon, InANamespaceOfItsOwn) {
    if (std::getenv(kInsideVariable))
        GTEST_SKIP() << "the run inside the namespace";
    runInNamespace("avahi-namespace.sh", kInsideVariable, "AvahiInside.*", 3,
                   {"avahi-daemon", "avahi-publish", "dbus-daemon", "ip"});
}

struct Heard {
    std::mutex mutex;
    std::vector<std::string> calls;

    void add(std::string call) {
        std::lock_guard<std::mutex> lock(mutex);
        calls.push_back(std::move(call));
    }
    size_t size() {
        std::lock_guard<std::mutex> lock(mutex);
        return calls.size();
    }
    static void browse(int32_t resultType, const char* name, const char* type, const char* domain,
                       uint32_t, void* data) {
        static_cast<Heard*>(data)->add(std::to_string(resultType) + "|" + name + "|" + type + "|" +
                                       domain);
    }
    static void resolve(const sockaddr*, const sockaddr* service, const char* txt, uint32_t,
                        void* data) {
        std::string address = "not IPv4";
        if (service->sa_family == AF_INET) {
            const auto* in = reinterpret_cast<const sockaddr_in*>(service);
            char text[INET_ADDRSTRLEN];
            inet_ntop(AF_INET, &in->sin_addr, text, sizeof text);
            address = std::string(text) + ":" + std::to_string(ntohs(in->sin_port));
        }
        static_cast<Heard*>(data)->add(address + "|" + txt);
    }
};

class AvahiInside : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::getenv(kInsideVariable))
            GTEST_SKIP() << "runs inside the namespace that AvahiDaemon.InANamespaceOfItsOwn makes";
        ASSERT_EQ(avahi.DNSServicesInitialize(0, 0), 0);
    }

    CAvahiMulticastDNS avahi;
    Heard heard;
};

TEST_F(AvahiInside, BrowseAndResolveThePublishedService) {
    DNSServiceDiscoveryRef browse =
        avahi.DNSServiceBrowserCreate("_http._tcp", nullptr, Heard::browse, &heard);
    ASSERT_NE(browse, nullptr);
    ASSERT_TRUE(waitFor([&] { return heard.size() > 0; }));
    {
        std::lock_guard<std::mutex> lock(heard.mutex);
        EXPECT_EQ(heard.calls[0], "0|Office Printer|_http._tcp.|local.");
    }
    avahi.DNSServiceDiscoveryDeallocate(browse);

    Heard answers;
    DNSServiceDiscoveryRef resolve = avahi.DNSServiceResolverResolve(
        "Office Printer", "_http._tcp", "local.", Heard::resolve, &answers);
    ASSERT_NE(resolve, nullptr);
    ASSERT_TRUE(waitFor([&] { return answers.size() > 0; }));
    avahi.DNSServiceDiscoveryDeallocate(resolve);
    size_t after = answers.size();
    std::lock_guard<std::mutex> lock(answers.mutex);
    EXPECT_EQ(answers.calls[0], "10.77.0.1:8080|path=/print\x01note=two");
    // Nothing after the handle is gone.
    EXPECT_EQ(answers.calls.size(), after);
    EXPECT_EQ(avahi.DNSServiceResolverResolve("x", "_http._tcp", nullptr, nullptr, nullptr),
              nullptr);
}

TEST_F(AvahiInside, AScriptDiscoversThroughTheRealDaemon) {
    FakeHost host;
    host.core().registerTable(kMulticastDNSTable.name, kMulticastDNSTable.version, &avahi);
    host.installScriptEngine();
    CJSDiscoveryModule module;
    module.init();
    ESContext context = host.scriptEngine().newContext("App", nullptr);
    auto run = [&](const std::string& source) { return runConsoleScript(context, source); };
    run("var heard = []; var q = SOAP.queryServices('http', {addServices: function(s) { "
        "for (var n in s) heard.push('add ' + n); }});"
        "var r = SOAP.resolveService('http', 'local.', 'Office Printer', {resolve: "
        "function(n, x) { heard.push('resolve ' + n + ' ' + x.target + ':' + x.port + ' ' + "
        "x.path + ' ' + x.note); }});");
    // The idle loop turns while the daemon answers.
    EXPECT_TRUE(waitFor([&] {
        host.idle().advanceTicks(20);
        return run("heard.length") == "2";
    }));
    EXPECT_EQ(run("heard.sort().join('|')"),
              "add Office Printer|resolve Office Printer 10.77.0.1:8080 /print two");
    run("q.stop(); r.stop();");
    module.term();
}

TEST_F(AvahiInside, TheHostDiscoversFromTheCommandLine) {
    std::string host = std::string(VELL_BUILD_DIR) + "/vellum-host --timeout 2 discover http";
    int status = 0;
    std::string browse = commandOutput(host, status);
    EXPECT_EQ(status, 0) << browse;
    EXPECT_NE(browse.find("+ Office Printer  _http._tcp.  local.\n"), std::string::npos) << browse;
    std::string resolved = commandOutput(host + " --resolve 'Office Printer'", status);
    EXPECT_EQ(status, 0) << resolved;
    EXPECT_EQ(resolved, "Office Printer 10.77.0.1:8080\nnote=two\npath=/print\n");
    std::string missing = commandOutput(host + " --resolve Nobody --timeout 1", status);
    EXPECT_EQ(status, 1) << missing;
}

} // namespace
