// The Expat wrapper: which callbacks reach which virtual operation, the namespace scope and the
// name splits made against it, the reset forms, streams, and exceptions from handlers.
#include "xml/CXMLParser.h"

#include "frame/HostError.h"
#include "tests/xml/XMLTestSupport.h"
#include "values/QsStm.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using xmltest::readData;

std::string orNull(const XML_Char* text) {
    return text ? text : "(null)";
}

// A parser that writes down every callback, and the scope at each start tag.
class Recorder : public CXMLParser {
public:
    Recorder() : CXMLParser(nullptr, '\0') {}
    explicit Recorder(const XML_Char* encoding) : CXMLParser(encoding) {}

    std::string log;

protected:
    void startElementHandler(const XML_Char* name, const XML_Char** atts) override {
        XMLString local, ns;
        makeQName(name, &local, &ns);
        log += "start " + local + " in " + ns;
        for (; atts && atts[0]; atts += 2)
            log += " " + normalizeQName(atts[0]) + "=" + atts[1];
        log += " scope";
        for (const auto& [prefix, uri] : namespaces())
            log += " " + prefix + "=" + uri;
        log += "\n";
    }
    void endElementHandler(const XML_Char*) override { log += "end\n"; }
    void cDataHandler(const XML_Char* text, int len) override {
        log += "text " + std::string(text, static_cast<size_t>(len)) + "\n";
    }
    void processingInstructionHandler(const XML_Char* target, const XML_Char* data) override {
        log += "pi " + orNull(target) + " " + orNull(data) + "\n";
    }
    void commentHandler(const XML_Char* data) override { log += "comment" + orNull(data) + "\n"; }
    void startCdataSectionHandler() override { log += "cdata\n"; }
    void endCdataSectionHandler() override { log += "cdata end\n"; }
    void defaultHandler(const XML_Char*, int) override { log += "plain default\n"; }
    void defaultHandlerExpand(const XML_Char* text, int len) override {
        std::string chunk(text, static_cast<size_t>(len));
        if (chunk.find_first_not_of(" \n") != std::string::npos)
            log += "default " + chunk + "\n";
    }
    void unparsedEntityDeclHandler(const XML_Char* entity, const XML_Char*,
                                   const XML_Char* systemId, const XML_Char*,
                                   const XML_Char* notation) override {
        log +=
            "unparsed " + orNull(entity) + " " + orNull(systemId) + " " + orNull(notation) + "\n";
    }
    void notationDeclHandler(const XML_Char* notation, const XML_Char*, const XML_Char* systemId,
                             const XML_Char*) override {
        log += "notation " + orNull(notation) + " " + orNull(systemId) + "\n";
    }
    void startNamespaceDeclHandler(const XML_Char* prefix, const XML_Char* uri) override {
        log += "ns '" + orNull(prefix) + "' " + orNull(uri) + "\n";
    }
    void endNamespaceDeclHandler(const XML_Char* prefix) override {
        log += "ns end '" + orNull(prefix) + "'\n";
    }
    int notStandaloneHandler() override {
        log += "not standalone\n";
        return 1;
    }
};

using XMLParser = xmltest::XMLTest;

TEST_F(XMLParser, CallbacksReachTheirOperations) {
    std::string text = readData("parser/callbacks.xml");
    Recorder parser;
    ASSERT_EQ(parser.parse(text.data(), static_cast<int>(text.size()), 1), 1);
    EXPECT_EQ(parser.log, readData("parser/callbacks.log"));
}

TEST_F(XMLParser, AUndeclaredDefaultNamespaceIsIgnoredToItsEnd) {
    Recorder parser;
    const char text[] = "<r xmlns='urn:one'><b xmlns=''/><d/></r>";
    ASSERT_EQ(parser.parse(text, sizeof text - 1, 1), 1);
    EXPECT_EQ(parser.log, "ns '' urn:one\nstart r in urn:one scope =urn:one\n"
                          "start b in  scope =urn:one\nend\n"
                          "start d in urn:one scope =urn:one\nend\nend\nns end ''\n");
}

TEST_F(XMLParser, NamesSplitAgainstTheDeclarationsInScope) {
    Recorder parser;
    const char open[] = "<r xmlns:b='urn:x/y' xmlns:a='urn:x' xmlns='urn:d'><s xmlns:a='urn:in'>";
    ASSERT_EQ(parser.parse(open, sizeof open - 1, 0), 1);

    // The innermost declaration of a prefix is the last of its run.
    EXPECT_EQ(parser.getNS("a:local"), "urn:in");
    EXPECT_EQ(parser.getNS("a"), "urn:in");
    EXPECT_EQ(parser.getNS("b:c:d"), "urn:x/y");
    EXPECT_EQ(parser.getNS(""), "urn:d");
    EXPECT_EQ(parser.getNS("zz:x"), "");
    ASSERT_NE(parser.findLastNS("a"), nullptr);
    EXPECT_EQ(parser.findLastNS("a")->second, "urn:in");
    EXPECT_EQ(parser.findLastNS("local"), nullptr);
    ASSERT_EQ(parser.parse("</s>", 4, 0), 1);
    EXPECT_EQ(parser.getNS("a"), "urn:x");

    struct Case {
        const char* tag;
        const char* name;
        const char* ns;
        const char* normalized;
        const char* unqualified;
    };
    // Elements take the first URI in prefix order that begins the tag, attributes the longest.
    const Case cases[] = {
        {"urn:x/yz", "/yz", "urn:x", "urn:x/y:z", "a:/yz"},
        {"urn:xq", "q", "urn:x", "urn:x:q", "a:q"},
        {"urn:dfoo", "foo", "urn:d", "urn:d:foo", "foo"},
        {"plain", "plain", "", "plain", "plain"},
        {"", "", "", "", ""},
    };
    for (const Case& c : cases) {
        XMLString name = "unset", ns = "unset";
        parser.makeQName(c.tag, &name, &ns);
        EXPECT_EQ(name, c.name) << c.tag;
        EXPECT_EQ(ns, c.ns) << c.tag;
        parser.makeQName(c.tag, nullptr, &ns);
        EXPECT_EQ(ns, c.ns) << c.tag;
        EXPECT_EQ(parser.normalizeQName(c.tag), c.normalized) << c.tag;
        EXPECT_EQ(parser.unqualify(c.tag), c.unqualified) << c.tag;
    }
    EXPECT_EQ(parser.qualify("a:foo"), "urn:xfoo");
    EXPECT_EQ(parser.qualify("foo"), "urn:dfoo");
    EXPECT_EQ(parser.qualify("zz:foo"), "zz:foo");
}

