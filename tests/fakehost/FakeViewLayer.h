// The test host's view layer: plain objects under the operation names of the host's tables.
//
// Views, tree items, windows and menus are objects kept here; the handles are their addresses.
// Settings are kept by name and commands recorded, so a test reads what the plug-in built; the
// helpers at the end act as the user would (click, double click, a key, a button, a menu choice)
// and print a tree as the user would see it.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IViewLayer.h"
#include "tests/fakehost/FakeViewObjects.h"
#include "tests/fakehost/FakeViewTables.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

class FakeBaseViewTable final : public IVxBaseViewFTab {
public:
    explicit FakeBaseViewTable(FakeViewRegistry& registry) : m_registry(registry) {}
    std::string ClassName(VxView view) override;
    void Destroy(VxView view) override;
    std::string GetName(VxView view) override;
    void InvalidateRect(VxView view, const VxRect* rect) override;
    VxRect GetParentRect(VxView view) override;
    VxRect GetAperture(VxView view) override;
    VxRect GetClientRect(VxView view) override;
    void Show(VxView view, bool show) override;
    bool IsSetVisible(VxView view) override;
    bool IsVisible(VxView view) override;
    void Enable(VxView view, bool enable) override;
    bool IsEnabled(VxView view) override;
    bool IsSetEnabled(VxView view) override;
    void Select(VxView view, bool select) override;
    bool IsSelected(VxView view) override;
    void ForwardClickToParent(VxView view, bool forward) override;
    void ForwardRightClickToParent(VxView view, bool forward) override;
    void SetWantsHiddenDisabledScrollbars(VxView view, bool wants) override;
    void Reparent(VxView view, VxView newParent) override;
    void SetScrollAmounts(VxView view, int32_t horizontal, int32_t vertical) override;
    void ScrollTo(VxView view, int32_t x, int32_t y) override;
    VxView GetParent(VxView view) override;
    bool HasFocus(VxView view) override;
    void SetFocus(VxView view) override;
    void AddDeathProc(VxView view, VxViewDeathProc proc, void* data) override;
    void RemoveDeathProc(VxView view, VxViewDeathProc proc, void* data) override;

private:
    void note(FakeView* view, const char* op) { view->calls.push_back(op); }
    FakeViewRegistry& m_registry;
};

class FakeTreeViewTable final : public IVxTreeViewClassFTab {
public:
    explicit FakeTreeViewTable(FakeViewRegistry& registry) : m_registry(registry) {}
    VxView Create(VxView parent, const char* name) override;
    VxTreeItem GetRootTreeItemView(VxView view) override;
    void EnumSelectedItems(VxView view, bool (*proc)(VxTreeItem item, void* data),
                           void* data) override;
    void FreeItem(VxView view, VxTreeItem item) override;
    VxTreeItem GetItemAtIndex(VxView view, int32_t index) override;
    int32_t GetItemIndex(VxView view, VxTreeItem item) override;
    void Suspend(VxView view) override;
    void Resume(VxView view) override;
    VxTreeItem CreateItem(VxView view, void* itemData) override;
    void InsertItem(VxView view, VxTreeItem item, VxTreeItem parent, int32_t position) override;
    void InsertCustomItem(VxView view, VxTreeItem item, VxTreeItem parent, int32_t position,
                          int32_t height) override;
    void* GetItem(VxView view, VxTreeItem item) override;
    int32_t NumOpenItems(VxView view) override;
    VxTreeItem GetOpenItem(VxView view, int32_t index) override;
    int32_t GetOpenIndex(VxView view, VxTreeItem item) override;
    void GetVisibleIndexRange(VxView view, int32_t* first, int32_t* last) override;
    VxTreeItem GetFirstSelected(VxView view) override;
    int32_t GetSelectedItemCount(VxView view) override;
    std::vector<VxTreeItem> GetSelection(VxView view) override;
    void EnumItems(VxView view, VxTreeItem parent, bool (*proc)(VxTreeItem item, void* data),
                   void* data) override;
    VxColor GetItemColor(VxView view, VxTreeItem item) override;
    void RemoveAllItems(VxView view) override;
    void RemoveItem(VxView view, VxTreeItem item) override;
    void OpenItem(VxView view, VxTreeItem item, bool open) override;
    void OpenAllItems(VxView view, bool open) override;
    bool CanSelectItem(VxView view, VxTreeItem item) override;
    void SelectItem(VxView view, VxTreeItem item, bool select) override;
    void MoveSelectedItems(VxView view, VxTreeItem target, bool before) override;
    void DeleteSelectedItems(VxView view) override;
    int32_t GetItemCount(VxView view, VxTreeItem parent) override;
    void UpdateHighlights(VxView view) override;
    void ForceResize(VxView view) override;
    void ClickItem(VxView view, VxTreeItem item) override;
    void DeselectAll(VxView view) override;
    void SetProcs(VxView view, const VxTreeProcs& procs) override;
    VxTreeProcs GetProcs(VxView view) override;
    VxTreeItem GetItemParent(VxView view, VxTreeItem item) override;
    bool IsItemOpen(VxView view, VxTreeItem item) override;
    void InvalidateItem(VxView view, VxTreeItem item) override;
    void MoveItem(VxView view, VxTreeItem item, VxTreeItem parent, int32_t position) override;

