// Asynchronous SOAP calls: SOAP.request with oAsync, and the exported table's asynchronous
// entry, driven by the fake network as the idle clock moves.
#include "soap/SOAPExports.h"
#include "tests/soap/SOAPScriptSupport.h"
#include "tests/soap/SOAPTestSupport.h"

using namespace soaptest;

namespace {

class SOAPAsyncTest : public SOAPScriptTest {
protected:
    /// Starts an asynchronous echo to the path, told to handler(tag).
    void start(const std::string& path, const std::string& tag, const std::string& extra = "") {
        run("SOAP.request({cURL: '" + kService + path + "', oRequest: {'urn:x:echo': {}}, " +
            extra + "oAsync: handler('" + tag + "')})");
    }
    void queue(const std::string& path, long status, const std::string& file, size_t piece) {
        FakeReply answer = FakeReply::withBody(status, soapTestData(file), piece);
        answer.headers.emplace_back("Content-Type", "text/xml");
        host.network().addReply(kService + path, answer);
    }
    /// Moves the clock until every request has been told.
    void settle() {
        for (int i = 0; i < 1000 && CSOAPRequestAsync::liveCount() > 0; ++i)
            host.idle().advanceTicks(1);
    }
    std::string heard() { return run("heard.join('\\n')"); }
};

TEST_F(SOAPAsyncTest, RepliesOfRequestsInFlightInterleaveAndEachReachesItsHandler) {
    queue("/long", 200, "echo-string-array-reply.xml", 300);
    queue("/short", 200, "echo-string-reply-with-header.xml", 40);
    start("/long", "long");
    start("/short", "short");
    EXPECT_EQ(CSOAPRequestAsync::liveCount(), 2u);
    EXPECT_EQ(heard(), "");
    settle();
    // The short reply, started second, ends first: the two were read piece by piece in turns.
    EXPECT_EQ(run("heard.length + ' ' + heard[0].slice(0, 120)"),
              "2 short [{\"http://soapinterop.org/:echoStringResponse\":{\"return\":\"hi\"}},"
              "\"undefined\",{\"urn:tx:Transaction\":5}]");
    EXPECT_EQ(run("heard[1].indexOf('element number 199 of the echoed array') > 0"), "true");
    EXPECT_EQ(CSOAPRequestAsync::liveCount(), 0u);
}

TEST_F(SOAPAsyncTest, FailuresReachTheHandlerAsRecords) {
    queue("/fault", 500, "division-by-zero-fault.xml", 2048);
    host.network().addReply(kService + "/missing", FakeReply::withBody(404, "gone"));
    start("/fault", "fault");
    start("/missing", "missing");
    // A request that cannot be written is told at once, within the call.
    start("/never", "bad", "oReqHeader: {'urn:h:h': {soapActor: 5}}, ");
    EXPECT_EQ(heard(), "bad [{\"error\":-1,\"text\":\"The soapActor attribute must be a "
                       "string.\",\"type\":\"SOAPError\"},\"undefined\"]");
    settle();
    // A fault's values stand under both names.
    EXPECT_EQ(run("heard.slice(1).join('\\n')"),
              "fault [{\"error\":\"SOAP-ENV:Server\",\"faultActor\":\"http://127.0.0.1/"
              "calculator\",\"faultCode\":\"SOAP-ENV:Server\",\"faultDetail\":{\"detail\":{"
              "\"reason\":\"the divisor was 0\"}},\"soapActor\":\"http://127.0.0.1/calculator\","
              "\"soapDetail\":{\"detail\":{\"reason\":\"the divisor was 0\"}},\"text\":\"Division "
              "by zero\",\"type\":\"SOAPError\"},\"undefined\"]\n"
              "missing [{\"error\":404,\"text\":\"The network service URL that you are trying "
              "to reach does not exist.\",\"type\":\"NetworkError\"},\"undefined\"]");
}

TEST_F(SOAPAsyncTest, AReplyPastTheSizeLimitReachesTheHandlerAsANetworkError) {
    host.preferences().setInt("SOAP", "MaxReplyMegabytes", 1);
    std::string reply = soapTestData("echo-string-reply.xml");
    reply.replace(reply.find(">hi<") + 1, 2, std::string(1u << 20, 'x'));
    for (const char* type : {"text/xml", "multipart/related; boundary=\"b\"; start=\"<r>\""}) {
        FakeReply answer = FakeReply::withBody(200, reply, 2048);
        answer.headers.emplace_back("Content-Type", type);
        host.network().addReply(kService + "/large", answer);
        run("heard = [];");
        start("/large", "large");
        settle();
        EXPECT_EQ(heard(), "large [{\"error\":-9,\"text\":\"The server returned an invalid "
                           "response.\",\"type\":\"NetworkError\"},\"undefined\"]")
            << type;
        EXPECT_EQ(CSOAPRequestAsync::liveCount(), 0u);
    }
}

TEST_F(SOAPAsyncTest, AReplyWhoseTreeWouldPassItsBudgetReachesTheHandlerAsANetworkError) {
    // 20,000 tiny elements: within the bound of 1 MiB, past the tree's budget of 16 MiB.
    host.preferences().setInt("SOAP", "MaxReplyMegabytes", 1);
    std::string elements;
    for (int i = 0; i < 20000; ++i)
        elements += "<v>1</v>";
    std::string reply = soapTestData("echo-string-reply.xml");
    reply.replace(reply.find(">hi<") + 1, 2, elements);
    FakeReply answer = FakeReply::withBody(200, reply, 2048);
    answer.headers.emplace_back("Content-Type", "text/xml");
    host.network().addReply(kService + "/tiny", answer);
    start("/tiny", "tiny");
    settle();
    EXPECT_EQ(heard(), "tiny [{\"error\":-9,\"text\":\"The server returned an invalid "
                       "response.\",\"type\":\"NetworkError\"},\"undefined\"]");
    EXPECT_EQ(CSOAPRequestAsync::liveCount(), 0u);
}

TEST_F(SOAPAsyncTest, AHandlerThatThrowsStillEndsItsRequest) {
    queue("/a", 200, "echo-string-reply.xml", 2048);
    run("SOAP.request({cURL: '" + kService +
        "/a', oRequest: {}, oAsync: {response: function() { throw new Error('boom'); }}})");
    settle();
    EXPECT_EQ(CSOAPRequestAsync::liveCount(), 0u);
    queue("/b", 200, "echo-string-reply.xml", 2048);
    start("/b", "after");
    settle();
    EXPECT_EQ(run("heard.length"), "1");
}

TEST_F(SOAPAsyncTest, AMultipartReplyIsReadWholeWithItsAttachmentsBound) {
    FakeReply answer =
        FakeReply::withBody(200, soapTestData("multipart-reply-with-attachment.txt"), 64);
    answer.headers.emplace_back("Content-Type",
                                "multipart/related; type=\"text/xml\"; "
                                "start=\"<root@example.org>\"; boundary=MIME_boundary");
    host.network().addReply(kService + "/photo", answer);
    run("SOAP.request({cURL: '" + kService +
        "/photo', oRequest: {}, oAsync: {response: "
        "function(r) { heard.push(SOAP.stringFromStream(SOAP.streamEncode("
        "r['urn:photos:getPhotoResponse'].photo, 'hex'))); }}})");
    settle();
    EXPECT_EQ(heard(), "000102FF62696E6172790D0A6C696E650D0A2D2D4D494D455F626F756E646172206E6F74"
                       "2071756974650D0A");
}

TEST_F(SOAPAsyncTest, AttachmentsGoOutWhenTheNetworkPullsTheBodyAfterTheCall) {
    queue("/upload", 200, "echo-string-reply.xml", 2048);
    run("var upload = {'urn:photos:upload': {photo: {soapAttachment: true, soapValue: "
        "SOAP.streamDecode(SOAP.streamFromString('0001ff0d0a2d2d'), 'hex')}, title: 'sunset'}};"
        "SOAP.request({cURL: '" +
        kService +
        "/upload', oAsync: handler('upload'), "
        "oRequest: upload}); upload['urn:photos:upload'].photo = null; upload = null;");
    // The script keeps nothing of its request: the call keeps the stream objects alive.
    host.scriptEngine().dropLooseRoots();
    host.scriptEngine().collectGarbage();
    settle();
    EXPECT_EQ(lastBody(), soapTestData("multipart-attachment-request-from-script.txt"));
    EXPECT_EQ(run("heard.length"), "1");
}

TEST_F(SOAPAsyncTest, RequestsUnderWayEndUnheardWithTheModule) {
    queue("/slow", 200, "echo-string-reply.xml", 10);
    start("/slow", "slow");
    start("/slow", "slow");
    host.idle().advanceTicks(2);
    module->term();
    EXPECT_EQ(CSOAPRequestAsync::liveCount(), 0u);
    EXPECT_EQ(host.network().openRequests(), 0u);
    host.idle().advanceTicks(10);
    EXPECT_EQ(heard(), "");
}

struct ProcOutcome {
    int calls = 0;
    std::string text;
    static void receive(QsCab response, void* data) {
        auto* self = static_cast<ProcOutcome*>(data);
        ++self->calls;
        CAgg value;
        QsCab2CAgg(value, response);
        self->text = dump(value);
    }
};

TEST_F(SOAPAsyncTest, AnotherPlugInsCallIsToldThroughItsProcedure) {
    queue("/proc", 200, "echo-string-reply.xml", 2048);
    QsCab cabinet = QsCabNew();
    CAgg command = map({{"request", map({{"urn:x:echo", map({})}})}});
    host.cabinets().merge(cabinet, CAgg2QsCab(command));
    ProcOutcome outcome;
    EXPECT_EQ(
        CSOAPAsyncRequest((kService + "/proc").c_str(), cabinet, ProcOutcome::receive, &outcome),
        1);
    QsCabDestroy(cabinet);
    EXPECT_EQ(outcome.calls, 0);
    settle();
    EXPECT_EQ(outcome.calls, 1);
    EXPECT_EQ(outcome.text, "{\"http://soapinterop.org/:echoStringResponse\":{\"return\":\"hi\"}}");
    // A call that cannot start is told before the entry returns.
    cabinet = QsCabNew();
    EXPECT_EQ(CSOAPAsyncRequest("ftp://nowhere/", cabinet, ProcOutcome::receive, &outcome), 0);
    EXPECT_EQ(outcome.calls, 2);
    QsCabDestroy(cabinet);
}

} // namespace
