// The one wrapper over Expat: its callbacks become virtual operations.
//
// The Expat user data is the object and the parser itself is the handler argument, so that one
// static trampoline per callback finds the object and makes the virtual call. No external
// entity is ever fetched: there is no external-entity handler and parameter entities stay off.
//
// In namespace mode the parser keeps the namespace declarations in scope in a multimap from
// prefix to URI (the default namespace under the empty prefix), which makeQName and
// normalizeQName use to split Expat's names back into URI and local name.
#pragma once

#include "frame/host/QsStmRec.h"
#include "values/EStr.h"
#include "xml/XMLString.h"

#include <bitset>
#include <exception>
#include <expat.h>
#include <map>
#include <vector>

class CXMLParser {
public:
    /// The namespace declarations in scope: prefix to URI, innermost last within a prefix.
    using NSMap = std::multimap<XMLString, XMLString>;

    /// A parser without namespace processing (XML_ParserCreate).
    explicit CXMLParser(const XML_Char* encoding);
    /// A parser in namespace mode with the given separator (XML_ParserCreateNS).
    CXMLParser(const XML_Char* encoding, XML_Char namespaceSeparator);
    /// A parser for an external entity of a parent (XML_ExternalEntityParserCreate).
    CXMLParser(XML_Parser parent, const XML_Char* context, const XML_Char* encoding);
    virtual ~CXMLParser();
    CXMLParser(const CXMLParser&) = delete;
    CXMLParser& operator=(const CXMLParser&) = delete;

    /// Frees the Expat parser, forgets the namespaces and starts again with a parser of the
    /// kind the arguments name, as the constructors do.
    void reset(const XML_Char* encoding);
    void reset(const XML_Char* encoding, XML_Char namespaceSeparator);
    void reset(XML_Parser parent, const XML_Char* context, const XML_Char* encoding);

    // Callbacks, in slot order. All but the last three do nothing by default.

    virtual void startElementHandler(const XML_Char* name, const XML_Char** atts);
    virtual void endElementHandler(const XML_Char* name);
    virtual void cDataHandler(const XML_Char* text, int len);
    virtual void processingInstructionHandler(const XML_Char* target, const XML_Char* data);
    virtual void commentHandler(const XML_Char* data);
    virtual void startCdataSectionHandler();
    virtual void endCdataSectionHandler();
    virtual void defaultHandler(const XML_Char* text, int len);
    virtual void defaultHandlerExpand(const XML_Char* text, int len);
    virtual void unparsedEntityDeclHandler(const XML_Char* entity, const XML_Char* base,
                                           const XML_Char* systemId, const XML_Char* publicId,
                                           const XML_Char* notation);
    virtual void notationDeclHandler(const XML_Char* notation, const XML_Char* base,
                                     const XML_Char* systemId, const XML_Char* publicId);
    virtual void startNamespaceDeclHandler(const XML_Char* prefix, const XML_Char* uri);
    virtual void endNamespaceDeclHandler(const XML_Char* prefix);
    /// Returns 1: a document that is not standalone is accepted.
    virtual int notStandaloneHandler();
    /// Returns 1. Never installed, so never called by Expat.
    virtual int externalEntityRefHandler(const XML_Char* context, const XML_Char* base,
                                         const XML_Char* systemId, const XML_Char* publicId);
    /// Returns 1, which Expat takes for a table it then finds empty: the encoding still fails.
    virtual int unknownEncodingHandler(const XML_Char* name, XML_Encoding* info);
    /// The parse-problem message once Expat has reported an error, else the empty text.
    virtual CEStr getErrorString();

    // Parsing.

    /// Feeds a chunk; 0 when the document is found bad.
    int parse(const char* data, int len, int isFinal);
    /// Feeds a whole stream in blocks of 4096 bytes, then the final call; 0 on failure.
    int parse(QsStm stream);
    /// Expat's own buffer of len bytes, to be filled and passed to parseBuffer.
    void* getBuffer(int len);
    int parseBuffer(int len, int isFinal);

    // Expat's state.

    XML_Error getErrorCode() const;
    XML_Size getCurrentLineNumber() const;
    XML_Size getCurrentColumnNumber() const;
    XML_Index getCurrentByteIndex() const;
    int getCurrentByteCount() const;
    void defaultCurrent();
    int setEncoding(const XML_Char* encoding);
    int setBase(const XML_Char* base);
    const XML_Char* getBase() const;
    int getSpecifiedAttributeCount() const;
    /// The value of the named attribute in an attribute list from Expat, or null.
    static const XML_Char* getAtt(const XML_Char** atts, const XML_Char* name);

    // Namespaces.

