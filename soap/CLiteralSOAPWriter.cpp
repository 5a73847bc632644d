#include "soap/CLiteralSOAPWriter.h"

#include "soap/SOAPNamespaces.h"
#include "values/CAggWalk.h"
#include "values/Filters.h"

#include <utility>

CAgg CLiteralSOAPWriter::writeMessage() {
    return writeEnvelope(false);
}

void CLiteralSOAPWriter::setDefaultNS(const _EStrRec* nameSpace) {
    m_defaultNS = nameSpace;
}

void CLiteralSOAPWriter::writeNode(CAgg& value, CXMLElement& element, long depth,
                                   unsigned short isHeader) {
    checkDepth(depth);
    switch (value.getType()) {
    case CAgg::eEStr:
    case CAgg::eCQsText:
    case CAgg::eQsInt32:
    case CAgg::eQsBool:
    case CAgg::eDouble:
        element.appendText(CAgg(CAggValueText(value).get()), true);
        return;
    case CAgg::eQsTimeRec:
        element.appendText(CAgg(getDateTime(value).get()), true);
        return;
    case CAgg::eQsStm: {
        // The filter reads the request's stream but leaves it to the request to close.
        QsStm encoded = EncodeQsStmRd(value.toQsStm(), kFilterBase64, 0);
        CAgg& text = element.appendText(CAgg(encoded, 0), false);
        text[kXMLKeyText].toQsStm(1);
        return;
    }
    case CAgg::eVector:
        reserveChildren(element, value.toVector().size());
        for (CAgg& item : value.toVector()) {
            CXMLElement child = view(element.appendElement("item"));
            writeNode(item, child, depth + 1, isHeader);
        }
        return;
    case CAgg::eMap:
    case CAgg::eQsAtomMap:
        writeMap(value, element, depth, isHeader);
        return;
    default:
        // A null, and any type without a text form of its own, writes nothing.
        return;
    }
}

void CLiteralSOAPWriter::writeMap(CAgg& value, CXMLElement& element, long depth,
                                  unsigned short isHeader) {
    ReservedEntries reserved = reservedEntriesOf(value);
    // The literal writer takes any soapName that reads as text; only the encoded one checks it.
    if (reserved.name)
        setName(element, CAggValueText(*reserved.name));
    applyQName(reserved.qname, element);
    if (isHeader)
        addHeader(value, element, depth);
    if (reserved.attributes) {
        forEachEntry(*reserved.attributes, [&](const CEStr& key, CAgg& attribute) {
            checkAttributeName(key);
            element.attributes()[key] = CAgg(attributeValue(CAggValueText(attribute)).get());
        });
    }
    if (writeRawValue(reserved, element, depth, isHeader))
        return;
    if (reserved.href) {
        CAgg& href = *reserved.href;
        if (!CAggIsString(href))
            fail("IDS_SOAP_HREF_NOT_STRING");
        // An attachment goes out as a binary inclusion, in place of the element it stands for.
        setName(element,
                QName{CEStr("Inclusion", kEStrPDFDoc), CEStr(kSOAPBinaryInclusionNS, kEStrPDFDoc)});
        element.setAttribute(CEStr("href", kEStrPDFDoc), attributeValue(CAggValueText(href)));
        return;
    }
    forEachChildEntry(value, element, [&](const CEStr& key, CAgg& item) {
        writeChild(key, item, element, depth, isHeader);
    });
}

bool CLiteralSOAPWriter::writeRawValue(const ReservedEntries& reserved, CXMLElement& element,
                                       long depth, unsigned short isHeader) {
    if (!reserved.value)
        return false;
    CAgg& raw = *reserved.value;
    if (CAggIsString(raw)) {
        CEStr text = CAggValueText(raw);
        if (EStrGetCharLen(text) > 0)
            element.appendText(CAgg(text.get()), false);
    } else if (raw.getType() == CAgg::eQsStm) {
        element.appendText(CAgg(raw.toQsStm(), 0), false);
    } else if (raw.getType() == CAgg::eVector) {
        // Each item is an element of its own, named as the map is named.
        CEStr name = reserved.name ? CAggValueText(*reserved.name) : CEStr("item", kEStrPDFDoc);
        reserveChildren(element, raw.toVector().size());
        for (CAgg& item : raw.toVector()) {
            CXMLElement child = view(element.appendElement());
            setName(child, name);
            writeNode(item, child, depth + 1, isHeader);
        }
    } else {
        fail("IDS_SOAP_VALUE_BAD_TYPE");
    }
    return true;
}

void CLiteralSOAPWriter::writeChild(const CEStr& key, CAgg& item, CXMLElement& element, long depth,
                                    unsigned short isHeader) {
    CXMLElement child = view(element.appendElement());
    if (depth == 0 && !m_defaultNS.isNull() && EStrGetCharLen(m_defaultNS) > 0) {
        // Every operation of the message declares the same default namespace.
        static const CEStr* const key = new CEStr("xmlns", kEStrPDFDoc);
        setSharedAttribute(child, key->get(), attributeValue(m_defaultNS));
    }
    setName(child, key);
    writeNode(item, child, depth + 1, isHeader);
}
