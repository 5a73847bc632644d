#include "host/DemoCommand.h"

#include "host/CReferenceHost.h"
#include "host/demo/DemoServices.h"
#include "host/runner/CScriptRunner.h"
#include "host/view/ViewState.h"
#include "host/web/CLoopbackServer.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>

namespace {

// Requests to the services must not go to a proxy that the environment names.
void bypassProxyForLoopback() {
    const char* current = std::getenv("no_proxy");
    std::string list = current && *current ? std::string(current) + ",127.0.0.1" : "127.0.0.1";
    setenv("no_proxy", list.c_str(), 1);
    setenv("NO_PROXY", list.c_str(), 1);
}

// This program as the person can run it again: relative to the current folder when it lies
// below it (./build/vellum-host after make demo), else by its full path.
std::string selfPath() {
    char path[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    if (length <= 0)
        return "vellum-host";
    std::filesystem::path self(std::string(path, static_cast<size_t>(length)));
    std::error_code error;
    std::filesystem::path relative = std::filesystem::relative(self, error);
    if (error || relative.empty() || *relative.begin() == "..")
        return self.string();
    return "./" + relative.string();
}

// The Tracker panel opened on what the demo left in it, printed as text, with the command that
// shows it in a browser. Nothing when the plug-in offers no Tracker.
void printTracker(CReferenceHost& host, std::ostream& out) {
    if (!host.viewLayer().showPanel("Tracker", false))
        return;
    std::string tree = ViewTreesAsText(host.viewLayer());
    if (tree.empty())
        return;
    out << "\nThe Tracker now shows (* unread, - closed):\n"
        << tree << "\nOpen it in a browser with:\n  " << selfPath() << " tracker --open"
        << std::endl;
}

} // namespace

std::string DefaultDemoScript() {
    return std::string(VELL_SOURCE_DIR) + "/examples/demo.js";
}

int RunDemo(CReferenceHost& host, const std::string& plugin, const std::string& script,
            int timeoutSeconds, std::ostream& out, std::ostream& errors) {
    std::ifstream file(script, std::ios::binary);
    std::string source((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (!file.is_open() || file.bad()) {
        errors << "vellum-host: cannot read the demo script " << script << std::endl;
        return CScriptRunner::kRunCannotStart;
    }
    bypassProxyForLoopback();
    // On a thread of its own: a synchronous call of the plug-in blocks the main loop until the
    // service has answered.
    CLoopbackServer server(
        [&server](const HTTPRequest& request) { return serveDemoRequest(request, server.base()); });
    std::string error;
    if (!server.start(error)) {
        errors << "vellum-host: " << error << std::endl;
        return CScriptRunner::kRunCannotStart;
    }
    if (!host.start(plugin, error)) {
        errors << "vellum-host: " << error << std::endl;
        return CScriptRunner::kRunCannotStart;
    }
    int status = CScriptRunner::kRunCannotStart;
    {
        CScriptRunner runner(host.engine(), host.loop(), out, errors);
        runner.catchInterrupts();
        if (runner.open() && runner.evaluate("var demoServer = \"" + server.base() + "\";"))
            status = runner.run(source, timeoutSeconds);
    }
    if (status == 0)
        printTracker(host, out);
    host.stop();
    server.stop();
    return status;
}
