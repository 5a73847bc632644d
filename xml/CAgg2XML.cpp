#include "xml/CAgg2XML.h"

#include "frame/QsCore.h"
#include "xml/XMLString.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

constexpr long kStreamBlockSize = 1024;
constexpr char kDeclaration[] = "<?xml version=\"1.0\"?>\n";

enum ElementState : long { kNothingWritten = 0, kOpenTagWritten = 1, kChildrenDone = 2, kDone = 3 };

CEStr emptyText() {
    return CEStr::adopt(EStrNew(nullptr, kEStrPDFDoc));
}

bool isEmpty(const _EStrRec* text) {
    return !text || EStrIsNull(text);
}

// The entry as text, read from a copy so that the tree keeps its own type; empty if absent.
CEStr textEntry(CAgg& node, QsAtom key) {
    if (!node.has(key))
        return emptyText();
    CAgg& value = node[key];
    if (value.getType() == CAgg::eEStr)
        return CEStr(value.toEStr());
    CAgg copy(value);
    return CEStr(copy.toEStr());
}

CEStr textOf(CAgg& value) {
    if (value.getType() == CAgg::eEStr)
        return CEStr(value.toEStr());
    CAgg copy(value);
    return CEStr(copy.toEStr());
}

QsAtom typeOf(CAgg& node) {
    if (!node.has(kXMLKeyType))
        return kQsNullAtom;
    CAgg& type = node[kXMLKeyType];
    if (type.getType() == CAgg::eQsAtom)
        return type.toQsAtom();
    CAgg copy(type);
    return copy.toQsAtom();
}

CAgg::CAggVector* childrenOf(CAgg& node) {
    if (!node.has(kXMLKeyChildren) || node[kXMLKeyChildren].getType() != CAgg::eVector)
        return nullptr;
    return &node[kXMLKeyChildren].toVector();
}

bool startsWithXmlnsColon(const _EStrRec* key) {
    static const char kXmlns[] = "xmlns:";
    if (EStrGetCharLen(key) < 6)
        return false;
    for (long i = 0; i < 6; ++i) {
        if (EStrCharAt(key, i) != kXmlns[i])
            return false;
    }
    return true;
}

CEStr substring(const _EStrRec* text, long start, long count) {
    CEStr part = emptyText();
    EStrSubstr(part, text, start, count);
    return part;
}

// One character of an escaped text. Control characters other than tab, line feed and carriage
// return are dropped; characters past ASCII become decimal references.
void appendEscaped(std::string& out, uint32_t c) {
    switch (c) {
    case '"':
        out += "&quot;";
        return;
    case '&':
        out += "&amp;";
        return;
    case '<':
        out += "&lt;";
        return;
    case '>':
        out += "&gt;";
        return;
    case '\t':
    case '\n':
    case '\r':
        out.push_back(static_cast<char>(c));
        return;
    default:
        break;
    }
    if (c < 32)
        return;
    if (c < 128) {
        out.push_back(static_cast<char>(c));
        return;
    }
    char reference[16];
    int n = std::snprintf(reference, sizeof reference, "&#%u;", c);
    out.append(reference, static_cast<size_t>(n));
}

// Escapes the units of a UCS string. A surrogate pair is one character and one reference; a
// lone surrogate is no character at all and is dropped, as a control character is.
void appendEscapedUnits(std::string& out, const _EStrRec* text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(EStrGetBytes(text));
    long count = (EStrGetLen(text) - 2) / 2;
    for (long i = 0; i < count; ++i) {
        uint32_t unit = (bytes[2 + 2 * i] << 8) | bytes[3 + 2 * i];
        if (unit >= 0xD800 && unit < 0xE000) {
            uint32_t low = i + 1 < count ? (bytes[4 + 2 * i] << 8) | bytes[5 + 2 * i] : 0;
            if (unit < 0xDC00 && low >= 0xDC00 && low < 0xE000) {
                appendEscaped(out, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
                ++i;
            }
            continue;
        }
        appendEscaped(out, unit);
    }
}

bool isUCS(const _EStrRec* text) {
    int32_t encoding = EStrGetEncoding(text);
    return encoding == kEStrUCS || encoding == kEStrUCSShaped;
}

bool isASCII(const char* bytes, long length) {
    for (long i = 0; i < length; ++i) {
        if (static_cast<unsigned char>(bytes[i]) >= 0x80)
            return false;
    }
    return true;
}

} // namespace

