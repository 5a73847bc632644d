// The view on an element record, and the conversions between the forms of XML text.
#include "xml/CXMLElement.h"

#include "tests/xml/XMLTestSupport.h"
#include "values/QsStm.h"
#include "xml/XMLString.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using XMLElement = xmltest::XMLTest;
using xmltest::shown;

TEST_F(XMLElement, GetValueJoinsTheDirectTextChildrenOnly) {
    struct Case {
        const char* document;
        const char* value;
    };
    const Case cases[] = {
        {"<r>plain</r>", "\"plain\""},
        {"<r>one<b>inner</b>two<c/>three</r>", "\"onetwothree\""},
        {"<r><b>inner</b></r>", "\"\""},
        {"<r/>", "\"\""},
        {"<r>caf\xC3\xA9<b/>!</r>", "\"caf\xC3\xA9!\"[ucs]"},
    };
    for (const Case& c : cases) {
        CXML2CAgg parser;
        ASSERT_EQ(parser.parse(c.document, static_cast<int>(std::strlen(c.document)), 1), 1);
        EXPECT_EQ(shown(CXMLElement(parser.getRoot()).getValue()), c.value) << c.document;
    }

    // A record with no children at all, and one whose text is a stream, which is left unread.
    CAgg bare;
    EXPECT_EQ(shown(CXMLElement(bare).getValue()), "\"\"");
    EXPECT_FALSE(bare.has(kXMLKeyChildren));
    CAgg tree;
    CXMLElement element(tree);
    element.appendText(CAgg("a"), false);
    std::string streamed = "streamed";
    element.appendText(CAgg(QsMemStmRdOpen(streamed.data(), streamed.size()), 1), false);
    element.appendText(CAgg(7L), false);
    // A number's text is in the host's encoding, so the join is raised to UCS.
    EXPECT_EQ(shown(element.getValue()), "\"a7\"[ucs]");
    CAgg& stream = element.children()[1][kXMLKeyText];
    EXPECT_EQ(QsStmReadAll(stream.toQsStm()), "streamed");
}

TEST_F(XMLElement, AccessorsReadWithoutAddingAndWriteTheRecordKeys) {
    CAgg tree;
    CXMLElement root(tree);
    EXPECT_EQ(root.getType(), kQsNullAtom);
    EXPECT_FALSE(root.hasAttribute("id"));
    EXPECT_EQ(shown(root.getAttribute("id")), "\"\"");
    EXPECT_EQ(root.childCount(), 0);
    EXPECT_EQ(tree.getType(), CAgg::eVoid); // nothing was added by reading

    root.setType(kXMLTypeElement);
    root.setName("Envelope");
    root.setNameSpace("urn:env");
    root.setAttribute("id", "7");
    CXMLElement body(root.appendElement("Body"));
    body.appendText(CAgg("x"), true);
    root.appendProcessing("pi");
    QName qname = root.getQName();
    EXPECT_EQ(shown(qname.name), "\"Envelope\"");
    EXPECT_EQ(shown(qname.nameSpace), "\"urn:env\"");
    EXPECT_TRUE(root.hasAttribute("id"));
    EXPECT_EQ(shown(root.getAttribute("id")), "\"7\"");
    EXPECT_EQ(root.childCount(), 2);
    EXPECT_EQ(xmltest::serialise(tree, 4096, false),
              "<m:Envelope id=\"7\" xmlns:m=\"urn:env\"><Body>x</Body><?pi?>\n</m:Envelope>");
}

TEST_F(XMLElement, TextFormsKeepTheCharacters) {
    struct Case {
        const char* utf8;
        const char* shown;
    };
    // ASCII stays single-byte; anything else becomes UCS, astral characters as surrogate pairs.
    const Case cases[] = {
        {"", "\"\""},
        {"Envelope", "\"Envelope\""},
        {"t\xC3\xA9l\xC3\xA9phone", "\"t\xC3\xA9l\xC3\xA9phone\"[ucs]"},
        {"\xE6\x97\xA5\xF0\x9D\x84\x9E", "\"\xE6\x97\xA5\xF0\x9D\x84\x9E\"[ucs]"},
    };
    for (const Case& c : cases) {
        CEStr text = XML_String2ESTR(c.utf8);
        EXPECT_EQ(shown(text), c.shown) << c.utf8;
        EXPECT_EQ(ESTR2UTF8(text), c.utf8);
        EXPECT_EQ(ESTR2XML_String(text), c.utf8);
        EXPECT_EQ(XML_String2UTF8(c.utf8), c.utf8);
    }
    CEStr clef = XML_String2ESTR("\xF0\x9D\x84\x9E");
    EXPECT_EQ(std::string(EStrGetBytes(clef), static_cast<size_t>(EStrGetLen(clef))),
              std::string("\xFE\xFF\xD8\x34\xDD\x1E", 6));
    // Bytes that are no UTF-8, a cut sequence among them, each become U+FFFD.
    CEStr broken = XML_String2ESTR("a\xFF\xE6\x97");
    EXPECT_EQ(std::string(EStrGetBytes(broken), static_cast<size_t>(EStrGetLen(broken))),
              std::string("\xFE\xFF\x00\x61\xFF\xFD\xFF\xFD\xFF\xFD", 10));
    EXPECT_EQ(EStrGetBytes(broken)[10], '\0');
    // A single-byte string of another encoding reaches UTF-8 through its characters.
    EXPECT_EQ(ESTR2UTF8(CEStr("caf\xE9 \x95", kEStrPDFDoc)), "caf\xC3\xA9 \xC5\x81");
    EXPECT_EQ(ESTR2UTF8(nullptr), "");
    EXPECT_EQ(XML_String2UTF8(nullptr), "");
}

TEST_F(XMLElement, TagsInANamespaceTakeThePrefixM) {
    struct Case {
        const char* tag;
        const char* bare;
        const char* declared;
    };
    const Case cases[] = {
        {"http://example.com/ns:local", "m:local", "m:local xmlns:m=\"http://example.com/ns\""},
        {"urn:a:b:c", "m:c", "m:c xmlns:m=\"urn:a:b\""},
        {"plain", "plain", "plain"},
        {":x", "m:x", "m:x xmlns:m=\"\""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Tag2UTF8AndNS(c.tag, false), c.bare) << c.tag;
        EXPECT_EQ(Tag2UTF8AndNS(c.tag, true), c.declared) << c.tag;
    }
}

} // namespace
