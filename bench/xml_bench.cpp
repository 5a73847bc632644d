// Throughput of the XML subsystem against bare Expat, on a 10 MiB SOAP-style document (an
// encoded array of 50,000 structs), a 5 MiB RSS document, and documents of 131,072 tiny elements
// (1 MiB) and of as many with an id each:
//   - Expat alone, namespace mode, empty handlers;
//   - CXML2CAgg building the record tree (counters, measured on a parse outside the timings:
//     heap_per_byte, the most heap a parse holds at once per input byte; estimate_pct, the
//     tree's own estimate of its size against that heap; heap_per_element for the last two);
//   - CAgg2XML writing a tree built for writing back out in 4096-byte pulls, from a tree handed
//     over (Reads) and from the copy the serialiser makes of it (WithCopy);
//   - Expat alone on CAgg2XML's output, the yardstick for the serialiser;
//   - CXML2CAgg on one element of 1, 4 and 16 MiB of text fed in 2048-byte blocks, as a
//     reply arrives: the time must grow in proportion to the size.
// Run by hand: build/bench/xml_bench --benchmark_min_time=2
#include "frame/HostTables.h"
#include "host/core/CHostCore.h"
#include "xml/CAgg2XML.h"
#include "xml/CXML2CAgg.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <string>

// Heap accounting: every allocation of the program goes through these, so that the most heap
// held at once during a parse can be read off.
extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void __libc_free(void*);
void* __libc_memalign(size_t, size_t);
}

namespace {

// Counting is on only while the heap is measured, so that it costs the timings nothing.
bool gCounting = false;
long gHeapInUse = 0;
long gHeapPeak = 0;

void noteAllocated(void* block) {
    if (!gCounting || !block)
        return;
    gHeapInUse += static_cast<long>(malloc_usable_size(block));
    if (gHeapInUse > gHeapPeak)
        gHeapPeak = gHeapInUse;
}

void noteFreed(void* block) {
    if (gCounting && block)
        gHeapInUse -= static_cast<long>(malloc_usable_size(block));
}

} // namespace

extern "C" void* malloc(size_t size) {
    void* block = __libc_malloc(size);
    noteAllocated(block);
    return block;
}

extern "C" void* calloc(size_t count, size_t size) {
    void* block = __libc_calloc(count, size);
    noteAllocated(block);
    return block;
}

extern "C" void* realloc(void* old, size_t size) {
    noteFreed(old);
    void* block = __libc_realloc(old, size);
    noteAllocated(block ? block : (size ? old : nullptr));
    return block;
}

// The slabs of small blocks come from here.
extern "C" void* aligned_alloc(size_t alignment, size_t size) {
    void* block = __libc_memalign(alignment, size);
    noteAllocated(block);
    return block;
}

extern "C" void free(void* block) {
    noteFreed(block);
    __libc_free(block);
}

