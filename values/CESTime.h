// Script dates and the viewer's time records.
#pragma once

#include "frame/host/IScriptEngine.h"
#include "frame/host/QsTimeRec.h"

/// Reads a script Date; false for any other value.
bool ESValGetTime(ESVal value, QsTimeRec* out);
/// Sets value to a new script Date of the record.
void ESValSetTime(ESVal value, const QsTimeRec* rec);
