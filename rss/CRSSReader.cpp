#include "rss/CRSSReader.h"

#include "values/CAggWalk.h"
#include "values/MD5.h"
#include "values/miRFC822Date.h"
#include "xml/CAgg2XML.h"
#include "xml/CXML2CAgg.h"
#include "xml/CXMLElement.h"

#include <climits>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>

namespace {

/// The names the reader compares with, made once for the life of the process.
struct Names {
    CEStr atomNS{"http://purl.org/atom/ns#", kEStrPDFDoc};
    CEStr rss1NS{"http://purl.org/rss/1.0/", kEStrPDFDoc};
    CEStr contentNS{kRSSContentNamespace, kEStrPDFDoc};
    CEStr xhtmlNS{"http://www.w3.org/1999/xhtml", kEStrPDFDoc};

    CEStr feed{"feed", kEStrPDFDoc};
    CEStr rss{"rss", kEStrPDFDoc};
    CEStr rdf{"RDF", kEStrPDFDoc};
    CEStr channel{"channel", kEStrPDFDoc};
    CEStr title{"title", kEStrPDFDoc};
    CEStr link{"link", kEStrPDFDoc};
    CEStr description{"description", kEStrPDFDoc};
    CEStr lastBuildDate{"lastBuildDate", kEStrPDFDoc};
    CEStr ttl{"ttl", kEStrPDFDoc};
    CEStr image{"image", kEStrPDFDoc};
    CEStr url{"url", kEStrPDFDoc};
    CEStr item{"item", kEStrPDFDoc};
    CEStr skipDays{"skipDays", kEStrPDFDoc};
    CEStr encoded{"encoded", kEStrPDFDoc};
    CEStr body{"body", kEStrPDFDoc};
    CEStr guid{"guid", kEStrPDFDoc};
    CEStr pubDate{"pubDate", kEStrPDFDoc};
    CEStr author{"author", kEStrPDFDoc};
    CEStr comments{"comments", kEStrPDFDoc};
    CEStr tagline{"tagline", kEStrPDFDoc};
    CEStr modified{"modified", kEStrPDFDoc};
    CEStr entry{"entry", kEStrPDFDoc};
    CEStr content{"content", kEStrPDFDoc};
    CEStr summary{"summary", kEStrPDFDoc};
    CEStr id{"id", kEStrPDFDoc};
    CEStr name{"name", kEStrPDFDoc};
    CEStr email{"email", kEStrPDFDoc};
    CEStr weekdays[7] = {{"Sunday", kEStrPDFDoc},   {"Monday", kEStrPDFDoc},
                         {"Tuesday", kEStrPDFDoc},  {"Wednesday", kEStrPDFDoc},
                         {"Thursday", kEStrPDFDoc}, {"Friday", kEStrPDFDoc},
                         {"Saturday", kEStrPDFDoc}};
    CEStr empty{"", kEStrPDFDoc};
};

const Names& names() {
    static const Names kNames;
    return kNames;
}

bool same(const _EStrRec* a, const _EStrRec* b) {
    return EStrCmp(a, b) == 0;
}

bool isEmpty(const _EStrRec* s) {
    return !s || EStrGetCharLen(s) == 0;
}

/// The atoms of the element records and of an item's record, looked up once for each call
/// from outside rather than at every node: looking up a CLazyAtom costs a call into the core
/// table and a comparison of its text.
struct Keys : CXMLKeyAtoms {
    QsAtom title, link, description, hash, guid, modDate, author, comments, extension;
    void refresh() {
        static_cast<CXMLKeyAtoms&>(*this) = CXMLKeyAtoms::current();
        title = kRSSKeyTitle;
        link = kRSSKeyLink;
        description = kRSSKeyDescription;
        hash = kRSSKeyHash;
        guid = kRSSKeyGuid;
        modDate = kRSSKeyModDate;
        author = kRSSKeyAuthor;
        comments = kRSSKeyComments;
        extension = kRSSKeyExtension;
    }
};

Keys gKeys;

/// The entry of a record; null when it has none. Never adds anything.
CAgg* entryOf(CAgg& node, QsAtom key) {
    if (node.getType() == CAgg::eQsAtomMap) {
        CAggAtomMap& map = node.toQsAtomMap();
        auto at = map.find(key);
        return at == map.end() ? nullptr : &at->second;
    }
    return node.has(key) ? &node[key] : nullptr;
}

/// The node's type atom; the null atom when it has none.
QsAtom typeOf(CAgg& node) {
    return CXMLEntries::of(node, gKeys).typeAtom();
}

/// The element's child records; null when it has none.
CAgg::CAggVector* childrenOf(CAgg& element) {
    return CXMLEntries::of(element, gKeys).childList();
}

/// The element's child records; an empty list when it has none.
CAgg::CAggVector& childList(CAgg& element) {
    static CAgg::CAggVector none;
    CAgg::CAggVector* children = childrenOf(element);
    return children ? *children : none;
}

/// The text of the element's direct text children, joined, as CXMLElement::getValue reads it,
/// made a string value. A single text run is copied once.
CAgg valueOf(CAgg& element) {
    CAgg* single = nullptr;
    CEStr joined;
    long runs = 0;
    for (CAgg& child : childList(element)) {
        if (typeOf(child) != gKeys.textType)
            continue;
        CAgg* text = entryOf(child, gKeys.text);
        if (!text || text->getType() == CAgg::eQsStm)
            continue; // reading would use the stream up
        if (++runs == 1 && text->getType() == CAgg::eEStr) {
            single = text;
            continue;
        }
        if (single) {
            joined = CEStr(single->toEStr());
            single = nullptr;
        }
        if (joined.isNull())
            joined = CEStr(names().empty);
        joined += CAggValueText(*text);
    }
    if (single)
        return CAgg(*single);
    return CAgg(joined.isNull() ? names().empty.get() : joined.get());
}

/// The local name and namespace of a child, read without copying when they are plain strings.
class Child {
public:
    static constexpr bool kHasRecord = true;

