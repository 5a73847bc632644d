// The feed reader: a parsed RSS, RDF or Atom document reduced to the one feed record that the
// subscription engine works on.
//
// The feed record is an atom-keyed CAgg map. Feed level: Title, Link (Atom only), Description,
// ModDate (seconds since 1970, GMT), TTL, Image (Title, Link, URL, Extension), Items, Extension,
// Author (Atom only). Item level: Title, Link, Description, Hash (the MD5 of Description), Guid,
// ModDate, Author, Comments, Extension. A key is written only when its source element occurs;
// an Extension map is keyed by namespace URI, ":" and local name. A document that is not a feed,
// or a feed with nothing readable in it, gives an unset record.
//
// The reader keeps a number of behaviours that look like slips but that stored feeds and feed
// scripts depend on; each is marked where it is kept.
#pragma once

#include "values/CAgg.h"
#include "values/EStr.h"
#include "xml/CXMLElement.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// The system's own XML namespace, for the extension elements of its feeds.
inline constexpr char kInboxNamespace[] = "http://ns.tessel.com/Vellum/RSS/Inbox/";

/// The RSS content module, whose "encoded" element carries an item's full text.
inline constexpr char kRSSContentNamespace[] = "http://purl.org/rss/1.0/modules/content/";

/// The keys of a feed record.
inline const CLazyAtom kRSSKeyTitle{"Title"};
inline const CLazyAtom kRSSKeyLink{"Link"};
inline const CLazyAtom kRSSKeyDescription{"Description"};
inline const CLazyAtom kRSSKeyModDate{"ModDate"};
inline const CLazyAtom kRSSKeyTTL{"TTL"};
inline const CLazyAtom kRSSKeyImage{"Image"};
inline const CLazyAtom kRSSKeyItems{"Items"};
inline const CLazyAtom kRSSKeyExtension{"Extension"};
inline const CLazyAtom kRSSKeyAuthor{"Author"};
inline const CLazyAtom kRSSKeyURL{"URL"};
inline const CLazyAtom kRSSKeyHash{"Hash"};
inline const CLazyAtom kRSSKeyGuid{"Guid"};
inline const CLazyAtom kRSSKeyComments{"Comments"};

/// The dialects a document is read in.
enum : int32_t {
    kRSSDialect09x = 0, // RSS 0.91 to 0.93, any other rss root, and Atom
    kRSSDialectRDF = 1, // RDF 1.0
    kRSSDialect20 = 2,  // RSS 2.0
};

class CRSSReader {
public:
    /// The feed record of a document's root element record; unset when the document is no
    /// feed or holds nothing readable. The tree is read where it is and left as it was.
    CAgg readMessage(CAgg& root);
    CAgg readMessage(CAgg&& root) { return readMessage(root); }
    /// The feed record of a document's bytes, the same as readMessage gives for the parsed
    /// document, made without keeping the whole element tree: the items of an RSS or RDF feed
    /// are read as they stream past. Unset, with parseError set, when the bytes are no
    /// well-formed document.
    CAgg readDocument(const char* bytes, size_t length);

    /// Fills the feed keys from a channel element.
    void readChannel(CAgg& element, CAgg& record);
    /// Fills an Image map from an image element.
    void readImage(CAgg& element, CAgg& image);
    /// Appends the record of an item element.
    void readItem(CAgg& element, std::vector<CAgg>& items);
    /// The slot becomes the element's text, or a map of its children, repeated simple children
    /// gathered in vectors.
    void parseExtension(CAgg& slot, CXMLElement& element);
    /// Seconds since 1970 GMT of a mail date, cut to 32 bits; 0 for an empty or unreadable
    /// text.
    long parseARPADate(EStr text);
    /// Fills the feed keys from an Atom feed element.
    void readAtom(CAgg& element, CAgg& record);
    /// The node as XML text without a declaration; the caller owns the result.
    EStr flattenXML(CAgg& node);
    /// Appends the record of an Atom entry element of the feed.
    void readAtomEntry(CAgg& feed, CAgg& element, std::vector<CAgg>& items);
    /// The slot gets the e-mail of an Atom person element.
    void readAtomPerson(CAgg& element, CAgg& author);
    /// The slot gets the href of an Atom link element, or the empty string.
    void readAtomLocation(CAgg& element, CAgg& link);

    // What readMessage leaves for its caller, read straight from the reader.

    int32_t dialect = kRSSDialect09x;
    /// Scratch: the record while it is read; readMessage hands it out and leaves it void.
    CAgg record;
    /// The non-empty comments of the items, in document order.
    std::vector<CEStr> comments;
    /// Minutes between updates: 120 unless the feed gives a positive ttl.
    int32_t ttl = 120;
    /// Bit n for hour n.
    uint32_t skipHours = 0;
    /// Bit n for day n, Sunday bit 0 to Saturday bit 6.
    uint32_t skipDays = 0;
    /// Why readDocument found no document; empty otherwise.
    CEStr parseError;

private:
    enum class Root { none, atom, rss };
    class DocumentParser;

    /// What the root element makes of the document; sets dialect for an RSS or RDF root.
    Root classify(CAgg& root);
    /// Reads one element child of an item into the item record.
    template <class Child> void readItemChild(CAgg& item, Child& child);
    void parseExtensionAt(CAgg& slot, CXMLElement& element, long depth);
};
