// The element record: the one XML representation of the system, and a view on it.
//
// A node is a CAgg map told apart by its "type" entry: "element", "text" or "processing". Keys
// are interned atoms. An element has "name" (the local name), "nameSpace" (the URI, empty when
// none), "attr" (string to string; an attribute in a namespace is keyed URI, ":", local name),
// "children" (the child records in document order) and, below the root of a parsed document,
// "nsDict" (every prefix declared so far, to its URI; the default namespace under ""). A text
// node has "text" (a string, or a stream in a tree built for writing) and, for writing only,
// "encoded": whether the serialiser escapes it.
#pragma once

#include "values/CAgg.h"
#include "values/CLazyAtom.h"

/// The keys of a record.
inline const CLazyAtom kXMLKeyType{"type"};
inline const CLazyAtom kXMLKeyName{"name"};
inline const CLazyAtom kXMLKeyNameSpace{"nameSpace"};
inline const CLazyAtom kXMLKeyAttr{"attr"};
inline const CLazyAtom kXMLKeyChildren{"children"};
inline const CLazyAtom kXMLKeyNSDict{"nsDict"};
inline const CLazyAtom kXMLKeyText{"text"};
inline const CLazyAtom kXMLKeyEncoded{"encoded"};

/// The values of "type".
inline const CLazyAtom kXMLTypeElement{"element"};
inline const CLazyAtom kXMLTypeText{"text"};
inline const CLazyAtom kXMLTypeProcessing{"processing"};

/// The atoms of the keys and types, looked up once for a walk over many records: a CLazyAtom
/// asks the host for its text again on every use.
struct CXMLKeyAtoms {
    QsAtom type, name, nameSpace, attr, children, nsDict, text, encoded;
    QsAtom element, textType, processing;
    /// The atoms of the host now in place.
    static CXMLKeyAtoms current();
};

/// The entries of one record, found in one pass over it; null for those it lacks. Pointers into
/// the record, good while the record is not changed.
struct CXMLEntries {
    CAgg* type = nullptr;
    CAgg* name = nullptr;
    CAgg* nameSpace = nullptr;
    CAgg* attr = nullptr;
    CAgg* children = nullptr;
    CAgg* nsDict = nullptr;
    CAgg* text = nullptr;
    CAgg* encoded = nullptr;

    /// The entries of a record, whichever kind of map it is; none for any other value.
    static CXMLEntries of(CAgg& record, const CXMLKeyAtoms& keys);
    /// The type atom; the null atom without one. A type of another kind is read from a copy, so
    /// that the record keeps it as it is.
    QsAtom typeAtom() const;
    /// The children, when they are a vector; null otherwise.
    CAgg::CAggVector* childList() const;
};

/// A local name and a namespace (a URI or a prefix, as the producer has it).
struct QName {
    CEStr name;
    CEStr nameSpace;
};

/// A view on one element record: it reads and writes the record it was made with. A reference
/// into the record's children, like any reference into a vector, is lost when a child is
/// appended.
class CXMLElement {
public:
    explicit CXMLElement(CAgg& record) : m_record(record) {}
    /// A view that takes the atoms of the keys from keys rather than from the host at each use,
    /// for a walk that makes or reads many records. keys must outlive the view.
    CXMLElement(CAgg& record, const CXMLKeyAtoms& keys) : m_record(record), m_keys(&keys) {}

    /// The record under view.
    CAgg& record() const { return m_record; }

    /// The node's type atom; the null atom when it has none.
    QsAtom getType() const;
    void setType(QsAtom type) const;
    bool isElement() const { return getType() == atom(&CXMLKeyAtoms::element, kXMLTypeElement); }
    bool isText() const { return getType() == atom(&CXMLKeyAtoms::textType, kXMLTypeText); }

    /// The local name (or, for a record built for writing, the name as it will be written).
    CEStr getName() const;
    void setName(const char* name) const;
    void setName(const _EStrRec* name) const;
    /// The namespace URI; empty when the element has none.
    CEStr getNameSpace() const;
    void setNameSpace(const char* nameSpace) const;
    void setNameSpace(const _EStrRec* nameSpace) const;
    /// The local name and namespace URI.
    QName getQName() const;

    /// Whether the attribute is there; never adds anything.
    bool hasAttribute(const char* key) const;
    /// The attribute's value; empty when it is not there.
    CEStr getAttribute(const char* key) const;
    /// The same for a key made once by the caller, looked up without making anything.
    CEStr getAttribute(const _EStrRec* key) const;
    /// The attribute's value as it is held, or null when it is not there; never adds anything,
    /// and attributes shared with other elements stay shared.
    const CAgg* findAttribute(const _EStrRec* key) const;
    void setAttribute(const char* key, const char* value) const;
    void setAttribute(const _EStrRec* key, const _EStrRec* value) const;
    /// The same with the value given as a string value, taken over.
    void setAttribute(const _EStrRec* key, CAgg value) const;
    /// The attribute map, made if missing. It is the element's own: attributes it shared are
    /// copied first.
    CAgg& attributes() const;
    /// Gives the element the attributes of a map. An element without attributes takes a copy
    /// of the map, which shares the map's entries when the map shares them (CAgg::shareMap), so
    /// that many elements with the same attributes hold them once; an element with attributes
    /// of its own has the entries set into them.
    void shareAttributes(const CAgg& attributes) const;

    /// The children, made an empty vector if missing.
    CAgg::CAggVector& children() const;
    /// The number of children; 0 without any, and nothing is added.
    long childCount() const;
    /// Appends an element with that name and no children yet; returns the new record.
    CAgg& appendElement(const char* name) const;
    /// Appends an element whose name is still to be set.
    CAgg& appendElement() const;
    CAgg& appendElement(const _EStrRec* name) const;
    /// Appends a text node holding the value, taken over (so that a stream keeps one owner);
    /// encoded says whether the serialiser escapes it.
    CAgg& appendText(CAgg text, bool encoded) const;
    /// Appends a processing instruction with that target.
    CAgg& appendProcessing(const char* target) const;

    /// The text of the direct text children, joined in order; text inside child elements is
    /// not included, and a stream value is left unread.
    CEStr getValue() const;

private:
    /// The atom of a key: from the view's atoms when it has them, else from the host.
    QsAtom atom(QsAtom CXMLKeyAtoms::*member, const CLazyAtom& key) const {
        return m_keys ? m_keys->*member : key.get();
    }
    CAgg newRecord(QsAtom CXMLKeyAtoms::*member, const CLazyAtom& type) const;

    CAgg& m_record;
    const CXMLKeyAtoms* m_keys = nullptr;
};
