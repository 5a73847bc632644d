// The built products as a user gets them: SOAP.so, its language pack, and the reference host.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
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
    // Symbols the linker or the sanitizers define on their own are not ours.
    const std::set<std::string> linkers = {"_init", "_fini", "_edata", "_end", "__bss_start"};
    std::set<std::string> names;
    for (std::string line; std::getline(lines, line);) {
        std::string name = line.substr(line.rfind(' ') + 1);
        if (!linkers.count(name) && name.rfind("__odr_asan", 0) != 0)
            names.insert(name);
    }
    return names;
}

TEST(Product, ThePlugInExportsOnlyItsLoaderEntry) {
    EXPECT_EQ(exportedSymbols(VELL_BUILD_DIR "/SOAP.so"), std::set<std::string>{"PluginMain"});
    EXPECT_EQ(exportedSymbols(VELL_BUILD_DIR "/SOAP.DEU"),
              std::set<std::string>{"SOAPZStringPack"});
}

std::string host(const std::string& arguments, int* status) {
    return run(VELL_BUILD_DIR "/vellum-host " + arguments + " 2>/dev/null", status);
}

TEST(Product, TheReferenceHostRunsTheWholeLifeCycle) {
    std::ifstream expected(VELL_TEST_DATA "/plugin/vellum-host-info.txt");
    ASSERT_TRUE(expected);
    int status = -1;
    EXPECT_EQ(host("info", &status), std::string(std::istreambuf_iterator<char>(expected),
                                                 std::istreambuf_iterator<char>()));
    EXPECT_EQ(status, 0);
}

// What the dynamic loader reports opening while the host runs with a language preference.
std::string loadedFiles(const std::string& language, int* status) {
    return run("LD_DEBUG=files " VELL_BUILD_DIR "/vellum-host --pref "
               "VxPrivate.UnixLanguageStartup=" +
                   language + " info 2>&1 >/dev/null",
               status);
}

TEST(Product, TheLanguagePackIsFoundBesideThePlugIn) {
    int status = -1;
    std::string german = loadedFiles("0x444555", &status);
    EXPECT_EQ(status, 0);
    EXPECT_NE(german.find("file=" VELL_BUILD_DIR "/SOAP.DEU [0]"), std::string::npos);
    std::string english = loadedFiles("0x454E55", &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(english.find("SOAP.DEU"), std::string::npos);
}

TEST(Product, TheReferenceHostRefusesWhatIsNotAPlugIn) {
    const struct {
        const char* arguments;
        int status;
    } cases[] = {
        {"--plugin /nonexistent/SOAP.so info", 1},
        {"--plugin " VELL_BUILD_DIR "/SOAP.DEU info", 1},
        {"", 2},
        {"frobnicate", 2},
        {"--pref NoDot=1 info", 2},
        {"--plugin", 2},
    };
    for (const auto& c : cases) {
        int status = -1;
        EXPECT_EQ(host(c.arguments, &status), "") << c.arguments;
        EXPECT_EQ(status, c.status) << c.arguments;
    }
}

} // namespace
