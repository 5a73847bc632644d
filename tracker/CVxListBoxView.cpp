#include "tracker/CVxListBoxView.h"

IVxListViewFTab* CVxListBoxView::s_VxListViewFTab = nullptr;

CVxListBoxView::CVxListBoxView(VxView parent, const char* name)
    : CVxBaseView(s_VxListViewFTab ? s_VxListViewFTab->Create(parent, name) : nullptr) {}

int32_t CVxListBoxView::CreateLabelColumn(const char* titleUtf8, int32_t width) {
    if (!view || !s_VxListViewFTab)
        return 0;
    return s_VxListViewFTab->CreateLabelColumn(view, titleUtf8, width);
}

int32_t CVxListBoxView::AddColumnBefore(int32_t column, const char* titleUtf8, int32_t width) {
    if (!view || !s_VxListViewFTab)
        return 0;
    return s_VxListViewFTab->AddColumnBefore(view, column, titleUtf8, width);
}

int32_t CVxListBoxView::AddColumnAfter(int32_t column, const char* titleUtf8, int32_t width) {
    if (!view || !s_VxListViewFTab)
        return 0;
    return s_VxListViewFTab->AddColumnAfter(view, column, titleUtf8, width);
}

int32_t CVxListBoxView::AddRow() {
    if (!view || !s_VxListViewFTab)
        return 0;
    return s_VxListViewFTab->AddRow(view);
}

void CVxListBoxView::RemoveRow(int32_t row) {
    if (view && s_VxListViewFTab)
        s_VxListViewFTab->RemoveRow(view, row);
}

void CVxListBoxView::RedrawRow(int32_t row) {
    if (view && s_VxListViewFTab)
        s_VxListViewFTab->RedrawRow(view, row);
}

std::vector<int32_t> CVxListBoxView::GetSelectedRows() {
    if (!view || !s_VxListViewFTab)
        return {};
    return s_VxListViewFTab->GetSelectedRows(view);
}

void CVxListBoxView::SetGetTextProc(VxListTextProc proc, void* data) {
    if (view && s_VxListViewFTab)
        s_VxListViewFTab->SetGetTextProc(view, proc, data);
}

void CVxListBoxView::SetGetIconProc(VxListIconProc proc, void* data) {
    if (view && s_VxListViewFTab)
        s_VxListViewFTab->SetGetIconProc(view, proc, data);
}

void CVxListBoxView::SetSelectionChangedProc(VxListRowProc proc, void* data) {
    if (view && s_VxListViewFTab)
        s_VxListViewFTab->SetSelectionChangedProc(view, proc, data);
}

void CVxListBoxView::SetRowDoubleClickProc(VxListRowProc proc, void* data) {
    if (view && s_VxListViewFTab)
        s_VxListViewFTab->SetRowDoubleClickProc(view, proc, data);
}
