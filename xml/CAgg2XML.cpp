#include "xml/CAgg2XML.h"

#include "frame/QsCore.h"
#include "frame/UTF8.h"
#include "xml/XMLEscape.h"
#include "xml/XMLName.h"
#include "xml/XMLString.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace {

constexpr long kStreamBlockSize = 1024;
// How many children ahead of the walk their records are asked for.
constexpr long kPrefetchAhead = 16;
constexpr char kDeclaration[] = "<?xml version=\"1.0\"?>\n";

enum ElementState : long { kNothingWritten = 0, kOpenTagWritten = 1, kChildrenDone = 2, kDone = 3 };

bool isEmpty(const _EStrRec* text) {
    return !text || EStrIsNull(text);
}

bool isUCS(const _EStrRec* text) {
    int32_t encoding = EStrGetEncoding(text);
    return encoding == kEStrUCS || encoding == kEStrUCSShaped;
}

// UCS, or single-byte text that is all ASCII: text whose characters are its bytes or its units.
bool isPlain(const _EStrRec* text) {
    return isUCS(text) || IsASCII(EStrGetBytes(text), static_cast<size_t>(EStrGetLen(text)));
}

uint32_t unitAt(const unsigned char* bytes, long i) {
    return (bytes[2 + 2 * i] << 8) | bytes[3 + 2 * i];
}

long unitCount(const _EStrRec* text) {
    long count = (EStrGetLen(text) - 2) / 2;
    return count > 0 ? count : 0;
}

// A value as text: the string itself, or, for a value of another type, the text a copy of it
// converts to, kept in holder so that the tree keeps its own type. Null when absent.
const _EStrRec* textIn(const CAgg* value, CEStr& holder) {
    if (!value)
        return nullptr;
    // Reading a string as a string converts nothing, even in entries shared with others.
    if (value->getType() == CAgg::eEStr)
        return const_cast<CAgg*>(value)->toEStr();
    CAgg copy(*value);
    holder = copy.toEStr();
    return holder.get();
}

bool sameText(const CAgg& value, const _EStrRec* text) {
    CEStr holder;
    const _EStrRec* mine = textIn(&value, holder);
    return EStrCmp(mine, text) == 0;
}

// Asks the processor for a record ahead of its turn: the records of a tree lie apart in
// memory, and the walk otherwise waits on each of them in turn. A record's map, its order and
// its first entries are one piece of memory: the first lines of it hold a small record whole.
void prefetchRecord(CAgg& node) {
    if (node.getType() != CAgg::eQsAtomMap)
        return;
    const char* record = reinterpret_cast<const char*>(&node.toQsAtomMap());
    for (int line = 0; line < 4; ++line)
        __builtin_prefetch(record + 64 * line);
}

// The character index of the last ":", or -1.
long lastColon(const _EStrRec* text) {
    if (isUCS(text)) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(EStrGetBytes(text));
        for (long i = unitCount(text) - 1; i >= 0; --i) {
            if (unitAt(bytes, i) == ':')
                return i;
        }
        return -1;
    }
    const char* bytes = EStrGetBytes(text);
    const void* found = memrchr(bytes, ':', static_cast<size_t>(EStrGetLen(text)));
    return found ? static_cast<const char*>(found) - bytes : -1;
}

bool startsWithXmlnsColon(const _EStrRec* key) {
    static const char kXmlns[] = "xmlns:";
    if (!isUCS(key))
        return EStrGetLen(key) >= 6 && std::memcmp(EStrGetBytes(key), kXmlns, 6) == 0;
    const auto* bytes = reinterpret_cast<const unsigned char*>(EStrGetBytes(key));
    if (unitCount(key) < 6)
        return false;
    for (long i = 0; i < 6; ++i) {
        if (unitAt(bytes, i) != static_cast<unsigned char>(kXmlns[i]))
            return false;
    }
    return true;
}

// Text as it stands from character `from` on: UCS as UTF-8, a single-byte string as its bytes
// whatever its encoding. The latter is intended.
void appendRaw(std::string& out, const _EStrRec* text, long from = 0) {
    if (!isUCS(text)) {
        long length = EStrGetLen(text);
        if (from < length)
            out.append(EStrGetBytes(text) + from, static_cast<size_t>(length - from));
        return;
    }
    EStrAppendUCSAsUTF8(out, text, from);
}

} // namespace

