// The scripts of tests/data/script run through vellum-host run, with the real plug-in: each
// NAME.js against NAME.out (standard output), NAME.err (standard error, empty when missing) and
// the exit status its first line names ("// exit: 1"; 0 otherwise).
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

namespace fs = std::filesystem;

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

struct Outcome {
    int status = -1;
    std::string out;
    std::string err;
};

/// Runs vellum-host with the arguments, its output caught in files of a scratch folder.
Outcome runHost(const std::vector<std::string>& arguments, const fs::path& scratch,
                const fs::path& input = "/dev/null") {
    fs::path outPath = scratch / "stdout";
    fs::path errPath = scratch / "stderr";
    pid_t child = fork();
    if (child == 0) {
        // The host keeps its state in a data folder of its own.
        setenv("XDG_DATA_HOME", scratch.c_str(), 1);
        if (!freopen(outPath.c_str(), "w", stdout) || !freopen(errPath.c_str(), "w", stderr) ||
            !freopen(input.c_str(), "r", stdin))
            _exit(127);
        std::vector<char*> argv;
        std::string host = std::string(VELL_BUILD_DIR) + "/vellum-host";
        argv.push_back(host.data());
        std::vector<std::string> copies = arguments;
        for (std::string& argument : copies)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        execv(argv[0], argv.data());
        _exit(127);
    }
    Outcome outcome;
    int status = 0;
    if (child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status))
        outcome.status = WEXITSTATUS(status);
    outcome.out = readFile(outPath);
    outcome.err = readFile(errPath);
    return outcome;
}

int expectedStatus(const std::string& script) {
    const std::string mark = "// exit: ";
    return script.compare(0, mark.size(), mark) == 0 ? std::atoi(script.c_str() + mark.size()) : 0;
}

TEST(ScriptFiles, EachScriptGivesItsOutputErrorsAndStatus) {
    fs::path scratch = fs::temp_directory_path() / ("vellum-scripts-" + std::to_string(getpid()));
    fs::create_directories(scratch);
    int scripts = 0;
    for (const auto& entry : fs::directory_iterator(fs::path(VELL_TEST_DATA) / "script")) {
        fs::path script = entry.path();
        if (script.extension() != ".js")
            continue;
        ++scripts;
        fs::path expected = script;
        Outcome outcome = runHost({"--timeout", "20", "run", script.string()}, scratch);
        EXPECT_EQ(outcome.status, expectedStatus(readFile(script))) << script;
        EXPECT_EQ(outcome.out, readFile(expected.replace_extension(".out"))) << script;
        // An uncaught exception is told with the script's path and the line: {script}.
        std::string errors = readFile(expected.replace_extension(".err"));
        for (size_t at = errors.find("{script}"); at != std::string::npos;
             at = errors.find("{script}", at))
            errors.replace(at, 8, script.string());
        EXPECT_EQ(outcome.err, errors) << script;
    }
    EXPECT_GT(scripts, 0);
    fs::remove_all(scratch);
}

TEST(ScriptFiles, BadCommandLinesAndMissingScriptsAreRefused) {
    fs::path scratch = fs::temp_directory_path() / ("vellum-refused-" + std::to_string(getpid()));
    fs::create_directories(scratch);
    struct Case {
        std::vector<std::string> arguments;
        int status;
        const char* error;
    };
    const Case cases[] = {
        {{"run"}, 2, "vellum-host: run takes one file"},
        {{"--timeout", "soon", "run", "a.js"}, 2, "vellum-host: --timeout needs a number"},
        {{"run", (scratch / "missing.js").string()}, 2, "vellum-host: cannot read"},
    };
    for (const Case& c : cases) {
        Outcome outcome = runHost(c.arguments, scratch);
        EXPECT_EQ(outcome.status, c.status) << c.error;
        EXPECT_EQ(outcome.err.rfind(c.error, 0), 0u) << outcome.err;
    }
    fs::remove_all(scratch);
}

TEST(ScriptFiles, AConsoleSessionShowsValuesAndGoesOnAfterErrors) {
    fs::path scratch = fs::temp_directory_path() / ("vellum-console-" + std::to_string(getpid()));
    fs::create_directories(scratch);
    fs::path session = fs::path(VELL_TEST_DATA) / "script" / "console-session.input";
    Outcome outcome = runHost({"console"}, scratch, session);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, readFile(fs::path(session).replace_extension(".out")));
    EXPECT_EQ(outcome.err, readFile(fs::path(session).replace_extension(".err")));
    fs::remove_all(scratch);
}

} // namespace
