// Stopping vellum-host's scripts as a user does: --timeout on a script that never ends, and
// Ctrl-C typed at a terminal (a pseudo-terminal here, whose line discipline turns it into SIGINT
// for the program in front) during run and console.
#include "tests/support/CLoopbackHTTPServer.h"
#include "tests/support/HostProcess.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

/// vellum-host on a pseudo-terminal of its own: what it writes, and keys typed at it.
class TerminalHost {
public:
    TerminalHost(const std::vector<std::string>& arguments, const fs::path& scratch) {
        std::vector<std::string> argv = {std::string(VELL_BUILD_DIR) + "/vellum-host"};
        argv.insert(argv.end(), arguments.begin(), arguments.end());
        m_child = forkpty(&m_terminal, nullptr, nullptr, nullptr);
        if (m_child == 0) {
            setenv("XDG_DATA_HOME", scratch.c_str(), 1);
            if (chdir(scratch.c_str()) != 0)
                _exit(127);
            std::vector<char*> args;
            for (std::string& argument : argv)
                args.push_back(argument.data());
            args.push_back(nullptr);
            execv(args[0], args.data());
            _exit(127);
        }
    }
    ~TerminalHost() {
        if (m_child > 0 && !m_reaped) {
            kill(m_child, SIGKILL);
            waitpid(m_child, nullptr, 0);
        }
        if (m_terminal >= 0)
            close(m_terminal);
    }

    bool started() const { return m_child > 0; }

