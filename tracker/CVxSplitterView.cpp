#include "tracker/CVxSplitterView.h"

IVxSplitterViewFTab* CVxSplitterView::s_VxSplitterViewFTab = nullptr;

CVxSplitterView::CVxSplitterView(VxView parent, const char* name, bool vertical)
    : CVxBaseView(s_VxSplitterViewFTab ? s_VxSplitterViewFTab->Create(parent, name, vertical)
                                       : nullptr) {}

void CVxSplitterView::SetTopView(VxView pane) {
    if (view && s_VxSplitterViewFTab)
        s_VxSplitterViewFTab->SetTopView(view, pane);
}

void CVxSplitterView::SetBottomView(VxView pane) {
    if (view && s_VxSplitterViewFTab)
        s_VxSplitterViewFTab->SetBottomView(view, pane);
}

void CVxSplitterView::SetLeftView(VxView pane) {
    if (view && s_VxSplitterViewFTab)
        s_VxSplitterViewFTab->SetLeftView(view, pane);
}

void CVxSplitterView::SetRightView(VxView pane) {
    if (view && s_VxSplitterViewFTab)
        s_VxSplitterViewFTab->SetRightView(view, pane);
}

void CVxSplitterView::SetTopLeftView(VxView pane) {
    if (view && s_VxSplitterViewFTab)
        s_VxSplitterViewFTab->SetTopLeftView(view, pane);
}

void CVxSplitterView::SetTopRightView(VxView pane) {
    if (view && s_VxSplitterViewFTab)
        s_VxSplitterViewFTab->SetTopRightView(view, pane);
}

void CVxSplitterView::SetBottomLeftView(VxView pane) {
    if (view && s_VxSplitterViewFTab)
        s_VxSplitterViewFTab->SetBottomLeftView(view, pane);
}

void CVxSplitterView::SetBottomRightView(VxView pane) {
    if (view && s_VxSplitterViewFTab)
        s_VxSplitterViewFTab->SetBottomRightView(view, pane);
}

void CVxSplitterView::SetOnly(int32_t pane) {
    if (view && s_VxSplitterViewFTab)
        s_VxSplitterViewFTab->SetOnly(view, pane);
}

void CVxSplitterView::SetHorizontalOpenToSize(int32_t size) {
    if (view && s_VxSplitterViewFTab)
        s_VxSplitterViewFTab->SetHorizontalOpenToSize(view, size);
}

void CVxSplitterView::SetVerticalOpenToSize(int32_t size) {
    if (view && s_VxSplitterViewFTab)
        s_VxSplitterViewFTab->SetVerticalOpenToSize(view, size);
}

int32_t CVxSplitterView::GetHorizontalOpenToSize() {
    if (!view || !s_VxSplitterViewFTab)
        return 0;
    return s_VxSplitterViewFTab->GetHorizontalOpenToSize(view);
}

int32_t CVxSplitterView::GetVerticalOpenToSize() {
    if (!view || !s_VxSplitterViewFTab)
        return 0;
    return s_VxSplitterViewFTab->GetVerticalOpenToSize(view);
}
