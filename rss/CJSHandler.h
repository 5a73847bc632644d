// The handler of a feed's script: the code of a Code or UI feed, kept as the bytes came.
#pragma once

#include "rss/CBinaryHandler.h"

class CJSHandler final : public CBinaryHandler {
public:
    using CBinaryHandler::CBinaryHandler;

    int32_t getType() override { return kCodeType; }
    bool done() override;
};
