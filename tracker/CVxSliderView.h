// Sliders and progress bars: a range and a position.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// A slider.
class CVxSliderView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxSliderView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxSliderView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxSliderViewFTab* s_VxSliderViewFTab;

    virtual void SetProperties(const VxRangeProperties& properties);
    virtual void SetPos(int32_t position);
    virtual VxRangeProperties GetProperties();
};

/// A progress bar.
class CVxProgressBarView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxProgressBarView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxProgressBarView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxSliderViewFTab* s_VxProgressBarViewFTab;

    virtual void SetProperties(const VxRangeProperties& properties);
    virtual void SetPos(int32_t position);
    virtual VxRangeProperties GetProperties();
};
