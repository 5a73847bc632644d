#include "discovery/DNSReply.h"
#include "tests/discovery/DiscoveryTestSupport.h"

#include <map>
#include <string>
#include <vector>

namespace {

const char* const kInstance = "Office Printer._http._tcp.example.test.";

class DNSReplyFiles : public ::testing::Test {
protected:
    void SetUp() override {
        if (!littleEndian())
            GTEST_SKIP() << "the reply files are laid out for a little-endian processor";
    }

    static bool parse(const char* file, DNSReplyRecords& out) {
        std::vector<uint8_t> reply = readHexReply(file);
        return DNSReplyParse(reply.data(), reply.size(), out);
    }
};

TEST_F(DNSReplyFiles, WellFormedRepliesGiveTheirRecords) {
    struct Case {
        const char* file;
        std::vector<std::string> names;
        std::map<std::string, std::string> texts;
        std::map<std::string, std::pair<uint16_t, std::string>> services;
    };
    const Case cases[] = {
        {"browse-two-instances.hex", {kInstance, "Lab._http._tcp.example.test."}, {}, {}},
        // The TXT strings are joined without a separator; the reply's end ends the last one.
        {"resolve-srv-txt.hex",
         {},
         {{kInstance, "path=/printnote=two"}},
         {{kInstance, {8080, "host.example.test."}}}},
        {"resolve-txt-only.hex", {}, {{kInstance, "path=/print"}}, {}},
        // The TXT read runs on to the next zero byte: the next record's owner joins the text.
        {"txt-runs-into-next-record.hex", {}, {{kInstance, "a=1x"}}, {}},
        // After labels and a pointer the cursor stops on the pointer's second byte, so the
        // second record is read one byte early, as a record of no known type.
        {"ptr-labels-then-pointer.hex", {"Printer._http._tcp.example.test."}, {}, {}},
        // No limit on a name's labels beyond the reply's bytes.
        {"name-300-labels.hex",
         {[] {
             std::string name;
             for (int i = 0; i < 300; ++i)
                 name += "x.";
             return name;
         }()},
         {},
         {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        DNSReplyRecords records;
        ASSERT_TRUE(parse(c.file, records));
        EXPECT_EQ(records.names, c.names);
        EXPECT_EQ(records.textRecords, c.texts);
        std::map<std::string, std::pair<uint16_t, std::string>> services;
        for (const auto& [owner, service] : records.services)
            services[owner] = {service.port, service.target};
        EXPECT_EQ(services, c.services);
    }
}

TEST_F(DNSReplyFiles, MalformedRepliesGiveNothing) {
    for (const char* file : {
             "pointer-loop.hex",
             "truncated-record.hex",
             "txt-length-past-end.hex",
             "label-too-long.hex",
             // Counts are read in the processor's byte order: 2 in network order is 512 here,
             // and the questions run past the reply.
             "network-order-counts.hex",
         }) {
        SCOPED_TRACE(file);
        DNSReplyRecords records;
        records.names.push_back("left from before");
        EXPECT_FALSE(parse(file, records));
        EXPECT_TRUE(records.names.empty());
        EXPECT_TRUE(records.textRecords.empty());
        EXPECT_TRUE(records.services.empty());
    }
}

TEST_F(DNSReplyFiles, EveryCutOfAReplyEndsWithinIt) {
    // Cut short anywhere, a reply either reads to an end or is refused; never past its bytes
    // (the sanitizer build sees to the reads).
    for (const char* file : {"browse-two-instances.hex", "resolve-srv-txt.hex",
                             "txt-runs-into-next-record.hex", "pointer-loop.hex"}) {
        std::vector<uint8_t> reply = readHexReply(file);
        for (size_t length = 0; length <= reply.size(); ++length) {
            std::vector<uint8_t> cut(reply.begin(), reply.begin() + static_cast<long>(length));
            DNSReplyRecords records;
            bool ok = DNSReplyParse(cut.data(), cut.size(), records);
            EXPECT_TRUE(ok || (records.names.empty() && records.services.empty()));
        }
    }
    DNSReplyRecords records;
    EXPECT_FALSE(DNSReplyParse(nullptr, 0, records));
}

TEST(DNSReplyName, RootsPointersAndLabels) {
    struct Case {
        std::vector<uint8_t> bytes;
        size_t start;
        bool addDot;
        bool ok;
        std::string name;
        size_t cursorAfter;
    };
    std::vector<Case> cases = {
        // A root name reads as empty and leaves the cursor alone.
        {{0x00, 0x07}, 0, true, true, "", 0},
        // So does the end of the reply.
        {{0x00}, 1, true, true, "", 1},
        {{0x03, 'a', 'b', 'c', 0x02, 'd', 'e', 0x00, 0xff}, 0, true, true, "abc.de.", 8},
        {{0x03, 'a', 'b', 'c', 0x02, 'd', 'e', 0x00}, 0, false, true, "abcde", 8},
        // A label is taken up to its first NUL.
        {{0x03, 'a', 0x00, 'c', 0x00}, 0, true, true, "a.", 5},
        // A label running past the end, and a cursor past the end.
        {{0x05, 'a', 'b'}, 0, true, false, "", 0},
        {{0x00}, 2, true, false, "", 2},
    };
    if (littleEndian()) {
        // A pointer back, at the start: the cursor steps over its two bytes. 0xC0 0x00 reads
        // as 192.
        std::vector<uint8_t> back(200, 0);
        back[192] = 0x01;
        back[193] = 'z';
        back[196] = 0xC0;
        cases.push_back({back, 196, true, true, "z.", 198});
        // A pointer forward: the target's labels lie beyond the cursor and move it on. 0xC4
        // 0x00 reads as 196.
        std::vector<uint8_t> forward(200, 0);
        forward[0] = 0xC4;
        forward[196] = 0x01;
        forward[197] = 'z';
        cases.push_back({forward, 0, true, true, "z.", 199});
        // A pointer to where the name started ends it with what was read so far.
        std::vector<uint8_t> self(200, 0);
        self[192] = 0x01;
        self[193] = 'q';
        self[194] = 0xC0;
        cases.push_back({self, 192, true, true, "q.", 195});
        // A pointer whose target lies past the reply.
        cases.push_back({{0xC0, 0x3F}, 0, true, false, "", 2});
    }
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.bytes).substr(0, 60));
        size_t cursor = c.start;
        std::string name;
        EXPECT_EQ(DNSReplyReadName(c.bytes.data(), c.bytes.size(), &cursor, c.addDot, name), c.ok);
        if (c.ok) {
            EXPECT_EQ(name, c.name);
            EXPECT_EQ(cursor, c.cursorAfter);
        }
    }
}

} // namespace
