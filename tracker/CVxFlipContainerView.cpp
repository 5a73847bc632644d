#include "tracker/CVxFlipContainerView.h"

IVxFlipContainerViewFTab* CVxFlipContainerView::s_VxFlipContainerViewFTab = nullptr;

CVxFlipContainerView::CVxFlipContainerView(VxView parent, const char* name)
    : CVxContainerView(s_VxFlipContainerViewFTab ? s_VxFlipContainerViewFTab->Create(parent, name)
                                                 : nullptr) {}

void CVxFlipContainerView::SetSizePolicy(int32_t policy) {
    if (view && s_VxFlipContainerViewFTab)
        s_VxFlipContainerViewFTab->SetSizePolicy(view, policy);
}
