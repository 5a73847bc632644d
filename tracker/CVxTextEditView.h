// A field of editable text, plain or rich.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <string>
#include <vector>

/// A field of editable text, plain or rich.
class CVxTextEditView : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxTextEditView(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new view inside parent.
    CVxTextEditView(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxTextEditViewFTab* s_VxTextEditViewFTab;

    virtual int32_t GetSelectionAttribs();
    virtual void SetSelectionAttribs(int32_t flags);
    virtual void SetRichText(const char* markupUtf8);
    virtual void ResetRichText();
    virtual std::string GetRichText();
    virtual void SetText(const char* textUtf8);
    virtual std::string GetText();
    virtual void SetFontFlags(int32_t flags);
    virtual void SetBackgroundColor(VxColor color);
    virtual void SetBackgroundTint(VxColor color);
    virtual void SetTextColor(VxColor color);
    virtual void SetChangeProc(VxTextEditProc proc);
    virtual void SetChangeData(void* data);
    virtual void SetCommitProc(VxTextEditProc proc);
    virtual void SetCommitData(void* data);
    virtual void SetCancelProc(VxTextEditProc proc);
    virtual void SetCancelData(void* data);
    virtual void SetTextLimit(int32_t limit);
    virtual void SetCenter(bool center);
    virtual void SetReadOnly(bool readOnly);
    virtual void SetAutoResize(bool autoResize);
    virtual void SetCommitOnEnter(bool commit);
    virtual void SetCommitOnDeactivate(bool commit);
    virtual void SetHideOnDeactivate(bool hide);
    virtual void SetCancelOnEscape(bool cancel);
    virtual void SetCancelOnArrowExit(bool cancel);
    virtual void SetRevertOnCancel(bool revert);
    virtual void SetMinimumWidth(int32_t width);
    virtual void SelectAll();
    virtual void SetContextMenuProc(VxTextEditMenuProc proc);
    virtual void SetContextMenuData(void* data);
    virtual void SetFocus();
    virtual void SetCanDoCopy(bool can);
    virtual void PerformOp(int32_t op);
    virtual QsBool CanPerformOp(int32_t op);
    virtual void SetCanBounceFocus(bool can);
    virtual void SetWantsFocusReturn(bool wants);
    virtual void SetFastSelect(bool fast);
};