namespace {

constexpr long kStructs = 50'000;
constexpr size_t kRSSBytes = 5u << 20;

const char kEnvelopeNS[] = "http://schemas.xmlsoap.org/soap/envelope/";
const char kEncodingNS[] = "http://schemas.xmlsoap.org/soap/encoding/";
const char kXsdNS[] = "http://www.w3.org/2001/XMLSchema";
const char kXsiNS[] = "http://www.w3.org/2001/XMLSchema-instance";

// The SOAP reply: an encoded array of structs of four typed members, close to 10 MiB.
const std::string& soapDocument() {
    static const std::string text = [] {
        std::string doc = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<SOAP-ENV:Envelope "
                          "xmlns:SOAP-ENV=\"" +
                          std::string(kEnvelopeNS) + "\" xmlns:SOAP-ENC=\"" + kEncodingNS +
                          "\" xmlns:xsd=\"" + kXsdNS + "\" xmlns:xsi=\"" + kXsiNS +
                          "\">\n<SOAP-ENV:Body>\n<ns1:getOrdersResponse xmlns:ns1=\"urn:orders\" "
                          "SOAP-ENV:encodingStyle=\"" +
                          kEncodingNS +
                          "\">\n<return xmlns:ns2=\"urn:orders:types\" xsi:type=\"SOAP-ENC:Array\" "
                          "SOAP-ENC:arrayType=\"ns2:Order[" +
                          std::to_string(kStructs) + "]\">\n";
        char item[512];
        for (long i = 0; i < kStructs; ++i) {
            std::snprintf(item, sizeof item,
                          "<item xsi:type=\"ns2:Order\"><id xsi:type=\"xsd:int\">%ld</id>"
                          "<customer xsi:type=\"xsd:string\">Customer %ld &amp; Sons</customer>"
                          "<price xsi:type=\"xsd:float\">%ld.%02ld</price>"
                          "<paid xsi:type=\"xsd:boolean\">%s</paid></item>\n",
                          i, i * 7, i % 1000, i % 100, i % 2 ? "true" : "false");
            doc += item;
        }
        doc += "</return>\n</ns1:getOrdersResponse>\n</SOAP-ENV:Body>\n</SOAP-ENV:Envelope>\n";
        return doc;
    }();
    return text;
}

// The feed: items with a title, a link, an escaped HTML description with some text past
// ASCII, a date and a guid, up to 5 MiB.
const std::string& rssDocument() {
    static const std::string text = [] {
        std::string doc = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rss version=\"2.0\" "
                          "xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n<channel>\n"
                          "<title>Bench feed</title>\n<link>http://example.com/</link>\n"
                          "<description>A feed for measuring</description>\n";
        char item[1024];
        for (long i = 0; doc.size() < kRSSBytes - 1024; ++i) {
            std::snprintf(item, sizeof item,
                          "<item>\n<title>Story number %ld about caf\xC3\xA9s</title>\n"
                          "<link>http://example.com/stories/%ld.html</link>\n"
                          "<description>&lt;p&gt;The &lt;b&gt;%ld&lt;/b&gt; story tells of a "
                          "place where people meet, talk and drink coffee. It goes on for a "
                          "while, as stories do, &amp;amp; then it ends.&lt;/p&gt;</description>\n"
                          "<pubDate>Mon, 01 Jan 2024 10:%02ld:00 GMT</pubDate>\n"
                          "<dc:creator>Writer %ld</dc:creator>\n"
                          "<guid isPermaLink=\"false\">story-%ld</guid>\n</item>\n",
                          i, i, i, i % 60, i % 13, i);
            doc += item;
        }
        doc += "</channel>\n</rss>\n";
        return doc;
    }();
    return text;
}

// Tiny elements, 131,072 of them, each holding one character: what a record costs at the least.
constexpr long kTinyElements = 131'072;
const std::string& tinyDocument() {
    static const std::string text = [] {
        std::string doc = "<?xml version=\"1.0\"?><r>";
        for (long i = 0; i < kTinyElements; ++i)
            doc += "<v>1</v>";
        return doc + "</r>";
    }();
    return text;
}

// The same with an attribute whose value differs on every element, as ids do: no two elements
// can share their attributes.
const std::string& distinctAttributesDocument() {
    static const std::string text = [] {
        std::string doc = "<?xml version=\"1.0\"?><r>";
        for (long i = 0; i < kTinyElements; ++i)
            doc += "<v id=\"i" + std::to_string(i) + "\">1</v>";
        return doc + "</r>";
    }();
    return text;
}

const std::string& document(int which) {
    switch (which) {
    case 0:
        return soapDocument();
    case 1:
        return rssDocument();
    case 2:
        return tinyDocument();
    default:
        return distinctAttributesDocument();
    }
}

void setUpHost() {
    static CHostCore core;
    gCoreHFT = &core;
}

void XMLCALL startNothing(void*, const XML_Char*, const XML_Char**) {}
void XMLCALL endNothing(void*, const XML_Char*) {}
void XMLCALL textNothing(void*, const XML_Char*, int) {}

bool parseWithExpat(const std::string& text) {
    XML_Parser parser = XML_ParserCreateNS(nullptr, '\0');
    XML_SetElementHandler(parser, startNothing, endNothing);
    XML_SetCharacterDataHandler(parser, textNothing);
    bool ok = XML_Parse(parser, text.data(), static_cast<int>(text.size()), 1) == XML_STATUS_OK;
    XML_ParserFree(parser);
    return ok;
}

// A tree as a writer builds it: names with their namespace, prefixed attribute names, the
// declarations the attributes need in "attr" of the root, encoded text, and no nsDict. Made
// from a parsed tree.
void toWritingTree(CAgg& node, CAgg& out) {
    CXMLElement in(node);
    CXMLElement element(out);
    if (in.isText()) {
        element.setType(kXMLTypeText);
        out[kXMLKeyText] = node[kXMLKeyText];
        out[kXMLKeyEncoded].toQsBool() = 1;
        return;
    }
    element.setType(kXMLTypeElement);
    element.setName(in.getName());
    CEStr ns = in.getNameSpace();
    if (EStrGetLen(ns) > 0)
        element.setNameSpace(ns);
    if (node.has(kXMLKeyAttr)) {
        for (auto& [key, value] : node[kXMLKeyAttr].toMap()) {
            std::string name = ESTR2UTF8(key);
            size_t colon = name.rfind(':');
            if (colon != std::string::npos) {
                std::string uri = name.substr(0, colon);
                const char* prefix = uri == kXsiNS        ? "xsi:"
                                     : uri == kEnvelopeNS ? "SOAP-ENV:"
                                                          : "SOAP-ENC:";
                name = prefix + name.substr(colon + 1);
            }
            out[kXMLKeyAttr][name.c_str()] = value;
        }
    }
    if (!in.isElement() || !node.has(kXMLKeyChildren))
        return;
    CAgg::CAggVector& children = element.children();
    for (CAgg& child : node[kXMLKeyChildren].toVector())
        toWritingTree(child, children.emplace_back());
}

CAgg writingTree(int which) {
    CXML2CAgg parser;
    const std::string& text = document(which);
    parser.parse(text.data(), static_cast<int>(text.size()), 1);
    CAgg tree;
    toWritingTree(parser.getRoot(), tree);
    // Every element of the SOAP tree uses these prefixes, as the encoded writer's do.
    CXMLElement root(tree);
    root.setAttribute("xmlns:xsi", kXsiNS);
    root.setAttribute("xmlns:SOAP-ENC", kEncodingNS);
    root.setAttribute("xmlns:SOAP-ENV", kEnvelopeNS);
    return tree;
}

std::string readOut(CAgg2XML& serialiser) {
    std::string out;
    char buffer[4096];
    for (long n; (n = serialiser.readProc(buffer, sizeof buffer)) > 0;)
        out.append(buffer, static_cast<size_t>(n));
    return out;
}

const std::string& serialisedDocument(int which) {
    static std::string texts[2];
    if (texts[which].empty()) {
        CAgg tree = writingTree(which);
        CAgg2XML serialiser(std::move(tree));
        texts[which] = readOut(serialiser);
    }
    return texts[which];
}

void BM_ExpatBare(benchmark::State& state) {
    const std::string& text = document(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        if (!parseWithExpat(text))
            state.SkipWithError("Expat refused the document");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

// The most heap one parse holds at once, and the parser's estimate of its tree: measured on a
// parse of its own, outside the timings. The parse runs on the benchmark's one thread, so plain
// counters do.
struct HeapUse {
    long peak;
    long long estimate;
};

HeapUse heapOfParse(const std::string& text) {
    gHeapInUse = 0;
    gHeapPeak = 0;
    gCounting = true;
    auto* parser = new CXML2CAgg;
    parser->parse(text.data(), static_cast<int>(text.size()), 1);
    gCounting = false;
    HeapUse use{gHeapPeak, parser->treeBytes()};
    delete parser;
    return use;
}

void BM_XML2CAgg(benchmark::State& state) {
    setUpHost();
    const int which = static_cast<int>(state.range(0));
    const std::string& text = document(which);
    HeapUse use = heapOfParse(text);
    state.counters["heap_per_byte"] =
        static_cast<double>(use.peak / static_cast<long>(text.size()));
    // How near the tree's estimate comes to the heap it holds, in per cent.
    state.counters["estimate_pct"] = static_cast<double>(use.estimate * 100 / use.peak);
    if (which >= 2)
        state.counters["heap_per_element"] = static_cast<double>(use.peak / kTinyElements);
    for (auto _ : state) {
        auto* parser = new CXML2CAgg;
        if (!parser->parse(text.data(), static_cast<int>(text.size()), 1))
            state.SkipWithError("the parser refused the document");
        state.PauseTiming();
        delete parser;
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

// One element whose text is the given number of MiB, with an entity now and then, fed in
// blocks of 2048 bytes as a reply comes from the network.
const std::string& largeTextDocument(long mebibytes) {
    static std::string texts[17];
    std::string& doc = texts[mebibytes];
    if (doc.empty()) {
        const std::string unit = "Some words of a long text &amp; a little more of it. ";
        doc = "<r>";
        while (doc.size() < (static_cast<size_t>(mebibytes) << 20))
            doc += unit;
        doc += "</r>";
    }
    return doc;
}

void BM_XML2CAggLargeText(benchmark::State& state) {
    setUpHost();
    const std::string& text = largeTextDocument(state.range(0));
    constexpr size_t kBlock = 2048;
    for (auto _ : state) {
        auto* parser = new CXML2CAgg;
        for (size_t at = 0; at < text.size(); at += kBlock) {
            size_t n = std::min(kBlock, text.size() - at);
            parser->parse(text.data() + at, static_cast<int>(n), 0);
        }
        if (!parser->parse(nullptr, 0, 1))
            state.SkipWithError("the parser refused the document");
        state.PauseTiming();
        delete parser;
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

void BM_Agg2XMLReads(benchmark::State& state) {
    setUpHost();
    int which = static_cast<int>(state.range(0));
    CAgg tree = writingTree(which);
    size_t bytes = serialisedDocument(which).size();
    for (auto _ : state) {
        state.PauseTiming();
        auto* serialiser = new CAgg2XML(CAgg(tree));
        state.ResumeTiming();
        char buffer[4096];
        for (long n; (n = serialiser->readProc(buffer, sizeof buffer)) > 0;)
            benchmark::DoNotOptimize(buffer);
        state.PauseTiming();
        delete serialiser;
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
}

void BM_Agg2XMLWithCopy(benchmark::State& state) {
    setUpHost();
    int which = static_cast<int>(state.range(0));
    CAgg tree = writingTree(which);
    size_t bytes = serialisedDocument(which).size();
    for (auto _ : state) {
        auto* serialiser = new CAgg2XML(tree);
        char buffer[4096];
        for (long n; (n = serialiser->readProc(buffer, sizeof buffer)) > 0;)
            benchmark::DoNotOptimize(buffer);
        state.PauseTiming();
        delete serialiser;
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
}

void BM_ExpatOnSerialised(benchmark::State& state) {
    setUpHost();
    const std::string& text = serialisedDocument(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        if (!parseWithExpat(text))
            state.SkipWithError("Expat refused the serialised document");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

} // namespace

// Argument 0 is the SOAP document, 1 the feed.
BENCHMARK(BM_ExpatBare)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_XML2CAgg)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);
// Argument: the size of the one text element, in MiB.
BENCHMARK(BM_XML2CAggLargeText)->Arg(1)->Arg(4)->Arg(16)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExpatOnSerialised)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Agg2XMLReads)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Agg2XMLWithCopy)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