    explicit Child(CAgg& node) : view(node) {
        if (typeOf(node) != gKeys.element)
            return;
        element = true;
        name = textOf(node, gKeys.name, m_name);
        nameSpace = textOf(node, gKeys.nameSpace, m_nameSpace);
    }

    bool is(const CEStr& local) const { return same(name, local); }
    bool is(const CEStr& local, const CEStr& ns) const {
        return same(name, local) && same(nameSpace, ns);
    }
    bool hasNameSpace() const { return !isEmpty(nameSpace); }
    /// The key of the element in an Extension map: namespace, ":" and local name, or the local
    /// name alone.
    CEStr extensionKey() const {
        if (!hasNameSpace())
            return CEStr(name);
        CEStr key(nameSpace);
        key += CEStr(":", kEStrPDFDoc);
        key += CEStr(name);
        return key;
    }
    /// The element's text as a string value.
    CAgg value() const { return valueOf(view.record()); }

    CXMLElement view;
    bool element = false;
    const _EStrRec* name = names().empty;
    const _EStrRec* nameSpace = names().empty;

private:
    static const _EStrRec* textOf(CAgg& node, QsAtom key, CEStr& keep) {
        CAgg* value = entryOf(node, key);
        if (!value)
            return names().empty;
        if (value->getType() == CAgg::eEStr)
            return value->toEStr();
        keep = CAggValueText(*value);
        return keep;
    }

    CEStr m_name;
    CEStr m_nameSpace;
};

CAgg stringValue(const CEStr& text) {
    return CAgg(text.get());
}

void setDescription(CAgg& item, CAgg text) {
    item[gKeys.hash] = stringValue(makeMD5String(text.toEStr()));
    item[gKeys.description] = std::move(text);
}

/// The record's Description, read without changing its type; empty when absent.
CEStr descriptionOf(CAgg& record) {
    if (!record.has(kRSSKeyDescription))
        return CEStr(names().empty);
    return CAggValueText(record[kRSSKeyDescription]);
}

} // namespace

CRSSReader::Root CRSSReader::classify(CAgg& root) {
    const Names& n = names();
    Child top(root);
    if (top.is(n.feed, n.atomNS))
        return Root::atom;
    CEStr version = top.view.getAttribute("version");
    const char* v = EStrGetBytes(version);
    if (miStrcmp(v, "0.91") == 0 || miStrcmp(v, "0.92") == 0 || miStrcmp(v, "0.93") == 0)
        dialect = kRSSDialect09x;
    else if (miStrcmp(v, "1.0") == 0)
        dialect = kRSSDialectRDF;
    else if (miStrcmp(v, "2.0") == 0)
        dialect = kRSSDialect20;
    else if (top.is(n.rss))
        dialect = kRSSDialect09x;
    else if (top.is(n.rdf))
        dialect = kRSSDialectRDF;
    else
        return Root::none;
    return Root::rss;
}