const CAgg2XML::StreamHandler CAgg2XML::sm_streamHandler = {CAgg2XML::ReadProc,
                                                            CAgg2XML::CloseProc};

CAgg2XML::CAgg2XML(CAgg& document, bool withDeclaration)
    : m_document(document), m_withDeclaration(withDeclaration),
      m_nsPart(CEStr::adopt(EStrNew(nullptr, kEStrPDFDoc))),
      m_empty(CEStr::adopt(EStrNew(nullptr, kEStrPDFDoc))), m_defaultPrefix("m", kEStrPDFDoc),
      m_defaultDeclaration("xmlns:m", kEStrPDFDoc) {
    m_keys = CXMLKeyAtoms::current();
    m_nodes.push_back(&m_document);
    m_states.emplace_back();
}

CAgg2XML::CAgg2XML(CAgg&& document, bool withDeclaration)
    : m_document(std::move(document)), m_withDeclaration(withDeclaration),
      m_nsPart(CEStr::adopt(EStrNew(nullptr, kEStrPDFDoc))),
      m_empty(CEStr::adopt(EStrNew(nullptr, kEStrPDFDoc))), m_defaultPrefix("m", kEStrPDFDoc),
      m_defaultDeclaration("xmlns:m", kEStrPDFDoc) {
    m_keys = CXMLKeyAtoms::current();
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
    if (m_failed)
        return -1;
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
        if (copied > 0)
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
        if (serializeNodes() || m_failed)
            break;
    }
    if (m_failed) {
        m_buffer.clear();
        m_offset = -1;
        return -1;
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
    State& state = m_states.back();
    if (!state.seen) {
        state.seen = true;
        state.entries = CXMLEntries::of(node, m_keys);
        state.type = state.entries.typeAtom();
        CAgg* children = state.entries.children;
        if (children && children->getType() == CAgg::eVector)
            state.list = &children->toVector();
    }
    bool finished = true;
    if (state.type == m_keys.processing)
        serializePI(); // its result is not looked at: the node is finished
    else if (state.type == m_keys.element)
        finished = serializeElement();
    else if (state.type == m_keys.textType)
        finished = serializeValue();
    if (finished) {
        m_nodes.pop_back();
        m_states.pop_back();
        // The tree is the serialiser's own and a node is never visited again once it is done:
        // it goes now, while its memory is still at hand, instead of in one walk over the
        // whole tree at the end. Its parent keeps an empty place for it.
        if (!m_nodes.empty())
            node = CAgg();
    }
    return m_nodes.empty();
}

bool CAgg2XML::serializeElement() {
    State& state = m_states.back();
    long count = state.list ? static_cast<long>(state.list->size()) : 0;
    if (count == 0) {
        doEmptyTag(state.entries);
        return true;
    }
    switch (state.state) {
    case kNothingWritten:
        doOpenTag(state.entries, state.tag);
        state.state = kOpenTagWritten;
        // The records of the children are wanted soon, one after the other: ask for the first
        // ones all at once, so that their trips to memory overlap, and keep as far ahead as
        // each child is taken.
        for (long i = 0; i < std::min(count, kPrefetchAhead); ++i)
            prefetchRecord((*state.list)[static_cast<size_t>(i)]);
        break;
    case kOpenTagWritten:
        if (state.children < count) {
            CAgg* child = &(*state.list)[static_cast<size_t>(state.children)];
            if (state.children + kPrefetchAhead < count)
                prefetchRecord((*state.list)[static_cast<size_t>(state.children + kPrefetchAhead)]);
            ++state.children;
            // The push may move the states: state is not looked at again.
            m_nodes.push_back(child);
            m_states.emplace_back();
            return false;
        } else {
            state.state = kChildrenDone;
        }
        break;
    case kChildrenDone:
        doCloseTag(state.entries, state.tag);
        state.state = kDone;
        break;
    default:
        break;
    }
    return state.state == kDone;
}

