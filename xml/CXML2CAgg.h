// The parser that builds an element record tree (xml/CXMLElement.h) from a document.
//
// Expat runs in namespace mode with the NUL separator, so a name reaches the handlers as URI
// and local name run together; the split is made against the declarations in scope. Parsing
// fails, with the 0 result of parse and a message from getErrorString, on malformed XML, an
// encoding that Expat cannot read, entity expansion past Expat's amplification limits, and
// nesting deeper than kMaxDepth, and, for a parser given a budget, a tree whose estimated size
// passes it. The partly built tree is then left in the root.
//
// Elements of the same attributes hold copies of one attribute map that share its entries, as
// every element's nsDict shares the dictionary's (CAgg::shareMap): reading them keeps them
// shared, and the first write to one gives that element entries of its own.
#pragma once

#include "xml/CXMLElement.h"
#include "xml/CXMLParser.h"
#include "xml/XMLString.h"

#include <array>
#include <deque>
#include <string>

class CXML2CAgg : public CXMLParser {
public:
    CXML2CAgg();

    using CXMLParser::parse;
    /// Feeds a chunk; 0 when the document is found bad. Finish with (nullptr, 0, 1).
    int parse(const char* data, int len, int isFinal);
    /// Feeds a whole stream; 0 when the document is found bad.
    int parse(QsStm stream);

    /// The document: the root element's record.
    CAgg& getRoot() { return m_root; }

    /// The message of a failed parse: that of an unknown encoding, else the general one; empty
    /// while nothing has failed.
    CEStr getErrorString() override;

    /// Deepest nesting of elements accepted. A tree is copied and compared by recursion, so a
    /// deeper one could run the stack out where it is used.
    static constexpr long kMaxDepth = 1000;

    /// Bounds the memory of the tree: once the estimate of what the tree holds (treeBytes)
    /// passes `bytes`, the parse stops, as for a malformed document, and treeOverBudget is set.
    /// 0, the default, sets no bound.
    void setTreeBudget(long long bytes) { m_treeBudget = bytes; }
    /// An estimate of the heap the tree built so far holds: its records, maps, vectors and
    /// strings, counted from their sizes as they are made. Elements opened by openUnbuilt are
    /// not counted, nor what a subclass builds for itself.
    long long treeBytes() const { return m_treeBytes; }
    /// Whether the parse stopped because the tree passed its budget.
    bool treeOverBudget() const { return m_overBudget; }

    /// Whether the document named an encoding that could not be processed.
    bool hasUnknownEncoding() const { return m_unknownEncoding != 0; }
    /// The message a handler set (that of an unknown encoding), or null.
    const CEStr& ownErrorString() const { return m_errorString; }

    /// Makes the value the string of length bytes of Expat's text, as every string of the tree
    /// is made: PDFDocEncoding when they are all ASCII, else UCS.
    static void setText(CAgg& value, const XML_Char* text, size_t length);

protected:
    void startElementHandler(const XML_Char* name, const XML_Char** atts) override;
    void endElementHandler(const XML_Char* name) override;
    void cDataHandler(const XML_Char* text, int len) override;
    void startNamespaceDeclHandler(const XML_Char* prefix, const XML_Char* uri) override;
    void endNamespaceDeclHandler(const XML_Char* prefix) override;
    int unknownEncodingHandler(const XML_Char* name, XML_Encoding* info) override;

    // For a subclass that reads some elements as they stream past instead of keeping them.

    /// Opens an element of which no record is made. It ends its parent's text run and counts
    /// towards kMaxDepth as a built one does; the elements started inside it are appended to
    /// children, which must outlive the element, or, with null, must not reach this class at
    /// all, nor must text inside it. False, with the parse stopped, when it is too deep.
    /// endElementHandler closes it.
    bool openUnbuilt(CAgg::CAggVector* children);
    /// The elements and text of the innermost open element, opened by openUnbuilt, go into
    /// children from now on, as they would into those of a built element.
    void redirectChildren(CAgg::CAggVector* children);
    /// The record of the innermost open element; null for one opened by openUnbuilt or when
    /// none is open.
    CAgg* openRecord() const { return m_stack.empty() ? nullptr : m_stack.back().record; }
    /// How many elements are open.
    long depth() const { return m_depth; }

private:
    /// An open element: its record, its children, and whether the last of them is a text node.
    struct Open {
        CAgg* record;
        CAgg::CAggVector* children;
        bool lastIsText;
    };
    /// The atoms of the record, looked up once.
    struct Keys {
        QsAtom type, name, nameSpace, attr, nsDict, children, textKey, element, text;
    };
    /// The entries of an element's record.
    enum FieldIndex {
        kTypeField,
        kNameField,
        kNameSpaceField,
        kAttrField,
        kChildrenField,
        kNSDictField,
        kFieldCount
    };
    struct Field {
        QsAtom key;
        FieldIndex index;
    };

    void flushText();
    /// Counts bytes more of tree; past the budget, stops the parse.
    void account(long long bytes);
    /// Makes attr the attribute map of an element of those attributes (Expat's list of name
    /// and value pairs, at least one). A set of attributes met on one of the last elements is
    /// given as a copy of the map made for it, which shares that map's entries; bytes grows by
    /// what a map made here holds.
    void setAttributes(CAgg& attr, const XML_Char** atts, long long& bytes);
    /// Puts the attributes into a map; returns what they hold, for the estimate.
    long long fillAttributes(CAgg::CAggMap& attr, const XML_Char** atts);

    long m_depth = 0;
    CAgg m_root;
    std::deque<Open> m_stack;
    CAgg m_pendingNSDict;
    CEStr m_errorString;
    uint16_t m_unknownEncoding = 0;
    // The character data of the run now open, held back until the run ends so that a run of
    // many chunks makes one string.
    std::string m_text;
    bool m_textOpen = false;
    long long m_treeBytes = 0;
    long long m_treeBudget = 0;
    bool m_overBudget = false;
    // The key of the attribute in hand, kept to reuse its buffer.
    XMLString m_key;
    /// A set of attributes met lately, as Expat gave them (each name and value followed by a
    /// NUL), and the map of it that the elements with that set share.
    struct AttributeSet {
        std::string raw;
        CAgg map;
    };
    static constexpr size_t kAttributeSets = 16;
    // A set longer than this is given a map of its own, and not kept.
    static constexpr size_t kMaxSharedAttributeBytes = 512;
    // After this many new sets in a row, the next kUnsharedElements elements with attributes
    // are given maps of their own at once.
    static constexpr long kNewSetsBeforeUnshared = 32;
    static constexpr long kUnsharedElements = 1024;
    // The sets met lately, the ones met most first.
    std::array<AttributeSet, kAttributeSets> m_attributeSets;
    size_t m_attributeSetCount = 0;
    long m_newAttributeSets = 0;
    long m_unsharedAttributes = 0;
    // The declarations in scope the sets were read under: a change can split names otherwise.
    unsigned long m_attributeScope = 0;
    // The attributes of the element in hand, as the sets are kept.
    std::string m_rawAttributes;
    // The empty map every element without attributes shares.
    CAgg m_noAttributes;
    Keys m_keys;
    // The entries of an element's record in the order of their keys.
    std::array<Field, kFieldCount> m_fields;
};