const CAgg2XML::StreamHandler CAgg2XML::sm_streamHandler = {CAgg2XML::ReadProc,
                                                            CAgg2XML::CloseProc};

CAgg2XML::CAgg2XML(CAgg& document, bool withDeclaration)
    : m_document(document), m_withDeclaration(withDeclaration) {
    m_nodes.push_back(&m_document);
    m_states.emplace_back();
}

CAgg2XML::CAgg2XML(CAgg&& document, bool withDeclaration)
    : m_document(std::move(document)), m_withDeclaration(withDeclaration) {
    m_nodes.push_back(&m_document);
    m_states.emplace_back();
}

long CAgg2XML::ReadProc(char* buffer, long count, void* data) {
    return static_cast<CAgg2XML*>(data)->readProc(buffer, count);
}

void CAgg2XML::CloseProc(void* data) {
    delete static_cast<CAgg2XML*>(data);
}

QsStm CAgg2XML::openStream(CAgg& document, bool withDeclaration) {
    auto serialiser = std::make_unique<CAgg2XML>(document, withDeclaration);
    QsStm stream = QsProcStmRdOpen(sm_streamHandler.read, sm_streamHandler.close, serialiser.get());
    serialiser.release(); // the stream owns it now
    return stream;
}

QsStm CAgg2XML::openStream(CAgg&& document, bool withDeclaration) {
    auto serialiser = std::make_unique<CAgg2XML>(std::move(document), withDeclaration);
    QsStm stream = QsProcStmRdOpen(sm_streamHandler.read, sm_streamHandler.close, serialiser.get());
    serialiser.release();
    return stream;
}

long CAgg2XML::readProc(char* buffer, long count) {
    if (m_finished)
        return 0;
    if (!buffer || count < 0)
        count = 0;
    long size = static_cast<long>(m_buffer.size());
    if (size > 0 && m_offset >= size) {
        m_buffer.clear();
        m_offset = -1;
        size = 0;
    }
    if (m_offset > 0) {
        long copied = std::min(size - m_offset, count);
        std::memcpy(buffer, m_buffer.data() + m_offset, static_cast<size_t>(copied));
        m_offset += copied;
        if (m_offset >= size) {
            m_buffer.clear();
            m_offset = -1;
        }
        return copied;
    }
    if (!m_wroteDeclaration) {
        if (m_withDeclaration)
            write(kDeclaration, false);
        m_wroteDeclaration = 1;
    }
    while (static_cast<long>(m_buffer.size()) < count) {
        if (serializeNodes())
            break;
    }
    long copied = std::min(static_cast<long>(m_buffer.size()), count);
    if (copied > 0)
        std::memcpy(buffer, m_buffer.data(), static_cast<size_t>(copied));
    m_offset = copied;
    if (m_nodes.empty() && copied == static_cast<long>(m_buffer.size()))
        m_finished = 1;
    return copied;
}

// The walk.

bool CAgg2XML::serializeNodes() {
    if (m_nodes.empty())
        return true;
    CAgg& node = *m_nodes.back();
    QsAtom type = typeOf(node);
    bool finished = true;
    if (type == kXMLTypeProcessing)
        serializePI(); // its result is not looked at: the node is finished
    else if (type == kXMLTypeElement)
        finished = serializeElement();
    else if (type == kXMLTypeText)
        finished = serializeValue();
    if (finished) {
        m_nodes.pop_back();
        m_states.pop_back();
    }
    return m_nodes.empty();
}

bool CAgg2XML::serializeElement() {
    CAgg& node = *m_nodes.back();
    State& state = m_states.back();
    CAgg::CAggVector* children = childrenOf(node);
    long count = children ? static_cast<long>(children->size()) : 0;
    if (count == 0) {
        doEmptyTag(node);
        return true;
    }
    switch (state.state) {
    case kNothingWritten:
        doOpenTag(node);
        state.state = kOpenTagWritten;
        break;
    case kOpenTagWritten:
        if (state.children < count) {
            CAgg* child = &(*children)[static_cast<size_t>(state.children)];
            ++state.children;
            m_nodes.push_back(child);
            m_states.emplace_back();
        } else {
            state.state = kChildrenDone;
        }
        break;
    case kChildrenDone:
        doCloseTag(node);
        state.state = kDone;
        break;
    default:
        break;
    }
    return state.state == kDone;
}

