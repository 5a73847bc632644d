#include "xml/CXMLParser.h"

#include "frame/ZString.h"
#include "values/QsStm.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace {

constexpr int kStreamBlockSize = 4096;

// The text before the first ":", or the whole text.
XMLString prefixOf(const XML_Char* qname) {
    if (!qname)
        return {};
    const XML_Char* colon = std::strchr(qname, ':');
    return colon ? XMLString(qname, colon) : XMLString(qname);
}

bool startsWith(const XML_Char* tag, const XMLString& start) {
    return std::strncmp(tag, start.data(), start.size()) == 0;
}

} // namespace

CXMLParser::CXMLParser(const XML_Char* encoding) {
    create(Kind::plain, nullptr, nullptr, encoding, 0);
}

CXMLParser::CXMLParser(const XML_Char* encoding, XML_Char namespaceSeparator) {
    create(Kind::namespaces, nullptr, nullptr, encoding, namespaceSeparator);
}

CXMLParser::CXMLParser(XML_Parser parent, const XML_Char* context, const XML_Char* encoding) {
    create(Kind::externalEntity, parent, context, encoding, 0);
}

CXMLParser::~CXMLParser() {
    destroy();
}

void CXMLParser::reset(const XML_Char* encoding) {
    destroy();
    create(Kind::plain, nullptr, nullptr, encoding, 0);
}

void CXMLParser::reset(const XML_Char* encoding, XML_Char namespaceSeparator) {
    destroy();
    create(Kind::namespaces, nullptr, nullptr, encoding, namespaceSeparator);
}

void CXMLParser::reset(XML_Parser parent, const XML_Char* context, const XML_Char* encoding) {
    destroy();
    create(Kind::externalEntity, parent, context, encoding, 0);
}

void CXMLParser::create(Kind kind, XML_Parser parent, const XML_Char* context,
                        const XML_Char* encoding, XML_Char separator) {
    switch (kind) {
    case Kind::plain:
        m_parser = XML_ParserCreate(encoding);
        break;
    case Kind::namespaces:
        m_parser = XML_ParserCreateNS(encoding, separator);
        break;
    case Kind::externalEntity:
        m_parser = parent ? XML_ExternalEntityParserCreate(parent, context, encoding) : nullptr;
        break;
    }
    if (!m_parser && kind != Kind::externalEntity)
        throw std::bad_alloc();
    if (m_parser)
        installCallbacks();
}

void CXMLParser::destroy() {
    if (m_parser)
        XML_ParserFree(m_parser);
    m_parser = nullptr;
    m_namespaces.clear();
    namespacesChanged();
    m_openDeclarations.clear();
    m_entityDeclarations = 0;
    m_failure = nullptr;
}

void CXMLParser::installCallbacks() {
    XML_SetUserData(m_parser, this);
    XML_UseParserAsHandlerArg(m_parser);
    XML_SetElementHandler(m_parser, startElementTramp, endElementTramp);
    XML_SetCharacterDataHandler(m_parser, cDataTramp);
    XML_SetProcessingInstructionHandler(m_parser, processingInstructionTramp);
    XML_SetCommentHandler(m_parser, commentTramp);
    XML_SetCdataSectionHandler(m_parser, startCdataSectionTramp, endCdataSectionTramp);
    XML_SetDefaultHandler(m_parser, defaultTramp);
    // Replaces the plain default handler: internal entity references are expanded and reach
    // cDataHandler as text.
    XML_SetDefaultHandlerExpand(m_parser, defaultExpandTramp);
    XML_SetUnparsedEntityDeclHandler(m_parser, unparsedEntityDeclTramp);
    XML_SetNotationDeclHandler(m_parser, notationDeclTramp);
    XML_SetNamespaceDeclHandler(m_parser, startNamespaceDeclTramp, endNamespaceDeclTramp);
    XML_SetNotStandaloneHandler(m_parser, notStandaloneTramp);
    XML_SetUnknownEncodingHandler(m_parser, unknownEncodingTramp, m_parser);
    // Only counts declarations, against a chain of entities deep enough to exhaust the stack.
    XML_SetEntityDeclHandler(m_parser, entityDeclTramp);
}

// Callbacks: the defaults.

void CXMLParser::startElementHandler(const XML_Char*, const XML_Char**) {}
void CXMLParser::endElementHandler(const XML_Char*) {}
void CXMLParser::cDataHandler(const XML_Char*, int) {}
void CXMLParser::processingInstructionHandler(const XML_Char*, const XML_Char*) {}
void CXMLParser::commentHandler(const XML_Char*) {}
void CXMLParser::startCdataSectionHandler() {}
void CXMLParser::endCdataSectionHandler() {}
void CXMLParser::defaultHandler(const XML_Char*, int) {}
void CXMLParser::defaultHandlerExpand(const XML_Char*, int) {}
void CXMLParser::unparsedEntityDeclHandler(const XML_Char*, const XML_Char*, const XML_Char*,
                                           const XML_Char*, const XML_Char*) {}
