#include "tracker/CVxPropertyButtonView.h"

IVxPropertyButtonViewFTab* CVxPropertyButtonView::s_VxPropertyButtonViewFTab = nullptr;

CVxPropertyButtonView::CVxPropertyButtonView(VxView parent, const char* name)
    : CVxBaseView(s_VxPropertyButtonViewFTab ? s_VxPropertyButtonViewFTab->Create(parent, name)
                                             : nullptr) {}

void CVxPropertyButtonView::SetExecProc(VxViewExecProc proc, void* data) {
    if (view && s_VxPropertyButtonViewFTab)
        s_VxPropertyButtonViewFTab->SetExecProc(view, proc, data);
}

void CVxPropertyButtonView::MakeSeparator() {
    if (view && s_VxPropertyButtonViewFTab)
        s_VxPropertyButtonViewFTab->MakeSeparator(view);
}

QsBool CVxPropertyButtonView::IsSeparator() {
    if (!view || !s_VxPropertyButtonViewFTab)
        return 0;
    return s_VxPropertyButtonViewFTab->IsSeparator(view) ? 1 : 0;
}

void CVxPropertyButtonView::SetShouldMark(bool mark) {
    if (view && s_VxPropertyButtonViewFTab)
        s_VxPropertyButtonViewFTab->SetShouldMark(view, mark);
}

QsBool CVxPropertyButtonView::GetShouldMark() {
    if (!view || !s_VxPropertyButtonViewFTab)
        return 0;
    return s_VxPropertyButtonViewFTab->GetShouldMark(view) ? 1 : 0;
}

QsBool CVxPropertyButtonView::GetShouldEnable() {
    if (!view || !s_VxPropertyButtonViewFTab)
        return 0;
    return s_VxPropertyButtonViewFTab->GetShouldEnable(view) ? 1 : 0;
}

void CVxPropertyButtonView::SetComputeEnabledProc(VxViewTestProc proc, void* data) {
    if (view && s_VxPropertyButtonViewFTab)
        s_VxPropertyButtonViewFTab->SetComputeEnabledProc(view, proc, data);
}

void CVxPropertyButtonView::SetTextAttributes(const char* textUtf8, int32_t flags) {
    if (view && s_VxPropertyButtonViewFTab)
        s_VxPropertyButtonViewFTab->SetTextAttributes(view, textUtf8, flags);
}

void CVxPropertyButtonView::SetIcon(VxIcon icon) {
    if (view && s_VxPropertyButtonViewFTab)
        s_VxPropertyButtonViewFTab->SetIcon(view, icon);
}

void CVxPropertyButtonView::SetHelpText(const char* textUtf8) {
    if (view && s_VxPropertyButtonViewFTab)
        s_VxPropertyButtonViewFTab->SetHelpText(view, textUtf8);
}

VxMenu CVxPropertyButtonView::GetMenu() {
    if (!view || !s_VxPropertyButtonViewFTab)
        return nullptr;
    return s_VxPropertyButtonViewFTab->GetMenu(view);
}

void CVxPropertyButtonView::SetMenu(VxMenu menu) {
    if (view && s_VxPropertyButtonViewFTab)
        s_VxPropertyButtonViewFTab->SetMenu(view, menu);
}

void CVxPropertyButtonView::SetCompanionView(VxView companion) {
    if (view && s_VxPropertyButtonViewFTab)
        s_VxPropertyButtonViewFTab->SetCompanionView(view, companion);
}
