// Mail dates, as feeds send them: "Tue, 10 Jun 2003 04:00:00 GMT" and its many relatives.
//
// The reader is lenient where real feeds are sloppy and strict where a text is plainly not a
// date. It takes: an optional weekday (short or full name, its comma optional, never checked
// against the date); day and month in either order, the month by name (short or full), fields
// parted by blanks or "-"; a two-digit year (00 to 49 is 20xx, 50 to 99 is 19xx) or a
// three-digit one (plus 1900); a time "HH:MM" with optional ":SS" and fraction, or no time at
// all; a zone by name (UT, GMT, the North American ones, a few common others; one military
// letter reads as GMT), as "+HHMM", "+HH:MM" or "+HH", as "GMT+HHMM", or none, which reads as
// GMT; and a closing comment in parentheses. Feeds also put W3C dates ("2003-12-13T18:30:02Z",
// "2003-12-13T18:30:02.25+01:00", "2003-12-13") in their date elements; those are read too.
#pragma once

#include <cstddef>
#include <cstdint>

/// A date as written: its calendar fields and the offset from GMT it was written in.
struct miRFC822Time {
    int year = 0;             // full, such as 2003
    int month = 0;            // 1 to 12
    int date = 0;             // 1 to the month's length
    int hour = 0;             // 0 to 23
    int minute = 0;           // 0 to 59
    int second = 0;           // 0 to 60 (a leap second)
    int gmtOffsetMinutes = 0; // east of Greenwich positive
};

/// Reads a mail or W3C date of length bytes; false, with out unspecified, when the text is not
/// one or names a day that does not exist.
bool ParseRFC822Date(const char* text, size_t length, miRFC822Time* out);

/// Seconds since 1970-01-01 00:00:00 GMT of the date.
int64_t miRFC822TimeToSeconds(const miRFC822Time& time);
