// ISO 8601 dates and times, as XML Schema's dateTime writes them, read into the viewer's time
// record.
#pragma once

#include "frame/host/QsTimeRec.h"

/// Reads "YYYY-MM-DD", optionally followed by "THH:MM[:SS[.fff]]" and a zone ("Z", "+HH:MM",
/// "-HHMM", "+HH"); the basic forms without separators ("20040506T070809Z") as well. A time
/// without a zone is local time. Zone minutes that are not a multiple of 30 are cut to the half
/// hour below. Answers false, leaving out unchanged, for any other text.
bool parseISO8601Date(const char* text, QsTimeRec& out);

/// The day of the week of a date, 0 for Sunday.
int dayOfWeek(int year, int month, int date);