    /// InvalidateItem calls on every tree since the last reset.
    int invalidations = 0;

private:
    FakeView* tree(VxView view);
    FakeTreeItem* item(FakeView* tree, VxTreeItem item);
    FakeTreeItem* parentOrRoot(FakeView* tree, VxTreeItem parent);
    void openRows(FakeTreeItem* parent, std::vector<FakeTreeItem*>& rows);
    void detach(FakeTreeItem* item);
    void freeSubtree(FakeView* tree, FakeTreeItem* item);
    FakeViewRegistry& m_registry;
};

class FakeViewLayer final : public IViewLayer {
public:
    FakeViewLayer();
    ~FakeViewLayer() override;

    int32_t hftVersion() const override {
        return static_cast<int32_t>(kVellViewLayerTable.version);
    }

    IVxBaseViewFTab* baseView() override { return &m_base; }
    IVxContainerViewFTab* containerView() override { return &m_container; }
    IVxFlipContainerViewFTab* flipContainerView() override { return &m_flip; }
    IVxTableContainerViewFTab* tableContainerView() override { return &m_table; }
    IVxScrollViewFTab* scrollView() override { return &m_scroll; }
    IVxSplitterViewFTab* splitterView() override { return &m_splitter; }
    IVxTreeViewClassFTab* treeView() override { return &m_tree; }
    IVxHTMLViewFTab* htmlView() override { return &m_html; }
    IVxToolBarViewFTab* toolBarView() override { return &m_toolBar; }
    IVxGapViewFTab* gapView() override { return &m_gap; }
    IVxPropertyButtonViewFTab* propertyButtonView() override { return &m_button; }
    IVxStaticIconViewFTab* staticIconView() override { return &m_icon; }
    IVxStaticTextViewFTab* staticTextView() override { return &m_text; }
    IVxTextEditViewFTab* textEditView() override { return &m_edit; }
    IVxListViewFTab* listView() override { return &m_list; }
    IVxComboBoxViewFTab* comboBoxView() override { return &m_combo; }
    IVxPopupButtonViewFTab* popupButtonView() override { return &m_popup; }
    IVxCheckBoxViewFTab* checkBoxView() override { return &m_checkBox; }
    IVxCheckBoxViewFTab* radioButtonView() override { return &m_radio; }
    IVxSliderViewFTab* sliderView() override { return &m_slider; }
    IVxSliderViewFTab* progressBarView() override { return &m_progress; }
    IVxPlatformPushButtonViewFTab* platformPushButtonView() override { return &m_push; }

    VxWindow NewWindow(const char* name, const char* titleUtf8) override;
    void DestroyWindow(VxWindow window) override;
    VxView GetWindowRootView(VxWindow window) override;
    void ShowWindow(VxWindow window, bool show, bool activate) override;
    bool IsWindowVisible(VxWindow window) override;
    void SetWindowTitle(VxWindow window, const char* titleUtf8) override;
    void SetWindowEventProc(VxWindow window, VxWindowEventProc proc, void* data) override;
    VxWindow GetViewWindow(VxView view) override;
    int32_t RunModal(VxWindow window) override;
    void StopModal(VxWindow window, int32_t result) override;
    VxView FindViewByName(VxView root, const char* name) override;

    void RegisterPanel(const char* name, const char* titleUtf8, VxPanelShowProc show,
                       void* data) override;
    void UnregisterPanel(const char* name) override;

    VxMenu NewMenu(const char* name, const char* titleUtf8) override;
    void DestroyMenu(VxMenu menu) override;
    void AppendMenuItem(VxMenu menu, const char* name, const char* titleUtf8, VxMenuItemProc exec,
                        VxMenuItemTestProc enabled, VxMenuItemTestProc marked, void* data) override;
    void AppendMenuSeparator(VxMenu menu) override;
    void AppendSubMenu(VxMenu menu, VxMenu subMenu) override;
    void ClearMenu(VxMenu menu) override;
    std::vector<std::string> MenuItemNames(VxMenu menu) override;
    bool ExecuteMenuItem(VxMenu menu, const char* name) override;

