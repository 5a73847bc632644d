// Fixed-point geometry and colour records of the viewer, and the 16.16 arithmetic on them.
//
// A QsFixed is a 32-bit signed word whose value is word / 65536.
#pragma once

#include <cstdint>

/// A 16.16 fixed-point number.
using QsFixed = int32_t;

/// 1.0 as a fixed-point number.
constexpr QsFixed kQsFixedOne = 0x10000;

/// A point: horizontal, then vertical.
struct QsFixedPoint {
    QsFixed h;
    QsFixed v;
};

/// A rectangle by its four sides.
struct QsFixedRect {
    QsFixed left;
    QsFixed top;
    QsFixed right;
    QsFixed bottom;
};

/// A quadrilateral by its four corners.
struct QsFixedQuad {
    QsFixedPoint tl;
    QsFixedPoint tr;
    QsFixedPoint bl;
    QsFixedPoint br;
};

/// An affine matrix [a b c d h v].
struct QsFixedMatrix {
    QsFixed a;
    QsFixed b;
    QsFixed c;
    QsFixed d;
    QsFixed h;
    QsFixed v;
};

/// Colour spaces of DkColorValueRec.
enum : uint8_t {
    kDkColorSpaceGray = 0,
    kDkColorSpaceRGB = 1,
    kDkColorSpaceCMYK = 2,
    kDkColorSpaceNone = 127,
};

/// A colour: its space, then up to four components.
struct DkColorValueRec {
    uint8_t space;
    QsFixed value[4];
};

static_assert(sizeof(QsFixedPoint) == 8 && sizeof(QsFixedRect) == 16);
static_assert(sizeof(QsFixedQuad) == 32 && sizeof(QsFixedMatrix) == 24);

/// Fixed to double, through single precision: the word as a float times the float 1/65536.
double QsFixedToDouble(QsFixed value);
/// Double to fixed: value * 65536.0 + 0.5, truncated; saturates outside the fixed range and
/// gives 0 for NaN.
QsFixed QsDoubleToFixed(double value);
/// Number of components of a colour space: 1, 3, 4, or 0 for any other space.
int DkColorSpaceComponents(uint8_t space);
