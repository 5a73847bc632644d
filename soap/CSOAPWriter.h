// The SOAP message writers: a request value becomes the element record tree of a SOAP envelope
// (xml/CXMLElement.h), which CAgg2XML then writes out.
//
// A request is a map: its keys are the operations, their values the parameters, and so on down.
// Reserved keys of a map ("soapType", "soapName", ...) steer how that map is written instead of
// becoming elements. CEncodedSOAPWriter writes section 5 encoding with xsi:type on every value,
// CLiteralSOAPWriter document style without types; both write SOAP 1.1 and 1.2.
//
// A bad request fails the write: the writer keeps the message text (getError) and raises the
// host error -1, which abandons the tree. The caller guards writeMessage with a HostFrame.
#pragma once

#include "values/CAgg.h"
#include "values/EStr.h"
#include "xml/CXMLElement.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

/// The SOAP version of a message.
enum SOAPVersion : int32_t {
    kSOAPVersion11 = 0,
    kSOAPVersion12 = 1,
};

class CSOAPWriter {
public:
    /// A writer of the request, with the header value (void when there is none); both copied.
    CSOAPWriter(CAgg& header, CAgg& request);
    /// The same with the values handed over: they are taken, not copied.
    CSOAPWriter(CAgg&& header, CAgg&& request);
    virtual ~CSOAPWriter();
    CSOAPWriter(const CSOAPWriter&) = delete;
    CSOAPWriter& operator=(const CSOAPWriter&) = delete;

    /// The envelope as an element tree. Raises the host error -1 on a bad request.
    virtual CAgg writeMessage() = 0;
    /// The envelope as XML text, written straight from the request, for a request that needs
    /// no tree: no header or parameter order, and only strings, numbers, booleans, nulls, maps
    /// without reserved keys and arrays. The text is that of writeMessage's tree through
    /// CAgg2XML, byte for byte. False, with nothing written, for any other request, which
    /// writeMessage then writes; a name that is not an XML name raises as there.
    virtual bool writeMessageText(std::string& out);
    /// The order in which the parameters of an operation are written (encoded writer only).
    virtual void setParameterOrder(std::vector<CAgg>& order);
    /// The namespace that the operations declare as default (literal writer only).
    virtual void setDefaultNS(const _EStrRec* nameSpace);
    virtual void setVersion(SOAPVersion version);
    /// True once a write has failed.
    virtual bool hasError();
    /// Always 0: a failure is told by its text.
    virtual long getErrorCode();
    /// The message of the failure; empty while there is none.
    virtual CEStr getError();
    /// Writes one value into an element: its attributes and children.
    virtual void writeNode(CAgg& value, CXMLElement& element, long depth,
                           unsigned short isHeader) = 0;
    /// The header attributes of a header block (soapActor, soapMustUnderstand).
    virtual void addHeader(CAgg& value, CXMLElement& element, long depth);

    /// A name split at its last ":" into local name and namespace; a name that begins "xsd:"
    /// or "xsi:" is already in prefix form and comes back whole, without a namespace.
    QName getQName(const _EStrRec* name);
    /// Names an element. A name in a namespace gets a fresh prefix and its declaration on the
    /// element: prefixes are never reused within a message.
    void setName(CXMLElement& element, const _EStrRec* name);
    /// The next prefix of the message: "ns1", "ns2", ...
    CEStr createNSPrefix();
    /// A time value in its wire form.
    CEStr getDateTime(CAgg& value);

    /// Whether a key of a map steers the writer instead of naming a child element.
    static bool isReservedKey(const _EStrRec* key);
    /// The text as the value of an attribute: "&", "<" and the double quote as references, so
    /// that no value of a request ends its attribute or starts markup. Other text is unchanged.
    static CEStr attributeValue(const _EStrRec* text);

