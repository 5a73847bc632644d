// Small script forms of viewer records: rectangles, colours, and typed text.
#pragma once

#include "frame/host/ViewerHandles.h"
#include "values/CES.h"
#include "values/QsFixed.h"

#include <cstdint>

/// Sets the colour's space by its name: "G", "RGB", "CMYK"; anything else gives no space (127).
void VESUtilInitDkColorValue(DkColorValueRec* colour, const char* name);
/// The colour as an array: the space's name, then its components.
CES::Val VESUtilNewColor(ESContext context, const DkColorValueRec* colour);
/// Reads a colour array; false for a value that is no array.
bool VESUtilUnloadColor(ESContext context, ESVal value, DkColorValueRec* out);
/// The rectangle as an array of four numbers.
CES::Val VESObjectFromFixedRect(ESContext context, const QsFixedRect* rect);
/// Reads elements 0 to 3 into the rectangle; false at the first one missing.
bool VESValueToFixedRect(ESContext context, ESVal value, QsFixedRect* out);

/// Kinds of typed text.
enum VESValueType : int32_t {
    kVESString = 0,
    kVESInteger = 1,
    kVESReal = 2,
    kVESDate = 3,
    kVESBoolean = 4,
};
/// What a text typed into a field holds: a string, an integer, a real, a date or a boolean.
VESValueType VESUtilGetValueType(const char* text);
/// The same for a zero-ended text of host-order units.
VESValueType VESUtilGetValueTypeUCS(const uint16_t* units);
/// The text as a script value of its type.
CES::Val VESUtilStringToValue(ESContext context, const char* text);
CES::Val VESUtilStringToValueUCS(ESContext context, const uint16_t* units);
