// vellum-host tracker as a person runs it: it prints the page's address with its token, serves
// the page only to that address's holder, and stops in order on SIGTERM; a port that is taken
// is an error it names.
#include "tests/support/HostProcess.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include <chrono>
#include <regex>
#include <thread>

namespace {

namespace fs = std::filesystem;

long statusOf(const std::string& url) {
    CURL* curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_NOBODY, 1L);
    curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 10L);
    long status = 0;
    if (curl_easy_perform(curl) == CURLE_OK)
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_cleanup(curl);
    return status;
}

// A socket listening on a port of 127.0.0.1 that the system chose.
int listenOnLoopback(uint16_t& port) {
    int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    bind(listener, reinterpret_cast<sockaddr*>(&address), length);
    listen(listener, 1);
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    port = ntohs(address.sin_port);
    return listener;
}

class TrackerCommand : public ::testing::Test {
protected:
    void SetUp() override {
        m_scratch = fs::temp_directory_path() / ("vellum-tracker-" + std::to_string(getpid()));
        fs::create_directories(m_scratch);
        setenv("XDG_DATA_HOME", m_scratch.c_str(), 1);
    }
    void TearDown() override { fs::remove_all(m_scratch); }

    pid_t start(const std::vector<std::string>& arguments) {
        std::vector<std::string> argv = {std::string(VELL_BUILD_DIR) + "/vellum-host"};
        argv.insert(argv.end(), arguments.begin(), arguments.end());
        return startProgram(argv, m_scratch, m_scratch / "stdout", m_scratch / "stderr");
    }

    // The address the host printed, once it has.
    std::string address() {
        std::smatch found;
        for (int tries = 0; tries < 300; ++tries) {
            std::string out = readWholeFile(m_scratch / "stdout");
            if (std::regex_search(
                    out, found,
                    std::regex("(http://127\\.0\\.0\\.1:\\d+/\\?token=[0-9a-f]{32})\n")))
                return found[1];
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        return "";
    }

    fs::path m_scratch;
};

TEST_F(TrackerCommand, ServesTheHolderOfTheTokenUntilStopped) {
    // A port taken and given back: free for the host to take.
    uint16_t port = 0;
    close(listenOnLoopback(port));
    pid_t host = start({"--timeout", "60", "tracker", "--port", std::to_string(port)});
    ASSERT_GT(host, 0);
    std::string url = address();
    ASSERT_FALSE(url.empty()) << readWholeFile(m_scratch / "stderr");
    std::string base = "http://127.0.0.1:" + std::to_string(port);
    EXPECT_EQ(url.rfind(base + "/?token=", 0), 0u) << url;
    EXPECT_EQ(statusOf(url), 200);
    EXPECT_EQ(statusOf(base + "/"), 403);
    EXPECT_EQ(statusOf(base + "/state?token=0123456789abcdef0123456789abcdef"), 403);

    kill(host, SIGTERM);
    int status = -1;
    ASSERT_EQ(waitpid(host, &status, 0), host);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(statusOf(url), 0) << "nothing answers once the host has stopped";

    // A second run has a token of its own.
    pid_t again = start({"--timeout", "60", "tracker", "--port", std::to_string(port)});
    ASSERT_GT(again, 0);
    std::string second;
    for (int tries = 0; tries < 300 && (second.empty() || second == url); ++tries)
        second = address();
    EXPECT_NE(second, url);
    EXPECT_EQ(statusOf(url), 403) << "the first token is no good any more";
    kill(again, SIGTERM);
    waitpid(again, &status, 0);
}

TEST_F(TrackerCommand, APortThatIsTakenIsAnError) {
    uint16_t port = 0;
    int taken = listenOnLoopback(port);
    ProgramOutcome outcome =
        runVellumHost({"--timeout", "20", "tracker", "--port", std::to_string(port)}, m_scratch);
    close(taken);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("vellum-host: cannot serve the Tracker: cannot listen on "
                               "127.0.0.1: "),
              std::string::npos)
        << outcome.err;
    EXPECT_EQ(outcome.out.find("token="), std::string::npos);
}

} // namespace
