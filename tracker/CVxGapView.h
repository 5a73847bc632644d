// Empty space of a fixed size.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// Empty space of a fixed size.
class CVxGapView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxGapView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new gap inside parent.
    CVxGapView(VxView parent, const char* name, int32_t width, int32_t height);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxGapViewFTab* s_VxGapViewFTab;
};
