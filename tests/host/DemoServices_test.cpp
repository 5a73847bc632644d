// The demo's HTTP server and sample services, asked over real loopback connections.
#include "host/demo/CDemoHTTPServer.h"
#include "host/demo/DemoServices.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string readTestFile(const std::string& name) {
    std::ifstream in(std::string(VELL_TEST_DATA) + "/host/" + name, std::ios::binary);
    EXPECT_TRUE(in) << name;
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

struct Reply {
    long status = 0;
    std::string contentType;
    std::string body;
};

size_t collectBody(char* data, size_t size, size_t count, void* out) {
    static_cast<std::string*>(out)->append(data, size * count);
    return size * count;
}

// A request through libcurl; a body makes it a POST, sent chunked when asked.
Reply ask(const std::string& url, const std::string* body, bool chunked = false) {
    Reply reply;
    CURL* curl = curl_easy_init();
    curl_slist* headers = nullptr;
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, collectBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &reply.body);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 10L);
    if (body) {
        headers = curl_slist_append(headers, "Content-Type: text/xml; charset=UTF-8");
        if (chunked) {
            headers = curl_slist_append(headers, "Transfer-Encoding: chunked");
            headers = curl_slist_append(headers, "Expect: 100-continue");
        }
        curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body->c_str());
        if (!chunked)
            curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(body->size()));
    }
    EXPECT_EQ(curl_easy_perform(curl), CURLE_OK) << url;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &reply.status);
    char* type = nullptr;
    curl_easy_getinfo(curl, CURLINFO_CONTENT_TYPE, &type);
    reply.contentType = type ? type : "";
    curl_slist_free_all(headers);
    curl_easy_cleanup(curl);
    return reply;
}

class DemoServices : public ::testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(server.start(error)) << error;
    }

    CDemoHTTPServer server{[this](const DemoHTTPRequest& request) {
        return serveDemoRequest(request, server.base());
    }};
};

TEST_F(DemoServices, AnswerCallsInTheVersionTheyCameIn) {
    const struct {
        const char* path;
        const char* request; // a file, or null for a GET
        long status;
        const char* contentType;
        std::vector<std::string> holds;
    } cases[] = {
        {"/echo",
         "demo-echo-string-request.xml",
         200,
         "text/xml; charset=utf-8",
         {"<ns:echoStringResponse xmlns:ns=\"urn:vellum-demo:echo\" soap:encodingStyle=",
          "<return xsi:type=\"xsd:string\">fish &amp; chips &lt;3</return>",
          "xmlns:soap=\"http://schemas.xmlsoap.org/soap/envelope/\""}},
        {"/echo",
         "demo-add-numbers-soap12-request.xml",
         200,
         "application/soap+xml; charset=utf-8",
         {"<sum xsi:type=\"xsd:double\">-1.5</sum>",
          "xmlns:soap=\"http://www.w3.org/2003/05/soap-envelope\""}},
        {"/echo",
         "demo-add-numbers-not-a-number-request.xml",
         500,
         "text/xml; charset=utf-8",
         {"<faultcode>soap:Client</faultcode>",
          "<faultstring>addNumbers takes two numbers, a and b.</faultstring>"}},
        {"/echo",
         "demo-greet-request.xml",
         500,
         "text/xml; charset=utf-8",
         {"<faultcode>soap:Client</faultcode>"}},
        {"/echo",
         "demo-body-without-call-request.xml",
         500,
         "text/xml; charset=utf-8",
         {"<faultstring>The request is no SOAP envelope with a call in its body.</faultstring>"}},
        {"/literal",
         "demo-greet-request.xml",
         200,
         "text/xml; charset=utf-8",
         {"<greetResponse xmlns=\"urn:vellum-demo:literal\"><greeting>Hello, Zo\xC3\xAB!"
          "</greeting><letters>3</letters></greetResponse>"}},
        {"/fault",
         "demo-greet-request.xml",
         500,
         "text/xml; charset=utf-8",
         {"<faultcode>soap:Server</faultcode>",
          "<faultstring>The demo's fault service always fails.</faultstring>",
          "<detail><reason xmlns=\"urn:vellum-demo:fault\">You called greet, and this service "
          "says no.</reason></detail>"}},
        {"/fault",
         "demo-add-numbers-soap12-request.xml",
         500,
         "application/soap+xml; charset=utf-8",
         {"<soap:Code><soap:Value>soap:Receiver</soap:Value></soap:Code>",
          "<soap:Text xml:lang=\"en\">The demo's fault service always fails.</soap:Text>"}},
        {"/echo.wsdl",
         nullptr,
         200,
         "text/xml; charset=utf-8",
         {"<soap:address location=\"" + server.base() + "/echo\"/>"}},
        {"/literal.wsdl",
         nullptr,
         200,
         "text/xml; charset=utf-8",
         {"<soap:address location=\"" + server.base() + "/literal\"/>"}},
        {"/echo", nullptr, 405, "text/plain; charset=utf-8", {"A SOAP service takes POST."}},
        {"/missing", nullptr, 404, "text/plain; charset=utf-8", {"No demo service at /missing."}},
    };
    for (const auto& c : cases) {
        std::string body = c.request ? readTestFile(c.request) : "";
        for (bool chunked : {false, true}) {
            if (chunked && !c.request)
                continue;
            Reply reply = ask(server.base() + c.path, c.request ? &body : nullptr, chunked);
            std::string label = std::string(c.path) + " " + (c.request ? c.request : "GET") +
                                (chunked ? " chunked" : "");
            EXPECT_EQ(reply.status, c.status) << label;
            EXPECT_EQ(reply.contentType, c.contentType) << label;
            for (const std::string& part : c.holds)
                EXPECT_NE(reply.body.find(part), std::string::npos) << label << "\n" << reply.body;
        }
    }
}

