// The host's WSDL reader: which binding it takes, and the record it gives for each operation.
#include "host/core/CHostCore.h"
#include "host/wsdl/CWsdlReader.h"
#include "host/wsdl/WsdlLocation.h"
#include "tests/fakehost/FakeCabinets.h"
#include "tests/fakehost/FakeFileSystem.h"
#include "tests/fakehost/FakeIdle.h"
#include "tests/fakehost/FakeNetwork.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
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

    /// Reads the document served at url, with the imports the test network serves; each record
    /// followed by " @ service/port".
    std::vector<std::string> readFrom(const char* url, bool withURL = true) {
        std::string document = readTestFile(m_served.at(url));
        BytesStream stream(document, 4096);
        Reading reading{&cabinets, {}};
        auto collectWithPort = [](const WsdlOperationRec& op, void* context) {
            collect(op, context);
            static_cast<Reading*>(context)->records.back() +=
                " @ " + utf8(op.serviceName) + "/" + utf8(op.portName);
        };
        importing.readWsdlFrom(&stream, withURL ? url : nullptr, collectWithPort, &reading);
        return reading.records;
    }

    void serve(const std::string& url, const std::string& file) {
        m_served[url] = file;
        network.addReply(url, FakeReply::withBody(200, readTestFile(file), 1000));
    }

    std::vector<std::string> fetched() const {
        std::vector<std::string> urls;
        for (const FakeSentRequest& request : network.sent())
            urls.push_back(request.url);
        return urls;
    }

    CHostCore core;
    FakeFileSystem files;
    FakeCabinets cabinets{core, files};
    CWsdlReader reader{cabinets};
    FakeIdle idle;
    FakeNetwork network{idle};
    CWsdlReader importing{cabinets, &network};
    std::map<std::string, std::string> m_served;
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

