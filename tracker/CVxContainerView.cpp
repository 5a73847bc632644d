#include "tracker/CVxContainerView.h"

IVxContainerViewFTab* CVxContainerView::s_VxContainerViewFTab = nullptr;

CVxContainerView::CVxContainerView(VxView parent, const char* name)
    : CVxBaseView(s_VxContainerViewFTab ? s_VxContainerViewFTab->Create(parent, name) : nullptr) {}

void CVxContainerView::SetGlobalOffsets(int32_t offset) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetGlobalOffsets(view, offset);
}

void CVxContainerView::SetTopOffset(int32_t offset) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetTopOffset(view, offset);
}

void CVxContainerView::SetLeftOffset(int32_t offset) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetLeftOffset(view, offset);
}

void CVxContainerView::SetBottomOffset(int32_t offset) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetBottomOffset(view, offset);
}

void CVxContainerView::SetRightOffset(int32_t offset) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetRightOffset(view, offset);
}

void CVxContainerView::ResetOffsets() {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->ResetOffsets(view);
}

void CVxContainerView::SetHAlign(int32_t align) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetHAlign(view, align);
}

void CVxContainerView::SetVAlign(int32_t align) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetVAlign(view, align);
}

void CVxContainerView::ResetAlignments() {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->ResetAlignments(view);
}

QsBool CVxContainerView::HasBorder() {
    if (!view || !s_VxContainerViewFTab)
        return 0;
    return s_VxContainerViewFTab->HasBorder(view) ? 1 : 0;
}

VxColor CVxContainerView::GetBorderColor() {
    if (!view || !s_VxContainerViewFTab)
        return 0;
    return s_VxContainerViewFTab->GetBorderColor(view);
}

void CVxContainerView::SetBorderColor(VxColor color) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetBorderColor(view, color);
}

void CVxContainerView::SetBorderThicknesses(const VxRect& thicknesses) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetBorderThicknesses(view, thicknesses);
}

VxRect CVxContainerView::GetBorderThicknesses() {
    if (!view || !s_VxContainerViewFTab)
        return {};
    return s_VxContainerViewFTab->GetBorderThicknesses(view);
}

void CVxContainerView::ClearBorder() {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->ClearBorder(view);
}

void CVxContainerView::SetBackgroundBrush(VxColor color) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetBackgroundBrush(view, color);
}

void CVxContainerView::SetIgnoreChild(VxView child, bool ignore) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetIgnoreChild(view, child, ignore);
}

void CVxContainerView::SetForwardClicksToParent(bool forward) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetForwardClicksToParent(view, forward);
}

void CVxContainerView::SetExpandAndPadHorizontally(bool expand) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetExpandAndPadHorizontally(view, expand);
}

void CVxContainerView::SetExpandAndPadVertically(bool expand) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetExpandAndPadVertically(view, expand);
}

void CVxContainerView::SetCursor(int32_t cursor) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetCursor(view, cursor);
}

void CVxContainerView::SetFocus(VxView child) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetFocus(view, child);
}

void CVxContainerView::SetMinWidth(int32_t width) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetMinWidth(view, width);
}

void CVxContainerView::SetFramedView(VxView framed) {
    if (view && s_VxContainerViewFTab)
        s_VxContainerViewFTab->SetFramedView(view, framed);
}
