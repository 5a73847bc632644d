// The handler of a feed's icon: a PNG image, refused when it is not one or is too large to be
// a tree icon.
#pragma once

#include "rss/CBinaryHandler.h"

#include <cstddef>

class CPNGHandler final : public CBinaryHandler {
public:
    using CBinaryHandler::CBinaryHandler;

    int32_t getType() override { return kPNGType; }
    bool done() override;

    /// The widest and tallest image taken as an icon; anything larger is refused before it is
    /// decoded.
    static constexpr long kMaxSide = 256;
    /// Whether the bytes start as a PNG image whose sides are from 1 to kMaxSide pixels.
    static bool isAcceptableIcon(const unsigned char* bytes, size_t length);
};
