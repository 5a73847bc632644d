#include "soap/CSOAPReader.h"

#include "frame/HostError.h"
#include "frame/UTF8.h"
#include "soap/CEncodedSOAPReader.h"
#include "soap/CLiteralSOAPReader.h"
#include "soap/SOAPNamespaces.h"
#include "soap/SOAPText.h"
#include "values/CAggWalk.h"

#include <algorithm>
#include <string>

namespace {

std::string nameOf(CAgg& node) {
    return EStrToUTF8(CXMLElement(node).getName());
}

CEStr emptyText() {
    return CEStr("", kEStrPDFDoc);
}

// Counts the values of a tree into values and its deepest level into deepest.
void measure(CAgg& value, long depth, long& values, long& deepest) {
    ++values;
    deepest = std::max(deepest, depth);
    CAggForEachChild(value, [&](CAgg& item) { measure(item, depth + 1, values, deepest); });
}

} // namespace

CSOAPReader::CSOAPReader(CAgg& document) : m_document(document) {}

CSOAPReader::CSOAPReader(CAgg&& document) : m_document(std::move(document)) {}

CSOAPReader::~CSOAPReader() = default;

CAgg CSOAPReader::readHeader() {
    return readSection("Header", false);
}

CAgg CSOAPReader::readBody(CPartResolver* resolver) {
    CAgg result = readSection("Body", true);
    bindReferences(result, resolver);
    return result;
}

CAgg CSOAPReader::readSection(const char* name, bool withFaults) {
    setSOAPVersion(m_document);
    CAgg result;
    if (nameOf(m_document) != "Envelope")
        return result;
    CAgg* section = findChildElement(m_document, name);
    CAgg::CAggVector* children = section ? childrenOf(*section) : nullptr;
    if (!children)
        return result;
    for (size_t i = 0; i < children->size(); ++i) {
        CAgg& child = (*children)[i];
        if (withFaults && processFault(child))
            break;
        processNode(result, child);
    }
    return result;
}

bool CSOAPReader::hasFault() {
    return !m_faultString.isNull() && EStrGetCharLen(m_faultString) > 0;
}

CEStr CSOAPReader::getFaultString() {
    return m_faultString.isNull() ? emptyText() : m_faultString;
}

CEStr CSOAPReader::getFaultActor() {
    return m_faultActor.isNull() ? emptyText() : m_faultActor;
}

CEStr CSOAPReader::getFaultCode() {
    return m_faultCode.isNull() ? emptyText() : m_faultCode;
}

CAgg& CSOAPReader::getFaultDetail() {
    return m_faultDetail;
}

bool CSOAPReader::hasError() {
    return !m_error.isNull() && EStrGetCharLen(m_error) > 0;
}

CEStr CSOAPReader::getError() {
    return m_error.isNull() ? emptyText() : m_error;
}

long CSOAPReader::getErrorCode() {
    return m_errorCode;
}

void CSOAPReader::setAsXML(unsigned short flag) {
    m_asXML = flag;
}

void CSOAPReader::setXMLMessage(unsigned short flag) {
    m_xmlMessage = flag;
}

bool CSOAPReader::processFault(CAgg& node) {
    if (!CXMLElement(node).isElement() || nameOf(node) != "Fault")
        return false;
    // These are the SOAP 1.1 names. A SOAP 1.2 fault (Code, Reason, ...) is still taken for a
    // fault and ends the body, but leaves the fault string empty: it passes for an empty reply.
    CAgg::CAggVector* children = childrenOf(node);
    for (size_t i = 0; children && i < children->size(); ++i) {
        CAgg& child = (*children)[i];
        CXMLElement element(child);
        if (!element.isElement())
            continue;
        std::string name = nameOf(child);
        if (name == "faultstring")
            m_faultString = element.getValue();
        else if (name == "faultcode")
            m_faultCode = element.getValue();
        else if (name == "faultactor")
            m_faultActor = element.getValue();
        else if (name == "detail")
            processNode(m_faultDetail, child);
    }
    return true;
}

bool CSOAPReader::canResolvePartName(const _EStrRec* name) {
    (void)name;
    return false;
}

CAgg CSOAPReader::resolvePartName(const _EStrRec* name) {
    (void)name;
    return CAgg();
}

void CSOAPReader::bindReferences(CAgg& value, CPartResolver* resolver) {
    bindAt(value, resolver, 0);
}