void CXMLParser::notationDeclHandler(const XML_Char*, const XML_Char*, const XML_Char*,
                                     const XML_Char*) {}
void CXMLParser::startNamespaceDeclHandler(const XML_Char*, const XML_Char*) {}
void CXMLParser::endNamespaceDeclHandler(const XML_Char*) {}

int CXMLParser::notStandaloneHandler() {
    return 1;
}

int CXMLParser::externalEntityRefHandler(const XML_Char*, const XML_Char*, const XML_Char*,
                                         const XML_Char*) {
    return 1;
}

int CXMLParser::unknownEncodingHandler(const XML_Char*, XML_Encoding*) {
    return 1;
}

CEStr CXMLParser::getErrorString() {
    if (getErrorCode() == XML_ERROR_NONE)
        return CEStr::adopt(EStrNew(nullptr, kEStrPDFDoc));
    return XML_String2ESTR(miGetMessageUTF8("IDS_SOAP_PARSE_PROBLEM"));
}

// Parsing.

int CXMLParser::parse(const char* data, int len, int isFinal) {
    if (!m_parser || len < 0 || (len > 0 && !data))
        return 0;
    return finishCall(XML_Parse(m_parser, data, len, isFinal));
}

int CXMLParser::parse(QsStm stream) {
    char block[kStreamBlockSize];
    for (;;) {
        long count = QsStmRead(stream, block, kStreamBlockSize);
        if (count <= 0)
            break;
        if (!parse(block, static_cast<int>(count), 0))
            return 0;
    }
    return parse(nullptr, 0, 1);
}

void* CXMLParser::getBuffer(int len) {
    return m_parser ? XML_GetBuffer(m_parser, len) : nullptr;
}

int CXMLParser::parseBuffer(int len, int isFinal) {
    if (!m_parser || len < 0)
        return 0;
    return finishCall(XML_ParseBuffer(m_parser, len, isFinal));
}

int CXMLParser::finishCall(int status) {
    if (m_failure) {
        std::exception_ptr failure = std::exchange(m_failure, nullptr);
        std::rethrow_exception(failure);
    }
    return status == XML_STATUS_ERROR ? 0 : status;
}

void CXMLParser::stopParser() {
    XML_StopParser(m_parser, XML_FALSE);
}

void CXMLParser::keep(std::exception_ptr failure) {
    if (!m_failure)
        m_failure = std::move(failure);
    stopParser();
}

// Expat's state.

XML_Error CXMLParser::getErrorCode() const {
    return m_parser ? XML_GetErrorCode(m_parser) : XML_ERROR_NO_MEMORY;
}

XML_Size CXMLParser::getCurrentLineNumber() const {
    return m_parser ? XML_GetCurrentLineNumber(m_parser) : 0;
}

XML_Size CXMLParser::getCurrentColumnNumber() const {
    return m_parser ? XML_GetCurrentColumnNumber(m_parser) : 0;
}

XML_Index CXMLParser::getCurrentByteIndex() const {
    return m_parser ? XML_GetCurrentByteIndex(m_parser) : -1;
}

int CXMLParser::getCurrentByteCount() const {
    return m_parser ? XML_GetCurrentByteCount(m_parser) : 0;
}

void CXMLParser::defaultCurrent() {
    if (m_parser)
        XML_DefaultCurrent(m_parser);
}

int CXMLParser::setEncoding(const XML_Char* encoding) {
    return m_parser ? XML_SetEncoding(m_parser, encoding) : 0;
}

int CXMLParser::setBase(const XML_Char* base) {
    return m_parser ? XML_SetBase(m_parser, base) : 0;
}

const XML_Char* CXMLParser::getBase() const {
    return m_parser ? XML_GetBase(m_parser) : nullptr;
}

int CXMLParser::getSpecifiedAttributeCount() const {
    return m_parser ? XML_GetSpecifiedAttributeCount(m_parser) : -1;
}

const XML_Char* CXMLParser::getAtt(const XML_Char** atts, const XML_Char* name) {
    if (!atts || !name)
        return nullptr;
    for (; atts[0]; atts += 2) {
        if (std::strcmp(atts[0], name) == 0)
            return atts[1];
    }
    return nullptr;
}

// Namespaces.

const CXMLParser::NSMap::value_type* CXMLParser::findLastNS(const XML_Char* qname) const {
    auto [first, last] = m_namespaces.equal_range(prefixOf(qname));
    if (first == last)
        return nullptr;
    return &*std::prev(last);
}

