#include "rss/CRSSWriter.h"

#include "frame/HostError.h"
#include "frame/ZString.h"
#include "rss/CRSSReader.h"
#include "values/CAggWalk.h"
#include "values/miTime.h"
#include "xml/CAgg2XML.h"
#include "xml/XMLEscape.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

namespace {

/// The channel keys written, in order, each when present; Description goes out twice.
struct Field {
    const CLazyAtom* key;
    const char* nameSpace;
    const char* name;
};

const Field kChannelFields[] = {
    {&kRSSKeyTitle, nullptr, "title"},
    {&kRSSKeyLink, nullptr, "link"},
    {&kRSSKeyDescription, nullptr, "description"},
    {&kRSSKeyDescription, kRSSContentNamespace, "encoded"},
};

const Field kItemFields[] = {
    {&kRSSKeyTitle, nullptr, "title"},
    {&kRSSKeyLink, nullptr, "link"},
    {&kRSSKeyGuid, nullptr, "guid"},
    {&kRSSKeyAuthor, nullptr, "author"},
    {&kRSSKeyDescription, nullptr, "description"},
    {&kRSSKeyDescription, kRSSContentNamespace, "encoded"},
};

/// The element of a field as the serialiser writes it: the namespaced one declares its prefix,
/// which the serialiser calls "m" for a namespace the tree does not bind elsewhere.
void appendElement(std::string& out, const Field& field, const _EStrRec* text) {
    out += '<';
    if (field.nameSpace) {
        out += "m:";
        out += field.name;
        out += " xmlns:m=\"";
        out += field.nameSpace;
        out += "\">";
    } else {
        out += field.name;
        out += '>';
    }
    XMLAppendEscapedText(out, text);
    out += field.nameSpace ? "</m:" : "</";
    out += field.name;
    out += '>';
}

/// The same for the value of an entry, read as text without a copy when it is a string.
void appendEntry(std::string& out, const Field& field, CAgg& value) {
    if (value.getType() == CAgg::eEStr) {
        appendElement(out, field, value.toEStr());
        return;
    }
    CEStr text = CAggValueText(value);
    appendElement(out, field, text);
}

/// A reading stream over a text it owns.
struct TextStream {
    std::string text;
    size_t at = 0;

    static long read(char* buffer, long count, void* data) {
        auto* self = static_cast<TextStream*>(data);
        size_t left = self->text.size() - self->at;
        size_t n = count > 0 ? std::min(left, static_cast<size_t>(count)) : 0;
        std::memcpy(buffer, self->text.data() + self->at, n);
        self->at += n;
        return static_cast<long>(n);
    }
    static void close(void* data) { delete static_cast<TextStream*>(data); }
};

} // namespace

CAgg CRSSWriter::writeMessage() {
    CAgg root;
    CXMLElement rss(root);
    rss.setType(kXMLTypeElement);
    rss.setName("rss");
    rss.setAttribute("version", "2.0");
    rss.children();
    CAgg& channelRecord = rss.appendElement("channel");
    CXMLElement channel(channelRecord);

    for (const Field& field : kChannelFields) {
        if (m_record.has(*field.key))
            addElement(channel, field.nameSpace, field.name, m_record[*field.key]);
    }
    if (m_record.has(kRSSKeyModDate)) {
        CAgg date = dateText(m_record[kRSSKeyModDate]);
        addElement(channel, "lastBuildDate", date);
    }
    CAgg generator(EStrFromUTF8(miGetMessageUTF8("IDS_SOAP_JS_BUILTIN")).get());
    addElement(channel, "generator", generator);

    if (!m_record.has(kRSSKeyItems) || m_record[kRSSKeyItems].getType() != CAgg::eVector)
        return root;
    for (CAgg& item : m_record[kRSSKeyItems].toVector()) {
        if (isHidden(item))
            continue;
        CXMLElement itemElement(channel.appendElement("item"));
        itemElement.children();
        for (const Field& field : kItemFields) {
            if (item.has(*field.key))
                addElement(itemElement, field.nameSpace, field.name, item[*field.key]);
        }
        if (item.has(kRSSKeyModDate)) {
            CAgg date = dateText(item[kRSSKeyModDate]);
            addElement(itemElement, "pubDate", date);
        }
    }
    return root;
}

