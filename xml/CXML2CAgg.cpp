#include "xml/CXML2CAgg.h"

#include "frame/ZString.h"

#include <algorithm>
#include <cstring>
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

// What the parts of a tree hold, for the estimate of its size as it is built: the objects
// themselves, not what the allocator adds to them.
// A string: its record, and the room past its text (rounded up to 32 bytes with its end).
constexpr long long kStringBytes = sizeof(_EStrRec) + 32;
// An element: its record of six entries, its place among its parent's children, its children
// vector, and its name and namespace. Its attribute map is shared with others or counted where
// it is made.
constexpr long long kElementBytes =
    CAggAtomMap::bytesFor(6) + sizeof(CAgg) + sizeof(CAgg::CAggVector) + 2 * kStringBytes;
// An attribute map, without its entries.
constexpr long long kAttributeMapBytes = sizeof(CAgg::CAggMap);
// A text node: its record of two entries, its place among the children, and its text.
constexpr long long kTextNodeBytes = CAggAtomMap::bytesFor(2) + sizeof(CAgg) + kStringBytes;
// An attribute: a node of the map (its links, key and value) and two strings.
constexpr long long kAttributeBytes =
    4 * sizeof(void*) + sizeof(CEStr) + sizeof(CAgg) + 2 * kStringBytes;

// A run of text longer than this goes into its node as it comes, rather than being held back
// whole first: a long text is then never held twice.
constexpr size_t kTextHeldBack = 64 * 1024;

// Appends a node. Most elements hold one child, their text, and get room for one; the second
// child makes room for four at once, which a record of a few members then fills without moving.
CAgg& appendChild(CAgg::CAggVector& children, CAgg&& node) {
    if (children.size() == 1 && children.capacity() < 4)
        children.reserve(4);
    return children.emplace_back(std::move(node));
}

// Every string of the tree goes through the UTF-8 door: an ASCII text becomes a PDFDocEncoding
// string of those bytes made to measure in one piece, any other text a UCS one.
EStr makeText(const XML_Char* text, size_t length) {
    return XML_String2ESTR(text, static_cast<long>(length)).release();
}

} // namespace

// The value takes the string over.
void CXML2CAgg::setText(CAgg& value, const XML_Char* text, size_t length) {
    value.takeEStr(makeText(text, length));
}

CXML2CAgg::CXML2CAgg() : CXMLParser(nullptr, '\0') {
    m_keys = {kXMLKeyType,     kXMLKeyName, kXMLKeyNameSpace, kXMLKeyAttr, kXMLKeyNSDict,
              kXMLKeyChildren, kXMLKeyText, kXMLTypeElement,  kXMLTypeText};
    m_fields = {{{m_keys.type, kTypeField},
                 {m_keys.name, kNameField},
                 {m_keys.nameSpace, kNameSpaceField},
                 {m_keys.attr, kAttrField},
                 {m_keys.children, kChildrenField},
                 {m_keys.nsDict, kNSDictField}}};
    std::sort(m_fields.begin(), m_fields.end(),
              [](const Field& a, const Field& b) { return a.key < b.key; });
    m_pendingNSDict.shareMap();
    m_noAttributes.shareMap();
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
    const XMLString* uri = elementNamespace(tag);
    size_t uriLength = uri ? uri->size() : 0;
    size_t nameLength = std::strlen(tag + uriLength);
    long long bytes = kElementBytes + static_cast<long long>(nameLength + uriLength);

    // The entries go into the record void, in the order of their keys, each one behind the
    // last; the values are then made in place.
    bool root = m_depth == 0;
    CAgg made = CAgg::atomMapWithRoom(root ? kFieldCount - 1 : kFieldCount);
    CAgg::CAggQsAtomMap& fields = made.toQsAtomMap();
    CAgg* values[kFieldCount];
    for (const Field& field : m_fields) {
        // The root has no nsDict.
        if (!root || field.index != kNSDictField)
            values[field.index] = &fields.emplace(field.key).first->second;
    }
    values[kTypeField]->toQsAtom() = m_keys.element;
    setText(*values[kNameField], tag + uriLength, nameLength);
    setText(*values[kNameSpaceField], uri ? uri->data() : "", uriLength);
    if (atts && atts[0])
        setAttributes(*values[kAttrField], atts, bytes);
    else
        *values[kAttrField] = m_noAttributes;
    CAgg::CAggVector* children = &values[kChildrenField]->toVector();
    // Any other element's nsDict is the parent's merged with the pending dictionary, which is
    // the pending one itself: the pending dictionary only gains prefixes, and the parent's was
    // made from it.
    if (!root)
        *values[kNSDictField] = m_pendingNSDict;

    CAgg* record = &m_root;
    if (root) {
        m_root = std::move(made);
    } else {
        // The pointer pushed below stays good because a parent takes no further child until
        // this one is closed.
        Open& parent = m_stack.back();
        record = &appendChild(*parent.children, std::move(made));
        parent.lastIsText = false;
    }
    m_stack.push_back({record, children, false});
    ++m_depth;
    account(bytes);
}

