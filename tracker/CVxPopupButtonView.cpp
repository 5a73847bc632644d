#include "tracker/CVxPopupButtonView.h"

IVxPopupButtonViewFTab* CVxPopupButtonView::s_VxPopupButtonViewFTab = nullptr;

CVxPopupButtonView::CVxPopupButtonView(VxView parent, const char* name)
    : CVxBaseView(s_VxPopupButtonViewFTab ? s_VxPopupButtonViewFTab->Create(parent, name)
                                          : nullptr) {}

void CVxPopupButtonView::ClearList() {
    if (view && s_VxPopupButtonViewFTab)
        s_VxPopupButtonViewFTab->ClearList(view);
}

void CVxPopupButtonView::Append(const char* textUtf8) {
    if (view && s_VxPopupButtonViewFTab)
        s_VxPopupButtonViewFTab->Append(view, textUtf8);
}

void CVxPopupButtonView::AppendSeparator() {
    if (view && s_VxPopupButtonViewFTab)
        s_VxPopupButtonViewFTab->AppendSeparator(view);
}

int32_t CVxPopupButtonView::GetNumItems() {
    if (!view || !s_VxPopupButtonViewFTab)
        return 0;
    return s_VxPopupButtonViewFTab->GetNumItems(view);
}

void* CVxPopupButtonView::GetItemData(int32_t index) {
    if (!view || !s_VxPopupButtonViewFTab)
        return nullptr;
    return s_VxPopupButtonViewFTab->GetItemData(view, index);
}

void CVxPopupButtonView::SetItemData(int32_t index, void* data) {
    if (view && s_VxPopupButtonViewFTab)
        s_VxPopupButtonViewFTab->SetItemData(view, index, data);
}

void CVxPopupButtonView::SetSelection(int32_t index) {
    if (view && s_VxPopupButtonViewFTab)
        s_VxPopupButtonViewFTab->SetSelection(view, index);
}

int32_t CVxPopupButtonView::GetSelection() {
    if (!view || !s_VxPopupButtonViewFTab)
        return 0;
    return s_VxPopupButtonViewFTab->GetSelection(view);
}

std::string CVxPopupButtonView::GetTextOfSelection() {
    if (!view || !s_VxPopupButtonViewFTab)
        return {};
    return s_VxPopupButtonViewFTab->GetTextOfSelection(view);
}

void CVxPopupButtonView::SetExecuteProc(VxViewExecProc proc, void* data) {
    if (view && s_VxPopupButtonViewFTab)
        s_VxPopupButtonViewFTab->SetExecuteProc(view, proc, data);
}

void CVxPopupButtonView::DeleteItem(int32_t index) {
    if (view && s_VxPopupButtonViewFTab)
        s_VxPopupButtonViewFTab->DeleteItem(view, index);
}

void CVxPopupButtonView::SetDoFocusBounce(bool bounce) {
    if (view && s_VxPopupButtonViewFTab)
        s_VxPopupButtonViewFTab->SetDoFocusBounce(view, bounce);
}
