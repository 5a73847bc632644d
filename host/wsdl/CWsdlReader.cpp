#include "host/wsdl/CWsdlReader.h"

#include "host/wsdl/CXmlTree.h"
#include "host/wsdl/WsdlDefinitions.h"
#include "host/wsdl/WsdlLocation.h"

#include <set>
#include <string>

namespace {

constexpr long kReadBlock = 4096;

// UTF-8 as UTF-16 units; a malformed sequence gives U+FFFD and moves on by one byte.
QsTextRec textOf(const std::string& utf8) {
    QsTextRec text;
    const auto* bytes = reinterpret_cast<const unsigned char*>(utf8.data());
    size_t length = utf8.size();
    for (size_t i = 0; i < length;) {
        unsigned char lead = bytes[i];
        int extra = lead < 0x80           ? 0
                    : (lead >> 5) == 0x6  ? 1
                    : (lead >> 4) == 0xE  ? 2
                    : (lead >> 3) == 0x1E ? 3
                                          : -1;
        uint32_t point = extra == 0   ? lead
                         : extra == 1 ? lead & 0x1F
                         : extra == 2 ? lead & 0x0F
                                      : lead & 0x07;
        bool valid = extra >= 0 && i + static_cast<size_t>(extra) < length;
        for (int k = 1; valid && k <= extra; ++k) {
            unsigned char next = bytes[i + static_cast<size_t>(k)];
            valid = (next & 0xC0) == 0x80;
            point = (point << 6) | (next & 0x3F);
        }
        static const uint32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
        if (!valid || point < kLeast[extra] || point > 0x10FFFF ||
            (point >= 0xD800 && point < 0xE000)) {
            text.units.push_back(0xFFFD);
            ++i;
            continue;
        }
        i += static_cast<size_t>(extra) + 1;
        if (point >= 0x10000) {
            point -= 0x10000;
            text.units.push_back(static_cast<char16_t>(0xD800 + (point >> 10)));
            text.units.push_back(static_cast<char16_t>(0xDC00 + (point & 0x3FF)));
        } else {
            text.units.push_back(static_cast<char16_t>(point));
        }
    }
    return text;
}

// The parameter cabinet of one record, destroyed with the guard.
class ParameterCabinet {
public:
    ParameterCabinet(ICabinets& cabinets, const std::vector<std::string>& names)
        : m_cabinets(cabinets), m_cab(cabinets.newCabinet()) {
        for (size_t i = 0; i < names.size(); ++i)
            m_cabinets.putText(m_cab, std::to_string(i).c_str(), textOf(names[i]));
    }
    ~ParameterCabinet() { m_cabinets.destroyCabinet(m_cab); }
    ParameterCabinet(const ParameterCabinet&) = delete;
    ParameterCabinet& operator=(const ParameterCabinet&) = delete;
    QsCab get() const { return m_cab; }

private:
    ICabinets& m_cabinets;
    QsCab m_cab;
};

int32_t styleOf(const WsdlOperation& operation) {
    if (!operation.rpc)
        return kWsdlStyleDocument;
    return operation.encoded ? kWsdlStyleRPCEncoded : kWsdlStyleRPCLiteral;
}

// The body of a document fetched through the network: false when it cannot be had whole.
bool fetchDocument(INetwork& network, const std::string& url, std::string& body) {
    NetRequest request = network.openURL(url.c_str(), kNetOpenRead);
    if (!request)
        return false;
    long status = network.sendAndWait(request) ? network.status(request) : 0;
    bool ok = status >= 200 && status < 300;
    char block[kReadBlock];
    while (ok) {
        long count = network.read(request, block, kReadBlock);
        if (count == 0)
            break;
        ok = count > 0 && body.size() + static_cast<size_t>(count) <= CWsdlReader::kMaxImportBytes;
        if (ok)
            body.append(block, static_cast<size_t>(count));
    }
    network.close(request);
    return ok;
}

bool parseDocument(const char* bytes, size_t length, CXmlTree& tree) {
    return tree.parse(bytes, length, true) && tree.root();
}

// The imports of one document and all they import in turn, added to definitions after what is
// there: depth first, in document order.
struct ImportWalk {
    INetwork& network;
    std::set<std::string> seen;
    int documents = 0;

    void follow(const XmlElement& root, const std::string& url, int depth,
                WsdlDefinitions& definitions) {
        for (const XmlElement* import : root.childrenNamed(kWsdlNamespace, "import")) {
            const std::string* location = import->attribute("location");
            if (!location || location->empty() || depth >= CWsdlReader::kMaxImportDepth ||
                documents >= CWsdlReader::kMaxImportedDocuments)
                continue;
            std::string target = resolveWsdlLocation(url, *location);
            if (target.empty() || !seen.insert(target).second)
                continue;
            ++documents;
            std::string body;
            CXmlTree tree;
            WsdlDefinitions imported;
            if (!fetchDocument(network, target, body) ||
                !parseDocument(body.data(), body.size(), tree) ||
                !readWsdlDefinitions(*tree.root(), imported))
                continue; // an XML Schema, or a document that is not there
            follow(*tree.root(), target, depth + 1, imported);
            appendWsdlDefinitions(definitions, std::move(imported));
        }
    }
};

} // namespace

int32_t CWsdlReader::readWsdl(QsStm stream, WsdlOperationProc proc, void* context) {
    return readWsdlFrom(stream, nullptr, proc, context);
}

int32_t CWsdlReader::readWsdlFrom(QsStm stream, const char* url, WsdlOperationProc proc,
                                  void* context) {
    if (!stream || !proc)
        return 0;
    CXmlTree tree;
    char block[kReadBlock];
    for (;;) {
        long count = stream->read(block, kReadBlock);
        if (count < 0)
            return 0;
        if (!tree.parse(block, static_cast<size_t>(count), count == 0))
            return 0;
        if (count == 0)
            break;
    }
    WsdlDefinitions definitions;
    if (!tree.root() || !readWsdlDefinitions(*tree.root(), definitions))
        return 0;
    if (m_network) {
        // Without a URL of its own, only imports at absolute locations can be found.
        ImportWalk walk{*m_network, {}, 0};
        std::string base = url ? url : "";
        walk.seen.insert(base);
        walk.follow(*tree.root(), base, 0, definitions);
    }
    int32_t delivered = 0;
    for (const WsdlOperation& operation : selectWsdlOperations(definitions)) {
        ParameterCabinet parameters(m_cabinets, operation.parameters);
        WsdlOperationRec record{textOf(operation.methodName),
                                textOf(operation.methodNamespace),
                                parameters.get(),
                                styleOf(operation),
                                textOf(operation.url),
                                textOf(operation.soapAction),
                                textOf(operation.parameterOrder),
                                textOf(operation.serviceName),
                                textOf(operation.portName)};
        proc(record, context);
        ++delivered;
    }
    return delivered;
}
