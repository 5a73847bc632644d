// The SOAP message readers: the element record tree of a reply (xml/CXML2CAgg.h) becomes the
// value that the caller sees.
//
// CEncodedSOAPReader follows section 5 encoding: xsi:type, arrays, multi-references.
// CLiteralSOAPReader maps elements by their names, or keeps the structure as XML text or as
// records that the literal writer can send on. A fault is taken out of the body on the way, and
// the attachments of a multipart reply are bound into the value through a CPartResolver.
//
// The SOAP version is taken from the reply's envelope; an envelope in any other namespace raises
// the host error -1, which the caller reports as a parse failure. Nothing else fails: a value
// that does not convert gives what CAgg's conversions give.
#pragma once

#include "soap/CPartResolver.h"
#include "soap/CSOAPWriter.h"
#include "values/CAgg.h"
#include "values/EStr.h"
#include "xml/CXMLElement.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>

class CSOAPReader {
public:
    /// A reader of a parsed document, which it copies.
    explicit CSOAPReader(CAgg& document);
    /// A reader of a parsed document handed over: the tree is taken, not copied, so that a
    /// large reply is never held twice.
    explicit CSOAPReader(CAgg&& document);
    virtual ~CSOAPReader();
    CSOAPReader(const CSOAPReader&) = delete;
    CSOAPReader& operator=(const CSOAPReader&) = delete;

    /// The value of the SOAP header; void when there is none.
    virtual CAgg readHeader();
    /// The value of the body, with its references bound; a fault is kept aside and ends the
    /// reading. resolver may be null when the reply had no parts.
    virtual CAgg readBody(CPartResolver* resolver);
    /// True when the body held a fault with a fault string.
    virtual bool hasFault();
    virtual CEStr getFaultString();
    virtual CEStr getFaultActor();
    virtual CEStr getFaultCode();
    /// The value of the fault's detail element, read as any other value.
    virtual CAgg& getFaultDetail();
    virtual bool hasError();
    virtual CEStr getError();
    virtual long getErrorCode();
    /// The literal reader delivers each body element as a stream of its XML text.
    virtual void setAsXML(unsigned short flag);
    /// The literal reader delivers records in the shape that the literal writer takes.
    virtual void setXMLMessage(unsigned short flag);
    /// Takes a SOAP 1.1 fault out of a body child; true when the child is a fault.
    virtual bool processFault(CAgg& node);
    /// Reads one element into the result.
    virtual void processNode(CAgg& result, CAgg& node) = 0;
    /// Where the value of an element goes within its parent's value.
    virtual CAgg& getCurrentNode(CAgg& parent, CAgg& node) = 0;
    /// Whether a reference by id ("#id" without the "#") can be resolved.
    virtual bool canResolvePartName(const _EStrRec* name);
    /// The value that a reference by id stands for; void for none.
    virtual CAgg resolvePartName(const _EStrRec* name);
    /// Replaces each map that holds a reference ("soap_href_id") by what it refers to: a value
    /// of the reply by id, or an attachment. A reference that cannot be resolved stays.
    virtual void bindReferences(CAgg& value, CPartResolver* resolver);

    /// The version of the reply: 0 for SOAP 1.1, 1 for 1.2.
    SOAPVersion getVersion() const { return m_version; }
    /// A name split at its last ":" into local name and namespace.
    QName getQName(const _EStrRec* name);
    /// The xsi:type of an element, in the 2001 or else the 1999 instance namespace; empty when
    /// it has none.
    CEStr getType(CAgg& node);
    /// Whether the element is typed as an array.
    bool isArrayNode(CAgg& node);
    /// Whether an xsi:type names an array.
    static bool isArrayType(const _EStrRec* type);
    /// The local part of a qualified name (what follows its last ":"), as UTF-8 text; scratch
    /// holds it when the name's own bytes can't be given as they are.
    static std::string_view localPartOf(const _EStrRec* qname, std::string& scratch);

