#include "host/CommandLine.h"

#include <ostream>

namespace {

struct CommandText {
    const char* name;
    const char* synopsis;
    const char* summary;
    const char* details;
};

// The text after "Exit status:" is shared by the commands that run scripts.
constexpr const char* kScriptStatuses =
    "--timeout bounds the script and the wait together, and Ctrl-C stops both; either way the\n"
    "script ends where it is (no catch or finally of its own runs) and the plug-in still shuts\n"
    "down in order. Exit status: 0; 1 after an uncaught exception; 2 when the script or the\n"
    "plug-in cannot be loaded; 3 when --timeout ends the run; 130 when Ctrl-C does.\n";

constexpr CommandText kCommands[] = {
    {"info", "info", "print the plug-in's name and each table it asked for",
     "Loads the plug-in, runs its life cycle, and prints its name and each table it asked for\n"
     "with the version granted (\"none\" when none was). Exit status: 0, or 1 when the plug-in\n"
     "does not start.\n"},
    {"run", "run FILE", "run a script with the plug-in loaded, then wait for its work",
     "Runs the script in FILE (UTF-8) in a context whose current event is Console/Exec, with the\n"
     "plug-in loaded, then waits until no work it started is pending. console.println writes a\n"
     "line to standard output. An uncaught exception is written to standard error as\n"
     "\"FILE:LINE: name: message\" (a thrown value without a name as \"FILE:LINE: uncaught\n"
     "exception: value\"; without FILE:LINE when it was raised outside FILE).\n"},
    {"console", "console", "read script a line at a time and print the value of each piece",
     "Reads script from standard input a line at a time; lines are joined while a bracket,\n"
     "string or comment is open. Each piece runs as run runs a file, its value is printed, and\n"
     "errors do not end the session, which ends with the input. --timeout bounds each piece\n"
     "with its wait; Ctrl-C stops the running piece, or drops the line being typed, and the\n"
     "session goes on. Exit status: 0, or 2 when the plug-in cannot be loaded.\n"},
    {"demo", "demo [FILE]", "serve sample SOAP services on 127.0.0.1 and run a script on them",
     "Serves two WSDL documents, an rpc/encoded echo service, a document/literal service and\n"
     "one that always faults on a free port of 127.0.0.1, and runs examples/demo.js (or FILE)\n"
     "against them as run does, with the global demoServer holding their address. No other\n"
     "network is needed.\n"},
    {"discover", "discover TYPE", "browse for services of a type, or resolve one instance",
     "Browses for services of TYPE (\"http\" for _http._tcp) through SOAP.queryServices and\n"
     "prints \"+ NAME  TYPE  DOMAIN\" as one appears and \"- ...\" as one goes, until --timeout\n"
     "or Ctrl-C. --domain \"local.\" (the default) looks on the local link by multicast DNS, any\n"
     "other domain by unicast DNS in the resolver's default domain. With --resolve NAME it\n"
     "resolves that instance instead (by unicast, NAME is its full DNS name) and prints\n"
     "\"NAME TARGET:PORT\" and a KEY=VALUE line for each other pair of the answer. Exit\n"
     "status: 0; 1 when a resolve gets no answer; 2 when the plug-in cannot be loaded; 130\n"
     "after Ctrl-C.\n"},
    {"feed", "feed URL|FILE", "print what the plug-in's feed reader makes of a feed",
     "Reads the feed at URL (http or https, fetched by the host) or in FILE with the plug-in's\n"
     "feed reader, as a subscription would, and prints the feed's title, then one line per\n"
     "item: its date (UTC, dashes when it has none), its title and its link. RSS 0.91 to 2.0,\n"
     "RDF 1.0 and Atom 0.3 are read. Your own subscriptions are neither used nor changed.\n"
     "--timeout bounds the fetch and the reading. Exit status: 0; 1 when the feed cannot be\n"
     "fetched or read, or the reader makes no feed of it; 2 when the plug-in cannot be loaded;\n"
     "3 when --timeout ends the run; 130 after Ctrl-C.\n"},
    {"tracker", "tracker", "serve the Tracker as a web page on 127.0.0.1",
     "Loads the plug-in, serves its Tracker as a web page on 127.0.0.1 (--port N, or a free\n"
     "port) and prints the page's address with its token, http://127.0.0.1:PORT/?token=...;\n"
     "a request without the token is refused. --open hands the address to the desktop's\n"
     "browser. Alerts and questions of the plug-in appear on the page while it is open. Serves\n"
     "until Ctrl-C, or --timeout when given. Exit status: 0; 1 when the page cannot be served;\n"
     "2 when the plug-in cannot be loaded.\n"},
};

struct OptionText {
    const char* spelling;
    const char* summary;
};

constexpr OptionText kOptions[] = {
    {"--plugin PATH", "the plug-in to load (default: SOAP.so beside vellum-host)"},
    {"--pref SECTION.KEY=VALUE", "set a viewer preference; may be given more than once"},
    {"--yes, --no", "answer every alert with its first button, or with No or Cancel"},
    {"--timeout SECONDS", "end a script and its wait after this long (default 60, 0: no limit)"},
    {"--domain DOMAIN", "discover: where to look (default local.)"},
    {"--resolve NAME", "discover: resolve this instance"},
    {"--port N", "tracker: serve on this port of 127.0.0.1 (default: a free one)"},
    {"--open", "tracker: open the page in the desktop's browser"},
    {"-h, --help", "this text; after a command, that command's help"},
};

const CommandText* findCommand(const std::string& name) {
    for (const CommandText& command : kCommands) {
        if (name == command.name)
            return &command;
    }
    return nullptr;
}

bool takesScripts(const std::string& command) {
    return command == "run" || command == "demo";
}

void printOptions(std::ostream& out) {
    out << "options:\n";
    for (const OptionText& option : kOptions) {
        std::string spelling = option.spelling;
        spelling.resize(26, ' ');
        out << "  " << spelling << option.summary << "\n";
    }
}

bool parseSeconds(const std::string& text, int& seconds) {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos ||
        text.size() > 7)
        return false;
    seconds = std::stoi(text);
    return true;
}