    std::string GetClipboardText() override { return m_clipboard; }
    void SetClipboardText(const char* textUtf8) override { m_clipboard = textUtf8 ? textUtf8 : ""; }

    // For tests.

    FakeView* view(VxView handle) const { return m_registry.find(handle); }
    FakeWindow* window(VxWindow handle) const;
    FakeMenu* menu(VxMenu handle) const;
    /// The first live view of a name, or null.
    VxView viewNamed(const std::string& name) const;
    /// The first live view of a class ("Tree", "HTML", ...), or null.
    VxView viewOfClass(const std::string& className) const;
    const std::vector<std::unique_ptr<FakeWindow>>& windows() const { return m_windows; }
    /// Shows a registered panel as the user's request would; false when there is none.
    bool showPanel(const std::string& name, bool activate);
    bool hasPanel(const std::string& name) const { return m_panels.count(name) != 0; }

    /// The children of an item (null: the top level), in order.
    std::vector<VxTreeItem> children(VxView tree, VxTreeItem parent) const;
    /// The item's text, style and tool tip, as the tree's procedures answer them.
    std::string itemText(VxView tree, VxTreeItem item) const;
    int32_t itemStyle(VxView tree, VxTreeItem item) const;
    std::string itemToolTip(VxView tree, VxTreeItem item) const;
    VxIcon itemIcon(VxView tree, VxTreeItem item) const;
    /// The first item, depth first, whose text is this, or null.
    VxTreeItem findItem(VxView tree, const std::string& text) const;
    /// The tree as the user sees it: one line per item, two spaces per level, "*" before a bold
    /// item, "-" before a closed one.
    std::string dump(VxView tree) const;

    /// The user's actions on a tree.
    void click(VxView tree, VxTreeItem item);
    void doubleClick(VxView tree, VxTreeItem item);
    bool pressKey(VxView tree, int32_t key);
    /// The context menu the tree's procedure makes for an item (the caller destroys it).
    VxMenu contextMenu(VxView tree, VxTreeItem item);
    /// Presses a tool-bar button: runs its action when enabled; false when disabled or missing.
    bool pressButton(VxView button);
    /// Whether a button's enabled procedure says yes now.
    bool buttonEnabled(VxView button);
    /// Whether a menu item is enabled now; false when missing.
    bool menuItemEnabled(VxMenu menu, const std::string& name);
    /// Clicks a link in an HTML view: true when the plug-in handled it.
    bool clickLink(VxView html, const std::string& url);

    /// Invalidations and whole-tree redraws counted since the last reset.
    int invalidations() const { return m_tree.invalidations; }
    void resetCounters();

private:
    FakeViewRegistry m_registry;
    FakeBaseViewTable m_base{m_registry};
    FakeVxContainerViewTable m_container{m_registry};
    FakeVxFlipContainerViewTable m_flip{m_registry};
    FakeVxTableContainerViewTable m_table{m_registry};
    FakeVxScrollViewTable m_scroll{m_registry};
    FakeVxSplitterViewTable m_splitter{m_registry};
    FakeTreeViewTable m_tree{m_registry};
    FakeVxHTMLViewTable m_html{m_registry};
    FakeVxToolBarViewTable m_toolBar{m_registry};
    FakeVxGapViewTable m_gap{m_registry};
    FakeVxPropertyButtonViewTable m_button{m_registry};
    FakeVxStaticIconViewTable m_icon{m_registry};
    FakeVxStaticTextViewTable m_text{m_registry};
    FakeVxTextEditViewTable m_edit{m_registry};
    FakeVxListViewTable m_list{m_registry};
    FakeVxComboBoxViewTable m_combo{m_registry};
    FakeVxPopupButtonViewTable m_popup{m_registry};
    FakeVxCheckBoxViewTable m_checkBox{m_registry};
    FakeVxCheckBoxViewTable m_radio{m_registry};
    FakeVxSliderViewTable m_slider{m_registry};
    FakeVxSliderViewTable m_progress{m_registry};
    FakeVxPlatformPushButtonViewTable m_push{m_registry};

    struct Panel {
        std::string title;
        VxPanelShowProc show;
        void* data;
    };
    std::map<std::string, Panel> m_panels;
    std::vector<std::unique_ptr<FakeWindow>> m_windows;
    std::vector<std::unique_ptr<FakeMenu>> m_menus;
    std::string m_clipboard;
};
