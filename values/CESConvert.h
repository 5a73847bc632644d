// The value bridge: script values into CAgg and back.
#pragma once

#include "values/CAgg.h"
#include "values/CES.h"

/// Reads a script value into out. Objects already met in this conversion are skipped, which
/// cuts cycles; with useTextKeys objects become maps of UCS keys, else atom maps.
void ESValToCAgg(CAgg& out, ESVal value, unsigned short useTextKeys);
/// Sets value to the script form of in (which is converted to a script-ready type first).
void CAggToESVal(ESVal value, CAgg& in);
/// Converts in place to one of the types that have a script form.
void CAggConvertToESValType(CAgg& agg);
/// Sets a property of the object for each entry of the map.
void ESSetObjectProps(ESObject object, CAgg& map);
/// Deletes every own enumerable property of the object.
void ESClearObjectProps(ESObject object);