CAgg CRSSReader::readMessage(CAgg& root) {
    gKeys.refresh();
    const Names& n = names();
    record = CAgg();
    Root kind = classify(root);
    if (kind == Root::atom) {
        readAtom(root, record);
        return std::move(record);
    }
    if (kind == Root::none)
        return CAgg();

    CAgg emptyChannel;
    CAgg* channel = &emptyChannel;
    if (CAgg::CAggVector* children = childrenOf(root)) {
        for (CAgg& node : *children) {
            Child child(node);
            if (child.element && child.is(n.channel)) {
                channel = &node;
                break;
            }
        }
    }
    readChannel(*channel, record);

    if (dialect == kRSSDialectRDF) {
        if (CAgg::CAggVector* children = childrenOf(root)) {
            for (CAgg& node : *children) {
                Child child(node);
                if (child.element && child.is(n.item))
                    readItem(node, record[kRSSKeyItems].toVector());
            }
        }
    }
    // The slot is scratch; the record is handed out rather than copied.
    return std::move(record);
}

void CRSSReader::readChannel(CAgg& element, CAgg& feed) {
    gKeys.refresh();
    const Names& n = names();
    CAgg::CAggVector* children = childrenOf(element);
    if (!children)
        return;
    for (CAgg& node : *children) {
        Child child(node);
        if (!child.element)
            continue;
        // In RDF every namespace enters, the RSS 1.0 one and any other alike.
        bool ladder = !child.hasNameSpace() || dialect == kRSSDialectRDF;
        if (ladder && child.is(n.title)) {
            feed[kRSSKeyTitle] = child.value();
        } else if (ladder && child.is(n.title)) {
            // Never reached, intended: a channel's link is not stored; the feed keeps no Link.
            feed[kRSSKeyLink] = child.value();
        } else if (ladder && child.is(n.description)) {
            // The first description wins; a later one is ignored.
            if (!feed.has(kRSSKeyDescription))
                feed[kRSSKeyDescription] = child.value();
        } else if (ladder && child.is(n.lastBuildDate)) {
            CAgg value = child.value();
            feed[kRSSKeyModDate] = CAgg(parseARPADate(value.toEStr()));
        } else if (ladder && child.is(n.ttl)) {
            CAgg& slot = feed[kRSSKeyTTL];
            slot = child.value();
            long minutes = slot.toQsInt32();
            if (minutes > 0)
                ttl = static_cast<int32_t>(minutes);
        } else if (ladder && child.is(n.image)) {
            readImage(node, feed[kRSSKeyImage]);
        } else if (ladder && child.is(n.ttl)) {
            // Never reached, intended: ttl is taken by the rung above.
            feed[kRSSKeyTTL] = child.value();
        } else if (ladder && dialect != kRSSDialectRDF && child.is(n.item)) {
            readItem(node, feed[kRSSKeyItems].toVector());
        } else if (ladder && dialect == kRSSDialect20 && child.is(n.skipDays)) {
            // The days are told by the children's names, <Monday/>; the text of <day> is not
            // read, so the customary <day>Monday</day> sets nothing.
            skipDays = 0;
            for (CAgg& dayNode : childList(node)) {
                Child day(dayNode);
                for (uint32_t bit = 0; day.element && bit < 7; ++bit) {
                    if (day.is(n.weekdays[bit]))
                        skipDays |= 1u << bit;
                }
            }
        } else if (ladder && dialect == kRSSDialect20 && child.is(n.skipDays)) {
            // Never reached, intended: the hours test names skipDays, so skipHours stays 0.
            for (CAgg& hourNode : childList(node)) {
                Child hour(hourNode);
                int value = hour.element ? miAtoi(EStrGetBytes(hour.name)) : 24;
                if (value >= 0 && value < 24)
                    skipHours |= 1u << value;
            }
        } else if (child.is(n.encoded, n.contentNS)) {
            // The content module overwrites whatever description came before.
            feed[kRSSKeyDescription] = child.value();
        } else if (dialect == kRSSDialect20 && child.hasNameSpace()) {
            parseExtension(feed[kRSSKeyExtension][child.extensionKey()], child.view);
        }
    }
}

