// The network layer's readers of text: dates, challenges, languages.
#include "host/net/AcceptLanguage.h"
#include "host/net/HttpChallenge.h"
#include "host/net/ISO8601Date.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

namespace {

struct ScopedTimeZone {
    explicit ScopedTimeZone(const char* zone) {
        const char* old = std::getenv("TZ");
        m_had = old != nullptr;
        if (old)
            m_old = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedTimeZone() {
        if (m_had)
            setenv("TZ", m_old.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    bool m_had;
    std::string m_old;
};

TEST(ISO8601Date, ReadsTheExtendedAndBasicForms) {
    ScopedTimeZone zone("EST5"); // five hours west: -10 half hours
    struct Case {
        const char* text;
        QsTimeRec expected; // year, month, date, hour, minute, second, ms, day, offset
    } cases[] = {
        {"2004-05-06T07:08:09Z", {2004, 5, 6, 7, 8, 9, 0, 4, 0}},
        {"2004-05-06T07:08:09.5+02:00", {2004, 5, 6, 7, 8, 9, 500, 4, 4}},
        {"2004-05-06T07:08:09.12345-05:30", {2004, 5, 6, 7, 8, 9, 123, 4, -11}},
        {"2004-05-06T07:08+0545", {2004, 5, 6, 7, 8, 0, 0, 4, 11}}, // cut to the half hour
        {"2004-05-06T07:08:09+01", {2004, 5, 6, 7, 8, 9, 0, 4, 2}},
        {"20040506T070809Z", {2004, 5, 6, 7, 8, 9, 0, 4, 0}},
        {"2000-02-29T23:59:60Z", {2000, 2, 29, 23, 59, 60, 0, 2, 0}}, // leap day, leap second
        {"2004-05-06T07:08:09", {2004, 5, 6, 7, 8, 9, 0, 4, -10}},    // local time
        {"2004-01-04", {2004, 1, 4, 0, 0, 0, 0, 0, -10}},             // a Sunday
    };
    for (const Case& c : cases) {
        QsTimeRec got = {};
        ASSERT_TRUE(parseISO8601Date(c.text, got)) << c.text;
        const QsTimeRec& e = c.expected;
        EXPECT_EQ(got.year, e.year) << c.text;
        EXPECT_EQ(got.month, e.month) << c.text;
        EXPECT_EQ(got.date, e.date) << c.text;
        EXPECT_EQ(got.hour, e.hour) << c.text;
        EXPECT_EQ(got.minute, e.minute) << c.text;
        EXPECT_EQ(got.second, e.second) << c.text;
        EXPECT_EQ(got.millisecond, e.millisecond) << c.text;
        EXPECT_EQ(got.day, e.day) << c.text;
        EXPECT_EQ(got.gmtOffset, e.gmtOffset) << c.text;
    }
}

TEST(ISO8601Date, RefusesOtherTextAndLeavesTheRecordAlone) {
    const char* bad[] = {
        "",
        "2004",
        "2004-13-01",
        "2003-02-29",
        "2004-04-31",
        "0000-01-01",
        "2004-05-06T24:00:00Z",
        "2004-05-06T07:60:00Z",
        "2004-05-06T07:08:09+24:00",
        "2004-05-06T07:08:09Zjunk",
        "2004-05-06 07:08:09",
        "2004-0506",
        "2004-05-06T07:08:09.",
        "Thu, 06 May 2004 07:08:09 GMT",
        "2004-05-06T07:08:09+01:00:00",
        "2004-05-06T07:08:09.0000000000000000000000000000000000000000000000000000000000001Z",
    };
    for (const char* text : bad) {
        QsTimeRec got = {1, 2, 3, 4, 5, 6, 7, 1, 9};
        EXPECT_FALSE(parseISO8601Date(text, got)) << text;
        EXPECT_EQ(got.year, 1) << text;
        EXPECT_EQ(got.gmtOffset, 9) << text;
    }
    QsTimeRec got = {};
    EXPECT_FALSE(parseISO8601Date(nullptr, got));
}

TEST(HttpChallenge, ReadsSchemesAndRealms) {
    struct Case {
        const char* header;
        std::vector<std::pair<std::string, std::string>> expected;
    } cases[] = {
        {"Basic realm=\"SOAP\"", {{"Basic", "SOAP"}}},
        {"Digest realm=\"a, b\", qop=\"auth\", nonce=\"x\", algorithm=MD5", {{"Digest", "a, b"}}},
        {"Basic realm=\"one\", Digest realm=\"two\", nonce=\"n\"",
         {{"Basic", "one"}, {"Digest", "two"}}},
        {"Negotiate abc==, Basic realm=plain", {{"Negotiate", ""}, {"Basic", "plain"}}},
        {"basic REALM=\"esc\\\"aped\"", {{"basic", "esc\"aped"}}},
        {"Basic realm=\"unclosed", {{"Basic", "unclosed"}}},
        {"", {}},
        {"  ,, ", {}},
        {"=== garbage", {}},
    };
    for (const Case& c : cases) {
        auto got = parseHttpChallenges(c.header);
        ASSERT_EQ(got.size(), c.expected.size()) << c.header;
        for (size_t i = 0; i < got.size(); ++i) {
            EXPECT_EQ(got[i].scheme, c.expected[i].first) << c.header;
            EXPECT_EQ(got[i].realm, c.expected[i].second) << c.header;
        }
    }
}

TEST(AcceptLanguage, TakesTheLanguageAndRegionOfTheLocale) {
    struct Case {
        const char* locale;
        std::optional<std::string> expected;
    } cases[] = {
        {"de_DE.UTF-8", "de-DE"}, {"en_us", "en-US"},      {"fr", "fr"},
        {"pt_BR@euro", "pt-BR"},  {"C", std::nullopt},     {"POSIX", std::nullopt},
        {"", std::nullopt},       {nullptr, std::nullopt}, {"en_USA", std::nullopt},
        {"1x_DE", std::nullopt},
    };
    for (const Case& c : cases)
        EXPECT_EQ(acceptLanguageFromLocale(c.locale), c.expected) << (c.locale ? c.locale : "null");
}

} // namespace
