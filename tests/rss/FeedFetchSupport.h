// Helpers for the tests of fetching feeds against the test host: a store that runs on the
// host's scripted network and virtual clock, the engine's test data, and readers of what a
// descriptor holds.
#pragma once

#include "frame/PluginEntry.h"
#include "rss/CRSSManager.h"
#include "tests/rss/RSSTestSupport.h"
#include "values/CAggWalk.h"
#include "values/QsCab.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

namespace rsstest {

/// A file under tests/data/rss/<folder>/.
inline std::string rssData(const std::string& path) {
    std::ifstream in(std::string(VELL_TEST_DATA) + "/rss/" + path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// A reply of status with a document of tests/data/rss/engine/ and the given headers.
inline FakeReply engineReply(long status, const std::string& file,
                             std::vector<std::pair<std::string, std::string>> headers = {}) {
    FakeReply reply = FakeReply::withBody(status, file.empty() ? "" : rssData("engine/" + file));
    reply.headers = std::move(headers);
    return reply;
}

/// A text of a descriptor as UTF-8; empty when it is not there.
inline std::string textOf(CAgg& descriptor, const char* key) {
    if (!CAggIsMap(descriptor) || !descriptor.has(key))
        return {};
    return EStrToUTF8(CAggValueText(descriptor[key]));
}

/// A number of a descriptor; 0 when it is not there.
inline long numberOf(CAgg& descriptor, const char* key) {
    if (!CAggIsMap(descriptor) || !descriptor.has(key))
        return 0;
    return CAgg(descriptor[key]).toQsInt32();
}

inline bool flagOf(CAgg& descriptor, const char* key) {
    return CAggIsMap(descriptor) && descriptor.has(key) && CAgg(descriptor[key]).toQsBool();
}

/// Each didUpdate, by URL.
class UpdateRecorder : public CRSSManager::Observer {
public:
    std::vector<std::string> updated;
    void didUpdate(EStr url) override { updated.emplace_back(EStrGetBytes(url)); }
};

/// A running store on the test host: the Tracker's network client is open, the cabinets are
/// empty, and the store has started before the test adds anything.
class FetchTest : public RSSTest {
protected:
    void SetUp() override {
        forgetStoredFeeds();
        static const char* const types[] = {"*/*", nullptr};
        if (!host.network().isInitialized())
            host.network().initialize();
        m_savedClient = gEFSClientIDs[1];
        gEFSClientIDs[1] = host.network().openClient("VellumTracker/1.0", types, 0);
        m_savedNow = host.idle().currentTime();
        host.idle().setTime(kStart);
        store = std::make_unique<CRSSManager>();
        store->ensureIsRunning();
        store->addObserver(&recorder);
    }
    void TearDown() override {
        store.reset();
        host.network().closeClient(gEFSClientIDs[1]);
        gEFSClientIDs[1] = m_savedClient;
        host.idle().setTime(m_savedNow);
    }

    /// Runs idle moments until no fetch and no scheduled call is left; the most requests that
    /// were open at once.
    size_t drain(int limit = 2000) {
        size_t most = host.network().openRequests();
        for (int i = 0; i < limit; ++i) {
            host.idle().runIdle();
            most = std::max(most, host.network().openRequests());
            if (host.network().openRequests() == 0 && host.idle().delayedCount() == 0)
                break;
        }
        return most;
    }
    /// Sets "now" to minutes after the test's start, without running anything. Ticks move the
    /// clock on from there: 6000 of them are 100 seconds.
    void minutesLater(long minutes) { host.idle().setTime(kStart + minutes * 60); }

    CAgg& descriptor(const char* url) { return store->getFeedDescriptor(CEStr(url)); }
    /// The requests sent for url, in order.
    std::vector<FakeSentRequest> sentTo(const std::string& url) {
        std::vector<FakeSentRequest> out;
        for (const FakeSentRequest& request : host.network().sent())
            if (request.url == url)
                out.push_back(request);
        return out;
    }
    /// The title of the feed's record.
    std::string titleOf(const char* url) {
        CAgg& feed = descriptor(url);
        if (!CAggIsMap(feed) || !feed.has("RSS"))
            return {};
        return textOf(feed["RSS"], "Title");
    }

    static constexpr long kStart = 1100000000;
    std::unique_ptr<CRSSManager> store;
    UpdateRecorder recorder;

private:
    NetClientID m_savedClient = kNoNetClient;
    int64_t m_savedNow = 0;
};

} // namespace rsstest