void CRSSReader::readImage(CAgg& element, CAgg& image) {
    gKeys.refresh();
    const Names& n = names();
    CAgg::CAggVector* children = childrenOf(element);
    if (!children)
        return;
    for (CAgg& node : *children) {
        Child child(node);
        if (!child.element)
            continue;
        bool ladder =
            !child.hasNameSpace() || (dialect == kRSSDialectRDF && same(child.nameSpace, n.rss1NS));
        if (ladder && child.is(n.title))
            image[kRSSKeyTitle] = child.value();
        else if (ladder && child.is(n.link))
            image[kRSSKeyLink] = child.value();
        else if (ladder && child.is(n.url))
            image[kRSSKeyURL] = child.value();
        else if (dialect == kRSSDialect20 && child.hasNameSpace())
            parseExtension(image[kRSSKeyExtension][child.extensionKey()], child.view);
    }
}

void CRSSReader::readItem(CAgg& element, std::vector<CAgg>& items) {
    gKeys.refresh();
    CAgg item = CAgg::atomMapWithRoom(8);
    for (CAgg& node : childList(element)) {
        Child child(node);
        if (child.element)
            readItemChild(item, child);
    }
    // An item is kept even when nothing in it was read.
    items.push_back(std::move(item));
}

// Child is either an element record of the tree or an element read as it streamed past, which
// carries its text alone: the stream keeps the record of an element that the rungs below read
// as a tree (xhtml:body, and an RSS 2.0 extension with elements in it).
template <class Child> void CRSSReader::readItemChild(CAgg& item, Child& child) {
    const Names& n = names();
    bool ladder = !child.hasNameSpace() || dialect == kRSSDialectRDF;
    if (ladder && child.is(n.description)) {
        // The first description wins, an empty one too; content:encoded still overwrites.
        if (!item.has(gKeys.description))
            setDescription(item, child.value());
    } else if (ladder && dialect == kRSSDialect20 && child.is(n.guid)) {
        item[gKeys.guid] = child.value();
    } else if (ladder && child.is(n.title)) {
        item[gKeys.title] = child.value();
    } else if (ladder && child.is(n.link)) {
        item[gKeys.link] = child.value();
    } else if (ladder && child.is(n.pubDate)) {
        CAgg value = child.value();
        item[gKeys.modDate] = CAgg(parseARPADate(value.toEStr()));
    } else if (ladder && child.is(n.author)) {
        item[gKeys.author] = child.value();
    } else if (ladder && child.is(n.comments)) {
        CAgg value = child.value();
        if (!isEmpty(value.toEStr())) {
            comments.emplace_back(value.toEStr());
            item[gKeys.comments] = std::move(value);
        }
    } else if (child.is(n.encoded, n.contentNS)) {
        CAgg value = child.value();
        if (!isEmpty(value.toEStr()))
            setDescription(item, std::move(value));
    } else if (child.is(n.body, n.xhtmlNS)) {
        // Only a record comes here: the stream keeps every body as a tree.
        if constexpr (Child::kHasRecord) {
            CEStr text(names().empty);
            for (CAgg& part : childList(child.view.record()))
                text += CEStr::adopt(flattenXML(part));
            if (!isEmpty(text))
                setDescription(item, CAgg(text.get()));
        }
    } else if (dialect == kRSSDialect20 && child.hasNameSpace()) {
        CAgg& slot = item[gKeys.extension][child.extensionKey()];
        if constexpr (Child::kHasRecord) {
            parseExtension(slot, child.view);
        } else {
            // The stream keeps the tree of an extension with elements in it; one that streamed
            // past held none, and parseExtension would take its text, when there is any, and
            // nothing else.
            CAgg value = child.value();
            if (!isEmpty(value.toEStr()))
                slot = std::move(value);
        }
    }
}

void CRSSReader::parseExtension(CAgg& slot, CXMLElement& element) {
    gKeys.refresh();
    parseExtensionAt(slot, element, 0);
}

