// vellum-host: the reference host of the SOAP plug-in.
//
//   vellum-host [--plugin PATH] [--pref SECTION.KEY=VALUE]... [--yes | --no] info
#include "host/CReferenceHost.h"

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
    "  info    load the plug-in, run its life cycle, and print its name and each table it\n"
    "          asked for with the version granted\n"
    "\n"
    "options:\n"
    "  --plugin PATH              the plug-in to load (default: SOAP.so beside vellum-host)\n"
    "  --pref SECTION.KEY=VALUE   a viewer preference, such as\n"
    "                             VxPrivate.UnixLanguageStartup=0x444555 for German\n"
    "  --yes, --no                answer every alert with its first button, or with No or\n"
    "                             Cancel, instead of asking\n";

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

} // namespace

int main(int argc, char** argv) {
    std::string plugin = defaultPluginPath();
    std::vector<std::string> preferences;
    CConsoleUserInterface::Answers answers = CConsoleUserInterface::Answers::Ask;
    std::string command;
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
        } else if (!argument.empty() && argument[0] == '-') {
            return usageError("unknown option " + argument);
        } else if (command.empty()) {
            command = argument;
        } else {
            return usageError("one command at a time");
        }
    }
    if (command.empty())
        return usageError("no command");
    if (command != "info")
        return usageError("unknown command " + command);

    CReferenceHost host(std::cin, std::cout, answers);
    for (const std::string& preference : preferences) {
        if (!host.preferences().set(preference))
            return usageError("a preference is SECTION.KEY=VALUE, not " + preference);
    }
    return info(host, plugin);
}
