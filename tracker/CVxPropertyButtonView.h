// A tool-bar button: an action, an enabled test, a label, an icon, a help text and a menu.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// A tool-bar button: an action, an enabled test, a label, an icon, a help text and a menu.
class CVxPropertyButtonView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxPropertyButtonView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxPropertyButtonView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxPropertyButtonViewFTab* s_VxPropertyButtonViewFTab;

    virtual void SetExecProc(VxViewExecProc proc, void* data);
    virtual void MakeSeparator();
    virtual QsBool IsSeparator();
    virtual void SetShouldMark(bool mark);
    virtual QsBool GetShouldMark();
    virtual QsBool GetShouldEnable();
    virtual void SetComputeEnabledProc(VxViewTestProc proc, void* data);
    virtual void SetTextAttributes(const char* textUtf8, int32_t flags);
    virtual void SetIcon(VxIcon icon);
    virtual void SetHelpText(const char* textUtf8);
    virtual VxMenu GetMenu();
    virtual void SetMenu(VxMenu menu);
    virtual void SetCompanionView(VxView companion);
};