TEST(WsdlLocation, RelativeLocationsResolveAgainstTheImportingDocument) {
    const char* base = "http://wsdl.test/a/b/main.wsdl?v=2#top";
    const struct {
        const char* base;
        const char* reference;
        const char* url;
    } cases[] = {
        {base, "types.wsdl", "http://wsdl.test/a/b/types.wsdl"},
        {base, "./parts/x.wsdl", "http://wsdl.test/a/b/parts/x.wsdl"},
        {base, "../x.wsdl", "http://wsdl.test/a/x.wsdl"},
        {base, "../../../../x.wsdl", "http://wsdl.test/x.wsdl"},
        {base, "c/../../d/./x.wsdl?q=1#frag", "http://wsdl.test/a/d/x.wsdl?q=1"},
        {base, "/root.wsdl", "http://wsdl.test/root.wsdl"},
        {base, "//other.test/x.wsdl", "http://other.test/x.wsdl"},
        {base, "?wsdl=2", "http://wsdl.test/a/b/main.wsdl?wsdl=2"},
        {base, "https://secure.test/x.wsdl", "https://secure.test/x.wsdl"},
        {"http://wsdl.test", "x.wsdl", "http://wsdl.test/x.wsdl"},
        {"http://wsdl.test/a/", "..", "http://wsdl.test/"},
        {"", "x.wsdl", ""},
        {"", "http://wsdl.test/x.wsdl", "http://wsdl.test/x.wsdl"},
        {"not a url", "x.wsdl", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(resolveWsdlLocation(c.base, c.reference), c.url)
            << c.base << " + " << c.reference;
}

TEST_F(WsdlReader, ImportedDefinitionsCountAsTheirImportersOwn) {
    serve("http://wsdl.test/wsdl/main.wsdl", "wsdl-import-main.wsdl");
    serve("http://wsdl.test/wsdl/parts/stock-interface.wsdl", "wsdl-import-interface.wsdl");
    serve("http://wsdl.test/wsdl/bindings/stock-bindings.wsdl", "wsdl-import-bindings.wsdl");
    serve("http://wsdl.test/wsdl/stock-types.xsd", "wsdl-import-types.xsd");
    network.addReply("http://wsdl.test/wsdl/missing.wsdl", FakeReply::withBody(404, "gone"));
    ASSERT_TRUE(network.initialize());

    // The SOAP port is chosen over the HTTP one before it; an operation whose body names no
    // namespace calls in that of the document holding its binding.
    EXPECT_EQ(readFrom("http://wsdl.test/wsdl/main.wsdl"),
              (std::vector<std::string>{
                  "quote | urn:example:stock:ops | [0=symbol 1=currency] | 2 | "
                  "http://stock.example/soap | urn:example:stock#quote | symbol currency @ "
                  "StockService/StockSoap",
                  "list | urn:example:stock:bindings | [] | 2 | http://stock.example/soap |  |  @ "
                  "StockService/StockSoap"}));
    // Depth first, each once: the main document the bindings import again is not fetched.
    EXPECT_EQ(fetched(),
              (std::vector<std::string>{"http://wsdl.test/wsdl/parts/stock-interface.wsdl",
                                        "http://wsdl.test/wsdl/bindings/stock-bindings.wsdl",
                                        "http://wsdl.test/wsdl/stock-types.xsd",
                                        "http://wsdl.test/wsdl/missing.wsdl"}));
    EXPECT_EQ(network.openRequests(), 0u);

    // Without the document's own URL relative locations lead nowhere, and nothing is fetched.
    size_t before = network.sent().size();
    EXPECT_TRUE(readFrom("http://wsdl.test/wsdl/main.wsdl", false).empty());
    EXPECT_EQ(network.sent().size(), before);
}

TEST_F(WsdlReader, ImportsAreBoundedInDepthAndNumber) {
    ASSERT_TRUE(network.initialize());
    auto definitions = [](const std::string& inside) {
        return "<definitions xmlns='http://schemas.xmlsoap.org/wsdl/' "
               "xmlns:soap='http://schemas.xmlsoap.org/wsdl/soap/' "
               "xmlns:t='urn:chain' targetNamespace='urn:chain'>" +
               inside + "</definitions>";
    };
    auto importOf = [](const std::string& location) {
        return "<import namespace='urn:chain' location='" + location + "'/>";
    };
    const std::string service = "<service name='S'><port name='P' binding='t:B'>"
                                "<soap:address location='http://chain.test/soap'/></port>"
                                "</service>";
    const std::string binding = "<binding name='B' type='t:T'><soap:binding style='rpc'/>"
                                "<operation name='op'><input><soap:body use='encoded'/></input>"
                                "</operation></binding>";
    // A chain of imports with the binding at its end, as deep as the reader goes and deeper.
    for (int depth : {CWsdlReader::kMaxImportDepth, CWsdlReader::kMaxImportDepth + 1}) {
        std::string prefix = "http://chain.test/" + std::to_string(depth) + "/";
        for (int i = 1; i <= depth; ++i) {
            std::string inside =
                i < depth ? importOf("d" + std::to_string(i + 1) + ".wsdl") : binding;
            network.addReply(prefix + "d" + std::to_string(i) + ".wsdl",
                             FakeReply::withBody(200, definitions(inside)));
        }
        BytesStream stream(definitions(importOf("d1.wsdl") + service), 4096);
        Reading reading{&cabinets, {}};
        std::string url = prefix + "main.wsdl";
        EXPECT_EQ(importing.readWsdlFrom(&stream, url.c_str(), collect, &reading),
                  depth <= CWsdlReader::kMaxImportDepth ? 1 : 0)
            << depth;
    }

    // A document that imports more documents than the reader reads in all.
    size_t before = network.sent().size();
    std::string many;
    for (int i = 0; i < CWsdlReader::kMaxImportedDocuments + 5; ++i)
        many += importOf("many" + std::to_string(i) + ".wsdl");
    BytesStream stream(definitions(many + service), 4096);
    Reading reading{&cabinets, {}};
    importing.readWsdlFrom(&stream, "http://chain.test/many.wsdl", collect, &reading);
    EXPECT_EQ(network.sent().size() - before, size_t{CWsdlReader::kMaxImportedDocuments});
    EXPECT_EQ(network.openRequests(), 0u);
}

} // namespace