TEST_F(XMLParser, ResetStartsAgainWithAParserOfTheNamedKind) {
    Recorder parser;
    ASSERT_EQ(parser.parse("<r xmlns:p='urn:p'><p:a>", 24, 0), 1);
    ASSERT_FALSE(parser.namespaces().empty());

    parser.reset(nullptr);
    EXPECT_TRUE(parser.namespaces().empty());
    parser.log.clear();
    const char plain[] = "<p:a xmlns:p='urn:p'/>";
    ASSERT_EQ(parser.parse(plain, sizeof plain - 1, 1), 1);
    // Without namespace processing the declaration is an attribute and the name keeps its
    // prefix.
    EXPECT_EQ(parser.log, "start p:a in  xmlns:p=urn:p scope\nend\n");

    parser.reset(nullptr, '\0');
    parser.log.clear();
    ASSERT_EQ(parser.parse(plain, sizeof plain - 1, 1), 1);
    EXPECT_EQ(parser.log, "ns 'p' urn:p\nstart a in urn:p scope p=urn:p\nend\nns end 'p'\n");

    // An external entity's parser parses content without a root, with the callbacks of its
    // own object.
    Recorder parent;
    ASSERT_EQ(parent.parse("<r>", 3, 0), 1);
    struct Child : Recorder {
        explicit Child(XML_Parser parent) : Recorder() { reset(parent, "", nullptr); }
    } child(parent.handle());
    ASSERT_NE(child.handle(), nullptr);
    ASSERT_EQ(child.parse("one<x/>two", 10, 1), 1);
    EXPECT_EQ(child.log, "text one\nstart x in  scope\nend\ntext two\n");
    EXPECT_EQ(parent.log, "start r in  scope\n");
}

TEST_F(XMLParser, AnEncodingSetFirstReadsADocumentThatNamesNone) {
    Recorder parser;
    EXPECT_EQ(parser.setEncoding("ISO-8859-1"), 1);
    const char latin[] = "<r>caf\xE9</r>";
    void* buffer = parser.getBuffer(sizeof latin - 1);
    ASSERT_NE(buffer, nullptr);
    std::memcpy(buffer, latin, sizeof latin - 1);
    ASSERT_EQ(parser.parseBuffer(sizeof latin - 1, 1), 1);
    EXPECT_EQ(parser.log, "start r in  scope\ntext caf\xC3\xA9\nend\n");
}

TEST_F(XMLParser, StreamsAreReadInBlocksUntilTheEndOrAFailure) {
    struct Source {
        std::string text;
        size_t at = 0;
        std::vector<long> reads;
    };
    auto read = [](char* buffer, long count, void* data) -> long {
        auto* source = static_cast<Source*>(data);
        source->reads.push_back(count);
        long n = std::min<long>(count, static_cast<long>(source->text.size() - source->at));
        std::memcpy(buffer, source->text.data() + source->at, static_cast<size_t>(n));
        source->at += static_cast<size_t>(n);
        return n;
    };
    struct Case {
        std::string text;
        int result;
        size_t reads;
    };
    const Case cases[] = {
        {"<r>" + std::string(9000, 'x') + "</r>", 1, 4},
        {"<r></s>" + std::string(9000, ' '), 0, 1},
        {"", 0, 1},
    };
    for (const Case& c : cases) {
        Source source{c.text, 0, {}};
        QsStm stream = QsProcStmRdOpen(read, nullptr, &source);
        Recorder parser;
        EXPECT_EQ(parser.parse(stream), c.result);
        QsStmClose(stream);
        EXPECT_EQ(source.reads.size(), c.reads) << c.text.substr(0, 10);
        for (long count : source.reads)
            EXPECT_EQ(count, 4096);
    }
}

TEST_F(XMLParser, AnExceptionInAHandlerStopsTheParseAndLeavesAfterExpat) {
    struct Throwing : Recorder {
        void cDataHandler(const XML_Char* text, int len) override {
            Recorder::cDataHandler(text, len);
            raiseHostError(kHostErrNoMemory);
        }
    } parser;
    const char text[] = "<r>one<a/>two</r>";
    try {
        parser.parse(text, sizeof text - 1, 1);
        FAIL() << "no exception";
    } catch (const HostError& error) {
        EXPECT_EQ(error.code, kHostErrNoMemory);
    }
    EXPECT_EQ(parser.log, "start r in  scope\ntext one\n");
    EXPECT_EQ(parser.parse("", 0, 1), 0);
}

} // namespace
