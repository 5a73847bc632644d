#include "discovery/CDNS.h"
#include "discovery/CDiscover.h"
#include "discovery/CRendezvous.h"
#include "tests/discovery/DiscoveryTestSupport.h"
#include "tests/fakehost/FakeHost.h"

#include <atomic>
#include <memory>
#include <thread>

namespace {

/// What a client was told, call by call.
struct Recorder {
    struct Browse {
        std::map<std::string, std::string> added;
        std::map<std::string, std::string> removed;
        bool addedVoid;
    };
    struct Resolve {
        std::string name;
        std::map<std::string, std::string> result;
    };
    std::vector<Browse> browses;
    std::vector<Resolve> resolves;
    // Set to stop the request from within the callback.
    CDiscover* stopper = nullptr;
    void* request = nullptr;

    static unsigned short onQuery(CAgg& added, CAgg& removed, void* data) {
        auto* self = static_cast<Recorder*>(data);
        self->browses.push_back(
            {instancesOf(added), instancesOf(removed), added.getType() == CAgg::eVoid});
        self->stopFromCallback();
        return 0;
    }
    static unsigned short onResolve(_EStrRec* name, CAgg& result, void* data) {
        auto* self = static_cast<Recorder*>(data);
        self->resolves.push_back({EStrToUTF8(name), textsOf(result)});
        self->stopFromCallback();
        return 0;
    }
    void stopFromCallback() {
        if (stopper) {
            stopper->stop(request);
            stopper = nullptr;
        }
    }
};

class DiscoveryCore : public ::testing::Test {
protected:
    FakeHost host;
    FakeMulticastDNS& mdns = host.multicastDNS();
    std::unique_ptr<CDiscover> local{CreateDiscoveryClient(kDSScopeLocal)};
    Recorder recorder;

    /// Moves the clock to the start of a second, so that periods and seconds line up.
    void alignToSecond() { host.idle().advanceTicks((60 - host.idle().ticks() % 60) % 60); }

