#include "soap/CEncodedSOAPWriter.h"

#include "values/CAggWalk.h"
#include "values/Filters.h"

#include <cstdio>
#include <utility>

const char* const CEncodedSOAPWriter::sm_xsiTypeAttribute = " xsi:type";
const char* const CEncodedSOAPWriter::sm_ArrayTypeAttr = " SOAP-ENC:arrayType";
const char* const CEncodedSOAPWriter::sm_ItemTypeAttr = " SOAP-ENC:itemType";
const char* const CEncodedSOAPWriter::sm_ArraySizeAttr = " SOAP-ENC:arraySize";
// Declared with the others but never written: arrays of arrays say "SOAP-ENC:Array" as their
// item type, and a null goes out through the separate "xsi:nil" and "true".
const char* const CEncodedSOAPWriter::sm_nestedArrayIndicies = "[]";
const char* const CEncodedSOAPWriter::sm_xsiNullAttribute = " xsi:nil=\"true\"";
const char* const CEncodedSOAPWriter::sm_StringTypeString = "xsd:string";
const char* const CEncodedSOAPWriter::sm_IntegerTypeString = "xsd:int";
const char* const CEncodedSOAPWriter::sm_BoolTypeString = "xsd:boolean";
// A double is sent as a float, not as xsd:double; services have always read it so.
const char* const CEncodedSOAPWriter::sm_DoubleTypeString = "xsd:float";
const char* const CEncodedSOAPWriter::sm_DateTypeString = "xsd:dateTime";
const char* const CEncodedSOAPWriter::sm_ArrayTypeString = "SOAP-ENC:Array";
const char* const CEncodedSOAPWriter::sm_Base64TypeString = "SOAP-ENC:base64";

namespace {

QName plainType(const char* text) {
    return {CEStr(text, kEStrPDFDoc), CEStr("", kEStrPDFDoc)};
}

bool isEmpty(const CEStr& text) {
    return text.isNull() || EStrGetCharLen(text) == 0;
}

// A text made once and kept for the life of the process, past the end of static destruction.
const _EStrRec* keptText(const char* text) {
    return EStrNew(text, kEStrPDFDoc);
}

const _EStrRec* xsiTypeKey() {
    static const _EStrRec* key = keptText("xsi:type");
    return key;
}

} // namespace

CAgg CEncodedSOAPWriter::writeMessage() {
    return writeEnvelope(true);
}

void CEncodedSOAPWriter::setParameterOrder(std::vector<CAgg>& order) {
    m_parameterOrder = order;
}

void CEncodedSOAPWriter::writeNode(CAgg& value, CXMLElement& element, long depth,
                                   unsigned short isHeader) {
    checkDepth(depth);
    switch (value.getType()) {
    case CAgg::eVoid: {
        static const _EStrRec* key = keptText("xsi:nil");
        static const _EStrRec* value = keptText("true");
        setSharedAttribute(element, key, value, true);
        return;
    }
    case CAgg::eQsTimeRec:
        setTypeInfo(element, getSOAPType(value));
        element.appendText(CAgg(getDateTime(value).get()), true);
        return;
    case CAgg::eMap:
    case CAgg::eQsAtomMap:
        writeMap(value, element, depth, isHeader);
        return;
    case CAgg::eVector:
        writeVector(value, element, depth, isHeader);
        return;
    case CAgg::eQsStm: {
        setTypeInfo(element, getSOAPType(value));
        // The filter reads the request's stream but leaves it to the request to close.
        QsStm encoded = EncodeQsStmRd(value.toQsStm(), kFilterBase64, 0);
        CAgg& text = element.appendText(CAgg(encoded, 0), false);
        text[kXMLKeyText].toQsStm(1);
        return;
    }
    default: {
        setScalarType(element, value);
        // The value read as a string, as CAggValueText reads it, made once.
        CAgg text(value);
        text.toEStr();
        element.appendText(std::move(text), true);
        return;
    }
    }
}

void CEncodedSOAPWriter::setScalarType(CXMLElement& element, CAgg& value) {
    static const _EStrRec* const kString = keptText(sm_StringTypeString);
    static const _EStrRec* const kInteger = keptText(sm_IntegerTypeString);
    static const _EStrRec* const kBool = keptText(sm_BoolTypeString);
    static const _EStrRec* const kDouble = keptText(sm_DoubleTypeString);
    const _EStrRec* type = nullptr;
    switch (value.getType()) {
    case CAgg::eEStr:
    case CAgg::eCQsText:
        type = kString;
        break;
    case CAgg::eQsInt32:
        type = kInteger;
        break;
    case CAgg::eQsBool:
        type = kBool;
        break;
    case CAgg::eDouble:
        type = kDouble;
        break;
    default:
        setTypeInfo(element, getSOAPType(value));
        return;
    }
    // The common types have no namespace and nothing to escape: the attribute is set as
    // setTypeInfo would set it, without the steps between.
    setSharedAttribute(element, xsiTypeKey(), type, true);
}

