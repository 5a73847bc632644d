#include "soap/CLiteralSOAPReader.h"

#include "frame/UTF8.h"
#include "values/CAggWalk.h"
#include "xml/CAgg2XML.h"

#include <string>
#include <utility>

void CLiteralSOAPReader::processNode(CAgg& result, CAgg& node) {
    if (node.getType() == CAgg::eVoid)
        return;
    if (m_asXML) {
        // Each body element replaces the one before: the last one is the result. The reader
        // reads its document once: the element is handed to the serialiser, not copied.
        result = CAgg(CAgg2XML::openStream(std::move(node)), 1);
        return;
    }
    if (m_xmlMessage) {
        processSubNode(result, node);
        return;
    }
    // Each body element is read on its own, and its value joins the result under its name; a
    // later body element of the same name replaces an earlier one.
    CAgg record;
    processSubNode(record, node);
    CAggForEachEntry(record,
                     [&](const CEStr& key, CAgg& value) { result[key] = std::move(value); });
}

void CLiteralSOAPReader::processSubNode(CAgg& parent, CAgg& node) {
    readSubNode(parent, node, CXMLEntries::of(node, refreshKeys()));
}

bool CLiteralSOAPReader::readSubNode(CAgg& parent, CAgg& node, const CXMLEntries& entries) {
    DepthGuard guard(m_nodeDepth);
    if (guard.tooDeep())
        return false;
    CAgg& cur = currentNode(parent, node, entries);
    CAgg::CAggVector* children = entries.childList();
    bool heldElements = false;
    for (size_t i = 0; children && i < children->size(); ++i) {
        CAgg& child = (*children)[i];
        CXMLEntries childEntries = CXMLEntries::of(child, m_keys);
        QsAtom childType = childEntries.typeAtom();
        if (childType == m_keys.element) {
            heldElements = true;
            // The document is read once: an element that held elements is freed as soon as it
            // has been read, so that the tree shrinks as the value grows. A leaf of a small
            // element (a struct's member), whose text has been taken, is left to go with its
            // parent in one walk; the leaves of a long list are freed one by one.
            bool held = readSubNode(cur, child, childEntries);
            if (m_consuming && (held || children->size() > kLeavesFreedWithParent))
                child = CAgg();
        } else if (childType == m_keys.textType && childEntries.text) {
            CAgg text;
            takeText(text, *childEntries.text);
            if (m_xmlMessage)
                cur["soapValue"] = std::move(text);
            else
                cur = std::move(text);
        }
    }
    return heldElements;
}

CAgg& CLiteralSOAPReader::getCurrentNode(CAgg& parent, CAgg& node) {
    return currentNode(parent, node, CXMLEntries::of(node, refreshKeys()));
}

CAgg& CLiteralSOAPReader::currentNode(CAgg& parent, CAgg& node, const CXMLEntries& entries) {
    if (m_xmlMessage) {
        CAgg& record = parent["soapValue"].toVector().emplace_back();
        CEStr keyHolder;
        record["soapName"] = CAgg(keyText(node, entries, keyHolder));
        CAgg& qname = record["soapQName"];
        qname[0L] = nameText(entries.nameSpace);
        qname[1L] = nameText(entries.name);
        CAgg* attr = entries.attr;
        if (attr && CAggIsMap(*attr) && !attr->isCollectionTypeEmpty())
            record["soapAttributes"] = std::move(*attr);
        return record;
    }
    if (parent.getType() == CAgg::eVector)
        return parent.toVector().emplace_back();
    CEStr keyHolder;
    const _EStrRec* key = keyText(node, entries, keyHolder);
    if (parent.getType() == CAgg::eMap) {
        // The common case in one lookup: a member of a struct.
        CAgg::CAggMap& members = parent.toMap();
        auto found = members.lower_bound(key);
        if (found == members.end() || members.key_comp()(key, found->first))
            return members.emplace_hint(found, CEStr(key), CAgg())->second;
        if (members.size() > 1)
            return found->second; // a repeated member of a struct overwrites the earlier one
        return repeatedEntry(found->second);
    }
    if (!parent.has(key) || CAggMapSize(parent) > 1)
        return parent[key];
    return repeatedEntry(parent[key]);
}

CAgg CLiteralSOAPReader::nameText(const CAgg* value) {
    // A name of ASCII text is already the string its UTF-8 would make: it is copied as it is.
    if (value && value->getType() == CAgg::eEStr) {
        const _EStrRec* text = const_cast<CAgg*>(value)->toEStr();
        if (EStrGetEncoding(text) == kEStrPDFDoc &&
            IsASCII(EStrGetBytes(text), static_cast<size_t>(EStrGetLen(text))))
            return CAgg(text);
    }
    CEStr holder;
    return CAgg(EStrFromUTF8(EStrToUTF8(textOf(value, holder))).get());
}

CAgg& CLiteralSOAPReader::repeatedEntry(CAgg& entry) {
    // A repeated element where it is the only member: unlike the encoded reader's, the array
    // stands under the element's name, holding the earlier value and the new one.
    if (entry.getType() != CAgg::eVector) {
        CAgg first = std::move(entry);
        entry.toVector().push_back(std::move(first));
    }
    return entry.toVector().emplace_back();
}
