#include "host/wsdl/CXmlTree.h"

#include <climits>

namespace {

// Expat joins a namespace URI and a local name with this; no URI or name can hold it.
constexpr char kSeparator = '\n';

void splitName(const XML_Char* name, std::string& ns, std::string& local) {
    std::string_view text(name);
    size_t at = text.find(kSeparator);
    if (at == std::string_view::npos) {
        ns.clear();
        local = text;
        return;
    }
    ns = text.substr(0, at);
    local = text.substr(at + 1);
}

} // namespace

bool XmlElement::is(std::string_view ns, std::string_view local) const {
    return nameSpace == ns && localName == local;
}

const std::string* XmlElement::attribute(std::string_view local) const {
    return attribute("", local);
}

const std::string* XmlElement::attribute(std::string_view ns, std::string_view local) const {
    for (const XmlAttribute& attr : attributes) {
        if (attr.nameSpace == ns && attr.localName == local)
            return &attr.value;
    }
    return nullptr;
}

bool XmlElement::resolvePrefix(std::string_view prefix, std::string& uri) const {
    if (prefix == "xml") {
        uri = "http://www.w3.org/XML/1998/namespace";
        return true;
    }
    for (const XmlElement* element = this; element; element = element->parent) {
        for (const auto& [declared, declaredURI] : element->declarations) {
            if (declared == prefix) {
                uri = declaredURI;
                return true;
            }
        }
    }
    // Without a declaration the default namespace is no namespace.
    uri.clear();
    return prefix.empty();
}

bool XmlElement::resolveQName(std::string_view qname, std::string& ns, std::string& local) const {
    size_t colon = qname.find(':');
    std::string_view prefix = colon == std::string_view::npos ? "" : qname.substr(0, colon);
    local = colon == std::string_view::npos ? qname : qname.substr(colon + 1);
    return resolvePrefix(prefix, ns);
}

std::vector<const XmlElement*> XmlElement::childrenNamed(std::string_view ns,
                                                         std::string_view local) const {
    std::vector<const XmlElement*> found;
    for (const auto& child : children) {
        if (child->is(ns, local))
            found.push_back(child.get());
    }
    return found;
}

const XmlElement* XmlElement::firstChild(std::string_view ns, std::string_view local) const {
    for (const auto& child : children) {
        if (child->is(ns, local))
            return child.get();
    }
    return nullptr;
}

const XmlElement* XmlElement::firstChild() const {
    return children.empty() ? nullptr : children.front().get();
}

struct CXmlTree::Handlers {
    static CXmlTree& tree(void* data) { return *static_cast<CXmlTree*>(data); }

    static void fail(CXmlTree& self, const char* reason) {
        if (self.m_error.empty())
            self.m_error = reason;
        XML_StopParser(self.m_parser, XML_FALSE);
    }

    static void declaration(void* data, const XML_Char* prefix, const XML_Char* uri) {
        tree(data).m_pendingDeclarations.emplace_back(prefix ? prefix : "", uri ? uri : "");
    }

    static void start(void* data, const XML_Char* name, const XML_Char** attributes) {
        CXmlTree& self = tree(data);
        if (++self.m_depth > kMaxDepth) {
            fail(self, "elements nested too deeply");
            return;
        }
        auto element = std::make_unique<XmlElement>();
        splitName(name, element->nameSpace, element->localName);
        for (const XML_Char** attr = attributes; attr[0]; attr += 2) {
            XmlAttribute& added = element->attributes.emplace_back();
            splitName(attr[0], added.nameSpace, added.localName);
            added.value = attr[1];
        }
        element->declarations = std::move(self.m_pendingDeclarations);
        self.m_pendingDeclarations.clear();
        element->parent = self.m_current;
        XmlElement* placed = element.get();
        if (self.m_current)
            self.m_current->children.push_back(std::move(element));
        else
            self.m_root = std::move(element);
        self.m_current = placed;
    }

    static void end(void* data, const XML_Char*) {
        CXmlTree& self = tree(data);
        --self.m_depth;
        if (self.m_current)
            self.m_current = self.m_current->parent;
    }

    static void characters(void* data, const XML_Char* text, int length) {
        CXmlTree& self = tree(data);
        if (self.m_current)
            self.m_current->text.append(text, static_cast<size_t>(length));
    }
};

CXmlTree::CXmlTree() : m_parser(XML_ParserCreateNS(nullptr, kSeparator)) {
    if (!m_parser) {
        m_error = "out of memory";
        return;
    }
    XML_SetUserData(m_parser, this);
    XML_SetElementHandler(m_parser, Handlers::start, Handlers::end);
    XML_SetCharacterDataHandler(m_parser, Handlers::characters);
    XML_SetStartNamespaceDeclHandler(m_parser, Handlers::declaration);
}

CXmlTree::~CXmlTree() {
    if (m_parser)
        XML_ParserFree(m_parser);
}

bool CXmlTree::parse(const char* data, size_t length, bool final) {
    if (!m_error.empty() || m_done)
        return m_error.empty();
    while (length > 0 || final) {
        int piece = length > INT_MAX ? INT_MAX : static_cast<int>(length);
        bool last = final && static_cast<size_t>(piece) == length;
        if (XML_Parse(m_parser, data, piece, last ? XML_TRUE : XML_FALSE) != XML_STATUS_OK) {
            if (m_error.empty())
                m_error = XML_ErrorString(XML_GetErrorCode(m_parser));
            return false;
        }
        data += piece;
        length -= static_cast<size_t>(piece);
        if (last) {
            m_done = true;
            break;
        }
    }
    return true;
}
