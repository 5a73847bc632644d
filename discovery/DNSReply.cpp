#include "discovery/DNSReply.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t kLabelBufferSize = 64;
// More jumps than a reply of the buffer's size can hold distinct pointers for: a loop.
constexpr int kMaxPointerJumps = static_cast<int>(kDNSReplyBufferSize / 2);

/// A 16-bit value as it lies in memory, in the processor's byte order.
uint16_t readHostOrder16(const uint8_t* at) {
    uint16_t value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

/// Reads the reply section by section; false at the first read out of bounds.
class ReplyReader {
public:
    ReplyReader(const uint8_t* reply, size_t length, DNSReplyRecords& out)
        : m_reply(reply), m_length(length), m_out(out) {}

    bool read() {
        if (m_length < 12)
            return false;
        // Both counts are read as they lie in memory, in the processor's byte order, without
        // conversion from network order: intended, this is how replies are read here.
        uint16_t questions = readHostOrder16(m_reply + 4);
        uint16_t answers = readHostOrder16(m_reply + 6);
        m_cursor = 12;
        std::string ignored;
        for (uint16_t i = 0; i < questions; ++i) {
            if (!name(false, ignored))
                return false;
            m_cursor += 4; // type and class
        }
        for (uint16_t i = 0; i < answers; ++i) {
            if (!answer())
                return false;
        }
        return true;
    }

private:
    bool name(bool addDot, std::string& out) {
        out.clear();
        return DNSReplyReadName(m_reply, m_length, &m_cursor, addDot, out);
    }

    bool answer() {
        std::string owner;
        if (!name(true, owner) || !available(2))
            return false;
        // Each byte of the type is taken as a signed char.
        int type = (static_cast<signed char>(m_reply[m_cursor]) << 8) |
                   static_cast<signed char>(m_reply[m_cursor + 1]);
        // Past type, class, time to live and data length; the length is not used.
        m_cursor += 10;
        switch (type) {
        case kDNSTypePTR: {
            std::string target;
            if (!name(true, target))
                return false;
            m_out.names.push_back(std::move(target));
            return true;
        }
        case kDNSTypeTXT: {
            // The strings are read as names until an empty one: the read runs on past the
            // record's data to the next zero byte, and may take in the next record's bytes.
            std::string& text = m_out.textRecords[owner];
            for (;;) {
                std::string part;
                if (!name(false, part))
                    return false;
                if (part.empty())
                    return true;
                text += part;
            }
        }
        case kDNSTypeSRV: {
            m_cursor += 4; // priority and weight
            if (!available(2))
                return false;
            DNSService& service = m_out.services[owner];
            service.port = static_cast<uint16_t>((m_reply[m_cursor] << 8) | m_reply[m_cursor + 1]);
            m_cursor += 2;
            return name(true, service.target);
        }
        default:
            // The cursor stays at the start of the record's data, and the next answer is read
            // from there.
            return true;
        }
    }

    bool available(size_t count) const {
        return m_cursor <= m_length && m_length - m_cursor >= count;
    }

    const uint8_t* m_reply;
    size_t m_length;
    DNSReplyRecords& m_out;
    size_t m_cursor = 0;
};

} // namespace

bool DNSReplyReadName(const uint8_t* reply, size_t length, size_t* cursor, bool addDot,
                      std::string& out) {
    size_t p = *cursor;
    size_t mark = p;
    // The reply's end reads as the zero byte that ends a name.
    auto endsName = [&](size_t at) { return at == length || reply[at] == 0; };
    if (p > length)
        return false;
    if (endsName(p))
        return true;
    int jumps = 0;
    for (;;) {
        uint8_t n = reply[p];
        if ((n & 0xC0) != 0xC0) {
            if (n >= kLabelBufferSize || length - p - 1 < n)
                return false;
            // The label is taken up to its first NUL, as a C text.
            const char* label = reinterpret_cast<const char*>(reply + p + 1);
            out.append(label, strnlen(label, n));
            if (addDot)
                out += '.';
            p += 1 + n;
            // In the last round this steps over the final zero byte. After labels and a
            // pointer it leaves the cursor on the pointer's second byte: that is how names are
            // read here.
            if (p > *cursor)
                *cursor = p + 1;
        } else {
            if (length - p < 2 || ++jumps > kMaxPointerJumps)
                return false;
            if (p >= *cursor)
                *cursor = p + 2;
            // The pointer too is read in the processor's byte order.
            p = readHostOrder16(reply + p) & 0x3FFF;
            if (p == mark) {
                *cursor = std::min(*cursor, length);
                return true;
            }
            mark = p;
            if (p > length)
                return false;
        }
        if (endsName(p)) {
            // A name that the reply's end closes leaves the cursor at the end.
            *cursor = std::min(*cursor, length);
            return true;
        }
    }
}

bool DNSReplyParse(const uint8_t* reply, size_t length, DNSReplyRecords& out) {
    out = DNSReplyRecords();
    if (ReplyReader(reply, std::min(length, kDNSReplyBufferSize), out).read())
        return true;
    out = DNSReplyRecords();
    return false;
}