    void type(const std::string& keys) {
        ASSERT_EQ(write(m_terminal, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

    /// Reads until the output since the last mark holds text; false after seconds without it.
    bool waitFor(const std::string& text, int seconds = 10) {
        auto deadline = Clock::now() + std::chrono::seconds(seconds);
        while (m_output.find(text, m_mark) == std::string::npos) {
            if (Clock::now() >= deadline || !readSome(deadline))
                return false;
        }
        m_mark = m_output.find(text, m_mark) + text.size();
        return true;
    }

    /// The exit status once the program ends by itself, -1 when a signal or the time ended it.
    int exitStatus(int seconds = 10) {
        auto deadline = Clock::now() + std::chrono::seconds(seconds);
        int status = 0;
        while (Clock::now() < deadline) {
            readSome(Clock::now() + std::chrono::milliseconds(50));
            pid_t done = waitpid(m_child, &status, WNOHANG);
            if (done == m_child) {
                m_reaped = true;
                return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            }
        }
        return -1;
    }

    const std::string& output() const { return m_output; }

private:
    bool readSome(Clock::time_point deadline) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd fd = {m_terminal, POLLIN, 0};
        if (poll(&fd, 1, static_cast<int>(std::max<long long>(left.count(), 0))) <= 0)
            return Clock::now() < deadline;
        char buffer[4096];
        ssize_t count = read(m_terminal, buffer, sizeof buffer);
        if (count <= 0)
            return false;
        m_output.append(buffer, static_cast<size_t>(count));
        return true;
    }

    int m_terminal = -1;
    pid_t m_child = -1;
    bool m_reaped = false;
    std::string m_output;
    size_t m_mark = 0;
};

class HostStop : public ::testing::Test {
protected:
    void SetUp() override {
        m_scratch = fs::temp_directory_path() / ("vellum-stop-" + std::to_string(getpid()));
        fs::create_directories(m_scratch);
        std::ofstream(m_scratch / "endless.js") << "console.println('started');\n"
                                                   "try { for (;;) {} } finally {\n"
                                                   "  console.println('finally ran');\n"
                                                   "}\n";
    }
    void TearDown() override { fs::remove_all(m_scratch); }

    fs::path m_scratch;
};

TEST_F(HostStop, TheTimeOutEndsAnEndlessScript) {
    auto started = Clock::now();
    ProgramOutcome outcome = runVellumHost({"--timeout", "1", "run", "endless.js"}, m_scratch);
    auto took = Clock::now() - started;
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out, "started\n");
    EXPECT_EQ(outcome.err, "vellum-host: stopped the script after 1 seconds\n");
    EXPECT_GE(took, std::chrono::seconds(1));
    EXPECT_LT(took, std::chrono::seconds(6));
}

TEST_F(HostStop, ACallToAServerThatNeverAnswersEndsInANetworkErrorOrTheTimeOut) {
    CLoopbackHTTPServer server;
    LoopbackReply silent;
    silent.neverAnswer = true;
    server.route("/silent", silent);
    std::ofstream(m_scratch / "call.js")
        << "try {\n"
           "  SOAP.request({cURL: '"
        << server.url("/silent")
        << "', oRequest: {'urn:test:ping': {}},\n"
           "                cAction: 'urn:test#ping'});\n"
           "  console.println('answered');\n"
           "} catch (e) {\n"
           "  console.println(e.name + ' ' + e.statusCode + ' ' + e.message);\n"
           "}\n";
    struct Case {
        std::vector<std::string> arguments;
        int status;
        const char* out;
        const char* err;
    };
    const Case cases[] = {
        {{"--timeout", "20", "--pref", "Network.SyncIdleSeconds=1", "run", "call.js"},
         0,
         "NetworkError -5 The network connection timed out trying to reach the server.\n",
         ""},
        {{"--timeout", "1", "run", "call.js"},
         3,
         nullptr,
         "vellum-host: stopped the script after 1 seconds\n"},
    };
    for (const Case& c : cases) {
        auto started = Clock::now();
        ProgramOutcome outcome = runVellumHost(c.arguments, m_scratch);
        auto took = Clock::now() - started;
        EXPECT_EQ(outcome.status, c.status) << outcome.err;
        if (c.out) {
            EXPECT_EQ(outcome.out, c.out);
        }
        EXPECT_EQ(outcome.err, c.err);
        EXPECT_GE(took, std::chrono::seconds(1));
        EXPECT_LT(took, std::chrono::seconds(6));
    }
}

TEST_F(HostStop, CtrlCEndsARun) {
    TerminalHost host({"--timeout", "0", "run", "endless.js"}, m_scratch);
    ASSERT_TRUE(host.started());
    ASSERT_TRUE(host.waitFor("started")) << host.output();
    host.type("\x03");
    ASSERT_TRUE(host.waitFor("vellum-host: interrupted")) << host.output();
    // The host ends by itself, after the plug-in's own end, with the status of an interrupt.
    EXPECT_EQ(host.exitStatus(), 130) << host.output();
    EXPECT_EQ(host.output().find("finally ran"), std::string::npos) << host.output();
}

TEST_F(HostStop, CtrlCStopsAConsolePieceAndTheSessionGoesOn) {
    TerminalHost host({"--timeout", "0", "console"}, m_scratch);
    ASSERT_TRUE(host.started());
    ASSERT_TRUE(host.waitFor("> ")) << host.output();
    host.type("var turns = 0; for (;;) { turns++; }\r");
    // The piece is running once its line came back and no prompt follows it.
    ASSERT_TRUE(host.waitFor("turns++; }")) << host.output();
    EXPECT_FALSE(host.waitFor("> ", 1)) << host.output();
    host.type("\x03");
    ASSERT_TRUE(host.waitFor("vellum-host: interrupted")) << host.output();
    ASSERT_TRUE(host.waitFor("> ")) << host.output();
    // What the stopped piece did stays; the session runs the next one.
    host.type("String(turns > 0)\r");
    ASSERT_TRUE(host.waitFor("\r\ntrue\r\n")) << host.output();
    ASSERT_TRUE(host.waitFor("> ")) << host.output();
    // Ctrl-C at the prompt drops the line being typed.
    host.type("unfinished(");
    ASSERT_TRUE(host.waitFor("unfinished(")) << host.output();
    host.type("\x03");
    ASSERT_TRUE(host.waitFor("> ")) << host.output();
    host.type("6 * 7\r");
    ASSERT_TRUE(host.waitFor("42")) << host.output();
    ASSERT_TRUE(host.waitFor("> ")) << host.output();
    host.type("\x04");
    EXPECT_EQ(host.exitStatus(), 0) << host.output();
}

} // namespace
