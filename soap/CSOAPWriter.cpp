#include "soap/CSOAPWriter.h"

#include "frame/HostError.h"
#include "frame/QsCore.h"
#include "frame/UTF8.h"
#include "frame/ZString.h"
#include "frame/host/IScriptEngine.h"
#include "soap/CEncodedSOAPWriter.h"
#include "soap/CLiteralSOAPWriter.h"
#include "soap/SOAPNamespaces.h"
#include "soap/SOAPText.h"
#include "values/CAggWalk.h"
#include "values/CLazyAtom.h"
#include "values/miTime.h"
#include "xml/XMLName.h"

#include <cstdio>
#include <cstring>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

namespace {

// The keys that never become child elements.
constexpr std::string_view kReservedKeys[] = {
    "soapName",       "soapQName",          "soapType",  "soapHREF",           "soapValue",
    "soapAttributes", "soapParameterOrder", "soapActor", "soapMustUnderstand",
};

// The keys of ReservedEntries, in its order.
const CLazyAtom kReservedEntryKeys[] = {
    CLazyAtom("soapName"),  CLazyAtom("soapQName"), CLazyAtom("soapType"),
    CLazyAtom("soapValue"), CLazyAtom("soapHREF"),  CLazyAtom("soapAttributes"),
};

// No message of the table fits a request too deep to walk, so the writer has its own text.
constexpr const char* kTooDeepText = "The request is nested too deeply to be written.";

// Whether a value nests deeper than limit. The walk keeps a list of its own instead of recursing,
// since the value is not yet known to be shallow.
bool nestsDeeperThan(CAgg& value, long limit) {
    std::vector<std::pair<CAgg*, long>> pending{{&value, 0}};
    while (!pending.empty()) {
        auto [at, depth] = pending.back();
        pending.pop_back();
        if (depth > limit)
            return true;
        CAggForEachChild(
            *at, [&, depth = depth](CAgg& item) { pending.emplace_back(&item, depth + 1); });
    }
    return false;
}

// Whether two texts are one text: the same record, or the same encoding and the same bytes.
bool sameBytes(const _EStrRec* a, const _EStrRec* b) {
    if (a == b)
        return true;
    if (!a || !b || EStrGetEncoding(a) != EStrGetEncoding(b) || EStrGetLen(a) != EStrGetLen(b))
        return false;
    return EStrGetLen(a) == 0 ||
           std::memcmp(EStrGetBytes(a), EStrGetBytes(b), static_cast<size_t>(EStrGetLen(a))) == 0;
}

} // namespace

CSOAPWriter::CSOAPWriter(CAgg& header, CAgg& request)
    : m_keys(CXMLKeyAtoms::current()),
      m_tooDeep(nestsDeeperThan(header, kMaxDepth) || nestsDeeperThan(request, kMaxDepth)) {
    // A value too deep is not even copied, since a copy recurses as deep as the value; the
    // write then fails.
    if (m_tooDeep)
        return;
    m_header = header;
    m_request = request;
}

CSOAPWriter::CSOAPWriter(CAgg&& header, CAgg&& request)
    : m_keys(CXMLKeyAtoms::current()),
      m_tooDeep(nestsDeeperThan(header, kMaxDepth) || nestsDeeperThan(request, kMaxDepth)) {
    if (m_tooDeep)
        return;
    m_header = std::move(header);
    m_request = std::move(request);
}

CSOAPWriter::~CSOAPWriter() = default;

void CSOAPWriter::setParameterOrder(std::vector<CAgg>& order) {
    (void)order;
}

void CSOAPWriter::setDefaultNS(const _EStrRec* nameSpace) {
    (void)nameSpace;
}

void CSOAPWriter::setVersion(SOAPVersion version) {
    m_version = version;
}

bool CSOAPWriter::hasError() {
    return !m_error.isNull() && EStrGetCharLen(m_error) > 0;
}

long CSOAPWriter::getErrorCode() {
    return m_errorCode;
}

CEStr CSOAPWriter::getError() {
    return m_error.isNull() ? CEStr("", kEStrPDFDoc) : m_error;
}

