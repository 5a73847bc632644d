// A test host with the real script engine and one application context, for the script bridge:
// running script, reading data files, and describing a CAgg as short text.
#pragma once

#include "frame/QsCore.h"
#include "tests/fakehost/FakeHost.h"
#include "values/CAgg.h"
#include "values/CES.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

class CESTest : public ::testing::Test {
protected:
    CESTest() : engine(host.installScriptEngine()), context(engine.newContext("App", nullptr)) {}

    /// Runs source in the context and gives the value it leaves; a script error fails the test.
    CES::Val run(const std::string& source) {
        CES::Val result(context);
        try {
            engine.evaluate(context, nullptr, source.c_str(), -1, result.slot());
        } catch (const HostError& error) {
            ADD_FAILURE() << "script failed with " << error.code << ": " << source;
        }
        return result;
    }

    /// The text a script expression gives, as UTF-8.
    std::string textOf(const std::string& source) { return run(source).text().getString(); }

    /// Sets a global of the context.
    void setGlobal(const char* name, const CES::Val& value) {
        CES::Context(context).global()[name] = value;
    }

    /// A script of tests/data/values.
    static std::string script(const std::string& name) {
        std::ifstream in(std::string(VELL_TEST_DATA) + "/values/" + name, std::ios::binary);
        EXPECT_TRUE(in.good()) << "missing test data " << name;
        std::stringstream buffer;
        buffer << in.rdbuf();
        return buffer.str();
    }

    /// The name and message of a thrown script value.
    std::string describeException(const CES::Val& exception) {
        return exception["name"].get().text().getString() + ": " +
               exception["message"].get().text().getString();
    }

    /// A CAgg as short text: void, true, 5, "text", [a, b], {key: value}, {@atom: value},
    /// stream, time, shadow; the tag number for the rest.
    static std::string describe(CAgg& value) {
        switch (value.getType()) {
        case CAgg::eVoid:
            return "void";
        case CAgg::eQsBool:
            return value.toQsBool() ? "true" : "false";
        case CAgg::eDouble: {
            char number[32];
            std::snprintf(number, sizeof number, "%g", value.todouble());
            return number;
        }
        case CAgg::eEStr: {
            CQsText text;
            QsTextFromEStr(value.toEStr(), text.get());
            return "\"" + text.getString() + "\"";
        }
        case CAgg::eVector: {
            std::string out;
            for (CAgg& element : value.toVector())
                out += (out.empty() ? "" : ", ") + describe(element);
            return "[" + out + "]";
        }
        case CAgg::eMap: {
            std::string out;
            for (auto& [key, entry] : value.toMap()) {
                CQsText text;
                QsTextFromEStr(key.get(), text.get());
                out += (out.empty() ? "" : ", ") + text.getString() + ": " + describe(entry);
            }
            return "{" + out + "}";
        }
        case CAgg::eQsAtomMap: {
            std::string out;
            for (auto& [atom, entry] : value.toQsAtomMap())
                out += (out.empty() ? "@" : ", @") + std::string(QsAtomGetString(atom)) + ": " +
                       describe(entry);
            return "{" + out + "}";
        }
        case CAgg::eQsStm:
            return "stream";
        case CAgg::eQsTimeRec:
            return "time";
        case CAgg::eCLobObjShadow:
            return "shadow";
        default:
            return "tag " + std::to_string(value.getType());
        }
    }

    FakeHost host;
    CSpiderMonkeyEngine& engine;
    ESContext context;
};
