// The reader of document style. Three forms of result:
// - plain values: an element's value under its name (namespace, ":", name); its text as a
//   string; a repeated element as a vector under its name;
// - as XML (setAsXML): each body element as a read stream of its XML text, declaration first;
// - as XML message (setXMLMessage): records in the shape that CLiteralSOAPWriter takes
//   (soapName, soapQName, soapAttributes, soapValue), so that a reply can be sent on.
#pragma once

#include "soap/CSOAPReader.h"

class CLiteralSOAPReader final : public CSOAPReader {
public:
    using CSOAPReader::CSOAPReader;

    void processNode(CAgg& result, CAgg& node) override;
    CAgg& getCurrentNode(CAgg& parent, CAgg& node) override;

    /// Reads an element and what it holds into the parent's value.
    void processSubNode(CAgg& parent, CAgg& node);

private:
    /// An element of up to this many children keeps its leaves, once read, until it is freed
    /// itself.
    static constexpr size_t kLeavesFreedWithParent = 32;

    /// processSubNode for an element whose entries are known; true when the element held
    /// elements.
    bool readSubNode(CAgg& parent, CAgg& node, const CXMLEntries& entries);
    /// getCurrentNode for an element whose entries are known.
    CAgg& currentNode(CAgg& parent, CAgg& node, const CXMLEntries& entries);
    /// Where a repeated element's value goes, entry being the value under its name: entry
    /// becomes an array of the values met so far if it is not one yet.
    static CAgg& repeatedEntry(CAgg& entry);
    /// A name or namespace of an element as the message form gives it: its text, as UTF-8
    /// would make it; empty for none.
    static CAgg nameText(const CAgg* value);
};
