#include "tracker/CVxTableContainerView.h"

IVxTableContainerViewFTab* CVxTableContainerView::s_VxTableContainerViewFTab = nullptr;

CVxTableContainerView::CVxTableContainerView(VxView parent, const char* name)
    : CVxContainerView(s_VxTableContainerViewFTab ? s_VxTableContainerViewFTab->Create(parent, name)
                                                  : nullptr) {}

void CVxTableContainerView::SetNumColumns(int32_t columns) {
    if (view && s_VxTableContainerViewFTab)
        s_VxTableContainerViewFTab->SetNumColumns(view, columns);
}

int32_t CVxTableContainerView::GetNumColumns() {
    if (!view || !s_VxTableContainerViewFTab)
        return 0;
    return s_VxTableContainerViewFTab->GetNumColumns(view);
}

void CVxTableContainerView::SetGutters(int32_t horizontal, int32_t vertical) {
    if (view && s_VxTableContainerViewFTab)
        s_VxTableContainerViewFTab->SetGutters(view, horizontal, vertical);
}
