// SOAP messages: writing a request and serialising it, reading a reply into values, and the
// multipart body both ways. The ...Structs cases take the messages of bench/soap_vs_php.sh
// (structs {id, name, price, active}, the reply as PHP's SoapServer writes it) through the steps
// of a call; ReaderOnly leaves the parse out.
//   build/bench/soap_bench --benchmark_filter=Structs --benchmark_repetitions=5

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/host/HostTableIds.h"
#include "host/core/CHostCore.h"
#include "host/encodings/CIconvEncodings.h"
#include "host/files/CPosixFileSystem.h"
#include "soap/CMultipartReader.h"
#include "soap/CMultipartWriter.h"
#include "soap/CSOAPReader.h"
#include "soap/CSOAPWriter.h"
#include "values/CAggWalk.h"
#include "values/QsStm.h"
#include "xml/CAgg2XML.h"
#include "xml/CXML2CAgg.h"

#include <benchmark/benchmark.h>

#include <string>
#include <utility>

namespace {

// The support layer, for its file system only: the disk, temporary files in the system's folder.
class DiskSupport final : public IVellSupport {
public:
    int32_t hftVersion() const override { return kNewVellSupportTable.version; }
    IFileSystem* files() override { return &m_files; }
    ICabinets* cabinets() override { return nullptr; }
    IPreferences* preferences() override { return nullptr; }

private:
    CPosixFileSystem m_files;
};

// UUIDs counted up: the multipart writer asks for them.
class CountingExtra final : public IQsExtra {
public:
    int32_t hftVersion() const override { return kQsExtraTable.version; }
    ISealing* sealing() override { return nullptr; }
    IDigest* digest() override { return nullptr; }
    std::string newUUID() override { return "00000000-0000-4000-8000-" + std::to_string(++m_next); }

private:
    long m_next = 0;
};

void setUpHost() {
    static CHostCore core;
    static CIconvEncodings encodings;
    static DiskSupport support;
    static CountingExtra extra;
    static bool done = false;
    if (done)
        return;
    done = true;
    gCoreHFT = &core;
    gBaseKitHFT = &encodings;
    gVellSupportHFT = &support;
    gQsExtraHFT = &extra;
    core.registerTable(kVellScriptInterfaceTable.name, kVellScriptInterfaceTable.version,
                       &encodings);
}

// An array of structs; typed structs declare their type's namespace on each item.
CAgg arrayRequest(long items, bool typed) {
    CAgg request;
    CAgg& list = request["urn:bench:put"]["list"];
    for (long i = 0; i < items; ++i) {
        CAgg& item = list[i];
        if (typed)
            item["soapType"] = CAgg("urn:bench:Entry");
        item["name"] = CAgg("entry name");
        item["count"] = CAgg(i);
        item["ratio"] = CAgg(0.5);
    }
    return request;
}

// The request of a call with n structs {id, name, price, active}, as the script bridge hands
// it over: objects as atom maps, strings in UCS, numbers as doubles; encoded as the parameter
// "items" of the operation, literal as repeated "item".
CAgg structsRequest(long count, bool encoded) {
    auto ucs = [](const std::string& text) {
        return CAgg::adoptEStr(EStrCopySetEncoding(CEStr(text.c_str(), kEStrPDFDoc), kEStrUCS));
    };
    QsAtom id = QsAtomFromString("id");
    QsAtom name = QsAtomFromString("name");
    QsAtom price = QsAtomFromString("price");
    QsAtom active = QsAtomFromString("active");
    CAgg request;
    CAgg& operation = request[QsAtomFromString(encoded ? "urn:bench:echoItems" : "echoItems")];
    CAgg& list = operation[QsAtomFromString(encoded ? "items" : "item")];
    for (long i = 0; i < count; ++i) {
        CAgg& item = list[i];
        item[id] = CAgg(static_cast<double>(i));
        item[name] = ucs("Item number " + std::to_string(i));
        item[price] = CAgg(static_cast<double>(i) + 0.25);
        item[active].toQsBool() = i % 2 == 0;
    }
    return request;
}

// The reply of such a call as a PHP SoapServer writes it: rpc/encoded, every value typed and the
// structs in a SOAP-ENC:Array, or document/literal, the structs repeated in the wrapper's
// default namespace.
std::string structsReply(long count, bool encoded) {
    std::string reply = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    if (encoded) {
        reply += "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\""
                 " xmlns:ns1=\"urn:bench\" xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\""
                 " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
                 " xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\""
                 " SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\">"
                 "<SOAP-ENV:Body><ns1:echoItemsResponse><return SOAP-ENC:arrayType=\"ns1:Item[" +
                 std::to_string(count) + "]\" xsi:type=\"SOAP-ENC:Array\">";
        for (long i = 0; i < count; ++i) {
            std::string n = std::to_string(i);
            reply += "<item xsi:type=\"ns1:Item\"><id xsi:type=\"xsd:int\">" + n +
                     "</id><name xsi:type=\"xsd:string\">Item number " + n +
                     "</name><price xsi:type=\"xsd:float\">" + n +
                     ".25</price><active xsi:type=\"xsd:boolean\">" + (i % 2 ? "false" : "true") +
                     "</active></item>";
        }
        return reply + "</return></ns1:echoItemsResponse></SOAP-ENV:Body></SOAP-ENV:Envelope>\n";
    }
    reply += "<soap:Envelope xmlns:soap=\"http://schemas.xmlsoap.org/soap/envelope/\">"
             "<soap:Body><echoItemsResponse xmlns=\"urn:bench\">";
    for (long i = 0; i < count; ++i) {
        std::string n = std::to_string(i);
        reply += "<item><id>" + n + "</id><name>Item number " + n + "</name><price>" + n +
                 ".25</price><active>" + (i % 2 ? "false" : "true") + "</active></item>";
    }
    return reply + "</echoItemsResponse></soap:Body></soap:Envelope>\n";
}

// The whole text, pulled in the network layer's 2048-byte blocks.
std::string serialize(QsStm xml) {
    std::string text;
    char block[2048];
    for (long n; (n = QsStmRead(xml, block, sizeof block)) > 0;)
        text.append(block, static_cast<size_t>(n));
    QsStmClose(xml);
    return text;
}

std::string serialize(CAgg& tree) {
    return serialize(CAgg2XML::openStream(tree));
}

void BM_WriteEncodedArray(benchmark::State& state) {
    setUpHost();
    CAgg header;
    CAgg request = arrayRequest(state.range(0), true);
    size_t bytes = 0;
    for (auto _ : state) {
        CAgg tree = getSOAPWriter(header, request, 1)->writeMessage();
        bytes += serialize(tree).size();
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}
BENCHMARK(BM_WriteEncodedArray)->Arg(1000)->Unit(benchmark::kMillisecond);

// A call's request written as the call does it: the request handed over to the writer, the
// tree to the serialiser, the text pulled in blocks and everything freed. Making the request
// is left out of the timing.
void writeStructs(benchmark::State& state, bool encoded) {
    setUpHost();
    CAgg request = structsRequest(state.range(0), encoded);
    size_t bytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        CAgg copy(request);
        state.ResumeTiming();
        CAgg tree = getSOAPWriter(CAgg(), std::move(copy), encoded ? 1 : 0)->writeMessage();
        bytes += serialize(CAgg2XML::openStream(std::move(tree))).size();
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}

// The same request written as a call writes it now: a plain request goes straight to text,
// which the network layer reads from memory.
void writeStructsAsText(benchmark::State& state, bool encoded) {
    setUpHost();
    CAgg request = structsRequest(state.range(0), encoded);
    size_t bytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        CAgg copy(request);
        state.ResumeTiming();
        std::string text;
        if (!getSOAPWriter(CAgg(), std::move(copy), encoded ? 1 : 0)->writeMessageText(text))
            state.SkipWithError("the request was not written as text");
        bytes += serialize(QsMemStmRdOpen(std::move(text))).size();
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}

void BM_WriteEncodedStructsAsText(benchmark::State& state) {
    writeStructsAsText(state, true);
}
BENCHMARK(BM_WriteEncodedStructsAsText)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_WriteLiteralStructsAsText(benchmark::State& state) {
    writeStructsAsText(state, false);
}
BENCHMARK(BM_WriteLiteralStructsAsText)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_WriteEncodedStructs(benchmark::State& state) {
    writeStructs(state, true);
}
BENCHMARK(BM_WriteEncodedStructs)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_WriteLiteralStructs(benchmark::State& state) {
    writeStructs(state, false);
}
BENCHMARK(BM_WriteLiteralStructs)->Arg(10000)->Unit(benchmark::kMillisecond);

// A reply of an array of structs, parsed and read. (A reply whose every item declares a namespace
// of its own is slower by far: the parser gives each element every declaration seen so far.)
void BM_ReadEncodedArray(benchmark::State& state) {
    setUpHost();
    CAgg header;
    CAgg request = arrayRequest(state.range(0), false);
    CAgg tree = getSOAPWriter(header, request, 1)->writeMessage();
    std::string reply = serialize(tree);
    for (auto _ : state) {
        CXML2CAgg parser;
        parser.parse(reply.data(), static_cast<int>(reply.size()), 1);
        // The reader takes the tree over, as a call's reader does.
        CAgg value = getSOAPReader(std::move(parser.getRoot()), 1)->readBody(nullptr);
        benchmark::DoNotOptimize(value);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * reply.size()));
}
BENCHMARK(BM_ReadEncodedArray)->Arg(1000)->Unit(benchmark::kMillisecond);

// A PHP-shaped reply of n structs read as a call reads it: parsed, read with the tree handed
// over, and freed. With parse false the parse is left out of the timing, which then holds the
// reader and the freeing of the tree and the value alone. With message set, the literal reader
// gives the records that the literal writer takes.
void readStructs(benchmark::State& state, bool encoded, bool parse, bool message = false) {
    setUpHost();
    std::string reply = structsReply(state.range(0), encoded);
    for (auto _ : state) {
        if (!parse)
            state.PauseTiming();
        CXML2CAgg parser;
        parser.parse(reply.data(), static_cast<int>(reply.size()), 1);
        if (!parse)
            state.ResumeTiming();
        auto reader = getSOAPReader(std::move(parser.getRoot()), encoded ? 1 : 0);
        reader->setXMLMessage(message ? 1 : 0);
        CAgg value = reader->readBody(nullptr);
        if (CAggMapSize(value) != 1)
            state.SkipWithError("the reply was not read");
        benchmark::DoNotOptimize(value);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * reply.size()));
}