bool CAgg2XML::serializeValue() {
    CXMLEntries& entries = m_states.back().entries;
    CAgg* text = entries.text;
    if (!text)
        return true;
    bool escape = false;
    if (CAgg* encoded = entries.encoded) {
        if (encoded->getType() == CAgg::eQsBool) {
            escape = encoded->toQsBool() != 0;
        } else {
            CAgg flag(*encoded); // read from a copy, so that the tree keeps its own type
            escape = flag.toQsBool() != 0;
        }
    }
    if (text->getType() != CAgg::eQsStm) {
        CEStr holder;
        write(textIn(text, holder), escape);
        return true;
    }
    // The whole stream goes into the buffer in this one step.
    QsStm stream = text->toQsStm();
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
    CXMLEntries& entries = m_states.back().entries;
    write("<?", false);
    writeTagName(entries, "processing instruction");
    getTagAttr(entries, false);
    write("?>\n", false);
}

// Tags.

void CAgg2XML::doOpenTag(CXMLEntries& entries, Tag& tag) {
    pushNSScope(entries);
    write("<", false);
    writeTagName(entries, "element", &tag); // before the attributes: it may declare in them
    getTagAttr(entries, true);
    write(">", false);
}

void CAgg2XML::doCloseTag(CXMLEntries& entries, const Tag& tag) {
    write("</", false);
    if (!tag.kept)
        writeTagName(entries, "element");
    else if (isEmpty(tag.prefix))
        appendRaw(m_buffer, tag.name);
    else
        writeTag(tag.prefix, tag.name, 0);
    write(">", false);
    // The line-break flag is never set, so a close tag has no line feed behind it.
    if (m_lineBreaks)
        write("\n", false);
    popNSScope();
}

void CAgg2XML::doEmptyTag(CXMLEntries& entries) {
    pushNSScope(entries);
    write("<", false);
    writeTagName(entries, "element");
    getTagAttr(entries, true);
    write("/>\n", false);
    popNSScope();
}

void CAgg2XML::getTagAttr(CXMLEntries& entries, bool element) {
    bool declaring = m_declaring;
    m_declaring = false;
    auto writeOne = [&](const _EStrRec* key, const _EStrRec* value) {
        m_buffer += ' ';
        size_t start = m_buffer.size();
        appendRaw(m_buffer, key);
        // A key may begin with blanks of its own (" xsi:type"); the name is what follows them.
        while (start < m_buffer.size() && m_buffer[start] == ' ')
            ++start;
        // A parsed tree keys its namespaced attributes URI, ":", local name, and they go out as
        // they stand, which is not well-formed XML; that is intended.
        if (!element || !isURIKeyed(start))
            checkName(start, "attribute");
        m_buffer += "=\"";
        // Values are not escaped: whoever fills "attr" answers for what is in it, and a value
        // with a double quote gives malformed XML. That is intended.
        appendRaw(m_buffer, value);
        m_buffer += '"';
    };
    auto writeEntry = [&](const _EStrRec* key, const CAgg& value) {
        CEStr holder;
        writeOne(key, textIn(&value, holder));
    };
    CAgg* attr = entries.attr;
    // Attributes are read where they lie: elements that share one map of them keep sharing it.
    if (const CAgg::CAggMap* map = attr ? attr->mapEntries() : nullptr) {
        // The declaration of this tag takes its place in key order, or the value of the entry
        // under its key, as if it had been set into the map.
        for (const auto& [key, value] : *map) {
            int order = declaring ? CEStrLessNumbersFirst::compare(key, m_declarationKey) : -1;
            if (order >= 0) {
                declaring = false;
                if (order == 0) {
                    writeOne(key, m_declarationValue);
                    continue;
                }
                writeOne(m_declarationKey, m_declarationValue);
            }
            writeEntry(key, value);
        }
    } else if (attr && attr->getType() == CAgg::eQsAtomMap) {
        for (auto& [atom, value] : attr->toQsAtomMap())
            writeEntry(CEStr(QsAtomGetString(atom), kEStrPDFDoc), value);
    }
    if (declaring)
        writeOne(m_declarationKey, m_declarationValue);
}