// The tree's text spelt out: an element of one text child is its open tag, the escaped text and
// its close tag, and one without children (an item with no field) is an empty tag and a line
// feed.
std::string CRSSWriter::textOf(CAgg& record) {
    std::string out = "<?xml version=\"1.0\"?>\n<rss version=\"2.0\"><channel>";
    for (const Field& field : kChannelFields) {
        if (record.has(*field.key))
            appendEntry(out, field, record[*field.key]);
    }
    if (record.has(kRSSKeyModDate)) {
        CAgg date = dateText(record[kRSSKeyModDate]);
        appendElement(out, {nullptr, nullptr, "lastBuildDate"}, date.toEStr());
    }
    CEStr generator = EStrFromUTF8(miGetMessageUTF8("IDS_SOAP_JS_BUILTIN"));
    appendElement(out, {nullptr, nullptr, "generator"}, generator);

    if (record.has(kRSSKeyItems) && record[kRSSKeyItems].getType() == CAgg::eVector) {
        for (CAgg& item : record[kRSSKeyItems].toVector()) {
            if (isHidden(item))
                continue;
            size_t open = out.size();
            out += "<item>";
            size_t empty = out.size();
            for (const Field& field : kItemFields) {
                if (item.has(*field.key))
                    appendEntry(out, field, item[*field.key]);
            }
            if (item.has(kRSSKeyModDate)) {
                CAgg date = dateText(item[kRSSKeyModDate]);
                appendElement(out, {nullptr, nullptr, "pubDate"}, date.toEStr());
            }
            if (out.size() == empty)
                out.replace(open, out.size() - open, "<item/>\n");
            else
                out += "</item>";
        }
    }
    out += "</channel></rss>";
    return out;
}

void CRSSWriter::addElement(CXMLElement& parent, const char* name, CAgg& value) {
    CXMLElement child(parent.appendElement(name));
    child.appendText(CAgg(CAggValueText(value).get()), true);
}

void CRSSWriter::addElement(CXMLElement& parent, const char* nameSpace, const char* name,
                            CAgg& value) {
    if (!nameSpace || !*nameSpace) {
        addElement(parent, name, value);
        return;
    }
    // The serialiser splits the name at its last ":" and declares the namespace.
    std::string qualified = std::string(nameSpace) + ":" + name;
    addElement(parent, qualified.c_str(), value);
}

bool CRSSWriter::isHidden(CAgg& item) {
    if (!item.has(kRSSKeyExtension))
        return false;
    CAgg& extension = item[kRSSKeyExtension];
    std::string key = std::string(kInboxNamespace) + ":hidden";
    if (!CAggIsMap(extension) || !extension.has(key.c_str()))
        return false;
    // Only a boolean marks an item hidden; a value of any other type reads as false.
    CAgg& hidden = extension[key.c_str()];
    return hidden.getType() == CAgg::eQsBool && hidden.toQsBool() != 0;
}

CAgg CRSSWriter::dateText(CAgg& modDate) {
    // ModDate is seconds; CAgg's conversion makes the local time record of them.
    CAgg time(modDate);
    QsTimeRec rec = time.toQsTimeRec();
    CEStr text("", kEStrPDFDoc);
    getARPADateString(rec, text);
    return CAgg(text.get());
}

QsStm ConvertRecordToStream(const CAgg& record) {
    if (record.getType() == CAgg::eVoid)
        return nullptr;
    QsStm stream = nullptr;
    HostFrame frame;
    int32_t failed = frame.run([&] {
        auto text = std::make_unique<TextStream>();
        CRSSWriter writer(record);
        text->text = writer.writeText();
        stream = QsProcStmRdOpen(TextStream::read, TextStream::close, text.get());
        if (stream)
            text.release(); // the stream owns it now
    });
    return failed ? nullptr : stream;
}
