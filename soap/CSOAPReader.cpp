#include "soap/CSOAPReader.h"

#include "frame/HostError.h"
#include "frame/UTF8.h"
#include "soap/CEncodedSOAPReader.h"
#include "soap/CLiteralSOAPReader.h"
#include "soap/SOAPNamespaces.h"
#include "soap/SOAPText.h"
#include "values/CAggWalk.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace {

// The attribute keys the readers look for, as the parser makes them (URI, ":", local name).
struct WantedKeys {
    std::string type2001 = std::string(kXMLSchemaInstanceNS) + ":type";
    std::string type1999 = std::string(kXMLSchemaInstance1999NS) + ":type";
    std::string root = std::string(kSOAP11EncodingNS) + ":root";
};

const WantedKeys& wantedKeys() {
    // Made once and kept for the life of the process, past the end of static destruction.
    static const WantedKeys* keys = new WantedKeys;
    return *keys;
}

// Whether a key is the same map key as the ASCII text, as a map's order holds keys the same:
// of the same encoding and with the same characters.
bool isKey(const _EStrRec* key, const char* text) {
    return key && EStrGetEncoding(key) == kEStrPDFDoc && std::strcmp(EStrGetBytes(key), text) == 0;
}

// A single-byte string all of whose bytes are ASCII: its bytes are its UTF-8.
bool isASCIIText(const _EStrRec* text) {
    int32_t encoding = EStrGetEncoding(text);
    return encoding != kEStrUCS && encoding != kEStrUCSShaped &&
           IsASCII(EStrGetBytes(text), static_cast<size_t>(EStrGetLen(text)));
}

