// Writing feed records as RSS 2.0: every dialect read, written and read again keeps its
// titles, items, links, descriptions and dates; the written text of two feeds against expected
// files; and the rules of the writer, each as a table.
#include "rss/CRSSWriter.h"

#include "rss/CRSSReader.h"
#include "tests/rss/RSSTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

namespace {

using rsstest::parseDocument;
using rsstest::readData;
using rsstest::serialise;

/// Sets the process's local zone for the life of the object; the writer's dates are local.
class LocalZone {
public:
    explicit LocalZone(const char* zone) {
        const char* old = std::getenv("TZ");
        m_had = old != nullptr;
        if (m_had)
            m_old = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~LocalZone() {
        if (m_had)
            setenv("TZ", m_old.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

private:
    bool m_had = false;
    std::string m_old;
};

CAgg readRecord(const std::string& text) {
    CRSSReader reader;
    return reader.readMessage(parseDocument(text));
}

std::string written(CAgg& record) {
    CRSSWriter writer(record);
    CAgg tree = writer.writeMessage();
    return serialise(tree);
}

/// The entry as text, "absent" when the map lacks it.
std::string entry(CAgg& map, QsAtom key) {
    if (!map.has(key))
        return "absent";
    return EStrToUTF8(CAggValueText(map[key]));
}

const char* const kFeeds[] = {
    "rss-0.91-latin1-customary-skips",
    "rss-0.92-enclosures-and-modules",
    "rss-2.0-extensions-and-oddities",
    "rdf-1.0-dublin-core",
    "atom-0.3-persons-and-modes",
    "podcast-itunes-media",
    "news-html-in-cdata",
    "blog-creators-and-comments",
};

using FeedWriter = rsstest::RSSTest;

TEST_F(FeedWriter, EveryDialectReadsBackTheSameAfterWriting) {
    // Dates go out in local time with the local offset, so the trip runs in three zones.
    for (const char* zone : {"UTC0", "IST-5:30", "NST3:30"}) {
        LocalZone local(zone);
        for (const char* name : kFeeds) {
            SCOPED_TRACE(std::string(name) + " in " + zone);
            CAgg first = readRecord(readData(std::string(name) + ".xml"));
            ASSERT_NE(first.getType(), CAgg::eVoid);
            std::string text = written(first);
            CAgg second = readRecord(text);
            ASSERT_NE(second.getType(), CAgg::eVoid) << text;

            for (QsAtom key : {kRSSKeyTitle.get(), kRSSKeyDescription.get(), kRSSKeyModDate.get()})
                EXPECT_EQ(entry(second, key), entry(first, key)) << text;
            auto& before = first[kRSSKeyItems].toVector();
            auto& after = second[kRSSKeyItems].toVector();
            ASSERT_EQ(after.size(), before.size()) << text;
            for (size_t i = 0; i < before.size(); ++i) {
                SCOPED_TRACE("item " + std::to_string(i));
                for (QsAtom key : {kRSSKeyTitle.get(), kRSSKeyLink.get(), kRSSKeyDescription.get(),
                                   kRSSKeyHash.get(), kRSSKeyGuid.get(), kRSSKeyAuthor.get()})
                    EXPECT_EQ(entry(after[i], key), entry(before[i], key));
                // A date of 0 (none readable) goes out as the time of writing.
                if (entry(before[i], kRSSKeyModDate) != "0") {
                    EXPECT_EQ(entry(after[i], kRSSKeyModDate), entry(before[i], kRSSKeyModDate));
                }
            }
        }
    }
}

TEST_F(FeedWriter, WritesTheExpectedText) {
    LocalZone utc("UTC0");
    for (const char* name : {"rss-2.0-extensions-and-oddities", "atom-0.3-persons-and-modes"}) {
        SCOPED_TRACE(name);
        CAgg record = readRecord(readData(std::string(name) + ".xml"));
        std::string text = written(record);
        rsstest::expectDataFile(text, std::string(name) + ".written.xml");
    }
}

TEST_F(FeedWriter, WritesOnlyWhatTheRecordHolds) {
    LocalZone utc("UTC0");
    const std::string head = "<?xml version=\"1.0\"?>\n<rss version=\"2.0\"><channel>";
    const std::string generator = "<generator>Vellum SOAP 7.0</generator>";
    const std::string content = "http://purl.org/rss/1.0/modules/content/";

    CAgg empty = CAgg::atomMapWithRoom(0);
    EXPECT_EQ(written(empty), head + generator + "</channel></rss>");

    CAgg feed;
    feed[kRSSKeyTitle] = CAgg("A & B");
    feed[kRSSKeyModDate] = CAgg(1079540400L);
    feed[kRSSKeyTTL] = CAgg(30L);
    feed[kRSSKeyImage][kRSSKeyURL] = CAgg("u");
    feed[kRSSKeyExtension]["urn:x:y"] = CAgg("z");
    CAgg& item = feed[kRSSKeyItems][0L];
    item[kRSSKeyDescription] = CAgg(EStrFromUTF8("<b>\xC3\xA9</b>").get());
    item[kRSSKeyHash] = CAgg("h");
    item[kRSSKeyComments] = CAgg("c");
    item[kRSSKeyModDate] = CAgg(86400L);
    feed[kRSSKeyItems][1L] = CAgg::atomMapWithRoom(0);
    EXPECT_EQ(written(feed),
              head +
                  "<title>A &amp; B</title><lastBuildDate>Wed, 17 Mar 2004 16:20:00 GMT"
                  "</lastBuildDate>" +
                  generator + "<item><description>&lt;b&gt;&#233;&lt;/b&gt;</description>" +
                  "<m:encoded xmlns:m=\"" + content +
                  "\">&lt;b&gt;&#233;&lt;/b&gt;</m:encoded>"
                  "<pubDate>Fri, 02 Jan 1970 00:00:00 GMT</pubDate></item><item/>\n"
                  "</channel></rss>");
}

TEST_F(FeedWriter, WritesTheTreesTextStraightFromTheRecord) {
    std::vector<CAgg> records;
    for (const char* name : kFeeds)
        records.push_back(readRecord(readData(std::string(name) + ".xml")));
    records.emplace_back();
    records.push_back(CAgg("not a map"));
    CAgg odd;
    odd[kRSSKeyTitle] = CAgg(42L);
    odd[kRSSKeyLink] = CAgg(2.5);
    odd[kRSSKeyDescription] = CAgg("");
    odd[kRSSKeyModDate] = CAgg("1079540400");
    odd[kRSSKeyItems] = CAgg("not a list");
    records.push_back(odd);
    CAgg texts;
    // Control characters, a lone and a paired surrogate, characters past ASCII in UCS and in a
    // single-byte string, and every character that is escaped.
    CAgg& item = texts[kRSSKeyItems][0L];
    item[kRSSKeyTitle] = CAgg(EStrFromUTF8("a\x01\tb\r\n\"'<>&\xF0\x9F\x98\x80\xC3\xA9").get());
    const unsigned char lone[] = {0xFE, 0xFF, 0xD8, 0x00, 0x00, 0x41, 0, 0};
    item[kRSSKeyGuid] = CAgg(CEStr(reinterpret_cast<const char*>(lone), kEStrUCS).get());
    item[kRSSKeyAuthor] = CAgg(CEStr("caf\xE9", kEStrPDFDoc).get());
    item[kRSSKeyModDate] = CAgg(0L);
    texts[kRSSKeyItems][1L] = CAgg::atomMapWithRoom(0);
    texts[kRSSKeyItems][2L][kRSSKeyExtension][(std::string(kInboxNamespace) + ":hidden").c_str()]
        .toQsBool() = 1;
    texts[kRSSKeyItems][3L] = CAgg("an item that is no map");
    records.push_back(texts);

    for (const char* zone : {"UTC0", "NST3:30"}) {
        LocalZone local(zone);
        for (size_t i = 0; i < records.size(); ++i) {
            SCOPED_TRACE(std::string(zone) + ", record " + std::to_string(i));
            CRSSWriter writer(records[i]);
            EXPECT_EQ(writer.writeText(), written(records[i]));
        }
    }
}

TEST_F(FeedWriter, LeavesOutOnlyItemsMarkedHiddenByABooleanTrue) {
    std::string hidden = std::string(kInboxNamespace) + ":hidden";
    struct Case {
        CAgg value;
        bool written;
    };
    Case cases[] = {
        {CAgg(), true},   {CAgg("true"), true},
        {CAgg(1L), true}, {CAgg(), false}, // replaced by a boolean true below
        {CAgg(), true},                    // replaced by a boolean false below
    };
    cases[3].value.toQsBool() = 1;
    cases[4].value.toQsBool() = 0;
    for (Case& c : cases) {
        CAgg feed;
        CAgg& item = feed[kRSSKeyItems][0L];
        item[kRSSKeyTitle] = CAgg("t");
        item[kRSSKeyExtension][hidden.c_str()] = c.value;
        std::string text = written(feed);
        EXPECT_EQ(text.find("<item>") != std::string::npos, c.written) << text;
    }
}

TEST_F(FeedWriter, AddElementNamesTheElementInItsNamespace) {
    struct Case {
        const char* nameSpace;
        const char* expected;
    };
    const Case cases[] = {
        {nullptr, "<a><title>v</title></a>"},
        {"", "<a><title>v</title></a>"},
        {"urn:n", "<a><m:title xmlns:m=\"urn:n\">v</m:title></a>"},
    };
    for (const Case& c : cases) {
        CAgg tree;
        CXMLElement a(tree);
        a.setType(kXMLTypeElement);
        a.setName("a");
        CAgg value("v");
        CRSSWriter writer(CAgg{});
        writer.addElement(a, c.nameSpace, "title", value);
        EXPECT_EQ(rsstest::serialise(tree), std::string("<?xml version=\"1.0\"?>\n") + c.expected);
    }
}

TEST_F(FeedWriter, ConvertsAStoredRecordToAStream) {
    EXPECT_EQ(ConvertRecordToStream(CAgg()), nullptr);

    CAgg record = readRecord(readData("atom-0.3-persons-and-modes.xml"));
    QsStm stream = ConvertRecordToStream(record);
    ASSERT_NE(stream, nullptr);
    std::string text = QsStmReadAll(stream, 7);
    QsStmClose(stream);
    EXPECT_EQ(text, written(record));
}

} // namespace
