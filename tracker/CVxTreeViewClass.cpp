#include "tracker/CVxTreeViewClass.h"

IVxTreeViewClassFTab* CVxTreeViewClass::s_VxTreeViewClassFTab = nullptr;

CVxTreeViewClass::CVxTreeViewClass(VxView parent, const char* name)
    : CVxBaseView(s_VxTreeViewClassFTab ? s_VxTreeViewClassFTab->Create(parent, name) : nullptr) {}

VxTreeItem CVxTreeViewClass::GetRootTreeItemView() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetRootTreeItemView(view);
}

void CVxTreeViewClass::EnumSelectedItems(VxTreeEnumProc proc, void* data) {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->EnumSelectedItems(view, proc, data);
}

void CVxTreeViewClass::FreeItem(VxTreeItem item) {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->FreeItem(view, item);
}

VxTreeItem CVxTreeViewClass::GetItemAtIndex(int32_t index) {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetItemAtIndex(view, index);
}

int32_t CVxTreeViewClass::GetItemIndex(VxTreeItem item) {
    if (!view || !s_VxTreeViewClassFTab)
        return 0;
    return s_VxTreeViewClassFTab->GetItemIndex(view, item);
}

void CVxTreeViewClass::Suspend() {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->Suspend(view);
}

void CVxTreeViewClass::Resume() {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->Resume(view);
}

VxTreeItem CVxTreeViewClass::CreateItem(void* itemData) {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->CreateItem(view, itemData);
}

void CVxTreeViewClass::InsertItem(VxTreeItem item, VxTreeItem parent, int32_t position) {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->InsertItem(view, item, parent, position);
}

void CVxTreeViewClass::InsertCustomItem(VxTreeItem item, VxTreeItem parent, int32_t position,
                                        int32_t height) {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->InsertCustomItem(view, item, parent, position, height);
}

void* CVxTreeViewClass::GetItem(VxTreeItem item) {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetItem(view, item);
}

int32_t CVxTreeViewClass::NumOpenItems() {
    if (!view || !s_VxTreeViewClassFTab)
        return 0;
    return s_VxTreeViewClassFTab->NumOpenItems(view);
}

VxTreeItem CVxTreeViewClass::GetOpenItem(int32_t index) {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetOpenItem(view, index);
}

int32_t CVxTreeViewClass::GetOpenIndex(VxTreeItem item) {
    if (!view || !s_VxTreeViewClassFTab)
        return 0;
    return s_VxTreeViewClassFTab->GetOpenIndex(view, item);
}

void CVxTreeViewClass::GetVisibleIndexRange(int32_t* first, int32_t* last) {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->GetVisibleIndexRange(view, first, last);
}

VxTreeItem CVxTreeViewClass::GetFirstSelected() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetFirstSelected(view);
}

int32_t CVxTreeViewClass::GetSelectedItemCount() {
    if (!view || !s_VxTreeViewClassFTab)
        return 0;
    return s_VxTreeViewClassFTab->GetSelectedItemCount(view);
}

std::vector<VxTreeItem> CVxTreeViewClass::GetSelection() {
    if (!view || !s_VxTreeViewClassFTab)
        return {};
    return s_VxTreeViewClassFTab->GetSelection(view);
}

void CVxTreeViewClass::EnumItems(VxTreeItem parent, VxTreeEnumProc proc, void* data) {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->EnumItems(view, parent, proc, data);
}

VxColor CVxTreeViewClass::GetItemColor(VxTreeItem item) {
    if (!view || !s_VxTreeViewClassFTab)
        return 0;
    return s_VxTreeViewClassFTab->GetItemColor(view, item);
}

void CVxTreeViewClass::RemoveAllItems() {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->RemoveAllItems(view);
}

void CVxTreeViewClass::RemoveItem(VxTreeItem item) {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->RemoveItem(view, item);
}

void CVxTreeViewClass::OpenItem(VxTreeItem item, bool open) {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->OpenItem(view, item, open);
}

void CVxTreeViewClass::OpenAllItems(bool open) {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->OpenAllItems(view, open);
}

QsBool CVxTreeViewClass::CanSelectItem(VxTreeItem item) {
    if (!view || !s_VxTreeViewClassFTab)
        return 0;
    return s_VxTreeViewClassFTab->CanSelectItem(view, item) ? 1 : 0;
}

void CVxTreeViewClass::SelectItem(VxTreeItem item, bool select) {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->SelectItem(view, item, select);
}

void CVxTreeViewClass::MoveSelectedItems(VxTreeItem target, bool before) {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->MoveSelectedItems(view, target, before);
}

void CVxTreeViewClass::DeleteSelectedItems() {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->DeleteSelectedItems(view);
}

int32_t CVxTreeViewClass::GetItemCount(VxTreeItem parent) {
    if (!view || !s_VxTreeViewClassFTab)
        return 0;
    return s_VxTreeViewClassFTab->GetItemCount(view, parent);
}

void CVxTreeViewClass::UpdateHighlights() {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->UpdateHighlights(view);
}

void CVxTreeViewClass::ForceResize() {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->ForceResize(view);
}

void CVxTreeViewClass::ClickItem(VxTreeItem item) {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->ClickItem(view, item);
}

void CVxTreeViewClass::DeselectAll() {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->DeselectAll(view);
}

VxTreeItem CVxTreeViewClass::GetItemParent(VxTreeItem item) {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetItemParent(view, item);
}

QsBool CVxTreeViewClass::IsItemOpen(VxTreeItem item) {
    if (!view || !s_VxTreeViewClassFTab)
        return 0;
    return s_VxTreeViewClassFTab->IsItemOpen(view, item) ? 1 : 0;
}

