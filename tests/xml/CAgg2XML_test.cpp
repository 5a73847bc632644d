// The pull serialiser: trees against their expected text byte for byte, reads of every size,
// namespaces, escaping, stream values, the stream adapter and deep trees.
#include "xml/CAgg2XML.h"

#include "tests/xml/XMLTestSupport.h"
#include "values/QsStm.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using xmltest::readAll;
using xmltest::readData;
using xmltest::readTree;
using xmltest::serialise;

const char* const kWrittenTrees[] = {
    "empty-elements",
    "text-only",
    "escaping",
    "unescaped-texts",
    "namespace-in-the-name",
    "prefix-declared-by-an-ancestor",
    "unknown-namespaces-take-m",
    "prefixes-from-nsdict",
    "hidden-prefixes",
    "declaration-among-attributes",
    "attribute-order-and-raw-values",
    "attributes-keyed-by-uri",
    "processing-instructions",
    "processing-root",
    "soap-message",
    "empty-tree",
};

const char kDeclaration[] = "<?xml version=\"1.0\"?>\n";

using Agg2XML = xmltest::XMLTest;

TEST_F(Agg2XML, WritesEachTreeAsExpected) {
    for (const char* name : kWrittenTrees) {
        CAgg tree = readTree(std::string("write/") + name + ".tree");
        EXPECT_EQ(serialise(tree), readData(std::string("write/") + name + ".xml")) << name;
    }
}

TEST_F(Agg2XML, EveryReadSizeGivesTheSameBytes) {
    for (const char* name : kWrittenTrees) {
        std::string expected = readData(std::string("write/") + name + ".xml");
        for (long count : {1, 2, 3, 5, 17, 1024}) {
            CAgg tree = readTree(std::string("write/") + name + ".tree");
            EXPECT_EQ(serialise(tree, count), expected) << name << " read by " << count;
        }
    }
}

TEST_F(Agg2XML, ReadsAfterTheEndAndEmptyReadsGiveNothing) {
    CAgg tree = readTree("write/text-only.tree");
    CAgg2XML serialiser(tree);
    char buffer[64];
    EXPECT_EQ(serialiser.readProc(buffer, 0), 0);
    EXPECT_EQ(readAll(serialiser, sizeof buffer), readData("write/text-only.xml"));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(serialiser.readProc(buffer, sizeof buffer), 0);
}

TEST_F(Agg2XML, WritesAFragmentWithoutTheDeclaration) {
    CAgg tree = readTree("write/prefixes-from-nsdict.tree");
    std::string whole = readData("write/prefixes-from-nsdict.xml");
    EXPECT_EQ(serialise(tree, 4096, false), whole.substr(sizeof kDeclaration - 1));
    CAgg empty;
    EXPECT_EQ(serialise(empty, 4096, false), "");
}

TEST_F(Agg2XML, AParsedTreeGoesBackOutWithItsRecordKeysAsTheyStand) {
    // Attribute keys in a namespace are URI, ":", local name, which is no XML name: they go out
    // as they stand, and the text is not well-formed. That is intended.
    std::string reply = readData("parse/soap-encoded-reply.xml");
    CXML2CAgg parser;
    ASSERT_EQ(parser.parse(reply.data(), static_cast<int>(reply.size()), 1), 1);
    xmltest::markEncoded(parser.getRoot());
    EXPECT_EQ(serialise(parser.getRoot()), readData("write/parsed-soap-reply.xml"));
}

TEST_F(Agg2XML, ANameThatIsNoXMLNameFailsTheText) {
    const struct {
        const char* tree;
        const char* error;
    } cases[] = {
        {"element-name-holding-markup",
         "The element name \"x><evil>injected</evil><y\" is not an XML name."},
        {"attribute-key-holding-markup",
         "The attribute name \"b c><evil/><d\" is not an XML name."},
        {"attribute-key-a-number", "The attribute name \"9\" is not an XML name."},
        {"element-name-empty", "The element name \"\" is not an XML name."},
        {"prefix-holding-a-blank", "The element name \"p q:a\" is not an XML name."},
        {"processing-target-holding-markup",
         "The processing instruction name \"x?><evil/\" is not an XML name."},
        {"uri-keyed-attribute-local-name-not-a-name",
         "The attribute name \"http://example.org/x:b c\" is not an XML name."},
        {"uri-keyed-attribute-holding-markup",
         "The attribute name \"http://example.org/\"><evil/>:e\" is not an XML name."},
        {"element-name-line-separator", "The element name \"\xE2\x80\xA8x\" is not an XML name."},
    };
    for (const auto& c : cases) {
        for (long count : {1L, 7L, 4096L}) {
            CAgg tree = readTree(std::string("write/not-names/") + c.tree + ".tree");
            CAgg2XML serialiser(tree);
            std::string text = readAll(serialiser, count);
            // Nothing of the name is delivered, and reads go on failing.
            EXPECT_EQ(text.find("evil"), std::string::npos) << c.tree;
            EXPECT_TRUE(std::string(kDeclaration).starts_with(text) ||
                        text.starts_with(kDeclaration))
                << c.tree;
            char byte;
            EXPECT_EQ(serialiser.readProc(&byte, 1), -1) << c.tree << " read by " << count;
            EXPECT_TRUE(serialiser.failed()) << c.tree;
            EXPECT_EQ(serialiser.error(), c.error) << c.tree;
        }
    }
    // As a stream the failure is a failed read.
    CAgg tree = readTree("write/not-names/element-name-holding-markup.tree");
    QsStm stream = CAgg2XML::openStream(std::move(tree));
    char buffer[4096];
    EXPECT_EQ(QsStmRead(stream, buffer, sizeof buffer), -1);
    QsStmClose(stream);
}

