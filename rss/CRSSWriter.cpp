#include "rss/CRSSWriter.h"

#include "frame/HostError.h"
#include "frame/ZString.h"
#include "rss/CRSSReader.h"
#include "values/CAggWalk.h"
#include "values/miTime.h"
#include "xml/CAgg2XML.h"

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
        CRSSWriter writer(record);
        stream = CAgg2XML::openStream(writer.writeMessage());
    });
    return failed ? nullptr : stream;
}
