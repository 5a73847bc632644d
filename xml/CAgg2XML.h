// The pull serialiser: an element record tree (xml/CXMLElement.h) as XML text, made only as
// far as the reader has asked for.
//
// The walk is an explicit state machine over two stacks, the open nodes and their states, so
// that nothing but the reader decides when serialisation advances and no depth of tree becomes
// depth of the C++ stack. The object is offered as a read stream whose close destroys it.
#pragma once

#include "values/CAgg.h"
#include "values/QsStm.h"
#include "xml/CXMLElement.h"

#include <string>
#include <vector>

class CAgg2XML {
public:
    /// A serialiser of a copy of the document.
    explicit CAgg2XML(CAgg& document, bool withDeclaration = true);
    /// A serialiser that takes the document over, for a caller that has no further use for it.
    explicit CAgg2XML(CAgg&& document, bool withDeclaration = true);
    CAgg2XML(const CAgg2XML&) = delete;
    CAgg2XML& operator=(const CAgg2XML&) = delete;

    /// Up to count bytes of the text into buffer; 0 once everything has been delivered. A call
    /// may deliver fewer bytes than asked for while more remain. -1, from then on, once the
    /// tree has turned out to hold an element or attribute name that is not an XML name: such
    /// a name is never written, and what was made but not yet read is dropped with it.
    long readProc(char* buffer, long count);
    /// Whether the tree held a name that is not an XML name.
    bool failed() const { return m_failed; }
    /// What the failure was, with the name; empty while there is none.
    const std::string& error() const { return m_error; }

    /// The read callback of the stream: readProc of the serialiser in data.
    static long ReadProc(char* buffer, long count, void* data);
    /// The close callback of the stream: destroys the serialiser in data.
    static void CloseProc(void* data);
    /// The procedures by which a serialiser is offered as a read stream.
    struct StreamHandler {
        QsStmReadProc read;
        QsStmCloseProc close;
    };
    static const StreamHandler sm_streamHandler;

    /// A read stream of the document's text. The stream owns a serialiser of a copy of the
    /// document and destroys it when it is closed.
    static QsStm openStream(CAgg& document, bool withDeclaration = true);
    static QsStm openStream(CAgg&& document, bool withDeclaration = true);

private:
    /// An open tag as written, kept for its close tag when the name had no ":" of its own:
    /// the close tag then finds the same prefix again, so it need not look for it.
    struct Tag {
        bool kept = false;
        const _EStrRec* prefix = nullptr; // null or empty for none
        const _EStrRec* name = nullptr;
    };
    /// Where a node stands in the walk: its state, the index of its next child, and its
    /// entries, looked up when it is first seen.
    struct State {
        long state = 0;
        long children = 0;
        bool seen = false;
        QsAtom type = kQsNullAtom;
        CAgg::CAggVector* list = nullptr;
        CXMLEntries entries;
        Tag tag;
    };
    /// A qualified name taken apart: the local name starts at character `local`, and `ns` is
    /// the text before the last ":", or null when there is none or it is a prefix in scope.
    struct QNameSplit {
        long local;
        const _EStrRec* ns;
        bool colon; // whether the text has a ":" at all
    };
    /// One prefix bound to a URI. The bindings of all open scopes lie in one stack, innermost
    /// last; a binding is hidden while a later one binds the same prefix.
    struct Binding {
        CEStr prefix;
        CEStr uri;
        long hides = -1; // the index of the binding this one hides, or -1
        long hiddenBy = 0;
    };

    bool serializeNodes();
    bool serializeElement();
    bool serializeValue();
    void serializePI();
    QNameSplit getQName(const _EStrRec* text);
    void getTagName(CXMLEntries& entries, Tag* keep = nullptr);
    void declare(CXMLEntries& entries, const _EStrRec* prefix, const _EStrRec* ns);
    void writeTag(const _EStrRec* prefix, const _EStrRec* name, long local);
    /// The attributes of a tag; those of an element may be keyed by URI (see isURIKeyed).
    void getTagAttr(CXMLEntries& entries, bool element);
    /// Whether what was written from start on is a key of the form URI, ":", local name whose
    /// URI holds nothing that begins markup.
    bool isURIKeyed(size_t start) const;
    /// The name of a tag, checked to be an XML name.
    void writeTagName(CXMLEntries& entries, const char* kind, Tag* keep = nullptr);
    /// Fails the serialiser unless what was written from mark on is an XML name.
    void checkName(size_t mark, const char* kind);
    void doOpenTag(CXMLEntries& entries, Tag& tag);
    void doCloseTag(CXMLEntries& entries, const Tag& tag);
    void doEmptyTag(CXMLEntries& entries);
    void pushNSScope(CXMLEntries& entries);
    void popNSScope();
    /// The binding of the prefix in force in the top scope, or -1.
    long findPrefix(const _EStrRec* prefix) const;
    /// The prefix in force for the URI, the first in key order when there are several, or null.
    const _EStrRec* findURI(const _EStrRec* uri) const;
    /// Binds the prefix to the URI in the top scope, unless it is bound to it already.
    void bind(const _EStrRec* prefix, const _EStrRec* uri);
    void write(const _EStrRec* text, bool escape);
    void write(const char* text, bool escape);
    void writeStreamBlock(const char* bytes, long count, bool escape);

    std::string m_buffer;
    long m_offset = -1;
    CAgg m_document;
    std::vector<CAgg*> m_nodes;
    std::vector<State> m_states;
    std::vector<Binding> m_bindings;
    // Where each open scope's bindings begin.
    std::vector<size_t> m_scopeMarks;
    uint16_t m_finished = 0;
    uint16_t m_wroteDeclaration = 0;
    long m_lineBreaks = 0;
    // Off for a fragment, such as one node of a feed flattened into text.
    bool m_withDeclaration;
    // The atoms of the record keys and types, looked up once.
    CXMLKeyAtoms m_keys;
    // The namespace part of the name in hand, kept to reuse its buffer.
    CEStr m_nsPart;
    CEStr m_empty;
    // The prefix of a namespace that neither the scope nor the node's nsDict knows, and the
    // attribute that declares it.
    CEStr m_defaultPrefix;
    CEStr m_defaultDeclaration;
    // The declaration getTagName has made for the tag in hand, until its attributes are out.
    bool m_declaring = false;
    CEStr m_declarationKey;
    CEStr m_declarationValue;
    bool m_failed = false;
    std::string m_error;
};
