// The view on an element record, and the tags of the serialiser's plain form.
#include "xml/CXMLElement.h"

#include "tests/xml/XMLTestSupport.h"
#include "values/CAggWalk.h"
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

TEST_F(XMLElement, FindsTheEntriesOfARecordOfEitherKindInOnePass) {
    CXMLKeyAtoms keys = CXMLKeyAtoms::current();
    const char* document = "<r xmlns='urn:r' a='1'><b/>text</r>";
    CXML2CAgg parser;
    ASSERT_EQ(parser.parse(document, static_cast<int>(std::strlen(document)), 1), 1);
    CAgg& parsed = parser.getRoot();
    CAgg& text = parsed[kXMLKeyChildren][1];
    // The same record with text keys, as a map read from a script would hold it.
    CAgg textKeys;
    textKeys["type"] = CAgg("element");
    textKeys["name"] = CAgg("r");
    textKeys["children"].toVector();
    CAgg notARecord("r");

    CXMLEntries root = CXMLEntries::of(parsed, keys);
    EXPECT_EQ(root.typeAtom(), keys.element);
    EXPECT_EQ(shown(CAggValueText(*root.name)), "\"r\"");
    EXPECT_EQ(shown(CAggValueText(*root.nameSpace)), "\"urn:r\"");
    ASSERT_NE(root.attr, nullptr);
    EXPECT_TRUE(root.attr->has("a"));
    ASSERT_NE(root.childList(), nullptr);
    EXPECT_EQ(root.childList()->size(), 2u);
    EXPECT_EQ(root.text, nullptr);
    EXPECT_EQ(root.nsDict, nullptr) << "the root has no nsDict";

    CXMLEntries leaf = CXMLEntries::of(text, keys);
    EXPECT_EQ(leaf.typeAtom(), keys.textType);
    ASSERT_NE(leaf.text, nullptr);
    EXPECT_EQ(shown(CAggValueText(*leaf.text)), "\"text\"");
    EXPECT_EQ(leaf.childList(), nullptr);

    // A type held as text is read from a copy: the record keeps its string.
    CXMLEntries keyed = CXMLEntries::of(textKeys, keys);
    EXPECT_EQ(keyed.typeAtom(), keys.element);
    EXPECT_EQ(textKeys["type"].getType(), CAgg::eEStr);
    ASSERT_NE(keyed.childList(), nullptr);
    EXPECT_EQ(keyed.attr, nullptr);

    CXMLEntries none = CXMLEntries::of(notARecord, keys);
    EXPECT_EQ(none.typeAtom(), kQsNullAtom);
    EXPECT_EQ(none.name, nullptr);
    EXPECT_EQ(notARecord.getType(), CAgg::eEStr);
}

TEST_F(XMLElement, AViewWithTheKeyAtomsMakesTheSameRecords) {
    CXMLKeyAtoms keys = CXMLKeyAtoms::current();
    auto build = [&](bool withKeys) {
        CAgg tree;
        CXMLElement root = withKeys ? CXMLElement(tree, keys) : CXMLElement(tree);
        root.setType(kXMLTypeElement);
        root.setName("r");
        root.setAttribute(CEStr("id", kEStrPDFDoc), CAgg("1"));
        CAgg& unnamed = root.appendElement();
        CXMLElement child = withKeys ? CXMLElement(unnamed, keys) : CXMLElement(unnamed);
        child.setName("c");
        child.appendText(CAgg("x<y"), true);
        EXPECT_EQ(shown(child.getValue()), "\"x<y\"");
        root.appendProcessing("pi"); // child is a reference into the children: not used again
        EXPECT_TRUE(root.isElement());
        EXPECT_FALSE(root.isText());
        return xmltest::serialise(tree, 4096, false);
    };
    EXPECT_EQ(build(true), "<r id=\"1\"><c>x&lt;y</c><?pi?>\n</r>");
    EXPECT_EQ(build(false), build(true));
}

TEST_F(XMLElement, ElementsShareOneAttributeMapUntilOneOfThemIsWritten) {
    CAgg shared;
    shared["xsi:type"] = CAgg("xsd:int");
    shared.shareMap();
    const CAgg::CAggMap* body = shared.mapEntries();

    CAgg tree;
    CXMLElement root(tree);
    root.setType(kXMLTypeElement);
    root.setName("r");
    for (const char* name : {"a", "b", "c"})
        root.appendElement(name);
    auto child = [&](size_t i) { return CXMLElement(root.children()[i]); };
    auto attributesOf = [&](size_t i) { return root.children()[i][kXMLKeyAttr].mapEntries(); };
    // An element with attributes of its own takes the entries into them.
    child(2).setAttribute("id", "1");
    for (size_t i = 0; i < 3; ++i)
        child(i).shareAttributes(shared);

    // Every way of reading an attribute leaves the map shared.
    CEStr key("xsi:type", kEStrPDFDoc);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_TRUE(child(i).hasAttribute("xsi:type")) << i;
        EXPECT_EQ(shown(child(i).getAttribute("xsi:type")), "\"xsd:int\"") << i;
        EXPECT_EQ(shown(child(i).getAttribute(key.get())), "\"xsd:int\"") << i;
        ASSERT_NE(child(i).findAttribute(key.get()), nullptr) << i;
        EXPECT_EQ(child(i).findAttribute(CEStr("id", kEStrPDFDoc).get()) != nullptr, i == 2) << i;
    }
    EXPECT_EQ(attributesOf(0), body);
    EXPECT_EQ(attributesOf(1), body);
    EXPECT_NE(attributesOf(2), body);
    const std::string before = "<r><a xsi:type=\"xsd:int\"/>\n<b xsi:type=\"xsd:int\"/>\n"
                               "<c id=\"1\" xsi:type=\"xsd:int\"/>\n</r>";
    EXPECT_EQ(xmltest::serialise(tree, 4096, false), before);
    EXPECT_EQ(attributesOf(0), body);

    // Writing to one element's attributes changes that element alone.
    child(0).setAttribute("id", "2");
    child(1).attributes()["xsi:type"] = CAgg("xsd:long");
    EXPECT_EQ(attributesOf(2)->size(), 2u);
    EXPECT_EQ(xmltest::serialise(tree, 4096, false),
              "<r><a id=\"2\" xsi:type=\"xsd:int\"/>\n<b xsi:type=\"xsd:long\"/>\n"
              "<c id=\"1\" xsi:type=\"xsd:int\"/>\n</r>");
    EXPECT_EQ(shared.mapEntries(), body);
    EXPECT_EQ(body->size(), 1u);
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
