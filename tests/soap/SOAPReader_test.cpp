#include "frame/HostError.h"
#include "soap/CSOAPReader.h"
#include "soap/CSOAPWriter.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/soap/SOAPTestSupport.h"

#include <gtest/gtest.h>

#include <string>

using namespace soaptest;

namespace {

enum Style { kEncoded, kLiteral, kLiteralXML, kLiteralMessage };

std::unique_ptr<CSOAPReader> readerFor(CAgg& document, Style style) {
    std::unique_ptr<CSOAPReader> reader = getSOAPReader(document, style == kEncoded ? 1 : 0);
    reader->setAsXML(style == kLiteralXML ? 1 : 0);
    reader->setXMLMessage(style == kLiteralMessage ? 1 : 0);
    return reader;
}

CAgg readBody(const std::string& xml, Style style) {
    CAgg document = parse(xml);
    std::unique_ptr<CSOAPReader> reader = readerFor(document, style);
    return reader->readBody(nullptr);
}

// Follows the entries under key down from value; how many there were, and whether the last
// value is a reference left unresolved.
std::pair<long, bool> followChain(CAgg& value, const char* key) {
    CAgg* at = &value;
    long length = 0;
    while (at->has(key)) {
        at = &(*at)[key];
        ++length;
    }
    return {length, at->has("soap_href_id")};
}

} // namespace

TEST(SOAPReader, ReadsRepliesIntoValues) {
    FakeHost host;
    struct Case {
        const char* file;
        Style style;
        const char* expected;
    };
    const Case cases[] = {
        {"encoded-struct-repeated-member.xml", kEncoded,
         R"({"urn:list:listResponse":{"only":[1,2,3],"struct":{"item":3,"name":"first"}}})"},
        {"encoded-value-types.xml", kEncoded,
         R"({"urn:types:typesResponse":{"arr":["a","b"],"b":true,"b64":stream("Man"),)"
         R"("b64b":stream("Man"),"d":"2.5","emptyArr":[],"f":1.5d,"hex":stream("J@"),"i":42,)"
         R"("intWithChildren":{"x":1},"l":"7","nil":null,"old":5,"s":"text",)"
         R"("t":time(2004-05-06 07:08:09),"untyped":"plain"}})"},
        {"encoded-multiref-shared.xml", kEncoded,
         R"({"multiRef":["a"],"urn:pairs:getPairResponse":{"left":{"x":1,"y":7},"list":["a"],)"
         R"("right":{"x":1,"y":7}}})"},
        {"header-and-body-soap12.xml", kEncoded, R"({"urn:echo:echoResponse":{"return":"hi"}})"},
        // References to values the reply does not hold stay as they are.
        {"encoded-reference-to-no-value.xml", kEncoded,
         R"({"urn:ref:getResponse":{"found":{"soap_href_id":"#nowhere"},)"
         R"("picture":{"soap_href_id":"cid:nothing@here"}}})"},
        {"literal-repeated-and-struct.xml", kLiteral,
         R"({"urn:shop:getItemsResponse":{"item":["apple","pear","plum"]},)"
         R"("urn:shop:summary":{"note":"b","total":"3"}})"},
        {"literal-repeated-and-struct.xml", kLiteralMessage,
         R"({"soapValue":[{"soapAttributes":{"status":"ok"},"soapName":"urn:shop:getItemsResponse",)"
         R"("soapQName":["urn:shop","getItemsResponse"],"soapValue":[)"
         R"({"soapName":"item","soapQName":["","item"],"soapValue":"apple"},)"
         R"({"soapName":"item","soapQName":["","item"],"soapValue":"pear"},)"
         R"({"soapName":"item","soapQName":["","item"],"soapValue":"plum"}]},)"
         R"({"soapName":"urn:shop:summary","soapQName":["urn:shop","summary"],"soapValue":[)"
         R"({"soapName":"total","soapQName":["","total"],"soapValue":"3"},)"
         R"({"soapName":"note","soapQName":["","note"],"soapValue":"a"},)"
         R"({"soapName":"note","soapQName":["","note"],"soapValue":"b"}]}]})"},
        {"literal-repeated-and-struct.xml", kLiteralXML,
         "stream(\"<?xml version=\"1.0\"?>\n<m:summary xmlns:m=\"urn:shop\"><total>3</total>"
         "<note>a</note><note>b</note></m:summary>\")"},
        // Keys of UCS text sort after the others.
        {"encoded-names-and-types-beyond-ascii.xml", kEncoded,
         R"({"urn:measure:measureResponse":{"list":["x","y"],"plain":4,"price":2.5d,)"
         R"("urn:measure:qualified":true,"größe":3}})"},
        {"encoded-names-and-types-beyond-ascii.xml", kLiteral,
         R"({"urn:measure:measureResponse":{"list":{"item":["x","y"]},"plain":"4",)"
         R"("price":"2.5","urn:measure:qualified":"1","größe":"3"}})"},
        // Names beyond ASCII are given as text in the records, qualified or not.
        {"encoded-names-and-types-beyond-ascii.xml", kLiteralMessage,
         R"({"soapValue":[{"soapName":"urn:measure:measureResponse",)"
         R"("soapQName":["urn:measure","measureResponse"],"soapValue":[)"
         R"({"soapAttributes":{"http://www.w3.org/2001/XMLSchema-instance:type":"xsd:int"},)"
         R"("soapName":"größe","soapQName":["","größe"],"soapValue":"3"},)"
         R"({"soapAttributes":{"http://www.w3.org/2001/XMLSchema-instance:type":"xsd:boolean"},)"
         R"("soapName":"urn:measure:qualified","soapQName":["urn:measure","qualified"],)"
         R"("soapValue":"1"},)"
         R"({"soapAttributes":{"http://www.w3.org/2001/XMLSchema-instance:type":"ü:float"},)"
         R"("soapName":"price","soapQName":["","price"],"soapValue":"2.5"},)"
         R"({"soapAttributes":{"http://www.w3.org/2001/XMLSchema-instance:type":"é:Array"},)"
         R"("soapName":"list","soapQName":["","list"],"soapValue":[)"
         R"({"soapName":"item","soapQName":["","item"],"soapValue":"x"},)"
         R"({"soapName":"item","soapQName":["","item"],"soapValue":"y"}]},)"
         R"({"soapAttributes":{"http://www.w3.org/2001/XMLSchema-instance:type":"xsd:int"},)"
         R"("soapName":"plain","soapQName":["","plain"],"soapValue":"4"}]}]})"},
        {"encoded-struct-repeated-member.xml", kLiteral,
         R"({"urn:list:listResponse":{"only":{"item":["1","2","3"]},)"
         R"("struct":{"item":"3","name":"first"}}})"},
    };
    for (const Case& c : cases) {
        CAgg result = readBody(readData(c.file), c.style);
        EXPECT_EQ(dump(result), c.expected) << c.file << " in style " << c.style;
    }
}

