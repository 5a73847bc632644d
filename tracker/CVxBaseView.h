// The base of the view classes: a handle on a host view, and the operations every view has.
//
// Each class of view holds the handle of its host view and forwards to its class's host table
// (frame/host/IViewLayer.h). With a null handle, or before the tables are acquired, a question
// answers 0, false, null or an empty rectangle and a command does nothing. The object hears of
// its host view's end through MarkDeadCallback and holds null from then on, so it may outlive
// the host view; its own end leaves the host view alone, which goes with its parent.
#pragma once

#include "frame/host/IViewLayer.h"
#include "values/CAgg.h"

#include <cstdint>

/// What EnumItems and EnumSelectedItems call for each item; false stops the walk.
using VxTreeEnumProc = bool (*)(VxTreeItem item, void* data);
/// The context menu of a text field.
using VxTextEditMenuProc = VxMenu (*)(VxView view, void* data);

class CVxBaseView {
public:
    /// Wraps a host view (null: an object that does nothing) and listens for its end.
    explicit CVxBaseView(VxView existing);
    /// Stops listening; the host view stays.
    virtual ~CVxBaseView();
    CVxBaseView(const CVxBaseView&) = delete;
    CVxBaseView& operator=(const CVxBaseView&) = delete;

    virtual void InvalidateRect(const VxRect* rect);
    virtual VxRect GetParentRect();
    virtual VxRect GetAperture();
    virtual VxRect GetClientRect();
    virtual void Show(bool show);
    virtual QsBool IsSetVisible();
    virtual QsBool IsVisible();
    virtual void Enable(bool enable);
    virtual QsBool IsEnabled();
    virtual QsBool IsSetEnabled();
    virtual void Select(bool select);
    virtual QsBool IsSelected();
    virtual void ForwardClickToParent(bool forward);
    virtual void ForwardRightClickToParent(bool forward);
    virtual void SetWantsHiddenDisabledScrollbars(bool wants);
    virtual void Reparent(VxView newParent);
    virtual void SetScrollAmounts(int32_t horizontal, int32_t vertical);
    virtual void ScrollTo(int32_t x, int32_t y);
    virtual VxView GetParent();
    virtual QsBool HasFocus();
    virtual void SetFocus();

    /// The host view, null when it has gone.
    VxView getView() const { return view; }
    /// Called by the host when a view goes: when it is this object's view, the object stops
    /// listening and holds null.
    static void MarkDeadCallback(VxView dying, void* data);

    /// The host's table for the operations every view has.
    static IVxBaseViewFTab* s_VxBaseViewFTab;

protected:
    /// The host view; null when there is none or it has gone.
    VxView view = nullptr;
};
