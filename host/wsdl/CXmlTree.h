// A namespace-aware element tree read with Expat: what the host's WSDL reader and its sample
// services look at. Names are split into namespace URI and local name; each element keeps the
// prefixes it declares, so that qualified names in attribute values ("tns:EchoRequest") can be
// resolved where they stand.
#pragma once

#include <expat.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// An attribute: namespace URI (empty for an unqualified one), local name, value.
struct XmlAttribute {
    std::string nameSpace;
    std::string localName;
    std::string value;
};

/// One element of the tree.
struct XmlElement {
    std::string nameSpace;
    std::string localName;
    std::vector<XmlAttribute> attributes;
    /// Prefixes declared on this element: prefix ("" for the default namespace) and URI.
    std::vector<std::pair<std::string, std::string>> declarations;
    std::vector<std::unique_ptr<XmlElement>> children;
    /// The character data directly inside the element, joined.
    std::string text;
    XmlElement* parent = nullptr;

    /// Whether the element has this namespace and local name.
    bool is(std::string_view ns, std::string_view local) const;
    /// The value of an attribute without namespace, or null.
    const std::string* attribute(std::string_view local) const;
    /// The value of an attribute in a namespace, or null.
    const std::string* attribute(std::string_view ns, std::string_view local) const;
    /// The URI a prefix stands for here ("" for the default namespace); false when undeclared.
    bool resolvePrefix(std::string_view prefix, std::string& uri) const;
    /// A qualified name of an attribute value, "prefix:local" or "local", as namespace URI and
    /// local name; an unprefixed name takes the default namespace. False for an undeclared prefix.
    bool resolveQName(std::string_view qname, std::string& ns, std::string& local) const;
    /// The children with this namespace and local name, in order.
    std::vector<const XmlElement*> childrenNamed(std::string_view ns, std::string_view local) const;
    /// The first child with this namespace and local name, or null.
    const XmlElement* firstChild(std::string_view ns, std::string_view local) const;
    /// The first child element of any name, or null.
    const XmlElement* firstChild() const;
};

/// Reads a document block by block into a tree.
class CXmlTree {
public:
    /// Elements nested deeper than this make the document unreadable.
    static constexpr int kMaxDepth = 256;

    CXmlTree();
    ~CXmlTree();
    CXmlTree(const CXmlTree&) = delete;
    CXmlTree& operator=(const CXmlTree&) = delete;

    /// Feeds the next block; final marks the last one. False once the document is unreadable.
    bool parse(const char* data, size_t length, bool final);
    /// Reads a whole document at once.
    bool parseAll(std::string_view document) {
        return parse(document.data(), document.size(), true);
    }

    /// The root element once the last block has been read without error, else null.
    const XmlElement* root() const { return m_done && m_error.empty() ? m_root.get() : nullptr; }
    /// Why the document is unreadable; empty while it is fine.
    const std::string& error() const { return m_error; }

private:
    struct Handlers;

    XML_Parser m_parser;
    std::unique_ptr<XmlElement> m_root;
    XmlElement* m_current = nullptr;
    std::vector<std::pair<std::string, std::string>> m_pendingDeclarations;
    int m_depth = 0;
    bool m_done = false;
    std::string m_error;
};
