// Check boxes and radio buttons: a label, a state and an action.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// A check box.
class CVxCheckBoxView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxCheckBoxView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxCheckBoxView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxCheckBoxViewFTab* s_VxCheckBoxViewFTab;

    virtual void SetText(const char* textUtf8);
    virtual std::string GetText();
    virtual void SetState(int32_t state);
    virtual int32_t GetState();
    virtual void SetExecuteProc(VxViewExecProc proc, void* data);
};

/// A radio button.
class CVxRadioButtonView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxRadioButtonView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxRadioButtonView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxCheckBoxViewFTab* s_VxRadioButtonViewFTab;

    virtual void SetText(const char* textUtf8);
    virtual std::string GetText();
    virtual void SetState(int32_t state);
    virtual int32_t GetState();
    virtual void SetExecuteProc(VxViewExecProc proc, void* data);
};
