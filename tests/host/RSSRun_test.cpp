// Scripts that subscribe through RSS, run by vellum-host run: the run waits for the fetches it
// started and no longer, and the subscriptions and what was fetched are there at the next run.
#include "tests/support/CLoopbackHTTPServer.h"
#include "tests/support/HostProcess.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

namespace fs = std::filesystem;

class RSSRun : public ::testing::Test {
protected:
    void SetUp() override {
        scratch = fs::temp_directory_path() / ("vellum-rssrun-" + std::to_string(getpid()));
        fs::create_directories(scratch);
    }
    void TearDown() override { fs::remove_all(scratch); }

    /// Runs the script with the data folder of this test; the time it took goes to seconds.
    ProgramOutcome run(const std::string& script, double* seconds = nullptr) {
        fs::path file = scratch / "script.js";
        std::ofstream(file) << script;
        auto start = std::chrono::steady_clock::now();
        ProgramOutcome outcome = runVellumHost({"--timeout", "20", "run", file.string()}, scratch);
        if (seconds)
            *seconds =
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return outcome;
    }

    fs::path scratch;
};

TEST_F(RSSRun, SubscriptionsSurviveTheRun) {
    double seconds = 0;
    ProgramOutcome first = run("RSS.addFeed('http://127.0.0.1:1/news.xml');"
                               "RSS.addFeed('http://127.0.0.1:1/once.xml', false, false);"
                               "RSS.addFeed('http://127.0.0.1:1/icon.png', false, true, 'Icon');"
                               "RSS.update('http://127.0.0.1:1/news.xml', true, 'local');"
                               "console.println(RSS.feeds.join(' '));",
                               &seconds);
    EXPECT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(first.out, "http://127.0.0.1:1/news.xml http://127.0.0.1:1/once.xml "
                         "http://127.0.0.1:1/icon.png\n");
    // The update timer of the store is no work of the script's: the run does not wait for it.
    EXPECT_LT(seconds, 15.0);

    // The transient feed went at the end of the run; the others are found again.
    ProgramOutcome second = run("console.println(RSS.feeds.join(' '));"
                                "console.println(JSON.stringify(RSS.getContents("
                                "'http://127.0.0.1:1/news.xml')));"
                                "console.println(typeof RSS.getContents("
                                "'http://127.0.0.1:1/icon.png'));");
    EXPECT_EQ(second.status, 0) << second.err;
    EXPECT_EQ(second.out, "http://127.0.0.1:1/news.xml http://127.0.0.1:1/icon.png\n{}\n"
                          "undefined\n");
}

TEST_F(RSSRun, TheRunWaitsForTheFetchesItStarted) {
    CLoopbackHTTPServer server;
    LoopbackReply slow = LoopbackReply::withBody(
        200, readWholeFile(fs::path(VELL_TEST_DATA) / "feeds" / "rdf-1.0-dublin-core.xml"), 512);
    slow.chunkDelayMs = 200;
    server.route("/moths.rdf", slow);
    std::string url = server.url("/moths.rdf");
    ProgramOutcome first = run("RSS.addFeed('" + url + "'); console.println('subscribed');");
    EXPECT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(first.out, "subscribed\n");
    ASSERT_FALSE(server.requests().empty()) << "the run ended before its fetch";

    // What arrived before the first run ended was kept.
    ProgramOutcome second = run("var f = RSS.getContents('" + url +
                                "'); console.println(f.Title + ' ' + f.Items.length);");
    EXPECT_EQ(second.status, 0) << second.err;
    EXPECT_EQ(second.out, "Moth Trap Diary 2\n");
    EXPECT_EQ(server.requests().size(), 1u) << "a fresh feed is not fetched again";
}

} // namespace
