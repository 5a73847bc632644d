// Helpers of the discovery tests: reply files, and waiting for worker threads.
#pragma once

#include <gtest/gtest.h>

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

#include "values/CAgg.h"

#include <map>

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