void CVxTreeViewClass::InvalidateItem(VxTreeItem item) {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->InvalidateItem(view, item);
}

void CVxTreeViewClass::MoveItem(VxTreeItem item, VxTreeItem parent, int32_t position) {
    if (view && s_VxTreeViewClassFTab)
        s_VxTreeViewClassFTab->MoveItem(view, item, parent, position);
}

void CVxTreeViewClass::SetItemTextProc(VxTreeProcs::TextProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.itemText = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::TextProc CVxTreeViewClass::GetItemTextProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).itemText;
}

void CVxTreeViewClass::SetItemIconProc(VxTreeProcs::IconProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.itemIcon = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::IconProc CVxTreeViewClass::GetItemIconProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).itemIcon;
}

void CVxTreeViewClass::SetContextMenuProc(VxTreeProcs::MenuProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.contextMenu = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::MenuProc CVxTreeViewClass::GetContextMenuProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).contextMenu;
}

void CVxTreeViewClass::SetOpenItemProc(VxTreeProcs::FlagProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.openItem = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::FlagProc CVxTreeViewClass::GetOpenItemProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).openItem;
}

void CVxTreeViewClass::SetSelectItemProc(VxTreeProcs::FlagProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.selectItem = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::FlagProc CVxTreeViewClass::GetSelectItemProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).selectItem;
}

void CVxTreeViewClass::SetCanSelectItemProc(VxTreeProcs::TestProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.canSelectItem = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::TestProc CVxTreeViewClass::GetCanSelectItemProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).canSelectItem;
}

void CVxTreeViewClass::SetItemColorProc(VxTreeProcs::IntProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.itemColor = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::IntProc CVxTreeViewClass::GetItemColorProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).itemColor;
}

void CVxTreeViewClass::SetItemStyleProc(VxTreeProcs::IntProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.itemStyle = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::IntProc CVxTreeViewClass::GetItemStyleProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).itemStyle;
}

void CVxTreeViewClass::SetItemActionProc(VxTreeProcs::ActionProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.itemAction = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::ActionProc CVxTreeViewClass::GetItemActionProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).itemAction;
}

void CVxTreeViewClass::SetHighlightProc(VxTreeProcs::TestProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.highlight = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::TestProc CVxTreeViewClass::GetHighlightProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).highlight;
}

void CVxTreeViewClass::SetToolTipProc(VxTreeProcs::TextProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.toolTip = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::TextProc CVxTreeViewClass::GetToolTipProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).toolTip;
}

void CVxTreeViewClass::SetEstimateWidthProc(VxTreeProcs::IntProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.estimateWidth = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::IntProc CVxTreeViewClass::GetEstimateWidthProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).estimateWidth;
}

void CVxTreeViewClass::SetEstimateHeightProc(VxTreeProcs::IntProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.estimateHeight = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::IntProc CVxTreeViewClass::GetEstimateHeightProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).estimateHeight;
}

void CVxTreeViewClass::SetDragProc(VxTreeProcs::TestProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.canDrag = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::TestProc CVxTreeViewClass::GetDragProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).canDrag;
}

void CVxTreeViewClass::SetCutProc(VxTreeProcs::ActionProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.cut = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::ActionProc CVxTreeViewClass::GetCutProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).cut;
}

void CVxTreeViewClass::SetPasteProc(VxTreeProcs::ActionProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.paste = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::ActionProc CVxTreeViewClass::GetPasteProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).paste;
}

void CVxTreeViewClass::SetCanDeleteProc(VxTreeProcs::TestProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.canDelete = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::TestProc CVxTreeViewClass::GetCanDeleteProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).canDelete;
}

void CVxTreeViewClass::SetDeleteProc(VxTreeProcs::ActionProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.doDelete = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::ActionProc CVxTreeViewClass::GetDeleteProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).doDelete;
}

void CVxTreeViewClass::SetCanMoveProc(VxTreeProcs::TestProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.canMove = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::TestProc CVxTreeViewClass::GetCanMoveProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).canMove;
}

void CVxTreeViewClass::SetMoveProc(VxTreeProcs::MoveProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.move = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::MoveProc CVxTreeViewClass::GetMoveProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).move;
}

void CVxTreeViewClass::SetPropertiesProc(VxTreeProcs::ActionProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.properties = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::ActionProc CVxTreeViewClass::GetPropertiesProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).properties;
}

void CVxTreeViewClass::SetDoubleClickProc(VxTreeProcs::ActionProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.doubleClick = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::ActionProc CVxTreeViewClass::GetDoubleClickProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).doubleClick;
}

void CVxTreeViewClass::SetFreeItemProc(VxTreeProcs::ActionProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.freeItem = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::ActionProc CVxTreeViewClass::GetFreeItemProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).freeItem;
}

void CVxTreeViewClass::SetKeyDownProc(VxTreeProcs::KeyProc proc) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.keyDown = proc;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

VxTreeProcs::KeyProc CVxTreeViewClass::GetKeyDownProc() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).keyDown;
}

void CVxTreeViewClass::SetProcData(void* data) {
    if (!view || !s_VxTreeViewClassFTab)
        return;
    VxTreeProcs procs = s_VxTreeViewClassFTab->GetProcs(view);
    procs.data = data;
    s_VxTreeViewClassFTab->SetProcs(view, procs);
}

void* CVxTreeViewClass::GetProcData() {
    if (!view || !s_VxTreeViewClassFTab)
        return nullptr;
    return s_VxTreeViewClassFTab->GetProcs(view).data;
}
