// Small script routines: rectangles, colours, and text typed into fields.
#include "values/CESUtil.h"
#include "values/CESInternal.h"

#include "frame/miString.h"

#include <cstring>

using namespace CES;
using CES::detail::engine;

namespace {

// Colour space names by space number; any other space, and "T" itself, is transparent.
const char* const kColourSpaceNames[] = {"G", "RGB", "CMYK", "T"};
constexpr int kTransparentName = 3;

/// Element index of the array value as a number; false when it is missing.
bool readElement(const Val& array, long index, double& out) {
    Val element = array[index];
    if (element.type() == kESValUndefined)
        return false;
    out = static_cast<double>(element);
    return true;
}

Val arrayOf(const Context& context, std::vector<Val>& elements) {
    std::vector<ESVal> slots;
    for (const Val& element : elements)
        slots.push_back(element.slot());
    ESObject array = detail::guarded(
        [&] { return engine().newArray(context, slots.data(), static_cast<long>(slots.size())); });
    if (!array)
        detail::throwPending(context);
    return Val(array);
}

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// An optional sign, digits, at most one "."; at least one digit.
bool isNumberForm(const char* text) {
    const char* p = text;
    if (*p == '+' || *p == '-')
        ++p;
    int digits = 0;
    int points = 0;
    for (; *p; ++p) {
        if (isDigit(*p))
            ++digits;
        else if (*p == '.' && ++points <= 1)
            continue;
        else
            return false;
    }
    return digits > 0;
}

bool isDateForm(const char* text) {
    size_t length = std::strlen(text);
    if (std::strncmp(text, "D:", 2) != 0 || length <= 2 || length >= 24)
        return false;
    return std::strspn(text + 2, "-+'0123456789Z") == length - 2;
}

/// The ASCII form of a zero-ended unit text; false when it holds a unit past ASCII, surrogates
/// included, which makes it a plain string.
bool asciiOf(const uint16_t* units, std::string& out) {
    out.clear();
    if (!units)
        return true;
    for (const uint16_t* p = units; *p; ++p) {
        if (*p >= 0x80)
            return false;
        out += static_cast<char>(*p);
    }
    return true;
}

} // namespace

// Rectangles.

Val VESObjectFromFixedRect(ESContext context, const QsFixedRect* rect) {
    Context scope(context);
    QsFixedRect zero{};
    const QsFixedRect& r = rect ? *rect : zero;
    std::vector<Val> sides;
    for (QsFixed side : {r.left, r.top, r.right, r.bottom})
        sides.emplace_back(QsFixedToDouble(side), scope);
    return arrayOf(scope, sides);
}

bool VESValueToFixedRect(ESContext context, ESVal value, QsFixedRect* out) {
    Context scope(context);
    Val rect(value);
    if (!rect.object() || !out)
        return false;
    QsFixed* sides[] = {&out->left, &out->top, &out->right, &out->bottom};
    for (long i = 0; i < 4; ++i) {
        double side = 0;
        // A side that is missing ends the reading; those read stay written.
        if (!readElement(rect, i, side))
            return false;
        // Half a unit is added before the cut towards zero, so a negative side comes out one
        // unit high; that rounding is kept.
        *sides[i] = QsDoubleToFixed(side);
    }
    return true;
}

// Colours.

void VESUtilInitDkColorValue(DkColorValueRec* colour, const char* name) {
    if (!colour)
        return;
    colour->space = kDkColorSpaceNone;
    for (int i = 0; i < kTransparentName; ++i)
        if (name && std::strcmp(name, kColourSpaceNames[i]) == 0)
            colour->space = static_cast<uint8_t>(i);
}

Val VESUtilNewColor(ESContext context, const DkColorValueRec* colour) {
    Context scope(context);
    int count = colour ? DkColorSpaceComponents(colour->space) : 0;
    const char* name =
        count ? kColourSpaceNames[colour->space] : kColourSpaceNames[kTransparentName];
    std::vector<Val> elements;
    elements.emplace_back(name, scope);
    for (int i = 0; i < count; ++i)
        elements.emplace_back(QsFixedToDouble(colour->value[i]), scope);
    return arrayOf(scope, elements);
}

bool VESUtilUnloadColor(ESContext context, ESVal value, DkColorValueRec* out) {
    if (!out)
        return false;
    *out = DkColorValueRec{};
    out->space = kDkColorSpaceNone;
    Context scope(context);
    Val colour(value);
    if (!colour.isArray())
        return false;
    VESUtilInitDkColorValue(out, colour[0L].get().hostText().c_str());
    int count = DkColorSpaceComponents(out->space);
    for (int i = 0; i < count; ++i) {
        double component = 0;
        if (readElement(colour, i + 1, component))
            out->value[i] = QsDoubleToFixed(component);
    }
    return true;
}

// Typed text.

VESValueType VESUtilGetValueType(const char* text) {
    if (!text)
        return kVESString;
    while (isSpace(*text))
        ++text;
    if (!*text)
        return kVESString;
    if (std::strcmp(text, "true") == 0 || std::strcmp(text, "false") == 0)
        return kVESBoolean;
    if (isNumberForm(text)) {
        // "1.0" reads the same whole or not: it is an integer.
        return static_cast<double>(miAtol(text)) == mdAtof(text) ? kVESInteger : kVESReal;
    }
    if (isDateForm(text))
        return kVESDate;
    return kVESString;
}

VESValueType VESUtilGetValueTypeUCS(const uint16_t* units) {
    std::string ascii;
    if (!asciiOf(units, ascii))
        return kVESString;
    return VESUtilGetValueType(ascii.c_str());
}

Val VESUtilStringToValue(ESContext context, const char* text) {
    Context scope(context);
    const char* typed = text ? text : "";
    switch (VESUtilGetValueType(typed)) {
    case kVESInteger: {
        long whole = miAtol(typed);
        double number = mdAtof(typed);
        if (static_cast<double>(whole) != number)
            return Val(number, scope);
        // Only what comes back from the engine as the same integer stays one.
        Val value(whole, scope);
        if (static_cast<long>(value) != whole)
            return Val(number, scope);
        return value;
    }
    case kVESReal:
        return Val(mdAtof(typed), scope);
    case kVESBoolean:
        while (isSpace(*typed))
            ++typed;
        return Val(std::strcmp(typed, "true") == 0, scope);
    case kVESString:
    case kVESDate:
        break;
    }
    return Val(typed, scope);
}

Val VESUtilStringToValueUCS(ESContext context, const uint16_t* units) {
    Context scope(context);
    std::string ascii;
    if (asciiOf(units, ascii))
        return VESUtilStringToValue(context, ascii.c_str());
    std::u16string text;
    for (const uint16_t* p = units; *p; ++p)
        text += static_cast<char16_t>(*p);
    QsTextRec rec{text};
    return Val(&rec, scope);
}
