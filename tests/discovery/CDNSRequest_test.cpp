#include "discovery/CDNSRequest.h"
#include "tests/discovery/DiscoveryTestSupport.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace {

std::atomic<int> gCallbacks{0};

void countBrowse(const char*, const char*, const char*, void*) {
    ++gCallbacks;
}
void countResolve(const char*, const char*, unsigned short, const char*, void*) {
    ++gCallbacks;
}

TEST(CDNSRequest, ReleasedRequestsStaySilent) {
    // Released at once, in the resolver or before it: no callback, and the worker threads end
    // on their own (the sanitizer build sees to their memory).
    gCallbacks = 0;
    for (int i = 0; i < 20; ++i) {
        AsyncDNSRelease(AsyncDNSBrowserCreate("vellum-test", "invalid", countBrowse, nullptr));
        AsyncDNSRelease(AsyncDNSResolverResolve("x._vellum-test._tcp.invalid.", "vellum-test",
                                                nullptr, countResolve, nullptr));
    }
    AsyncDNSRelease(nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(gCallbacks, 0);
}

} // namespace
