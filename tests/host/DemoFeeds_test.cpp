// The feed part of examples/demo.js over two runs of vellum-host demo with one data folder: the
// second run finds the subscriptions of the first.
#include "tests/support/HostProcess.h"

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

/// The lines of text that begin with prefix, in order.
std::vector<std::string> linesStarting(const std::string& text, const std::string& prefix) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        if (line.compare(0, prefix.size(), prefix) == 0)
            lines.push_back(line);
    return lines;
}

TEST(DemoFeeds, ASecondRunFindsTheSubscriptionsAgain) {
    fs::path scratch = fs::temp_directory_path() / ("vellum-demofeeds-" + std::to_string(getpid()));
    fs::create_directories(scratch);
    ProgramOutcome first = runVellumHost({"--timeout", "20", "demo"}, scratch);
    EXPECT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(linesStarting(first.out, "   No subscriptions from an earlier run").size(), 1u)
        << first.out;
    EXPECT_TRUE(linesStarting(first.out, "   Found again").empty());

    ProgramOutcome second = runVellumHost({"--timeout", "20", "demo"}, scratch);
    EXPECT_EQ(second.status, 0) << second.err;
    std::vector<std::string> found = linesStarting(second.out, "   Found again");
    ASSERT_EQ(found.size(), 2u) << second.out;
    // Then what the store kept of the feed: its title and items, or that it had not arrived.
    EXPECT_EQ(found[0].rfind("   Found again from an earlier run: /feeds/news.xml, ", 0), 0u);
    EXPECT_EQ(found[1].rfind("   Found again from an earlier run: /feeds/notes.atom, ", 0), 0u);
    EXPECT_TRUE(linesStarting(second.out, "   No subscriptions").empty());

    // Each run moves the subscriptions to its own server: they do not pile up.
    ProgramOutcome third = runVellumHost({"--timeout", "20", "demo"}, scratch);
    EXPECT_EQ(linesStarting(third.out, "   Found again").size(), 2u) << third.out;
    fs::remove_all(scratch);
}

} // namespace
