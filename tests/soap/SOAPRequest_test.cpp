// SOAP.request and SOAP.response through the script object, against replies scripted on the fake
// network: the exact requests sent, and what each reply, failure and bad argument gives script.
#include "soap/AuthCallbacks.h"
#include "soap/WireDump.h"
#include "tests/soap/SOAPScriptSupport.h"
#include "values/CES.h"

#include <iterator>
#include <optional>

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

/// An echo reply whose string is text bytes long.
std::string echoReplyOf(size_t text) {
    std::string reply = soapTestData("echo-string-reply.xml");
    size_t at = reply.find(">hi<") + 1;
    return reply.replace(at, 2, std::string(text, 'x'));
}

TEST_F(SOAPRequestTest, AReplyPastTheSizeLimitEndsInANetworkError) {
    const std::string tooLarge =
        "NetworkError: The server returned an invalid response. | statusCode=-9";
    const std::string call = "SOAP.request(URL, {'urn:x:echo': {}})";
    const std::string length = "'' + " + call +
                               "['http://soapinterop.org/:echoStringResponse']"
                               "['return'].length";
    struct Case {
        std::optional<int32_t> megabytes; // the preference; nothing leaves it unset
        size_t text;                      // of the reply's string
        std::string expression;
        std::string outcome;
    } cases[] = {
        // Unset, the bound is generous. It comes first: a preference once set stays.
        {std::nullopt, 3u << 20, length, "\"" + std::to_string(3u << 20) + "\""},
        {1, (1u << 20) + 1, call, tooLarge},
        // The limit counts the whole reply, envelope included.
        {1, (1u << 20) - 100, call, tooLarge},
        {1, (1u << 20) - 1000, length, "\"" + std::to_string((1u << 20) - 1000) + "\""},
        {0, 3u << 20, length, "\"" + std::to_string(3u << 20) + "\""},
    };
    for (size_t row = 0; row < std::size(cases); ++row) {
        const Case& c = cases[row];
        if (c.megabytes)
            host.preferences().setInt("SOAP", "MaxReplyMegabytes", *c.megabytes);
        host.network().addReply(endpoint(row), FakeReply::withBody(200, echoReplyOf(c.text)));
        EXPECT_EQ(runCase(row, c.expression), c.outcome) << row;
    }
}

/// An echo reply whose return holds count elements <v>1</v>.
std::string tinyElementsReplyOf(size_t count) {
    std::string reply = soapTestData("echo-string-reply.xml");
    std::string elements;
    for (size_t i = 0; i < count; ++i)
        elements += "<v>1</v>";
    return reply.replace(reply.find(">hi<") + 1, 2, elements);
}

TEST_F(SOAPRequestTest, AReplyWhoseTreeWouldPassItsBudgetEndsInANetworkError) {
    // 20,000 elements in 160 kB: far within a bound of 1 MiB, but their tree takes more than
    // the 16 MiB that the bound allows for it.
    const std::string tooLarge =
        "NetworkError: The server returned an invalid response. | statusCode=-9";
    // The count of values read back shows that the whole tree was built.
    const std::string call = "'' + SOAP.request(URL, {'urn:x:echo': {}})"
                             "['http://soapinterop.org/:echoStringResponse']['return'].length";
    struct Case {
        std::optional<int32_t> megabytes;
        size_t elements;
        std::string outcome;
    } cases[] = {
        {std::nullopt, 20000, "\"20000\""},
        {1, 20000, tooLarge},
        {1, 2000, "\"2000\""},
        {2, 20000, "\"20000\""},
        {0, 20000, "\"20000\""},
    };
    for (size_t row = 0; row < std::size(cases); ++row) {
        const Case& c = cases[row];
        if (c.megabytes)
            host.preferences().setInt("SOAP", "MaxReplyMegabytes", *c.megabytes);
        host.network().addReply(endpoint(row),
                                FakeReply::withBody(200, tinyElementsReplyOf(c.elements)));
        EXPECT_EQ(runCase(row, call), c.outcome) << row;
    }
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
