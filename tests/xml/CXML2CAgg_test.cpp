// Building element records from documents: the shape of the tree, namespaces, text runs, and
// every kind of bad input.
#include "xml/CXML2CAgg.h"

#include "tests/xml/XMLTestSupport.h"
#include "values/QsStm.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace {

using xmltest::dump;
using xmltest::readData;

const char* const kParsedDocuments[] = {
    "empty-root",
    "namespace-declared-on-its-own-element",
    "nsdict-keeps-closed-declarations",
    "names-in-no-namespace",
    "text-after-child-keeps-leading-blanks",
    "whitespace-between-elements-vanishes",
    "text-runs",
    "entities-and-markup-leave-text-only",
    "attributes",
    "attributes-repeated-on-many-elements",
    "attributes-split-by-the-declarations-in-scope",
    "element-and-attribute-split-differently",
    "names-split-alike-when-repeated",
    "default-namespace-undeclared",
    "non-ascii-names-and-text",
    "soap-encoded-reply",
};

const char kParseProblem[] = "There was a problem parsing the XML document -- try setting "
                             "SOAP.wiredump to true in the console.";

std::string parseInChunks(const std::string& text, size_t chunk) {
    CXML2CAgg parser;
    for (size_t at = 0; at < text.size(); at += chunk) {
        size_t n = std::min(chunk, text.size() - at);
        if (!parser.parse(text.data() + at, static_cast<int>(n), 0))
            return "failed";
    }
    if (!parser.parse(nullptr, 0, 1))
        return "failed";
    return dump(parser.getRoot());
}

std::string nested(long depth) {
    std::string text;
    for (long i = 0; i < depth; ++i)
        text += "<a>";
    for (long i = 0; i < depth; ++i)
        text += "</a>";
    return text;
}

using XML2CAgg = xmltest::XMLTest;

TEST_F(XML2CAgg, BuildsTheRecordTreeOfEachDocument) {
    for (const char* name : kParsedDocuments) {
        std::string text = readData(std::string("parse/") + name + ".xml");
        ASSERT_FALSE(text.empty()) << name;
        CXML2CAgg parser;
        ASSERT_EQ(parser.parse(text.data(), static_cast<int>(text.size()), 1), 1) << name;
        EXPECT_EQ(dump(parser.getRoot()), readData(std::string("parse/") + name + ".tree")) << name;
        EXPECT_EQ(EStrGetLen(parser.getErrorString()), 0) << name;
    }
}

TEST_F(XML2CAgg, ChunkBoundariesInsideTextDoNotChangeTheTree) {
    // Text split across calls joins one node however the network cuts the reply, as long as no
    // run begins with whitespace (see the next test).
    for (const char* name : kParsedDocuments) {
        std::string text = readData(std::string("parse/") + name + ".xml");
        std::string expected = readData(std::string("parse/") + name + ".tree");
        if (expected.find("text \" ") != std::string::npos)
            continue;
        for (size_t chunk : {1, 2, 3, 7, 64})
            EXPECT_EQ(parseInChunks(text, chunk), expected) << name << " in chunks of " << chunk;
    }
}

TEST_F(XML2CAgg, LeadingWhitespaceDeliveredAloneIsLost) {
    // Expat hands over what it has at the end of each call, so where a reply is cut decides
    // how much of a run's leading whitespace comes as a chunk of its own and is dropped.
    struct Case {
        std::vector<std::string> chunks;
        const char* text;
    };
    const Case cases[] = {
        {{"<r>a<b/>  c</r>"}, "  c"},   {{"<r>a<b/> ", " c</r>"}, " c"},
        {{"<r>a<b/>  ", "c</r>"}, "c"}, {{"<r>\n  c</r>"}, "  c"},
        {{"<r>c", "  </r>"}, "c  "},
    };
    for (const Case& c : cases) {
        CXML2CAgg parser;
        for (const std::string& chunk : c.chunks)
            ASSERT_EQ(parser.parse(chunk.data(), static_cast<int>(chunk.size()), 0), 1);
        ASSERT_EQ(parser.parse(nullptr, 0, 1), 1);
        CAgg::CAggVector& children = CXMLElement(parser.getRoot()).children();
        ASSERT_FALSE(children.empty());
        EXPECT_EQ(ESTR2UTF8(CXMLElement(children.back()).record()[kXMLKeyText].toEStr()), c.text)
            << c.chunks.front();
    }
}

TEST_F(XML2CAgg, TheTreeHoldsEverythingFedSoFar) {
    CXML2CAgg parser;
    ASSERT_EQ(parser.parse("<r>ab", 5, 0), 1);
    CXMLElement root(parser.getRoot());
    EXPECT_EQ(ESTR2UTF8(root.getValue()), "ab");
    ASSERT_EQ(parser.parse("c\xC3\xA9</r>", 7, 1), 1);
    EXPECT_EQ(xmltest::shown(root.getValue()), "\"abc\xC3\xA9\"[ucs]");
    EXPECT_EQ(root.childCount(), 1);
}

