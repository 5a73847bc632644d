// Any bytes as a document, fed in two pieces cut where the first byte says: the parser must
// answer with a result and, on failure, a message; a tree it accepts must have the record shape
// on every node.
#include "fuzz/FuzzHost.h"
#include "xml/CXML2CAgg.h"

#include <cstdint>
#include <vector>

namespace {

void setUp() {
    fuzzInstallCoreAndEncodings(false);
}

// Every node is an element with its four entries or a text node with a string; the walk keeps
// its own stack, as deep trees are the point.
void checkShape(CAgg& root) {
    std::vector<CAgg*> pending{&root};
    while (!pending.empty()) {
        CAgg& node = *pending.back();
        pending.pop_back();
        CXMLElement element(node);
        if (element.isText()) {
            fuzzRequire(node.has(kXMLKeyText) && node[kXMLKeyText].getType() == CAgg::eEStr);
            continue;
        }
        fuzzRequire(element.isElement());
        fuzzRequire(node.has(kXMLKeyName) && node.has(kXMLKeyNameSpace));
        fuzzRequire(node.has(kXMLKeyAttr) && node[kXMLKeyAttr].getType() == CAgg::eMap);
        fuzzRequire(node.has(kXMLKeyChildren) && node[kXMLKeyChildren].getType() == CAgg::eVector);
        fuzzRequire((&node == &root) != node.has(kXMLKeyNSDict));
        for (CAgg& child : node[kXMLKeyChildren].toVector())
            pending.push_back(&child);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool ready = (setUp(), true);
    (void)ready;
    if (size == 0)
        return 0;
    const char* text = reinterpret_cast<const char*>(data + 1);
    int length = static_cast<int>(size - 1);
    int cut = length ? data[0] % (length + 1) : 0;

    CXML2CAgg parser;
    int result = parser.parse(text, cut, 0);
    if (result)
        result = parser.parse(text + cut, length - cut, 0);
    if (result)
        result = parser.parse(nullptr, 0, 1);
    CEStr message = parser.getErrorString();
    fuzzRequire((result != 0) == (EStrGetLen(message) == 0));
    if (result) {
        checkShape(parser.getRoot());
        CXMLElement(parser.getRoot()).getValue();
    }
    return 0;
}
