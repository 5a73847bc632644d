// Reading mail dates as feeds write them: the customary forms, the sloppy ones, W3C dates, and
// texts that are not dates.
#include "values/miRFC822Date.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

long long secondsOf(const char* text) {
    miRFC822Time time;
    if (!ParseRFC822Date(text, std::strlen(text), &time))
        return -1;
    return miRFC822TimeToSeconds(time);
}

TEST(RFC822Date, ReadsTheFormsFeedsSend) {
    struct Case {
        const char* text;
        long long seconds;
    };
    // 1054546761 is Mon, 02 Jun 2003 09:39:21 GMT.
    const Case cases[] = {
        {"Mon, 02 Jun 2003 09:39:21 GMT", 1054546761},
        {"Mon, 2 Jun 2003 09:39:21 GMT", 1054546761},
        {"02 Jun 2003 09:39:21 GMT", 1054546761},
        {"Monday, 02 June 2003 09:39:21 GMT", 1054546761},
        {"mon, 02 jun 2003 09:39:21 gmt", 1054546761},
        {"Mon,02 Jun 2003 09:39:21 UT", 1054546761},
        {"Mon, 02 Jun 2003 09:39:21 UTC", 1054546761},
        {"Mon, 02 Jun 2003 09:39:21 Z", 1054546761},
        {"Mon, 02 Jun 2003 09:39:21 +0000", 1054546761},
        {"Mon, 02 Jun 2003 09:39:21", 1054546761},
        {"  Mon, 02 Jun 2003 09:39:21 GMT  \n", 1054546761},
        {"Mon, 02 Jun 2003 09:39:21 +0000 (UTC)", 1054546761},
        {"Mon, 02 Jun 2003 09:39:21.250 GMT", 1054546761},
        {"Mon, 02-Jun-2003 09:39:21 GMT", 1054546761},
        {"Mon, Jun 02 2003 09:39:21 GMT", 1054546761},
        {"Mon, 02 Jun 03 09:39:21 GMT", 1054546761},
        {"Mon, 02 Jun 103 09:39:21 GMT", 1054546761},
        // The weekday is not checked against the date.
        {"Fri, 02 Jun 2003 09:39:21 GMT", 1054546761},
        {"Mon, 02 Jun 2003 09:39 GMT", 1054546740},
        {"Mon, 02 Jun 2003 GMT", 1054512000},
        {"Mon, 02 Jun 2003", 1054512000},
        // Named zones and numeric offsets.
        {"Mon, 02 Jun 2003 04:39:21 EST", 1054546761},
        {"Mon, 02 Jun 2003 05:39:21 EDT", 1054546761},
        {"Mon, 02 Jun 2003 01:39:21 PST", 1054546761},
        {"Mon, 02 Jun 2003 02:39:21 PDT", 1054546761},
        {"Mon, 02 Jun 2003 11:39:21 CEST", 1054546761},
        {"Mon, 02 Jun 2003 15:09:21 IST", 1054546761},
        {"Mon, 02 Jun 2003 11:39:21 +0200", 1054546761},
        {"Mon, 02 Jun 2003 11:39:21 +02:00", 1054546761},
        {"Mon, 02 Jun 2003 11:39:21 +02", 1054546761},
        {"Mon, 02 Jun 2003 15:09:21 +0530", 1054546761},
        {"Mon, 02 Jun 2003 05:09:21 -0430", 1054546761},
        {"Mon, 02 Jun 2003 11:39:21 GMT+0200", 1054546761},
        // A military letter says nothing reliable and reads as GMT.
        {"Mon, 02 Jun 2003 09:39:21 A", 1054546761},
        // W3C dates.
        {"2003-06-02T09:39:21Z", 1054546761},
        {"2003-06-02T09:39:21.75Z", 1054546761},
        {"2003-06-02T11:39:21+02:00", 1054546761},
        {"2003-06-02T05:39:21-0400", 1054546761},
        {"2003-06-02 09:39:21Z", 1054546761},
        {"2003-06-02T09:39Z", 1054546740},
        {"2003-06-02", 1054512000},
        // Years at both ends of the two-digit window, a leap day and the epoch.
        {"Sat, 01 Jan 00 00:00:00 GMT", 946684800},
        {"Thu, 31 Dec 49 00:00:00 GMT", 2524521600},
        {"Fri, 01 Jan 50 00:00:00 GMT", -631152000},
        {"Sun, 29 Feb 2004 12:00:00 GMT", 1078056000},
        {"Thu, 01 Jan 1970 00:00:00 GMT", 0},
        {"Wed, 31 Dec 1969 23:59:59 GMT", -1},
        {"Tue, 30 Jun 2015 23:59:60 GMT", 1435708800},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(secondsOf(c.text), c.seconds);
    }
}

TEST(RFC822Date, RefusesWhatIsNoDate) {
    const char* const texts[] = {
        "",
        "   ",
        "yesterday",
        "Mon, 02 Foo 2003 09:39:21 GMT",
        "Mon, 32 Jun 2003 09:39:21 GMT",
        "Mon, 31 Jun 2003 09:39:21 GMT",
        "Thu, 29 Feb 2003 09:39:21 GMT",
        "Mon, 02 Jun 2003 24:00:00 GMT",
        "Mon, 02 Jun 2003 09:60:00 GMT",
        "Mon, 02 Jun 2003 09:39:61 GMT",
        "Mon, 02 Jun 2003 09:3:21 GMT",
        "Mon, 02 Jun 2003 09:39:21 XYZT",
        "Mon, 02 Jun 2003 09:39:21 +2500",
        "Mon, 02 Jun 2003 09:39:21 GMT trailing words",
        "Mon, 02 Jun 2003 09:39:21 (unclosed",
        "Mon, 02 Jun",
        "Mon, Jun 2003",
        "02 Jun 2003 Mon 09:39:21",
        "Mon, 02 Jun 20031 09:39:21 GMT",
        "Mon, 02 Jun 2003 2004 09:39:21 GMT",
        "2003-13-02T09:39:21Z",
        "2003-06-31",
        "2003-06-02T09:39:21+05:3",
        "2003-06-02T9",
        "2003-06-02X",
        "2003-6-2",
    };
    for (const char* text : texts) {
        SCOPED_TRACE(text);
        miRFC822Time time;
        EXPECT_FALSE(ParseRFC822Date(text, std::strlen(text), &time));
    }
    miRFC822Time time;
    EXPECT_FALSE(ParseRFC822Date(nullptr, 4, &time));
}

TEST(RFC822Date, ReadsOnlyTheGivenLength) {
    const char text[] = "Mon, 02 Jun 2003 09:39:21 GMT and more";
    miRFC822Time time;
    ASSERT_TRUE(ParseRFC822Date(text, 29, &time));
    EXPECT_EQ(miRFC822TimeToSeconds(time), 1054546761);
    EXPECT_EQ(time.gmtOffsetMinutes, 0);
    ASSERT_TRUE(ParseRFC822Date("Mon, 02 Jun 2003 09:39:21 -0330", 31, &time));
    EXPECT_EQ(time.hour, 9);
    EXPECT_EQ(time.gmtOffsetMinutes, -210);
}

} // namespace
