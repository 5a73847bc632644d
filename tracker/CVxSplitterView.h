// Two or four panes with movable dividers.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// Two or four panes with movable dividers.
class CVxSplitterView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxSplitterView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new splitter inside parent; vertical puts the panes side by side.
    CVxSplitterView(VxView parent, const char* name, bool vertical);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxSplitterViewFTab* s_VxSplitterViewFTab;

    virtual void SetTopView(VxView pane);
    virtual void SetBottomView(VxView pane);
    virtual void SetLeftView(VxView pane);
    virtual void SetRightView(VxView pane);
    virtual void SetTopLeftView(VxView pane);
    virtual void SetTopRightView(VxView pane);
    virtual void SetBottomLeftView(VxView pane);
    virtual void SetBottomRightView(VxView pane);
    virtual void SetOnly(int32_t pane);
    virtual void SetHorizontalOpenToSize(int32_t size);
    virtual void SetVerticalOpenToSize(int32_t size);
    virtual int32_t GetHorizontalOpenToSize();
    virtual int32_t GetVerticalOpenToSize();
};
