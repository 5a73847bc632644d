#include "tracker/CVxScrollView.h"

IVxScrollViewFTab* CVxScrollView::s_VxScrollViewFTab = nullptr;

CVxScrollView::CVxScrollView(VxView parent, const char* name)
    : CVxBaseView(s_VxScrollViewFTab ? s_VxScrollViewFTab->Create(parent, name) : nullptr) {}

void CVxScrollView::SetShowHorz(bool show) {
    if (view && s_VxScrollViewFTab)
        s_VxScrollViewFTab->SetShowHorz(view, show);
}

void CVxScrollView::SetShowVert(bool show) {
    if (view && s_VxScrollViewFTab)
        s_VxScrollViewFTab->SetShowVert(view, show);
}

void CVxScrollView::SetDrawable(VxView drawable) {
    if (view && s_VxScrollViewFTab)
        s_VxScrollViewFTab->SetDrawable(view, drawable);
}
