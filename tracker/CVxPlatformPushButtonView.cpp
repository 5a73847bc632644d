#include "tracker/CVxPlatformPushButtonView.h"

IVxPlatformPushButtonViewFTab* CVxPlatformPushButtonView::s_VxPlatformPushButtonViewFTab = nullptr;

CVxPlatformPushButtonView::CVxPlatformPushButtonView(VxView parent, const char* name)
    : CVxBaseView(s_VxPlatformPushButtonViewFTab
                      ? s_VxPlatformPushButtonViewFTab->Create(parent, name)
                      : nullptr) {}

void CVxPlatformPushButtonView::SetText(const char* textUtf8) {
    if (view && s_VxPlatformPushButtonViewFTab)
        s_VxPlatformPushButtonViewFTab->SetText(view, textUtf8);
}

std::string CVxPlatformPushButtonView::GetText() {
    if (!view || !s_VxPlatformPushButtonViewFTab)
        return {};
    return s_VxPlatformPushButtonViewFTab->GetText(view);
}

void CVxPlatformPushButtonView::SetExeProc(VxViewExecProc proc) {
    if (view && s_VxPlatformPushButtonViewFTab)
        s_VxPlatformPushButtonViewFTab->SetExeProc(view, proc);
}

VxViewExecProc CVxPlatformPushButtonView::GetExeProc() {
    if (!view || !s_VxPlatformPushButtonViewFTab)
        return nullptr;
    return s_VxPlatformPushButtonViewFTab->GetExeProc(view);
}

void CVxPlatformPushButtonView::SetExeData(void* data) {
    if (view && s_VxPlatformPushButtonViewFTab)
        s_VxPlatformPushButtonViewFTab->SetExeData(view, data);
}

void* CVxPlatformPushButtonView::GetExeData() {
    if (!view || !s_VxPlatformPushButtonViewFTab)
        return nullptr;
    return s_VxPlatformPushButtonViewFTab->GetExeData(view);
}