TEST_F(XML2CAgg, ReadsAStreamInBlocks) {
    // Larger than one block of 4096 bytes, with a text run across the block boundary.
    std::string text = "<r><a>" + std::string(5000, 'x') + "</a><b>tail</b></r>";
    QsStm stream = QsMemStmRdOpen(text.data(), text.size());
    CXML2CAgg parser;
    EXPECT_EQ(parser.parse(stream), 1);
    QsStmClose(stream);
    CXML2CAgg whole;
    ASSERT_EQ(whole.parse(text.data(), static_cast<int>(text.size()), 1), 1);
    EXPECT_EQ(dump(parser.getRoot()), dump(whole.getRoot()));
}

TEST_F(XML2CAgg, ALargeTextFedInBlocksReadsBackExactly) {
    // A text of several megabytes in one element, made of units that hold an entity, a
    // character reference and a CDATA section. The block sizes are prime to the units'
    // lengths, so every offset within a unit, the middle of each reference and of each CDATA
    // marker among them, falls on a block edge somewhere. The ASCII half comes first, so the
    // node's string changes form once the characters past ASCII arrive.
    struct Unit {
        const char* markup;
        const char* text;
    };
    const Unit units[] = {
        {"plain text &amp; more <![CDATA[<raw> & ]]>tail&#65;|",
         "plain text & more <raw> & tailA|"},
        {"caf\xC3\xA9 &#xE9;&lt;<![CDATA[]]]]><![CDATA[>]]>\xE2\x82\xAC\xD0\x96|",
         "caf\xC3\xA9 \xC3\xA9<]]>\xE2\x82\xAC\xD0\x96|"},
    };
    std::string document = "<r>";
    std::string expected;
    for (const Unit& unit : units) {
        for (size_t bytes = 0; bytes < (3u << 20) / 2; bytes += std::strlen(unit.markup)) {
            document += unit.markup;
            expected += unit.text;
        }
    }
    document += "</r>";
    // Given whole, the text reaches the parser in runs longer than it holds back at once.
    for (size_t block : {size_t(2048), size_t(2047), size_t(4099), document.size()}) {
        CXML2CAgg parser;
        for (size_t at = 0; at < document.size(); at += block) {
            size_t n = std::min(block, document.size() - at);
            ASSERT_EQ(parser.parse(document.data() + at, static_cast<int>(n), 0), 1) << block;
        }
        ASSERT_EQ(parser.parse(nullptr, 0, 1), 1) << block;
        CXMLElement root(parser.getRoot());
        ASSERT_EQ(root.childCount(), 1) << block;
        CEStr text = root.getValue();
        EXPECT_EQ(EStrGetEncoding(text), kEStrUCS) << block;
        std::string got = ESTR2UTF8(text);
        ASSERT_EQ(got.size(), expected.size()) << block;
        EXPECT_TRUE(got == expected)
            << block << ": differs first at byte "
            << std::mismatch(got.begin(), got.end(), expected.begin()).first - got.begin();
    }
}

TEST_F(XML2CAgg, BadInputFailsWithAMessage) {
    struct Case {
        const char* file;
        const char* message;
    };
    const Case cases[] = {
        {"unclosed-element", kParseProblem},
        {"duplicate-attribute", kParseProblem},
        {"two-roots", kParseProblem},
        {"undeclared-prefix", kParseProblem},
        {"undefined-entity", kParseProblem},
        {"nul-byte-in-text", kParseProblem},
        {"latin1-byte-in-utf8", kParseProblem},
        {"empty-document", kParseProblem},
        {"billion-laughs", kParseProblem},
        {"unknown-encoding-windows-1252",
         "The URL that you are trying to reach is in an encoding (windows-1252) which can not be "
         "processed."},
    };
    for (const Case& c : cases) {
        std::string text = readData(std::string("bad/") + c.file + ".xml");
        CXML2CAgg parser;
        EXPECT_EQ(parser.parse(text.data(), static_cast<int>(text.size()), 1), 0) << c.file;
        EXPECT_EQ(ESTR2UTF8(parser.getErrorString()), c.message) << c.file;
        bool unknownEncoding = c.message != kParseProblem;
        EXPECT_EQ(parser.hasUnknownEncoding(), unknownEncoding) << c.file;
        EXPECT_EQ(ESTR2UTF8(parser.ownErrorString()), unknownEncoding ? c.message : "") << c.file;
        // A failed parser stays failed.
        EXPECT_EQ(parser.parse("<x/>", 4, 1), 0) << c.file;
    }
}