TEST_F(DemoServices, ServeTheWSDLFilesByteForByteWithTheirOwnAddress) {
    for (const char* name : {"echo.wsdl", "literal.wsdl"}) {
        std::ifstream in(std::string(VELL_TEST_DATA) + "/../../host/demo/" + name,
                         std::ios::binary);
        ASSERT_TRUE(in) << name;
        std::ostringstream file;
        file << in.rdbuf();
        std::string expected = file.str();
        for (size_t at; (at = expected.find("{base}")) != std::string::npos;)
            expected.replace(at, 6, server.base());
        Reply reply = ask(server.base() + "/" + name, nullptr);
        EXPECT_EQ(reply.status, 200) << name;
        EXPECT_EQ(reply.body, expected) << name;
    }
    const std::string body = "<x/>";
    const struct {
        const char* path;
        const std::string* body;
        long status;
        const char* says;
    } refusals[] = {
        {"/echo.wsdl", &body, 405, "Use GET for a WSDL document.\n"},
        {"/fault.wsdl", nullptr, 404, "No demo service at /fault.wsdl.\n"},
        {"/echo.wsdl/", nullptr, 404, "No demo service at /echo.wsdl/.\n"},
    };
    for (const auto& r : refusals) {
        Reply reply = ask(server.base() + r.path, r.body);
        EXPECT_EQ(reply.status, r.status) << r.path;
        EXPECT_EQ(reply.body, r.says) << r.path;
    }
}

TEST_F(DemoServices, ARequestThatIsNoHTTPGetsA400) {
    for (const char* request :
         {"NONSENSE\r\n\r\n", "POST /echo HTTP/1.1\r\nContent-Length: x\r\n\r\n",
          "POST /echo HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n"}) {
        int client = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(server.port());
        ASSERT_EQ(connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ASSERT_GT(send(client, request, std::strlen(request), 0), 0);
        std::string answer;
        char block[512];
        for (ssize_t got; (got = recv(client, block, sizeof block, 0)) > 0;)
            answer.append(block, static_cast<size_t>(got));
        close(client);
        EXPECT_EQ(answer.rfind("HTTP/1.1 400 Bad Request\r\n", 0), 0u) << request;
    }
}

} // namespace