    /// The deepest nesting of values written. A deeper request or header is refused, without
    /// being copied or walked by recursion; no service takes parameters a thousand levels deep.
    static constexpr long kMaxDepth = 1000;

protected:
    /// Takes the atoms of the record keys and the reserved keys from the host now in place.
    void takeAtoms();
    /// The envelope with its namespace declarations, header and body, filled by writeNode.
    CAgg writeEnvelope(bool withEncodingNS);
    /// Whether the name is ASCII text in PDFDocEncoding, as the parser and the bridge make the
    /// keys of a request, whose bytes can be read as they are.
    static bool isPlainName(const _EStrRec* name);
    /// Keeps the text of the message of that key and raises the host error -1.
    [[noreturn]] void fail(const char* messageKey);
    /// Refuses a name that cannot stand as an element or attribute name: no request may turn
    /// into markup through its keys. Raises the script engine's bad-argument error.
    void checkName(const std::string& name, bool local);
    /// The same for an attribute key, which may also be URI, ":", local name, as the keys of
    /// a reply read as a message are: the serialiser gives such a key a prefix.
    void checkAttributeName(const _EStrRec* key);
    /// Refuses a value nested deeper than kMaxDepth.
    void checkDepth(long depth);
    /// The SOAP encoding namespace of the message's version.
    const char* encodingNS() const;
    /// Checks soapQName and names the element by it, when the map has one.
    void applyQName(CAgg& value, CXMLElement& element);
    /// The same for the entry of soapQName, null when the map has none.
    void applyQName(CAgg* qname, CXMLElement& element);
    /// The reserved entries of a map, found in one pass over it where a lookup per key would
    /// compare each; null for those it lacks. An entry is found as value.has(key) finds it.
    struct ReservedEntries {
        CAgg* name = nullptr;
        CAgg* qname = nullptr;
        CAgg* type = nullptr;
        CAgg* value = nullptr;
        CAgg* href = nullptr;
        CAgg* attributes = nullptr;
    };
    ReservedEntries reservedEntriesOf(CAgg& map) const;
    /// Calls fn(key, value) for each entry of a map in the map's order, as CAggForEachEntry
    /// does; the text of an atom key is made once per message.
    template <class Fn> void forEachEntry(CAgg& map, Fn&& fn);
    /// Calls fn(key, value) for each entry of a map that is not a reserved key, with room made
    /// among the element's children for them first: the children of a map's element.
    template <class Fn> void forEachChildEntry(CAgg& map, CXMLElement& element, Fn&& fn);
    /// Makes room for count children of the element, so that appending them moves none; none
    /// is made for no children, so that an element without any keeps no list.
    static void reserveChildren(CXMLElement& element, size_t count);
    /// The number of entries of a map of either kind, reserved keys included; 0 for any other
    /// value.
    static size_t entryCount(CAgg& map);
    /// The text of an atom key, as CAggForEachEntry gives it.
    const CEStr& atomName(QsAtom atom);
    /// A view on a record of the tree being written, with the writer's key atoms.
    CXMLElement view(CAgg& record) const { return CXMLElement(record, m_keys); }
    /// Names an element by a namespace and a local name, as setName does.
    void setName(CXMLElement& element, const QName& name);
    /// The name of an element as setName gives it: the text of the name, and the declaration
    /// that a name in a namespace brings, under a fresh prefix. The name is checked.
    struct ElementName {
        const _EStrRec* given = nullptr; // the name as it was given, when it stands as it is
        CEStr held;                      // else a name made for the element
        CEStr declarationKey;            // "xmlns:" and the prefix; null without a namespace
        CEStr declarationValue;
        const _EStrRec* text() const { return held.isNull() ? given : held.get(); }
    };
    ElementName elementName(const _EStrRec* name);
    ElementName elementName(const QName& name);
    void setName(CXMLElement& element, const ElementName& name);

