#include "tracker/CVxSliderView.h"

IVxSliderViewFTab* CVxSliderView::s_VxSliderViewFTab = nullptr;

CVxSliderView::CVxSliderView(VxView parent, const char* name)
    : CVxBaseView(s_VxSliderViewFTab ? s_VxSliderViewFTab->Create(parent, name) : nullptr) {}

void CVxSliderView::SetProperties(const VxRangeProperties& properties) {
    if (view && s_VxSliderViewFTab)
        s_VxSliderViewFTab->SetProperties(view, properties);
}

void CVxSliderView::SetPos(int32_t position) {
    if (view && s_VxSliderViewFTab)
        s_VxSliderViewFTab->SetPos(view, position);
}

VxRangeProperties CVxSliderView::GetProperties() {
    if (!view || !s_VxSliderViewFTab)
        return {};
    return s_VxSliderViewFTab->GetProperties(view);
}

IVxSliderViewFTab* CVxProgressBarView::s_VxProgressBarViewFTab = nullptr;

CVxProgressBarView::CVxProgressBarView(VxView parent, const char* name)
    : CVxBaseView(s_VxProgressBarViewFTab ? s_VxProgressBarViewFTab->Create(parent, name)
                                          : nullptr) {}

void CVxProgressBarView::SetProperties(const VxRangeProperties& properties) {
    if (view && s_VxProgressBarViewFTab)
        s_VxProgressBarViewFTab->SetProperties(view, properties);
}

void CVxProgressBarView::SetPos(int32_t position) {
    if (view && s_VxProgressBarViewFTab)
        s_VxProgressBarViewFTab->SetPos(view, position);
}

VxRangeProperties CVxProgressBarView::GetProperties() {
    if (!view || !s_VxProgressBarViewFTab)
        return {};
    return s_VxProgressBarViewFTab->GetProperties(view);
}
