#include "values/miRFC822Date.h"

#include <cstring>
#include <strings.h>

namespace {

struct Zone {
    const char* name;
    int minutes;
};

// Zone names that feeds use. Abbreviations that mean different places to different people
// (IST, CST outside North America) take their most common reading in feeds.
const Zone kZones[] = {
    {"UT", 0},        {"UTC", 0},        {"GMT", 0},        {"Z", 0},          {"EST", -5 * 60},
    {"EDT", -4 * 60}, {"CST", -6 * 60},  {"CDT", -5 * 60},  {"MST", -7 * 60},  {"MDT", -6 * 60},
    {"PST", -8 * 60}, {"PDT", -7 * 60},  {"AKST", -9 * 60}, {"AKDT", -8 * 60}, {"HST", -10 * 60},
    {"AST", -4 * 60}, {"ADT", -3 * 60},  {"NST", -210},     {"NDT", -150},     {"WET", 0},
    {"WEST", 60},     {"BST", 60},       {"CET", 60},       {"CEST", 2 * 60},  {"MET", 60},
    {"MEST", 2 * 60}, {"EET", 2 * 60},   {"EEST", 3 * 60},  {"MSK", 3 * 60},   {"IST", 330},
    {"SGT", 8 * 60},  {"HKT", 8 * 60},   {"JST", 9 * 60},   {"KST", 9 * 60},   {"AWST", 8 * 60},
    {"ACST", 570},    {"AEST", 10 * 60}, {"AEDT", 11 * 60}, {"NZST", 12 * 60}, {"NZDT", 13 * 60},
};

const char* const kMonths[] = {"jan", "feb", "mar", "apr", "may", "jun",
                               "jul", "aug", "sep", "oct", "nov", "dec"};
const char* const kMonthNames[] = {"january",   "february", "march",    "april",
                                   "may",       "june",     "july",     "august",
                                   "september", "october",  "november", "december"};
const char* const kDays[] = {"sun", "mon", "tue", "wed", "thu", "fri", "sat"};
const char* const kDayNames[] = {"sunday",   "monday", "tuesday", "wednesday",
                                 "thursday", "friday", "saturday"};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isAlpha(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool isLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysInMonth(int year, int month) {
    static const int kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : kLengths[month - 1];
}

class Scanner {
public:
    Scanner(const char* text, size_t length) : m_at(text), m_end(text + length) {}

    bool atEnd() const { return m_at == m_end; }
    char peek() const { return atEnd() ? '\0' : *m_at; }
    char peekAt(size_t ahead) const {
        return static_cast<size_t>(m_end - m_at) > ahead ? m_at[ahead] : '\0';
    }
    bool take(char c) {
        if (peek() != c)
            return false;
        ++m_at;
        return true;
    }
    void advance() { ++m_at; }
    void skipBlanks() {
        while (!atEnd() && isBlank(*m_at))
            ++m_at;
    }
    /// Skips blanks and the separators that may stand between the fields of a date.
    void skipSeparators() {
        while (!atEnd() && (isBlank(*m_at) || *m_at == ',' || *m_at == '-'))
            ++m_at;
    }
    /// A run of digits, at most maxDigits of them; -1 when there is no digit. count gets the
    /// number of digits.
    long number(int maxDigits, int* count = nullptr) {
        long value = 0;
        int digits = 0;
        while (!atEnd() && isDigit(*m_at) && digits < maxDigits) {
            value = value * 10 + (*m_at - '0');
            ++m_at;
            ++digits;
        }
        if (count)
            *count = digits;
        return digits == 0 ? -1 : value;
    }
    /// Exactly n digits, or -1.
    long fixed(int n) {
        int count = 0;
        const char* start = m_at;
        long value = number(n, &count);
        if (count != n) {
            m_at = start;
            return -1;
        }
        return value;
    }
    /// A run of letters, lowered, at most 15 of them kept.
    int word(char* out) {
        int length = 0;
        while (!atEnd() && isAlpha(*m_at)) {
            if (length < 15)
                out[length++] = lower(*m_at);
            ++m_at;
        }
        out[length] = '\0';
        return length;
    }
    void skipDigits() {
        while (!atEnd() && isDigit(*m_at))
            ++m_at;
    }

private:
    const char* m_at;
    const char* m_end;
};

/// The index of the word among the short names, or among the full ones; -1 when neither.
int findName(const char* word, const char* const* shortNames, const char* const* fullNames,
             int count) {
    for (int i = 0; i < count; ++i) {
        if (std::strcmp(word, shortNames[i]) == 0 || std::strcmp(word, fullNames[i]) == 0)
            return i;
    }
    // Some feeds write four letters: "Sept", "Thur", "Tues".
    size_t length = std::strlen(word);
    for (int i = 0; i < count && length >= 3; ++i) {
        if (std::strncmp(word, fullNames[i], length) == 0)
            return i;
    }
    return -1;
}

/// "HH:MM", then ":SS" and a fraction, each optional.
bool readTime(Scanner& in, miRFC822Time* out) {
    long hour = in.number(2);
    if (hour < 0 || !in.take(':'))
        return false;
    long minute = in.fixed(2);
    if (minute < 0)
        return false;
    long second = 0;
    if (in.take(':')) {
        second = in.fixed(2);
        if (second < 0)
            return false;
        if (in.take('.') || in.take(','))
            in.skipDigits();
    }
    if (hour > 23 || minute > 59 || second > 60)
        return false;
    out->hour = static_cast<int>(hour);
    out->minute = static_cast<int>(minute);
    out->second = static_cast<int>(second);
    return true;
}

/// A signed offset: "+HHMM", "+HH:MM" or "+HH"; the sign is the next character.
bool readNumericOffset(Scanner& in, int* minutes) {
    int sign = in.take('-') ? -1 : (in.take('+'), 1);
    int digits = 0;
    long value = in.number(4, &digits);
    long hours = 0;
    long mins = 0;
    if (digits == 4) {
        hours = value / 100;
        mins = value % 100;
    } else if (digits == 1 || digits == 2) {
        hours = value;
        if (in.take(':')) {
            mins = in.fixed(2);
            if (mins < 0)
                return false;
        }
    } else {
        return false;
    }
    if (hours > 23 || mins > 59)
        return false;
    *minutes = sign * static_cast<int>(hours * 60 + mins);
    return true;
}

/// The zone and whatever may follow it (blanks, one comment in parentheses) up to the end.
bool readZone(Scanner& in, miRFC822Time* out) {
    in.skipBlanks();
    out->gmtOffsetMinutes = 0;
    if (in.peek() == '+' || in.peek() == '-') {
        if (!readNumericOffset(in, &out->gmtOffsetMinutes))
            return false;
    } else if (isAlpha(in.peek())) {
        char name[16];
        int length = in.word(name);
        bool known = false;
        for (const Zone& zone : kZones) {
            if (strcasecmp(name, zone.name) == 0) {
                out->gmtOffsetMinutes = zone.minutes;
                known = true;
                break;
            }
        }
        // A military zone letter: their signs were printed the wrong way round in the old
        // mail standard, so a letter says nothing reliable and reads as GMT.
        if (!known && length != 1)
            return false;
        if ((known && out->gmtOffsetMinutes == 0) && (in.peek() == '+' || in.peek() == '-')) {
            if (!readNumericOffset(in, &out->gmtOffsetMinutes))
                return false;
        }
    }
    in.skipBlanks();
    if (in.take('(')) {
        while (!in.atEnd() && in.peek() != ')')
            in.advance();
        if (!in.take(')'))
            return false;
        in.skipBlanks();
    }
    return in.atEnd();
}

bool validDate(const miRFC822Time& t) {
    return t.year >= 1 && t.year <= 9999 && t.month >= 1 && t.month <= 12 && t.date >= 1 &&
           t.date <= daysInMonth(t.year, t.month);
}

/// "YYYY-MM-DD", then "T" or a blank and "HH:MM[:SS[.fff]]", then "Z" or an offset.
bool readW3CDate(Scanner& in, miRFC822Time* out) {
    long year = in.fixed(4);
    if (year < 0 || !in.take('-'))
        return false;
    long month = in.fixed(2);
    if (month < 0 || !in.take('-'))
        return false;
    long date = in.fixed(2);
    if (date < 0)
        return false;
    out->year = static_cast<int>(year);
    out->month = static_cast<int>(month);
    out->date = static_cast<int>(date);
    if (!validDate(*out))
        return false;
    if (in.take('T') || in.take('t') ||
        (in.peek() == ' ' && isDigit(in.peekAt(1)) && in.take(' '))) {
        if (!readTime(in, out))
            return false;
    }
    if (in.take('Z') || in.take('z')) {
        out->gmtOffsetMinutes = 0;
        in.skipBlanks();
        return in.atEnd();
    }
    // A W3C date names no zone by letters.
    if (isAlpha(in.peek()))
        return false;
    return readZone(in, out);
}

bool readMailDate(Scanner& in, miRFC822Time* out) {
    long date = -1;
    long year = -1;
    int yearDigits = 0;
    int month = -1;
    bool sawTime = false;
    for (;;) {
        in.skipSeparators();
        if (in.atEnd())
            break;
        char c = in.peek();
        if (isAlpha(c)) {
            if (date >= 0 && month >= 0 && year >= 0)
                break; // the zone
            char word[16];
            in.word(word);
            int index = findName(word, kMonths, kMonthNames, 12);
            if (index >= 0 && month < 0) {
                month = index + 1;
                in.take('.');
                continue;
            }
            // A weekday may only open the text; its value is not checked against the date.
            if (date < 0 && month < 0 && year < 0 && findName(word, kDays, kDayNames, 7) >= 0) {
                in.take('.');
                continue;
            }
            return false;
        }
        if (!isDigit(c))
            break;
        // A run of digits followed by ":" is the time, which comes after the date.
        Scanner ahead = in;
        ahead.skipDigits();
        if (ahead.peek() == ':') {
            if (!readTime(in, out))
                return false;
            sawTime = true;
            break;
        }
        int digits = 0;
        long value = in.number(4, &digits);
        if (isDigit(in.peek()))
            return false; // more than four digits
        if (digits <= 2 && date < 0) {
            date = value;
        } else if (year < 0) {
            year = value;
            yearDigits = digits;
        } else {
            return false;
        }
    }
    if (date < 0 || month < 0 || year < 0)
        return false;
    if (yearDigits <= 2)
        year += year < 50 ? 2000 : 1900;
    else if (yearDigits == 3)
        year += 1900;
    out->year = static_cast<int>(year);
    out->month = month;
    out->date = static_cast<int>(date);
    if (!validDate(*out))
        return false;
    if (!sawTime) {
        out->hour = out->minute = out->second = 0;
    }
    return readZone(in, out);
}

} // namespace

bool ParseRFC822Date(const char* text, size_t length, miRFC822Time* out) {
    if (!text || !out)
        return false;
    *out = miRFC822Time{};
    Scanner in(text, length);
    in.skipBlanks();
    Scanner probe = in;
    if (probe.fixed(4) >= 0 && probe.peek() == '-')
        return readW3CDate(in, out);
    return readMailDate(in, out);
}

int64_t miRFC822TimeToSeconds(const miRFC822Time& time) {
    // Days from the civil date, counted in eras of 400 years from 1 March of year 0.
    int64_t y = time.year - (time.month <= 2 ? 1 : 0);
    int64_t era = (y >= 0 ? y : y - 399) / 400;
    int64_t yearOfEra = y - era * 400;
    int64_t m = time.month;
    int64_t dayOfYear = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + time.date - 1;
    int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    int64_t days = era * 146097 + dayOfEra - 719468;
    return days * 86400 + time.hour * 3600 + time.minute * 60 + time.second -
           static_cast<int64_t>(time.gmtOffsetMinutes) * 60;
}
