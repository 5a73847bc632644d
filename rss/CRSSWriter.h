// The feed writer: a feed record (rss/CRSSReader.h), whatever dialect it came in, as an RSS 2.0
// element tree, so that other plug-ins can take a stored feed in one shape.
//
// Channel: title, link, description, content:encoded (the description again), lastBuildDate,
// generator. Items: title, link, guid, author, description, content:encoded, pubDate; an item
// marked hidden in the system's namespace is left out. Extension, Image, Comments, TTL, Hash and
// the store's keys are not written. Text nodes are escaped on the way out.
#pragma once

#include "values/CAgg.h"
#include "values/QsStm.h"
#include "xml/CXMLElement.h"

#include <string>

class CRSSWriter {
public:
    /// A writer of a copy of the record.
    explicit CRSSWriter(const CAgg& record) : m_record(record) {}

    /// The rss root element of the record.
    CAgg writeMessage();
    /// The XML text of the record: the very bytes CAgg2XML makes of writeMessage's tree,
    /// declaration first, written straight from the record without building the tree.
    std::string writeText() { return textOf(m_record); }
    /// The same text of a record read where it is, without the copy a writer takes; the record
    /// is left as it was.
    static std::string textOf(CAgg& record);

    /// Appends an element holding the value as escaped text.
    void addElement(CXMLElement& parent, const char* name, CAgg& value);
    /// The same in a namespace: the element is named namespace, ":" and local name; a null or
    /// empty namespace is the form above.
    void addElement(CXMLElement& parent, const char* nameSpace, const char* name, CAgg& value);

private:
    /// Whether the item's Extension marks it hidden with a boolean true.
    static bool isHidden(CAgg& item);
    /// The date of a ModDate entry in the mail form.
    static CAgg dateText(CAgg& modDate);

    CAgg m_record;
};

/// The XML text of a stored feed record (writeText), as a read stream the caller owns and
/// closes: the road by which another plug-in takes a feed. Null for an unset record or when
/// writing fails.
QsStm ConvertRecordToStream(const CAgg& record);