CAgg2XML::QNameSplit CAgg2XML::getQName(const _EStrRec* text) {
    // Split at the last ":", so that a URI with colons of its own stays whole.
    long colon = lastColon(text);
    if (colon < 0)
        return {0, nullptr, false};
    EStrSubstr(m_nsPart, text, 0, colon);
    if (findPrefix(m_nsPart) >= 0)
        return {0, nullptr, true}; // already in prefix form
    return {colon + 1, m_nsPart.get(), true};
}

// Writes the tag of a node: its name, with a prefix when it is in a namespace.
// With keep, the tag is kept for the close tag when the name is a string without ":": its
// prefix then depends on the namespace and the scope alone, and the scope keeps the binding
// it finds or makes here until the close tag has been written.
void CAgg2XML::getTagName(CXMLEntries& entries, Tag* keep) {
    m_declaring = false; // a declaration is held only from one tag name to its attributes
    CEStr nameHolder, nsHolder;
    const _EStrRec* name = textIn(entries.name, nameHolder);
    if (!name)
        name = m_empty;
    QNameSplit split = getQName(name);
    if (keep && nameHolder.isNull() && !split.colon)
        *keep = {true, nullptr, name};
    const _EStrRec* ns = split.ns;
    if (isEmpty(ns))
        ns = textIn(entries.nameSpace, nsHolder);
    if (isEmpty(ns)) {
        appendRaw(m_buffer, name, split.local);
        return;
    }

    const _EStrRec* prefix = findURI(ns);
    bool inForce = prefix != nullptr;
    // The namespaces in scope are one map shared by the elements of a parsed document.
    const CAgg::CAggMap* dict = inForce || !entries.nsDict ? nullptr : entries.nsDict->mapEntries();
    if (dict) {
        for (const auto& [key, uri] : *dict) {
            if (sameText(uri, ns)) {
                prefix = key;
                break;
            }
        }
    }
    // An unknown namespace always takes "m": siblings in two such namespaces both use it, each
    // with its own declaration. That is intended.
    if (!prefix)
        prefix = m_defaultPrefix;
    if (!inForce)
        declare(entries, prefix, ns);
    if (keep && keep->kept)
        keep->prefix = prefix;
    writeTag(prefix, name, split.local);
}

bool CAgg2XML::isURIKeyed(size_t start) const {
    std::string_view key = std::string_view(m_buffer).substr(start);
    size_t colon = key.rfind(':');
    if (colon == std::string_view::npos || colon == 0 || !XMLIsNCName(key.substr(colon + 1)))
        return false;
    // The URI may hold what a name may not (slashes, a second colon), but nothing that would
    // end the name and begin markup.
    for (unsigned char c : key.substr(0, colon)) {
        if (c <= ' ' || c == '"' || c == '\'' || c == '<' || c == '>' || c == '=' || c == '&' ||
            c == 0x7f)
            return false;
    }
    return true;
}

void CAgg2XML::writeTagName(CXMLEntries& entries, const char* kind, Tag* keep) {
    size_t mark = m_buffer.size();
    getTagName(entries, keep);
    checkName(mark, kind);
}

void CAgg2XML::checkName(size_t mark, const char* kind) {
    std::string_view name = std::string_view(m_buffer).substr(mark);
    if (m_failed || XMLIsName(name))
        return;
    m_failed = true;
    m_error =
        std::string("The ") + kind + " name \"" + std::string(name) + "\" is not an XML name.";
}

// Enters the prefix into the scope and declares it on the node.
void CAgg2XML::declare(CXMLEntries& entries, const _EStrRec* prefix, const _EStrRec* ns) {
    bind(prefix, ns);
    CEStr key = CEStr(m_defaultDeclaration);
    if (prefix != m_defaultPrefix.get()) {
        key = CEStr("xmlns", kEStrPDFDoc);
        if (!isEmpty(prefix)) {
            key += CEStr(":", kEStrPDFDoc);
            key += CEStr(prefix);
        }
    }
    CAgg* attr = entries.attr;
    if (attr && attr->getType() != CAgg::eMap) {
        // Attributes of another kind are set as any write sets them, converting them first.
        (*attr)[key] = CAgg(ns);
        return;
    }
    // A text-keyed map (or none) is left as it is: the declaration is held for this tag's
    // attributes, which write it where the map would have it. The record is the serialiser's
    // own copy, and nothing reads its attributes after this tag.
    m_declarationKey = std::move(key);
    m_declarationValue = ns;
    m_declaring = true;
}

