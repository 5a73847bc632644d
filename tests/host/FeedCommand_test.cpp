// vellum-host feed, through the built host and plug-in: the feeds of tests/data/feeds/ read from
// files and over HTTP, each against its NAME.listing.txt, and the clear failures of sources that
// are no feeds.
#include "tests/support/CLoopbackHTTPServer.h"
#include "tests/support/HostProcess.h"

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

const char* const kFeeds[] = {
    "rss-0.91-latin1-customary-skips",
    "rss-0.92-enclosures-and-modules",
    "rss-2.0-extensions-and-oddities",
    "rdf-1.0-dublin-core",
    "atom-0.3-persons-and-modes",
    "podcast-itunes-media",
    "news-html-in-cdata",
    "blog-creators-and-comments",
};

fs::path feedFile(const std::string& name) {
    return fs::path(VELL_TEST_DATA) / "feeds" / name;
}

class FeedCommand : public ::testing::Test {
protected:
    void SetUp() override {
        scratch = fs::temp_directory_path() / ("vellum-feed-" + std::to_string(getpid()));
        fs::create_directories(scratch);
    }
    void TearDown() override { fs::remove_all(scratch); }

    ProgramOutcome feed(const std::string& source) {
        return runVellumHost({"--timeout", "20", "feed", source}, scratch);
    }

    fs::path scratch;
};

TEST_F(FeedCommand, PrintsEachFeedFromAFile) {
    for (const char* name : kFeeds) {
        SCOPED_TRACE(name);
        ProgramOutcome outcome = feed(feedFile(std::string(name) + ".xml"));
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.out, readWholeFile(feedFile(std::string(name) + ".listing.txt")));
        EXPECT_EQ(outcome.err, "");
    }
    // The user's store was not used: nothing was written to the data folder.
    EXPECT_FALSE(fs::exists(scratch / "vellum"));
}

TEST_F(FeedCommand, FetchesAFeedOverHTTP) {
    CLoopbackHTTPServer server;
    server.route("/news.xml", LoopbackReply::withBody(
                                  200, readWholeFile(feedFile("news-html-in-cdata.xml")), 4096));
    ProgramOutcome outcome = feed(server.url("/news.xml"));
    ASSERT_EQ(server.requests().size(), 1u) << "the host fetches the feed once";
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, readWholeFile(feedFile("news-html-in-cdata.listing.txt")));
}

TEST_F(FeedCommand, SourcesThatAreNoFeedsFailClearly) {
    CLoopbackHTTPServer server;
    server.route("/page.html", LoopbackReply::withBody(200, "<html><body>hi</body></html>", 64));
    server.route("/broken", LoopbackReply::withBody(500, "oops", 64));
    fs::path empty = scratch / "empty.xml";
    std::ofstream(empty).close();
    struct Case {
        std::string source;
        int status;
        std::string error; // standard error after "vellum-host: SOURCE: "
    };
    const Case cases[] = {
        {(scratch / "missing.xml").string(), 1, "cannot read it\n"},
        {scratch.string(), 1, "it is a folder\n"},
        {server.url("/gone.xml"), 1, "the server answered with HTTP status 404\n"},
        {server.url("/broken"), 1, "the server answered with HTTP status 500\n"},
        {"http://127.0.0.1:1/feed.xml", 1, "cannot connect to the server\n"},
        {server.url("/page.html"), 1, "the reader made no feed of it\n"},
        {empty.string(), 1, "the reader made no feed of it\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.source);
        ProgramOutcome outcome = feed(c.source);
        EXPECT_EQ(outcome.status, c.status);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.err, "vellum-host: " + c.source + ": " + c.error);
    }
}

TEST_F(FeedCommand, TheTimeLimitEndsAFetchThatNeverAnswers) {
    CLoopbackHTTPServer server;
    LoopbackReply silent;
    silent.neverAnswer = true;
    server.route("/silent.xml", silent);
    ProgramOutcome outcome =
        runVellumHost({"--timeout", "1", "feed", server.url("/silent.xml")}, scratch);
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "vellum-host: gave up after 1 seconds\n");
}

TEST_F(FeedCommand, CommandLine) {
    struct Case {
        std::vector<std::string> arguments;
        int status;
        std::string firstLine; // of standard output, or of standard error when it fails
    };
    const Case cases[] = {
        {{"feed", "--help"}, 0, "usage: vellum-host [options] feed URL|FILE"},
        {{"feed"}, 2, "vellum-host: feed takes one URL or file"},
        {{"feed", "a.xml", "b.xml"}, 2, "vellum-host: feed takes one URL or file"},
        {{"feed", "--domain", "x", "a.xml"},
         2,
         "vellum-host: --domain and --resolve go with "
         "discover"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments.back());
        ProgramOutcome outcome = runVellumHost(c.arguments, scratch);
        EXPECT_EQ(outcome.status, c.status);
        const std::string& text = c.status == 0 ? outcome.out : outcome.err;
        EXPECT_EQ(text.substr(0, text.find('\n')), c.firstLine);
    }
    ProgramOutcome usage = runVellumHost({"--help"}, scratch);
    EXPECT_NE(usage.out.find("  feed URL|FILE  print what the plug-in's feed reader makes of a "
                             "feed\n"),
              std::string::npos);
}

} // namespace