std::string repeated(const std::string& piece, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i)
        text += piece;
    return text;
}

TEST_F(XML2CAgg, ATreePastItsBudgetStopsTheParse) {
    // Fed in blocks as a reply arrives. Elements, attributes and text all count; a text fed in
    // many blocks counts once.
    std::string attributes;
    for (int i = 0; i < 100; ++i)
        attributes += " a" + std::to_string(i) + "=\"1\"";
    const std::string tiny = "<r>" + repeated("<v>1</v>", 10000) + "</r>";
    const std::string wide = "<r>" + repeated("<e" + attributes + "/>", 20) + "</r>";
    const std::string text = "<r>" + std::string(4u << 20, 'x') + "</r>";
    struct Case {
        const std::string& document;
        long long budget;
        bool stops;
    };
    const Case cases[] = {
        {tiny, 0, false},        {tiny, 4 << 20, true},  {tiny, 16 << 20, false},
        {wide, 256 << 10, true}, {wide, 1 << 20, false}, {text, 3 << 20, true},
        {text, 5 << 20, false},
    };
    for (const Case& c : cases) {
        CXML2CAgg parser;
        parser.setTreeBudget(c.budget);
        int result = 1;
        for (size_t at = 0; result && at < c.document.size(); at += 2048) {
            size_t n = std::min<size_t>(2048, c.document.size() - at);
            result = parser.parse(c.document.data() + at, static_cast<int>(n), 0);
        }
        if (result)
            result = parser.parse(nullptr, 0, 1);
        std::string which = c.document.substr(0, 12) + " " + std::to_string(c.budget);
        EXPECT_EQ(result, c.stops ? 0 : 1) << which;
        EXPECT_EQ(parser.treeOverBudget(), c.stops) << which;
        EXPECT_EQ(ESTR2UTF8(parser.getErrorString()), c.stops ? kParseProblem : "") << which;
        if (c.stops) {
            // It stops at the element or the block of text that passes the budget, and stays
            // stopped.
            EXPECT_LT(parser.treeBytes(), c.budget + (64 << 10)) << which;
            EXPECT_EQ(parser.parse("<x/>", 4, 1), 0) << which;
        } else {
            // A tree costs more than the text it is made of, and the budget bounds it.
            EXPECT_GT(parser.treeBytes(), static_cast<long long>(c.document.size())) << which;
            EXPECT_TRUE(c.budget == 0 || parser.treeBytes() <= c.budget) << which;
        }
    }
}

TEST_F(XML2CAgg, AnElementsAttributesChangeAloneThoughOthersHadTheSame) {
    // Elements of the same attributes, or of none, may hold them in one map: a write through
    // the view, or straight into the record, changes that element alone.
    const std::string text = "<r><a t=\"1\" u=\"2\"/><a t=\"1\" u=\"2\"/><a t=\"1\" u=\"2\"/>"
                             "<a t=\"1\" u=\"2\"/><b/><b/></r>";
    CXML2CAgg parser;
    ASSERT_EQ(parser.parse(text.data(), static_cast<int>(text.size()), 1), 1);
    CAgg::CAggVector& children = CXMLElement(parser.getRoot()).children();
    ASSERT_EQ(children.size(), 6u);
    CXMLElement(children[0]).setAttribute("t", "9");
    CXMLElement(children[1]).attributes().remove("u");
    children[2][kXMLKeyAttr]["v"] = CAgg("3");
    CXMLElement(children[4]).setAttribute("n", "1");
    const char* const expected[] = {
        R"( "t"="9" "u"="2")", R"( "t"="1")", R"( "t"="1" "u"="2" "v"="3")",
        R"( "t"="1" "u"="2")", R"( "n"="1")", "",
    };
    for (size_t i = 0; i < children.size(); ++i) {
        CAgg copy(children[i][kXMLKeyAttr]);
        EXPECT_EQ(xmltest::shownMap(copy), expected[i]) << i;
    }
}

