// A push button of the platform.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// A push button of the platform.
class CVxPlatformPushButtonView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxPlatformPushButtonView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxPlatformPushButtonView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxPlatformPushButtonViewFTab* s_VxPlatformPushButtonViewFTab;

    virtual void SetText(const char* textUtf8);
    virtual std::string GetText();
    virtual void SetExeProc(VxViewExecProc proc);
    virtual VxViewExecProc GetExeProc();
    virtual void SetExeData(void* data);
    virtual void* GetExeData();
};