    /// What follows an element's attributes in its text.
    enum class TextContent {
        none,     ///< nothing: the empty-tag form
        scalar,   ///< the text of a string, number or boolean
        children, ///< the elements of a map's keys or an array's items
        unknown   ///< a value the text road leaves to the tree
    };
    /// writeMessageText of the writer, with or without the SOAP encoding namespace.
    bool writeText(std::string& out, bool withEncodingNS);
    /// The text of the element of a key (null for an array's "item") holding the value.
    bool appendElementText(std::string& out, const _EStrRec* key, CAgg& value, long depth);
    /// The attributes of that element in the order of its tree's attribute map, and what
    /// follows them.
    virtual TextContent appendAttributesText(std::string& out, const ElementName& name, CAgg& value,
                                             long depth);
    /// The escaped text of a string, number or boolean; false for any other value.
    static bool appendScalarText(std::string& out, CAgg& value);
    /// The declaration that an element's name brings, if any, as an attribute.
    static void appendDeclarationText(std::string& out, const ElementName& name);
    /// Whether a map has any of the keys that steer the writer.
    bool hasReservedKey(CAgg& map);
    /// Sets one attribute as setAttribute sets it, through a map of that attribute alone kept
    /// for the message: the elements given the same attribute share the map's entries rather
    /// than each holding a map of its own. A later change to an element's attributes gives it
    /// a map of its own first. keptTexts says that both texts are records kept for the life of
    /// the process, which the writer then finds again by their address.
    void setSharedAttribute(CXMLElement& element, const _EStrRec* key, const _EStrRec* value,
                            bool keptTexts = false);

    CAgg m_header;
    CAgg m_request;
    long m_nsCounter = 0;
    SOAPVersion m_version = kSOAPVersion11;
    CEStr m_error;
    long m_errorCode = 0;
    // The atoms of the record keys, taken from the host when the writer is made and again when
    // a message is written.
    CXMLKeyAtoms m_keys;
    // The atoms of the reserved keys of ReservedEntries, in its order; taken with m_keys.
    QsAtom m_reservedAtoms[6] = {};
    // The texts of the atom keys met in the message.
    std::unordered_map<QsAtom, CEStr> m_atomNames;
    // The header or the request nests deeper than kMaxDepth; neither was copied.
    bool m_tooDeep = false;

private:
    /// One attribute of setSharedAttribute and the map that the elements share.
    struct SharedAttribute {
        CEStr key;
        CEStr value;
        // The records the texts were given as, when they are kept for the life of the process;
        // null otherwise.
        const _EStrRec* keyGiven;
        const _EStrRec* valueGiven;
        CAgg map;
    };
    // A message has a handful of distinct type attributes; past this many, an attribute is set
    // on its own, so that a request of many made-up types costs no search.
    static constexpr size_t kMaxSharedAttributes = 16;
    // The shared attributes of the message being written.
    std::vector<SharedAttribute> m_sharedAttributes;
};

template <class Fn> void CSOAPWriter::forEachEntry(CAgg& map, Fn&& fn) {
    if (map.getType() == CAgg::eMap) {
        for (auto& [key, value] : map.toMap())
            fn(key, value);
    } else if (map.getType() == CAgg::eQsAtomMap) {
        for (auto& [atom, value] : map.toQsAtomMap())
            fn(atomName(atom), value);
    }
}

template <class Fn> void CSOAPWriter::forEachChildEntry(CAgg& map, CXMLElement& element, Fn&& fn) {
    size_t room = entryCount(map);
    forEachEntry(map, [&](const CEStr& key, CAgg& item) {
        if (isReservedKey(key))
            return;
        reserveChildren(element, std::exchange(room, 0));
        fn(key, item);
    });
}

/// Makes the writer: encoded when the flag is set, literal otherwise.
std::unique_ptr<CSOAPWriter> getSOAPWriter(CAgg& header, CAgg& request, unsigned short encoded);
/// The same for values handed over, which the writer takes without a copy.
std::unique_ptr<CSOAPWriter> getSOAPWriter(CAgg&& header, CAgg&& request, unsigned short encoded);