bool CAgg2XML::serializeValue() {
    CAgg& node = *m_nodes.back();
    if (!node.has(kXMLKeyText))
        return true;
    bool escape = false;
    if (node.has(kXMLKeyEncoded)) {
        CAgg encoded(node[kXMLKeyEncoded]);
        escape = encoded.toQsBool() != 0;
    }
    CAgg& text = node[kXMLKeyText];
    if (text.getType() != CAgg::eQsStm) {
        write(textOf(text), escape);
        return true;
    }
    // The whole stream goes into the buffer in this one step.
    QsStm stream = text.toQsStm();
    char block[kStreamBlockSize];
    for (;;) {
        long n = QsStmRead(stream, block, kStreamBlockSize);
        if (n <= 0)
            break;
        writeStreamBlock(block, n, escape);
    }
    return true;
}

void CAgg2XML::serializePI() {
    CAgg& node = *m_nodes.back();
    write("<?", false);
    write(getTagName(node), false);
    getTagAttr(node);
    write("?>\n", false);
}

// Tags.

void CAgg2XML::doOpenTag(CAgg& node) {
    pushNSScope(node);
    write("<", false);
    write(getTagName(node), false); // before the attributes: it may add a declaration to them
    getTagAttr(node);
    write(">", false);
}

void CAgg2XML::doCloseTag(CAgg& node) {
    write("</", false);
    write(getTagName(node), false);
    write(">", false);
    // The line-break flag is never set, so a close tag has no line feed behind it.
    if (m_lineBreaks)
        write("\n", false);
    popNSScope();
}

void CAgg2XML::doEmptyTag(CAgg& node) {
    pushNSScope(node);
    write("<", false);
    write(getTagName(node), false);
    getTagAttr(node);
    write("/>\n", false);
    popNSScope();
}

void CAgg2XML::getTagAttr(CAgg& node) {
    if (!node.has(kXMLKeyAttr))
        return;
    CAgg& attr = node[kXMLKeyAttr];
    auto writeOne = [&](const _EStrRec* key, CAgg& value) {
        write(" ", false);
        write(key, false);
        write("=\"", false);
        // Values are not escaped: whoever fills "attr" answers for what is in it, and a value
        // with a double quote gives malformed XML. That is intended.
        write(textOf(value), false);
        write("\"", false);
    };
    if (attr.getType() == CAgg::eMap) {
        for (auto& [key, value] : attr.toMap())
            writeOne(key, value);
    } else if (attr.getType() == CAgg::eQsAtomMap) {
        for (auto& [atom, value] : attr.toQsAtomMap())
            writeOne(CEStr(QsAtomGetString(atom), kEStrPDFDoc), value);
    }
}

QName CAgg2XML::getQName(const _EStrRec* text) {
    long colon = -1;
    for (long i = EStrGetCharLen(text) - 1; i >= 0; --i) {
        if (EStrCharAt(text, i) == ':') {
            colon = i;
            break;
        }
    }
    if (colon < 0)
        return {CEStr(text), emptyText()};
    // Split at the last ":", so that a URI with colons of its own stays whole.
    QName qname{substring(text, colon + 1, -1), substring(text, 0, colon)};
    if (topScope().count(qname.nameSpace.get()))
        return {CEStr(text), emptyText()}; // already in prefix form
    return qname;
}

CEStr CAgg2XML::getTagName(CAgg& node) {
    QName qname = getQName(textEntry(node, kXMLKeyName));
    CEStr ns = std::move(qname.nameSpace);
    if (isEmpty(ns))
        ns = textEntry(node, kXMLKeyNameSpace);
    if (isEmpty(ns))
        return std::move(qname.name);

    CEStr prefix;
    bool inForce = false;
    for (auto& [key, uri] : topScope()) {
        if (EStrCmp(textOf(uri), ns) == 0) {
            prefix = key;
            inForce = true;
            break;
        }
    }
    if (!inForce && node.has(kXMLKeyNSDict) && node[kXMLKeyNSDict].getType() == CAgg::eMap) {
        for (auto& [key, uri] : node[kXMLKeyNSDict].toMap()) {
            if (EStrCmp(textOf(uri), ns) == 0) {
                prefix = key;
                break;
            }
        }
    }
    // An unknown namespace always takes "m": siblings in two such namespaces both use it, each
    // with its own declaration. That is intended.
    if (prefix.isNull())
        prefix = CEStr("m", kEStrPDFDoc);

    if (!inForce) {
        CAgg::CAggMap& scope = topScope();
        auto entered = scope.find(prefix.get());
        if (entered == scope.end() || EStrCmp(textOf(entered->second), ns) != 0)
            writableTopScope().insert_or_assign(prefix, CAgg(ns.get()));
    }

    if (isEmpty(prefix)) {
        if (!inForce)
            node[kXMLKeyAttr][CEStr("xmlns", kEStrPDFDoc)] = CAgg(ns.get());
        return std::move(qname.name);
    }
    if (!inForce) {
        CEStr key("xmlns:", kEStrPDFDoc);
        key += prefix;
        node[kXMLKeyAttr][key] = CAgg(ns.get());
    }
    CEStr tag = prefix;
    tag += CEStr(":", kEStrPDFDoc);
    tag += qname.name;
    return tag;
}

