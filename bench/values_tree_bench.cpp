// Making and freeing the trees of a 10,000-struct SOAP call, the values alone:
//   - the element records of the reply, as the parser builds them: per struct an element with
//     four member elements, each with its type attribute, the namespaces in scope and a text;
//   - the result the reader makes of it: a vector of 10,000 maps of four typed members.
// Each is timed built and freed, and freed alone (the building paused), so that a change to
// the freeing path shows on its own.

#include "values/CAgg.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

namespace {

constexpr int kStructs = 10000;

// Atoms of the record keys and types; any distinct numbers do for an atom map.
enum : QsAtom {
    kType = 1,
    kName,
    kNameSpace,
    kAttr,
    kChildren,
    kNSDict,
    kText,
    kElement,
    kTextNode
};

constexpr const char* kTypeKey = "http://www.w3.org/2001/XMLSchema-instance:type";

CAgg namespaces() {
    CAgg dict;
    dict["SOAP-ENV"] = CAgg("http://schemas.xmlsoap.org/soap/envelope/");
    dict["xsd"] = CAgg("http://www.w3.org/2001/XMLSchema");
    dict["xsi"] = CAgg("http://www.w3.org/2001/XMLSchema-instance");
    dict["ns1"] = CAgg("urn:bench");
    dict.shareMap();
    return dict;
}

CAgg textNode(const char* text) {
    CAgg node = CAgg::atomMapWithRoom(2);
    CAgg::CAggQsAtomMap& fields = node.toQsAtomMap();
    fields[kType].toQsAtom() = kTextNode;
    fields[kText] = CAgg(text);
    return node;
}

CAgg element(const char* name, const char* type, const CAgg& dict) {
    CAgg node = CAgg::atomMapWithRoom(6);
    CAgg::CAggQsAtomMap& fields = node.toQsAtomMap();
    fields[kType].toQsAtom() = kElement;
    fields[kName] = CAgg(name);
    fields[kNameSpace] = CAgg("");
    fields[kAttr][kTypeKey] = CAgg(type);
    fields[kChildren].toVector();
    fields[kNSDict] = dict;
    return node;
}

CAgg& childrenOf(CAgg& node) {
    return node.toQsAtomMap()[kChildren];
}

CAgg replyTree() {
    CAgg dict = namespaces();
    CAgg root = element("return", "SOAP-ENC:Array", dict);
    CAgg::CAggVector& items = childrenOf(root).toVector();
    items.reserve(kStructs);
    char number[32];
    for (int i = 0; i < kStructs; ++i) {
        CAgg item = element("item", "ns1:Product", dict);
        CAgg::CAggVector& members = childrenOf(item).toVector();
        members.reserve(4);
        const char* texts[4] = {number, "Product name", "12.5", "true"};
        std::snprintf(number, sizeof number, "%d", i);
        const char* names[4] = {"id", "name", "price", "active"};
        const char* types[4] = {"xsd:int", "xsd:string", "xsd:double", "xsd:boolean"};
        for (int m = 0; m < 4; ++m) {
            CAgg member = element(names[m], types[m], dict);
            childrenOf(member).toVector().push_back(textNode(texts[m]));
            members.push_back(std::move(member));
        }
        items.push_back(std::move(item));
    }
    return root;
}

CAgg resultTree() {
    CAgg result;
    CAgg::CAggVector& items = result.toVector();
    items.reserve(kStructs);
    for (int i = 0; i < kStructs; ++i) {
        CAgg item;
        item["id"] = CAgg(static_cast<long>(i));
        item["name"] = CAgg("Product name");
        item["price"] = CAgg(12.5);
        item["active"].toQsBool() = 1;
        items.push_back(std::move(item));
    }
    return result;
}

template <CAgg (*Make)()> void BuildAndFree(benchmark::State& state) {
    for (auto _ : state) {
        CAgg tree = Make();
        benchmark::DoNotOptimize(tree);
    }
    state.SetItemsProcessed(state.iterations() * kStructs);
}

template <CAgg (*Make)()> void FreeOnly(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        CAgg tree = Make();
        state.ResumeTiming();
        tree = CAgg();
        benchmark::DoNotOptimize(tree);
    }
    state.SetItemsProcessed(state.iterations() * kStructs);
}

void BM_ReplyTreeBuildAndFree(benchmark::State& state) {
    BuildAndFree<replyTree>(state);
}
BENCHMARK(BM_ReplyTreeBuildAndFree)->Unit(benchmark::kMillisecond);

void BM_ReplyTreeFree(benchmark::State& state) {
    FreeOnly<replyTree>(state);
}
BENCHMARK(BM_ReplyTreeFree)->Unit(benchmark::kMillisecond);

void BM_ResultTreeBuildAndFree(benchmark::State& state) {
    BuildAndFree<resultTree>(state);
}
BENCHMARK(BM_ResultTreeBuildAndFree)->Unit(benchmark::kMillisecond);

void BM_ResultTreeFree(benchmark::State& state) {
    FreeOnly<resultTree>(state);
}
BENCHMARK(BM_ResultTreeFree)->Unit(benchmark::kMillisecond);

} // namespace
