// A view that scrolls another.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// A view that scrolls another.
class CVxScrollView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxScrollView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxScrollView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxScrollViewFTab* s_VxScrollViewFTab;

    virtual void SetShowHorz(bool show);
    virtual void SetShowVert(bool show);
    virtual void SetDrawable(VxView drawable);
};
