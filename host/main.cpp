// vellum-host: the reference host of the SOAP plug-in.
//
//   vellum-host [--plugin PATH] [--pref SECTION.KEY=VALUE]... [--yes | --no]
//               [--timeout SECONDS] info | run FILE.js | console | demo [FILE.js]
#include "host/CReferenceHost.h"
#include "host/DemoCommand.h"
#include "host/runner/CScriptRunner.h"

#include <unistd.h>

#include <climits>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr const char* kUsage =
    "usage: vellum-host [options] <command>\n"
    "\n"
    "commands:\n"
    "  info        load the plug-in, run its life cycle, and print its name and each table\n"
    "              it asked for with the version granted\n"
    "  run FILE    run the script in FILE in a context whose current event is Console/Exec,\n"
    "              with the plug-in loaded, then wait until no work it started is pending;\n"
    "              console.println writes a line to standard output. An uncaught exception\n"
    "              is written to standard error as \"name: message\" (a thrown value without\n"
    "              a name as \"uncaught exception: value\"). Exit status: 0, 1 after an\n"
    "              uncaught exception, 2 when the script or the plug-in cannot be loaded,\n"
    "              3 when --timeout ends the wait\n"
    "  console     the same for script read from standard input, a line at a time (lines\n"
    "              are joined while a bracket, string or comment is open); the value of\n"
    "              each piece is printed, and errors do not end the session\n"
    "  demo [FILE] serve sample SOAP services on 127.0.0.1 (two WSDL documents, an rpc/encoded\n"
    "              echo service, a document/literal service and one that always faults) and\n"
    "              run examples/demo.js (or FILE) against them as run does, with the global\n"
    "              demoServer holding their address; no other network is needed\n"
    "\n"
    "options:\n"
    "  --plugin PATH              the plug-in to load (default: SOAP.so beside vellum-host)\n"
    "  --pref SECTION.KEY=VALUE   a viewer preference, such as\n"
    "                             VxPrivate.UnixLanguageStartup=0x444555 for German\n"
    "  --yes, --no                answer every alert with its first button, or with No or\n"
    "                             Cancel, instead of asking\n"
    "  --timeout SECONDS          how long run and console wait for pending work\n"
    "                             (default 60; 0 waits without limit)\n";

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
    std::cerr << "vellum-host: " << message << "\n\n" << kUsage;
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

bool parseSeconds(const std::string& text, int& seconds) {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos ||
        text.size() > 7)
        return false;
    seconds = std::stoi(text);
    return true;
}

} // namespace

int main(int argc, char** argv) {
    std::string plugin = defaultPluginPath();
    std::vector<std::string> preferences;
    CConsoleUserInterface::Answers answers = CConsoleUserInterface::Answers::Ask;
    std::string command;
    std::vector<std::string> operands;
    int timeoutSeconds = 60;
    for (int i = 1; i < argc; ++i) {
        std::string argument = argv[i];
        if (argument == "--help" || argument == "-h") {
            std::cout << kUsage;
            return 0;
        }
        if (argument == "--plugin" || argument == "--pref") {
            if (i + 1 >= argc)
                return usageError(argument + " needs a value");
            (argument == "--plugin" ? plugin : preferences.emplace_back()) = argv[++i];
        } else if (argument == "--yes") {
            answers = CConsoleUserInterface::Answers::Yes;
        } else if (argument == "--no") {
            answers = CConsoleUserInterface::Answers::No;
        } else if (argument == "--timeout") {
            if (i + 1 >= argc || !parseSeconds(argv[++i], timeoutSeconds))
                return usageError("--timeout needs a number of seconds");
        } else if (!argument.empty() && argument[0] == '-') {
            return usageError("unknown option " + argument);
        } else if (command.empty()) {
            command = argument;
        } else {
            operands.push_back(argument);
        }
    }
    if (command.empty())
        return usageError("no command");
    size_t wanted = command == "run" ? 1 : 0;
    if (command != "info" && command != "run" && command != "console" && command != "demo")
        return usageError("unknown command " + command);
    if (command == "demo" && operands.size() <= 1)
        wanted = operands.size();
    if (operands.size() != wanted)
        return usageError(wanted ? command + " takes one file" : "one command at a time");

    CReferenceHost host(std::cin, std::cout, answers);
    for (const std::string& preference : preferences) {
        if (!host.preferences().set(preference))
            return usageError("a preference is SECTION.KEY=VALUE, not " + preference);
    }
    if (command == "info")
        return info(host, plugin);
    if (command == "demo")
        return RunDemo(host, plugin, operands.empty() ? DefaultDemoScript() : operands[0],
                       timeoutSeconds, std::cout, std::cerr);
    return scripts(host, plugin, command, operands, timeoutSeconds);
}
