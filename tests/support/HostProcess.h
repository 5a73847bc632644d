// Running programs from integration tests: vellum-host and the servers they talk to, with their
// output caught in files and their environment set.
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

/// The bytes of a file; empty when it cannot be read.
inline std::string readWholeFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// The full path of a program found on PATH, or nothing.
inline std::optional<std::string> findProgram(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path ? path : "/usr/bin:/bin");
    for (std::string folder; std::getline(folders, folder, ':');) {
        std::filesystem::path candidate = std::filesystem::path(folder) / name;
        if (!folder.empty() && access(candidate.c_str(), X_OK) == 0)
            return candidate.string();
    }
    return std::nullopt;
}

/// Starts a program in a folder with its output going to files; the process id, or -1.
inline pid_t startProgram(const std::vector<std::string>& argv, const std::filesystem::path& folder,
                          const std::filesystem::path& out, const std::filesystem::path& err) {
    pid_t child = fork();
    if (child != 0)
        return child;
    if (chdir(folder.c_str()) != 0 || !freopen(out.c_str(), "w", stdout) ||
        !freopen(err.c_str(), "w", stderr) || !freopen("/dev/null", "r", stdin))
        _exit(127);
    std::vector<std::string> copies = argv;
    std::vector<char*> args;
    for (std::string& argument : copies)
        args.push_back(argument.data());
    args.push_back(nullptr);
    execv(args[0], args.data());
    _exit(127);
}

/// What a finished program left.
struct ProgramOutcome {
    int status = -1;
    std::string out;
    std::string err;
};

/// Runs vellum-host of the build with the arguments, its data folder and output under scratch.
inline ProgramOutcome runVellumHost(const std::vector<std::string>& arguments,
                                    const std::filesystem::path& scratch) {
    std::vector<std::string> argv = {std::string(VELL_BUILD_DIR) + "/vellum-host"};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    // The host keeps its state in a data folder of its own.
    setenv("XDG_DATA_HOME", scratch.c_str(), 1);
    pid_t child = startProgram(argv, scratch, scratch / "stdout", scratch / "stderr");
    ProgramOutcome outcome;
    int status = 0;
    if (child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status))
        outcome.status = WEXITSTATUS(status);
    outcome.out = readWholeFile(scratch / "stdout");
    outcome.err = readWholeFile(scratch / "stderr");
    return outcome;
}