void CRSSReader::parseExtensionAt(CAgg& slot, CXMLElement& element, long depth) {
    CAgg value = valueOf(element.record());
    if (!isEmpty(value.toEStr())) {
        slot = std::move(value);
        return;
    }
    // A parsed tree is never deeper than this; a tree built by hand stops here.
    if (depth >= CXML2CAgg::kMaxDepth)
        return;
    CAgg::CAggVector* children = childrenOf(element.record());
    if (!children)
        return;
    for (CAgg& node : *children) {
        Child child(node);
        if (!child.element)
            continue;
        CAgg& entry = slot[child.extensionKey()];
        if (entry.getType() == CAgg::eVoid) {
            parseExtensionAt(entry, child.view, depth + 1);
            continue;
        }
        if (CAggIsString(entry)) {
            CAgg first(std::move(entry));
            entry = CAgg();
            entry.toVector().push_back(std::move(first));
        }
        if (entry.getType() == CAgg::eVector) {
            CAgg::CAggVector& list = entry.toVector();
            list.emplace_back();
            parseExtensionAt(list.back(), child.view, depth + 1);
        }
        // Anything else, such as a map an earlier child of that name built: the repeated
        // child is dropped.
    }
}

long CRSSReader::parseARPADate(EStr text) {
    if (isEmpty(text))
        return 0;
    std::string bytes = EStrToUTF8(text);
    miRFC822Time time;
    if (!ParseRFC822Date(bytes.data(), bytes.size(), &time))
        return 0;
    // Dates past 2038 wrap: the value only orders and dates articles.
    return static_cast<int32_t>(static_cast<uint32_t>(miRFC822TimeToSeconds(time)));
}

void CRSSReader::readAtom(CAgg& element, CAgg& feed) {
    gKeys.refresh();
    const Names& n = names();
    CAgg::CAggVector* children = childrenOf(element);
    if (!children)
        return;
    for (CAgg& node : *children) {
        Child child(node);
        // Elements in no namespace are not Atom's and not an extension's.
        if (!child.element || !child.hasNameSpace())
            continue;
        if (child.is(n.title, n.atomNS)) {
            feed[kRSSKeyTitle] = child.value();
        } else if (child.is(n.link, n.atomNS)) {
            // The feed's link is its text; the href attribute is read at entry level only.
            feed[kRSSKeyLink] = child.value();
        } else if (child.is(n.tagline, n.atomNS)) {
            feed[kRSSKeyDescription] = child.value();
        } else if (child.is(n.modified, n.atomNS)) {
            CAgg value = child.value();
            feed[kRSSKeyModDate] = CAgg(parseARPADate(value.toEStr()));
        } else if (child.is(n.author, n.atomNS)) {
            readAtomPerson(node, feed[kRSSKeyAuthor]);
        } else if (child.is(n.entry, n.atomNS)) {
            readAtomEntry(feed, node, feed[kRSSKeyItems].toVector());
        } else {
            parseExtension(feed[kRSSKeyExtension][child.extensionKey()], child.view);
        }
    }
}

EStr CRSSReader::flattenXML(CAgg& node) {
    CAgg2XML serialiser(node, false);
    std::string text;
    char chunk[4096];
    for (long count; (count = serialiser.readProc(chunk, sizeof chunk)) > 0;)
        text.append(chunk, static_cast<size_t>(count));
    // The serialiser writes UTF-8; the string keeps the characters, in PDFDocEncoding when they
    // are all ASCII.
    return EStrFromUTF8(text).release();
}

