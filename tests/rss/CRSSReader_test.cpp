// Reading feeds: whole documents of each dialect against their expected records, then the
// dialect detection, the channel, item and Atom ladders, extensions, dates and flattening, each
// as a table of small documents.
#include "rss/CRSSReader.h"

#include "tests/rss/RSSTestSupport.h"
#include "values/MD5.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

using rsstest::parseDocument;
using rsstest::printReading;
using rsstest::readData;

/// A value on one line: strings quoted, maps as {key=value,...} in key order, vectors as
/// [a,b]. Hash entries are left out: checkHashes looks after them.
std::string flat(CAgg& value) {
    switch (value.getType()) {
    case CAgg::eVoid:
        return "unset";
    case CAgg::eEStr:
        return "\"" + EStrToUTF8(value.toEStr()) + "\"";
    case CAgg::eQsInt32:
        return std::to_string(value.toQsInt32());
    case CAgg::eVector: {
        std::string out = "[";
        for (CAgg& element : value.toVector())
            out += (out.size() > 1 ? "," : "") + flat(element);
        return out + "]";
    }
    case CAgg::eMap:
    case CAgg::eQsAtomMap: {
        std::vector<std::pair<std::string, CAgg*>> entries;
        CAggForEachEntry(value, [&](const CEStr& key, CAgg& entry) {
            if (EStrToUTF8(key) != "Hash")
                entries.emplace_back(EStrToUTF8(key), &entry);
        });
        std::sort(entries.begin(), entries.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
        std::string out = "{";
        for (auto& [key, entry] : entries)
            out += (out.size() > 1 ? "," : "") + key + "=" + flat(*entry);
        return out + "}";
    }
    default:
        return "<type " + std::to_string(value.getType()) + ">";
    }
}

/// Every item has a Hash exactly when it has a Description, and it is that text's digest.
void checkHashes(CAgg& record) {
    if (record.getType() == CAgg::eVoid || !record.has(kRSSKeyItems))
        return;
    for (CAgg& item : record[kRSSKeyItems].toVector()) {
        ASSERT_EQ(item.has(kRSSKeyDescription), item.has(kRSSKeyHash)) << flat(item);
        if (!item.has(kRSSKeyDescription))
            continue;
        CEStr digest = makeMD5String(item[kRSSKeyDescription].toEStr());
        EXPECT_EQ(EStrToUTF8(item[kRSSKeyHash].toEStr()), EStrToUTF8(digest)) << flat(item);
    }
}

struct Reading {
    std::string record; // flat, or "unset"
    CRSSReader reader;
};

Reading read(const std::string& text) {
    Reading result;
    CAgg record = result.reader.readMessage(parseDocument(text));
    checkHashes(record);
    result.record = flat(record);
    return result;
}

/// The flat record of the first item.
std::string firstItem(const std::string& text) {
    CRSSReader reader;
    CAgg record = reader.readMessage(parseDocument(text));
    checkHashes(record);
    if (record.getType() == CAgg::eVoid || !record.has(kRSSKeyItems))
        return "no items";
    return flat(record[kRSSKeyItems].toVector().at(0));
}

std::string rss20Item(const std::string& body) {
    return "<rss version='2.0' xmlns:content='http://purl.org/rss/1.0/modules/content/' "
           "xmlns:dc='http://purl.org/dc/elements/1.1/' xmlns:x='http://www.w3.org/1999/xhtml'>"
           "<channel><item>" +
           body + "</item></channel></rss>";
}

using FeedReader = rsstest::RSSTest;

TEST_F(FeedReader, ReadsEachDocumentToItsExpectedRecord) {
    const char* const documents[] = {
        "rss-0.91-latin1-customary-skips",
        "rss-0.92-enclosures-and-modules",
        "rss-2.0-extensions-and-oddities",
        "rdf-1.0-dublin-core",
        "atom-0.3-persons-and-modes",
        "podcast-itunes-media",
        "news-html-in-cdata",
        "blog-creators-and-comments",
    };
    for (const char* name : documents) {
        SCOPED_TRACE(name);
        std::string text = readData(std::string(name) + ".xml");
        ASSERT_FALSE(text.empty());
        CRSSReader reader;
        CAgg record = reader.readMessage(parseDocument(text));
        checkHashes(record);
        std::string printed = printReading(reader, record);
        rsstest::expectDataFile(printed, std::string(name) + ".record.txt");
    }
}

TEST_F(FeedReader, TellsTheDialectByVersionFirstThenByRootName) {
    struct Case {
        const char* document;
        int32_t dialect;
        const char* record;
    };
    const Case cases[] = {
        {"<rss version='3.0'><channel><title>T</title></channel></rss>", 0, "{Title=\"T\"}"},
        {"<rss version='0.93'><channel><title>T</title></channel></rss>", 0, "{Title=\"T\"}"},
        // A known version decides whatever the root is called.
        {"<anything version='2.0'><channel><title>T</title></channel></anything>", 2,
         "{Title=\"T\"}"},
        {"<foo version='1.0'><channel><title>T</title></channel><item><title>i</title></item>"
         "</foo>",
         1, "{Items=[{Title=\"i\"}],Title=\"T\"}"},
        {"<rss version='0.91'><channel><title>T</title></channel><item><title>i</title></item>"
         "</rss>",
         0, "{Title=\"T\"}"},
        // The root name is compared without its namespace.
        {"<x:RDF xmlns:x='urn:other'><channel><title>T</title></channel></x:RDF>", 1,
         "{Title=\"T\"}"},
        {"<x:rss xmlns:x='urn:other'><channel><title>T</title></channel></x:rss>", 0,
         "{Title=\"T\"}"},
        // The channel is found in any namespace.
        {"<rss version='0.91'><y:channel xmlns:y='urn:y'><title>T</title></y:channel></rss>", 0,
         "{Title=\"T\"}"},
        {"<foo><channel><title>T</title></channel></foo>", 0, "unset"},
        {"<rss version='2.0'><channel/></rss>", 2, "unset"},
        {"<rss version='2.0'><title>T</title><item><title>i</title></item></rss>", 2, "unset"},
        // Atom by name and namespace; its version attribute is not looked at.
        {"<feed xmlns='http://purl.org/atom/ns#' version='2.0'><title>T</title></feed>", 0,
         "{Title=\"T\"}"},
        {"<feed version='0.3'><title>T</title></feed>", 0, "unset"},
        {"<feed xmlns='http://www.w3.org/2005/Atom'><title>T</title></feed>", 0, "unset"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.document);
        Reading r = read(c.document);
        EXPECT_EQ(r.reader.dialect, c.dialect);
        EXPECT_EQ(r.record, c.record);
    }
}

TEST_F(FeedReader, ChannelLadderKeepsItsRungsAndMasks) {
    struct Case {
        const char* document;
        const char* record;
        int32_t ttl;
        uint32_t skipDays;
    };
    const Case cases[] = {
        // A channel's link is never stored.
        {"<rss version='2.0'><channel><title>T</title><link>L</link></channel></rss>",
         "{Title=\"T\"}", 120, 0},
        {"<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#' "
         "xmlns='http://purl.org/rss/1.0/'><channel><link>L</link><title>T</title></channel>"
         "</rdf:RDF>",
         "{Title=\"T\"}", 120, 0},
        {"<rss version='2.0'><channel><description>a</description><description>b</description>"
         "</channel></rss>",
         "{Description=\"a\"}", 120, 0},
        {"<rss version='2.0' xmlns:c='http://purl.org/rss/1.0/modules/content/'><channel>"
         "<c:encoded>e</c:encoded><description>a</description></channel></rss>",
         "{Description=\"e\"}", 120, 0},
        {"<rss version='2.0'><channel><ttl>30</ttl></channel></rss>", "{TTL=30}", 30, 0},
        {"<rss version='0.91'><channel><ttl>30</ttl></channel></rss>", "{TTL=30}", 30, 0},
        {"<foo version='1.0'><channel><ttl>30</ttl></channel></foo>", "{TTL=30}", 30, 0},
        {"<rss version='2.0'><channel><ttl>0</ttl></channel></rss>", "{TTL=0}", 120, 0},
        {"<rss version='2.0'><channel><ttl>abc</ttl></channel></rss>", "{TTL=0}", 120, 0},
        {"<rss version='2.0'><channel><ttl>-5</ttl></channel></rss>", "{TTL=-5}", 120, 0},
        {"<rss version='2.0'><channel><title>T</title><skipDays><day>Monday</day></skipDays>"
         "</channel></rss>",
         "{Title=\"T\"}", 120, 0},
        {"<rss version='2.0'><channel><title>T</title><skipDays><Monday/></skipDays></channel>"
         "</rss>",
         "{Title=\"T\"}", 120, 2},
        {"<rss version='2.0'><channel><title>T</title><skipDays><Sunday/></skipDays></channel>"
         "</rss>",
         "{Title=\"T\"}", 120, 1},
        {"<rss version='2.0'><channel><title>T</title><skipDays><Friday/><Saturday/><monday/>"
         "</skipDays></channel></rss>",
         "{Title=\"T\"}", 120, 32 + 64},
        // Only RSS 2.0 reads skipDays.
        {"<rss version='0.92'><channel><title>T</title><skipDays><Monday/></skipDays></channel>"
         "</rss>",
         "{Title=\"T\"}", 120, 0},
        // The image is read in any dialect; an extension in it only in RSS 2.0.
        {"<rss version='2.0' xmlns:d='urn:d'><channel><image><title>i</title><url>u</url>"
         "<link>l</link><d:x>1</d:x><width>9</width></image></channel></rss>",
         "{Image={Extension={urn:d:x=\"1\"},Link=\"l\",Title=\"i\",URL=\"u\"}}", 120, 0},
        {"<rss version='0.91' xmlns:d='urn:d'><channel><image><url>u</url><d:x>1</d:x></image>"
         "</channel></rss>",
         "{Image={URL=\"u\"}}", 120, 0},
        // RDF's image children count in the RSS 1.0 namespace only.
        {"<RDF xmlns:d='urn:d'><channel><image><d:url>u</d:url><title>i</title></image>"
         "</channel></RDF>",
         "{Image={Title=\"i\"}}", 120, 0},
        // Channel extensions in RSS 2.0 only; in RDF their local names run through the ladder.
        {"<rss version='2.0' xmlns:dc='http://purl.org/dc/elements/1.1/'><channel>"
         "<dc:title>D</dc:title><title>T</title></channel></rss>",
         "{Extension={http://purl.org/dc/elements/1.1/:title=\"D\"},Title=\"T\"}", 120, 0},
        {"<RDF xmlns:dc='http://purl.org/dc/elements/1.1/'><channel><title>T</title>"
         "<dc:title>D</dc:title></channel></RDF>",
         "{Title=\"D\"}", 120, 0},
        {"<rss version='0.91' xmlns:dc='http://purl.org/dc/elements/1.1/'><channel>"
         "<title>T</title><dc:title>D</dc:title></channel></rss>",
         "{Title=\"T\"}", 120, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.document);
        Reading r = read(c.document);
        EXPECT_EQ(r.record, c.record);
        EXPECT_EQ(r.reader.ttl, c.ttl);
        EXPECT_EQ(r.reader.skipDays, c.skipDays);
    }
}

TEST_F(FeedReader, SkipHoursIsNeverRead) {
    const char* const documents[] = {
        "<rss version='2.0'><channel><title>T</title><skipHours><hour>5</hour></skipHours>"
        "</channel></rss>",
        "<rss version='2.0'><channel><title>T</title><skipHours><_5/><_6/></skipHours>"
        "</channel></rss>",
        "<rss version='0.91'><channel><title>T</title><skipHours><hour>0</hour></skipHours>"
        "</channel></rss>",
    };
    for (const char* document : documents) {
        SCOPED_TRACE(document);
        Reading r = read(document);
        EXPECT_EQ(r.reader.skipHours, 0u);
        EXPECT_EQ(r.record, "{Title=\"T\"}");
    }
}

TEST_F(FeedReader, ItemLadderSettlesDescriptionsAndDropsWhatItsDialectLacks) {
    struct Case {
        std::string document;
        const char* item;
    };
    const Case cases[] = {
        {rss20Item("<content:encoded>E</content:encoded><description>D</description>"),
         "{Description=\"E\"}"},
        {rss20Item("<description>D</description><content:encoded>E</content:encoded>"),
         "{Description=\"E\"}"},
        {rss20Item("<description>D</description><content:encoded></content:encoded>"),
         "{Description=\"D\"}"},
        // An empty description still counts as the first one.
        {rss20Item("<description></description><description>D</description>"),
         "{Description=\"\"}"},
        // Between content:encoded and an XHTML body the later one wins.
        {rss20Item("<x:body><x:p>B</x:p></x:body><content:encoded>E</content:encoded>"),
         "{Description=\"E\"}"},
        {rss20Item("<content:encoded>E</content:encoded><x:body><x:p>B &amp; <x:b>b</x:b></x:p>"
                   "<x:p>2</x:p></x:body>"),
         "{Description=\"<x:p xmlns:x=\"http://www.w3.org/1999/xhtml\">B & <x:b>b</x:b></x:p>"
         "<x:p xmlns:x=\"http://www.w3.org/1999/xhtml\">2</x:p>\"}"},
        {rss20Item("<x:body></x:body><description>D</description>"), "{Description=\"D\"}"},
        {rss20Item("<guid>G</guid><title>T</title><link>L</link><author>A</author>"),
         "{Author=\"A\",Guid=\"G\",Link=\"L\",Title=\"T\"}"},
        {rss20Item("<comments></comments><comments>C</comments>"), "{Comments=\"C\"}"},
        {rss20Item("<dc:creator>C</dc:creator><dc:date>2004</dc:date>"),
         "{Extension={http://purl.org/dc/elements/1.1/:creator=\"C\","
         "http://purl.org/dc/elements/1.1/:date=\"2004\"}}"},
        // Outside RSS 2.0 there is no guid and no extension.
        {"<rss version='0.92' xmlns:dc='http://purl.org/dc/elements/1.1/'><channel><item>"
         "<guid>G</guid><dc:creator>C</dc:creator><title>T</title></item></channel></rss>",
         "{Title=\"T\"}"},
        // In RDF any namespace runs through the ladder: dc:title is a title, dc:date nothing.
        {"<RDF xmlns:dc='http://purl.org/dc/elements/1.1/'><item><title>T</title>"
         "<dc:title>D</dc:title><dc:date>2004-01-01</dc:date><guid>G</guid></item></RDF>",
         "{Title=\"D\"}"},
        {rss20Item("<pubDate>Thu, 01 Jan 2004 00:00:00 GMT</pubDate>"), "{ModDate=1072915200}"},
        {rss20Item("<pubDate>whenever</pubDate>"), "{ModDate=0}"},
        {rss20Item("<enclosure url='u' length='1' type='audio/mpeg'/><category>c</category>"),
         "{}"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.document);
        EXPECT_EQ(firstItem(c.document), c.item);
    }
}

TEST_F(FeedReader, EmptyItemsAreKeptAndCommentsAreCollected) {
    Reading r = read("<rss version='2.0'><channel><item/><item><comments>a</comments></item>"
                     "<item><comments></comments></item><item><comments>b</comments></item>"
                     "</channel></rss>");
    EXPECT_EQ(r.record, "{Items=[{},{Comments=\"a\"},{},{Comments=\"b\"}]}");
    ASSERT_EQ(r.reader.comments.size(), 2u);
    EXPECT_EQ(EStrToUTF8(r.reader.comments[0]), "a");
    EXPECT_EQ(EStrToUTF8(r.reader.comments[1]), "b");
}

TEST_F(FeedReader, ExtensionsNestAndGatherRepeatedSimpleChildren) {
    struct Case {
        const char* body;
        const char* extension;
    };
    const Case cases[] = {
        {"<e:a>text</e:a>", "{urn:e:a=\"text\"}"},
        // Text wins over children.
        {"<e:a>text<e:b>x</e:b></e:a>", "{urn:e:a=\"text\"}"},
        {"<e:a><e:b>1</e:b><e:b>2</e:b></e:a>", "{urn:e:a={urn:e:b=[\"1\",\"2\"]}}"},
        {"<e:a><e:b>1</e:b><e:b>2</e:b><e:b>3</e:b><e:c>4</e:c></e:a>",
         "{urn:e:a={urn:e:b=[\"1\",\"2\",\"3\"],urn:e:c=\"4\"}}"},
        // A child with children is a map, and a repeated one is dropped.
        {"<e:a><e:b><e:c>1</e:c></e:b><e:b><e:c>2</e:c></e:b></e:a>",
         "{urn:e:a={urn:e:b={urn:e:c=\"1\"}}}"},
        // Children in no namespace are keyed by their local name.
        {"<e:a><b>1</b><b>2</b></e:a>", "{urn:e:a={b=[\"1\",\"2\"]}}"},
        // An element with neither text nor children leaves its slot unset.
        {"<e:a href='u'/>", "{urn:e:a=unset}"},
        // The same element twice at item level: the later text overwrites.
        {"<e:a>1</e:a><e:a>2</e:a>", "{urn:e:a=\"2\"}"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.body);
        std::string document = std::string("<rss version='2.0' xmlns:e='urn:e'><channel><item>") +
                               c.body + "</item></channel></rss>";
        EXPECT_EQ(firstItem(document), std::string("{Extension=") + c.extension + "}");
    }
}

TEST_F(FeedReader, AtomEntriesTakeTheFeedsAuthorAndAddUpTheirContent) {
    struct Case {
        const char* feedAuthor; // inside <author>, or empty for none
        const char* entry;
        const char* item;
    };
    const Case cases[] = {
        {"<email>f</email>", "<author><email>a</email></author><title>x</title>",
         "{Author=\"f\",Title=\"x\"}"},
        {"<email>f</email>", "<title>x</title><author><email>a</email></author>",
         "{Author=\"a\",Title=\"x\"}"},
        // A person without e-mail writes nothing, so the feed's author stays.
        {"<email>f</email>", "<title>x</title><author><name>n</name></author>",
         "{Author=\"f\",Title=\"x\"}"},
        {"", "<author><email>a</email></author><title>x</title>", "{Title=\"x\"}"},
        {"", "<summary>s</summary><content mode='xml'>c</content>", "{Description=\"sc\"}"},
        {"", "<content mode='escaped'>c</content><summary>s</summary>", "{Description=\"c\"}"},
        {"", "<summary>s</summary><content mode='escaped'>&lt;b&gt;c</content>",
         "{Description=\"<b>c\"}"},
        {"", "<content>a</content><content>b</content>", "{Description=\"ab\"}"},
        // base64 content is not decoded.
        {"", "<content mode='base64'>aGk=</content>", "{Description=\"aGk=\"}"},
        {"", "<content mode='xml'><p xmlns='urn:h'>x</p></content>",
         "{Description=\"<p xmlns=\"urn:h\">x</p>\"}"},
        {"", "<link href='a'/><link rel='self' href='b'/>", "{Link=\"b\"}"},
        {"", "<link href='a'/><link/>", "{Link=\"\"}"},
        {"", "<id>i</id><modified>2004-08-09T14:22:10Z</modified><issued>w</issued>",
         "{Extension={http://purl.org/atom/ns#:issued=\"w\"},Guid=\"i\",ModDate=1092061330}"},
        {"", "<n:x xmlns:n='urn:n'>1</n:x><y xmlns=''>2</y>", "{Extension={urn:n:x=\"1\"}}"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.entry);
        std::string author =
            *c.feedAuthor ? std::string("<author>") + c.feedAuthor + "</author>" : "";
        std::string document = "<feed xmlns='http://purl.org/atom/ns#'>" + author + "<entry>" +
                               c.entry + "</entry></feed>";
        EXPECT_EQ(firstItem(document), c.item);
    }
}

TEST_F(FeedReader, AtomFeedLevelTakesTextLinksEmailAuthorsAndExtensions) {
    Reading r = read("<feed xmlns='http://purl.org/atom/ns#' xmlns:n='urn:n'>"
                     "<title>T</title><link href='h'>text</link><tagline>D</tagline>"
                     "<modified>Thu, 01 Jan 2004 00:00:00 GMT</modified>"
                     "<author><email>e</email><name>N</name></author>"
                     "<copyright>c</copyright><n:x>1</n:x><plain xmlns=''>p</plain></feed>");
    EXPECT_EQ(r.record, "{Author=\"e\",Description=\"D\",Extension={http://purl.org/atom/"
                        "ns#:copyright=\"c\",urn:n:x=\"1\"},Link=\"text\",ModDate=1072915200,"
                        "Title=\"T\"}");
    Reading noEmail = read("<feed xmlns='http://purl.org/atom/ns#'><title>T</title>"
                           "<author><name>N</name></author></feed>");
    EXPECT_EQ(noEmail.record, "{Author=unset,Title=\"T\"}");
}

TEST_F(FeedReader, ParsesDatesToSecondsAndGivesZeroForWhatIsNoDate) {
    struct Case {
        const char* text;
        long seconds;
    };
    const Case cases[] = {
        {"", 0},
        {"yesterday", 0},
        {"Thu, 01 Jan 1970 00:00:00 GMT", 0},
        {"Thu, 01 Jan 1970 00:00:01 +0000", 1},
        {"Sun, 01 Jun 2003 18:00:00 +0100", 1054486800},
        {"2004-08-09T14:22:10Z", 1092061330},
        // Past 2038 the count wraps to a negative 32-bit value.
        {"Sat, 01 Jan 2050 00:00:00 GMT", static_cast<int32_t>(2524608000u)},
    };
    CRSSReader reader;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        CEStr text(c.text, kEStrPDFDoc);
        EXPECT_EQ(reader.parseARPADate(text), c.seconds);
    }
}

