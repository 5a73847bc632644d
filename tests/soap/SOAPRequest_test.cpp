// SOAP.request and SOAP.response through the script object, against replies scripted on the fake
// network: the exact requests sent, and what each reply, failure and bad argument gives script.
#include "soap/AuthCallbacks.h"
#include "soap/WireDump.h"
#include "tests/soap/SOAPScriptSupport.h"
#include "values/CES.h"

using namespace soaptest;

namespace {

class SOAPRequestTest : public SOAPScriptTest {
protected:
    /// Runs the expression of a case with URL naming an endpoint of its own; its outcome.
    std::string runCase(size_t row, const std::string& expression) {
        run("var URL = '" + endpoint(row) + "';");
        return attempt(expression);
    }
    static std::string endpoint(size_t row) { return kService + "/case" + std::to_string(row); }
};

TEST_F(SOAPRequestTest, RequestsGoOutByteForByte) {
    auto cases = soapCaseTable("script-request-envelopes.tsv");
    for (size_t row = 0; row < cases.size(); ++row) {
        const auto& c = cases[row];
        host.network().addReply(endpoint(row), FakeReply::withBody(200, ""));
        runCase(row, c[0]);
        ASSERT_FALSE(host.network().sent().empty()) << c[0];
        const FakeSentRequest& sent = host.network().sent().back();
        EXPECT_EQ(sent.url, endpoint(row));
        EXPECT_EQ(sent.body, soapTestData(c[1])) << c[0];
        EXPECT_EQ(sent.header("Content-Type"), c[2]) << c[0];
        EXPECT_EQ(sent.header("SOAPAction"), c[3]) << c[0];
    }
}

TEST_F(SOAPRequestTest, RepliesBecomeValuesOrExceptions) {
    auto cases = soapCaseTable("script-request-replies.tsv");
    for (size_t row = 0; row < cases.size(); ++row) {
        const auto& c = cases[row];
        size_t sentBefore = host.network().sent().size();
        if (c[0].rfind("fail ", 0) == 0) {
            host.network().addReply(endpoint(row), FakeReply::failure(std::stol(c[0].substr(5))));
        } else if (!c[0].empty()) {
            std::string body = c[1].empty() ? std::string() : soapTestData(c[1]);
            FakeReply answer = FakeReply::withBody(std::stol(c[0]), body, 100);
            if (!c[2].empty())
                answer.headers.emplace_back("Content-Type", c[2]);
            host.network().addReply(endpoint(row), answer);
        }
        EXPECT_EQ(runCase(row, c[3]), c[4]) << c[3];
        // A call refused for its arguments sends nothing.
        EXPECT_EQ(host.network().sent().size() > sentBefore, !c[0].empty()) << c[3];
    }
}

TEST_F(SOAPRequestTest, CredentialsOfTheCallAnswerTheServersChallenge) {
    static const char* const types[] = {"*/*", nullptr};
    gEFSClientIDs[0] = host.network().openClient("test", types, 0);
    host.network().setAuthentication(gEFSClientIDs[0], 0, kNetAuthAsk, InteractiveAuthCB, nullptr);
    FakeReply challenge = FakeReply::withBody(401, "");
    challenge.headers.emplace_back("WWW-Authenticate", "Basic realm=\"calc\"");
    host.network().addReply(kService, challenge);
    reply(200, "echo-string-reply.xml");
    EXPECT_EQ(attempt("SOAP.request({cURL: '" + kService +
                      "', oRequest: {'urn:x:echo': {}}, oAuthenticate: {Username: 'ann', "
                      "Password: 'pw'}})"),
              "{\"http://soapinterop.org/:echoStringResponse\":{\"return\":\"hi\"}}");
    using Pairs = std::vector<std::pair<std::string, std::string>>;
    EXPECT_EQ(host.network().sent().back().credentials, (Pairs{{"ann", "pw"}}));
}

TEST_F(SOAPRequestTest, WireDumpIsASwitchUntilTheObjectIsDead) {
    EXPECT_EQ(run("SOAP.wireDump = true; SOAP.wireDump"), "true");
    EXPECT_EQ(getEnableWireDump(), 1);
    EXPECT_EQ(run("SOAP.wireDump = false; SOAP.wireDump"), "false");
    CES::markDead(CES::Context(context).global()["SOAP"].get().object());
    EXPECT_EQ(run("SOAP.wireDump = true; typeof SOAP.wireDump"), "undefined");
    EXPECT_EQ(getEnableWireDump(), 0);
}

} // namespace