void CRSSReader::readAtomEntry(CAgg& feed, CAgg& element, std::vector<CAgg>& items) {
    gKeys.refresh();
    const Names& n = names();
    CAgg entry = CAgg::atomMapWithRoom(8);
    for (CAgg& node : childList(element)) {
        // Before each child the feed's author is put back, so the entry's own author survives
        // only as its last child: elsewhere the feed's author wins, intended.
        if (feed.has(kRSSKeyAuthor))
            entry[kRSSKeyAuthor] = feed[kRSSKeyAuthor];
        else if (entry.has(kRSSKeyAuthor))
            entry.remove(kRSSKeyAuthor);

        Child child(node);
        if (!child.element)
            continue;
        bool summary = child.is(n.summary, n.atomNS);
        if (summary || child.is(n.content, n.atomNS)) {
            // content beats a summary that follows it; a content after a summary still runs.
            if (summary && !isEmpty(descriptionOf(entry)))
                continue;
            CEStr mode = child.view.getAttribute("mode");
            CEStr text = descriptionOf(entry);
            if (isEmpty(mode) || miStrcmp(EStrGetBytes(mode), "xml") == 0) {
                // Repeated content elements add up.
                for (CAgg& part : childList(node))
                    text += CEStr::adopt(flattenXML(part));
            } else {
                // Escaped and base64 content alike are taken as they stand.
                text = CEStr(child.value().toEStr());
            }
            setDescription(entry, CAgg(text.get()));
        } else if (child.is(n.id, n.atomNS)) {
            entry[kRSSKeyGuid] = child.value();
        } else if (child.is(n.title, n.atomNS)) {
            entry[kRSSKeyTitle] = child.value();
        } else if (child.is(n.link, n.atomNS)) {
            // The last link wins, whatever its rel or type.
            readAtomLocation(node, entry[kRSSKeyLink]);
        } else if (child.is(n.modified, n.atomNS)) {
            CAgg value = child.value();
            entry[kRSSKeyModDate] = CAgg(parseARPADate(value.toEStr()));
        } else if (child.is(n.author, n.atomNS)) {
            readAtomPerson(node, entry[kRSSKeyAuthor]);
        } else if (child.hasNameSpace()) {
            parseExtension(entry[kRSSKeyExtension][child.extensionKey()], child.view);
        }
    }
    items.push_back(std::move(entry));
}

void CRSSReader::readAtomPerson(CAgg& element, CAgg& author) {
    gKeys.refresh();
    const Names& n = names();
    CAgg::CAggVector* children = childrenOf(element);
    if (!children)
        return;
    for (CAgg& node : *children) {
        Child child(node);
        if (!child.element)
            continue;
        // A person's name and URL are passed over: Author is the e-mail alone, intended.
        if (child.is(n.name, n.atomNS))
            continue;
        if (child.is(n.url, n.atomNS))
            continue;
        if (child.is(n.email, n.atomNS))
            author = child.value();
    }
}

void CRSSReader::readAtomLocation(CAgg& element, CAgg& link) {
    CXMLElement view(element);
    link = stringValue(view.getAttribute("href"));
}

// Reading as the document streams past.

namespace {

/// The bytes of one of the reader's names, which are ASCII in PDFDocEncoding.
std::string_view bytesOf(const CEStr& name) {
    return {EStrGetBytes(name), static_cast<size_t>(EStrGetLen(name))};
}

/// An element child of an item read as it streamed past: its name, its namespace and the text
/// runs that would have been its text nodes.
class StreamedChild {
public:
    static constexpr bool kHasRecord = false;

    StreamedChild(std::string_view name, std::string_view nameSpace,
                  const std::vector<std::string>& runs, size_t runCount)
        : m_name(name), m_nameSpace(nameSpace), m_runs(runs), m_runCount(runCount) {}

    // The names compared with are ASCII, and the tree's strings of ASCII names are
    // PDFDocEncoding: they are equal exactly when their bytes are.
    bool is(const CEStr& local) const { return m_name == bytesOf(local); }
    bool is(const CEStr& local, const CEStr& ns) const {
        return is(local) && m_nameSpace == bytesOf(ns);
    }
    bool hasNameSpace() const { return !m_nameSpace.empty(); }
    /// The key Child::extensionKey gives for the record.
    CEStr extensionKey() const {
        CEStr name = XML_String2ESTR(m_name.data(), static_cast<long>(m_name.size()));
        if (!hasNameSpace())
            return name;
        CEStr key = XML_String2ESTR(m_nameSpace.data(), static_cast<long>(m_nameSpace.size()));
        key += CEStr(":", kEStrPDFDoc);
        key += name;
        return key;
    }
    /// The value valueOf gives for the record the tree would have held.
    CAgg value() const {
        if (m_runCount == 0)
            return CAgg(names().empty.get());
        CAgg first;
        CXML2CAgg::setText(first, m_runs[0].data(), m_runs[0].size());
        if (m_runCount == 1)
            return first;
        CEStr joined(first.toEStr());
        for (size_t i = 1; i < m_runCount; ++i) {
            CAgg run;
            CXML2CAgg::setText(run, m_runs[i].data(), m_runs[i].size());
            joined += CAggValueText(run);
        }
        return CAgg(joined.get());
    }

private:
    std::string_view m_name;
    std::string_view m_nameSpace;
    const std::vector<std::string>& m_runs;
    size_t m_runCount;
};

bool isBlank(const XML_Char* text, int len) {
    for (int i = 0; i < len; ++i) {
        if (text[i] != ' ' && text[i] != '\t' && text[i] != '\n')
            return false;
    }
    return true;
}

} // namespace

