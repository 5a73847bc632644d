// Shared pieces of the HTTP, credential and script tests: test data, a consumer that records a
// reply, header records, authenticate maps, a look into the credential store, and a script
// evaluated in a context.
#pragma once

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/QsText.h"
#include "soap/CCredStore.h"
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
        std::vector<std::string> fields;
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, '\t');)
            fields.push_back(cell);
        if (!line.empty() && line[0] != '#')
            rows.push_back(fields);
    }
    return rows;
}

/// What a consumer was given.
struct ReplyRecord {
    std::string body;
    std::vector<long> blocks;
    int finalCalls = 0;
    long finalStatus = -100;
    int stopAtBlock = -1;   // answer 0 at this block (from 1)
    int deleteAtBlock = -1; // delete the request at this block (from 1)
    /// A header asked for in the final call, and the answer.
    const char* askAtEnd = nullptr;
    std::optional<std::string> answerAtEnd;

    static unsigned short consume(void* request, void* data, long length, void* userData,
                                  long status) {
        auto* self = static_cast<ReplyRecord*>(userData);
        auto* http = static_cast<CHTTPRequest*>(request);
        if (length == 0) {
            EXPECT_EQ(data, nullptr);
            ++self->finalCalls;
            self->finalStatus = status;
            if (self->askAtEnd)
                self->answerAtEnd = http->getResponseHeader(self->askAtEnd);
            return 0;
        }
        EXPECT_LE(length, CHTTPRequest::kBlockSize);
        self->body.append(static_cast<const char*>(data), static_cast<size_t>(length));
        self->blocks.push_back(length);
        int count = static_cast<int>(self->blocks.size());
        if (count == self->deleteAtBlock)
            delete http;
        return count == self->stopAtBlock ? 0 : 1;
    }
};

/// A vector of header records with "key" and "value".
inline CAgg headerRecords(const std::vector<std::pair<std::string, std::string>>& headers) {
    CAgg list;
    for (size_t i = 0; i < headers.size(); ++i) {
        list[i]["key"] = CAgg(headers[i].first.c_str());
        list[i]["value"] = CAgg(headers[i].second.c_str());
    }
    return list;
}

/// An authenticate map as a SOAP call gives it.
inline CAgg authenticateMap(const char* user, const char* password) {
    CAgg map;
    map["Username"] = CAgg(user);
    map["Password"] = CAgg(password);
    return map;
}

/// What the credential store holds for a server and realm: user name and password.
inline std::optional<std::pair<std::string, std::string>> storedCredentials(const char* server,
                                                                            const char* realm) {
    char* user = nullptr;
    char* password = nullptr;
    if (!CCredStore::instance()->getCredentials(server, realm, &user, &password))
        return std::nullopt;
    std::pair<std::string, std::string> found{user, password};
    QsFree(user);
    QsFree(password);
    return found;
}

/// Evaluates script in the context, as the host does: the text of its value, and in code the
/// error it raised (0 for none).
inline std::string evaluateScript(IScriptEngine& es, ESContext context, const std::string& source,
                                  int32_t& code) {
    ESVal result = es.newVal(context);
    HostFrame frame;
    frame.run([&] {
        es.evaluate(context, nullptr, source.c_str(), static_cast<long>(source.size()), result);
    });
    code = frame.code();
    CQsText text;
    es.readQsText(result, text.get());
    es.freeVal(result);
    return text.getString();
}
