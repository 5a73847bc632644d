#include "xml/CXML2CAgg.h"

#include "frame/ZString.h"

#include <utility>

namespace {

// Space, tab and line feed; a carriage return counts as content.
bool isBlank(const XML_Char* text, int len) {
    for (int i = 0; i < len; ++i) {
        if (text[i] != ' ' && text[i] != '\t' && text[i] != '\n')
            return false;
    }
    return true;
}

bool isTextNode(CAgg& node) {
    return node.has(kXMLKeyType) && node[kXMLKeyType].getType() == CAgg::eQsAtom &&
           node[kXMLKeyType].toQsAtom() == kXMLTypeText;
}

} // namespace

CXML2CAgg::CXML2CAgg() : CXMLParser(nullptr, '\0') {
    m_pendingNSDict.toMap();
}

int CXML2CAgg::parse(const char* data, int len, int isFinal) {
    int result = CXMLParser::parse(data, len, isFinal);
    flushText();
    return result;
}

int CXML2CAgg::parse(QsStm stream) {
    int result = CXMLParser::parse(stream);
    flushText();
    return result;
}

CEStr CXML2CAgg::getErrorString() {
    if (!m_errorString.isNull() && EStrGetLen(m_errorString) > 0)
        return m_errorString;
    return CXMLParser::getErrorString();
}

void CXML2CAgg::startElementHandler(const XML_Char* tag, const XML_Char** atts) {
    flushText();
    if (m_depth >= kMaxDepth) {
        stopParser();
        return;
    }
    CAgg* record = &m_root;
    if (m_depth > 0) {
        CAgg child;
        // The parent's dictionary merged with the pending one is the pending one itself: the
        // pending dictionary only gains prefixes, and the parent's was made from it.
        child[kXMLKeyNSDict] = m_pendingNSDict;
        CAgg::CAggVector& siblings = (*m_stack.back())[kXMLKeyChildren].toVector();
        // The pointer pushed below stays good because a parent takes no further child until
        // this one is closed.
        record = &siblings.emplace_back(std::move(child));
    }
    m_stack.push_back(record);

    XMLString name, ns;
    makeQName(tag, &name, &ns);
    (*record)[kXMLKeyName] = CAgg(XML_String2ESTR(name.data(), static_cast<long>(name.size())));
    (*record)[kXMLKeyNameSpace] = CAgg(XML_String2ESTR(ns.data(), static_cast<long>(ns.size())));
    (*record)[kXMLKeyType].toQsAtom() = kXMLTypeElement;

    CAgg& attr = (*record)[kXMLKeyAttr];
    attr.toMap();
    for (const XML_Char** att = atts; att && att[0]; att += 2) {
        XMLString key = normalizeQName(att[0]);
        CEStr keyText = XML_String2ESTR(key.data(), static_cast<long>(key.size()));
        attr[keyText] = CAgg(XML_String2ESTR(att[1] ? att[1] : ""));
    }

    (*record)[kXMLKeyChildren].toVector();
    ++m_depth;
}

void CXML2CAgg::endElementHandler(const XML_Char*) {
    flushText();
    if (m_stack.empty())
        return;
    --m_depth;
    m_stack.pop_back();
}

void CXML2CAgg::cDataHandler(const XML_Char* text, int len) {
    if (m_stack.empty() || len <= 0)
        return;
    if (m_textOpen) {
        m_text.append(text, static_cast<size_t>(len));
        return;
    }
    CAgg::CAggVector& children = (*m_stack.back())[kXMLKeyChildren].toVector();
    // Once a text node has begun, every chunk joins it, whitespace and all.
    if (children.empty() || !isTextNode(children.back())) {
        // Whitespace between elements vanishes, and with it leading whitespace that Expat
        // delivers as a chunk of its own; that is intended.
        if (isBlank(text, len))
            return;
        CAgg node;
        node[kXMLKeyType].toQsAtom() = kXMLTypeText;
        children.emplace_back(std::move(node));
    }
    m_text.assign(text, static_cast<size_t>(len));
    m_textOpen = true;
}

// Puts the run held back into the last child of the open element, a text node.
void CXML2CAgg::flushText() {
    if (!m_textOpen)
        return;
    m_textOpen = false;
    if (m_stack.empty())
        return;
    CAgg& node = (*m_stack.back())[kXMLKeyChildren].toVector().back();
    CEStr run = XML_String2ESTR(m_text.data(), static_cast<long>(m_text.size()));
    m_text.clear();
    if (!node.has(kXMLKeyText)) {
        node[kXMLKeyText] = CAgg(run.get());
        return;
    }
    CEStr joined(node[kXMLKeyText].toEStr());
    joined += run;
    node[kXMLKeyText] = CAgg(joined.get());
}

void CXML2CAgg::startNamespaceDeclHandler(const XML_Char* prefix, const XML_Char* uri) {
    // Declarations are never taken out of the pending dictionary: a prefix declared on an
    // element that has closed still shows in the nsDict of every later element.
    m_pendingNSDict[XML_String2ESTR(prefix)] = CAgg(XML_String2ESTR(uri).get());
}

void CXML2CAgg::endNamespaceDeclHandler(const XML_Char*) {}

int CXML2CAgg::unknownEncodingHandler(const XML_Char* name, XML_Encoding*) {
    std::string message = miGetMessageUTF8("IDS_SERVICE_UNKNOWN_ENCODING");
    const std::string placeholder = "{ENCODING}";
    std::string encoding = XML_String2UTF8(name);
    for (size_t at = message.find(placeholder); at != std::string::npos;
         at = message.find(placeholder, at + encoding.size()))
        message.replace(at, placeholder.size(), encoding);
    m_errorString = XML_String2ESTR(message.c_str());
    m_unknownEncoding = 1;
    return 0;
}
