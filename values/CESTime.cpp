// Script dates to and from time records.
#include "values/CESTime.h"
#include "values/CESInternal.h"

#include "values/CESCalls.h"
#include "values/miTime.h"

#include <string_view>

using namespace CES;
using CES::detail::engine;

namespace {

// The engine's date parser reads English month names only, so these are never localised.
const char* const kMonthNames[] = {"January",   "February", "March",    "April",
                                   "May",       "June",     "July",     "August",
                                   "September", "October",  "November", "December"};

/// Calls a getter of the date; 0 when it fails.
int16_t dateField(ESObject date, const char* getter, const Val& answer) {
    if (!ESObjectSafeCall(date, getter, 0, nullptr, answer.slot()))
        return 0;
    double number = 0;
    if (!engine().readNumber(answer.slot(), number) || !(number == number))
        return 0;
    if (number < -32768 || number > 32767)
        return 0;
    return static_cast<int16_t>(number);
}

} // namespace

bool ESValGetTime(ESVal value, QsTimeRec* out) {
    IScriptEngine& es = engine();
    ESObject date = es.readObject(value);
    if (!date || std::string_view(es.className(date)) != "Date" || !out)
        return false;
    Val answer(es.valueContext(value));
    out->year = dateField(date, "getFullYear", answer);
    out->month = static_cast<int16_t>(dateField(date, "getMonth", answer) + 1);
    out->date = dateField(date, "getDate", answer);
    out->hour = dateField(date, "getHours", answer);
    out->minute = dateField(date, "getMinutes", answer);
    out->second = dateField(date, "getSeconds", answer);
    out->millisecond = dateField(date, "getMilliseconds", answer);
    out->day = dateField(date, "getDay", answer);
    // Minutes west of Greenwich become half hours east of it, cut towards zero.
    int16_t minutesWest = dateField(date, "getTimezoneOffset", answer);
    out->gmtOffset = static_cast<int16_t>(-(minutesWest / 30));
    return true;
}

void ESValSetTime(ESVal value, const QsTimeRec* rec) {
    IScriptEngine& es = engine();
    ESContext context = es.valueContext(value);
    if (!context || !rec)
        throwInternalException();
    CEStr text("", kEStrHost);
    CEStr format("d $$$ yyyy HH:MM:ss z", kEStrHost);
    miTimePrintf(text, rec, format);
    const char* month = rec->month >= 1 && rec->month <= 12 ? kMonthNames[rec->month - 1] : "";
    CEStr placeholder("$$$", kEStrHost);
    CEStr monthName(month, kEStrHost);
    EStrReplace(text, placeholder, monthName);
    CEStr gmt("GMT", kEStrHost);
    CEStr zulu("Z", kEStrHost);
    EStrReplace(text, gmt, zulu);
    EStrPrepend(text, "new Date(\"");
    EStrCat(text, "\")");
    EStrSetEncoding(text, kEStrUCS);

    Context scope(context);
    ESEvent event = es.openEvent(context, "Internal", "Exec");
    es.setEventAs(event, "Internal", "Exec");
    HostFrame frame;
    int32_t code =
        frame.run([&] { es.evaluate(context, event, text.c_str(), EStrGetLen(text), value); });
    es.closeEvent(event);
    if (code)
        detail::throwPending(scope);
    if (rec->millisecond != 0) {
        ESObject date = es.readObject(value);
        Val milliseconds(static_cast<long>(rec->millisecond), scope);
        ESVal args[] = {milliseconds.slot()};
        Val ignored(scope);
        if (date)
            ESObjectSafeCall(date, "setMilliseconds", 1, args, ignored.slot());
    }
}
