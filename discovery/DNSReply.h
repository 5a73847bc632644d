// The reply to one unicast DNS service query, read by hand: the PTR names of a browse, the SRV
// and TXT records of a resolve.
//
// The reader keeps this system's way of reading a reply: the section counts and compression
// pointers are taken in the processor's byte order, a TXT record runs on to the next zero byte,
// a name's cursor may stop one byte short after labels followed by a pointer. What the reader
// adds is bounds: the reply's end ends a name as a zero byte would (so a TXT record that is last
// in the reply ends there), every other read past the end is refused, a chain of compression
// pointers has a bound, and a label too long for the 64-byte label buffer is refused. A reply
// that breaks any of these is malformed, and gives no records at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// The reply buffer's size: a reply longer than this is cut to it.
inline constexpr size_t kDNSReplyBufferSize = 1500;

/// Query types of the requests.
inline constexpr int kDNSTypePTR = 12;
inline constexpr int kDNSTypeTXT = 16;
inline constexpr int kDNSTypeSRV = 33;
inline constexpr int kDNSTypeAny = 255;

/// The port and target host of an SRV record.
struct DNSService {
    uint16_t port = 0;
    std::string target;
};

/// What a reply holds for the requests.
struct DNSReplyRecords {
    /// PTR targets, in reply order, each with its trailing dot.
    std::vector<std::string> names;
    /// TXT strings by owner name, joined without a separator.
    std::map<std::string, std::string> textRecords;
    /// SRV records by owner name.
    std::map<std::string, DNSService> services;
};

/// Reads a reply of length bytes. False for a malformed one, when out is left empty.
bool DNSReplyParse(const uint8_t* reply, size_t length, DNSReplyRecords& out);

/// Appends the possibly compressed name at *cursor (an offset into the reply) to out and moves
/// *cursor past the part of it that lies in line; with addDot each label is followed by ".". A
/// root name (a zero byte, or the reply's end) appends nothing and leaves *cursor alone. False
/// for a read past the reply, a pointer chain without end or a label longer than 63 bytes.
bool DNSReplyReadName(const uint8_t* reply, size_t length, size_t* cursor, bool addDot,
                      std::string& out);
