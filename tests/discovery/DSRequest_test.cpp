#include "discovery/CDSRequest.h"
#include "tests/discovery/DiscoveryTestSupport.h"
#include "tests/fakehost/FakeHost.h"

namespace {

struct Heard {
    std::vector<std::string> calls;
    std::string txtKey;
    bool stopInCallback = false;
    CDSRequest* request = nullptr;

    static void callback(DSRequestOp op, _t_DSQueryInfo* info, void* data) {
        auto* self = static_cast<Heard*>(data);
        std::string call = std::string(op == kDSOpAdded ? "+" : "-") + info->name + "|" +
                           info->type + "|" + info->domain + "|" + info->target + "|" +
                           std::to_string(info->port) + "|" + info->path;
        if (!self->txtKey.empty()) {
            char buffer[8];
            long length = GetServiceInfo(info, self->txtKey.c_str(), buffer, sizeof buffer);
            call +=
                "|" + (length < 0 ? std::string("none") : std::to_string(length) + ":" + buffer);
        }
        self->calls.push_back(call);
        if (self->stopInCallback) {
            self->stopInCallback = false;
            StopServiceRequest(self->request);
        }
    }
};

class DSRequests : public ::testing::Test {
protected:
    FakeHost host;
    FakeMulticastDNS& mdns = host.multicastDNS();
    Heard heard;
};

TEST_F(DSRequests, QueryCallsOncePerInstanceAddedThenRemoved) {
    CDSRequest* request = QueryServices("http", kDSScopeLocal, Heard::callback, &heard);
    ASSERT_NE(request, nullptr);
    mdns.browseReply(0, kDNSServiceBrowserReplyAddInstance, "B");
    mdns.browseReply(0, kDNSServiceBrowserReplyAddInstance, "A");
    mdns.browseReply(0, kDNSServiceBrowserReplyRemoveInstance, "C");
    host.idle().advanceTicks(40);
    EXPECT_EQ(heard.calls,
              (std::vector<std::string>{"+A|_http._tcp.|local.||0|", "+B|_http._tcp.|local.||0|",
                                        "-C|_http._tcp.|local.||0|"}));
    StopServiceRequest(request);
    EXPECT_EQ(mdns.liveCount(), 0u);
    EXPECT_EQ(host.idle().idleCount(), 0u);
    StopServiceRequest(nullptr);
}

TEST_F(DSRequests, ScopesPickTheClients) {
    struct Case {
        DSRequestScope scope;
        size_t multicast;
        size_t consumers;
    };
    const Case cases[] = {{kDSScopeLocal, 1, 1}, {kDSScopeUnicast, 0, 1}, {kDSScopeBoth, 1, 2}};
    size_t started = 0;
    for (const Case& c : cases) {
        CDSRequest* request = QueryServices("http", c.scope, Heard::callback, &heard);
        EXPECT_EQ(mdns.requests().size() - started, c.multicast);
        started = mdns.requests().size();
        EXPECT_EQ(host.idle().idleCount(), c.consumers);
        StopServiceRequest(request);
        EXPECT_EQ(host.idle().idleCount(), 0u);
    }
    EXPECT_EQ(QueryServices("http", static_cast<DSRequestScope>(3), Heard::callback, &heard),
              nullptr);
    EXPECT_EQ(ResolveService("http", nullptr, "x", static_cast<DSRequestScope>(-1), Heard::callback,
                             &heard),
              nullptr);
}

TEST_F(DSRequests, ResolveGivesAddressPathAndTextKeys) {
    heard.txtKey = "note";
    CDSRequest* request =
        ResolveService("http", "local.", "Printer", kDSScopeLocal, Heard::callback, &heard);
    ASSERT_EQ(mdns.requests().size(), 1u);
    EXPECT_EQ(mdns.requests()[0].name, "Printer");
    mdns.resolveReply(0, "path=/q\x01note=a long note", 0x7F000001, 8080);
    host.idle().advanceTicks(20);
    // The buffer holds 7 bytes and the NUL; the length is the whole text's.
    EXPECT_EQ(heard.calls,
              (std::vector<std::string>{"+Printer|http||127.0.0.1|8080|/q|11:a long "}));
    StopServiceRequest(request);

    // No answer: the multicast resolve gives up after 60 seconds.
    heard.calls.clear();
    heard.txtKey = "path";
    request = ResolveService("http", nullptr, "Gone", kDSScopeLocal, Heard::callback, &heard);
    host.idle().advanceTicks(62 * 60);
    EXPECT_EQ(heard.calls, (std::vector<std::string>{"-Gone|http|||0||none"}));
    StopServiceRequest(request);
}

TEST_F(DSRequests, StoppedFromWithinTheCallback) {
    heard.request = QueryServices("http", kDSScopeLocal, Heard::callback, &heard);
    heard.stopInCallback = true;
    mdns.browseReply(0, kDNSServiceBrowserReplyAddInstance, "A");
    mdns.browseReply(0, kDNSServiceBrowserReplyAddInstance, "B");
    host.idle().advanceTicks(20);
    // The first call stopped it: no second.
    EXPECT_EQ(heard.calls.size(), 1u);
    EXPECT_EQ(mdns.liveCount(), 0u);
    host.idle().advanceTicks(40);
    EXPECT_EQ(heard.calls.size(), 1u);
}

} // namespace