void CSOAPWriter::addHeader(CAgg& value, CXMLElement& element, long depth) {
    if (value.has("soapActor")) {
        if (depth != 1)
            fail("IDS_SOAP_ACTOR_BAD_POSITION");
        CAgg& actor = value["soapActor"];
        if (!CAggIsString(actor))
            fail("IDS_SOAP_ACTOR_NOT_STRING");
        CEStr text = CAggValueText(actor);
        if (EStrGetCharLen(text) == 0)
            fail("IDS_SOAP_ACTOR_EMPTY");
        // SOAP 1.2 calls it a role, but the attribute keeps its 1.1 name in both versions.
        element.setAttribute(CEStr("SOAP-ENV:actor", kEStrPDFDoc), attributeValue(text));
    }
    if (value.has("soapMustUnderstand")) {
        if (depth != 1)
            fail("IDS_SOAP_MUST_UNDERSTAND_BAD_POSITION");
        CAgg& flag = value["soapMustUnderstand"];
        if (flag.getType() != CAgg::eQsBool)
            fail("IDS_SOAP_MUST_UNDERSTAND_NOT_BOOL");
        if (flag.toQsBool())
            element.setAttribute("SOAP-ENV:mustUnderstand", "1");
    }
}

QName CSOAPWriter::getQName(const _EStrRec* name) {
    std::string text = EStrToUTF8(name);
    auto [nameSpace, local] = SOAPSplitQName(text);
    if (nameSpace == "xsd" || nameSpace == "xsi")
        return {EStrFromUTF8(text), EStrFromUTF8("")};
    return {EStrFromUTF8(local), EStrFromUTF8(nameSpace)};
}

void CSOAPWriter::setName(CXMLElement& element, const _EStrRec* name) {
    setName(element, elementName(name));
}

bool CSOAPWriter::isPlainName(const _EStrRec* name) {
    return name && EStrGetEncoding(name) == kEStrPDFDoc &&
           IsASCII(EStrGetBytes(name), static_cast<size_t>(EStrGetLen(name)));
}

void CSOAPWriter::setName(CXMLElement& element, const QName& name) {
    setName(element, elementName(name));
}

void CSOAPWriter::setName(CXMLElement& element, const ElementName& name) {
    if (!name.declarationKey.isNull())
        element.setAttribute(name.declarationKey, name.declarationValue);
    element.setName(name.text());
}

CSOAPWriter::ElementName CSOAPWriter::elementName(const _EStrRec* name) {
    if (isPlainName(name)) {
        std::string_view text(EStrGetBytes(name), static_cast<size_t>(EStrGetLen(name)));
        if (text.find(':') == std::string_view::npos) {
            // A name without a namespace is its own local name, as getQName would give it.
            checkName(std::string(text), false);
            return {name, {}, {}, {}};
        }
    }
    return elementName(getQName(name));
}

CSOAPWriter::ElementName CSOAPWriter::elementName(const QName& name) {
    ElementName result;
    if (EStrGetCharLen(name.nameSpace) == 0) {
        checkName(EStrToUTF8(name.name), false);
        result.held = name.name;
        return result;
    }
    checkName(EStrToUTF8(name.name), true);
    // Every name in a namespace declares a fresh prefix, even for a namespace declared before.
    std::string prefix = EStrToUTF8(createNSPrefix());
    result.declarationKey = EStrFromUTF8("xmlns:" + prefix);
    result.declarationValue = attributeValue(name.nameSpace);
    result.held = EStrFromUTF8(prefix + ":" + EStrToUTF8(name.name));
    return result;
}

void CSOAPWriter::setSharedAttribute(CXMLElement& element, const _EStrRec* key,
                                     const _EStrRec* value, bool keptTexts) {
    // Texts kept for the life of the process are found by their address before any text is
    // compared: no other record can have it.
    for (const SharedAttribute& shared : m_sharedAttributes) {
        if (shared.keyGiven == key && shared.valueGiven == value) {
            element.shareAttributes(shared.map);
            return;
        }
    }
    for (const SharedAttribute& shared : m_sharedAttributes) {
        if (sameBytes(shared.key, key) && sameBytes(shared.value, value)) {
            element.shareAttributes(shared.map);
            return;
        }
    }
    if (m_sharedAttributes.size() >= kMaxSharedAttributes) {
        element.setAttribute(key, value);
        return;
    }
    CAgg map;
    map[key] = CAgg(value);
    map.shareMap();
    element.shareAttributes(map);
    m_sharedAttributes.push_back({CEStr(key), CEStr(value), keptTexts ? key : nullptr,
                                  keptTexts ? value : nullptr, std::move(map)});
}

