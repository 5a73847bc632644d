// A container that shows one child at a time.
#pragma once

#include "tracker/CVxContainerView.h"

#include <cstdint>
#include <string>
#include <vector>

/// A container that shows one child at a time.
class CVxFlipContainerView : public CVxContainerView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxFlipContainerView(VxView existing) : CVxContainerView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxFlipContainerView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxFlipContainerViewFTab* s_VxFlipContainerViewFTab;

    virtual void SetSizePolicy(int32_t policy);
};