TEST(SOAPReader, TakesFaultsOutOfTheBody) {
    FakeHost host;
    CAgg document = parse(readData("fault-after-a-value.xml"));
    std::unique_ptr<CSOAPReader> reader = readerFor(document, kEncoded);
    CAgg result = reader->readBody(nullptr);
    EXPECT_EQ(dump(result), R"({"urn:err:before":"1"})") << "the child after the fault is unread";
    EXPECT_TRUE(reader->hasFault());
    EXPECT_EQ(EStrToUTF8(reader->getFaultString()), "It broke");
    EXPECT_EQ(EStrToUTF8(reader->getFaultCode()), "soap:Server");
    EXPECT_EQ(EStrToUTF8(reader->getFaultActor()), "http://example.org/actor");
    EXPECT_EQ(dump(reader->getFaultDetail()), R"({"detail":{"urn:err:info":{"code":42}}})");
    EXPECT_FALSE(reader->hasError());

    // A SOAP 1.2 fault ends the body too, but its other names leave the fault string empty, so
    // that it passes for an empty reply.
    CAgg soap12 = parse(readData("fault-soap12.xml"));
    std::unique_ptr<CSOAPReader> reader12 = readerFor(soap12, kEncoded);
    CAgg empty = reader12->readBody(nullptr);
    EXPECT_EQ(dump(empty), "null");
    EXPECT_FALSE(reader12->hasFault());
    EXPECT_EQ(reader12->getVersion(), kSOAPVersion12);
}

TEST(SOAPReader, ReadsTheHeaderAndTakesTheVersionFromTheEnvelope) {
    FakeHost host;
    CAgg document = parse(readData("header-and-body-soap12.xml"));
    for (Style style : {kEncoded, kLiteral}) {
        std::unique_ptr<CSOAPReader> reader = readerFor(document, style);
        CAgg header = reader->readHeader();
        EXPECT_EQ(dump(header), style == kEncoded ? R"({"urn:tx:Transaction":5})"
                                                  : R"({"urn:tx:Transaction":"5"})");
        EXPECT_EQ(reader->getVersion(), kSOAPVersion12);
    }
    CAgg plain = parse(readData("encoded-struct-repeated-member.xml"));
    std::unique_ptr<CSOAPReader> reader = readerFor(plain, kEncoded);
    CAgg noHeader = reader->readHeader();
    EXPECT_EQ(dump(noHeader), "null");
    EXPECT_EQ(reader->getVersion(), kSOAPVersion11);

    CAgg unknown = parse(readData("envelope-in-unknown-namespace.xml"));
    for (Style style : {kEncoded, kLiteral}) {
        std::unique_ptr<CSOAPReader> strange = readerFor(unknown, style);
        HostFrame frame;
        EXPECT_EQ(frame.run([&] { strange->readHeader(); }), -1);
        EXPECT_EQ(frame.run([&] { strange->readBody(nullptr); }), -1);
    }
}

