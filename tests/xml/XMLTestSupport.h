// Helpers for the XML tests: data files, a readable dump of a record tree, and serialising a
// tree in reads of a chosen size.
#pragma once

#include "frame/QsCore.h"
#include "xml/CAgg2XML.h"
#include "xml/CXML2CAgg.h"

#include <fstream>
#include <iterator>
#include <string>

namespace xmltest {

/// A file under tests/data/xml/.
inline std::string readData(const std::string& name) {
    std::ifstream in(std::string(VELL_TEST_DATA) + "/xml/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// An EStr's characters as UTF-8, with "[ucs]" behind them when the string is UCS.
inline std::string shown(const _EStrRec* s) {
    std::string text = ESTR2UTF8(s);
    std::string out = "\"";
    for (char c : text) {
        switch (c) {
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        default:
            out += c;
        }
    }
    out += "\"";
    if (EStrGetEncoding(s) == kEStrUCS)
        out += "[ucs]";
    return out;
}

inline std::string shownValue(CAgg& value) {
    if (value.getType() != CAgg::eEStr)
        return "<type " + std::to_string(value.getType()) + ">";
    return shown(value.toEStr());
}

inline std::string shownMap(CAgg& map) {
    if (map.getType() != CAgg::eMap)
        return " <type " + std::to_string(map.getType()) + ">";
    std::string out;
    for (auto& [key, value] : map.toMap())
        out += " " + shown(key) + "=" + shownValue(value);
    return out;
}

/// One line per node, indented by depth: the type, then for an element its name and
/// namespace, and a line each for attr, nsDict and a missing children entry; for a text node
/// its text. Strings are quoted, with "[ucs]" marking UCS ones. Keys a node should not have
/// are shown as "unexpected".
inline void dumpNode(CAgg& node, int depth, std::string& out) {
    std::string indent(static_cast<size_t>(depth) * 2, ' ');
    CXMLElement element(node);
    if (element.isText()) {
        out += indent + "text " + shownValue(node[kXMLKeyText]) + "\n";
        for (QsAtom key : {kXMLKeyName.get(), kXMLKeyAttr.get(), kXMLKeyChildren.get(),
                           kXMLKeyNSDict.get(), kXMLKeyEncoded.get(), kXMLKeyNameSpace.get()}) {
            if (node.has(key))
                out += indent + "  unexpected " + std::string(QsAtomGetString(key)) + "\n";
        }
        return;
    }
    if (!element.isElement()) {
        out += indent + "unexpected node\n";
        return;
    }
    out += indent + "element " + shownValue(node[kXMLKeyName]) + " in " +
           shownValue(node[kXMLKeyNameSpace]) + "\n";
    if (node.has(kXMLKeyAttr))
        out += indent + "  attr" + shownMap(node[kXMLKeyAttr]) + "\n";
    else
        out += indent + "  no attr\n";
    if (node.has(kXMLKeyNSDict))
        out += indent + "  nsDict" + shownMap(node[kXMLKeyNSDict]) + "\n";
    if (node.has(kXMLKeyText) || node.has(kXMLKeyEncoded))
        out += indent + "  unexpected text\n";
    if (!node.has(kXMLKeyChildren)) {
        out += indent + "  no children\n";
        return;
    }
    for (CAgg& child : node[kXMLKeyChildren].toVector())
        dumpNode(child, depth + 1, out);
}

inline std::string dump(CAgg& root) {
    std::string out;
    dumpNode(root, 0, out);
    return out;
}

/// The whole text of a serialiser, read count bytes at a time; stops after limit reads.
inline std::string readAll(CAgg2XML& serialiser, long count, long limit = 10'000'000) {
    std::string text;
    std::string buffer(static_cast<size_t>(count), '\0');
    for (long reads = 0; reads < limit; ++reads) {
        long n = serialiser.readProc(buffer.data(), count);
        if (n <= 0)
            break;
        text.append(buffer.data(), static_cast<size_t>(n));
    }
    return text;
}

/// The text of a copy of the tree, read count bytes at a time.
inline std::string serialise(CAgg& tree, long count = 4096, bool withDeclaration = true) {
    CAgg2XML serialiser(tree, withDeclaration);
    return readAll(serialiser, count);
}

/// Marks every text node of a parsed tree as encoded, so that it is escaped on the way out.
inline void markEncoded(CAgg& node) {
    CXMLElement element(node);
    if (element.isText()) {
        node[kXMLKeyEncoded].toQsBool() = 1;
        return;
    }
    if (node.has(kXMLKeyChildren)) {
        for (CAgg& child : node[kXMLKeyChildren].toVector())
            markEncoded(child);
    }
}

} // namespace xmltest
