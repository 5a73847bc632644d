#include "soap/CLiteralSOAPReader.h"

#include "values/CAggWalk.h"
#include "xml/CAgg2XML.h"

#include <string>
#include <utility>

void CLiteralSOAPReader::processNode(CAgg& result, CAgg& node) {
    if (node.getType() == CAgg::eVoid)
        return;
    if (m_asXML) {
        // Each body element replaces the one before: the last one is the result.
        result = CAgg(CAgg2XML::openStream(node), 1);
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
    DepthGuard guard(m_nodeDepth);
    if (guard.tooDeep())
        return;
    CAgg& cur = getCurrentNode(parent, node);
    CAgg::CAggVector* children = childrenOf(node);
    for (size_t i = 0; children && i < children->size(); ++i) {
        CAgg& child = (*children)[i];
        CXMLElement element(child);
        if (element.isElement()) {
            processSubNode(cur, child);
        } else if (element.isText() && child.has(kXMLKeyText)) {
            CAgg text;
            takeText(text, child[kXMLKeyText]);
            if (m_xmlMessage)
                cur["soapValue"] = std::move(text);
            else
                cur = std::move(text);
        }
    }
}

CAgg& CLiteralSOAPReader::getCurrentNode(CAgg& parent, CAgg& node) {
    if (m_xmlMessage) {
        CXMLElement element(node);
        std::string name = EStrToUTF8(element.getName());
        std::string nameSpace = EStrToUTF8(element.getNameSpace());
        CAgg& record = parent["soapValue"].toVector().emplace_back();
        record["soapName"] =
            CAgg(EStrFromUTF8(nameSpace.empty() ? name : nameSpace + ":" + name).get());
        CAgg& qname = record["soapQName"];
        qname[0L] = CAgg(EStrFromUTF8(nameSpace).get());
        qname[1L] = CAgg(EStrFromUTF8(name).get());
        if (node.has(kXMLKeyAttr) && CAggIsMap(node[kXMLKeyAttr]) &&
            !node[kXMLKeyAttr].isCollectionTypeEmpty())
            record["soapAttributes"] = node[kXMLKeyAttr];
        return record;
    }
    if (parent.getType() == CAgg::eVector)
        return parent.toVector().emplace_back();
    CEStr keyHolder;
    const _EStrRec* key = keyText(node, keyHolder);
    if (!parent.has(key) || CAggMapSize(parent) > 1)
        return parent[key]; // a repeated member of a struct overwrites the earlier one
    // A repeated element where it is the only member: unlike the encoded reader's, the array
    // stands under the element's name, holding the earlier value and the new one.
    CAgg& entry = parent[key];
    if (entry.getType() != CAgg::eVector) {
        CAgg first = std::move(entry);
        entry.toVector().push_back(std::move(first));
    }
    return entry.toVector().emplace_back();
}
