// The tree view: a forwarder to the host's tree, with its callbacks in the host's form.
#pragma once

#include "tracker/CVxBaseView.h"

#include <cstdint>
#include <vector>

class CVxTreeViewClass : public CVxBaseView {
public:
    /// Wraps a view the host made; null makes an object that does nothing.
    explicit CVxTreeViewClass(VxView existing) : CVxBaseView(existing) {}
    /// Asks the host for a new tree inside parent.
    CVxTreeViewClass(VxView parent, const char* name);

    /// The host's table for this class; set when the module acquires the tables.
    static IVxTreeViewClassFTab* s_VxTreeViewClassFTab;

    virtual VxTreeItem GetRootTreeItemView();
    virtual void EnumSelectedItems(VxTreeEnumProc proc, void* data);
    virtual void FreeItem(VxTreeItem item);
    virtual VxTreeItem GetItemAtIndex(int32_t index);
    virtual int32_t GetItemIndex(VxTreeItem item);
    virtual void Suspend();
    virtual void Resume();
    virtual VxTreeItem CreateItem(void* itemData);
    virtual void InsertItem(VxTreeItem item, VxTreeItem parent, int32_t position);
    virtual void InsertCustomItem(VxTreeItem item, VxTreeItem parent, int32_t position,
                                  int32_t height);
    virtual void* GetItem(VxTreeItem item);
    virtual int32_t NumOpenItems();
    virtual VxTreeItem GetOpenItem(int32_t index);
    virtual int32_t GetOpenIndex(VxTreeItem item);
    virtual void GetVisibleIndexRange(int32_t* first, int32_t* last);
    virtual VxTreeItem GetFirstSelected();
    virtual int32_t GetSelectedItemCount();
    virtual std::vector<VxTreeItem> GetSelection();
    virtual void EnumItems(VxTreeItem parent, VxTreeEnumProc proc, void* data);
    virtual VxColor GetItemColor(VxTreeItem item);
    virtual void RemoveAllItems();
    virtual void RemoveItem(VxTreeItem item);
    virtual void OpenItem(VxTreeItem item, bool open);
    virtual void OpenAllItems(bool open);
    virtual QsBool CanSelectItem(VxTreeItem item);
    virtual void SelectItem(VxTreeItem item, bool select);
    virtual void MoveSelectedItems(VxTreeItem target, bool before);
    virtual void DeleteSelectedItems();
    virtual int32_t GetItemCount(VxTreeItem parent);
    virtual void UpdateHighlights();
    virtual void ForceResize();
    virtual void ClickItem(VxTreeItem item);
    virtual void DeselectAll();
    virtual VxTreeItem GetItemParent(VxTreeItem item);
    virtual QsBool IsItemOpen(VxTreeItem item);
    virtual void InvalidateItem(VxTreeItem item);
    virtual void MoveItem(VxTreeItem item, VxTreeItem parent, int32_t position);

    // The callbacks: each Set...Proc replaces one procedure of the host's set, Get...Proc reads it.
    virtual void SetItemTextProc(VxTreeProcs::TextProc proc);
    virtual VxTreeProcs::TextProc GetItemTextProc();
    virtual void SetItemIconProc(VxTreeProcs::IconProc proc);
    virtual VxTreeProcs::IconProc GetItemIconProc();
    virtual void SetContextMenuProc(VxTreeProcs::MenuProc proc);
    virtual VxTreeProcs::MenuProc GetContextMenuProc();
    virtual void SetOpenItemProc(VxTreeProcs::FlagProc proc);
    virtual VxTreeProcs::FlagProc GetOpenItemProc();
    virtual void SetSelectItemProc(VxTreeProcs::FlagProc proc);
    virtual VxTreeProcs::FlagProc GetSelectItemProc();
    virtual void SetCanSelectItemProc(VxTreeProcs::TestProc proc);
    virtual VxTreeProcs::TestProc GetCanSelectItemProc();
    virtual void SetItemColorProc(VxTreeProcs::IntProc proc);
    virtual VxTreeProcs::IntProc GetItemColorProc();
    virtual void SetItemStyleProc(VxTreeProcs::IntProc proc);
    virtual VxTreeProcs::IntProc GetItemStyleProc();
    virtual void SetItemActionProc(VxTreeProcs::ActionProc proc);
    virtual VxTreeProcs::ActionProc GetItemActionProc();
    virtual void SetHighlightProc(VxTreeProcs::TestProc proc);
    virtual VxTreeProcs::TestProc GetHighlightProc();
    virtual void SetToolTipProc(VxTreeProcs::TextProc proc);
    virtual VxTreeProcs::TextProc GetToolTipProc();
    virtual void SetEstimateWidthProc(VxTreeProcs::IntProc proc);
    virtual VxTreeProcs::IntProc GetEstimateWidthProc();
    virtual void SetEstimateHeightProc(VxTreeProcs::IntProc proc);
    virtual VxTreeProcs::IntProc GetEstimateHeightProc();
    virtual void SetDragProc(VxTreeProcs::TestProc proc);
    virtual VxTreeProcs::TestProc GetDragProc();
    virtual void SetCutProc(VxTreeProcs::ActionProc proc);
    virtual VxTreeProcs::ActionProc GetCutProc();
    virtual void SetPasteProc(VxTreeProcs::ActionProc proc);
    virtual VxTreeProcs::ActionProc GetPasteProc();
    virtual void SetCanDeleteProc(VxTreeProcs::TestProc proc);
    virtual VxTreeProcs::TestProc GetCanDeleteProc();
    virtual void SetDeleteProc(VxTreeProcs::ActionProc proc);
    virtual VxTreeProcs::ActionProc GetDeleteProc();
    virtual void SetCanMoveProc(VxTreeProcs::TestProc proc);
    virtual VxTreeProcs::TestProc GetCanMoveProc();
    virtual void SetMoveProc(VxTreeProcs::MoveProc proc);
    virtual VxTreeProcs::MoveProc GetMoveProc();
    virtual void SetPropertiesProc(VxTreeProcs::ActionProc proc);
    virtual VxTreeProcs::ActionProc GetPropertiesProc();
    virtual void SetDoubleClickProc(VxTreeProcs::ActionProc proc);
    virtual VxTreeProcs::ActionProc GetDoubleClickProc();
    virtual void SetFreeItemProc(VxTreeProcs::ActionProc proc);
    virtual VxTreeProcs::ActionProc GetFreeItemProc();
    virtual void SetKeyDownProc(VxTreeProcs::KeyProc proc);
    virtual VxTreeProcs::KeyProc GetKeyDownProc();
    /// The data every callback receives.
    virtual void SetProcData(void* data);
    virtual void* GetProcData();
};
