// SOAP messages: writing a request and serialising it, reading a reply into values, and the
// multipart body both ways.
//   build/bench/soap_bench

#include "frame/HostTables.h"
#include "frame/host/HostTableIds.h"
#include "host/core/CHostCore.h"
#include "host/encodings/CIconvEncodings.h"
#include "host/files/CPosixFileSystem.h"
#include "soap/CMultipartReader.h"
#include "soap/CMultipartWriter.h"
#include "soap/CSOAPReader.h"
#include "soap/CSOAPWriter.h"
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

std::string serialize(CAgg& tree) {
    QsStm xml = CAgg2XML::openStream(tree);
    std::string text = QsStmReadAll(xml);
    QsStmClose(xml);
    return text;
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
