#include "values/QsFixed.h"

#include <cmath>
#include <limits>

double QsFixedToDouble(QsFixed value) {
    // Through single precision on purpose: a trip there and back need not give the word again.
    float scaled = static_cast<float>(value) * 1.5258789e-05f;
    return static_cast<double>(scaled);
}

QsFixed QsDoubleToFixed(double value) {
    double word = value * 65536.0 + 0.5;
    if (std::isnan(word))
        return 0;
    // Outside the fixed range the word saturates rather than overflow.
    if (word >= static_cast<double>(std::numeric_limits<QsFixed>::max()))
        return std::numeric_limits<QsFixed>::max();
    if (word <= static_cast<double>(std::numeric_limits<QsFixed>::min()))
        return std::numeric_limits<QsFixed>::min();
    return static_cast<QsFixed>(word);
}

int DkColorSpaceComponents(uint8_t space) {
    switch (space) {
    case kDkColorSpaceGray:
        return 1;
    case kDkColorSpaceRGB:
        return 3;
    case kDkColorSpaceCMYK:
        return 4;
    default:
        return 0;
    }
}
