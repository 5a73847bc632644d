// What the scripted network promises beyond the real one's contract: replies taken in order,
// steps of asynchronous replies tied to the idle clock, and a record of what was sent.
#include "frame/HostTables.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/host/NetTestSupport.h"

#include <gtest/gtest.h>

namespace {

TEST(FakeNetwork, RepliesAreTakenInOrderAndTheLastOneStays) {
    FakeHost host;
    FakeNetwork& net = host.network();
    EXPECT_EQ(gNetSpanHFT, &net);
    ASSERT_TRUE(net.initialize());
    NetClientID client = net.openClient("UA", nullptr, 5);
    net.addReply("http://feeds.example/rss", FakeReply::withBody(200, "first"));
    net.addReply("http://feeds.example/rss", FakeReply::withBody(304, ""));

    struct Case {
        const char* url;
        long status;
        std::string body;
    } cases[] = {
        {"http://feeds.example/rss", 200, "first"},
        {"http://feeds.example/rss", 304, ""},
        {"http://feeds.example/rss", 304, ""},
        {"http://feeds.example/other", kNetErrNotFound, ""},
    };
    for (const Case& c : cases) {
        NetRequest request = net.openURL(c.url, kNetOpenRead);
        ASSERT_TRUE(net.setTimeoutsAndFlags(request, client, 0));
        ASSERT_TRUE(net.setHeader(request, "If-None-Match", "\"v1\""));
        net.sendAndWait(request);
        EXPECT_EQ(net.status(request), c.status) << c.url;
        EXPECT_EQ(readToEnd(net, request).body, c.body) << c.url;
        net.close(request);
    }
    ASSERT_EQ(net.sent().size(), std::size(cases));
    EXPECT_EQ(net.sent()[1].header("if-none-match"), "\"v1\"");
    EXPECT_EQ(net.sent()[1].client, client);
    EXPECT_EQ(net.openRequests(), 0u);
}

TEST(FakeNetwork, AsynchronousRepliesMoveOneStepPerIdleMoment) {
    FakeHost host;
    FakeNetwork& net = host.network();
    net.initialize();
    net.addReply("http://a.example/", FakeReply::withBody(200, "aaaa", 2));
    net.addReply("http://b.example/", FakeReply::withBody(200, "bbbbbb", 2));
    std::string order;
    struct Sink {
        std::string* order;
        char name;
        static int32_t consume(NetRequest, const char*, long length, long, long, void* data) {
            auto* self = static_cast<Sink*>(data);
            *self->order += length ? self->name : static_cast<char>(self->name - 'a' + 'A');
            return 1;
        }
    } a{&order, 'a'}, b{&order, 'b'};
    NetRequest ra = net.openURLAsync("http://a.example/", kNetOpenRead, &Sink::consume, &a);
    NetRequest rb = net.openURLAsync("http://b.example/", kNetOpenRead, &Sink::consume, &b);
    EXPECT_EQ(order, ""); // nothing before the clock moves
    host.idle().runIdle();
    EXPECT_EQ(order, "ab");
    host.idle().advanceTicks(3);
    // Two pieces and the final call for a; three pieces and the final call for b.
    EXPECT_EQ(order, "ababAbB");
    EXPECT_EQ(host.idle().idleCount(), 0u); // the fake stops asking for idle time
    net.close(ra);
    net.close(rb);
}

} // namespace
