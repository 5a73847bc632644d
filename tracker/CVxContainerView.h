// A view that holds others, with offsets, alignments, a border and a background.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// A view that holds others, with offsets, alignments, a border and a background.
class CVxContainerView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxContainerView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxContainerView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxContainerViewFTab* s_VxContainerViewFTab;

    virtual void SetGlobalOffsets(int32_t offset);
    virtual void SetTopOffset(int32_t offset);
    virtual void SetLeftOffset(int32_t offset);
    virtual void SetBottomOffset(int32_t offset);
    virtual void SetRightOffset(int32_t offset);
    virtual void ResetOffsets();
    virtual void SetHAlign(int32_t align);
    virtual void SetVAlign(int32_t align);
    virtual void ResetAlignments();
    virtual QsBool HasBorder();
    virtual VxColor GetBorderColor();
    virtual void SetBorderColor(VxColor color);
    virtual void SetBorderThicknesses(const VxRect& thicknesses);
    virtual VxRect GetBorderThicknesses();
    virtual void ClearBorder();
    virtual void SetBackgroundBrush(VxColor color);
    virtual void SetIgnoreChild(VxView child, bool ignore);
    virtual void SetForwardClicksToParent(bool forward);
    virtual void SetExpandAndPadHorizontally(bool expand);
    virtual void SetExpandAndPadVertically(bool expand);
    virtual void SetCursor(int32_t cursor);
    virtual void SetFocus(VxView child);
    virtual void SetMinWidth(int32_t width);
    virtual void SetFramedView(VxView framed);
};
