#include "tracker/CVxCheckBoxView.h"

IVxCheckBoxViewFTab* CVxCheckBoxView::s_VxCheckBoxViewFTab = nullptr;

CVxCheckBoxView::CVxCheckBoxView(VxView parent, const char* name)
    : CVxBaseView(s_VxCheckBoxViewFTab ? s_VxCheckBoxViewFTab->Create(parent, name) : nullptr) {}

void CVxCheckBoxView::SetText(const char* textUtf8) {
    if (view && s_VxCheckBoxViewFTab)
        s_VxCheckBoxViewFTab->SetText(view, textUtf8);
}

std::string CVxCheckBoxView::GetText() {
    if (!view || !s_VxCheckBoxViewFTab)
        return {};
    return s_VxCheckBoxViewFTab->GetText(view);
}

void CVxCheckBoxView::SetState(int32_t state) {
    if (view && s_VxCheckBoxViewFTab)
        s_VxCheckBoxViewFTab->SetState(view, state);
}

int32_t CVxCheckBoxView::GetState() {
    if (!view || !s_VxCheckBoxViewFTab)
        return 0;
    return s_VxCheckBoxViewFTab->GetState(view);
}

void CVxCheckBoxView::SetExecuteProc(VxViewExecProc proc, void* data) {
    if (view && s_VxCheckBoxViewFTab)
        s_VxCheckBoxViewFTab->SetExecuteProc(view, proc, data);
}

IVxCheckBoxViewFTab* CVxRadioButtonView::s_VxRadioButtonViewFTab = nullptr;

CVxRadioButtonView::CVxRadioButtonView(VxView parent, const char* name)
    : CVxBaseView(s_VxRadioButtonViewFTab ? s_VxRadioButtonViewFTab->Create(parent, name)
                                          : nullptr) {}

void CVxRadioButtonView::SetText(const char* textUtf8) {
    if (view && s_VxRadioButtonViewFTab)
        s_VxRadioButtonViewFTab->SetText(view, textUtf8);
}

std::string CVxRadioButtonView::GetText() {
    if (!view || !s_VxRadioButtonViewFTab)
        return {};
    return s_VxRadioButtonViewFTab->GetText(view);
}

void CVxRadioButtonView::SetState(int32_t state) {
    if (view && s_VxRadioButtonViewFTab)
        s_VxRadioButtonViewFTab->SetState(view, state);
}

int32_t CVxRadioButtonView::GetState() {
    if (!view || !s_VxRadioButtonViewFTab)
        return 0;
    return s_VxRadioButtonViewFTab->GetState(view);
}

void CVxRadioButtonView::SetExecuteProc(VxViewExecProc proc, void* data) {
    if (view && s_VxRadioButtonViewFTab)
        s_VxRadioButtonViewFTab->SetExecuteProc(view, proc, data);
}
