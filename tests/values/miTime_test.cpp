#include "frame/QsCore.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/values/EStrTestSupport.h"
#include "values/miTime.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

using namespace estrtest;

namespace {

// 2004-01-01 12:00:00 UTC, a Thursday.
constexpr long kNewYear2004 = 1072958400;

class miTime : public ::testing::Test {
protected:
    void SetUp() override {
        const char* tz = std::getenv("TZ");
        m_hadTZ = tz != nullptr;
        m_oldTZ = tz ? tz : "";
        setZone("IST-5:30"); // 330 minutes east: local offset 11 half hours
        host.idle().setTime(kNewYear2004);
    }
    void TearDown() override {
        if (m_hadTZ)
            setenv("TZ", m_oldTZ.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    static void setZone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    static std::string toString(const QsTimeRec& rec, long style) {
        char* text = miTimeRecToString(&rec, style);
        std::string result = text;
        QsFree(text);
        return result;
    }

    FakeHost host;

private:
    bool m_hadTZ = false;
    std::string m_oldTZ;
};

TEST_F(miTime, ParsesPDFDatesFieldByField) {
    struct Case {
        const char* text;
        bool ok;
        QsTimeRec rec; // year, month, date, hour, minute, second, ms, day, offset
    };
    const Case cases[] = {
        {"D:2004", true, {2004, 1, 1, 0, 0, 0, 0, 0, 0}},
        {"2004010", true, {2004, 1, 1, 0, 0, 0, 0, 0, 0}}, // a lone last digit is not read
        {"D:20041301", false, {2004, 1, 1, 0, 0, 0, 0, 0, 0}},
        {"D:20040101120000+05'30'", true, {2004, 1, 1, 12, 0, 0, 0, 3, 11}},
        {"D:20040101120000-08'00'", true, {2004, 1, 1, 12, 0, 0, 0, 3, -16}},
        {"D:20040101120000-05'", true, {2004, 1, 1, 12, 0, 0, 0, 3, 10}}, // no minutes: positive
        {"D:20040101120000+05'3", true, {2004, 1, 1, 12, 0, 0, 0, 3, 10}},
        {"D:20040101120000", true, {2004, 1, 1, 12, 0, 0, 0, 3, 11}}, // the local offset
        {"D:20040101120000+0", true, {2004, 1, 1, 12, 0, 0, 0, 3, 11}},
        {"D:20040101120000Z", true, {2004, 1, 1, 12, 0, 0, 0, 3, 0}},
        {"D:200401011200", true, {2004, 1, 1, 12, 0, 0, 0, 3, 0}}, // no seconds: no offset
        {"D:2004010124", true, {2004, 1, 1, 24, 0, 0, 0, 3, 0}},   // hours pass up to 59
        {"D:2004010160", false, {2004, 1, 1, 0, 0, 0, 0, 3, 0}},
        {"D:2004022915", true, {2004, 2, 29, 15, 0, 0, 0, 6, 0}}, // Sunday is 6
        {"D:20000301", true, {2000, 3, 1, 0, 0, 0, 0, 2, 0}},     // Wednesday is 2
        {"D:20040100", false, {2004, 1, 1, 0, 0, 0, 0, 0, 0}},
        {"D:20040132", false, {2004, 1, 1, 0, 0, 0, 0, 0, 0}},
        {"D:20040101120000+25'00'", false, {2004, 1, 1, 12, 0, 0, 0, 3, 11}},
        {"D:20040101120000+05:30", false, {2004, 1, 1, 12, 0, 0, 0, 3, 10}},
        {"D:20040101120000X123", false, {2004, 1, 1, 12, 0, 0, 0, 3, 11}},
        {"D:2004ab", false, {2004, 1, 1, 0, 0, 0, 0, 0, 0}},
        {"D:20x4", false, {0, 1, 1, 0, 0, 0, 0, 0, 0}},
        {"D:200", false, {0, 1, 1, 0, 0, 0, 0, 0, 0}},
        {"", false, {0, 1, 1, 0, 0, 0, 0, 0, 0}},
        {nullptr, false, {0, 1, 1, 0, 0, 0, 0, 0, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text ? c.text : "null");
        QsTimeRec rec;
        std::memset(&rec, 0x55, sizeof rec);
        EXPECT_EQ(miTimeStringToTimeRec(c.text, &rec), c.ok);
        EXPECT_EQ(rec.year, c.rec.year);
        EXPECT_EQ(rec.month, c.rec.month);
        EXPECT_EQ(rec.date, c.rec.date);
        EXPECT_EQ(rec.hour, c.rec.hour);
        EXPECT_EQ(rec.minute, c.rec.minute);
        EXPECT_EQ(rec.second, c.rec.second);
        EXPECT_EQ(rec.millisecond, 0);
        EXPECT_EQ(rec.day, c.rec.day);
        EXPECT_EQ(rec.gmtOffset, c.rec.gmtOffset);
    }
    EXPECT_FALSE(miTimeStringToTimeRec("D:2004", nullptr));
}

TEST_F(miTime, ParsedDaysCountFromMondaySoMailDatesNameTheDayBefore) {
    QsTimeRec rec;
    ASSERT_TRUE(miTimeStringToTimeRec("D:20040101120000Z", &rec)); // a Thursday
    CEStr out("", kEStrHost);
    getARPADateString(rec, out);
    EXPECT_EQ(bytesOf(out), "Wed, 01 Jan 2004 12:00:00 GMT");
    miTimeGetTime(&rec, kNewYear2004);
    getARPADateString(rec, out);
    EXPECT_EQ(bytesOf(out), "Thu, 01 Jan 2004 17:30:00 +05:30");
}

TEST_F(miTime, NowAndTheLocalOffsetComeFromTheHost) {
    struct Case {
        const char* zone;
        long now;
        long offset;
    };
    const Case cases[] = {
        {"UTC", kNewYear2004, 0},     {"EST5", kNewYear2004, -300}, {"IST-5:30", kNewYear2004, 330},
        {"EST5", 1072926000, -300},   // 03:00 UTC: local time is still in 2003
        {"UTC-1", 1072913400, 60},    // 2003-12-31 23:30 UTC: local time already in 2004
        {"UTC-1", 1104535800, -1380}, // the same after a leap year wraps by a day
    };
    for (const Case& c : cases) {
        setZone(c.zone);
        host.idle().setTime(c.now);
        EXPECT_EQ(miTimeGMTOffset(), c.offset) << c.zone << " " << c.now;
        EXPECT_EQ(miTimeSecs(), c.now);
    }

    setZone("IST-5:30");
    host.idle().setTime(kNewYear2004);
    host.idle().advanceTicks(90 * 60); // ninety seconds
    QsTimeRec rec;
    miTimeGetTime(&rec, 0);
    const QsTimeRec now = {2004, 1, 1, 17, 31, 30, 0, 4, 11};
    EXPECT_EQ(std::memcmp(&rec, &now, sizeof rec), 0);
    miTimeGetTime(&rec, 86400);
    const QsTimeRec later = {1970, 1, 2, 5, 30, 0, 0, 5, 11};
    EXPECT_EQ(std::memcmp(&rec, &later, sizeof rec), 0);
    miTimeGetTime(nullptr, 0);
}

TEST_F(miTime, ATimeCarriesTodaysOffsetNotTheOffsetOfItsDate) {
    // New York in January (EST, five hours west) looks at a July time (EDT, four hours west):
    // the hour is July's local hour, the offset January's. That is intended.
    setZone("EST5EDT,M3.2.0,M11.1.0");
    host.idle().setTime(kNewYear2004);
    QsTimeRec rec;
    miTimeGetTime(&rec, 1088683200); // 2004-07-01 12:00:00 UTC
    EXPECT_EQ(rec.hour, 8);
    EXPECT_EQ(rec.gmtOffset, -10);
    // Read back with the offset it carries, the record is an hour later than the time it came from.
    EXPECT_EQ(miTimeRecToSecs(rec), 1088683200 + 3600);
}

TEST_F(miTime, PrintfFieldLetters) {
    const QsTimeRec rec = {2004, 1, 2, 7, 5, 9, 0, 5, 11};
    struct Case {
        const char* format;
        int16_t hour;
        int16_t offset;
        const char* text;
    };
    const Case cases[] = {
        {"yyyy/yy/yyy", 7, 11, "2004/04/"}, // a run the letter does not know prints nothing
        {"m mm d dd", 7, 11, "1 01 2 02"},
        {"H|HH|h|hh", 7, 11, " 7|07|7|07"},
        {"H|HH|h|hh", 13, 11, "13|13|1|01"},
        {"M|MM|s|ss", 7, 11, " 5|05| 9|09"},
        {"t tt", 7, 11, "a am"},
        {"t tt", 12, 11, "p pm"},
        {"j jj", 7, 11, " "},
        {"[Z]", 7, 11, "["}, // the local offset is left out, and "]" skipped
        {"[ZZ]", 7, 11, "[+05'30'"},
        {"[z]", 7, 11, "[+0530]"},
        {"[Z]", 7, -16, "[-08'00'"},
        {"[Z]", 7, 0, "[Z"},
        {"[z]", 7, 1, "[+0030]"},
        {"\\y\\\\D:x", 7, 11, "y\\D:x"},
        {"\\", 7, 11, ""},
    };
    for (const Case& c : cases) {
        QsTimeRec at = rec;
        at.hour = c.hour;
        at.gmtOffset = c.offset;
        CEStr out("old", kEStrUCS);
        miTimePrintf(out, &at, CEStr(c.format, kEStrPDFDoc));
        EXPECT_EQ(bytesOf(out), c.text) << c.format;
        EXPECT_EQ(EStrGetEncoding(out), kEStrPDFDoc);
    }
    // A UCS format gives a UCS text; the format may be the out string itself.
    CEStr out("", kEStrHost);
    miTimePrintf(out, &rec, ucs(u"\u65E5 dd"));
    EXPECT_EQ(unitsOf(out), u"\u65E5 02");
    miTimePrintf(out, &rec, out);
    EXPECT_EQ(unitsOf(out), u"\u65E5 02");
}

TEST_F(miTime, StringStylesAndWireForms) {
    QsTimeRec local = {2004, 1, 2, 7, 5, 9, 45, 5, 11};
    QsTimeRec gmt = local;
    gmt.gmtOffset = 0;
    QsTimeRec west = local;
    west.gmtOffset = -7;
    struct Case {
        const QsTimeRec& rec;
        long style;
        const char* text;
    };
    const Case cases[] = {
        {local, 0, "D:20040102070509"},        {gmt, 0, "D:20040102070509Z"},
        {local, 1, "2004.01.02 07:05:09 "},    {west, 1, "2004.01.02 07:05:09 -03'30'"},
        {local, 3, "D:20040102070509+05'30'"}, {local, 99, "D:20040102070509+05'30'"},
        {gmt, 2, "01/02/04 07:05:09 Z"},       {local, 2, "01/02/04 07:05:09 "},
        {gmt, 4, "01/02/04 12:35:09"},         {local, 4, "01/02/04 07:05:09"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(toString(c.rec, c.style), c.text) << c.style;
        EXPECT_EQ(bytesOf(CEStr::adopt(EStrNewFromTimeRec(&c.rec, c.style))), c.text);
        EXPECT_EQ(QsTextFromTimeRec(&c.rec, c.style).getString(), c.text);
    }

    CEStr out("", kEStrHost);
    getHTTPDateString(local, out);
    EXPECT_EQ(bytesOf(out), "2004-01-02T07:05:09.045+05:30");
    getHTTPDateString(gmt, out);
    EXPECT_EQ(bytesOf(out), "2004-01-02T07:05:09.045Z");
    getHTTPDateString(west, out);
    EXPECT_EQ(bytesOf(out), "2004-01-02T07:05:09.045-03:30");

    getARPADateString(gmt, out);
    EXPECT_EQ(bytesOf(out), "Fri, 02 Jan 2004 07:05:09 GMT");
    getARPADateString(west, out);
    EXPECT_EQ(bytesOf(out), "Fri, 02 Jan 2004 07:05:09 -03:30");
    // Out of range, the string is left as it was.
    for (QsTimeRec bad :
         {QsTimeRec{2004, 0, 2, 0, 0, 0, 0, 5, 0}, QsTimeRec{2004, 13, 2, 0, 0, 0, 0, 5, 0},
          QsTimeRec{2004, 1, 0, 0, 0, 0, 0, 5, 0}, QsTimeRec{2004, 1, 32, 0, 0, 0, 0, 5, 0},
          QsTimeRec{2004, 1, 2, 0, 0, 0, 0, 7, 0}, QsTimeRec{2004, 1, 2, 0, 0, 0, 0, -1, 0}}) {
        getARPADateString(bad, out);
        EXPECT_EQ(bytesOf(out), "Fri, 02 Jan 2004 07:05:09 -03:30");
    }
}

} // namespace
