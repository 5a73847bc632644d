#include "values/miTime.h"

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/host/IIdle.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace {

constexpr const char* kDayNames[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kMonthNames[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

time_t now() {
    IIdle* idle = HostIdle();
    return idle ? static_cast<time_t>(idle->currentTime()) : std::time(nullptr);
}

// The local offset in half hours, as records carry it.
int16_t localHalfHours() {
    return static_cast<int16_t>(miTimeGMTOffset() / 30);
}

// Zeller's rule, counting January and February as months 13 and 14 of the year before. It
// gives 0 for Monday, unlike the 0-for-Sunday of miTimeGetTime; the two are kept apart.
int16_t zellerDay(int year, int month, int date) {
    if (month <= 2) {
        month += 12;
        year -= 1;
    }
    return static_cast<int16_t>(
        (date + 2 * month + (3 * month + 3) / 5 + year + year / 4 - year / 100 + year / 400) % 7);
}

std::string format(const char* pattern, auto... values) {
    char text[64];
    int written = std::snprintf(text, sizeof text, pattern, values...);
    return written > 0 ? std::string(text, std::min<size_t>(written, sizeof text - 1)) : "";
}

// The offset as the offset letters print it: "Z" for 0, else sign, hours and minutes.
std::string offsetText(int16_t offset, bool quoted) {
    if (offset == 0)
        return "Z";
    int magnitude = std::abs(static_cast<int>(offset));
    char sign = offset < 0 ? '-' : '+';
    return format(quoted ? "%c%02d'%02d'" : "%c%02d%02d", sign, magnitude / 2,
                  (magnitude * 30) % 60);
}

// What a run of one field letter prints; false when the letter has no field.
bool fieldText(const QsTimeRec& rec, char16_t letter, long run, std::string& text) {
    auto oneOrTwo = [&](const char* one, int value) {
        if (run == 1)
            text = format(one, value);
        else if (run == 2)
            text = format("%02d", value);
    };
    int hour12 = rec.hour > 12 ? rec.hour - 12 : rec.hour;
    text.clear();
    switch (letter) {
    case 'y':
        if (run == 4)
            text = format("%04d", rec.year);
        else if (run == 2)
            text = format("%02d", rec.year % 100);
        return true;
    case 'm':
        oneOrTwo("%d", rec.month);
        return true;
    case 'd':
        oneOrTwo("%d", rec.date);
        return true;
    case 'H':
        oneOrTwo("%2d", rec.hour);
        return true;
    case 'h':
        oneOrTwo("%d", hour12);
        return true;
    case 'M':
        oneOrTwo("%2d", rec.minute);
        return true;
    case 's':
        oneOrTwo("%2d", rec.second);
        return true;
    case 't':
        if (run == 1 || run == 2)
            text = std::string(rec.hour < 12 ? "am" : "pm", static_cast<size_t>(run));
        return true;
    case 'j':
        return true;
    case 'Z':
        // One "Z" leaves out an offset that is the local one; "ZZ" always prints it.
        if ((run == 1 && rec.gmtOffset != localHalfHours()) || run == 2)
            text = offsetText(rec.gmtOffset, true);
        return true;
    case 'z':
        if (run == 1)
            text = offsetText(rec.gmtOffset, false);
        return true;
    default:
        return false;
    }
}

// The host's localised text of a date: the C library's display form in the current locale.
std::string localisedText(const QsTimeRec& rec) {
    std::tm tm{};
    tm.tm_year = rec.year - 1900;
    tm.tm_mon = rec.month - 1;
    tm.tm_mday = rec.date;
    tm.tm_hour = rec.hour;
    tm.tm_min = rec.minute;
    tm.tm_sec = rec.second;
    tm.tm_wday = rec.day;
    char text[128];
    size_t written = std::strftime(text, sizeof text, "%x %X", &tm);
    return std::string(text, written);
}

// The local time of t, with the local offset of now.
void fillLocal(QsTimeRec* out, time_t t) {
    std::tm tm{};
    *out = QsTimeRec{};
    if (!localtime_r(&t, &tm) || tm.tm_year > 32767 - 1900 || tm.tm_year < -32768) {
        // A time the calendar cannot hold reads as the epoch.
        out->year = 1970;
        out->month = 1;
        out->date = 1;
        out->day = 4;
        return;
    }
    int year = tm.tm_year;
    if (year < 1000)
        year += 1900;
    out->year = static_cast<int16_t>(year);
    out->month = static_cast<int16_t>(tm.tm_mon + 1);
    out->date = static_cast<int16_t>(tm.tm_mday);
    out->hour = static_cast<int16_t>(tm.tm_hour);
    out->minute = static_cast<int16_t>(tm.tm_min);
    out->second = static_cast<int16_t>(tm.tm_sec);
    out->day = static_cast<int16_t>(tm.tm_wday);
    // Today's offset, not the offset at that time: a time in the other daylight-saving period
    // is an hour off. That is intended.
    out->gmtOffset = localHalfHours();
}

// The record moved to the local offset.
QsTimeRec movedToLocal(const QsTimeRec& rec) {
    QsTimeRec local{};
    fillLocal(&local, miTimeRecToSecs(rec));
    return local;
}

std::string printfText(const QsTimeRec& rec, const char* pattern) {
    CEStr out = CEStr::adopt(EStrNew(nullptr, kEStrHost));
    miTimePrintf(out, &rec, CEStr(pattern, kEStrHost));
    return std::string(EStrGetBytes(out), static_cast<size_t>(EStrGetLen(out)));
}

std::string recordText(const QsTimeRec* rec, long style) {
    if (!rec)
        return "";
    switch (style) {
    case 0:
        return printfText(*rec, "D:yyyymmddHHMMssZ");
    case 1:
        return printfText(*rec, "yyyy.mm.dd HH:MM:ss Z");
    case 2:
        return localisedText(*rec) + printfText(*rec, " Z");
    case 4:
        return localisedText(rec->gmtOffset == localHalfHours() ? *rec : movedToLocal(*rec));
    default:
        return printfText(*rec, "D:yyyymmddHHMMssZZ");
    }
}

// Reads n digits; false at the first that is not one.
bool readDigits(const char*& p, size_t& left, int n, int& value) {
    value = 0;
    for (int i = 0; i < n; ++i) {
        if (p[i] < '0' || p[i] > '9')
            return false;
        value = value * 10 + (p[i] - '0');
    }
    p += n;
    left -= static_cast<size_t>(n);
    return true;
}

// The offset part of a PDF date, from its sign on.
bool readOffset(const char*& p, size_t& left, QsTimeRec* out) {
    char sign = *p;
    ++p;
    --left;
    int hours;
    if (!readDigits(p, left, 2, hours) || hours * 2 > 48)
        return false;
    int offset = hours * 2;
    out->gmtOffset = static_cast<int16_t>(offset);
    if (*p != '\'')
        return false;
    ++p;
    --left;
    // Without its minutes the offset stands as read: hours only, and positive.
    if (left < 3)
        return true;
    int minutes;
    if (!readDigits(p, left, 2, minutes))
        return false;
    offset += minutes / 30;
    if (offset > 1439 || *p != '\'')
        return false;
    out->gmtOffset = static_cast<int16_t>(sign == '-' ? -offset : offset);
    return true;
}

} // namespace

long miTimeSecs() {
    return static_cast<long>(now());
}

long miTimeGMTOffset() {
    time_t t = now();
    std::tm local{};
    std::tm gmt{};
    if (!localtime_r(&t, &local) || !gmtime_r(&t, &gmt))
        return 0;
    // Minutes into the year, counted from the smaller of the two years; a year is taken as 365
    // days, so across the end of a leap year the result wraps by up to a day.
    long base = std::min(local.tm_year, gmt.tm_year);
    auto minutes = [base](const std::tm& tm) {
        return (tm.tm_year - base) * 525600L + tm.tm_yday * 1440L + tm.tm_hour * 60L + tm.tm_min;
    };
    return (minutes(local) - minutes(gmt)) % 1440;
}

void miTimeGetTime(QsTimeRec* out, long seconds) {
    if (out)
        fillLocal(out, seconds ? static_cast<time_t>(seconds) : now());
}

bool miTimeStringToTimeRec(const char* text, QsTimeRec* out) {
    if (!out)
        return false;
    *out = QsTimeRec{};
    out->month = 1;
    out->date = 1;
    if (!text)
        return false;
    const char* p = text;
    if (p[0] == 'D' && p[1] == ':')
        p += 2;
    size_t left = std::strlen(p);
    int value;

    if (left < 4 || !readDigits(p, left, 4, value))
        return false;
    out->year = static_cast<int16_t>(value);
    if (left < 2)
        return true;
    if (!readDigits(p, left, 2, value) || value > 12)
        return false;
    out->month = static_cast<int16_t>(value);
    if (left < 2)
        return true;
    if (!readDigits(p, left, 2, value) || value == 0 || value > 31)
        return false;
    out->date = static_cast<int16_t>(value);
    out->day = zellerDay(out->year, out->month, out->date);

    // Hours pass up to 59, like minutes and seconds.
    int16_t* times[] = {&out->hour, &out->minute, &out->second};
    for (int16_t* field : times) {
        if (left < 2)
            return true;
        if (!readDigits(p, left, 2, value) || value > 59)
            return false;
        *field = static_cast<int16_t>(value);
    }

    out->gmtOffset = localHalfHours();
    if (*p == 'Z') {
        out->gmtOffset = 0;
        return true;
    }
    if (left < 4)
        return true;
    if (*p == '-' || *p == '+')
        return readOffset(p, left, out);
    return false;
}

char* miTimeRecToString(const QsTimeRec* rec, long style) {
    std::string text = recordText(rec, style);
    auto* out = static_cast<char*>(QsMalloc(text.size() + 1));
    if (out)
        std::memcpy(out, text.c_str(), text.size() + 1);
    return out;
}

CQsText QsTextFromTimeRec(const QsTimeRec* rec, long style) {
    return CQsText(recordText(rec, style).c_str());
}

EStr EStrNewFromTimeRec(const QsTimeRec* rec, long style) {
    return EStrNew(recordText(rec, style).c_str(), kEStrHost);
}

void miTimePrintf(EStr out, const QsTimeRec* rec, const _EStrRec* format) {
    if (!out)
        return;
    // The format may be the out string itself.
    CEStr formatCopy = format == out ? CEStr(format) : CEStr();
    if (!formatCopy.isNull())
        format = formatCopy;
    EStrSetBytes(out, nullptr, format ? EStrGetEncoding(format) : EStrGetEncoding(out));
    if (!rec || !format)
        return;
    QsTimeRec record = *rec;
    long length = EStrGetCharLen(format);
    auto append = [&](const std::string& text) {
        for (char c : text)
            EStrCatChar(out, static_cast<unsigned char>(c));
    };
    for (long i = 0; i < length;) {
        uint16_t c = EStrCharAt(format, i);
        if (c == '\\') {
            if (i + 1 < length)
                EStrCatChar(out, EStrCharAt(format, i + 1));
            i += 2;
            continue;
        }
        long run = 1;
        while (i + run < length && EStrCharAt(format, i + run) == c)
            ++run;
        std::string text;
        if (!fieldText(record, c, run, text)) {
            EStrCatChar(out, c);
            ++i;
            continue;
        }
        append(text);
        i += run;
        // The character after a run of "Z" is skipped.
        if (c == 'Z')
            ++i;
    }
}

void getHTTPDateString(QsTimeRec rec, _EStrRec* out) {
    std::string text = format("%04d-%02d-%02dT%02d:%02d:%02d.%03d", rec.year, rec.month, rec.date,
                              rec.hour, rec.minute, rec.second, rec.millisecond);
    if (rec.gmtOffset == 0) {
        text += "Z";
    } else {
        int magnitude = std::abs(static_cast<int>(rec.gmtOffset));
        text += format("%c%02d:%02d", rec.gmtOffset < 0 ? '-' : '+', magnitude / 2,
                       (magnitude * 30) % 60);
    }
    EStrSetBytes(out, text.c_str(), kEStrHost);
}

void getARPADateString(QsTimeRec rec, _EStrRec* out) {
    if (rec.month < 1 || rec.month > 12 || rec.date < 1 || rec.date > 31 || rec.day < 0 ||
        rec.day > 6)
        return;
    std::string text =
        format("%s, %02d %s %04d %02d:%02d:%02d ", kDayNames[rec.day], rec.date,
               kMonthNames[rec.month - 1], rec.year, rec.hour, rec.minute, rec.second);
    if (rec.gmtOffset == 0) {
        text += "GMT";
    } else {
        int magnitude = std::abs(static_cast<int>(rec.gmtOffset));
        text += format("%c%02d:%02d", rec.gmtOffset < 0 ? '-' : '+', magnitude / 2,
                       (magnitude * 30) % 60);
    }
    EStrSetBytes(out, text.c_str(), kEStrHost);
}

long miTimeRecToSecs(const QsTimeRec& rec) {
    std::tm tm{};
    tm.tm_year = rec.year - 1900;
    tm.tm_mon = rec.month - 1;
    tm.tm_mday = rec.date;
    tm.tm_hour = rec.hour;
    tm.tm_min = rec.minute;
    tm.tm_sec = rec.second;
    return static_cast<long>(timegm(&tm)) - rec.gmtOffset * 1800L;
}