void CEncodedSOAPWriter::writeMap(CAgg& value, CXMLElement& element, long depth,
                                  unsigned short isHeader) {
    ReservedEntries reserved = reservedEntriesOf(value);
    if (reserved.name) {
        CAgg& name = *reserved.name;
        if (!CAggIsString(name))
            fail("IDS_SOAP_NAME_NOT_STRING");
        setName(element, CAggValueText(name));
    }
    applyQName(reserved.qname, element);
    if (isHeader)
        addHeader(value, element, depth);
    if (reserved.type) {
        if (!CAggIsString(*reserved.type))
            fail("IDS_SOAP_TYPE_NOT_STRING");
        setTypeInfo(element, getSOAPType(value));
    }
    if (reserved.value) {
        // Ready-made content, written as it stands; the map has no other children.
        CAgg& raw = *reserved.value;
        if (CAggIsString(raw))
            element.appendText(CAgg(CAggValueText(raw).get()), false);
        else if (raw.getType() == CAgg::eQsStm)
            element.appendText(CAgg(raw.toQsStm(), 0), false);
        else
            fail("IDS_SOAP_VALUE_BAD_TYPE");
        return;
    }
    if (reserved.href) {
        CAgg& href = *reserved.href;
        if (!CAggIsString(href))
            fail("IDS_SOAP_HREF_NOT_STRING");
        element.setAttribute(CEStr("href", kEStrPDFDoc), attributeValue(CAggValueText(href)));
    }
    if (depth == 1 && !m_parameterOrder.empty()) {
        // Parameters that the order leaves out are not written at all.
        for (CAgg& parameter : m_parameterOrder) {
            CEStr key = CAggValueText(parameter);
            if (isReservedKey(key) || !value.has(key.get()))
                continue;
            writeChild(key, value[key], element, depth, isHeader);
        }
        return;
    }
    forEachChildEntry(value, element, [&](const CEStr& key, CAgg& item) {
        writeChild(key, item, element, depth, isHeader);
    });
}

void CEncodedSOAPWriter::writeVector(CAgg& value, CXMLElement& element, long depth,
                                     unsigned short isHeader) {
    element.setAttribute(sm_xsiTypeAttribute, sm_ArrayTypeString);
    CAgg::CAggVector& items = value.toVector();
    setArrayType(element, items);
    reserveChildren(element, items.size());
    for (CAgg& item : items) {
        CXMLElement child = view(element.appendElement("item"));
        writeNode(item, child, depth + 1, isHeader);
    }
}

void CEncodedSOAPWriter::writeChild(const CEStr& key, CAgg& item, CXMLElement& element, long depth,
                                    unsigned short isHeader) {
    CXMLElement child = view(element.appendElement());
    if (depth == 0)
        child.setAttribute("SOAP-ENV:encodingStyle", encodingNS());
    setName(child, key);
    writeNode(item, child, depth + 1, isHeader);
}

QName CEncodedSOAPWriter::getSOAPType(CAgg& value) {
    switch (value.getType()) {
    case CAgg::eEStr:
    case CAgg::eCQsText:
        return plainType(sm_StringTypeString);
    case CAgg::eQsInt32:
        return plainType(sm_IntegerTypeString);
    case CAgg::eQsBool:
        return plainType(sm_BoolTypeString);
    case CAgg::eDouble:
        return plainType(sm_DoubleTypeString);
    case CAgg::eQsTimeRec:
        return plainType(sm_DateTypeString);
    case CAgg::eMap:
    case CAgg::eQsAtomMap:
        if (value.has("soapType"))
            return getQName(CAggValueText(value["soapType"]));
        return plainType("");
    case CAgg::eVector:
        return plainType(sm_ArrayTypeString);
    case CAgg::eQsStm:
        return plainType(sm_Base64TypeString);
    default:
        return plainType("");
    }
}

void CEncodedSOAPWriter::setTypeInfo(CXMLElement& element, const QName& type) {
    CEStr text = typeText(element, type);
    // A type in a namespace names a prefix of this element's own, so only the others repeat.
    if (isEmpty(type.nameSpace))
        setSharedAttribute(element, xsiTypeKey(), text);
    else
        element.setAttribute(xsiTypeKey(), text);
}

void CEncodedSOAPWriter::setArrayType(CXMLElement& element, CAgg::CAggVector& items) {
    CEStr itemType("xsd:ur-type", kEStrPDFDoc);
    QName type = itemTypeOf(items);
    if (!isEmpty(type.name))
        itemType = typeText(element, type);
    char count[32];
    std::snprintf(count, sizeof count, "%d", static_cast<int>(items.size()));
    if (m_version == kSOAPVersion11) {
        std::string arrayType = EStrToUTF8(itemType) + "[" + count + "]";
        element.setAttribute(CEStr(sm_ArrayTypeAttr, kEStrPDFDoc), EStrFromUTF8(arrayType));
        return;
    }
    element.setAttribute(CEStr(sm_ItemTypeAttr, kEStrPDFDoc), itemType);
    element.setAttribute(sm_ArraySizeAttr, count);
}

QName CEncodedSOAPWriter::itemTypeOf(CAgg::CAggVector& items) {
    for (const CAgg& item : items) {
        if (item.getType() != items.front().getType())
            return {};
    }
    return items.empty() ? QName{} : getSOAPType(items.front());
}

CEStr CEncodedSOAPWriter::typeText(CXMLElement& element, const QName& type) {
    if (isEmpty(type.nameSpace))
        return attributeValue(type.name);
    std::string prefix = EStrToUTF8(createNSPrefix());
    element.setAttribute(EStrFromUTF8("xmlns:" + prefix), attributeValue(type.nameSpace));
    return attributeValue(EStrFromUTF8(prefix + ":" + EStrToUTF8(type.name)));
}
