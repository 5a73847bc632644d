// The SOAP object's stream helpers, through script.
#include "tests/fakehost/FakeSealing.h"
#include "tests/soap/SOAPScriptSupport.h"

using namespace soaptest;

namespace {

class SOAPStreamHelpersTest : public SOAPScriptTest {};

TEST_F(SOAPStreamHelpersTest, EachHelperGivesItsResult) {
    FakeSealing digests(host.extra());
    for (const auto& c : soapCaseTable("script-stream-helpers.tsv"))
        EXPECT_EQ(attempt(c[0]), c[1]) << c[0];
}

TEST_F(SOAPStreamHelpersTest, ADigestNeedsTheHostsDigests) {
    EXPECT_EQ(attempt("SOAP.streamDigest(SOAP.streamFromString('abc'), 'SHA1')"),
              "GeneralError: The operation failed.");
}

} // namespace
