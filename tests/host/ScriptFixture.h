// A test host with the real script engine and one application context, and helpers that run
// script text and read what it gives.
#pragma once

#include "frame/HostError.h"
#include "tests/fakehost/FakeHost.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

class ScriptTest : public ::testing::Test {
protected:
    ScriptTest() : engine(host.installScriptEngine()), context(engine.newContext("App", nullptr)) {
        // These tests read host text as UTF-8, which is the engine's way without a converter.
        engine.setEncodings(nullptr);
    }

    ~ScriptTest() override {
        for (ESVal slot : m_slots)
            engine.freeVal(slot);
    }

    /// A slot that the fixture frees.
    ESVal slot(ESContext in = nullptr) {
        m_slots.push_back(engine.newVal(in ? in : context));
        return m_slots.back();
    }

    /// Runs source in the context; the value it leaves.
    ESVal run(const std::string& source, ESContext in = nullptr) {
        ESVal result = slot(in);
        engine.evaluate(in ? in : context, nullptr, source.c_str(), -1, result);
        return result;
    }

    /// The host error code that running source raises, 0 for none.
    int32_t failureOf(const std::string& source) {
        try {
            run(source);
        } catch (const HostError& error) {
            return error.code;
        }
        return 0;
    }

    std::string text(ESVal value) {
        std::string out;
        EXPECT_TRUE(engine.readString(value, false, out));
        return out;
    }

    std::string textOf(const std::string& source) { return text(run(source)); }

    ESObject objectOf(const std::string& source) { return engine.readObject(run(source)); }

    /// A file of tests/data/host.
    static std::string dataFile(const std::string& name) {
        std::ifstream in(std::string(VELL_TEST_DATA) + "/host/" + name, std::ios::binary);
        EXPECT_TRUE(in.good()) << name;
        std::stringstream buffer;
        buffer << in.rdbuf();
        return buffer.str();
    }

    FakeHost host;
    CSpiderMonkeyEngine& engine;
    ESContext context;

private:
    std::vector<ESVal> m_slots;
};
