// Parse, serialise, parse again. A tree the parser accepts, with its text marked for escaping,
// must serialise to the same bytes whatever size the reads have; when that text parses in turn,
// its tree must serialise the same way too.
#include "fuzz/FuzzHost.h"
#include "xml/CAgg2XML.h"
#include "xml/CXML2CAgg.h"

#include <cstdint>
#include <string>
#include <vector>

namespace {

void setUp() {
    fuzzInstallCoreAndEncodings(false);
}

void markEncoded(CAgg& root) {
    std::vector<CAgg*> pending{&root};
    while (!pending.empty()) {
        CAgg& node = *pending.back();
        pending.pop_back();
        if (CXMLElement(node).isText()) {
            node[kXMLKeyEncoded].toQsBool() = 1;
            continue;
        }
        if (node.has(kXMLKeyChildren)) {
            for (CAgg& child : node[kXMLKeyChildren].toVector())
                pending.push_back(&child);
        }
    }
}

std::string serialise(CAgg& tree, long count) {
    CAgg2XML serialiser(tree);
    std::string text;
    std::string buffer(static_cast<size_t>(count), '\0');
    for (long n; (n = serialiser.readProc(buffer.data(), count)) > 0;)
        text.append(buffer.data(), static_cast<size_t>(n));
    fuzzRequire(serialiser.readProc(buffer.data(), count) == 0);
    return text;
}

// The serialised text of a tree, checked to come out the same in small and large reads.
std::string serialiseBothWays(CAgg& tree, long small) {
    std::string whole = serialise(tree, 4096);
    fuzzRequire(whole.rfind("<?xml version=\"1.0\"?>\n", 0) == 0);
    fuzzRequire(serialise(tree, small) == whole);
    return whole;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool ready = (setUp(), true);
    (void)ready;
    if (size == 0)
        return 0;
    long small = data[0] % 64 + 1;
    CXML2CAgg first;
    if (!first.parse(reinterpret_cast<const char*>(data + 1), static_cast<int>(size - 1), 1))
        return 0;
    markEncoded(first.getRoot());
    std::string text = serialiseBothWays(first.getRoot(), small);

    CXML2CAgg second;
    if (!second.parse(text.data(), static_cast<int>(text.size()), 1))
        return 0;
    markEncoded(second.getRoot());
    serialiseBothWays(second.getRoot(), small);
    return 0;
}