void CXML2CAgg::setAttributes(CAgg& attr, const XML_Char** atts, long long& bytes) {
    // In a reply, element after element carries one of a few sets of attributes (the same
    // xsi:type, say): the elements of one set share one map rather than each holding a copy.
    if (m_attributeScope != namespaceGeneration()) {
        // The declarations changed: the same names may now split otherwise.
        m_attributeScope = namespaceGeneration();
        m_attributeSetCount = 0;
    }
    if (m_unsharedAttributes > 0) {
        // Sets met lately were all new (ids, say): for a while every element has a map of its
        // own again, without a look for its set.
        --m_unsharedAttributes;
        bytes += fillAttributes(attr.toMap(), atts);
        return;
    }
    m_rawAttributes.clear();
    for (const XML_Char** att = atts; att[0]; att += 2) {
        m_rawAttributes.append(att[0]).append(1, '\0');
        m_rawAttributes.append(att[1] ? att[1] : "").append(1, '\0');
        if (m_rawAttributes.size() > kMaxSharedAttributeBytes) {
            bytes += fillAttributes(attr.toMap(), atts);
            return;
        }
    }
    for (size_t i = 0; i < m_attributeSetCount; ++i) {
        if (m_attributeSets[i].raw != m_rawAttributes)
            continue;
        m_newAttributeSets = 0;
        // A set met again moves up a place, so that the sets met most are found first and a
        // new set takes the place of one met seldom.
        size_t at = i;
        if (at > 0) {
            std::swap(m_attributeSets[at], m_attributeSets[at - 1]);
            --at;
        }
        attr = m_attributeSets[at].map;
        return;
    }
    if (++m_newAttributeSets >= kNewSetsBeforeUnshared) {
        m_newAttributeSets = 0;
        m_unsharedAttributes = kUnsharedElements;
    }
    if (m_attributeSetCount < kAttributeSets)
        ++m_attributeSetCount;
    AttributeSet& set = m_attributeSets[m_attributeSetCount - 1];
    set.raw = m_rawAttributes;
    set.map = CAgg();
    bytes += fillAttributes(set.map.toMap(), atts);
    set.map.shareMap();
    attr = set.map;
}

long long CXML2CAgg::fillAttributes(CAgg::CAggMap& attr, const XML_Char** atts) {
    long long bytes = kAttributeMapBytes;
    for (const XML_Char** att = atts; att && att[0]; att += 2) {
        // The key is normalizeQName's: URI, ":", local name.
        const XMLString* attUri = attributeNamespace(att[0]);
        if (attUri) {
            m_key.assign(*attUri).append(1, ':').append(att[0] + attUri->size());
        } else {
            m_key.assign(att[0]);
        }
        // A later attribute of the same key replaces the earlier one.
        CAgg& value =
            attr.try_emplace(CEStr::adopt(makeText(m_key.data(), m_key.size()))).first->second;
        const XML_Char* text = att[1] ? att[1] : "";
        size_t textLength = std::strlen(text);
        setText(value, text, textLength);
        bytes += kAttributeBytes + static_cast<long long>(m_key.size() + textLength);
    }
    return bytes;
}

void CXML2CAgg::account(long long bytes) {
    m_treeBytes += bytes;
    if (m_treeBudget > 0 && m_treeBytes > m_treeBudget && !m_overBudget) {
        m_overBudget = true;
        stopParser();
    }
}

bool CXML2CAgg::openUnbuilt(CAgg::CAggVector* children) {
    flushText();
    if (m_depth >= kMaxDepth) {
        stopParser();
        return false;
    }
    if (!m_stack.empty())
        m_stack.back().lastIsText = false;
    m_stack.push_back({nullptr, children, false});
    ++m_depth;
    return true;
}

void CXML2CAgg::redirectChildren(CAgg::CAggVector* children) {
    flushText();
    if (m_stack.empty())
        return;
    m_stack.back().children = children;
    m_stack.back().lastIsText = false;
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
        if (m_text.size() >= kTextHeldBack)
            flushText();
        return;
    }
    Open& open = m_stack.back();
    // Once a text node has begun, every chunk joins it, whitespace and all.
    if (!open.lastIsText) {
        // Whitespace between elements vanishes, and with it leading whitespace that Expat
        // delivers as a chunk of its own; that is intended.
        if (isBlank(text, len))
            return;
        CAgg node = CAgg::atomMapWithRoom(2);
        node.toQsAtomMap().emplace(m_keys.type).first->second.toQsAtom() = m_keys.text;
        appendChild(*open.children, std::move(node));
        open.lastIsText = true;
        account(kTextNodeBytes);
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
    account(static_cast<long long>(m_text.size()));
    CAgg::CAggQsAtomMap& fields = m_stack.back().children->back().toQsAtomMap();
    auto found = fields.find(m_keys.textKey);
    if (found == fields.end()) {
        setText(fields.emplace(m_keys.textKey).first->second, m_text.data(), m_text.size());
    } else {
        // The run continues a text node left by an earlier call: it is appended to the node's
        // string in place, which grows by doubling, so that a long text fed in many blocks
        // costs time in proportion to its length.
        CEStr piece = XML_String2ESTR(m_text.data(), static_cast<long>(m_text.size()));
        EStr& payload = found->second.toEStr();
        if (EStrGetEncoding(payload) != EStrGetEncoding(piece))
            EStrSetEncoding(payload, kEStrUCS);
        EStrCatEStr(payload, piece.get(), nullptr);
    }
    m_text.clear();
    // A chunk far past the run held back (a whole document given at once) leaves no buffer of
    // its size behind.
    if (m_text.capacity() > 4 * kTextHeldBack)
        std::string().swap(m_text);
}

void CXML2CAgg::startNamespaceDeclHandler(const XML_Char* prefix, const XML_Char* uri) {
    // Declarations are never taken out of the pending dictionary: a prefix declared on an
    // element that has closed still shows in the nsDict of every later element.
    m_pendingNSDict[XML_String2ESTR(prefix)] = CAgg(XML_String2ESTR(uri).get());
    // Every element takes a copy of the dictionary: the copies share one body of entries until
    // the next declaration, so that a document of many elements does not hold as many
    // dictionaries.
    m_pendingNSDict.shareMap();
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
