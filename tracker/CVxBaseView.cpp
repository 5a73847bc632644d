#include "tracker/CVxBaseView.h"

IVxBaseViewFTab* CVxBaseView::s_VxBaseViewFTab = nullptr;

CVxBaseView::CVxBaseView(VxView existing) : view(existing) {
    if (view && s_VxBaseViewFTab)
        s_VxBaseViewFTab->AddDeathProc(view, MarkDeadCallback, this);
}

CVxBaseView::~CVxBaseView() {
    if (view && s_VxBaseViewFTab)
        s_VxBaseViewFTab->RemoveDeathProc(view, MarkDeadCallback, this);
}

void CVxBaseView::MarkDeadCallback(VxView dying, void* data) {
    auto* self = static_cast<CVxBaseView*>(data);
    if (!self || !dying || dying != self->view)
        return;
    if (s_VxBaseViewFTab)
        s_VxBaseViewFTab->RemoveDeathProc(dying, MarkDeadCallback, self);
    self->view = nullptr;
}

void CVxBaseView::InvalidateRect(const VxRect* rect) {
    if (view && s_VxBaseViewFTab)
        s_VxBaseViewFTab->InvalidateRect(view, rect);
}

VxRect CVxBaseView::GetParentRect() {
    if (!view || !s_VxBaseViewFTab)
        return {};
    return s_VxBaseViewFTab->GetParentRect(view);
}

VxRect CVxBaseView::GetAperture() {
    if (!view || !s_VxBaseViewFTab)
        return {};
    return s_VxBaseViewFTab->GetAperture(view);
}

VxRect CVxBaseView::GetClientRect() {
    if (!view || !s_VxBaseViewFTab)
        return {};
    return s_VxBaseViewFTab->GetClientRect(view);
}

void CVxBaseView::Show(bool show) {
    if (view && s_VxBaseViewFTab)
        s_VxBaseViewFTab->Show(view, show);
}

QsBool CVxBaseView::IsSetVisible() {
    if (!view || !s_VxBaseViewFTab)
        return 0;
    return s_VxBaseViewFTab->IsSetVisible(view) ? 1 : 0;
}

QsBool CVxBaseView::IsVisible() {
    if (!view || !s_VxBaseViewFTab)
        return 0;
    return s_VxBaseViewFTab->IsVisible(view) ? 1 : 0;
}

void CVxBaseView::Enable(bool enable) {
    if (view && s_VxBaseViewFTab)
        s_VxBaseViewFTab->Enable(view, enable);
}

QsBool CVxBaseView::IsEnabled() {
    if (!view || !s_VxBaseViewFTab)
        return 0;
    return s_VxBaseViewFTab->IsEnabled(view) ? 1 : 0;
}

QsBool CVxBaseView::IsSetEnabled() {
    if (!view || !s_VxBaseViewFTab)
        return 0;
    return s_VxBaseViewFTab->IsSetEnabled(view) ? 1 : 0;
}

void CVxBaseView::Select(bool select) {
    if (view && s_VxBaseViewFTab)
        s_VxBaseViewFTab->Select(view, select);
}

QsBool CVxBaseView::IsSelected() {
    if (!view || !s_VxBaseViewFTab)
        return 0;
    return s_VxBaseViewFTab->IsSelected(view) ? 1 : 0;
}

void CVxBaseView::ForwardClickToParent(bool forward) {
    if (view && s_VxBaseViewFTab)
        s_VxBaseViewFTab->ForwardClickToParent(view, forward);
}

void CVxBaseView::ForwardRightClickToParent(bool forward) {
    if (view && s_VxBaseViewFTab)
        s_VxBaseViewFTab->ForwardRightClickToParent(view, forward);
}

void CVxBaseView::SetWantsHiddenDisabledScrollbars(bool wants) {
    if (view && s_VxBaseViewFTab)
        s_VxBaseViewFTab->SetWantsHiddenDisabledScrollbars(view, wants);
}

void CVxBaseView::Reparent(VxView newParent) {
    if (view && s_VxBaseViewFTab)
        s_VxBaseViewFTab->Reparent(view, newParent);
}

void CVxBaseView::SetScrollAmounts(int32_t horizontal, int32_t vertical) {
    if (view && s_VxBaseViewFTab)
        s_VxBaseViewFTab->SetScrollAmounts(view, horizontal, vertical);
}

void CVxBaseView::ScrollTo(int32_t x, int32_t y) {
    if (view && s_VxBaseViewFTab)
        s_VxBaseViewFTab->ScrollTo(view, x, y);
}

VxView CVxBaseView::GetParent() {
    if (!view || !s_VxBaseViewFTab)
        return nullptr;
    return s_VxBaseViewFTab->GetParent(view);
}

QsBool CVxBaseView::HasFocus() {
    if (!view || !s_VxBaseViewFTab)
        return 0;
    return s_VxBaseViewFTab->HasFocus(view) ? 1 : 0;
}

void CVxBaseView::SetFocus() {
    if (view && s_VxBaseViewFTab)
        s_VxBaseViewFTab->SetFocus(view);
}
