#include "tracker/CVxToolBarView.h"

IVxToolBarViewFTab* CVxToolBarView::s_VxToolBarViewFTab = nullptr;

CVxToolBarView::CVxToolBarView(VxView parent, const char* name)
    : CVxBaseView(s_VxToolBarViewFTab ? s_VxToolBarViewFTab->Create(parent, name) : nullptr) {}
