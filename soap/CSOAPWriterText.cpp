// The writers' direct road: the envelope of a plain request written as XML text in one walk over
// the request, without the element tree and its serialisation.
//
// The text is what writeMessage's tree gives through CAgg2XML, byte for byte; the walk makes
// the same names (elementName, with its checks and prefixes) and the same attributes in the
// order of the tree's attribute map. Anything the walk does not know (a header, reserved keys,
// times, streams, types in a namespace, a parameter order) sends the whole request back to the
// tree: nothing is written then, and the prefix counter is where it was.
#include "soap/CEncodedSOAPWriter.h"
#include "soap/CLiteralSOAPWriter.h"
#include "soap/SOAPNamespaces.h"
#include "values/CAggWalk.h"
#include "xml/XMLEscape.h"

#include <charconv>
#include <cstring>

namespace {

constexpr char kDeclaration[] = "<?xml version=\"1.0\"?>\n";

bool isUCS(const _EStrRec* text) {
    int32_t encoding = EStrGetEncoding(text);
    return encoding == kEStrUCS || encoding == kEStrUCSShaped;
}

// Text as the serialiser writes names and attribute values: UCS as UTF-8, any other text as its
// bytes.
void appendRaw(std::string& out, const _EStrRec* text) {
    if (!text)
        return;
    if (isUCS(text)) {
        EStrAppendUCSAsUTF8(out, text);
        return;
    }
    out.append(EStrGetBytes(text), static_cast<size_t>(EStrGetLen(text)));
}

void appendAttribute(std::string& out, const char* key, const char* value) {
    out += ' ';
    out += key;
    out += "=\"";
    out += value;
    out += '"';
}

void appendAttribute(std::string& out, const char* key, const _EStrRec* value) {
    out += ' ';
    out += key;
    out += "=\"";
    appendRaw(out, value);
    out += '"';
}

} // namespace

bool CSOAPWriter::writeMessageText(std::string& out) {
    (void)out;
    return false;
}

CSOAPWriter::TextContent CSOAPWriter::appendAttributesText(std::string& out,
                                                           const ElementName& name, CAgg& value,
                                                           long depth) {
    (void)out, (void)name, (void)value, (void)depth;
    return TextContent::unknown;
}

bool CSOAPWriter::writeText(std::string& out, bool withEncodingNS) {
    if (m_tooDeep || m_header.getType() != CAgg::eVoid || !CAggIsMap(m_request))
        return false;
    takeAtoms();
    long counter = m_nsCounter;
    std::string text = kDeclaration;
    text += "<SOAP-ENV:Envelope";
    bool v12 = m_version == kSOAPVersion12;
    if (withEncodingNS)
        appendAttribute(text, "xmlns:SOAP-ENC", v12 ? kSOAP12EncodingNS : kSOAP11EncodingNS);
    appendAttribute(text, "xmlns:SOAP-ENV", v12 ? kSOAP12EnvelopeNS : kSOAP11EnvelopeNS);
    appendAttribute(text, "xmlns:xsd", kXMLSchemaNS);
    appendAttribute(text, "xmlns:xsi", kXMLSchemaInstanceNS);
    text += '>';
    // The body is the element of the request's operations.
    bool written = !hasReservedKey(m_request);
    if (written && entryCount(m_request) == 0) {
        text += "<SOAP-ENV:Body/>\n";
    } else if (written) {
        text += "<SOAP-ENV:Body>";
        forEachEntry(m_request, [&](const CEStr& key, CAgg& item) {
            written = written && appendElementText(text, key, item, 0);
        });
        text += "</SOAP-ENV:Body>";
    }
    if (!written) {
        m_nsCounter = counter;
        return false;
    }
    text += "</SOAP-ENV:Envelope>";
    out = std::move(text);
    return true;
}

bool CSOAPWriter::appendElementText(std::string& out, const _EStrRec* key, CAgg& value,
                                    long depth) {
    // The element of a key at depth holds its value at depth + 1; a vector's items are named
    // "item".
    if (depth + 1 > kMaxDepth)
        return false;
    ElementName name = key ? elementName(key) : ElementName{};
    const _EStrRec* tag = key ? name.text() : nullptr;
    out += '<';
    if (tag)
        appendRaw(out, tag);
    else
        out += "item";
    TextContent content = appendAttributesText(out, name, value, depth);
    if (content == TextContent::children) {
        if (CAggIsMap(value) && hasReservedKey(value))
            return false;
        size_t count = CAggIsMap(value) ? entryCount(value) : value.toVector().size();
        content = count == 0 ? TextContent::none : content;
    }
    switch (content) {
    case TextContent::none:
        out += "/>\n";
        return true;
    case TextContent::scalar:
        out += '>';
        if (!appendScalarText(out, value))
            return false;
        break;
    case TextContent::children: {
        out += '>';
        bool written = true;
        if (CAggIsMap(value)) {
            forEachEntry(value, [&](const CEStr& child, CAgg& item) {
                written = written && appendElementText(out, child, item, depth + 1);
            });
        } else {
            for (CAgg& item : value.toVector()) {
                if (!(written = appendElementText(out, nullptr, item, depth + 1)))
                    break;
            }
        }
        if (!written)
            return false;
        break;
    }
    case TextContent::unknown:
        return false;
    }
    out += "</";
    if (tag)
        appendRaw(out, tag);
    else
        out += "item";
    out += '>';
    return true;
}