    void* resolve(const char* name, const char* domain = nullptr, unsigned long timeout = 60) {
        return local->startResolve("http", domain, CEStr(name, kEStrPDFDoc).get(), timeout,
                                   Recorder::onResolve, &recorder);
    }
};

TEST(DiscoveryClients, OneClientPerScope) {
    std::unique_ptr<CDiscover> local(CreateDiscoveryClient(kDSScopeLocal));
    std::unique_ptr<CDiscover> unicast(CreateDiscoveryClient(kDSScopeUnicast));
    EXPECT_NE(dynamic_cast<CRendezvous*>(local.get()), nullptr);
    EXPECT_NE(dynamic_cast<CDNS*>(unicast.get()), nullptr);
    EXPECT_EQ(CreateDiscoveryClient(kDSScopeBoth), nullptr);
    EXPECT_EQ(CreateDiscoveryClient(static_cast<DSRequestScope>(-1)), nullptr);
    local->stop(nullptr);
    unicast->stop(nullptr);
}

TEST_F(DiscoveryCore, BrowseBatchesComeEveryPeriodNewestFirst) {
    void* request = local->startQuery("ipp", Recorder::onQuery, &recorder);
    ASSERT_NE(request, nullptr);
    ASSERT_EQ(mdns.requests().size(), 1u);
    EXPECT_EQ(mdns.requests()[0].type, "_ipp._tcp");
    EXPECT_EQ(mdns.requests()[0].domain, "");

    // Nothing before the period; then a call every 20 ticks, also with nothing to tell.
    host.idle().advanceTicks(19);
    EXPECT_TRUE(recorder.browses.empty());
    host.idle().advanceTicks(1);
    ASSERT_EQ(recorder.browses.size(), 1u);
    EXPECT_TRUE(recorder.browses[0].addedVoid);

    // One period's records. Handled newest first, so of two adds of one name the older one is
    // handled last and stays; an instance that came and went stands in both maps; other result
    // types are ignored.
    mdns.browseReply(0, kDNSServiceBrowserReplyAddInstance, "A", "_ipp._tcp.", "first.");
    mdns.browseReply(0, kDNSServiceBrowserReplyAddInstance, "B");
    mdns.browseReply(0, kDNSServiceBrowserReplyAddDomain, "C");
    mdns.browseReply(0, kDNSServiceBrowserReplyAddInstance, "A", "_ipp._tcp.", "second.");
    mdns.browseReply(0, kDNSServiceBrowserReplyRemoveInstance, "B");
    host.idle().advanceTicks(20);
    ASSERT_EQ(recorder.browses.size(), 2u);
    EXPECT_EQ(recorder.browses[1].added,
              (std::map<std::string, std::string>{{"A", "A|_ipp._tcp.|first."},
                                                  {"B", "B|_http._tcp.|local."}}));
    EXPECT_EQ(recorder.browses[1].removed,
              (std::map<std::string, std::string>{{"B", "B|_http._tcp.|local."}}));

    host.idle().advanceTicks(20);
    ASSERT_EQ(recorder.browses.size(), 3u);
    EXPECT_TRUE(recorder.browses[2].added.empty());

    local->stop(request);
    EXPECT_EQ(mdns.liveCount(), 0u);
    EXPECT_EQ(host.idle().idleCount(), 0u);
    EXPECT_FALSE(mdns.browseReply(0, kDNSServiceBrowserReplyAddInstance, "late"));
    host.idle().advanceTicks(40);
    EXPECT_EQ(recorder.browses.size(), 3u);
}

TEST_F(DiscoveryCore, ResolveRecordsFromTextAndAddress) {
    struct Case {
        const char* txt;
        bool ipv6;
        std::map<std::string, std::string> expected;
    };
    const std::map<std::string, std::string> address = {{"target", "10.1.2.3"}, {"port", "8080"}};
    auto with = [&](std::map<std::string, std::string> pairs) {
        pairs.insert(address.begin(), address.end());
        return pairs;
    };
    const Case cases[] = {
        {"path=/x\x01note=a b", false, with({{"path", "/x"}, {"note", "a b"}})},
        {"a=1\nb=2", false, with({{"a", "1"}, {"b", "2"}})},
        {"no pairs here", false, address},
        {"key=\x01=value\x01k=v", false, with({{"k", "v"}})},
        {"a=1\x01"
         "a=2",
         false, with({{"a", "2"}})},
        {"x=y=z", false, with({{"x", "y=z"}})},
        {"target=elsewhere\x01port=1", false, address},
        {"", false, address},
        // Only an IPv4 address gives a target and a port.
        {"target=elsewhere\x01path=/", true, {{"target", "elsewhere"}, {"path", "/"}}},
    };
    size_t index = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.txt);
        recorder.resolves.clear();
        void* request = resolve("Printer");
        ASSERT_TRUE(mdns.resolveReply(index, c.txt, 0x0A010203, 8080, c.ipv6));
        host.idle().advanceTicks(20);
        ASSERT_EQ(recorder.resolves.size(), 1u);
        EXPECT_EQ(recorder.resolves[0].name, "Printer");
        EXPECT_EQ(recorder.resolves[0].result, c.expected);
        // It stopped itself: no further reply, no further call, yet it stays until stopped.
        EXPECT_FALSE(mdns.resolveReply(index, "a=1"));
        host.idle().advanceTicks(60 * 61);
        EXPECT_EQ(recorder.resolves.size(), 1u);
        local->stop(request);
        ++index;
    }
    EXPECT_EQ(mdns.requests()[0].type, "_http._tcp");
    EXPECT_EQ(mdns.requests()[0].domain, "local.");
    EXPECT_EQ(mdns.requests()[0].name, "Printer");
}

TEST_F(DiscoveryCore, ResolveTakesTheLastAnswerOfAPeriod) {
    void* request = resolve("Printer", "example.");
    EXPECT_EQ(mdns.requests()[0].domain, "example.");
    mdns.resolveReply(0, "n=1");
    mdns.resolveReply(0, "n=2");
    host.idle().advanceTicks(20);
    ASSERT_EQ(recorder.resolves.size(), 1u);
    EXPECT_EQ(recorder.resolves[0].result["n"], "2");
    local->stop(request);
}