TEST_F(FeedReader, FlattensANodeToTextWithoutADeclaration) {
    CAgg root = parseDocument("<a xmlns:h='urn:h'><h:p class='c'>x &amp; \xC3\xA9<br/></h:p>"
                              "tail</a>");
    CAgg::CAggVector& children = root[kXMLKeyChildren].toVector();
    CRSSReader reader;
    CEStr element = CEStr::adopt(reader.flattenXML(children.at(0)));
    // Parsed text is written as it stands, so the ampersand comes back bare.
    EXPECT_EQ(EStrToUTF8(element), "<h:p class=\"c\" xmlns:h=\"urn:h\">x & \xC3\xA9<br/>\n</h:p>");
    EXPECT_EQ(EStrGetEncoding(element), kEStrUCS);
    CEStr text = CEStr::adopt(reader.flattenXML(children.at(1)));
    EXPECT_EQ(EStrToUTF8(text), "tail");
    EXPECT_EQ(EStrGetEncoding(text), kEStrPDFDoc);
}

/// What readDocument makes of the bytes, printed as readMessage's reading is.
std::string readBytes(const std::string& text) {
    CRSSReader reader;
    CAgg record = reader.readDocument(text.data(), text.size());
    EXPECT_EQ(EStrToUTF8(reader.parseError), "");
    return printReading(reader, record);
}

