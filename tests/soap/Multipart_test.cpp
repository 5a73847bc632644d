#include "soap/CMultipartReader.h"
#include "soap/CMultipartWriter.h"
#include "soap/CRequestWriter.h"
#include "soap/CSOAPReader.h"
#include "soap/CSOAPWriter.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/soap/SOAPTestSupport.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

using namespace soaptest;

namespace {

CAgg contentTypeHeader(const std::string& value) {
    return vec({map({{"key", "Content-Type"}, {"value", CAgg(value.c_str())}})});
}

// Reads a reply; the parts as lines of name, content type and data, and the root part's name.
std::string readParts(CMultipartReader& reader, const std::string& body,
                      const std::string& contentType) {
    CAgg headers = contentTypeHeader(contentType);
    QsStm stream = QsMemStmRdOpen(body.data(), body.size());
    reader.process(headers, stream);
    QsStmClose(stream);
    std::string text;
    for (const CEStr& name : reader.getPartNames()) {
        CAgg* record = reader.getPartRecord(name);
        std::string type = record->has("Content-Type")
                               ? EStrToUTF8(CAggValueText((*record)["Content-Type"]))
                               : std::string();
        QsStm part = reader.getPart(name);
        text += EStrToUTF8(name) + " [" + type + "] " + QsStmReadAll(part) + "\n";
        QsStmClose(part);
    }
    return text + "root " + EStrToUTF8(reader.getRootPartName());
}

std::string readAll(CRequestWriter& writer) {
    QsStm body = writer.getStream();
    std::string text = QsStmReadAll(body, 7); // small reads cross every line and part
    QsStmClose(body);
    return text;
}

} // namespace

TEST(Multipart, WritesAnAttachmentRequestByteForByte) {
    FakeHost host;
    std::unique_ptr<CRequestWriter> requestWriter = getRequestWriter(1);
    auto& writer = dynamic_cast<CMultipartWriter&>(*requestWriter);
    std::string bytes("\x00\x01\x02\xff--not a boundary\r\n", 22);
    CEStr id = writer.addPart(CEStr("photo name", kEStrPDFDoc), "application/octet-stream",
                              "binary", QsMemStmRdOpen(bytes.data(), bytes.size()));
    std::string href = "cid:" + EStrToUTF8(id);
    CAgg request =
        map({{"urn:photos:upload",
              map({{"photo", map({{"soapHREF", CAgg(href.c_str())}})}, {"title", "sunset"}})}});
    CAgg none;
    CAgg tree = getSOAPWriter(none, request, 1)->writeMessage();
    CEStr root = writer.addPart("text/xml; charset=UTF-8", "binary", CAgg2XML::openStream(tree));
    writer.setDefaultPart(root);

    EXPECT_EQ(readAll(writer), readData("multipart-attachment-request.txt"));
    EXPECT_EQ(EStrToUTF8(writer.getContentType()),
              "multipart/related; type=\"text/xml\"; start=\"<00000000000040008000000000000003>\"; "
              "boundary=\"----=00000000000040008000000000000001\"");
    EXPECT_EQ(readAll(writer), "") << "a body is read once";

    // Without attachments the body is one part, with no boundary and no start.
    std::unique_ptr<CRequestWriter> single = getRequestWriter(0);
    std::string xml = "<a/>";
    QsStm stream = QsMemStmRdOpen(xml.data(), xml.size());
    dynamic_cast<CSinglePartWriter&>(*single).setContent("text/xml; charset=UTF-8", stream);
    EXPECT_EQ(EStrToUTF8(single->getContentType()), "text/xml; charset=UTF-8");
    EXPECT_EQ(readAll(*single), xml);
}