TEST(SOAPReader, StopsReferencesThatNeverEnd) {
    FakeHost host;
    for (const char* file : {"encoded-multiref-self.xml", "encoded-multiref-cycle-of-two.xml"}) {
        CAgg result = readBody(readData(file), kEncoded);
        auto [length, unresolved] = followChain(result["urn:loop:loopResponse"]["start"], "next");
        EXPECT_GT(length, 100) << file << ": references are followed a long way";
        EXPECT_LE(length, CSOAPReader::kMaxBindDepth) << file;
        EXPECT_TRUE(unresolved) << file << ": the last reference stays";
    }

    // A value that is nothing but a reference to itself.
    CAgg itself = readBody(readData("encoded-multiref-refers-to-itself.xml"), kEncoded);
    EXPECT_EQ(dump(itself), R"({"urn:loop:loopResponse":{"start":{"soap_href_id":"#a"}}})");

    // A chain of 10,000 references, each to the next.
    std::string chain = "<?xml version=\"1.0\"?><s:Envelope "
                        "xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\" "
                        "xmlns:e=\"http://schemas.xmlsoap.org/soap/encoding/\"><s:Body>"
                        "<r><start href=\"#n0\"/></r>";
    for (int i = 0; i < 10000; ++i) {
        chain += "<multiRef id=\"n" + std::to_string(i) + "\" e:root=\"0\"><next href=\"#n" +
                 std::to_string(i + 1) + "\"/></multiRef>";
    }
    chain += "</s:Body></s:Envelope>";
    CAgg result = readBody(chain, kEncoded);
    auto [length, unresolved] = followChain(result["r"]["start"], "next");
    EXPECT_LT(length, 10000);
    EXPECT_TRUE(unresolved);

    // A value that refers twice to itself would double at each level without end; the
    // references past the budget stay unresolved.
    CAgg doubling = readBody(readData("encoded-multiref-doubling.xml"), kEncoded);
    auto [depth, open] = followChain(doubling["urn:loop:loopResponse"]["start"], "left");
    EXPECT_GT(depth, 10);
    EXPECT_TRUE(open);
}

TEST(SOAPReader, SendsAnXMLMessageOnAsTheSameValues) {
    FakeHost host;
    CAgg original = readBody(readData("literal-repeated-and-struct.xml"), kLiteral);
    CAgg message = readBody(readData("literal-repeated-and-struct.xml"), kLiteralMessage);
    CAgg none;
    std::unique_ptr<CSOAPWriter> writer = getSOAPWriter(none, message, 0);
    CAgg tree = writer->writeMessage();
    CAgg again = readBody(serialize(tree), kLiteral);
    EXPECT_EQ(dump(again), dump(original));
}

TEST(SOAPReader, AnXMLMessagesRecordsOfTheSameAttributesChangeAlone) {
    // The parser lets elements of the same attributes share them; the records read from them
    // still change one at a time.
    FakeHost host;
    CAgg message = readBody(readData("literal-items-of-the-same-attributes.xml"), kLiteralMessage);
    CAgg& items = message["soapValue"][0L]["soapValue"];
    ASSERT_EQ(items.toVector().size(), 3u);
    items[0L]["soapAttributes"]["grade"] = CAgg("B");
    items[1L]["soapAttributes"].remove("unit");
    const char* const expected[] = {R"({"grade":"B","unit":"kg"})", R"({"grade":"A"})",
                                    R"({"grade":"A","unit":"kg"})"};
    for (long i = 0; i < 3; ++i)
        EXPECT_EQ(dump(items[i]["soapAttributes"]), expected[i]) << i;
}

TEST(SOAPReader, ReadsTheDocumentItHoldsOnceAndLeavesOthersAlone) {
    // A reader frees the nodes of its own document as it reads them; a document it was given
    // to copy stays as it was.
    FakeHost host;
    struct Case {
        const char* file;
        Style style;
    };
    const Case cases[] = {
        {"encoded-multiref-shared.xml", kEncoded},
        {"literal-repeated-and-struct.xml", kLiteral},
        {"literal-items-of-the-same-attributes.xml", kLiteralMessage},
    };
    for (const Case& c : cases) {
        CAgg document = parse(readData(c.file));
        const std::string before = dump(document);
        std::unique_ptr<CSOAPReader> reader = readerFor(document, c.style);
        CAgg header = reader->readHeader();
        CAgg first = reader->readBody(nullptr);
        EXPECT_EQ(dump(document), before) << c.file;

        // Read again, the held document gives nothing more; a fresh copy reads the same.
        CAgg again = reader->readBody(nullptr);
        EXPECT_EQ(dump(again), "null") << c.file;
        CAgg fresh = readerFor(document, c.style)->readBody(nullptr);
        EXPECT_EQ(dump(fresh), dump(first)) << c.file;
    }
}