void CSOAPReader::bindAt(CAgg& value, CPartResolver* resolver, long depth) {
    // The loops are written out, without a callback between them, to keep each level of the
    // walk to one frame of the stack.
    switch (value.getType()) {
    case CAgg::eVector:
        for (CAgg& item : value.toVector())
            bindAt(item, resolver, depth + 1);
        return;
    case CAgg::eMap:
        if (value.has("soap_href_id")) {
            bindReference(value, resolver, depth);
            return;
        }
        for (auto& [key, item] : value.toMap())
            bindAt(item, resolver, depth + 1);
        return;
    case CAgg::eQsAtomMap:
        if (value.has("soap_href_id")) {
            bindReference(value, resolver, depth);
            return;
        }
        for (auto& [atom, item] : value.toQsAtomMap())
            bindAt(item, resolver, depth + 1);
        return;
    default:
        return;
    }
}

void CSOAPReader::bindReference(CAgg& value, CPartResolver* resolver, long depth) {
    std::string ref = EStrToUTF8(CAggValueText(value["soap_href_id"]));
    if (!ref.empty() && ref[0] == '#') {
        CEStr name = EStrFromUTF8(ref.substr(1));
        if (!canResolvePartName(name))
            return;
        // The size of what a reference stands for is taken once, so that a reference that is
        // refused costs no copy.
        CAgg target;
        bool resolved = false;
        auto known = m_extents.find(ref);
        if (known == m_extents.end()) {
            target = resolvePartName(name);
            resolved = true;
            Extent extent;
            measure(target, 0, extent.values, extent.depth);
            known = m_extents.emplace(ref, extent).first;
        }
        const Extent& extent = known->second;
        if (depth + extent.depth > kMaxBindDepth || extent.values > kMaxBoundValues - m_boundValues)
            return;
        if (!resolved)
            target = resolvePartName(name);
        m_boundValues += extent.values;
        value = std::move(target);
        // The value may hold references in its turn: chains and nested references resolve.
        // Each resolution counts as a level, so that a value that is nothing but a reference
        // to itself ends at the bound too.
        bindAt(value, resolver, depth + 1);
        return;
    }
    if (!resolver)
        return;
    // The multipart reader keys its parts by Content-Id, angle brackets included.
    if (ref.compare(0, 4, "cid:") == 0)
        ref = "<" + ref.substr(4) + ">";
    CEStr part = EStrFromUTF8(ref);
    if (resolver->hasPart(part))
        value = CAgg(resolver->getPart(part), 1);
}

QName CSOAPReader::getQName(const _EStrRec* name) {
    auto [nameSpace, local] = SOAPSplitQName(EStrToUTF8(name));
    return {EStrFromUTF8(local), EStrFromUTF8(nameSpace)};
}

const CSOAPReader::AttributeKeys& CSOAPReader::attributeKeys() {
    // Made once and kept for the life of the process, past the end of static destruction.
    static const AttributeKeys* keys = new AttributeKeys{
        EStrFromUTF8(std::string(kXMLSchemaInstanceNS) + ":type"),
        EStrFromUTF8(std::string(kXMLSchemaInstance1999NS) + ":type"),
        EStrFromUTF8("id"),
        EStrFromUTF8("href"),
        EStrFromUTF8(std::string(kSOAP11EncodingNS) + ":root"),
    };
    return *keys;
}

void CSOAPReader::takeText(CAgg& value, CAgg& text) {
    if (text.getType() == CAgg::eEStr) {
        value = std::move(text);
        return;
    }
    value = CAgg(CAggValueText(text).get());
}

const _EStrRec* CSOAPReader::attributeText(CAgg& node, const CEStr& key, CEStr& holder) {
    CAgg* value = CXMLElement(node).findAttribute(key.get());
    if (!value)
        return nullptr;
    if (value->getType() == CAgg::eEStr)
        return value->toEStr();
    holder = CAggValueText(*value);
    return holder.get();
}

const _EStrRec* CSOAPReader::typeOf(CAgg& node, CEStr& holder) {
    const _EStrRec* type = attributeText(node, attributeKeys().type2001, holder);
    if (EStrGetCharLen(type) > 0)
        return type;
    return attributeText(node, attributeKeys().type1999, holder);
}

