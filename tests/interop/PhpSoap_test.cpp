// Interoperability with a SOAP server nobody here wrote: PHP's SoapServer in WSDL mode, run by
// `php -S` on a free port of 127.0.0.1 with the router, WSDL documents and service classes of
// tests/data/interop. Each NAME.js there runs through vellum-host run, after the shared helpers
// and a line that sets interopServer, and must print NAME.out.
#include "tests/support/HostProcess.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

namespace fs = std::filesystem;

fs::path interopData() {
    return fs::path(VELL_TEST_DATA) / "interop";
}

// A port of 127.0.0.1 that nobody listens on right now.
int freePort() {
    int probe = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    int port = -1;
    if (bind(probe, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
        getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) == 0)
        port = ntohs(address.sin_port);
    close(probe);
    return port;
}

bool accepts(int port) {
    int client = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    bool connected = connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(client);
    return connected;
}

class PhpSoap : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        std::optional<std::string> php = findProgram("php");
        if (!php)
            return;
        s_scratch = fs::temp_directory_path() / ("vellum-interop-" + std::to_string(getpid()));
        fs::create_directories(s_scratch);
        s_port = freePort();
        s_server = startProgram({*php, "-S", "127.0.0.1:" + std::to_string(s_port), "router.php"},
                                interopData(), s_scratch / "php.out", s_scratch / "php.err");
        for (int i = 0; i < 200 && s_server > 0 && !accepts(s_port); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    static void TearDownTestSuite() {
        if (s_server > 0) {
            kill(s_server, SIGTERM);
            waitpid(s_server, nullptr, 0);
            s_server = -1;
        }
        if (!s_scratch.empty())
            fs::remove_all(s_scratch);
    }
    void SetUp() override {
        if (s_server <= 0 && !findProgram("php"))
            GTEST_SKIP() << "php is missing: the interoperability tests need php-cli and php-soap "
                            "(scripts/install-deps installs them)";
        ASSERT_TRUE(s_server > 0 && accepts(s_port))
            << "php -S did not start: " << readWholeFile(s_scratch / "php.err");
    }

    static std::string base() { return "http://127.0.0.1:" + std::to_string(s_port); }

    static inline fs::path s_scratch;
    static inline int s_port = -1;
    static inline pid_t s_server = -1;
};

TEST_F(PhpSoap, EachStyleAndVersionGivesTheValuesItShould) {
    for (const char* name : {"rpc-encoded", "document-literal"}) {
        fs::path script = s_scratch / (std::string(name) + ".js");
        std::ofstream(script, std::ios::binary)
            << "var interopServer = \"" << base() << "\";\n"
            << readWholeFile(interopData() / "interop-helpers.js")
            << readWholeFile(interopData() / (std::string(name) + ".js"));
        ProgramOutcome outcome =
            runVellumHost({"--timeout", "30", "run", script.string()}, s_scratch);
        EXPECT_EQ(outcome.status, 0) << name << "\n" << outcome.err;
        EXPECT_EQ(outcome.out, readWholeFile(interopData() / (std::string(name) + ".out"))) << name;
        EXPECT_EQ(outcome.err, "") << name;
    }
}

} // namespace