TEST_F(DiscoveryCore, ResolveTimesOutWithAnEmptyResult) {
    void* request = resolve("Silent", nullptr, 5);
    // The time-out passes when the clock is later than the start plus the time-out.
    host.idle().advanceTicks(5 * 60 + 40);
    EXPECT_TRUE(recorder.resolves.empty());
    host.idle().advanceTicks(60);
    ASSERT_EQ(recorder.resolves.size(), 1u);
    EXPECT_TRUE(recorder.resolves[0].result.empty());
    EXPECT_EQ(mdns.liveCount(), 0u);
    EXPECT_EQ(host.idle().idleCount(), 0u);
    local->stop(request);

    // An answer in the very period of the time-out gives two calls: the answer, then the empty
    // result.
    recorder.resolves.clear();
    alignToSecond();
    request = resolve("Late", nullptr, 1);
    host.idle().advanceTicks(100);
    EXPECT_TRUE(recorder.resolves.empty());
    mdns.resolveReply(1, "n=1");
    host.idle().advanceTicks(20);
    ASSERT_EQ(recorder.resolves.size(), 2u);
    EXPECT_EQ(recorder.resolves[0].result.size(), 3u);
    EXPECT_TRUE(recorder.resolves[1].result.empty());
    local->stop(request);
}

TEST_F(DiscoveryCore, StartsThatFailStaySilent) {
    mdns.setFailStarts(true);
    EXPECT_EQ(local->startQuery("http", Recorder::onQuery, &recorder), nullptr);
    // The resolve exists, but its consumer is never registered: no time-out either.
    void* request = resolve("Nowhere", nullptr, 1);
    ASSERT_NE(request, nullptr);
    EXPECT_EQ(host.idle().idleCount(), 0u);
    host.idle().advanceTicks(60 * 5);
    EXPECT_TRUE(recorder.resolves.empty());
    local->stop(request);
    local->stop(nullptr);
}

TEST_F(DiscoveryCore, StoppedFromWithinItsOwnCallback) {
    // A resolve stopped by the client in its callback goes once its consumer is done; the
    // time-out step after it still runs on the live request.
    recorder.stopper = local.get();
    recorder.request = resolve("Printer", nullptr, 0);
    host.idle().advanceTicks(40);
    mdns.resolveReply(0, "a=1");
    host.idle().advanceTicks(20);
    ASSERT_EQ(recorder.resolves.size(), 2u);
    EXPECT_EQ(host.idle().idleCount(), 0u);

    // A browse stopped in its callback.
    recorder.stopper = local.get();
    recorder.request = local->startQuery("http", Recorder::onQuery, &recorder);
    host.idle().advanceTicks(100);
    EXPECT_EQ(recorder.browses.size(), 1u);
    EXPECT_EQ(mdns.liveCount(), 0u);
}

TEST_F(DiscoveryCore, StopWhileAnswersArriveFromAnotherThread) {
    // The multicast core's thread keeps answering while the viewer's thread consumes and stops.
    for (int round = 0; round < 20; ++round) {
        void* request = local->startQuery("http", Recorder::onQuery, &recorder);
        size_t index = mdns.requests().size() - 1;
        std::atomic<bool> done{false};
        std::thread network([&] {
            for (int i = 0; !done; ++i)
                mdns.browseReply(index, kDNSServiceBrowserReplyAddInstance,
                                 "i" + std::to_string(i % 7));
        });
        host.idle().advanceTicks(20 * static_cast<uint64_t>(round % 3 + 1));
        local->stop(request);
        done = true;
        network.join();
    }
    EXPECT_EQ(mdns.liveCount(), 0u);
    EXPECT_EQ(host.idle().idleCount(), 0u);
    for (const Recorder::Browse& batch : recorder.browses) {
        for (const auto& [name, fields] : batch.added)
            EXPECT_EQ(fields, name + "|_http._tcp.|local.");
    }
}

TEST(DiscoveryUnicast, RequestsRunOnTheIdleLoopUntilStopped) {
    FakeHost host;
    std::unique_ptr<CDiscover> unicast(CreateDiscoveryClient(kDSScopeUnicast));
    Recorder recorder;
    void* query = unicast->startQuery("vellum-test", Recorder::onQuery, &recorder);
    void* resolved =
        unicast->startResolve("vellum-test", nullptr, CEStr("x._vellum-test._tcp.invalid.").get(),
                              60, Recorder::onResolve, &recorder);
    EXPECT_EQ(host.idle().idleCount(), 2u);
    host.idle().advanceTicks(40);
    // The browse consumer calls every period; a resolve without an answer stays quiet.
    EXPECT_EQ(recorder.browses.size(), 2u);
    EXPECT_TRUE(recorder.resolves.empty());
    unicast->stop(query);
    unicast->stop(resolved);
    EXPECT_EQ(host.idle().idleCount(), 0u);
}

} // namespace
