// Bytes to feed record and back: whatever parses must read to a record without harm, write as
// RSS 2.0 and serialise; the written text must parse again and read to a record with as many
// items as were written. Reading the bytes straight to the record, without the tree, must give
// the same record.
#include "fuzz/FuzzHost.h"
#include "rss/CRSSReader.h"
#include "rss/CRSSWriter.h"
#include "xml/CAgg2XML.h"
#include "xml/CXML2CAgg.h"

#include <cstdint>
#include <string>

namespace {

void setUp() {
    fuzzInstallCoreAndEncodings(false);
}

std::string serialise(CAgg tree) {
    CAgg2XML serialiser(std::move(tree));
    std::string text;
    char buffer[4096];
    for (long n; (n = serialiser.readProc(buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<size_t>(n));
    return text;
}

/// The number of items of a record.
size_t itemCount(CAgg& record) {
    if (!record.has(kRSSKeyItems) || record[kRSSKeyItems].getType() != CAgg::eVector)
        return 0;
    return record[kRSSKeyItems].toVector().size();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool ready = (setUp(), true);
    (void)ready;
    CXML2CAgg parser;
    if (!parser.parse(reinterpret_cast<const char*>(data), static_cast<int>(size), 1))
        return 0;
    CRSSReader reader;
    CAgg record = reader.readMessage(parser.getRoot());
    fuzzRequire(reader.skipHours == 0);
    fuzzRequire(reader.skipDays < 128);
    fuzzRequire(reader.ttl > 0);
    CRSSReader streaming;
    CAgg streamed = streaming.readDocument(reinterpret_cast<const char*>(data), size);
    fuzzRequire(streamed == record);
    fuzzRequire(streaming.skipDays == reader.skipDays && streaming.ttl == reader.ttl);
    if (record.getType() == CAgg::eVoid)
        return 0;

    CRSSWriter writer(record);
    std::string text = serialise(writer.writeMessage());
    fuzzRequire(text.rfind("<?xml version=\"1.0\"?>\n<rss version=\"2.0\"><channel>", 0) == 0);

    // Read items are never hidden by a boolean, since the reader only makes strings; so every
    // item comes back. (A record of nothing but extensions reads back unset, with no items.)
    CXML2CAgg again;
    fuzzRequire(again.parse(text.data(), static_cast<int>(text.size()), 1) != 0);
    CRSSReader second;
    CAgg reread = second.readMessage(again.getRoot());
    fuzzRequire(itemCount(reread) == itemCount(record));
    return 0;
}