    /// The URI of the innermost declaration of qname's prefix (qname up to its first ":"), or
    /// the empty text.
    XMLString getNS(const XML_Char* qname) const;
    /// The innermost declaration of qname's prefix, or null.
    const NSMap::value_type* findLastNS(const XML_Char* qname) const;
    /// "prefix:local" (or "local" for the default namespace) as Expat's expanded name, URI
    /// and local name run together; a name whose prefix is not in scope comes back as it is.
    XMLString qualify(const XML_Char* tag) const;
    /// The inverse of qualify: an expanded name as "prefix:local", or "local" under the
    /// default namespace, by the first URI in prefix order that begins the tag; else the tag.
    XMLString unqualify(const XML_Char* tag) const;
    /// Splits an element's expanded name: the first URI in prefix order that begins the tag is
    /// the namespace and the rest the name; with none, the whole tag and an empty namespace.
    /// Either output may be null.
    void makeQName(const XML_Char* tag, XMLString* name, XMLString* ns) const;
    /// An attribute's expanded name as URI, ":", local name, by the longest URI in scope that
    /// begins it; the tag unchanged when none does.
    XMLString normalizeQName(const XML_Char* tag) const;
    /// The declarations in scope.
    const NSMap& namespaces() const { return m_namespaces; }
    /// The URI that makeQName takes for an element's tag, or null: the first in prefix order
    /// that begins the tag.
    const XMLString* elementNamespace(const XML_Char* tag) const;
    /// The URI that normalizeQName takes for an attribute's tag, or null: the longest that
    /// begins the tag.
    const XMLString* attributeNamespace(const XML_Char* tag) const;
    /// A count that moves on with every change of the declarations in scope: names split while
    /// it stays the same split the same way.
    unsigned long namespaceGeneration() const { return m_namespaceGeneration; }

    /// The Expat parser.
    XML_Parser handle() const { return m_parser; }

    /// Most internal entities one document may declare. Expat expands a reference to an
    /// entity defined through others by recursion, so a long chain of them could otherwise
    /// run the stack out.
    static constexpr long kMaxEntityDeclarations = 1000;

protected:
    /// Stops the parse from inside a callback: the running parse call returns 0.
    void stopParser();

private:
    enum class Kind { plain, namespaces, externalEntity };

    void create(Kind kind, XML_Parser parent, const XML_Char* context, const XML_Char* encoding,
                XML_Char separator);
    void installCallbacks();
    void destroy();
    int finishCall(int status);
    void keep(std::exception_ptr failure);

    template <class Fn> void guarded(Fn&& fn);
    static CXMLParser* self(void* handlerArg);

    static void XMLCALL startElementTramp(void*, const XML_Char*, const XML_Char**);
    static void XMLCALL endElementTramp(void*, const XML_Char*);
    static void XMLCALL cDataTramp(void*, const XML_Char*, int);
    static void XMLCALL processingInstructionTramp(void*, const XML_Char*, const XML_Char*);
    static void XMLCALL commentTramp(void*, const XML_Char*);
    static void XMLCALL startCdataSectionTramp(void*);
    static void XMLCALL endCdataSectionTramp(void*);
    static void XMLCALL defaultTramp(void*, const XML_Char*, int);
    static void XMLCALL defaultExpandTramp(void*, const XML_Char*, int);
    static void XMLCALL unparsedEntityDeclTramp(void*, const XML_Char*, const XML_Char*,
                                                const XML_Char*, const XML_Char*, const XML_Char*);
    static void XMLCALL notationDeclTramp(void*, const XML_Char*, const XML_Char*, const XML_Char*,
                                          const XML_Char*);
    static void XMLCALL startNamespaceDeclTramp(void*, const XML_Char*, const XML_Char*);
    static void XMLCALL endNamespaceDeclTramp(void*, const XML_Char*);
    static int XMLCALL notStandaloneTramp(void*);
    static int XMLCALL unknownEncodingTramp(void*, const XML_Char*, XML_Encoding*);
    static void XMLCALL entityDeclTramp(void*, const XML_Char*, int, const XML_Char*, int,
                                        const XML_Char*, const XML_Char*, const XML_Char*,
                                        const XML_Char*);

    /// A few URIs that began tags looked up before, each one that no other URI in scope can
    /// stand in for: a tag that one of them begins takes it without a scan of every declaration.
    struct URICache {
        const XMLString* uris[2] = {nullptr, nullptr};
        int next = 0;
    };
    /// The URI of the cache that begins the tag, or null.
    static const XMLString* cachedURI(const URICache& cache, const XML_Char* tag);
    /// Keeps a URI found by a scan, when no other URI in scope could be the answer for a tag
    /// that it begins: none that it begins, and for an element none that begins it either.
    void remember(URICache& cache, const XMLString* uri, bool element) const;
    /// Whether some URI in scope could begin the tag, by its first byte.
    bool mayHaveURI(const XML_Char* tag) const;
    /// Forgets the caches; called on every change of m_namespaces.
    void namespacesChanged();

    XML_Parser m_parser = nullptr;
    NSMap m_namespaces;
    mutable URICache m_elementURIs;
    mutable URICache m_attributeURIs;
    // The first bytes of the URIs in scope (all of them when a URI is empty), so that a name
    // that no URI can begin is known at its first byte. Made on demand.
    mutable std::bitset<256> m_uriStarts;
    mutable bool m_uriStartsKnown = false;
    unsigned long m_namespaceGeneration = 0;
    // Every declaration now open, innermost last, and whether it was kept in m_namespaces: an
    // undeclaration (xmlns="") is not, and its end must not take away the one it hides.
    std::vector<std::pair<XMLString, bool>> m_openDeclarations;
    long m_entityDeclarations = 0;
    // A C++ exception raised in a callback, held until Expat has returned.
    std::exception_ptr m_failure;
};