// The string held by an entry, when it is one.
const _EStrRec* stringIn(CAgg* value) {
    return value && value->getType() == CAgg::eEStr ? value->toEStr() : nullptr;
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

CSOAPReader::CSOAPReader(CAgg& document) : m_document(document), m_keys(CXMLKeyAtoms::current()) {}

CSOAPReader::CSOAPReader(CAgg&& document)
    : m_document(std::move(document)), m_keys(CXMLKeyAtoms::current()) {}

CSOAPReader::~CSOAPReader() = default;

CAgg CSOAPReader::readHeader() {
    return readSection("Header", false);
}

CAgg CSOAPReader::readBody(CPartResolver* resolver) {
    CAgg result = readSection("Body", true);
    // Binding walks the whole value; without values by id or attachments it changes nothing.
    if (resolver || m_hasReferencedValues)
        bindReferences(result, resolver);
    return result;
}

CAgg CSOAPReader::readSection(const char* name, bool withFaults) {
    setSOAPVersion(m_document);
    CAgg result;
    refreshKeys();
    if (!hasLocalName(CXMLEntries::of(m_document, m_keys), "Envelope"))
        return result;
    CAgg* section = findChildElement(m_document, name);
    CAgg::CAggVector* children = section ? CXMLEntries::of(*section, m_keys).childList() : nullptr;
    if (!children)
        return result;
    struct Consuming {
        bool& flag;
        explicit Consuming(bool& consuming) : flag(consuming) { flag = true; }
        ~Consuming() { flag = false; }
    } consuming(m_consuming);
    for (size_t i = 0; i < children->size(); ++i) {
        CAgg& child = (*children)[i];
        if (withFaults && processFault(child))
            break;
        processNode(result, child);
        child = CAgg();
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
    CXMLEntries entries = CXMLEntries::of(node, refreshKeys());
    if (entries.typeAtom() != m_keys.element || !hasLocalName(entries, "Fault"))
        return false;
    // These are the SOAP 1.1 names. A SOAP 1.2 fault (Code, Reason, ...) is still taken for a
    // fault and ends the body, but leaves the fault string empty: it passes for an empty reply.
    CAgg::CAggVector* children = entries.childList();
    for (size_t i = 0; children && i < children->size(); ++i) {
        CAgg& child = (*children)[i];
        CXMLElement element(child);
        if (!element.isElement())
            continue;
        std::string name = EStrToUTF8(element.getName());
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
    // The key a reference is held under, made once: the walk asks every map for it.
    static const CEStr* const referenceKey = new CEStr("soap_href_id", kEStrPDFDoc);
    // The loops are written out, without a callback between them, to keep each level of the
    // walk to one frame of the stack.
    switch (value.getType()) {
    case CAgg::eVector:
        for (CAgg& item : value.toVector())
            bindAt(item, resolver, depth + 1);
        return;
    case CAgg::eMap:
        if (value.has(referenceKey->get())) {
            bindReference(value, resolver, depth);
            return;
        }
        for (auto& [key, item] : value.toMap())
            bindAt(item, resolver, depth + 1);
        return;
    case CAgg::eQsAtomMap:
        if (value.has(referenceKey->get())) {
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

const CXMLKeyAtoms& CSOAPReader::refreshKeys() {
    m_keys = CXMLKeyAtoms::current();
    return m_keys;
}

void CSOAPReader::takeText(CAgg& value, CAgg& text) {
    if (text.getType() == CAgg::eEStr) {
        value = std::move(text);
        return;
    }
    value = CAgg(CAggValueText(text).get());
}

CSOAPReader::ReplyAttributes CSOAPReader::replyAttributesOf(const CAgg* attr) {
    ReplyAttributes found;
    if (!attr)
        return found;
    const WantedKeys& wanted = wantedKeys();
    if (const CAgg::CAggMap* entries = attr->mapEntries()) {
        // One pass over the attributes, most often a type alone, rather than a lookup per key.
        for (const auto& [key, value] : *entries) {
            const char* bytes = EStrGetBytes(key);
            if (isKey(key, "id"))
                found.id = &value;
            else if (isKey(key, "href"))
                found.href = &value;
            else if (bytes[0] != 'h')
                continue;
            else if (isKey(key, wanted.type2001.c_str()))
                found.type2001 = &value;
            else if (isKey(key, wanted.type1999.c_str()))
                found.type1999 = &value;
            else if (isKey(key, wanted.root.c_str()))
                found.root = &value;
        }
        return found;
    }
    // Attributes of another kind are looked up as any reader looks them up.
    auto find = [&](const std::string& key) -> const CAgg* {
        CEStr text = EStrFromUTF8(key);
        return attr->has(text.get()) ? &(*const_cast<CAgg*>(attr))[text] : nullptr;
    };
    found.type2001 = find(wanted.type2001);
    found.type1999 = find(wanted.type1999);
    found.id = find("id");
    found.href = find("href");
    found.root = find(wanted.root);
    return found;
}

const _EStrRec* CSOAPReader::textOf(const CAgg* value, CEStr& holder) {
    if (!value)
        return nullptr;
    // Reading a string as a string converts nothing.
    if (value->getType() == CAgg::eEStr)
        return const_cast<CAgg*>(value)->toEStr();
    holder = CAggValueText(*value);
    return holder.get();
}

const _EStrRec* CSOAPReader::typeOf(const ReplyAttributes& attributes, CEStr& holder) {
    const _EStrRec* type = textOf(attributes.type2001, holder);
    if (EStrGetCharLen(type) > 0)
        return type;
    return textOf(attributes.type1999, holder);
}

const _EStrRec* CSOAPReader::keyText(CAgg& node, const CXMLEntries& entries, CEStr& holder) {
    const _EStrRec* name = stringIn(entries.name);
    const _EStrRec* nameSpace = stringIn(entries.nameSpace);
    bool plainName = name && isASCIIText(name);
    if (plainName && !entries.nameSpace && EStrGetEncoding(name) == kEStrPDFDoc)
        return name; // the key keyOf would make of it
    if (plainName && nameSpace && isASCIIText(nameSpace)) {
        long nameLength = EStrGetLen(name);
        long nameSpaceLength = EStrGetLen(nameSpace);
        if (nameSpaceLength == 0 && EStrGetEncoding(name) == kEStrPDFDoc)
            return name;
        // Namespace, ":", name as the UTF-8 of ASCII text makes it: a PDFDocEncoding string.
        m_keyBytes.assign(EStrGetBytes(nameSpace), static_cast<size_t>(nameSpaceLength));
        if (nameSpaceLength > 0)
            m_keyBytes += ':';
        m_keyBytes.append(EStrGetBytes(name), static_cast<size_t>(nameLength));
        long length = static_cast<long>(m_keyBytes.size());
        // A string is always followed by two zero bytes.
        m_keyBytes.append(2, '\0');
        m_joinedKey = _EStrRec{};
        m_joinedKey.encoding = kEStrPDFDoc;
        m_joinedKey.bytes = m_keyBytes.data();
        m_joinedKey.length = static_cast<int32_t>(length);
        return &m_joinedKey;
    }
    holder = keyOf(node);
    return holder.get();
}

CEStr CSOAPReader::getType(CAgg& node) {
    CEStr holder;
    ReplyAttributes attributes = replyAttributesOf(CXMLEntries::of(node, refreshKeys()).attr);
    const _EStrRec* type = typeOf(attributes, holder);
    return type ? CEStr(type) : CEStr("", kEStrPDFDoc);
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
    CAgg::CAggVector* children = CXMLEntries::of(element, m_keys).childList();
    if (!children)
        return nullptr;
    for (CAgg& child : *children) {
        CXMLEntries entries = CXMLEntries::of(child, m_keys);
        if (entries.typeAtom() == m_keys.element && hasLocalName(entries, name))
            return &child;
    }
    return nullptr;
}

bool CSOAPReader::hasLocalName(const CXMLEntries& entries, std::string_view name) {
    const _EStrRec* text = stringIn(entries.name);
    if (text && isASCIIText(text))
        return std::string_view(EStrGetBytes(text), static_cast<size_t>(EStrGetLen(text))) == name;
    CEStr holder;
    return EStrToUTF8(textOf(entries.name, holder)) == name;
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