/// The tree parser, but for the items of the channel (of the root in RDF): each is read when it
/// closes and never kept. Of an item's children only those read as a tree are built, one at a
/// time; of the others the text is gathered as the tree's text nodes would have held it.
class CRSSReader::DocumentParser : public CXML2CAgg {
public:
    explicit DocumentParser(CRSSReader& reader) : m_reader(reader) {}

    /// The items read, in document order.
    std::vector<CAgg> items;

protected:
    void startElementHandler(const XML_Char* tag, const XML_Char** atts) override {
        if (m_itemDepth == 0) {
            if (startsItem(tag)) {
                if (openUnbuilt(&m_built)) {
                    m_itemDepth = depth();
                    m_item = CAgg::atomMapWithRoom(8);
                }
                return;
            }
            CXML2CAgg::startElementHandler(tag, atts);
            noteOpened();
            return;
        }
        if (m_treeDepth > 0) {
            CXML2CAgg::startElementHandler(tag, atts);
            return;
        }
        if (m_textDepth > 0) {
            if (m_extension && depth() == m_textDepth) {
                buildExtension();
                CXML2CAgg::startElementHandler(tag, atts);
                return;
            }
            // Deeper text is not the child's own; the element ends the run in hand.
            if (openUnbuilt(nullptr))
                m_lastIsText = false;
            return;
        }
        // A child of the item.
        const XMLString* uri = elementNamespace(tag);
        size_t uriLength = uri ? uri->size() : 0;
        m_name = tag + uriLength;
        m_nameSpace.assign(uri ? uri->data() : "", uriLength);
        if (needsTree()) {
            CXML2CAgg::startElementHandler(tag, atts);
            m_treeDepth = depth();
            return;
        }
        if (openUnbuilt(nullptr)) {
            m_textDepth = depth();
            m_runCount = 0;
            m_lastIsText = false;
            m_extension = isExtension();
        }
    }

    void endElementHandler(const XML_Char* tag) override {
        long closing = depth();
        if (m_itemDepth == 0) {
            if (closing == m_channelDepth)
                m_channelDepth = 0;
        } else if (closing == m_itemDepth) {
            m_itemDepth = 0;
            items.push_back(std::move(m_item));
            m_item = CAgg();
        } else if (closing == m_treeDepth) {
            m_treeDepth = 0;
            CXML2CAgg::endElementHandler(tag); // puts the last text into the record first
            Child child(m_built.back());
            if (child.element)
                m_reader.readItemChild(m_item, child);
            m_built.clear();
            return;
        } else if (closing == m_textDepth) {
            m_textDepth = 0;
            StreamedChild child(m_name, m_nameSpace, m_runs, m_runCount);
            m_reader.readItemChild(m_item, child);
        }
        CXML2CAgg::endElementHandler(tag);
    }

    void cDataHandler(const XML_Char* text, int len) override {
        if (m_itemDepth == 0 || m_treeDepth > 0) {
            CXML2CAgg::cDataHandler(text, len);
            return;
        }
        if (m_textDepth == 0 || depth() != m_textDepth || len <= 0)
            return;
        // The runs are cut as the tree cuts its text nodes: whitespace that would begin one is
        // dropped, and once one has begun every chunk joins it until an element starts.
        if (!m_lastIsText) {
            if (isBlank(text, len))
                return;
            if (m_runs.size() <= m_runCount)
                m_runs.emplace_back();
            m_runs[m_runCount++].clear();
            m_lastIsText = true;
        }
        m_runs[m_runCount - 1].append(text, static_cast<size_t>(len));
    }

private:
    /// Whether the element about to open is an item the reader reads: one in no namespace
    /// directly in the channel, or, in RDF, any directly in the root.
    bool startsItem(const XML_Char* tag) const {
        if (m_kind != Root::rss)
            return false;
        const XMLString* uri = elementNamespace(tag);
        size_t uriLength = uri ? uri->size() : 0;
        if (std::strcmp(tag + uriLength, "item") != 0)
            return false;
        if (m_reader.dialect == kRSSDialectRDF)
            return depth() == 1;
        return uriLength == 0 && m_channelDepth > 0 && depth() == m_channelDepth;
    }

