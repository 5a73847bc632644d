// What vellum-host reads from its command line, and the help it gives about it.
//
//   vellum-host [--plugin PATH] [--pref SECTION.KEY=VALUE]... [--yes | --no]
//               [--timeout SECONDS] info | run FILE | console | demo [FILE]
//               | discover TYPE [--domain DOMAIN] [--resolve NAME] | feed URL|FILE
//               | tracker [--port N] [--open]
//   vellum-host --help | <command> --help
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

/// A command line read whole.
struct HostCommandLine {
    enum class Answers { Ask, Yes, No };

    std::string plugin;                   // empty: SOAP.so beside vellum-host
    std::vector<std::string> preferences; // each "SECTION.KEY=VALUE", not yet checked
    Answers answers = Answers::Ask;
    int timeoutSeconds = 60;
    /// Whether --timeout was given (the Tracker serves without a limit otherwise).
    bool timeoutGiven = false;
    std::string command;
    std::vector<std::string> operands;
    std::string domain;      // discover: empty for the local link
    std::string resolveName; // discover: the instance to resolve
    int port = 0;            // tracker: 0 for a free port
    bool open = false;       // tracker: hand the address to the browser
    /// Help was asked for: of the command when there is one, else of the host.
    bool help = false;
};

/// Reads the arguments after the program's name. False with a message that names the argument
/// at fault when they make no command line.
bool ParseHostCommandLine(const std::vector<std::string>& arguments, HostCommandLine& line,
                          std::string& error);

/// One line for each command and each option.
void PrintHostUsage(std::ostream& out);
/// What the command does, its arguments and its exit statuses; false for no such command.
bool PrintCommandHelp(const std::string& command, std::ostream& out);