CEStr CSOAPWriter::createNSPrefix() {
    char prefix[32];
    std::snprintf(prefix, sizeof prefix, "ns%ld", ++m_nsCounter);
    return CEStr(prefix, kEStrPDFDoc);
}

CEStr CSOAPWriter::getDateTime(CAgg& value) {
    CAgg copy(value);
    CEStr text("", kEStrPDFDoc);
    getHTTPDateString(copy.toQsTimeRec(), text);
    return text;
}

bool CSOAPWriter::isReservedKey(const _EStrRec* key) {
    // Every reserved key begins "soap"; most keys are told apart by their first byte.
    if (isPlainName(key) && (EStrGetLen(key) == 0 || EStrGetBytes(key)[0] != 's'))
        return false;
    std::string text = EStrToUTF8(key);
    for (std::string_view reserved : kReservedKeys) {
        if (text == reserved)
            return true;
    }
    return false;
}

CEStr CSOAPWriter::attributeValue(const _EStrRec* text) {
    // ASCII text is its own UTF-8: it is looked at where it lies.
    if (isPlainName(text) &&
        std::string_view(EStrGetBytes(text), static_cast<size_t>(EStrGetLen(text)))
                .find_first_of("&<\"") == std::string_view::npos)
        return CEStr(text);
    std::string value = EStrToUTF8(text);
    if (value.find_first_of("&<\"") == std::string::npos)
        return CEStr(text);
    std::string escaped;
    for (char c : value) {
        if (c == '&')
            escaped += "&amp;";
        else if (c == '<')
            escaped += "&lt;";
        else if (c == '"')
            escaped += "&quot;";
        else
            escaped += c;
    }
    return EStrFromUTF8(escaped);
}

CAgg CSOAPWriter::writeEnvelope(bool withEncodingNS) {
    if (m_tooDeep)
        checkDepth(kMaxDepth + 1);
    takeAtoms();
    // Maps shared with the elements of a message written before stay with them.
    m_sharedAttributes.clear();
    CAgg envelope;
    CXMLElement root = view(envelope);
    root.setType(kXMLTypeElement);
    root.setName("SOAP-ENV:Envelope");
    root.setAttribute("xmlns:xsi", kXMLSchemaInstanceNS);
    root.setAttribute("xmlns:xsd", kXMLSchemaNS);
    if (withEncodingNS)
        root.setAttribute("xmlns:SOAP-ENC", kSOAP11EncodingNS);
    root.setAttribute("xmlns:SOAP-ENV", kSOAP11EnvelopeNS);
    if (m_version == kSOAPVersion12) {
        if (withEncodingNS)
            root.setAttribute("xmlns:SOAP-ENC", kSOAP12EncodingNS);
        root.setAttribute("xmlns:SOAP-ENV", kSOAP12EnvelopeNS);
    }
    if (m_header.getType() != CAgg::eVoid) {
        CXMLElement header = view(root.appendElement("SOAP-ENV:Header"));
        writeNode(m_header, header, 0, 1);
    }
    CXMLElement body = view(root.appendElement("SOAP-ENV:Body"));
    writeNode(m_request, body, 0, 0);
    return envelope;
}

void CSOAPWriter::fail(const char* messageKey) {
    m_error = CEStr::adopt(EStrNewFromID(miGetZStringID(messageKey)));
    raiseHostError(-1);
}

void CSOAPWriter::checkName(const std::string& name, bool local) {
    // A local name goes behind a prefix of the writer's; any other name stands whole, perhaps
    // behind a prefix of its own ("xsd:int").
    size_t colon = name.find(':');
    bool valid = local || colon == std::string::npos
                     ? XMLIsNCName(name)
                     : XMLIsNCName(std::string_view(name).substr(0, colon)) &&
                           XMLIsNCName(std::string_view(name).substr(colon + 1));
    if (valid)
        return;
    m_error = EStrFromUTF8("The name \"" + name + "\" is not an XML name.");
    raiseHostError(kESErrBadArgument);
}

void CSOAPWriter::checkAttributeName(const _EStrRec* key) {
    std::string name = EStrToUTF8(key);
    size_t colon = name.rfind(':');
    if (colon != std::string::npos && colon > 0 &&
        XMLIsNCName(std::string_view(name).substr(colon + 1)))
        return;
    checkName(name, false);
}

void CSOAPWriter::checkDepth(long depth) {
    if (depth <= kMaxDepth)
        return;
    m_error = CEStr(kTooDeepText, kEStrPDFDoc);
    raiseHostError(-1);
}

