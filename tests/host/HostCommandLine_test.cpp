// vellum-host's command line as a user meets it: the help of the host and of each command, and
// the errors of command lines it cannot run.
#include "tests/support/HostProcess.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

class HostCommandLine : public ::testing::Test {
protected:
    void SetUp() override {
        m_scratch = fs::temp_directory_path() / ("vellum-cmdline-" + std::to_string(getpid()));
        fs::create_directories(m_scratch);
    }
    void TearDown() override { fs::remove_all(m_scratch); }

    ProgramOutcome host(const std::vector<std::string>& arguments) {
        return runVellumHost(arguments, m_scratch);
    }

    fs::path m_scratch;
};

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

/// How many lines of the text start with "  " and then the word.
int entriesFor(const std::string& text, const std::string& word) {
    int count = 0;
    for (const std::string& line : linesOf(text))
        count += line.rfind("  " + word, 0) == 0 ? 1 : 0;
    return count;
}

TEST_F(HostCommandLine, HelpGivesOneLineForEachCommandAndOption) {
    const char* entries[] = {"info",        "run FILE",          "console",
                             "demo [FILE]", "--plugin PATH",     "--pref SECTION.KEY=VALUE",
                             "--yes, --no", "--timeout SECONDS", "-h, --help",
                             "tracker",     "--port N",          "--open"};
    for (const char* spelling : {"--help", "-h"}) {
        ProgramOutcome outcome = host({spelling});
        EXPECT_EQ(outcome.status, 0) << spelling;
        EXPECT_EQ(outcome.err, "");
        for (const char* entry : entries)
            EXPECT_EQ(entriesFor(outcome.out, entry), 1) << entry << "\n" << outcome.out;
        // Each entry has its say on its own line: below the synopsis nothing is indented further.
        std::vector<std::string> lines = linesOf(outcome.out);
        for (size_t i = 2; i < lines.size(); ++i) {
            const std::string& line = lines[i];
            EXPECT_NE(line.rfind("   ", 0), 0u) << line;
            EXPECT_LE(line.size(), 100u) << line;
        }
    }
}

TEST_F(HostCommandLine, EachCommandHasItsOwnHelp) {
    struct Case {
        std::vector<std::string> arguments;
        const char* firstLine;
        const char* mentions;
    };
    const Case cases[] = {
        {{"info", "--help"}, "usage: vellum-host [options] info", "version granted"},
        {{"run", "--help"},
         "usage: vellum-host [options] run FILE",
         "3 when --timeout ends the run"},
        {{"--help", "run"}, "usage: vellum-host [options] run FILE", "uncaught exception"},
        {{"console", "-h"}, "usage: vellum-host [options] console", "a line at a time"},
        {{"demo", "--help"}, "usage: vellum-host [options] demo [FILE]", "demoServer"},
        {{"tracker", "--help"}, "usage: vellum-host [options] tracker", "?token="},
    };
    for (const Case& c : cases) {
        ProgramOutcome outcome = host(c.arguments);
        EXPECT_EQ(outcome.status, 0) << c.firstLine;
        ASSERT_FALSE(linesOf(outcome.out).empty()) << c.firstLine;
        EXPECT_EQ(linesOf(outcome.out)[0], c.firstLine);
        EXPECT_NE(outcome.out.find(c.mentions), std::string::npos) << outcome.out;
        // The options apply to every command, so its help lists them as well.
        EXPECT_EQ(entriesFor(outcome.out, "--timeout SECONDS"), 1) << outcome.out;
    }
}

TEST_F(HostCommandLine, ACommandLineItCannotRunNamesWhatIsWrong) {
    struct Case {
        std::vector<std::string> arguments;
        const char* error;
    };
    const Case cases[] = {
        {{"--frobnicate", "info"}, "vellum-host: unknown option --frobnicate\n"},
        {{"run", "-x", "a.js"}, "vellum-host: unknown option -x\n"},
        {{"console", "--timeout"}, "vellum-host: --timeout needs a number of seconds\n"},
        {{"--pref"}, "vellum-host: --pref needs a value\n"},
        {{"reticulate"}, "vellum-host: unknown command reticulate\n"},
        {{"reticulate", "--help"}, "vellum-host: unknown command reticulate\n"},
        {{}, "vellum-host: no command\n"},
        {{"info", "console"}, "vellum-host: one command at a time\n"},
        {{"demo", "a.js", "b.js"}, "vellum-host: demo takes one file\n"},
        {{"--pref", "nodot", "info"},
         "vellum-host: a preference is SECTION.KEY=VALUE, not nodot\n"},
        {{"tracker", "--port"}, "vellum-host: --port needs a port number from 1 to 65535\n"},
        {{"tracker", "--port", "0"}, "vellum-host: --port needs a port number from 1 to 65535\n"},
        {{"tracker", "--port", "65536"},
         "vellum-host: --port needs a port number from 1 to 65535\n"},
        {{"tracker", "--port", "80a"}, "vellum-host: --port needs a port number from 1 to 65535\n"},
        {{"info", "--open"}, "vellum-host: --port and --open go with tracker\n"},
        {{"run", "a.js", "--port", "8080"}, "vellum-host: --port and --open go with tracker\n"},
        {{"tracker", "feeds.opml"}, "vellum-host: one command at a time\n"},
    };
    for (const Case& c : cases) {
        ProgramOutcome outcome = host(c.arguments);
        EXPECT_EQ(outcome.status, 2) << c.error;
        EXPECT_EQ(linesOf(outcome.err).at(0) + "\n", c.error);
        // The usage follows, so the user sees what would have been right.
        EXPECT_NE(outcome.err.find("\ncommands:\n"), std::string::npos) << c.error;
        EXPECT_EQ(outcome.out, "") << c.error;
    }
}

} // namespace