TEST_F(XML2CAgg, EachElementHasItsOwnAttributesWhateverSetsCameBefore) {
    // Runs of elements whose attributes are all different (ids), then elements of a few sets
    // over and over, in runs long and short.
    for (int distinct : {0, 3, 40, 2000}) {
        std::string text = "<r>";
        for (int i = 0; i < distinct; ++i)
            text += "<w id=\"i" + std::to_string(i) + "\"/>";
        for (int i = 0; i < 30; ++i)
            text +=
                "<v t=\"" + std::to_string(i % 3) + "\"/><w id=\"j" + std::to_string(i) + "\"/>";
        text += "</r>";
        CXML2CAgg parser;
        ASSERT_EQ(parser.parse(text.data(), static_cast<int>(text.size()), 1), 1) << distinct;
        CAgg::CAggVector& children = CXMLElement(parser.getRoot()).children();
        ASSERT_EQ(children.size(), static_cast<size_t>(distinct + 60)) << distinct;
        for (size_t i = 0; i < children.size(); ++i) {
            bool repeated = i >= static_cast<size_t>(distinct) && (i - distinct) % 2 == 0;
            size_t n = i < static_cast<size_t>(distinct) ? i : (i - distinct) / 2;
            std::string expected = repeated ? R"( "t"=")" + std::to_string(n % 3) + "\""
                                   : i < static_cast<size_t>(distinct)
                                       ? R"( "id"="i)" + std::to_string(n) + "\""
                                       : R"( "id"="j)" + std::to_string(n) + "\"";
            CAgg copy(children[i][kXMLKeyAttr]);
            ASSERT_EQ(xmltest::shownMap(copy), expected) << distinct << " " << i;
        }
    }
}

TEST_F(XML2CAgg, TheTreeEstimateCountsAnAttributeMapOncePerMapMade) {
    // The estimate follows what is held: elements of one set of attributes hold one map
    // between them, elements of sets all different a map each.
    const size_t count = 1000;
    std::string distinct;
    for (size_t i = 0; i < count; ++i)
        distinct += "<v t=\"" + std::to_string(i) + "\">1</v>";
    auto estimate = [](const std::string& body) {
        CXML2CAgg parser;
        std::string text = "<r>" + body + "</r>";
        EXPECT_EQ(parser.parse(text.data(), static_cast<int>(text.size()), 1), 1);
        return parser.treeBytes();
    };
    long long none = estimate(repeated("<v>1</v>", count));
    long long same = estimate(repeated("<v t=\"x\">1</v>", count));
    long long different = estimate(distinct);
    EXPECT_LT(same - none, 1000);
    EXPECT_GT(different - none, static_cast<long long>(count) * 100);
}

TEST_F(XML2CAgg, NestingIsBoundedAndNeverRunsTheStackOut) {
    struct Case {
        long depth;
        int result;
    };
    const Case cases[] = {
        {CXML2CAgg::kMaxDepth, 1},
        {CXML2CAgg::kMaxDepth + 1, 0},
        {100'000, 0},
    };
    for (const Case& c : cases) {
        std::string text = nested(c.depth);
        CXML2CAgg parser;
        EXPECT_EQ(parser.parse(text.data(), static_cast<int>(text.size()), 1), c.result) << c.depth;
        EXPECT_EQ(ESTR2UTF8(parser.getErrorString()), c.result ? "" : kParseProblem) << c.depth;
        if (c.result) {
            // The deepest accepted tree can be copied and compared, which recurse.
            CAgg copy(parser.getRoot());
            EXPECT_TRUE(copy == parser.getRoot());
        }
    }
}

TEST_F(XML2CAgg, LongEntityChainsAreRefused) {
    // Expat expands an entity defined through another by recursion; a long enough chain would
    // exhaust the stack inside Expat, so the number of declarations is bounded.
    struct Case {
        long chain;
        int result;
    };
    const Case cases[] = {
        {CXMLParser::kMaxEntityDeclarations, 1},
        {CXMLParser::kMaxEntityDeclarations + 1, 0},
        {100'000, 0},
    };
    for (const Case& c : cases) {
        std::string text = "<!DOCTYPE r [\n<!ENTITY e0 \"x\">\n";
        for (long i = 1; i < c.chain; ++i)
            text += "<!ENTITY e" + std::to_string(i) + " \"&e" + std::to_string(i - 1) + ";\">\n";
        text += "]><r>&e" + std::to_string(c.chain - 1) + ";</r>";
        CXML2CAgg parser;
        EXPECT_EQ(parser.parse(text.data(), static_cast<int>(text.size()), 1), c.result) << c.chain;
        if (c.result) {
            EXPECT_EQ(ESTR2UTF8(CXMLElement(parser.getRoot()).getValue()), "x");
        }
    }
}

TEST_F(XML2CAgg, ExternalEntitiesAreNeverFetched) {
    // The entity names a file that exists beside the document; its text must not appear.
    std::string text = "<!DOCTYPE r [<!ENTITY ext SYSTEM \"" + std::string(VELL_TEST_DATA) +
                       "/xml/parse/empty-root.xml\">]><r>before&ext;after</r>";
    CXML2CAgg parser;
    ASSERT_EQ(parser.parse(text.data(), static_cast<int>(text.size()), 1), 1);
    EXPECT_EQ(ESTR2UTF8(CXMLElement(parser.getRoot()).getValue()), "beforeafter");
}

} // namespace
