// Text placed inside a string literal of script source reads back as exactly that text.
#include "frame/UTF8.h"
#include "tests/values/CESTestSupport.h"
#include "values/CESScriptText.h"

#include <string>

namespace {

using CESScriptText = CESTest;

TEST_F(CESScriptText, EveryTextReadsBackAsItselfAndRunsNothing) {
    const std::u16string cases[] = {
        u"plain text, stays as it is",
        u"\"+(injected=1)+\"",
        u"x;injected=1;var q",
        u"ends in a backslash\\",
        u"line\nbreak\rand\ttab",
        u"separators \u2028 and \u2029",
        u"controls \x01\x1f\x7f\u0085",
        u"a lone \xD800 high half, a lone \xDC00 low half",
        u"a pair \U0001D11E stays a pair",
        u"quotes ' and \" and `backticks`",
    };
    for (const std::u16string& text : cases) {
        // The source goes in as marked UCS, so that characters past ASCII reach the engine as
        // they are.
        std::u16string source = u"var injected; \"" + CES::scriptStringBody(text) + u"\"";
        std::string marked = "\xFE\xFF";
        for (char16_t unit : source) {
            marked += static_cast<char>(unit >> 8);
            marked += static_cast<char>(unit & 0xFF);
        }
        CES::Val value(context);
        engine.evaluate(context, nullptr, marked.data(), static_cast<long>(marked.size()),
                        value.slot());
        CQsText read = value.text();
        EXPECT_EQ(read.units(), text) << UTF8FromUTF16(text.data(), text.size());
        EXPECT_EQ(textOf("typeof injected"), "undefined");
    }
    EXPECT_EQ(CES::scriptStringBody(u"http://example.org/svc?op=1"),
              u"http://example.org/svc?op=1");
    // The UTF-8 form escapes the same.
    EXPECT_EQ(CES::scriptStringBody(std::string("r\xC3\xA9\"alm\xE2\x80\xA8")),
              "r\xC3\xA9\\\"alm\\u2028");
}

} // namespace
