// The SOAP table's entries for other plug-ins: a call over a cabinet, and base64 of bytes.
#include "frame/QsCore.h"
#include "soap/SOAPExports.h"
#include "tests/soap/SOAPScriptSupport.h"
#include "tests/soap/SOAPTestSupport.h"

using namespace soaptest;

namespace {

class SOAPExportsTest : public SOAPScriptTest {};

TEST_F(SOAPExportsTest, ACabinetCallGetsTheReplyOrTheFailureBack) {
    struct Case {
        const char* path;
        long status;
        const char* file;
        int32_t result;
        const char* cabinet;
    } cases[] = {
        {"/ok", 200, "echo-string-reply-with-header.xml", 1,
         "{\"URL\":\"http://services.example/soap/ok\",\"header\":{\"urn:tx:Transaction\":5},"
         "\"request\":{\"urn:x:echo\":{\"a\":\"b\"}},\"response\":{\"http://soapinterop.org/:"
         "echoStringResponse\":{\"return\":\"hi\"}}}"},
        {"/missing", 404, "html-error-page.html", 0,
         "{\"URL\":\"http://services.example/soap/"
         "missing\",\"error\":{\"error\":404,\"text\":\"The "
         "network service URL that you are trying to reach does not exist.\",\"type\":"
         "\"NetworkError\"},\"request\":{\"urn:x:echo\":{\"a\":\"b\"}}}"},
    };
    for (const Case& c : cases) {
        FakeReply answer = FakeReply::withBody(c.status, soapTestData(c.file));
        answer.headers.emplace_back("Content-Type", "text/xml");
        host.network().addReply(kService + c.path, answer);
        QsCab cabinet = QsCabNew();
        CAgg command = map({{"request", map({{"urn:x:echo", map({{"a", "b"}})}})}});
        host.cabinets().merge(cabinet, CAgg2QsCab(command));
        EXPECT_EQ(CSOAPRequest((kService + c.path).c_str(), cabinet), c.result) << c.file;
        CAgg back;
        QsCab2CAgg(back, cabinet);
        if (back.has("error"))
            back["error"]["type"].toEStr(); // the atom, as its text
        EXPECT_EQ(dump(back), c.cabinet) << c.file;
        QsCabDestroy(cabinet);
    }
    EXPECT_EQ(CSOAPRequest(nullptr, nullptr), 0);
}

TEST_F(SOAPExportsTest, Base64EntriesCodeBytesBothWays) {
    const std::string bytes("Ma\0n\xff", 5);
    long length = 0;
    char* encoded = CSOAPEncodeString(bytes.data(), static_cast<long>(bytes.size()), &length);
    EXPECT_STREQ(encoded, "TWEAbv8=");
    EXPECT_EQ(length, 8);
    char* decoded = CSOAPDecodeString(encoded, -1, &length);
    EXPECT_EQ(std::string(decoded, static_cast<size_t>(length)), bytes);
    QsFree(encoded);
    QsFree(decoded);
    char* empty = CSOAPEncodeString(nullptr, 0, nullptr);
    EXPECT_STREQ(empty, "");
    QsFree(empty);
}

} // namespace