bool parsePort(const std::string& text, int& port) {
    int value = 0;
    if (!parseSeconds(text, value) || value < 1 || value > 65535)
        return false;
    port = value;
    return true;
}

} // namespace

bool ParseHostCommandLine(const std::vector<std::string>& arguments, HostCommandLine& line,
                          std::string& error) {
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        bool hasValue = i + 1 < arguments.size();
        if (argument == "--help" || argument == "-h") {
            line.help = true;
        } else if (argument == "--domain" || argument == "--resolve") {
            if (!hasValue) {
                error = argument + " needs a value";
                return false;
            }
            (argument == "--domain" ? line.domain : line.resolveName) = arguments[++i];
        } else if (argument == "--plugin" || argument == "--pref") {
            if (!hasValue) {
                error = argument + " needs a value";
                return false;
            }
            (argument == "--plugin" ? line.plugin : line.preferences.emplace_back()) =
                arguments[++i];
        } else if (argument == "--yes") {
            line.answers = HostCommandLine::Answers::Yes;
        } else if (argument == "--no") {
            line.answers = HostCommandLine::Answers::No;
        } else if (argument == "--timeout") {
            if (!hasValue || !parseSeconds(arguments[++i], line.timeoutSeconds)) {
                error = "--timeout needs a number of seconds";
                return false;
            }
            line.timeoutGiven = true;
        } else if (argument == "--port") {
            if (!hasValue || !parsePort(arguments[++i], line.port)) {
                error = "--port needs a port number from 1 to 65535";
                return false;
            }
        } else if (argument == "--open") {
            line.open = true;
        } else if (argument.size() > 1 && argument[0] == '-') {
            error = "unknown option " + argument;
            return false;
        } else if (line.command.empty()) {
            line.command = argument;
        } else {
            line.operands.push_back(argument);
        }
    }
    if (!line.command.empty() && !findCommand(line.command)) {
        error = "unknown command " + line.command;
        return false;
    }
    if (line.help)
        return true;
    if (line.command.empty()) {
        error = "no command";
        return false;
    }
    bool tracker = line.command == "tracker";
    if (!tracker && (line.port || line.open)) {
        error = "--port and --open go with tracker";
        return false;
    }
    bool discover = line.command == "discover";
    if (!discover && !(line.domain.empty() && line.resolveName.empty())) {
        error = "--domain and --resolve go with discover";
        return false;
    }
    if (discover) {
        if (line.operands.size() != 1) {
            error = "discover takes one service type";
            return false;
        }
        return true;
    }
    if (line.command == "feed") {
        if (line.operands.size() != 1) {
            error = "feed takes one URL or file";
            return false;
        }
        return true;
    }
    size_t most = takesScripts(line.command) ? 1 : 0;
    size_t least = line.command == "run" ? 1 : 0;
    if (line.operands.size() < least || line.operands.size() > most) {
        error = most ? line.command + " takes one file" : "one command at a time";
        return false;
    }
    return true;
}

void PrintHostUsage(std::ostream& out) {
    out << "usage: vellum-host [options] <command> [FILE]\n"
           "       vellum-host <command> --help\n"
           "\n"
           "commands:\n";
    for (const CommandText& command : kCommands) {
        std::string synopsis = command.synopsis;
        synopsis.resize(15, ' ');
        out << "  " << synopsis << command.summary << "\n";
    }
    out << "\n";
    printOptions(out);
}

bool PrintCommandHelp(const std::string& name, std::ostream& out) {
    const CommandText* command = findCommand(name);
    if (!command)
        return false;
    out << "usage: vellum-host [options] " << command->synopsis << "\n\n" << command->details;
    if (takesScripts(name))
        out << kScriptStatuses;
    out << "\n";
    printOptions(out);
    return true;
}
