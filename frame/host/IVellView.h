// "VellView": the viewer layer. Its services are reached as interfaces of their own.
#pragma once

#include "frame/host/IHostTable.h"

class IIcons;
class IIdle;

class IVellView : public IHostTable {
public:
    /// Idle procedures, delayed calls and the clock.
    virtual IIdle* idle() = 0;
    /// Decoding icons; null when the viewer cannot.
    virtual IIcons* icons() = 0;
};
