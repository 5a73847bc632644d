#include "tracker/CVxStaticTextView.h"

IVxStaticTextViewFTab* CVxStaticTextView::s_VxStaticTextViewFTab = nullptr;

CVxStaticTextView::CVxStaticTextView(VxView parent, const char* name)
    : CVxBaseView(s_VxStaticTextViewFTab ? s_VxStaticTextViewFTab->Create(parent, name) : nullptr) {
}

void CVxStaticTextView::SetText(const char* textUtf8) {
    if (view && s_VxStaticTextViewFTab)
        s_VxStaticTextViewFTab->SetText(view, textUtf8);
}

std::string CVxStaticTextView::GetText() {
    if (!view || !s_VxStaticTextViewFTab)
        return {};
    return s_VxStaticTextViewFTab->GetText(view);
}

void CVxStaticTextView::SetFontFlags(int32_t flags) {
    if (view && s_VxStaticTextViewFTab)
        s_VxStaticTextViewFTab->SetFontFlags(view, flags);
}

void CVxStaticTextView::SetClickProc(VxViewExecProc proc) {
    if (view && s_VxStaticTextViewFTab)
        s_VxStaticTextViewFTab->SetClickProc(view, proc);
}

VxViewExecProc CVxStaticTextView::GetClickProc() {
    if (!view || !s_VxStaticTextViewFTab)
        return nullptr;
    return s_VxStaticTextViewFTab->GetClickProc(view);
}

void CVxStaticTextView::SetClickData(void* data) {
    if (view && s_VxStaticTextViewFTab)
        s_VxStaticTextViewFTab->SetClickData(view, data);
}

void* CVxStaticTextView::GetClickData() {
    if (!view || !s_VxStaticTextViewFTab)
        return nullptr;
    return s_VxStaticTextViewFTab->GetClickData(view);
}

void CVxStaticTextView::SetDoubleClickProc(VxViewExecProc proc) {
    if (view && s_VxStaticTextViewFTab)
        s_VxStaticTextViewFTab->SetDoubleClickProc(view, proc);
}

VxViewExecProc CVxStaticTextView::GetDoubleClickProc() {
    if (!view || !s_VxStaticTextViewFTab)
        return nullptr;
    return s_VxStaticTextViewFTab->GetDoubleClickProc(view);
}

void CVxStaticTextView::SetDoubleClickData(void* data) {
    if (view && s_VxStaticTextViewFTab)
        s_VxStaticTextViewFTab->SetDoubleClickData(view, data);
}

void* CVxStaticTextView::GetDoubleClickData() {
    if (!view || !s_VxStaticTextViewFTab)
        return nullptr;
    return s_VxStaticTextViewFTab->GetDoubleClickData(view);
}

void CVxStaticTextView::SetRightClickProc(VxViewExecProc proc) {
    if (view && s_VxStaticTextViewFTab)
        s_VxStaticTextViewFTab->SetRightClickProc(view, proc);
}

VxViewExecProc CVxStaticTextView::GetRightClickProc() {
    if (!view || !s_VxStaticTextViewFTab)
        return nullptr;
    return s_VxStaticTextViewFTab->GetRightClickProc(view);
}

void CVxStaticTextView::SetRightClickData(void* data) {
    if (view && s_VxStaticTextViewFTab)
        s_VxStaticTextViewFTab->SetRightClickData(view, data);
}

void* CVxStaticTextView::GetRightClickData() {
    if (!view || !s_VxStaticTextViewFTab)
        return nullptr;
    return s_VxStaticTextViewFTab->GetRightClickData(view);
}

void CVxStaticTextView::SetCursor(int32_t cursor) {
    if (view && s_VxStaticTextViewFTab)
        s_VxStaticTextViewFTab->SetCursor(view, cursor);
}

void CVxStaticTextView::SetTextColor(VxColor color) {
    if (view && s_VxStaticTextViewFTab)
        s_VxStaticTextViewFTab->SetTextColor(view, color);
}
