// A button that pops up a list of choices, each with client data.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// A button that pops up a list of choices, each with client data.
class CVxPopupButtonView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxPopupButtonView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxPopupButtonView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxPopupButtonViewFTab* s_VxPopupButtonViewFTab;

    virtual void ClearList();
    virtual void Append(const char* textUtf8);
    virtual void AppendSeparator();
    virtual int32_t GetNumItems();
    virtual void* GetItemData(int32_t index);
    virtual void SetItemData(int32_t index, void* data);
    virtual void SetSelection(int32_t index);
    virtual int32_t GetSelection();
    virtual std::string GetTextOfSelection();
    virtual void SetExecuteProc(VxViewExecProc proc, void* data);
    virtual void DeleteItem(int32_t index);
    virtual void SetDoFocusBounce(bool bounce);
};
