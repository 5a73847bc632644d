#include "soap/CEncodedSOAPReader.h"

#include "frame/HostTables.h"
#include "soap/SOAPNamespaces.h"
#include "soap/SOAPText.h"
#include "values/CAggWalk.h"
#include "values/Filters.h"
#include "values/QsStm.h"

#include <string>

namespace {

bool isEmpty(const _EStrRec* text) {
    return !text || EStrGetCharLen(text) == 0;
}

// A value that refers to another by href carries the reference until the binding.
CAgg& withReference(CAgg& value, const _EStrRec* href) {
    if (!isEmpty(href))
        value["soap_href_id"] = CAgg(href);
    return value;
}

QsStm decodedStream(const std::string& text, FilterEncoding encoding) {
    return DecodeQsStmRd(QsMemStmRdOpen(text.data(), text.size()), encoding, 1);
}

} // namespace

void CEncodedSOAPReader::processNode(CAgg& result, CAgg& node) {
    if (node.getType() == CAgg::eVoid)
        return;
    readElement(result, node, CXMLEntries::of(node, refreshKeys()));
}

void CEncodedSOAPReader::readElement(CAgg& result, CAgg& node, const CXMLEntries& entries) {
    DepthGuard guard(m_nodeDepth);
    if (guard.tooDeep())
        return;
    ReplyAttributes attributes = replyAttributesOf(entries.attr);
    CAgg& cur = currentNode(result, node, entries, attributes);
    CEStr typeHolder;
    const _EStrRec* type = typeOf(attributes, typeHolder);
    std::string scratch;
    std::string_view localType = EStrGetLen(type) > 0 ? localPartOf(type, scratch) : "";
    if (localType == "Array")
        cur.toVector();
    CAgg::CAggVector* children = entries.childList();
    for (size_t i = 0; children && i < children->size(); ++i) {
        CAgg& child = (*children)[i];
        if (child.getType() == CAgg::eVoid)
            continue;
        CXMLEntries childEntries = CXMLEntries::of(child, m_keys);
        QsAtom childType = childEntries.typeAtom();
        if (childType == m_keys.element) {
            readElement(cur, child, childEntries);
        } else if (childType == m_keys.textType && childEntries.text) {
            // A type applies only to text: an element with elements inside stays a map or a
            // vector, whatever its xsi:type says.
            takeText(cur, *childEntries.text);
            setLocalType(cur, localType);
        }
        if (m_consuming)
            child = CAgg();
    }
}

CAgg& CEncodedSOAPReader::getCurrentNode(CAgg& parent, CAgg& node) {
    CXMLEntries entries = CXMLEntries::of(node, refreshKeys());
    return currentNode(parent, node, entries, replyAttributesOf(entries.attr));
}

CAgg& CEncodedSOAPReader::currentNode(CAgg& parent, CAgg& node, const CXMLEntries& entries,
                                      const ReplyAttributes& attributes) {
    CEStr idHolder;
    CEStr hrefHolder;
    const _EStrRec* id = textOf(attributes.id, idHolder);
    const _EStrRec* href = textOf(attributes.href, hrefHolder);
    if (parent.getType() == CAgg::eVector)
        return withReference(parent.toVector().emplace_back(), href);
    CEStr keyHolder;
    const _EStrRec* key = keyText(node, entries, keyHolder);
    if (isEmpty(id)) {
        if (parent.getType() == CAgg::eMap) {
            // The common case in one lookup: a member of a struct.
            CAgg::CAggMap& members = parent.toMap();
            auto found = members.lower_bound(key);
            if (found == members.end() || members.key_comp()(key, found->first))
                return withReference(members.emplace_hint(found, CEStr(key), CAgg())->second, href);
        } else if (!parent.has(key)) {
            return withReference(parent[key], href);
        }
        if (CAggMapSize(parent) == 1) {
            // A repeated element where it is the only member is taken for an implicit array:
            // the parent itself becomes the array.
            parent.toVector();
            return withReference(parent.toVector().emplace_back(), href);
        }
        // A repeated element in a struct with other members overwrites the earlier one.
        return parent[key];
    }
    CEStr rootHolder;
    const _EStrRec* root = textOf(attributes.root, rootHolder);
    if (EStrToUTF8(root) != "0")
        parent[key]["soap_href_id"] = CAgg(EStrFromUTF8("#" + EStrToUTF8(id)).get());
    // An independent element (root="0") lives only in the table, until a reference binds it.
    m_hasReferencedValues = true;
    return m_multiRefs[CEStr(id)];
}

bool CEncodedSOAPReader::canResolvePartName(const _EStrRec* name) {
    return m_multiRefs.count(name) > 0;
}

CAgg CEncodedSOAPReader::resolvePartName(const _EStrRec* name) {
    auto found = m_multiRefs.find(name);
    return found == m_multiRefs.end() ? CAgg() : found->second;
}

void CEncodedSOAPReader::setType(CAgg& value, const _EStrRec* type) {
    if (EStrGetLen(type) == 0)
        return;
    std::string scratch;
    setLocalType(value, localPartOf(type, scratch));
}

void CEncodedSOAPReader::setLocalType(CAgg& value, std::string_view local) {
    if (local == "int") {
        value.toQsInt32();
    } else if (local == "string") {
        value.toEStr();
    } else if (local == "float") {
        value.todouble();
    } else if (local == "boolean") {
        value.toQsBool();
    } else if (local == "dateTime") {
        // The network layer's parser reads the ISO 8601 form; text it cannot read stays text.
        QsTimeRec time{};
        std::string text = EStrToUTF8(CAggValueText(value));
        if (gNetSpanHFT && gNetSpanHFT->parseDate(text.c_str(), time))
            value = CAgg(time);
    } else if (local == "base64" || local == "base64Binary") {
        value = CAgg(decodedStream(EStrToUTF8(CAggValueText(value)), kFilterBase64), 1);
    } else if (local == "hexBinary") {
        value = CAgg(decodedStream(EStrToUTF8(CAggValueText(value)), kFilterHex), 1);
    }
}
