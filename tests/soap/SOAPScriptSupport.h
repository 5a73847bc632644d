// The fixture of the SOAP object's script tests: the test host with the real script engine, the
// SOAP module's object in a context of its own, replies scripted on the fake network, and the
// helpers of script-helpers.js loaded into the context.
#pragma once

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/PluginEntry.h"
#include "frame/ZString.h"
#include "soap/CSOAPRequestAsync.h"
#include "soap/CSoapModule.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/soap/HTTPTestSupport.h"
#include "values/QsCab.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace soaptest {

/// The endpoint of the scripted service.
inline const std::string kService = "http://services.example/soap";

class SOAPScriptTest : public ::testing::Test {
protected:
    void SetUp() override {
        host.network().initialize();
        host.installScriptEngine().registerStringProvider("SOAPString", soapStrings);
        module = std::make_unique<CSoapModule>();
        module->init();
        context = host.scriptEngine().newContext("App", nullptr);
        run(soapTestData("script-helpers.js"));
    }
    void TearDown() override {
        module->term();
        gEFSClientIDs[0] = kNoNetClient;
        QsCabLocalTerm();
    }

    /// Runs script in the test's context; the text of its value. An exception that escapes
    /// fails the test.
    std::string run(const std::string& source) {
        int32_t code = 0;
        std::string text = evaluateScript(host.scriptEngine(), context, source, code);
        EXPECT_EQ(code, 0) << source;
        return text;
    }
    /// The outcome of a script expression through attempt(): its value as JSON, or the
    /// exception it throws.
    std::string attempt(const std::string& expression) {
        return run("attempt(function() { return " + expression + "; })");
    }

    /// Queues a reply for the service: status, a body from a file, and a Content-Type.
    void reply(long status, const std::string& file, const std::string& type = "text/xml") {
        FakeReply answer = FakeReply::withBody(status, file.empty() ? "" : soapTestData(file));
        if (!type.empty())
            answer.headers.emplace_back("Content-Type", type);
        host.network().addReply(kService, answer);
    }
    /// The body of the last request sent.
    std::string lastBody() {
        const auto& sent = host.network().sent();
        return sent.empty() ? std::string() : sent.back().body;
    }

    static bool soapStrings(const char* key, QsTextRec* out) {
        miGetZStringEx(miGetZStringID(key), out);
        return true;
    }

    FakeHost host;
    std::unique_ptr<CSoapModule> module;
    ESContext context = nullptr;
};

} // namespace soaptest