const _EStrRec* CSOAPReader::keyText(CAgg& node, CEStr& holder) {
    if (node.getType() == CAgg::eQsAtomMap) {
        CAgg::CAggQsAtomMap& fields = node.toQsAtomMap();
        auto name = fields.find(kXMLKeyName);
        auto nameSpace = fields.find(kXMLKeyNameSpace);
        bool noNameSpace =
            nameSpace == fields.end() || (nameSpace->second.getType() == CAgg::eEStr &&
                                          EStrGetLen(nameSpace->second.toEStr()) == 0);
        if (noNameSpace && name != fields.end() && name->second.getType() == CAgg::eEStr) {
            const _EStrRec* text = name->second.toEStr();
            if (EStrGetEncoding(text) == kEStrPDFDoc &&
                IsASCII(EStrGetBytes(text), static_cast<size_t>(EStrGetLen(text))))
                return text; // the key keyOf would make of it
        }
    }
    holder = keyOf(node);
    return holder.get();
}

CEStr CSOAPReader::getType(CAgg& node) {
    CXMLElement element(node);
    CEStr type = element.getAttribute(attributeKeys().type2001.get());
    if (EStrGetCharLen(type) > 0)
        return type;
    return element.getAttribute(attributeKeys().type1999.get());
}

bool CSOAPReader::isArrayNode(CAgg& node) {
    return isArrayType(getType(node));
}

bool CSOAPReader::isArrayType(const _EStrRec* type) {
    if (EStrGetCharLen(type) <= 0)
        return false;
    std::string scratch;
    return localPartOf(type, scratch) == "Array";
}

std::string_view CSOAPReader::localPartOf(const _EStrRec* qname, std::string& scratch) {
    // The parser makes a name of ASCII text a PDFDocEncoding string, whose bytes are the UTF-8.
    const char* bytes = EStrGetBytes(qname);
    long length = EStrGetLen(qname);
    if (EStrGetEncoding(qname) == kEStrPDFDoc && IsASCII(bytes, static_cast<size_t>(length))) {
        std::string_view name(bytes, static_cast<size_t>(length));
        size_t colon = name.rfind(':');
        return colon == std::string_view::npos ? name : name.substr(colon + 1);
    }
    scratch = SOAPSplitQName(EStrToUTF8(qname)).second;
    return scratch;
}

void CSOAPReader::setSOAPVersion(CAgg& element) {
    std::string nameSpace = EStrToUTF8(CXMLElement(element).getNameSpace());
    if (nameSpace == kSOAP11EnvelopeNS) {
        m_version = kSOAPVersion11;
        return;
    }
    if (nameSpace == kSOAP12EnvelopeNS) {
        m_version = kSOAPVersion12;
        return;
    }
    raiseHostError(-1);
}

CAgg* CSOAPReader::findChildElement(CAgg& element, const char* name) {
    CAgg::CAggVector* children = childrenOf(element);
    if (!children)
        return nullptr;
    for (CAgg& child : *children) {
        if (CXMLElement(child).isElement() && nameOf(child) == name)
            return &child;
    }
    return nullptr;
}

CEStr CSOAPReader::keyOf(CAgg& node) {
    CXMLElement element(node);
    CEStr name = element.getName();
    CEStr nameSpace = element.getNameSpace();
    if (EStrGetLen(nameSpace) == 0 && EStrGetEncoding(name) == kEStrPDFDoc &&
        IsASCII(EStrGetBytes(name), static_cast<size_t>(EStrGetLen(name))))
        return name; // already the key EStrFromUTF8 would make of it
    std::string local = EStrToUTF8(name);
    std::string uri = EStrToUTF8(nameSpace);
    return EStrFromUTF8(uri.empty() ? local : uri + ":" + local);
}

CAgg::CAggVector* CSOAPReader::childrenOf(CAgg& node) {
    if (!CAggIsMap(node) || !node.has(kXMLKeyChildren))
        return nullptr;
    CAgg& children = node[kXMLKeyChildren];
    return children.getType() == CAgg::eVector ? &children.toVector() : nullptr;
}

std::unique_ptr<CSOAPReader> getSOAPReader(CAgg& document, unsigned short encoded) {
    if (encoded)
        return std::make_unique<CEncodedSOAPReader>(document);
    return std::make_unique<CLiteralSOAPReader>(document);
}

std::unique_ptr<CSOAPReader> getSOAPReader(CAgg&& document, unsigned short encoded) {
    if (encoded)
        return std::make_unique<CEncodedSOAPReader>(std::move(document));
    return std::make_unique<CLiteralSOAPReader>(std::move(document));
}
