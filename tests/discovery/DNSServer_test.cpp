// The unicast requests against a real DNS server: dnsmasq in a network namespace of the test's
// own, with a resolv.conf of its own. The test program runs itself again inside the namespace;
// the cases run there, and their outcome is the outcome of the run.
#include "discovery/CDNSRequest.h"
#include "tests/discovery/DiscoveryTestSupport.h"

#include <cstdlib>
#include <mutex>

namespace {

const char* const kInsideVariable = "VELL_DISCOVERY_DNS_NAMESPACE";

/// The namespace's work folder, when running inside it.
const char* insideNamespace() {
    return std::getenv(kInsideVariable);
}

TEST(DNSServer, InANamespaceOfItsOwn) {
    if (insideNamespace())
        GTEST_SKIP() << "the run inside the namespace";
    runInNamespace("dns-namespace.sh", kInsideVariable, "DNSServerInside.*", 3, {"dnsmasq"});
}

class DNSServerInside : public ::testing::Test {
protected:
    void SetUp() override {
        if (!insideNamespace())
            GTEST_SKIP() << "runs inside the namespace that DNSServer.InANamespaceOfItsOwn makes";
    }
    /// Waits until the server has logged the query.
    bool serverSaw(const std::string& query) {
        std::string log = std::string(insideNamespace()) + "/dnsmasq.log";
        return waitFor([&] { return fileText(log).find(query) != std::string::npos; });
    }
    /// Waits until the request's thread is surely done with the reply.
    void settle() { std::this_thread::sleep_for(std::chrono::milliseconds(300)); }

    HeardCalls heard;
};

TEST_F(DNSServerInside, BrowseAsksInTheResolversDefaultDomain) {
    void* request = AsyncDNSBrowserCreate("http", nullptr, HeardCalls::browse, &heard);
    EXPECT_TRUE(serverSaw("query[PTR] _http._tcp.example.test from 127.0.0.1"));
    settle();
    // The reply's counts are read in the processor's byte order: on a little-endian one a
    // reply with one question reads as 256 of them, which run past its end, and nothing is
    // delivered.
    std::lock_guard<std::mutex> lock(heard.mutex);
    if (littleEndian()) {
        EXPECT_TRUE(heard.calls.empty());
    }
    AsyncDNSRelease(request);
}

TEST_F(DNSServerInside, BrowseInAGivenDomain) {
    void* request = AsyncDNSBrowserCreate("ipp", "corp.test", HeardCalls::browse, &heard);
    EXPECT_TRUE(serverSaw("query[PTR] _ipp._tcp.corp.test from 127.0.0.1"));
    AsyncDNSRelease(request);
}

TEST_F(DNSServerInside, ResolveAsksForAnyRecordOfTheName) {
    void* request = AsyncDNSResolverResolve("Office._http._tcp.example.test", "http", nullptr,
                                            HeardCalls::resolve, &heard);
    EXPECT_TRUE(serverSaw("query[ANY] Office._http._tcp.example.test from 127.0.0.1"));
    settle();
    std::lock_guard<std::mutex> lock(heard.mutex);
    if (littleEndian()) {
        EXPECT_TRUE(heard.calls.empty());
    }
    AsyncDNSRelease(request);
}

} // namespace
