// Time values: QsTimeRec to and from text (the PDF date form, display forms, and the forms of
// the HTTP and mail wires), and the clock.
//
// "Now" comes from the host's idle clock, so that a test host can freeze and move it.
#pragma once

#include "frame/QsText.h"
#include "frame/host/QsTimeRec.h"
#include "values/EStr.h"

/// Seconds since the epoch, now.
long miTimeSecs();
/// The local offset from GMT in minutes (negative west of Greenwich).
long miTimeGMTOffset();
/// Fills out with the local time of seconds since the epoch; 0 means now.
void miTimeGetTime(QsTimeRec* out, long seconds);
/// Seconds since the epoch of a time record, read with its own offset.
long miTimeRecToSecs(const QsTimeRec& rec);
/// Reads a PDF date ("D:YYYYMMDDHHmmSSOHH'mm'", every part after the year optional); false
/// when the text is malformed, with the fields read so far left in out.
bool miTimeStringToTimeRec(const char* text, QsTimeRec* out);
/// The record as text in a style: 0 "D:yyyymmddHHMMssZ", 1 "yyyy.mm.dd HH:MM:ss Z", 2 the
/// localised date followed by the offset, 4 the localised local date, any other
/// "D:yyyymmddHHMMssZZ". A new text from QsMalloc, for QsFree.
char* miTimeRecToString(const QsTimeRec* rec, long style);
/// miTimeRecToString as the viewer's Unicode text.
CQsText QsTextFromTimeRec(const QsTimeRec* rec, long style);
/// miTimeRecToString as a new EStr.
EStr EStrNewFromTimeRec(const QsTimeRec* rec, long style);
/// Writes the record into out by a format of field letters ("yyyy", "mm", "HH", "Z", ...);
/// out takes the format's encoding.
void miTimePrintf(EStr out, const QsTimeRec* rec, const _EStrRec* format);
/// The W3C date form, "2004-01-01T12:00:00.000Z" or with "+05:30", into out.
void getHTTPDateString(QsTimeRec rec, _EStrRec* out);
/// The mail date form, "Thu, 01 Jan 2004 12:00:00 GMT", into out; out stays as it was when the
/// month, date or day of the week is out of range.
void getARPADateString(QsTimeRec rec, _EStrRec* out);