// Namespace scopes.

void CAgg2XML::pushNSScope(CAgg& node) {
    Scope top = m_scopes.empty() ? std::make_shared<CAgg::CAggMap>() : m_scopes.back();
    if (!node.has(kXMLKeyAttr) || node[kXMLKeyAttr].getType() != CAgg::eMap) {
        m_scopes.push_back(std::move(top));
        return;
    }
    CAgg::CAggMap& attr = node[kXMLKeyAttr].toMap();
    Scope scope;
    for (auto& [key, value] : attr) {
        if (!startsWithXmlnsColon(key))
            continue;
        if (!scope)
            scope = std::make_shared<CAgg::CAggMap>(*top);
        scope->insert_or_assign(substring(key, 6, -1), value);
    }
    m_scopes.push_back(scope ? std::move(scope) : std::move(top));
}

void CAgg2XML::popNSScope() {
    if (!m_scopes.empty())
        m_scopes.pop_back();
}

CAgg::CAggMap& CAgg2XML::topScope() {
    if (m_scopes.empty())
        m_scopes.push_back(std::make_shared<CAgg::CAggMap>());
    return *m_scopes.back();
}

CAgg::CAggMap& CAgg2XML::writableTopScope() {
    topScope();
    Scope& top = m_scopes.back();
    if (top.use_count() > 1)
        top = std::make_shared<CAgg::CAggMap>(*top);
    return *top;
}

// Output.

void CAgg2XML::write(const char* text, bool escape) {
    if (!text)
        return;
    if (!escape) {
        m_buffer += text;
        return;
    }
    for (const char* c = text; *c; ++c)
        appendEscaped(m_buffer, static_cast<unsigned char>(*c));
}

void CAgg2XML::write(const _EStrRec* text, bool escape) {
    if (!text)
        return;
    const char* bytes = EStrGetBytes(text);
    long length = EStrGetLen(text);
    if (!escape) {
        // A single-byte string goes out as its bytes, whatever its encoding; only UCS is
        // turned into UTF-8. That is intended.
        if (isUCS(text))
            m_buffer += ESTR2UTF8(text);
        else
            m_buffer.append(bytes, static_cast<size_t>(length));
        return;
    }
    if (!isUCS(text) && isASCII(bytes, length)) {
        for (long i = 0; i < length; ++i)
            appendEscaped(m_buffer, static_cast<unsigned char>(bytes[i]));
        return;
    }
    CEStr wide = CEStr::adopt(isUCS(text) ? EStrCopy(text) : EStrCopySetEncoding(text, kEStrUCS));
    if (isUCS(wide)) {
        appendEscapedUnits(m_buffer, wide);
        return;
    }
    // Without a converter at hand the bytes are read as Latin-1.
    for (long i = 0; i < length; ++i)
        appendEscaped(m_buffer, static_cast<unsigned char>(bytes[i]));
}

// A block of a stream is bytes, not characters: with escaping, ASCII is escaped as in any text
// and the other bytes pass as they are, so that UTF-8 split across blocks stays whole.
void CAgg2XML::writeStreamBlock(const char* bytes, long count, bool escape) {
    if (!escape) {
        m_buffer.append(bytes, static_cast<size_t>(count));
        return;
    }
    for (long i = 0; i < count; ++i) {
        auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte >= 0x80)
            m_buffer.push_back(static_cast<char>(byte));
        else
            appendEscaped(m_buffer, byte);
    }
}
