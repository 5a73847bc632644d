// Any bytes as a DNS reply: the reader ends on every input, refuses or reads it within its bytes
// (the sanitizer sees to that), gives nothing for a reply it refuses, and reads the same bytes
// the same way twice. Every offset read as a name stays within the reply as well.
#include "discovery/DNSReply.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A copy of exactly the input's size, so that a read past it is seen.
    std::vector<uint8_t> reply(data, data + size);
    DNSReplyRecords first;
    bool ok = DNSReplyParse(reply.data(), reply.size(), first);
    if (!ok && (!first.names.empty() || !first.textRecords.empty() || !first.services.empty()))
        std::abort();
    DNSReplyRecords second;
    if (DNSReplyParse(reply.data(), reply.size(), second) != ok || first.names != second.names ||
        first.textRecords != second.textRecords)
        std::abort();
    for (size_t start = 0; start < reply.size() && start < 64; ++start) {
        size_t cursor = start;
        std::string name;
        if (DNSReplyReadName(reply.data(), reply.size(), &cursor, true, name) &&
            cursor > reply.size())
            std::abort();
    }
    return 0;
}
