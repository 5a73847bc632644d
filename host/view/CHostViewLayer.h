// The reference host's view layer: windows, views, menus, panels and the clipboard as plain
// objects (host/view/HostViews.h), served to the plug-in as the tables of IViewLayer.
//
// The layer draws nothing itself. Whoever shows it (the Tracker page) reads the objects, is told
// when they change, and acts for the person in front of it through the operations under "What a
// person does", which call the plug-in's procedures as a desktop tool kit would.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IViewLayer.h"
#include "host/view/HostViews.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class CHostViewLayer final : public IViewLayer {
public:
    CHostViewLayer();
    ~CHostViewLayer() override;
    CHostViewLayer(const CHostViewLayer&) = delete;
    CHostViewLayer& operator=(const CHostViewLayer&) = delete;

    int32_t hftVersion() const override { return kVellViewLayerTable.version; }

    IVxBaseViewFTab* baseView() override;
    IVxContainerViewFTab* containerView() override;
    IVxFlipContainerViewFTab* flipContainerView() override;
    IVxTableContainerViewFTab* tableContainerView() override;
    IVxScrollViewFTab* scrollView() override;
    IVxSplitterViewFTab* splitterView() override;
    IVxTreeViewClassFTab* treeView() override;
    IVxHTMLViewFTab* htmlView() override;
    IVxToolBarViewFTab* toolBarView() override;
    IVxGapViewFTab* gapView() override;
    IVxPropertyButtonViewFTab* propertyButtonView() override;
    IVxStaticIconViewFTab* staticIconView() override;
    IVxStaticTextViewFTab* staticTextView() override;
    IVxTextEditViewFTab* textEditView() override;
    IVxListViewFTab* listView() override;
    IVxComboBoxViewFTab* comboBoxView() override;
    IVxPopupButtonViewFTab* popupButtonView() override;
    IVxCheckBoxViewFTab* checkBoxView() override;
    IVxCheckBoxViewFTab* radioButtonView() override;
    IVxSliderViewFTab* sliderView() override;
    IVxSliderViewFTab* progressBarView() override;
    IVxPlatformPushButtonViewFTab* platformPushButtonView() override;

    VxWindow NewWindow(const char* name, const char* titleUtf8) override;
    void DestroyWindow(VxWindow window) override;
    VxView GetWindowRootView(VxWindow window) override;
    void ShowWindow(VxWindow window, bool show, bool activate) override;
    bool IsWindowVisible(VxWindow window) override;
    void SetWindowTitle(VxWindow window, const char* titleUtf8) override;
    void SetWindowEventProc(VxWindow window, VxWindowEventProc proc, void* data) override;
    VxWindow GetViewWindow(VxView view) override;
    /// Runs while a page can show the window (see setModalPresenter); -1 at once otherwise, or
    /// when the page goes before StopModal.
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

    // What the page reads.

    const std::vector<std::unique_ptr<HostWindow>>& windows() const { return m_windows; }
    const std::vector<HostPanel>& panels() const { return m_panels; }
    /// A view, window, menu or tree item by its handle or number; null when there is none.
    HostView* view(VxView handle) const;
    HostView* viewById(uint32_t id) const;
    HostWindow* windowById(uint32_t id) const;
    HostMenu* menu(VxMenu handle) const;
    HostMenu* menuById(uint32_t id) const;
    HostTreeItem* treeItem(HostView* tree, VxTreeItem handle) const;
    HostTreeItem* treeItemById(HostView* tree, uint32_t id) const;
    /// The tree's procedures asked about an item: what the page draws.
    std::string itemText(HostView* tree, HostTreeItem* item);
    std::string itemToolTip(HostView* tree, HostTreeItem* item);
    VxIcon itemIcon(HostView* tree, HostTreeItem* item);
    int32_t itemStyle(HostView* tree, HostTreeItem* item);
    /// Whether a button's or menu item's procedure lets it run now.
    bool buttonEnabled(HostView* button);
    bool menuItemEnabled(const HostMenuItem& item);
    bool menuItemMarked(const HostMenuItem& item);

    /// Drops every window, view, menu and panel without calling the plug-in: after it is gone.
    void forgetPlugin();

    /// Whether a person can answer a modal window now (a page is open); a modal loop runs only
    /// while it says so.
    void setModalPresenter(std::function<bool()> present) { m_present = std::move(present); }

    /// Called once after each change that the page must draw (coalescing is the caller's).
    void setChangeListener(std::function<void()> listener) { m_changed = std::move(listener); }
    /// Tells the listener, unless a tree's Suspend holds redraws back.
    void changed();

    // What a person does. Each answers false when the object is gone or will not do it.

    /// Shows a panel by name through the plug-in's procedure.
    bool showPanel(const std::string& name, bool activate);
    /// Closes a window as its close box would: the plug-in is told, the window hides.
    bool closeWindow(uint32_t window);
    /// A click on a tree item: the old selection goes, the item is selected.
    bool clickItem(uint32_t tree, uint32_t item);
    bool doubleClickItem(uint32_t tree, uint32_t item);
    /// Opens or closes an item by its disclosure triangle.
    bool openItem(uint32_t tree, uint32_t item, bool open);
    /// A key on a tree (kVxKey...): arrows move the selection or open and close, Enter opens,
    /// Delete removes, each as a desktop tree does.
    bool keyDown(uint32_t tree, int32_t key);
    /// A drag that drops item before or after target.
    bool moveItem(uint32_t tree, uint32_t item, uint32_t target, bool before);
    /// The context menu of an item, selected first as a right click does; null when it has none.
    /// The menu lives until the page closes it with closeMenu.
    HostMenu* contextMenu(uint32_t tree, uint32_t item);
    /// Runs a menu item chosen by a person; the pop-up it came from may then be closed.
    bool chooseMenuItem(uint32_t menu, const std::string& name);
    /// Destroys a context menu the page has closed.
    void closeMenu(uint32_t menu);
    /// A press of a button, static text or icon, or a choice in a pop-up, combo or radio group.
    bool pressButton(uint32_t view);
    bool chooseEntry(uint32_t view, int32_t index);
    /// A link followed in an HTML view; true when the plug-in handled it.
    bool followLink(uint32_t view, const std::string& url);
    /// The splitter dragged to a size in pixels.
    bool dragSplitter(uint32_t view, int32_t size);
    /// Text typed in a text field, committed when commit.
    bool editText(uint32_t view, const std::string& text, bool commit);

    // The parts of the tables, shared by their implementations.

    HostView* create(VxView parent, const char* className, const char* name);
    /// A view of the given class, or null (for a handle that is no view of that class).
    HostView* viewOf(VxView handle, const char* className) const;
    void destroy(HostView* view);
    void reparent(HostView* view, HostView* parent);
    HostTreeItem* newItem(HostView* tree, void* data);
    void insertItem(HostView* tree, HostTreeItem* item, HostTreeItem* parent, int32_t position);
    void removeItem(HostView* tree, HostTreeItem* item);
    void selectItem(HostView* tree, HostTreeItem* item, bool select);
    std::vector<HostTreeItem*> selection(HostView* tree) const;
    /// The items shown, in display order: children of open items only.
    std::vector<HostTreeItem*> openItems(HostView* tree) const;

private:
    struct Tables;

    void destroyMenu(HostMenu* menu);
    void destroyWindow(HostWindow* window, bool tellPlugin);
    void runDeathProcs(HostView* view);
    void forget(HostView* view);
    void unlink(HostTreeItem* item);
    void freeItem(HostView* tree, HostTreeItem* item);

    std::unique_ptr<Tables> m_tables;
    uint32_t m_nextId = 1;
    std::map<uint32_t, std::unique_ptr<HostView>> m_views;
    std::map<const void*, uint32_t> m_viewHandles;
    std::vector<std::unique_ptr<HostWindow>> m_windows;
    std::map<uint32_t, std::unique_ptr<HostMenu>> m_menus;
    std::vector<HostPanel> m_panels;
    std::string m_clipboard;
    std::function<void()> m_changed;
    std::function<bool()> m_present;
};