    /// Looks at the root as soon as it opens, and finds the channel: the first child of the
    /// root named so.
    void noteOpened() {
        CAgg* opened = openRecord();
        if (!opened)
            return;
        if (depth() == 1) {
            m_kind = m_reader.classify(*opened);
        } else if (depth() == 2 && !m_channelSeen && Child(*opened).is(names().channel)) {
            m_channelSeen = true;
            m_channelDepth = 2;
        }
    }

    /// Whether the item's child about to open is read as a tree from the start: a body.
    bool needsTree() const {
        const Names& n = names();
        return m_name == bytesOf(n.body) && m_nameSpace == bytesOf(n.xhtmlNS);
    }

    /// Whether the item's child about to open is an extension, which is read as a tree as soon
    /// as an element opens in it.
    bool isExtension() const {
        const Names& n = names();
        return m_reader.dialect == kRSSDialect20 && !m_nameSpace.empty() &&
               !(m_name == bytesOf(n.encoded) && m_nameSpace == bytesOf(n.contentNS));
    }

    /// Turns the extension read as text so far into a tree: its record is made of its name and
    /// the runs gathered, which become its text nodes, and the parser builds the rest into it.
    /// Its attributes are left out, as reading an extension never looks at them.
    void buildExtension() {
        CAgg record = CAgg::atomMapWithRoom(4);
        CAgg::CAggQsAtomMap& fields = record.toQsAtomMap();
        fields[gKeys.type].toQsAtom() = gKeys.element;
        setText(fields[gKeys.name], m_name.data(), m_name.size());
        setText(fields[gKeys.nameSpace], m_nameSpace.data(), m_nameSpace.size());
        CAgg::CAggVector& children = fields[gKeys.children].toVector();
        for (size_t i = 0; i < m_runCount; ++i) {
            CAgg node = CAgg::atomMapWithRoom(2);
            node.toQsAtomMap()[gKeys.type].toQsAtom() = gKeys.textType;
            setText(node.toQsAtomMap()[gKeys.text], m_runs[i].data(), m_runs[i].size());
            children.push_back(std::move(node));
        }
        m_built.push_back(std::move(record));
        // The entries of an atom map stay where they are, so the list does too.
        redirectChildren(&m_built.back().toQsAtomMap()[gKeys.children].toVector());
        m_treeDepth = m_textDepth;
        m_textDepth = 0;
    }

    CRSSReader& m_reader;
    Root m_kind = Root::none;
    bool m_channelSeen = false;
    long m_channelDepth = 0;  // while the channel is open
    long m_itemDepth = 0;     // while an item is open
    long m_treeDepth = 0;     // while a child built as a tree is open
    long m_textDepth = 0;     // while a child read as text is open
    bool m_extension = false; // whether that child is an extension
    CAgg m_item;
    // The child built as a tree, alone.
    CAgg::CAggVector m_built;
    // The child read as text: its name, namespace and runs.
    std::string m_name;
    std::string m_nameSpace;
    std::vector<std::string> m_runs;
    size_t m_runCount = 0;
    bool m_lastIsText = false;
};

CAgg CRSSReader::readDocument(const char* bytes, size_t length) {
    gKeys.refresh();
    parseError = CEStr();
    DocumentParser parser(*this);
    if (length > static_cast<size_t>(INT_MAX) ||
        !parser.parse(bytes, static_cast<int>(length), 1)) {
        parseError = parser.getErrorString();
        if (isEmpty(parseError))
            parseError = CEStr("The feed is too large to read.", kEStrPDFDoc);
        return CAgg();
    }
    CAgg feed = readMessage(std::move(parser.getRoot()));
    if (!parser.items.empty()) {
        std::vector<CAgg>& items = feed[kRSSKeyItems].toVector();
        items.insert(items.begin(), std::make_move_iterator(parser.items.begin()),
                     std::make_move_iterator(parser.items.end()));
    }
    return feed;
}
