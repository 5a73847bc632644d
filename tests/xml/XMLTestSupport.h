// Helpers for the XML tests: data files, a readable dump of a record tree, and serialising a
// tree in reads of a chosen size.
#pragma once

#include "frame/QsCore.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/support/QuotedText.h"
#include "xml/CAgg2XML.h"
#include "xml/CXML2CAgg.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace xmltest {

/// The one test host of the program. A CLazyAtom keeps its atom while the core table at the
/// same address lives, so a host made anew for each test, at the address of the last one,
/// would be handed the old host's atoms.
inline FakeHost& testHost() {
    static FakeHost host;
    return host;
}

/// A test that runs against the program's test host.
class XMLTest : public ::testing::Test {
protected:
    FakeHost& host = testHost();
};

/// A file under tests/data/xml/.
inline std::string readData(const std::string& name) {
    std::ifstream in(std::string(VELL_TEST_DATA) + "/xml/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// An EStr's characters as UTF-8, with "[ucs]" behind them when the string is UCS.
inline std::string shown(const _EStrRec* s) {
    return quotedText(s);
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
        if (node.toQsAtomMap().size() != 2)
            out += indent + "  unexpected keys\n";
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

/// A string of a tree file: "\n", "\r", "\t", "\\" and "\xNN" (a byte) as in C; "\uXXXX" is
/// a UTF-16 unit, and a string with one becomes UCS, else it is PDFDocEncoding bytes.
inline CEStr treeString(const std::string& text) {
    std::u16string units;
    std::string bytes;
    bool wide = false;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '\\' && i + 1 < text.size()) {
            char e = text[++i];
            if (e == 'x' || e == 'u') {
                size_t digits = e == 'x' ? 2 : 4;
                auto value = static_cast<char16_t>(std::stoul(text.substr(i + 1, digits), 0, 16));
                i += digits;
                wide = wide || e == 'u';
                units += value;
                bytes += static_cast<char>(value);
                continue;
            }
            c = e == 'n' ? '\n' : e == 'r' ? '\r' : e == 't' ? '\t' : e;
        }
        units += static_cast<char16_t>(static_cast<unsigned char>(c));
        bytes += c;
    }
    CEStr s = CEStr::adopt(EStrNew(nullptr, kEStrPDFDoc));
    if (!wide) {
        EStrSetBytesWithSize(s, bytes.data(), static_cast<long>(bytes.size()), kEStrPDFDoc);
        return s;
    }
    std::string ucs = "\xFE\xFF";
    for (char16_t unit : units) {
        ucs += static_cast<char>(unit >> 8);
        ucs += static_cast<char>(unit & 0xFF);
    }
    EStrSetBytesWithSize(s, ucs.data(), static_cast<long>(ucs.size()), kEStrUCS);
    return s;
}

/// A tree built for writing, from a tree file: one node or entry a line, indented two spaces a
/// level. Nodes: "element NAME", "pi TARGET", "text VALUE" (encoded), "raw VALUE" (no
/// "encoded" entry). Under an element or a processing node: "@KEY=VALUE" (attr),
/// "ns URI" (nameSpace), "dict PREFIX=URI" (nsDict), "children" (an empty children vector).
/// Lines starting with "#" are comments. An empty file is a void tree.
inline CAgg readTree(const std::string& name) {
    std::string text = readData(name);
    CAgg root;
    std::vector<CAgg*> open; // open[d] is the node at depth d
    size_t at = 0;
    while (at < text.size()) {
        size_t end = text.find('\n', at);
        std::string line = text.substr(at, end == std::string::npos ? std::string::npos : end - at);
        at = end == std::string::npos ? text.size() : end + 1;
        size_t indent = line.find_first_not_of(' ');
        if (indent == std::string::npos || line[indent] == '#')
            continue;
        size_t depth = indent / 2;
        std::string body = line.substr(indent);
        size_t space = body.find(' ');
        std::string kind = body.substr(0, space);
        std::string rest = space == std::string::npos ? "" : body.substr(space + 1);
        auto split = [](const std::string& entry) {
            size_t eq = entry.find('=');
            return std::make_pair(treeString(entry.substr(0, eq)),
                                  treeString(entry.substr(eq + 1)));
        };
        if (body[0] == '@') {
            auto [key, value] = split(body.substr(1));
            (*open[depth - 1])[kXMLKeyAttr][key] = CAgg(value.get());
            continue;
        }
        if (kind == "ns") {
            (*open[depth - 1])[kXMLKeyNameSpace] = CAgg(treeString(rest).get());
            continue;
        }
        if (kind == "dict") {
            auto [prefix, uri] = split(rest);
            (*open[depth - 1])[kXMLKeyNSDict][prefix] = CAgg(uri.get());
            continue;
        }
        if (kind == "children") {
            (*open[depth - 1])[kXMLKeyChildren].toVector();
            continue;
        }
        CAgg node;
        if (kind == "element" || kind == "pi") {
            CXMLElement(node).setType(kind == "pi" ? kXMLTypeProcessing : kXMLTypeElement);
            node[kXMLKeyName] = CAgg(treeString(rest).get());
        } else {
            CXMLElement(node).setType(kXMLTypeText);
            node[kXMLKeyText] = CAgg(treeString(rest).get());
            if (kind == "text")
                node[kXMLKeyEncoded].toQsBool() = 1;
        }
        open.resize(depth + 1);
        if (depth == 0) {
            root = std::move(node);
            open[0] = &root;
        } else {
            open[depth] =
                &(*open[depth - 1])[kXMLKeyChildren].toVector().emplace_back(std::move(node));
        }
    }
    return root;
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
