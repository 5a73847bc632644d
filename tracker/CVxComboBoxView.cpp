#include "tracker/CVxComboBoxView.h"

IVxComboBoxViewFTab* CVxComboBoxView::s_VxComboBoxViewFTab = nullptr;

CVxComboBoxView::CVxComboBoxView(VxView parent, const char* name)
    : CVxBaseView(s_VxComboBoxViewFTab ? s_VxComboBoxViewFTab->Create(parent, name) : nullptr) {}

void CVxComboBoxView::ClearList() {
    if (view && s_VxComboBoxViewFTab)
        s_VxComboBoxViewFTab->ClearList(view);
}

void CVxComboBoxView::Append(const char* textUtf8) {
    if (view && s_VxComboBoxViewFTab)
        s_VxComboBoxViewFTab->Append(view, textUtf8);
}

int32_t CVxComboBoxView::GetNumItems() {
    if (!view || !s_VxComboBoxViewFTab)
        return 0;
    return s_VxComboBoxViewFTab->GetNumItems(view);
}

void CVxComboBoxView::SetText(const char* textUtf8) {
    if (view && s_VxComboBoxViewFTab)
        s_VxComboBoxViewFTab->SetText(view, textUtf8);
}

std::string CVxComboBoxView::GetText() {
    if (!view || !s_VxComboBoxViewFTab)
        return {};
    return s_VxComboBoxViewFTab->GetText(view);
}

void CVxComboBoxView::SetExecuteProc(VxViewExecProc proc, void* data) {
    if (view && s_VxComboBoxViewFTab)
        s_VxComboBoxViewFTab->SetExecuteProc(view, proc, data);
}

void CVxComboBoxView::SetExecutePolicy(int32_t policy) {
    if (view && s_VxComboBoxViewFTab)
        s_VxComboBoxViewFTab->SetExecutePolicy(view, policy);
}

void CVxComboBoxView::SetSelection(int32_t index) {
    if (view && s_VxComboBoxViewFTab)
        s_VxComboBoxViewFTab->SetSelection(view, index);
}