std::string readTree(const std::string& text) {
    CRSSReader reader;
    CAgg record = reader.readMessage(parseDocument(text));
    return printReading(reader, record);
}

TEST_F(FeedReader, ReadsBytesToTheRecordItReadsFromTheTree) {
    const char* const files[] = {
        "rss-0.91-latin1-customary-skips",
        "rss-0.92-enclosures-and-modules",
        "rss-2.0-extensions-and-oddities",
        "rdf-1.0-dublin-core",
        "atom-0.3-persons-and-modes",
        "podcast-itunes-media",
        "news-html-in-cdata",
        "blog-creators-and-comments",
    };
    for (const char* name : files) {
        SCOPED_TRACE(name);
        std::string text = readData(std::string(name) + ".xml");
        ASSERT_FALSE(text.empty());
        EXPECT_EQ(readBytes(text), readTree(text));
    }
    const std::string rdf = "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#' "
                            "xmlns='http://purl.org/rss/1.0/' xmlns:dc='urn:dc'>";
    const std::string documents[] = {
        // Text runs: split by elements, comments and CDATA, blank runs, characters past ASCII.
        rss20Item("<title>a<b>x<c>deep</c></b>c</title><link> <b/>l</link>"),
        rss20Item("<title>\n  spaced  \n</title><author>   </author><guid>g<!-- c -->h</guid>"),
        rss20Item("<description><![CDATA[<p>x</p>]]> tail &amp; more</description>"),
        rss20Item("<title>caf\xC3\xA9 &#x4E2D;</title><description>a</description>"
                  "<description>b</description><comments>c1</comments><comments/>"),
        rss20Item("<pubDate>Sun, 01 Jun 2003 18:00:00 +0100</pubDate><content:encoded/>"
                  "<content:encoded>full</content:encoded><description>late</description>"),
        // Read as trees: extensions, repeated and nested, and xhtml bodies.
        rss20Item("<dc:subject>a</dc:subject><dc:subject>b</dc:subject><dc:x><dc:y>1</dc:y>"
                  "<dc:y>2</dc:y></dc:x><dc:e a='1'/><x:body><x:p>h &amp; i</x:p></x:body>"),
        rss20Item("text before <title>t</title> between <dc:c>z</dc:c> after"),
        // Extensions whose elements show only after text, blanks or nothing.
        rss20Item("<dc:m>t<dc:n>u</dc:n>v</dc:m><dc:k> <dc:n>u</dc:n> </dc:k><dc:j><dc:n/>w</dc:j>"
                  "<dc:e></dc:e><dc:s>a</dc:s><dc:s></dc:s><dc:s>  </dc:s><dc:s><!--c--></dc:s>"),
        rss20Item("<dc:q>x<!--c-->y<![CDATA[z]]></dc:q><dc:p><dc:q><dc:r>1</dc:r></dc:q><dc:q>2"
                  "</dc:q></dc:p><dc:p>\n <dc:q/>\n</dc:p><x:span>caf\xC3\xA9</x:span>"),
        // Which items are items: in a namespace, in a second channel, nested, at the root.
        "<rss version='2.0'><channel><x:item xmlns:x='urn:x'><title>ns</title></x:item>"
        "<item a='1'><title>1</title></item><group><item><title>deep</title></item></group>"
        "</channel><channel><item><title>2</title></item></channel><item><title>root</title>"
        "</item></rss>",
        "<rss version='2.0' xmlns='urn:d'><channel><item><title>t</title></item></channel></rss>",
        "<rss version='2.0' xmlns:a='urn:a' xmlns:ab='urn:ab'><channel><item><ab:x>1</ab:x>"
        "<a:y>2</a:y></item></channel></rss>",
        "<rss version='0.91'><channel><item><guid>g</guid><dc:x xmlns:dc='urn:dc'>x</dc:x>"
        "</item></channel></rss>",
        "<other><channel><item><title>t</title></item></channel></other>",
        "<rss version='2.0'><item><title>no channel</title></item></rss>",
        rdf + "<channel><title>c</title><item><title>in channel</title></item></channel>"
              "<item><title>i1</title><dc:date>x</dc:date></item><dc:item><title>i2</title>"
              "</dc:item></rdf:RDF>",
        "<feed xmlns='http://purl.org/atom/ns#'><title>T</title><entry><title>e</title>"
        "</entry></feed>",
    };
    for (const std::string& text : documents) {
        SCOPED_TRACE(text);
        EXPECT_EQ(readBytes(text), readTree(text));
    }
}

TEST_F(FeedReader, ReadsNoRecordFromBytesThatAreNoDocument) {
    std::string deep = "<rss version='2.0'><channel><item><title>";
    for (long i = 0; i < CXML2CAgg::kMaxDepth; ++i)
        deep += "<b>";
    const std::string documents[] = {
        "",
        "<rss version='2.0'><channel><item><title>t</item></channel></rss>",
        "<rss version='2.0'><channel><item><title>t</title></item></channel></rss><x/>",
        deep,
    };
    for (const std::string& text : documents) {
        SCOPED_TRACE(text.substr(0, 80));
        CRSSReader reader;
        CAgg record = reader.readDocument(text.data(), text.size());
        EXPECT_EQ(record.getType(), CAgg::eVoid);
        EXPECT_NE(EStrToUTF8(reader.parseError), "");
    }
}

} // namespace
