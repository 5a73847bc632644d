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

#include <deque>
#include <memory>
#include <string>

class CAgg2XML {
public:
    /// A serialiser of a copy of the document.
    explicit CAgg2XML(CAgg& document, bool withDeclaration = true);
    /// A serialiser that takes the document over, for a caller that has no further use for it.
    explicit CAgg2XML(CAgg&& document, bool withDeclaration = true);
    CAgg2XML(const CAgg2XML&) = delete;
    CAgg2XML& operator=(const CAgg2XML&) = delete;

    /// Up to count bytes of the text into buffer; 0 once everything has been delivered. A call
    /// may deliver fewer bytes than asked for while more remain.
    long readProc(char* buffer, long count);

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
    /// The entries of a node's record, found in one pass over it; null for those it lacks.
    struct Entries {
        CAgg* type = nullptr;
        CAgg* name = nullptr;
        CAgg* nameSpace = nullptr;
        CAgg* attr = nullptr;
        CAgg* children = nullptr;
        CAgg* nsDict = nullptr;
        CAgg* text = nullptr;
        CAgg* encoded = nullptr;
    };
    /// Where a node stands in the walk: its state, the index of its next child, and its
    /// entries, looked up when it is first seen.
    struct State {
        long state = 0;
        long children = 0;
        bool seen = false;
        QsAtom type = kQsNullAtom;
        CAgg::CAggVector* list = nullptr;
        Entries entries;
    };
    /// A qualified name taken apart: the local name starts at character `local`, and `ns` is
    /// the text before the last ":", or null when there is none or it is a prefix in scope.
    struct QNameSplit {
        long local;
        const _EStrRec* ns;
    };
    /// Prefix to URI. Scopes share a map until one of them changes it.
    using Scope = std::shared_ptr<CAgg::CAggMap>;

    bool serializeNodes();
    bool serializeElement();
    bool serializeValue();
    void serializePI();
    Entries entriesOf(CAgg& node) const;
    QNameSplit getQName(const _EStrRec* text);
    void getTagName(CAgg& node, Entries& entries);
    void declare(CAgg& node, Entries& entries, const _EStrRec* prefix, const _EStrRec* ns);
    void writeTag(const _EStrRec* prefix, const _EStrRec* name, long local);
    void getTagAttr(Entries& entries);
    void doOpenTag(CAgg& node, Entries& entries);
    void doCloseTag(CAgg& node, Entries& entries);
    void doEmptyTag(CAgg& node, Entries& entries);
    void pushNSScope(Entries& entries);
    void popNSScope();
    CAgg::CAggMap& topScope();
    CAgg::CAggMap& writableTopScope();
    void write(const _EStrRec* text, bool escape);
    void write(const char* text, bool escape);
    void writeStreamBlock(const char* bytes, long count, bool escape);

    /// The atoms of the record keys and types, looked up once.
    struct Keys {
        QsAtom type, name, nameSpace, attr, children, nsDict, text, encoded;
        QsAtom element, textType, processing;
    };

    std::string m_buffer;
    long m_offset = -1;
    CAgg m_document;
    std::deque<CAgg*> m_nodes;
    std::deque<State> m_states;
    std::deque<Scope> m_scopes;
    uint16_t m_finished = 0;
    uint16_t m_wroteDeclaration = 0;
    long m_lineBreaks = 0;
    // Off for a fragment, such as one node of a feed flattened into text.
    bool m_withDeclaration;
    Keys m_keys;
    // The namespace part of the name in hand, kept to reuse its buffer.
    CEStr m_nsPart;
    CEStr m_empty;
    // The prefix of a namespace that neither the scope nor the node's nsDict knows.
    CEStr m_defaultPrefix;
};
