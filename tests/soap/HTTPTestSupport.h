// Shared pieces of the HTTP tests: test data, a consumer that records a reply, and helpers for
// headers and authenticate maps.
#pragma once

#include "soap/CHTTPRequest.h"
#include "values/CAgg.h"
#include "values/QsStm.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

/// The bytes of tests/data/soap/<name>; fails the test when the file is missing.
inline std::string soapTestData(const std::string& name) {
    std::ifstream file(std::string(VELL_TEST_DATA) + "/soap/" + name, std::ios::binary);
    EXPECT_TRUE(file.good()) << "missing test data " << name;
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

/// The rows of a tab-separated table under tests/data/soap/; "#" lines are comments.
inline std::vector<std::vector<std::string>> soapCaseTable(const std::string& name) {
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines(soapTestData(name));
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        std::vector<std::string> fields;
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, '\t');)
            fields.push_back(cell);
        rows.push_back(fields);
    }
    return rows;
}

/// What a consumer was given.
struct ReplyRecord {
    std::string body;
    std::vector<long> blocks;
    std::vector<long> statuses;
    int finalCalls = 0;
    long finalStatus = -100;
    /// Answer 0 at this block (from 1).
    int stopAtBlock = -1;
    /// Delete the request at this block (from 1).
    int deleteAtBlock = -1;
    /// Headers asked for during the final call.
    std::vector<std::string> askAtEnd;
    std::vector<std::optional<std::string>> answersAtEnd;

    static unsigned short consume(void* request, void* data, long length, void* userData,
                                  long status) {
        auto* self = static_cast<ReplyRecord*>(userData);
        auto* http = static_cast<CHTTPRequest*>(request);
        if (length == 0) {
            EXPECT_EQ(data, nullptr);
            ++self->finalCalls;
            self->finalStatus = status;
            for (const std::string& name : self->askAtEnd)
                self->answersAtEnd.push_back(http->getResponseHeader(name.c_str()));
            return 0;
        }
        self->body.append(static_cast<const char*>(data), static_cast<size_t>(length));
        self->blocks.push_back(length);
        self->statuses.push_back(status);
        int count = static_cast<int>(self->blocks.size());
        if (count == self->deleteAtBlock) {
            delete http;
            return 1;
        }
        return count == self->stopAtBlock ? 0 : 1;
    }
};

/// A vector of header records with "key" and "value".
inline CAgg headerRecords(const std::vector<std::pair<std::string, std::string>>& headers) {
    CAgg list;
    list.toVector();
    for (const auto& [key, value] : headers) {
        CAgg record;
        record["key"] = CAgg(key.c_str());
        record["value"] = CAgg(value.c_str());
        list.toVector().push_back(record);
    }
    return list;
}

/// An authenticate map as a SOAP call gives it.
inline CAgg authenticateMap(const char* user, const char* password) {
    CAgg map;
    map.toMap();
    if (user)
        map["Username"] = CAgg(user);
    if (password)
        map["Password"] = CAgg(password);
    return map;
}
