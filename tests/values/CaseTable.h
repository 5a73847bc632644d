// Reading the test data of the values suite: whole files and tab-separated case tables.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/// The bytes of tests/data/values/<name>; fails the test when the file is missing.
inline std::string readValuesData(const std::string& name) {
    std::ifstream file(std::string(VELL_TEST_DATA) + "/values/" + name, std::ios::binary);
    EXPECT_TRUE(file.good()) << "missing test data " << name;
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

/// The rows of a case table: one case a line, fields split by tabs; empty lines and lines that
/// start with "#" are skipped.
inline std::vector<std::vector<std::string>> readCaseTable(const std::string& name) {
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines(readValuesData(name));
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        std::vector<std::string> fields;
        size_t start = 0;
        for (size_t tab = line.find('\t'); tab != std::string::npos; tab = line.find('\t', start)) {
            fields.push_back(line.substr(start, tab - start));
            start = tab + 1;
        }
        fields.push_back(line.substr(start));
        rows.push_back(fields);
    }
    EXPECT_FALSE(rows.empty()) << name << " holds no cases";
    return rows;
}

/// A field with each "\xNN" turned into the byte it names.
inline std::string unescapeField(const std::string& field) {
    std::string bytes;
    for (size_t i = 0; i < field.size(); ++i) {
        if (field.compare(i, 2, "\\x") == 0 && i + 3 < field.size()) {
            bytes += static_cast<char>(std::stoi(field.substr(i + 2, 2), nullptr, 16));
            i += 3;
        } else {
            bytes += field[i];
        }
    }
    return bytes;
}