// The tag is prefix, ":" and the local name, written as one text.
void CAgg2XML::writeTag(const _EStrRec* prefix, const _EStrRec* name, long local) {
    if (isEmpty(prefix)) {
        appendRaw(m_buffer, name, local);
        return;
    }
    if (isPlain(prefix) && isPlain(name)) {
        appendRaw(m_buffer, prefix);
        m_buffer += ':';
        appendRaw(m_buffer, name, local);
        return;
    }
    // Texts of two single-byte encodings join as UCS, as CEStr joins them.
    CEStr tag(prefix);
    tag += CEStr(":", kEStrPDFDoc);
    CEStr rest = CEStr::adopt(EStrNew(nullptr, kEStrPDFDoc));
    EStrSubstr(rest, name, local, -1);
    tag += rest;
    appendRaw(m_buffer, tag);
}

// Namespace scopes.

void CAgg2XML::pushNSScope(CXMLEntries& entries) {
    m_scopeMarks.push_back(m_bindings.size());
    const CAgg::CAggMap* map = entries.attr ? entries.attr->mapEntries() : nullptr;
    if (!map)
        return;
    for (const auto& [key, value] : *map) {
        if (!startsWithXmlnsColon(key))
            continue;
        CEStr prefix = CEStr::adopt(EStrNew(nullptr, kEStrPDFDoc));
        EStrSubstr(prefix, key, 6, -1);
        CEStr holder;
        const _EStrRec* uri = textIn(&value, holder);
        bind(prefix, uri);
    }
}

void CAgg2XML::popNSScope() {
    if (m_scopeMarks.empty())
        return;
    size_t mark = m_scopeMarks.back();
    m_scopeMarks.pop_back();
    while (m_bindings.size() > mark) {
        if (m_bindings.back().hides >= 0)
            --m_bindings[static_cast<size_t>(m_bindings.back().hides)].hiddenBy;
        m_bindings.pop_back();
    }
}

long CAgg2XML::findPrefix(const _EStrRec* prefix) const {
    // Keys are one key when the scope's map order holds them equal ("1" and "01" among them).
    for (long i = static_cast<long>(m_bindings.size()) - 1; i >= 0; --i) {
        if (CEStrLessNumbersFirst::compare(m_bindings[static_cast<size_t>(i)].prefix, prefix) == 0)
            return i;
    }
    return -1;
}

const _EStrRec* CAgg2XML::findURI(const _EStrRec* uri) const {
    const _EStrRec* found = nullptr;
    for (const Binding& binding : m_bindings) {
        if (binding.hiddenBy || EStrCmp(binding.uri, uri) != 0)
            continue;
        if (!found || CEStrLessNumbersFirst::compare(binding.prefix, found) < 0)
            found = binding.prefix;
    }
    return found;
}

void CAgg2XML::bind(const _EStrRec* prefix, const _EStrRec* uri) {
    if (m_scopeMarks.empty())
        m_scopeMarks.push_back(0);
    long hidden = findPrefix(prefix);
    if (hidden >= 0) {
        Binding& old = m_bindings[static_cast<size_t>(hidden)];
        if (EStrCmp(old.uri, uri) == 0)
            return;
        ++old.hiddenBy;
    }
    m_bindings.push_back({CEStr(prefix), CEStr(uri), hidden, 0});
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
        XMLAppendEscaped(m_buffer, static_cast<unsigned char>(*c));
}

void CAgg2XML::write(const _EStrRec* text, bool escape) {
    if (!text)
        return;
    if (!escape) {
        appendRaw(m_buffer, text);
        return;
    }
    XMLAppendEscapedText(m_buffer, text);
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
            XMLAppendEscaped(m_buffer, byte);
    }
}
