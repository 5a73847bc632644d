// The viewer's time record.
#pragma once

#include <cstdint>

/// A date and time: nine signed 16-bit fields.
struct QsTimeRec {
    int16_t year;  // full, such as 2004
    int16_t month; // 1 to 12
    int16_t date;  // 1 to 31
    int16_t hour;
    int16_t minute;
    int16_t second;
    int16_t millisecond;
    int16_t day;       // day of the week, 0 is Sunday
    int16_t gmtOffset; // half hours, positive east of Greenwich
};