const char* CSOAPWriter::encodingNS() const {
    return m_version == kSOAPVersion12 ? kSOAP12EncodingNS : kSOAP11EncodingNS;
}

void CSOAPWriter::applyQName(CAgg& value, CXMLElement& element) {
    applyQName(value.has("soapQName") ? &value["soapQName"] : nullptr, element);
}

void CSOAPWriter::applyQName(CAgg* entry, CXMLElement& element) {
    if (!entry)
        return;
    CAgg& qname = *entry;
    if (qname.getType() != CAgg::eVector || qname.toVector().size() != 2)
        fail("IDS_SOAP_QNAME_NOT_VECTOR");
    CAgg::CAggVector& parts = qname.toVector();
    std::string name =
        EStrToUTF8(CAggValueText(parts[0])) + ":" + EStrToUTF8(CAggValueText(parts[1]));
    setName(element, EStrFromUTF8(name).get());
}

void CSOAPWriter::takeAtoms() {
    m_keys = CXMLKeyAtoms::current();
    for (size_t i = 0; i < std::size(kReservedEntryKeys); ++i)
        m_reservedAtoms[i] = kReservedEntryKeys[i].get();
    m_atomNames.clear();
}

void CSOAPWriter::reserveChildren(CXMLElement& element, size_t count) {
    if (count > 0)
        element.children().reserve(count);
}

size_t CSOAPWriter::entryCount(CAgg& map) {
    if (const CAgg::CAggMap* entries = map.mapEntries())
        return entries->size();
    return map.getType() == CAgg::eQsAtomMap ? map.toQsAtomMap().size() : 0;
}

const CEStr& CSOAPWriter::atomName(QsAtom atom) {
    auto found = m_atomNames.find(atom);
    if (found == m_atomNames.end())
        found = m_atomNames.emplace(atom, CEStr(QsAtomGetString(atom), kEStrPDFDoc)).first;
    return found->second;
}

CSOAPWriter::ReservedEntries CSOAPWriter::reservedEntriesOf(CAgg& map) const {
    ReservedEntries found;
    if (map.getType() == CAgg::eQsAtomMap) {
        // An atom key is the key of a lookup by its text when it is the atom of that text.
        CAgg** slots[] = {&found.name,  &found.qname, &found.type,
                          &found.value, &found.href,  &found.attributes};
        for (auto& [atom, item] : map.toQsAtomMap()) {
            for (size_t i = 0; i < std::size(slots); ++i) {
                if (atom == m_reservedAtoms[i])
                    *slots[i] = &item;
            }
        }
        return found;
    }
    if (map.getType() != CAgg::eMap) {
        auto find = [&](const char* key) { return map.has(key) ? &map[key] : nullptr; };
        found = {find("soapName"),  find("soapQName"), find("soapType"),
                 find("soapValue"), find("soapHREF"),  find("soapAttributes")};
        return found;
    }
    // A text key is the key of a lookup by its text when it has the same encoding and the same
    // characters; every reserved key begins "soap".
    for (auto& [key, item] : map.toMap()) {
        const char* bytes = EStrGetBytes(key);
        if (EStrGetEncoding(key) != kEStrPDFDoc || std::strncmp(bytes, "soap", 4) != 0)
            continue;
        const char* rest = bytes + 4;
        if (std::strcmp(rest, "Name") == 0)
            found.name = &item;
        else if (std::strcmp(rest, "QName") == 0)
            found.qname = &item;
        else if (std::strcmp(rest, "Type") == 0)
            found.type = &item;
        else if (std::strcmp(rest, "Value") == 0)
            found.value = &item;
        else if (std::strcmp(rest, "HREF") == 0)
            found.href = &item;
        else if (std::strcmp(rest, "Attributes") == 0)
            found.attributes = &item;
    }
    return found;
}

std::unique_ptr<CSOAPWriter> getSOAPWriter(CAgg& header, CAgg& request, unsigned short encoded) {
    if (encoded)
        return std::make_unique<CEncodedSOAPWriter>(header, request);
    return std::make_unique<CLiteralSOAPWriter>(header, request);
}

std::unique_ptr<CSOAPWriter> getSOAPWriter(CAgg&& header, CAgg&& request, unsigned short encoded) {
    if (encoded)
        return std::make_unique<CEncodedSOAPWriter>(std::move(header), std::move(request));
    return std::make_unique<CLiteralSOAPWriter>(std::move(header), std::move(request));
}
