// Helpers of the discovery tests: reply files, and waiting for worker threads.
#pragma once

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

/// The bytes of tests/data/discovery/<name>: hex pairs, with "#" to the end of a line a comment.
inline std::vector<uint8_t> readHexReply(const std::string& name) {
    std::ifstream in(std::string(VELL_TEST_DATA) + "/discovery/" + name);
    EXPECT_TRUE(in) << name;
    std::vector<uint8_t> bytes;
    std::string line;
    while (std::getline(in, line)) {
        line = line.substr(0, line.find('#'));
        std::istringstream words(line);
        std::string word;
        while (words >> word)
            bytes.push_back(static_cast<uint8_t>(std::stoul(word, nullptr, 16)));
    }
    return bytes;
}

/// The reply files lay out counts and pointers as a little-endian processor reads them.
inline bool littleEndian() {
    const uint16_t one = 1;
    return *reinterpret_cast<const uint8_t*>(&one) == 1;
}

/// Polls until done() or the time is up; the last answer of done().
inline bool waitFor(const std::function<bool()>& done,
                    std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    auto end = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() > end)
            return done();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

#include "frame/HostError.h"
#include "values/CAgg.h"
#include "values/CES.h"
#include "values/CESEventScope.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>

/// What the shell command prints, standard error included; status gets its exit status.
inline std::string commandOutput(const std::string& command, int& status) {
    std::string out;
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe) {
        status = -1;
        return out;
    }
    char buffer[512];
    while (size_t count = fread(buffer, 1, sizeof buffer, pipe))
        out.append(buffer, count);
    int raw = pclose(pipe);
    status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    return out;
}

inline std::string fileText(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

/// Runs this test program again in new network and mount namespaces, through the set-up script
/// of tests/data/discovery/ and with the variable naming a work folder, on the test cases of the
/// filter; expects the run to pass all of them. Skips when the machine cannot make the
/// namespaces or lacks one of the tools.
inline void runInNamespace(const char* script, const char* variable, const char* filter, int cases,
                           std::initializer_list<const char*> tools) {
    int status = 0;
    commandOutput("unshare -n -m true", status);
    if (status != 0)
        GTEST_SKIP() << "this machine cannot make network and mount namespaces (unshare -n -m)";
    for (const char* tool : tools) {
        commandOutput(std::string("command -v ") + tool, status);
        if (status != 0)
            GTEST_SKIP() << tool << " is not installed (scripts/install-deps)";
    }
    char work[] = "/tmp/vell-discovery-XXXXXX";
    ASSERT_NE(mkdtemp(work), nullptr);
    std::string self = fileText("/proc/self/cmdline").c_str();
    std::string command = std::string("unshare -n -m env ") + variable + "=" + work + " " +
                          VELL_TEST_DATA + "/discovery/" + script + " " + work + " " + self +
                          " --gtest_filter='" + filter + "'";
    std::string output = commandOutput(command, status);
    EXPECT_EQ(status, 0) << output;
    EXPECT_NE(output.find("[  PASSED  ] " + std::to_string(cases) + " test"), std::string::npos)
        << output;
    commandOutput(std::string("rm -rf ") + work, status);
}

/// A map of texts as UTF-8 pairs; a non-map gives an empty map.
inline std::map<std::string, std::string> textsOf(CAgg value) {
    std::map<std::string, std::string> out;
    if (value.getType() != CAgg::eMap)
        return out;
    for (auto& [key, entry] : value.toMap()) {
        CAgg copy = entry;
        out[EStrToUTF8(key.get())] = EStrToUTF8(copy.toEStr());
    }
    return out;
}

/// A browse batch: each instance name with its "name|type|domain".
inline std::map<std::string, std::string> instancesOf(CAgg value) {
    std::map<std::string, std::string> out;
    if (value.getType() != CAgg::eMap)
        return out;
    for (auto& [key, entry] : value.toMap()) {
        std::map<std::string, std::string> fields = textsOf(entry);
        out[EStrToUTF8(key.get())] = fields["name"] + "|" + fields["type"] + "|" + fields["domain"];
    }
    return out;
}

/// What the unicast request's callbacks told, one line each, from any thread.
struct HeardCalls {
    std::mutex mutex;
    std::vector<std::string> calls;

    size_t size() {
        std::lock_guard<std::mutex> lock(mutex);
        return calls.size();
    }
    static void browse(const char* name, const char* type, const char* domain, void* data) {
        auto* self = static_cast<HeardCalls*>(data);
        std::lock_guard<std::mutex> lock(self->mutex);
        self->calls.push_back(std::string(name) + "|" + type + "|" + domain);
    }
    static void resolve(const char* name, const char* target, unsigned short port, const char* text,
                        void* data) {
        auto* self = static_cast<HeardCalls*>(data);
        std::lock_guard<std::mutex> lock(self->mutex);
        self->calls.push_back(std::string(name) + "|" + target + "|" + std::to_string(port) + "|" +
                              text);
    }
};

/// Runs script in the context as a console script does; the text of its value.
inline std::string runConsoleScript(ESContext context, const std::string& source) {
    std::string text;
    HostFrame frame;
    frame.run([&] {
        CES::EventScope event(context, "Console", "Exec");
        CES::Val value(context);
        event.evaluate(source.c_str(), static_cast<long>(source.size()), value);
        text = value.text().getString();
    });
    return text;
}
