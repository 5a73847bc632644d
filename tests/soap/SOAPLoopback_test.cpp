// The SOAP object against a real HTTP service on the loopback: through the reference host's curl
// network and main loop in process, and through vellum-host running a user's script.
#include "host/loop/CMainLoop.h"
#include "host/net/CCurlNetwork.h"
#include "tests/soap/SOAPScriptSupport.h"
#include "tests/support/CLoopbackHTTPServer.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

using namespace soaptest;

namespace {

class SOAPLoopbackTest : public SOAPScriptTest {
protected:
    void SetUp() override {
        SOAPScriptTest::SetUp();
        gNetSpanHFT = &curl;
        ASSERT_TRUE(curl.initialize());
        static const char* const types[] = {"*/*", nullptr};
        gEFSClientIDs[0] = curl.openClient("Mozilla/3.0 (compatible; Vellum SOAP 7.0)", types, 5);
        curl.setClientOption(gEFSClientIDs[0], kNetOptionNoProxy);
        route("/echo", 200, soapTestData("echo-string-reply.xml"));
        route("/greet", 200, soapTestData("literal-greeting-reply.xml"));
        route("/fault", 500, soapTestData("division-by-zero-fault.xml"));
        route("/slow", 200, soapTestData("echo-string-reply.xml"), 300);
    }
    void TearDown() override {
        SOAPScriptTest::TearDown();
        curl.shutdown();
    }
    void route(const std::string& path, int status, const std::string& body, int delayMs = 0) {
        LoopbackReply reply = LoopbackReply::withBody(status, body, 64);
        reply.chunkDelayMs = delayMs;
        reply.headers.emplace_back("Content-Type", "text/xml; charset=utf-8");
        server.route(path, reply);
    }
    /// The bodies the server received for a path, in order.
    std::vector<std::string> bodiesFor(const std::string& path) {
        std::vector<std::string> bodies;
        for (const LoopbackRequest& request : server.requests())
            if (request.target == path)
                bodies.push_back(request.body);
        return bodies;
    }

    CMainLoop loop;
    CCurlNetwork curl{loop};
    CLoopbackHTTPServer server;
};

TEST_F(SOAPLoopbackTest, AHundredAsynchronousCallsEachGetTheirOwnReply) {
    std::string reply = soapTestData("echo-string-reply.xml");
    for (int i = 0; i < 100; ++i) {
        std::string body = reply;
        body.replace(body.find(">hi<"), 4, ">" + std::to_string(i) + "<");
        route("/n" + std::to_string(i), 200, body, i % 3);
    }
    run("for (var i = 0; i < 100; ++i) SOAP.request({cURL: '" + server.url("/n") +
        "' + i, oRequest: {'urn:x:ping': {n: String(i)}}, oAsync: {i: i, response: function(r) "
        "{ heard.push(this.i + '=' + r['http://soapinterop.org/:echoStringResponse']['return']); "
        "}}});");
    EXPECT_EQ(CSOAPRequestAsync::liveCount(), 100u);
    loop.run(20000);
    EXPECT_EQ(CSOAPRequestAsync::liveCount(), 0u);
    EXPECT_EQ(run("heard.length"), "100");
    EXPECT_EQ(run("heard.filter(function(h) { var p = h.split('='); return p[0] != p[1]; })"
                  ".length"),
              "0");
    EXPECT_EQ(curl.openRequests(), 0u);
}

/// Runs vellum-host on a script; its standard output.
std::string runHost(const std::filesystem::path& script, const std::filesystem::path& scratch) {
    std::filesystem::path out = scratch / "stdout";
    pid_t child = fork();
    if (child == 0) {
        setenv("XDG_DATA_HOME", scratch.c_str(), 1);
        if (!freopen(out.c_str(), "w", stdout) || !freopen("/dev/null", "r", stdin))
            _exit(127);
        std::string host = std::string(VELL_BUILD_DIR) + "/vellum-host";
        execl(host.c_str(), host.c_str(), "--timeout", "20", "run", script.c_str(), nullptr);
        _exit(127);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    std::ifstream in(out, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST_F(SOAPLoopbackTest, AUsersScriptRunByTheHostSendsExactlyTheRequestsItMeans) {
    namespace fs = std::filesystem;
    fs::path scratch = fs::temp_directory_path() / ("vellum-soap-" + std::to_string(getpid()));
    fs::create_directories(scratch);
    std::string script = soapTestData("service/calls.js");
    for (size_t at; (at = script.find("@SERVICE@")) != std::string::npos;)
        script.replace(at, 9, server.url(""));
    std::ofstream(scratch / "calls.js") << script;

    EXPECT_EQ(runHost(scratch / "calls.js", scratch), soapTestData("service/calls.out"));
    std::vector<std::string> echoes = bodiesFor("/echo");
    ASSERT_EQ(echoes.size(), 2u);
    EXPECT_EQ(echoes[0], soapTestData("encoded-echo-string.xml"));
    EXPECT_EQ(bodiesFor("/greet"),
              std::vector<std::string>{soapTestData("literal-echo-string.xml")});
    for (const LoopbackRequest& request : server.requests()) {
        EXPECT_EQ(request.header("SOAPAction"),
                  request.target == "/echo" && request.body == echoes[0] ? "\"urn:echo\"" : "\"\"");
        EXPECT_EQ(request.header("Content-Type"), "text/xml; charset=UTF-8");
    }
    fs::remove_all(scratch);
}

} // namespace
