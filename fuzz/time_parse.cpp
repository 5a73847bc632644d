// Any text read as a PDF date, and the record written back in every style and wire form; the
// text also serves as a miTimePrintf format. Nothing may crash.

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "host/core/CHostCore.h"
#include "values/miTime.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static CHostCore core;
    gCoreHFT = &core;
    std::string text(reinterpret_cast<const char*>(data), size);

    QsTimeRec rec;
    bool ok = miTimeStringToTimeRec(text.c_str(), &rec);
    if (ok && (rec.month > 12 || rec.date > 31))
        std::abort();
    for (long style = 0; style <= 5; ++style)
        QsFree(miTimeRecToString(&rec, style));
    CEStr out("", kEStrHost);
    getHTTPDateString(rec, out);
    getARPADateString(rec, out);
    // A text that starts with the mark must end in a zero unit: three zeros make sure of one.
    std::string format = text + std::string(3, '\0');
    miTimePrintf(out, &rec, CEStr(format.c_str(), kEStrPDFDoc));

    // Raw fields, whatever they hold, print without harm.
    QsTimeRec raw;
    std::memcpy(&raw, data, std::min(size, sizeof raw));
    for (long style = 0; style <= 5; ++style)
        QsFree(miTimeRecToString(&raw, style));
    getHTTPDateString(raw, out);
    getARPADateString(raw, out);
    return 0;
}