    /// How deep a value may nest once its references are bound. A reference whose value would
    /// nest deeper stays unresolved: a cycle, or a chain without end, stops there instead of
    /// running the stack out. No reply of a service nests a thousand levels deep.
    static constexpr long kMaxBindDepth = 1000;
    /// How many values the resolved references may copy in all. A reply whose references
    /// multiply (a value that refers twice to a value that refers twice, and so on) keeps its
    /// remaining references unresolved past this.
    static constexpr long kMaxBoundValues = 200000;
    /// The deepest element read; deeper elements are skipped.
    static constexpr long kMaxNodeDepth = 2000;

protected:
    /// Sets the version from the namespace of the envelope; raises the host error -1 for any
    /// namespace but those of SOAP 1.1 and 1.2.
    void setSOAPVersion(CAgg& element);
    /// The first element child of that local name; null without one.
    CAgg* findChildElement(CAgg& element, const char* name);
    /// Whether an element's local name is that ASCII text.
    static bool hasLocalName(const CXMLEntries& entries, std::string_view name);
    /// The key of an element's value in its parent: namespace, ":", name, or the name alone.
    static CEStr keyOf(CAgg& node);
    /// The attributes the readers look at, found in one pass over an element's attributes;
    /// null for those the element lacks. They are read where they lie, so that attributes the
    /// parser lets elements share stay shared.
    struct ReplyAttributes {
        const CAgg* type2001 = nullptr;
        const CAgg* type1999 = nullptr;
        const CAgg* id = nullptr;
        const CAgg* href = nullptr;
        const CAgg* root = nullptr;
    };
    static ReplyAttributes replyAttributesOf(const CAgg* attr);
    /// A value as text, or null for none; holder keeps a value that had to be converted.
    static const _EStrRec* textOf(const CAgg* value, CEStr& holder);
    /// getType from the attributes, without a copy: null when the element has no type.
    static const _EStrRec* typeOf(const ReplyAttributes& attributes, CEStr& holder);
    /// keyOf from the entries of the element, without making a string where the name is the
    /// key, and in the reader's own buffer where an ASCII name and namespace are joined. Good
    /// until the next call.
    const _EStrRec* keyText(CAgg& node, const CXMLEntries& entries, CEStr& holder);
    /// Makes value the text of a text node's value. The reader owns its document, which is read
    /// once: a string is moved out of it rather than copied.
    static void takeText(CAgg& value, CAgg& text);
    /// The atoms of the records' keys, taken again from the host now in place before a walk.
    const CXMLKeyAtoms& refreshKeys();

    /// Counts the levels of elements being read, for kMaxNodeDepth.
    class DepthGuard {
    public:
        explicit DepthGuard(long& depth) : m_depth(++depth) {}
        ~DepthGuard() { --m_depth; }
        DepthGuard(const DepthGuard&) = delete;
        DepthGuard& operator=(const DepthGuard&) = delete;
        bool tooDeep() const { return m_depth > kMaxNodeDepth; }

    private:
        long& m_depth;
    };

    CAgg m_document;
    CEStr m_faultString;
    CEStr m_faultCode;
    CEStr m_faultActor;
    CAgg m_faultDetail;
    CEStr m_error;
    long m_errorCode = 0;
    SOAPVersion m_version = kSOAPVersion11;
    unsigned short m_asXML = 0;
    unsigned short m_xmlMessage = 0;
    long m_nodeDepth = 0;
    CXMLKeyAtoms m_keys;
    /// Set while readHeader or readBody walks the reader's own document, which is read once:
    /// each node is freed as soon as it has been read, so that the tree shrinks as the value
    /// grows. A node given to processNode from outside is not freed.
    bool m_consuming = false;
    /// Set once a value that a reference by id can stand for has been read: until then, and
    /// without attachments, no reference of the value can be resolved.
    bool m_hasReferencedValues = false;

private:
    /// The size of a value: how many values it holds and how deep they nest.
    struct Extent {
        long values = 0;
        long depth = 0;
    };

    CAgg readSection(const char* name, bool withFaults);
    void bindAt(CAgg& value, CPartResolver* resolver, long depth);
    void bindReference(CAgg& value, CPartResolver* resolver, long depth);

    // A key joined from an ASCII namespace and name: a string over m_keyBytes, which a map
    // copies only when it makes an entry of it.
    std::string m_keyBytes;
    _EStrRec m_joinedKey{};

    long m_boundValues = 0;
    // The size of the value of each reference met, by reference.
    std::map<std::string, Extent> m_extents;
};

/// Makes the reader: encoded when the flag is set, literal otherwise.
std::unique_ptr<CSOAPReader> getSOAPReader(CAgg& document, unsigned short encoded);
/// The same for a document handed over, which the reader takes without a copy.
std::unique_ptr<CSOAPReader> getSOAPReader(CAgg&& document, unsigned short encoded);
