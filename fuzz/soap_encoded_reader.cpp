// Any bytes as a SOAP reply: parsed, then read by the encoded reader or the literal reader in one
// of its three styles, header and body. A reply may be refused (host error -1 for an envelope in
// another namespace) but nothing may crash or run without end, whatever its references do.
// Input: one byte choosing the reader, then the document.

#include "frame/HostError.h"
#include "fuzz/FuzzHost.h"
#include "soap/CSOAPReader.h"
#include "values/QsStm.h"
#include "xml/CXML2CAgg.h"

#include <cstdint>
#include <functional>

namespace {

void setUp() {
    fuzzInstallCoreAndEncodings(true);
}

// Reads every stream in the value, as a caller would.
void touch(CAgg& value) {
    if (value.getType() == CAgg::eQsStm) {
        QsStmReadAll(value.toQsStm(), 512);
    } else if (value.getType() == CAgg::eVector) {
        for (CAgg& item : value.toVector())
            touch(item);
    } else if (value.getType() == CAgg::eMap) {
        for (auto& [key, item] : value.toMap())
            touch(item);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool ready = (setUp(), true);
    (void)ready;
    if (size < 1)
        return 0;
    uint8_t style = data[0] % 4;
    CXML2CAgg parser;
    if (!parser.parse(reinterpret_cast<const char*>(data + 1), static_cast<int>(size - 1), 1))
        return 0;
    std::unique_ptr<CSOAPReader> reader = getSOAPReader(parser.getRoot(), style == 0 ? 1 : 0);
    reader->setAsXML(style == 2 ? 1 : 0);
    reader->setXMLMessage(style == 3 ? 1 : 0);
    HostFrame frame;
    frame.run([&] {
        CAgg header = reader->readHeader();
        CAgg body = reader->readBody(nullptr);
        touch(header);
        touch(body);
        touch(reader->getFaultDetail());
    });
    return 0;
}
