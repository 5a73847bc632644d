#include "tracker/CVxStaticIconView.h"

IVxStaticIconViewFTab* CVxStaticIconView::s_VxStaticIconViewFTab = nullptr;

CVxStaticIconView::CVxStaticIconView(VxView parent, const char* name)
    : CVxBaseView(s_VxStaticIconViewFTab ? s_VxStaticIconViewFTab->Create(parent, name) : nullptr) {
}

void CVxStaticIconView::SetIcon(VxIcon icon) {
    if (view && s_VxStaticIconViewFTab)
        s_VxStaticIconViewFTab->SetIcon(view, icon);
}

VxIcon CVxStaticIconView::GetIcon() {
    if (!view || !s_VxStaticIconViewFTab)
        return nullptr;
    return s_VxStaticIconViewFTab->GetIcon(view);
}

void CVxStaticIconView::SetColor(VxColor color) {
    if (view && s_VxStaticIconViewFTab)
        s_VxStaticIconViewFTab->SetColor(view, color);
}

VxColor CVxStaticIconView::GetColor() {
    if (!view || !s_VxStaticIconViewFTab)
        return 0;
    return s_VxStaticIconViewFTab->GetColor(view);
}

void CVxStaticIconView::SetClickProc(VxViewExecProc proc) {
    if (view && s_VxStaticIconViewFTab)
        s_VxStaticIconViewFTab->SetClickProc(view, proc);
}

VxViewExecProc CVxStaticIconView::GetClickProc() {
    if (!view || !s_VxStaticIconViewFTab)
        return nullptr;
    return s_VxStaticIconViewFTab->GetClickProc(view);
}

void CVxStaticIconView::SetClickData(void* data) {
    if (view && s_VxStaticIconViewFTab)
        s_VxStaticIconViewFTab->SetClickData(view, data);
}

void* CVxStaticIconView::GetClickData() {
    if (!view || !s_VxStaticIconViewFTab)
        return nullptr;
    return s_VxStaticIconViewFTab->GetClickData(view);
}

void CVxStaticIconView::SetDoubleClickProc(VxViewExecProc proc) {
    if (view && s_VxStaticIconViewFTab)
        s_VxStaticIconViewFTab->SetDoubleClickProc(view, proc);
}

VxViewExecProc CVxStaticIconView::GetDoubleClickProc() {
    if (!view || !s_VxStaticIconViewFTab)
        return nullptr;
    return s_VxStaticIconViewFTab->GetDoubleClickProc(view);
}

void CVxStaticIconView::SetDoubleClickData(void* data) {
    if (view && s_VxStaticIconViewFTab)
        s_VxStaticIconViewFTab->SetDoubleClickData(view, data);
}

void* CVxStaticIconView::GetDoubleClickData() {
    if (!view || !s_VxStaticIconViewFTab)
        return nullptr;
    return s_VxStaticIconViewFTab->GetDoubleClickData(view);
}

void CVxStaticIconView::SetRightClickProc(VxViewExecProc proc) {
    if (view && s_VxStaticIconViewFTab)
        s_VxStaticIconViewFTab->SetRightClickProc(view, proc);
}

VxViewExecProc CVxStaticIconView::GetRightClickProc() {
    if (!view || !s_VxStaticIconViewFTab)
        return nullptr;
    return s_VxStaticIconViewFTab->GetRightClickProc(view);
}

void CVxStaticIconView::SetRightClickData(void* data) {
    if (view && s_VxStaticIconViewFTab)
        s_VxStaticIconViewFTab->SetRightClickData(view, data);
}

void* CVxStaticIconView::GetRightClickData() {
    if (!view || !s_VxStaticIconViewFTab)
        return nullptr;
    return s_VxStaticIconViewFTab->GetRightClickData(view);
}

void CVxStaticIconView::SetCursor(int32_t cursor) {
    if (view && s_VxStaticIconViewFTab)
        s_VxStaticIconViewFTab->SetCursor(view, cursor);
}
