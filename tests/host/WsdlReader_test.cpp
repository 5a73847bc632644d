// The host's WSDL reader: which binding it takes, and the record it gives for each operation.
#include "host/core/CHostCore.h"
#include "host/wsdl/CWsdlReader.h"
#include "tests/fakehost/FakeCabinets.h"
#include "tests/fakehost/FakeFileSystem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string readTestFile(const std::string& name) {
    std::ifstream in(std::string(VELL_TEST_DATA) + "/host/" + name, std::ios::binary);
    EXPECT_TRUE(in) << name;
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// A stream over bytes that hands out at most pieceSize bytes a read, or fails at the end.
struct BytesStream final : _t_QsStm {
    BytesStream(std::string bytes, size_t pieceSize, bool failAtEnd = false)
        : bytes(std::move(bytes)), pieceSize(pieceSize), failAtEnd(failAtEnd) {}
    long read(char* buffer, long count) override {
        size_t n = std::min({static_cast<size_t>(count), pieceSize, bytes.size() - at});
        if (n == 0 && failAtEnd)
            return -1;
        bytes.copy(buffer, n, at);
        at += n;
        return static_cast<long>(n);
    }
    std::string bytes;
    size_t pieceSize;
    bool failAtEnd;
    size_t at = 0;
};

std::string utf8(const QsTextRec& text) {
    std::string out;
    for (char16_t unit : text.units)
        out += unit < 0x80 ? static_cast<char>(unit) : '?';
    return out;
}

struct Reading {
    ICabinets* cabinets;
    std::vector<std::string> records;
};

// One line per record: name, namespace, [parameters], style, URL, action, order.
void collect(const WsdlOperationRec& op, void* context) {
    auto& reading = *static_cast<Reading*>(context);
    std::string parameters;
    for (const QsCabKeyInfo& key : reading.cabinets->keys(op.parameters)) {
        std::optional<std::u16string> name =
            reading.cabinets->getText(op.parameters, key.key.c_str());
        parameters +=
            (parameters.empty() ? "" : " ") + key.key + "=" + (name ? utf8(QsTextRec{*name}) : "?");
    }
    reading.records.push_back(utf8(op.methodName) + " | " + utf8(op.methodNamespace) + " | [" +
                              parameters + "] | " + std::to_string(op.style) + " | " +
                              utf8(op.url) + " | " + utf8(op.soapAction) + " | " +
                              utf8(op.parameterOrder));
}

class WsdlReader : public ::testing::Test {
protected:
    std::vector<std::string> read(const std::string& document, size_t pieceSize = 4096,
                                  bool failAtEnd = false) {
        BytesStream stream(document, pieceSize, failAtEnd);
        Reading reading{&cabinets, {}};
        int32_t delivered = reader.readWsdl(&stream, collect, &reading);
        EXPECT_EQ(delivered, static_cast<int32_t>(reading.records.size()));
        return reading.records;
    }

    CHostCore core;
    FakeFileSystem files;
    FakeCabinets cabinets{core, files};
    CWsdlReader reader{cabinets};
};

TEST_F(WsdlReader, GivesOneRecordPerOperationOfTheSelectedBinding) {
    const struct {
        const char* file;
        std::vector<std::string> records;
    } cases[] = {
        {"wsdl-rpc-encoded-three-operations.wsdl",
         {"subtract | urn:example:calculator:ops | [0=minuend 1=subtrahend] | 2 | "
          "http://127.0.0.1:8080/calculator | urn:example:calculator#subtract | subtrahend minuend",
          "ping | urn:example:calculator:ops | [] | 2 | http://127.0.0.1:8080/calculator | "
          "urn:example:calculator#ping | ",
          // A body without namespace calls in the document's target namespace.
          "greet | urn:example:calculator | [0=name] | 2 | http://127.0.0.1:8080/calculator |  "
          "| "}},
        {"wsdl-document-literal-soap12.wsdl",
         {"placeOrder | urn:example:orders:schema | [0=parameters] | 1 | "
          "https://orders.example/soap12 | urn:example:orders#placeOrder | "}},
        // The SOAP 1.2 port stands before the SOAP 1.1 one; the body names one of two parts;
        // rpc comes from the operation, literal from the body.
        {"wsdl-first-soap-port-wins.wsdl",
         {"lookup | urn:example:lookup | [0=key] | 3 | http://lookup.example/soap12 | "
          "lookup-1.2 | "}},
        {"wsdl-without-service.wsdl", {}},
        {"wsdl-schema-not-wsdl.xml", {}},
        {"wsdl-not-xml.html", {}},
        {"wsdl-cut-short.wsdl", {}},
    };
    for (const auto& c : cases) {
        std::string document = readTestFile(c.file);
        EXPECT_EQ(read(document), c.records) << c.file;
        // The reader takes the stream in whatever pieces it comes.
        EXPECT_EQ(read(document, 7), c.records) << c.file << " in pieces of 7";
    }
}

TEST_F(WsdlReader, BadStreamsAndEndlessNestingGiveNoOperation) {
    std::string good = readTestFile("wsdl-rpc-encoded-three-operations.wsdl");
    EXPECT_TRUE(read(good, 4096, true).empty()) << "a stream that fails";
    EXPECT_TRUE(read("").empty()) << "an empty stream";

    std::string deep = "<definitions xmlns='http://schemas.xmlsoap.org/wsdl/'>";
    for (int i = 0; i < 100000; ++i)
        deep += "<a>";
    EXPECT_TRUE(read(deep).empty());

    Reading reading{&cabinets, {}};
    EXPECT_EQ(reader.readWsdl(nullptr, collect, &reading), 0);
    BytesStream stream(good, 4096);
    EXPECT_EQ(reader.readWsdl(&stream, nullptr, nullptr), 0);
}

TEST_F(WsdlReader, TextsArriveAsUnicodeAndParameterCabinetsAreLetGo) {
    std::string document = readTestFile("wsdl-rpc-encoded-three-operations.wsdl");
    const std::string from = "name=\"greet\"";
    // An operation name with a character outside ASCII: "grüß" in UTF-8.
    for (size_t at = document.find(from); at != std::string::npos; at = document.find(from))
        document.replace(at, from.size(), "name=\"gr\xC3\xBC\xC3\x9F\"");
    struct Seen {
        std::u16string name;
        size_t liveCabinets = 0;
        CMemoryCabinets* cabinets;
    } seen{{}, 0, &cabinets};
    BytesStream stream(document, 4096);
    reader.readWsdl(
        &stream,
        [](const WsdlOperationRec& op, void* context) {
            auto& last = *static_cast<Seen*>(context);
            last.name = op.methodName.units;
            last.liveCabinets = last.cabinets->liveCount();
        },
        &seen);
    EXPECT_EQ(seen.name, u"gr\u00FC\u00DF");
    // Each record's cabinet lives for its call only.
    EXPECT_EQ(seen.liveCabinets, 1u);
    EXPECT_EQ(cabinets.liveCount(), 0u);
}

} // namespace
