#include "tracker/CVxTextEditView.h"

IVxTextEditViewFTab* CVxTextEditView::s_VxTextEditViewFTab = nullptr;

CVxTextEditView::CVxTextEditView(VxView parent, const char* name)
    : CVxBaseView(s_VxTextEditViewFTab ? s_VxTextEditViewFTab->Create(parent, name) : nullptr) {}

int32_t CVxTextEditView::GetSelectionAttribs() {
    if (!view || !s_VxTextEditViewFTab)
        return 0;
    return s_VxTextEditViewFTab->GetSelectionAttribs(view);
}

void CVxTextEditView::SetSelectionAttribs(int32_t flags) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetSelectionAttribs(view, flags);
}

void CVxTextEditView::SetRichText(const char* markupUtf8) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetRichText(view, markupUtf8);
}

void CVxTextEditView::ResetRichText() {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->ResetRichText(view);
}

std::string CVxTextEditView::GetRichText() {
    if (!view || !s_VxTextEditViewFTab)
        return {};
    return s_VxTextEditViewFTab->GetRichText(view);
}

void CVxTextEditView::SetText(const char* textUtf8) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetText(view, textUtf8);
}

std::string CVxTextEditView::GetText() {
    if (!view || !s_VxTextEditViewFTab)
        return {};
    return s_VxTextEditViewFTab->GetText(view);
}

void CVxTextEditView::SetFontFlags(int32_t flags) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetFontFlags(view, flags);
}

void CVxTextEditView::SetBackgroundColor(VxColor color) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetBackgroundColor(view, color);
}

void CVxTextEditView::SetBackgroundTint(VxColor color) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetBackgroundTint(view, color);
}

void CVxTextEditView::SetTextColor(VxColor color) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetTextColor(view, color);
}

void CVxTextEditView::SetChangeProc(VxTextEditProc proc) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetChangeProc(view, proc);
}

void CVxTextEditView::SetChangeData(void* data) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetChangeData(view, data);
}

void CVxTextEditView::SetCommitProc(VxTextEditProc proc) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetCommitProc(view, proc);
}

void CVxTextEditView::SetCommitData(void* data) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetCommitData(view, data);
}

void CVxTextEditView::SetCancelProc(VxTextEditProc proc) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetCancelProc(view, proc);
}

void CVxTextEditView::SetCancelData(void* data) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetCancelData(view, data);
}

void CVxTextEditView::SetTextLimit(int32_t limit) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetTextLimit(view, limit);
}

void CVxTextEditView::SetCenter(bool center) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetCenter(view, center);
}

void CVxTextEditView::SetReadOnly(bool readOnly) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetReadOnly(view, readOnly);
}

void CVxTextEditView::SetAutoResize(bool autoResize) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetAutoResize(view, autoResize);
}

void CVxTextEditView::SetCommitOnEnter(bool commit) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetCommitOnEnter(view, commit);
}

void CVxTextEditView::SetCommitOnDeactivate(bool commit) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetCommitOnDeactivate(view, commit);
}

void CVxTextEditView::SetHideOnDeactivate(bool hide) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetHideOnDeactivate(view, hide);
}

void CVxTextEditView::SetCancelOnEscape(bool cancel) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetCancelOnEscape(view, cancel);
}

void CVxTextEditView::SetCancelOnArrowExit(bool cancel) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetCancelOnArrowExit(view, cancel);
}

void CVxTextEditView::SetRevertOnCancel(bool revert) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetRevertOnCancel(view, revert);
}

void CVxTextEditView::SetMinimumWidth(int32_t width) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetMinimumWidth(view, width);
}

void CVxTextEditView::SelectAll() {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SelectAll(view);
}

void CVxTextEditView::SetContextMenuProc(VxTextEditMenuProc proc) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetContextMenuProc(view, proc);
}

void CVxTextEditView::SetContextMenuData(void* data) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetContextMenuData(view, data);
}

void CVxTextEditView::SetFocus() {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetFocus(view);
}

void CVxTextEditView::SetCanDoCopy(bool can) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetCanDoCopy(view, can);
}

void CVxTextEditView::PerformOp(int32_t op) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->PerformOp(view, op);
}

QsBool CVxTextEditView::CanPerformOp(int32_t op) {
    if (!view || !s_VxTextEditViewFTab)
        return 0;
    return s_VxTextEditViewFTab->CanPerformOp(view, op) ? 1 : 0;
}

void CVxTextEditView::SetCanBounceFocus(bool can) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetCanBounceFocus(view, can);
}

void CVxTextEditView::SetWantsFocusReturn(bool wants) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetWantsFocusReturn(view, wants);
}

void CVxTextEditView::SetFastSelect(bool fast) {
    if (view && s_VxTextEditViewFTab)
        s_VxTextEditViewFTab->SetFastSelect(view, fast);
}
