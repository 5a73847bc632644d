// vellum-host: the reference host of the SOAP plug-in. `vellum-host --help` tells how to run it.
#include "host/CReferenceHost.h"
#include "host/CommandLine.h"
#include "host/DemoCommand.h"
#include "host/DiscoverCommand.h"
#include "host/FeedCommand.h"
#include "host/TrackerCommand.h"
#include "host/runner/CScriptRunner.h"

#include <unistd.h>

#include <climits>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace {

// SOAP.so in the folder of this program.
std::string defaultPluginPath() {
    char path[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    if (length <= 0)
        return "SOAP.so";
    std::string self(path, static_cast<size_t>(length));
    size_t slash = self.rfind('/');
    return self.substr(0, slash + 1) + "SOAP.so";
}

int usageError(const std::string& message) {
    std::cerr << "vellum-host: " << message << "\n\n";
    PrintHostUsage(std::cerr);
    return 2;
}

int info(CReferenceHost& host, const std::string& plugin) {
    std::string error;
    if (!host.start(plugin, error)) {
        std::cerr << "vellum-host: " << error << "\n";
        return 1;
    }
    std::cout << host.pluginName() << "\n";
    host.printTables(std::cout);
    host.stop();
    return 0;
}

// The host started, a script run in it, the host stopped.
int scripts(CReferenceHost& host, const std::string& plugin, const std::string& command,
            const std::vector<std::string>& operands, int timeoutSeconds) {
    std::string error;
    if (!host.start(plugin, error)) {
        std::cerr << "vellum-host: " << error << "\n";
        return CScriptRunner::kRunCannotStart;
    }
    int status = command == "run"
                     ? RunScriptFile(host.engine(), host.loop(), operands[0], timeoutSeconds,
                                     std::cout, std::cerr)
                     : RunScriptConsole(host.engine(), host.loop(), std::cin, isatty(0) != 0,
                                        timeoutSeconds, std::cout, std::cerr);
    host.stop();
    return status;
}

CConsoleUserInterface::Answers answersOf(HostCommandLine::Answers answers) {
    switch (answers) {
    case HostCommandLine::Answers::Yes:
        return CConsoleUserInterface::Answers::Yes;
    case HostCommandLine::Answers::No:
        return CConsoleUserInterface::Answers::No;
    case HostCommandLine::Answers::Ask:
        break;
    }
    return CConsoleUserInterface::Answers::Ask;
}

} // namespace

int main(int argc, char** argv) {
    HostCommandLine line;
    std::string error;
    if (!ParseHostCommandLine(std::vector<std::string>(argv + 1, argv + argc), line, error))
        return usageError(error);
    if (line.help) {
        if (line.command.empty())
            PrintHostUsage(std::cout);
        else
            PrintCommandHelp(line.command, std::cout);
        return 0;
    }
    std::string plugin = line.plugin.empty() ? defaultPluginPath() : line.plugin;

    // A feed is read with a store of its own: the user's subscriptions stay as they are.
    std::optional<CScratchDataFolder> scratch;
    if (line.command == "feed")
        scratch.emplace();
    CReferenceHost host(std::cin, std::cout, answersOf(line.answers));
    for (const std::string& preference : line.preferences) {
        if (!host.preferences().set(preference))
            return usageError("a preference is SECTION.KEY=VALUE, not " + preference);
    }
    host.network().readWaitBounds(host.preferences());
    if (line.command == "info")
        return info(host, plugin);
    if (line.command == "demo")
        return RunDemo(host, plugin, line.operands.empty() ? DefaultDemoScript() : line.operands[0],
                       line.timeoutSeconds, std::cout, std::cerr);
    if (line.command == "discover") {
        DiscoverRequest request{line.operands[0], line.domain.empty() ? "local." : line.domain,
                                line.resolveName};
        return RunDiscover(host, plugin, request, line.timeoutSeconds, std::cout, std::cerr);
    }
    if (line.command == "feed")
        return RunFeed(host, plugin, line.operands[0], line.timeoutSeconds, std::cout, std::cerr);
    if (line.command == "tracker") {
        TrackerRequest request{static_cast<uint16_t>(line.port), line.open,
                               line.timeoutGiven ? line.timeoutSeconds : 0};
        return RunTracker(host, plugin, request, std::cout, std::cerr);
    }
    return scripts(host, plugin, line.command, line.operands, line.timeoutSeconds);
}