XMLString CXMLParser::getNS(const XML_Char* qname) const {
    const NSMap::value_type* found = findLastNS(qname);
    return found ? found->second : XMLString();
}

XMLString CXMLParser::qualify(const XML_Char* tag) const {
    if (!tag)
        return {};
    const XML_Char* colon = std::strchr(tag, ':');
    auto found = m_namespaces.equal_range(colon ? XMLString(tag, colon) : XMLString());
    if (found.first == found.second)
        return tag;
    return std::prev(found.second)->second + (colon ? colon + 1 : tag);
}

XMLString CXMLParser::unqualify(const XML_Char* tag) const {
    if (!tag)
        return {};
    for (const auto& [prefix, uri] : m_namespaces) {
        if (startsWith(tag, uri))
            return prefix.empty() ? XMLString(tag + uri.size()) : prefix + ":" + (tag + uri.size());
    }
    return tag;
}

const XMLString* CXMLParser::elementNamespace(const XML_Char* tag) const {
    if (const XMLString* known = cachedURI(m_elementURIs, tag))
        return known;
    if (!mayHaveURI(tag))
        return nullptr;
    for (const auto& entry : m_namespaces) {
        if (startsWith(tag, entry.second)) {
            remember(m_elementURIs, &entry.second, true);
            return &entry.second;
        }
    }
    return nullptr;
}

// Unlike an element, an attribute takes the longest URI, so a document with one URI that
// begins another can split an element's name differently from its attributes' names. That is
// intended.
const XMLString* CXMLParser::attributeNamespace(const XML_Char* tag) const {
    if (const XMLString* known = cachedURI(m_attributeURIs, tag))
        return known;
    if (!mayHaveURI(tag))
        return nullptr;
    const XMLString* best = nullptr;
    for (const auto& entry : m_namespaces) {
        if (startsWith(tag, entry.second) && (!best || entry.second.size() > best->size()))
            best = &entry.second;
    }
    if (best)
        remember(m_attributeURIs, best, false);
    return best;
}

const XMLString* CXMLParser::cachedURI(const URICache& cache, const XML_Char* tag) {
    for (const XMLString* uri : cache.uris) {
        if (uri && startsWith(tag, *uri))
            return uri;
    }
    return nullptr;
}

void CXMLParser::remember(URICache& cache, const XMLString* uri, bool element) const {
    if (uri->empty())
        return;
    for (const auto& entry : m_namespaces) {
        const XMLString& other = entry.second;
        if (other == *uri)
            continue; // the same URI under another prefix gives the same split
        if (other.starts_with(*uri) || (element && uri->starts_with(other)))
            return;
    }
    cache.uris[cache.next] = uri;
    cache.next ^= 1;
}

bool CXMLParser::mayHaveURI(const XML_Char* tag) const {
    if (!m_uriStartsKnown) {
        m_uriStarts.reset();
        for (const auto& entry : m_namespaces) {
            if (entry.second.empty())
                m_uriStarts.set();
            else
                m_uriStarts.set(static_cast<unsigned char>(entry.second[0]));
        }
        m_uriStartsKnown = true;
    }
    return m_uriStarts.test(static_cast<unsigned char>(tag[0]));
}

void CXMLParser::namespacesChanged() {
    ++m_namespaceGeneration;
    m_elementURIs = {};
    m_attributeURIs = {};
    m_uriStartsKnown = false;
}

void CXMLParser::makeQName(const XML_Char* tag, XMLString* name, XMLString* ns) const {
    if (!tag)
        tag = "";
    const XMLString* uri = elementNamespace(tag);
    size_t length = uri ? uri->size() : 0;
    if (name)
        *name = tag + length;
    if (ns)
        *ns = uri ? *uri : XMLString();
}

XMLString CXMLParser::normalizeQName(const XML_Char* tag) const {
    if (!tag)
        return {};
    const XMLString* uri = attributeNamespace(tag);
    if (!uri)
        return tag;
    return *uri + ":" + (tag + uri->size());
}

// Trampolines.

CXMLParser* CXMLParser::self(void* handlerArg) {
    return static_cast<CXMLParser*>(XML_GetUserData(static_cast<XML_Parser>(handlerArg)));
}

// Exceptions never cross Expat's C frames: the first one stops the parse and is raised again
// when Expat has returned.
template <class Fn> void CXMLParser::guarded(Fn&& fn) {
    if (m_failure)
        return;
    try {
        std::forward<Fn>(fn)();
    } catch (...) {
        keep(std::current_exception());
    }
}

void XMLCALL CXMLParser::startElementTramp(void* arg, const XML_Char* name, const XML_Char** atts) {
    CXMLParser* p = self(arg);
    p->guarded([&] { p->startElementHandler(name, atts); });
}

