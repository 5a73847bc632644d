#include "tracker/CVxGapView.h"

IVxGapViewFTab* CVxGapView::s_VxGapViewFTab = nullptr;

CVxGapView::CVxGapView(VxView parent, const char* name, int32_t width, int32_t height)
    : CVxBaseView(s_VxGapViewFTab ? s_VxGapViewFTab->Create(parent, name, width, height)
                                  : nullptr) {}