void BM_ReadEncodedStructs(benchmark::State& state) {
    readStructs(state, true, true);
}
BENCHMARK(BM_ReadEncodedStructs)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_ReadLiteralStructs(benchmark::State& state) {
    readStructs(state, false, true);
}
BENCHMARK(BM_ReadLiteralStructs)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_ReaderOnlyEncodedStructs(benchmark::State& state) {
    readStructs(state, true, false);
}
BENCHMARK(BM_ReaderOnlyEncodedStructs)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_ReaderOnlyLiteralStructs(benchmark::State& state) {
    readStructs(state, false, false);
}
BENCHMARK(BM_ReaderOnlyLiteralStructs)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_ReaderOnlyLiteralMessageStructs(benchmark::State& state) {
    readStructs(state, false, false, true);
}
BENCHMARK(BM_ReaderOnlyLiteralMessageStructs)->Arg(10000)->Unit(benchmark::kMillisecond);

// A 10 MB attachment pulled through the multipart writer in the network layer's 2048-byte
// blocks, and the same body taken apart by the reader, spooling it to disk.
void BM_MultipartRoundTrip(benchmark::State& state) {
    setUpHost();
    std::string attachment(static_cast<size_t>(state.range(0)), 'a');
    for (auto _ : state) {
        CMultipartWriter writer;
        writer.addPart(CEStr("file", kEStrPDFDoc), "application/octet-stream", "binary",
                       QsMemStmRdOpen(attachment.data(), attachment.size()));
        std::string body;
        char block[2048];
        for (long n; (n = writer.readProc(block, sizeof block)) > 0;)
            body.append(block, static_cast<size_t>(n));
        CAgg headers;
        headers[0L]["key"] = CAgg("Content-Type");
        headers[0L]["value"] = CAgg(writer.getContentType().get());
        CMultipartReader reader;
        QsStm stream = QsMemStmRdOpen(std::move(body));
        reader.process(headers, stream);
        QsStmClose(stream);
        QsStm part = reader.getPart(reader.getRootPartName());
        benchmark::DoNotOptimize(QsStmReadAll(part, 65536).size());
        QsStmClose(part);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * attachment.size()));
}
BENCHMARK(BM_MultipartRoundTrip)->Arg(10 << 20)->Unit(benchmark::kMillisecond);

} // namespace