void XMLCALL CXMLParser::endElementTramp(void* arg, const XML_Char* name) {
    CXMLParser* p = self(arg);
    p->guarded([&] { p->endElementHandler(name); });
}

void XMLCALL CXMLParser::cDataTramp(void* arg, const XML_Char* text, int len) {
    CXMLParser* p = self(arg);
    p->guarded([&] { p->cDataHandler(text, len); });
}

void XMLCALL CXMLParser::processingInstructionTramp(void* arg, const XML_Char* target,
                                                    const XML_Char* data) {
    CXMLParser* p = self(arg);
    p->guarded([&] { p->processingInstructionHandler(target, data); });
}

void XMLCALL CXMLParser::commentTramp(void* arg, const XML_Char* data) {
    CXMLParser* p = self(arg);
    p->guarded([&] { p->commentHandler(data); });
}

void XMLCALL CXMLParser::startCdataSectionTramp(void* arg) {
    CXMLParser* p = self(arg);
    p->guarded([&] { p->startCdataSectionHandler(); });
}

void XMLCALL CXMLParser::endCdataSectionTramp(void* arg) {
    CXMLParser* p = self(arg);
    p->guarded([&] { p->endCdataSectionHandler(); });
}

void XMLCALL CXMLParser::defaultTramp(void* arg, const XML_Char* text, int len) {
    CXMLParser* p = self(arg);
    p->guarded([&] { p->defaultHandler(text, len); });
}

void XMLCALL CXMLParser::defaultExpandTramp(void* arg, const XML_Char* text, int len) {
    CXMLParser* p = self(arg);
    p->guarded([&] { p->defaultHandlerExpand(text, len); });
}

void XMLCALL CXMLParser::unparsedEntityDeclTramp(void* arg, const XML_Char* entity,
                                                 const XML_Char* base, const XML_Char* systemId,
                                                 const XML_Char* publicId,
                                                 const XML_Char* notation) {
    CXMLParser* p = self(arg);
    p->guarded([&] { p->unparsedEntityDeclHandler(entity, base, systemId, publicId, notation); });
}

void XMLCALL CXMLParser::notationDeclTramp(void* arg, const XML_Char* notation,
                                           const XML_Char* base, const XML_Char* systemId,
                                           const XML_Char* publicId) {
    CXMLParser* p = self(arg);
    p->guarded([&] { p->notationDeclHandler(notation, base, systemId, publicId); });
}

void XMLCALL CXMLParser::startNamespaceDeclTramp(void* arg, const XML_Char* prefix,
                                                 const XML_Char* uri) {
    CXMLParser* p = self(arg);
    p->guarded([&] {
        XMLString key = prefix ? prefix : "";
        // An undeclaration (xmlns="") is ignored altogether, its end included.
        p->m_openDeclarations.emplace_back(key, uri != nullptr);
        if (!uri)
            return;
        p->m_namespaces.emplace(std::move(key), uri); // at the end of the run of equal keys
        p->namespacesChanged();
        p->startNamespaceDeclHandler(prefix ? prefix : "", uri);
    });
}

void XMLCALL CXMLParser::endNamespaceDeclTramp(void* arg, const XML_Char* prefix) {
    CXMLParser* p = self(arg);
    p->guarded([&] {
        XMLString key = prefix ? prefix : "";
        auto& open = p->m_openDeclarations;
        auto declared = std::find_if(open.rbegin(), open.rend(),
                                     [&](const auto& entry) { return entry.first == key; });
        bool kept = true;
        if (declared != open.rend()) {
            kept = declared->second;
            open.erase(std::next(declared).base());
        }
        if (!kept)
            return;
        p->endNamespaceDeclHandler(key.c_str());
        auto [first, last] = p->m_namespaces.equal_range(key);
        if (first != last) {
            p->m_namespaces.erase(std::prev(last));
            p->namespacesChanged();
        }
    });
}

int XMLCALL CXMLParser::notStandaloneTramp(void* arg) {
    CXMLParser* p = self(arg);
    int result = 0;
    p->guarded([&] { result = p->notStandaloneHandler(); });
    return result;
}

int XMLCALL CXMLParser::unknownEncodingTramp(void* data, const XML_Char* name, XML_Encoding* info) {
    CXMLParser* p = self(data);
    int result = 0;
    p->guarded([&] { result = p->unknownEncodingHandler(name, info); });
    return result;
}

void XMLCALL CXMLParser::entityDeclTramp(void* arg, const XML_Char*, int, const XML_Char*, int,
                                         const XML_Char*, const XML_Char*, const XML_Char*,
                                         const XML_Char*) {
    CXMLParser* p = self(arg);
    if (++p->m_entityDeclarations > kMaxEntityDeclarations)
        p->stopParser();
}
