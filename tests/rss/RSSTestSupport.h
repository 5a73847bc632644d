// Helpers for the feed tests: the test host, feed files, parsing, and a printer that shows a
// feed record (and what the reader leaves beside it) as stable text.
#pragma once

#include "rss/CRSSReader.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/support/QuotedText.h"
#include "values/CAggWalk.h"
#include "values/QsCab.h"
#include "xml/CAgg2XML.h"
#include "xml/CXML2CAgg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace rsstest {

/// The one test host of the program (a CLazyAtom keeps its atom while the core table at the
/// same address lives, so hosts are not made anew per test).
inline FakeHost& testHost() {
    static FakeHost host;
    return host;
}

class RSSTest : public ::testing::Test {
protected:
    FakeHost& host = testHost();
    /// Starts from no stored state: the local cabinets are released and the store's two cabinet
    /// files removed.
    void forgetStoredFeeds() {
        QsCabLocalTerm();
        for (const char* name : {"RSS", "RSSBinary"})
            if (auto path = host.cabinets().fileOf("Collab", name))
                host.files().remove(*path);
    }
};

/// A file under tests/data/feeds/; empty when it is missing.
inline std::string readData(const std::string& name) {
    std::ifstream in(std::string(VELL_TEST_DATA) + "/feeds/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// Compares text with the expected file of tests/data/feeds/. VELL_WRITE_EXPECTED=1 rewrites the
/// file instead, for review before it is kept.
inline void expectDataFile(const std::string& text, const std::string& file) {
    if (std::getenv("VELL_WRITE_EXPECTED"))
        std::ofstream(std::string(VELL_TEST_DATA) + "/feeds/" + file, std::ios::binary) << text;
    EXPECT_EQ(text, readData(file));
}

/// The root record of a document; fails the test when it does not parse.
inline CAgg parseDocument(const std::string& text) {
    CXML2CAgg parser;
    bool parsed = parser.parse(text.data(), static_cast<int>(text.size()), 1) != 0;
    EXPECT_TRUE(parsed) << text.substr(0, 200);
    return parsed ? parser.getRoot() : CAgg();
}

/// A string as a quoted line: newlines, tabs, quotes and backslashes escaped, other characters
/// as UTF-8; "[ucs]" behind a UCS string.
inline std::string quoted(const _EStrRec* s) {
    return quotedText(s);
}

inline void printValue(CAgg& value, int depth, std::string& out);

/// A map's entries, one a line, ordered by key text whatever the kind of map.
inline void printEntries(CAgg& map, int depth, std::string& out) {
    std::vector<std::pair<std::string, CAgg*>> entries;
    CAggForEachEntry(
        map, [&](const CEStr& key, CAgg& value) { entries.emplace_back(EStrToUTF8(key), &value); });
    std::sort(entries.begin(), entries.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    for (auto& [key, value] : entries) {
        out += std::string(static_cast<size_t>(depth) * 2, ' ') + key + ":";
        printValue(*value, depth + 1, out);
    }
}

/// Scalars on the line of their key; maps and vectors on the lines below it, indented.
inline void printValue(CAgg& value, int depth, std::string& out) {
    std::string indent(static_cast<size_t>(depth) * 2, ' ');
    switch (value.getType()) {
    case CAgg::eVoid:
        out += " unset\n";
        return;
    case CAgg::eEStr:
        out += " " + quoted(value.toEStr()) + "\n";
        return;
    case CAgg::eQsInt32:
        out += " int " + std::to_string(value.toQsInt32()) + "\n";
        return;
    case CAgg::eQsBool:
        out += value.toQsBool() ? " true\n" : " false\n";
        return;
    case CAgg::eMap:
    case CAgg::eQsAtomMap:
        out += " map\n";
        printEntries(value, depth, out);
        return;
    case CAgg::eVector: {
        out += " vector\n";
        long index = 0;
        for (CAgg& element : value.toVector()) {
            out += indent + "[" + std::to_string(index++) + "]";
            printValue(element, depth + 1, out);
        }
        return;
    }
    default:
        out += " <type " + std::to_string(value.getType()) + ">\n";
    }
}

/// The record as text.
inline std::string printRecord(CAgg& record) {
    std::string out = "record";
    printValue(record, 1, out);
    return out;
}

/// What a reader made of a document: its fields, then the record.
inline std::string printReading(CRSSReader& reader, CAgg& record) {
    std::string out;
    out += "dialect " + std::to_string(reader.dialect) + "\n";
    out += "ttl " + std::to_string(reader.ttl) + "\n";
    out += "skipHours " + std::to_string(reader.skipHours) + "\n";
    out += "skipDays " + std::to_string(reader.skipDays) + "\n";
    out += "comments " + std::to_string(reader.comments.size()) + "\n";
    for (const CEStr& comment : reader.comments)
        out += "  " + quoted(comment) + "\n";
    return out + printRecord(record);
}

/// The record of a document's text, read by a fresh reader.
inline CAgg readFeed(const std::string& text, CRSSReader& reader) {
    return reader.readMessage(parseDocument(text));
}

/// A tree's text, as a consumer reads it from the stream of the serialiser.
inline std::string serialise(CAgg& tree) {
    QsStm stream = CAgg2XML::openStream(tree);
    std::string text = QsStmReadAll(stream);
    QsStmClose(stream);
    return text;
}

} // namespace rsstest
