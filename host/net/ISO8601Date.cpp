#include "host/net/ISO8601Date.h"

#include <cstring>
#include <ctime>
#include <string_view>

namespace {

class Reader {
public:
    explicit Reader(std::string_view text) : m_text(text) {}

    bool atEnd() const { return m_pos >= m_text.size(); }
    char peek() const { return atEnd() ? '\0' : m_text[m_pos]; }
    bool take(char c) {
        if (peek() != c)
            return false;
        ++m_pos;
        return true;
    }
    /// Exactly n digits.
    bool digits(int n, int& value) {
        value = 0;
        for (int i = 0; i < n; ++i) {
            char c = peek();
            if (c < '0' || c > '9')
                return false;
            value = value * 10 + (c - '0');
            ++m_pos;
        }
        return true;
    }
    /// A fraction after the decimal sign, as milliseconds; digits past the third are dropped.
    bool fraction(int& millis) {
        millis = 0;
        int count = 0;
        while (peek() >= '0' && peek() <= '9') {
            if (count < 3)
                millis = millis * 10 + (peek() - '0');
            ++count;
            ++m_pos;
        }
        for (int i = count; i < 3; ++i)
            millis *= 10;
        return count > 0;
    }

private:
    std::string_view m_text;
    size_t m_pos = 0;
};

int daysInMonth(int year, int month) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : days[month - 1];
}

/// The local offset from GMT, in half hours, at that local time.
int localOffsetHalfHours(const QsTimeRec& rec) {
    struct tm local = {};
    local.tm_year = rec.year - 1900;
    local.tm_mon = rec.month - 1;
    local.tm_mday = rec.date;
    local.tm_hour = rec.hour;
    local.tm_min = rec.minute;
    local.tm_sec = rec.second;
    local.tm_isdst = -1;
    time_t when = mktime(&local);
    if (when == static_cast<time_t>(-1))
        return 0;
    struct tm back = {};
    localtime_r(&when, &back);
    return static_cast<int>(back.tm_gmtoff / 1800);
}

bool readZone(Reader& in, int& halfHours) {
    if (in.take('Z')) {
        halfHours = 0;
        return true;
    }
    int sign = in.take('+') ? 1 : in.take('-') ? -1 : 0;
    if (sign == 0)
        return false;
    int hours = 0, minutes = 0;
    if (!in.digits(2, hours) || hours > 23)
        return false;
    if (!in.atEnd()) {
        in.take(':');
        if (!in.digits(2, minutes) || minutes > 59)
            return false;
    }
    halfHours = sign * (hours * 2 + minutes / 30);
    return true;
}

} // namespace

int dayOfWeek(int year, int month, int date) {
    // Sakamoto's method.
    static const int shift[] = {0, 3, 2, 5, 0, 3, 5, 1, 4, 6, 2, 4};
    if (month < 3)
        year -= 1;
    return (year + year / 4 - year / 100 + year / 400 + shift[month - 1] + date) % 7;
}

bool parseISO8601Date(const char* text, QsTimeRec& out) {
    if (!text)
        return false;
    Reader in{std::string_view(text, strnlen(text, 64))};
    if (text[strnlen(text, 64)] != '\0')
        return false; // far longer than any date
    QsTimeRec rec = {};
    int year, month, date;
    if (!in.digits(4, year))
        return false;
    bool extended = in.take('-');
    if (!in.digits(2, month) || (extended && !in.take('-')) || !in.digits(2, date))
        return false;
    if (year < 1 || month < 1 || month > 12 || date < 1 || date > daysInMonth(year, month))
        return false;
    rec.year = static_cast<int16_t>(year);
    rec.month = static_cast<int16_t>(month);
    rec.date = static_cast<int16_t>(date);
    rec.day = static_cast<int16_t>(dayOfWeek(year, month, date));
    if (in.atEnd()) {
        rec.gmtOffset = static_cast<int16_t>(localOffsetHalfHours(rec));
        out = rec;
        return true;
    }
    if (!in.take('T') && !in.take('t'))
        return false;
    int hour, minute, second = 0, millis = 0;
    if (!in.digits(2, hour) || (extended && !in.take(':')) || !in.digits(2, minute))
        return false;
    bool hasSeconds = extended ? in.take(':') : (in.peek() >= '0' && in.peek() <= '9');
    if (hasSeconds && !in.digits(2, second))
        return false;
    if (hasSeconds && (in.take('.') || in.take(',')) && !in.fraction(millis))
        return false;
    // 60 seconds is a leap second.
    if (hour > 23 || minute > 59 || second > 60)
        return false;
    rec.hour = static_cast<int16_t>(hour);
    rec.minute = static_cast<int16_t>(minute);
    rec.second = static_cast<int16_t>(second);
    rec.millisecond = static_cast<int16_t>(millis);
    int zone = 0;
    if (in.atEnd())
        zone = localOffsetHalfHours(rec);
    else if (!readZone(in, zone) || !in.atEnd())
        return false;
    rec.gmtOffset = static_cast<int16_t>(zone);
    out = rec;
    return true;
}
