// The built products as a user gets them: SOAP.so, its language pack, and the reference host.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <sstream>
#include <string>
#include <sys/wait.h>

namespace {

// The standard output of a command, and its exit status.
std::string run(const std::string& command, int* status) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) {
        *status = -1;
        return output;
    }
    char buffer[512];
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        output.append(buffer, n);
    int raw = pclose(pipe);
    *status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return output;
}

std::set<std::string> exportedSymbols(const std::string& file) {
    int status = 0;
    std::istringstream lines(run("nm -D --defined-only " + file, &status));
    EXPECT_EQ(status, 0) << file;
    // Symbols the linker defines on its own are not ours.
    const std::set<std::string> linkers = {"_init", "_fini", "_edata", "_end", "__bss_start"};
    std::set<std::string> names;
    for (std::string line; std::getline(lines, line);) {
        std::string name = line.substr(line.rfind(' ') + 1);
        if (!linkers.count(name))
            names.insert(name);
    }
    return names;
}

TEST(Product, ThePlugInExportsOnlyItsLoaderEntry) {
    EXPECT_EQ(exportedSymbols(VELL_BUILD_DIR "/SOAP.so"), std::set<std::string>{"PluginMain"});
    EXPECT_EQ(exportedSymbols(VELL_BUILD_DIR "/SOAP.DEU"),
              std::set<std::string>{"SOAPZStringPack"});
}

} // namespace
