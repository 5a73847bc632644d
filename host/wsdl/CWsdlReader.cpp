#include "host/wsdl/CWsdlReader.h"

#include "host/wsdl/CXmlTree.h"
#include "host/wsdl/WsdlDefinitions.h"

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

} // namespace

int32_t CWsdlReader::readWsdl(QsStm stream, WsdlOperationProc proc, void* context) {
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
    int32_t delivered = 0;
    for (const WsdlOperation& operation : selectWsdlOperations(definitions)) {
        ParameterCabinet parameters(m_cabinets, operation.parameters);
        WsdlOperationRec record{textOf(operation.methodName),
                                textOf(operation.methodNamespace),
                                parameters.get(),
                                styleOf(operation),
                                textOf(operation.url),
                                textOf(operation.soapAction),
                                textOf(operation.parameterOrder)};
        proc(record, context);
        ++delivered;
    }
    return delivered;
}
