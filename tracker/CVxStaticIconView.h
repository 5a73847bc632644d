// An icon that may answer clicks.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// An icon that may answer clicks.
class CVxStaticIconView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxStaticIconView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxStaticIconView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxStaticIconViewFTab* s_VxStaticIconViewFTab;

    virtual void SetIcon(VxIcon icon);
    virtual VxIcon GetIcon();
    virtual void SetColor(VxColor color);
    virtual VxColor GetColor();
    virtual void SetClickProc(VxViewExecProc proc);
    virtual VxViewExecProc GetClickProc();
    virtual void SetClickData(void* data);
    virtual void* GetClickData();
    virtual void SetDoubleClickProc(VxViewExecProc proc);
    virtual VxViewExecProc GetDoubleClickProc();
    virtual void SetDoubleClickData(void* data);
    virtual void* GetDoubleClickData();
    virtual void SetRightClickProc(VxViewExecProc proc);
    virtual VxViewExecProc GetRightClickProc();
    virtual void SetRightClickData(void* data);
    virtual void* GetRightClickData();
    virtual void SetCursor(int32_t cursor);
};