TEST_F(Agg2XML, WorksOnACopyOfTheTree) {
    CAgg tree = readTree("write/namespace-in-the-name.tree");
    CAgg before(tree);
    serialise(tree);
    EXPECT_TRUE(tree == before); // the declaration went into the copy's attr only
}

TEST_F(Agg2XML, StreamValuesAreReadWholeAndEscapedBlockByBlock) {
    // Markup characters sit on both sides of the 1024-byte block boundary, and a two-byte
    // UTF-8 character across it.
    std::string content = std::string(1022, 'x') + "<&\xC3\xA9>" + std::string(2000, 'y') + "\"";
    std::string escaped =
        std::string(1022, 'x') + "&lt;&amp;\xC3\xA9&gt;" + std::string(2000, 'y') + "&quot;";
    struct Case {
        bool encoded;
        std::string text;
    };
    const Case cases[] = {{true, escaped}, {false, content}};
    for (const Case& c : cases) {
        CAgg tree;
        CXMLElement root(tree);
        root.setType(kXMLTypeElement);
        root.setName("a");
        root.appendText(CAgg(QsMemStmRdOpen(content.data(), content.size()), 1), c.encoded);
        // A read smaller than the stream still gets the whole of it in one step.
        CAgg2XML serialiser(std::move(tree));
        EXPECT_EQ(readAll(serialiser, 100), kDeclaration + ("<a>" + c.text + "</a>"));
    }
}

TEST_F(Agg2XML, TheStreamOwnsTheSerialiser) {
    struct Counted {
        int closes = 0;
    } counted;
    auto treeWithStream = [&] {
        CAgg tree = readTree("write/text-only.tree");
        QsStm inner =
            QsProcStmRdOpen([](char*, long, void*) -> long { return 0; },
                            [](void* data) { ++static_cast<Counted*>(data)->closes; }, &counted);
        CXMLElement(tree).appendText(CAgg(inner, 1), false);
        return tree;
    };

    // Closing the stream early destroys the serialiser, and with it the stream value it held.
    QsStm stream = CAgg2XML::openStream(treeWithStream());
    char first[7];
    EXPECT_EQ(QsStmRead(stream, first, sizeof first), 7);
    EXPECT_EQ(counted.closes, 0);
    QsStmClose(stream);
    EXPECT_EQ(counted.closes, 1);

    // Read to the end, each node goes once it is written: the stream value is closed by then.
    counted.closes = 0;
    stream = CAgg2XML::openStream(treeWithStream());
    EXPECT_EQ(QsStmReadAll(stream, 7), readData("write/text-only.xml"));
    EXPECT_EQ(counted.closes, 1);
    QsStmClose(stream);
    EXPECT_EQ(counted.closes, 1);

    // A tree given by reference is copied: the caller's stays whole.
    CAgg kept = readTree("write/soap-message.tree");
    CAgg before(kept);
    stream = CAgg2XML::openStream(kept, false);
    std::string expected = readData("write/soap-message.xml").substr(sizeof kDeclaration - 1);
    EXPECT_EQ(QsStmReadAll(stream, 4096), expected);
    QsStmClose(stream);
    EXPECT_TRUE(kept == before);
}

TEST_F(Agg2XML, ADeepTreeIsWrittenWithoutRecursion) {
    constexpr long kDepth = 100'000;
    CAgg tree;
    CAgg* node = &tree;
    for (long i = 0; i < kDepth; ++i) {
        CXMLElement element(*node);
        element.setType(kXMLTypeElement);
        element.setName("a");
        if (i + 1 < kDepth)
            node = &element.appendElement("a");
    }
    // Taken over rather than copied: a copy of the tree would recurse in the value model.
    CAgg2XML serialiser(std::move(tree));
    std::string text = readAll(serialiser, 4096);
    std::string expected = kDeclaration;
    for (long i = 1; i < kDepth; ++i)
        expected += "<a>";
    expected += "<a/>\n";
    for (long i = 1; i < kDepth; ++i)
        expected += "</a>";
    EXPECT_EQ(text, expected);
}

} // namespace
