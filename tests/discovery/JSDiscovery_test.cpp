#include "discovery/CJSDiscoveryModule.h"
#include "tests/discovery/DiscoveryTestSupport.h"
#include "tests/fakehost/FakeHost.h"
#include "values/CESEventScope.h"

#include <fstream>
#include <sstream>

namespace {

std::string fileText(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

class JSDiscovery : public ::testing::Test {
protected:
    void SetUp() override {
        host.installScriptEngine();
        module.init();
        context = host.scriptEngine().newContext("App", nullptr);
        run(fileText(std::string(VELL_TEST_DATA) + "/discovery/listeners.js"));
    }
    void TearDown() override { module.term(); }

    /// Runs source as a script of the event (a console script unless told); the text of its
    /// value, or "error N" when it fails.
    std::string run(const std::string& source, const char* type = "Console",
                    const char* name = "Exec") {
        std::string text;
        HostFrame frame;
        frame.run([&] {
            CES::EventScope event(context, type, name);
            CES::Val value(context);
            event.evaluate(source.c_str(), static_cast<long>(source.size()), value);
            text = value.text().getString();
        });
        return frame.code() ? "error " + std::to_string(frame.code()) : text;
    }
    /// The calls heard since the last look, one a line.
    std::string heard() { return run("var h = heard.join('\\n'); heard = []; h"); }

    FakeHost host;
    FakeMulticastDNS& mdns = host.multicastDNS();
    CJSDiscoveryModule module;
    ESContext context = nullptr;
};

TEST_F(JSDiscovery, OnlyBatchAndConsoleScriptsMayDiscover) {
    const char* query = "attempt(function() { SOAP.queryServices('http', listener('q')); "
                        "return 'started'; })";
    const char* resolve = "attempt(function() { SOAP.resolveService('http', 'local.', 'P', "
                          "listener('r')); return 'started'; })";
    struct Case {
        const char* type;
        const char* name;
        const char* expected;
    };
    const Case cases[] = {
        {"Console", "Exec", "\"started\""}, {"Batch", "Exec", "\"started\""},
        {"Doc", "Open", "SecurityError"},   {"Console", "Open", "SecurityError"},
        {"Page", "Exec", "SecurityError"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.type) + "/" + c.name);
        EXPECT_EQ(run(query, c.type, c.name).substr(0, std::string(c.expected).size()), c.expected);
        EXPECT_EQ(run(resolve, c.type, c.name).substr(0, std::string(c.expected).size()),
                  c.expected);
    }
    // Two of each began, by the two allowed events.
    EXPECT_EQ(mdns.requests().size(), 4u);
}

TEST_F(JSDiscovery, ArgumentsAndDomains) {
    struct Case {
        const char* call;
        const char* outcome; // prefix of what attempt() gives
        size_t multicast;    // browses started
        size_t consumers;    // idle procedures registered
    };
    const Case cases[] = {
        {"SOAP.queryServices('http', listener('a'))", "{}", 1, 1},
        {"SOAP.queryServices({cType: 'http', oAsync: listener('a')})", "{}", 1, 1},
        {"SOAP.queryServices('http', listener('a'), ['local.', 'corp.'])", "{}", 1, 2},
        {"SOAP.queryServices('http', listener('a'), ['', 'local.', null, 7])", "{}", 1, 1},
        // Elements that are no strings make no clients; the object does nothing.
        {"SOAP.queryServices('http', listener('a'), [1, 2])", "{}", 0, 0},
        {"SOAP.queryServices('http', listener('a'), 'local.')", "ArgumentError", 0, 0},
        {"SOAP.queryServices('http')", "ArgumentError", 0, 0},
        {"SOAP.queryServices('http', 'not an object')", "ArgumentError", 0, 0},
        {"SOAP.resolveService('http', 'local.', 'Printer', listener('a'))", "{}", 0, 1},
        // Without a domain a resolve goes to unicast.
        {"SOAP.resolveService({cType: 'http', cService: 'P._http._tcp.x.', oResult: "
         "listener('a')})",
         "{}", 0, 1},
        {"SOAP.resolveService('http', 'local.', 'Printer')", "ArgumentError", 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.call);
        size_t browsesBefore = 0;
        for (const auto& request : mdns.requests())
            browsesBefore += request.browse ? 1 : 0;
        std::string outcome = run(std::string("var q = null; attempt(function() { q = ") + c.call +
                                  "; return {}; })");
        EXPECT_EQ(outcome.substr(0, std::string(c.outcome).size()), c.outcome) << outcome;
        size_t browses = 0;
        for (const auto& request : mdns.requests())
            browses += request.browse ? 1 : 0;
        EXPECT_EQ(browses - browsesBefore, c.multicast);
        EXPECT_EQ(host.idle().idleCount(), c.consumers);
        run("if (q) q.stop(); q = null;");
        EXPECT_EQ(host.idle().idleCount(), 0u);
    }
}

TEST_F(JSDiscovery, BrowseTellsOnlyOfChanges) {
    run("var q = SOAP.queryServices('ipp', listener('q'));");
    EXPECT_EQ(run("String(q) + ' ' + typeof q.stop + ' ' + ('Container' in q)"),
              "[object DiscoveryQuery] function false");
    ASSERT_EQ(mdns.requests().size(), 1u);
    EXPECT_EQ(mdns.requests()[0].type, "_ipp._tcp");

    host.idle().advanceTicks(60);
    EXPECT_EQ(heard(), "");
    mdns.browseReply(0, kDNSServiceBrowserReplyAddInstance, "Lab", "_ipp._tcp.", "local.");
    host.idle().advanceTicks(20);
    EXPECT_EQ(heard(), "q add {\"Lab\":{\"domain\":\"local.\",\"name\":\"Lab\",\"type\":"
                       "\"_ipp._tcp.\"}}");
    mdns.browseReply(0, kDNSServiceBrowserReplyRemoveInstance, "Lab", "_ipp._tcp.", "local.");
    mdns.browseReply(0, kDNSServiceBrowserReplyAddInstance, "Hall", "_ipp._tcp.", "local.");
    host.idle().advanceTicks(20);
    EXPECT_EQ(heard(), "q add {\"Hall\":{\"domain\":\"local.\",\"name\":\"Hall\",\"type\":"
                       "\"_ipp._tcp.\"}}\n"
                       "q remove {\"Lab\":{\"domain\":\"local.\",\"name\":\"Lab\",\"type\":"
                       "\"_ipp._tcp.\"}}");

    // Stop ends it; a second stop does nothing.
    EXPECT_EQ(run("q.stop(); q.stop(); 'stopped'"), "stopped");
    EXPECT_EQ(mdns.liveCount(), 0u);
    EXPECT_FALSE(mdns.browseReply(0, kDNSServiceBrowserReplyAddInstance, "Late"));
    host.idle().advanceTicks(40);
    EXPECT_EQ(heard(), "");
}

TEST_F(JSDiscovery, AThrowingListenerDoesNotStopTheBrowse) {
    run("var calls = 0; var q = SOAP.queryServices('http', {addServices: function() { "
        "++calls; throw new Error('listener failed'); }});");
    for (int i = 0; i < 3; ++i) {
        mdns.browseReply(0, kDNSServiceBrowserReplyAddInstance, "S" + std::to_string(i));
        host.idle().advanceTicks(20);
    }
    EXPECT_EQ(run("calls"), "3");
    EXPECT_EQ(mdns.liveCount(), 1u);
    // A listener without the method is skipped.
    run("q.stop(); q = SOAP.queryServices('http', {});");
    mdns.browseReply(1, kDNSServiceBrowserReplyAddInstance, "Quiet");
    host.idle().advanceTicks(20);
    run("q.stop();");
}

TEST_F(JSDiscovery, ResolveAnswersAndTimesOut) {
    run("var r = SOAP.resolveService('http', 'local.', 'Office Printer', listener('r'));");
    EXPECT_EQ(run("String(r)"), "[object DiscoveryResolve]");
    ASSERT_EQ(mdns.requests().size(), 1u);
    EXPECT_EQ(mdns.requests()[0].name, "Office Printer");
    EXPECT_EQ(mdns.requests()[0].domain, "local.");
    mdns.resolveReply(0, "path=/queue\x01note=x", 0xC0A80002, 631);
    host.idle().advanceTicks(20);
    EXPECT_EQ(heard(), "r resolve \"Office Printer\" {\"note\":\"x\",\"path\":\"/queue\","
                       "\"port\":\"631\",\"target\":\"192.168.0.2\"}");

    // No answer: an empty result after 60 seconds.
    run("var r2 = SOAP.resolveService('http', 'local.', 'Gone', listener('r2'));");
    host.idle().advanceTicks(60 * 60);
    EXPECT_EQ(heard(), "");
    host.idle().advanceTicks(60 * 2);
    EXPECT_EQ(heard(), "r2 resolve \"Gone\" {}");
    EXPECT_EQ(mdns.liveCount(), 0u);
}

TEST_F(JSDiscovery, ACollectedResultObjectStopsItsRequests) {
    run("(function() { SOAP.queryServices('http', listener('dropped')); "
        "SOAP.resolveService('http', 'local.', 'P', listener('dropped')); })(); 1");
    EXPECT_EQ(mdns.liveCount(), 2u);
    host.scriptEngine().collectGarbage();
    EXPECT_EQ(mdns.liveCount(), 0u);
    EXPECT_EQ(host.idle().idleCount(), 0u);
}

} // namespace
