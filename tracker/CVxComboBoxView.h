// A text field with a list of choices.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// A text field with a list of choices.
class CVxComboBoxView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxComboBoxView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxComboBoxView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxComboBoxViewFTab* s_VxComboBoxViewFTab;

    virtual void ClearList();
    virtual void Append(const char* textUtf8);
    virtual int32_t GetNumItems();
    virtual void SetText(const char* textUtf8);
    virtual std::string GetText();
    virtual void SetExecuteProc(VxViewExecProc proc, void* data);
    virtual void SetExecutePolicy(int32_t policy);
    virtual void SetSelection(int32_t index);
};