TEST(Multipart, ReadsRepliesIntoParts) {
    FakeHost host;
    const std::string root = readData("multipart-reply-with-attachment.txt");
    const std::string xml =
        root.substr(root.find("<?xml"), root.find("</soap:Envelope>") + 16 - root.find("<?xml"));
    const std::string photo("\x00\x01\x02\xff"
                            "binary\r\nline\r\n--MIME_boundar not quite\r\n",
                            44);
    const std::string both = "<root@example.org> [text/xml; charset=UTF-8] " + xml + "\n" +
                             "<photo@example.org> [image/jpeg] " + photo + "\n";
    struct Case {
        const char* file;
        const char* contentType;
        std::string expected;
    };
    const Case cases[] = {
        {"multipart-reply-with-attachment.txt",
         "multipart/related; type=\"text/xml\"; start=\"<root@example.org>\"; "
         "boundary=\"MIME_boundary\"",
         both + "root <root@example.org>"},
        {"multipart-reply-with-attachment.txt", "multipart/related;boundary=MIME_boundary",
         both + "root <root@example.org>"},
        {"multipart-reply-with-attachment.txt",
         "Multipart/Related; Boundary=MIME_boundary; start=<photo@example.org>",
         both + "root <photo@example.org>"},
        {"multipart-reply-with-attachment.txt", "multipart/related; type=\"text/xml\"", "root "},
        {"multipart-reply-with-attachment.txt", "multipart/related; boundary=other", "root "},
        {"multipart-colon-in-content-id.txt", "multipart/related; boundary=b1",
         " [text/plain] first\n<second> [] second\nroot "},
        {"multipart-unclosed.txt", "multipart/related; boundary=b1", "<one> [] one\nroot <one>"},
        {"multipart-long-header-line.txt", "multipart/related; boundary=b1",
         "<long> [text/plain] body\n<after> [] " + std::string(20000, 'x') + "\nroot <long>"},
        {"multipart-lf-line-ends.txt", "multipart/related; boundary=\"b1\"",
         "<lf> [text/plain] line one\nline two\nroot <lf>"},
    };
    for (const Case& c : cases) {
        CMultipartReader reader;
        EXPECT_EQ(readParts(reader, readData(c.file), c.contentType), c.expected)
            << c.file << " with " << c.contentType;
    }
}

TEST(Multipart, ACutReplyGivesTheCompletePartsUnchanged) {
    FakeHost host;
    const std::string body = readData("multipart-reply-with-attachment.txt");
    const std::string type = "multipart/related; boundary=MIME_boundary";
    CMultipartReader whole;
    const std::string all = readParts(whole, body, type);
    std::set<size_t> partCounts;
    for (size_t length = 0; length <= body.size(); ++length) {
        CMultipartReader reader;
        std::string parts = readParts(reader, body.substr(0, length), type);
        // What the cut reply gives is the start of what the whole gives: a part is whole or
        // absent.
        std::string lines = parts.substr(0, parts.rfind("root "));
        EXPECT_EQ(all.compare(0, lines.size(), lines), 0) << "cut at " << length;
        partCounts.insert(reader.getPartNames().size());
    }
    EXPECT_EQ(partCounts, (std::set<size_t>{0, 1, 2}));
}

TEST(Multipart, WrittenPartsReadBackAndBindIntoTheReply) {
    FakeHost host;
    CMultipartWriter writer;
    std::string bytes(100000, '\0');
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 7 % 251);
    CEStr photo = writer.addPart(CEStr("photo", kEStrPDFDoc), "image/png", "binary",
                                 QsMemStmRdOpen(bytes.data(), bytes.size()));
    std::string reply = "<?xml version=\"1.0\"?><s:Envelope "
                        "xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\"><s:Body><m:r "
                        "xmlns:m=\"urn:r\"><image href=\"cid:" +
                        EStrToUTF8(photo) +
                        "\"/><missing href=\"cid:nothing\"/></m:r></s:Body>"
                        "</s:Envelope>";
    CEStr root = writer.addPart("text/xml", "binary", QsMemStmRdOpen(reply.data(), reply.size()));
    writer.setDefaultPart(root);

    CMultipartReader reader;
    CAgg headers = contentTypeHeader(EStrToUTF8(writer.getContentType()));
    QsStm body = writer.getStream();
    reader.process(headers, body);
    QsStmClose(body);
    ASSERT_EQ(EStrToUTF8(reader.getRootPartName()), "<" + EStrToUTF8(root) + ">");
    QsStm rootPart = reader.getPart(reader.getRootPartName());
    CAgg document = parse(QsStmReadAll(rootPart));
    QsStmClose(rootPart);

    std::unique_ptr<CSOAPReader> soap = getSOAPReader(document, 1);
    CAgg result = soap->readBody(&reader);
    EXPECT_EQ(dump(result), "{\"urn:r:r\":{\"image\":stream(\"" + bytes +
                                "\"),\"missing\":{\"soap_href_id\":\"cid:nothing\"}}}");
}
