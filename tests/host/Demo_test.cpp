// vellum-host demo end to end: its own services on 127.0.0.1 and examples/demo.js, which must
// tell the story of tests/data/host/demo.out (the port, the server's clock and the host's path
// masked).
#include "tests/support/HostProcess.h"

#include <gtest/gtest.h>

#include <regex>

namespace {

namespace fs = std::filesystem;

TEST(Demo, RunsTheExampleAgainstItsOwnServices) {
    fs::path scratch = fs::temp_directory_path() / ("vellum-demo-" + std::to_string(getpid()));
    fs::create_directories(scratch);
    ProgramOutcome outcome = runVellumHost({"--timeout", "20", "demo"}, scratch);
    std::string out = std::regex_replace(outcome.out, std::regex(R"(http://127\.0\.0\.1:\d+)"),
                                         "http://127.0.0.1:PORT");
    out = std::regex_replace(out, std::regex(R"(\d{4}-\d\d-\d\dT[\d:.]+Z)"), "TIME");
    // The command that opens the Tracker names the host as it was started.
    out = std::regex_replace(out, std::regex(R"(\S*vellum-host tracker)"), "vellum-host tracker");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(out, readWholeFile(fs::path(VELL_TEST_DATA) / "host" / "demo.out"));
    EXPECT_EQ(outcome.err, "");

    // Another script can be run against the same services in place of the example.
    fs::path script = scratch / "own.js";
    std::ofstream(script) << "console.println(SOAP.connect(demoServer + '/echo.wsdl')"
                             ".echoString('mine'));";
    outcome = runVellumHost({"demo", script.string()}, scratch);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    // The first run's subscriptions are still there, so the Tracker's tree follows.
    EXPECT_TRUE(outcome.out.starts_with("mine\n\nThe Tracker now shows")) << outcome.out;
    fs::remove_all(scratch);
}

} // namespace