bool CSOAPWriter::appendScalarText(std::string& out, CAgg& value) {
    // The texts the conversion to a string gives, escaped as the serialiser escapes text; those
    // of numbers and booleans need no escaping.
    char number[1024];
    switch (value.getType()) {
    case CAgg::eEStr:
        XMLAppendEscapedText(out, value.toEStr());
        return true;
    case CAgg::eQsInt32:
        out.append(number, std::to_chars(number, number + sizeof number, value.toQsInt32()).ptr);
        return true;
    case CAgg::eQsBool:
        out += value.toQsBool() ? "true" : "false";
        return true;
    case CAgg::eDouble:
        out.append(number, std::to_chars(number, number + sizeof number, value.todouble(),
                                         std::chars_format::fixed, 6)
                               .ptr);
        return true;
    default:
        return false;
    }
}

bool CSOAPWriter::hasReservedKey(CAgg& map) {
    bool found = false;
    forEachEntry(map, [&](const CEStr& key, CAgg&) { found = found || isReservedKey(key); });
    return found;
}

void CSOAPWriter::appendDeclarationText(std::string& out, const ElementName& name) {
    if (name.declarationKey.isNull())
        return;
    out += ' ';
    appendRaw(out, name.declarationKey);
    out += "=\"";
    appendRaw(out, name.declarationValue);
    out += '"';
}

// The encoded writer: the attributes in the order of the tree's map, the keys with a leading
// blank first, then "SOAP-ENV:encodingStyle", "xmlns:" and the prefix, "xsi:nil" or "xsi:type".

bool CEncodedSOAPWriter::writeMessageText(std::string& out) {
    return m_parameterOrder.empty() && writeText(out, true);
}

CSOAPWriter::TextContent CEncodedSOAPWriter::appendAttributesText(std::string& out,
                                                                  const ElementName& name,
                                                                  CAgg& value, long depth) {
    CAgg::CAggType type = value.getType();
    if (type == CAgg::eVector && !appendArrayAttributes(out, value.toVector()))
        return TextContent::unknown;
    if (depth == 0)
        appendAttribute(out, "SOAP-ENV:encodingStyle", encodingNS());
    appendDeclarationText(out, name);
    switch (type) {
    case CAgg::eVoid:
        appendAttribute(out, "xsi:nil", "true");
        return TextContent::none;
    case CAgg::eEStr:
        appendAttribute(out, "xsi:type", sm_StringTypeString);
        return TextContent::scalar;
    case CAgg::eQsInt32:
        appendAttribute(out, "xsi:type", sm_IntegerTypeString);
        return TextContent::scalar;
    case CAgg::eQsBool:
        appendAttribute(out, "xsi:type", sm_BoolTypeString);
        return TextContent::scalar;
    case CAgg::eDouble:
        appendAttribute(out, "xsi:type", sm_DoubleTypeString);
        return TextContent::scalar;
    case CAgg::eMap:
    case CAgg::eQsAtomMap:
    case CAgg::eVector:
        return TextContent::children;
    default:
        return TextContent::unknown;
    }
}

bool CEncodedSOAPWriter::appendArrayAttributes(std::string& out, CAgg::CAggVector& items) {
    CEStr itemType("xsd:ur-type", kEStrPDFDoc);
    QName type = itemTypeOf(items);
    // A type in a namespace declares a prefix of its own: the tree writes that.
    if (!type.nameSpace.isNull() && EStrGetCharLen(type.nameSpace) > 0)
        return false;
    if (!type.name.isNull() && EStrGetCharLen(type.name) > 0)
        itemType = attributeValue(type.name);
    // Item types other than the writer's own come from a soapType, whose map the tree writes.
    if (!isPlainName(itemType))
        return false;
    char count[32];
    *std::to_chars(count, count + sizeof count - 1, static_cast<int>(items.size())).ptr = '\0';
    if (m_version == kSOAPVersion11) {
        out += "  SOAP-ENC:arrayType=\"";
        appendRaw(out, itemType);
        out += '[';
        out += count;
        out += "]\"";
    } else {
        appendAttribute(out, " SOAP-ENC:arraySize", count);
        appendAttribute(out, " SOAP-ENC:itemType", itemType);
    }
    appendAttribute(out, " xsi:type", sm_ArrayTypeString);
    return true;
}

// The literal writer: the default namespace of an operation, "xmlns", then the declaration.

bool CLiteralSOAPWriter::writeMessageText(std::string& out) {
    return writeText(out, false);
}

CSOAPWriter::TextContent CLiteralSOAPWriter::appendAttributesText(std::string& out,
                                                                  const ElementName& name,
                                                                  CAgg& value, long depth) {
    if (depth == 0 && !m_defaultNS.isNull() && EStrGetCharLen(m_defaultNS) > 0)
        appendAttribute(out, "xmlns", attributeValue(m_defaultNS));
    appendDeclarationText(out, name);
    switch (value.getType()) {
    case CAgg::eEStr:
    case CAgg::eQsInt32:
    case CAgg::eQsBool:
    case CAgg::eDouble:
        return TextContent::scalar;
    case CAgg::eCQsText:
    case CAgg::eQsTimeRec:
    case CAgg::eQsStm:
        return TextContent::unknown;
    case CAgg::eMap:
    case CAgg::eQsAtomMap:
    case CAgg::eVector:
        return TextContent::children;
    default:
        // A null, and any type without a text form of its own, writes nothing.
        return TextContent::none;
    }
}
