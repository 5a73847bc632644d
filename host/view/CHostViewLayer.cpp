#include "host/view/CHostViewLayer.h"

#include "host/view/ViewTables.h"

#include <glib.h>

#include <algorithm>

namespace {

HostWindow* findWindow(const std::vector<std::unique_ptr<HostWindow>>& windows, VxWindow handle) {
    for (const auto& window : windows) {
        if (reinterpret_cast<VxWindow>(window.get()) == handle)
            return window.get();
    }
    return nullptr;
}

} // namespace

CHostViewLayer::CHostViewLayer() : m_tables(std::make_unique<Tables>(*this)) {}

CHostViewLayer::~CHostViewLayer() {
    // The plug-in is gone by now: no procedure of its may run.
    m_changed = nullptr;
}

IVxBaseViewFTab* CHostViewLayer::baseView() {
    return m_tables->base.get();
}
IVxContainerViewFTab* CHostViewLayer::containerView() {
    return m_tables->container.get();
}
IVxFlipContainerViewFTab* CHostViewLayer::flipContainerView() {
    return m_tables->flipContainer.get();
}
IVxTableContainerViewFTab* CHostViewLayer::tableContainerView() {
    return m_tables->tableContainer.get();
}
IVxScrollViewFTab* CHostViewLayer::scrollView() {
    return m_tables->scroll.get();
}
IVxSplitterViewFTab* CHostViewLayer::splitterView() {
    return m_tables->splitter.get();
}
IVxTreeViewClassFTab* CHostViewLayer::treeView() {
    return m_tables->tree.get();
}
IVxHTMLViewFTab* CHostViewLayer::htmlView() {
    return m_tables->html.get();
}
IVxToolBarViewFTab* CHostViewLayer::toolBarView() {
    return m_tables->toolBar.get();
}
IVxGapViewFTab* CHostViewLayer::gapView() {
    return m_tables->gap.get();
}
IVxPropertyButtonViewFTab* CHostViewLayer::propertyButtonView() {
    return m_tables->propertyButton.get();
}
IVxStaticIconViewFTab* CHostViewLayer::staticIconView() {
    return m_tables->staticIcon.get();
}
IVxStaticTextViewFTab* CHostViewLayer::staticTextView() {
    return m_tables->staticText.get();
}
IVxTextEditViewFTab* CHostViewLayer::textEditView() {
    return m_tables->textEdit.get();
}
IVxListViewFTab* CHostViewLayer::listView() {
    return m_tables->list.get();
}
IVxComboBoxViewFTab* CHostViewLayer::comboBoxView() {
    return m_tables->comboBox.get();
}
IVxPopupButtonViewFTab* CHostViewLayer::popupButtonView() {
    return m_tables->popupButton.get();
}
IVxCheckBoxViewFTab* CHostViewLayer::checkBoxView() {
    return m_tables->checkBox.get();
}
IVxCheckBoxViewFTab* CHostViewLayer::radioButtonView() {
    return m_tables->radioButton.get();
}
IVxSliderViewFTab* CHostViewLayer::sliderView() {
    return m_tables->slider.get();
}
IVxSliderViewFTab* CHostViewLayer::progressBarView() {
    return m_tables->progressBar.get();
}
IVxPlatformPushButtonViewFTab* CHostViewLayer::platformPushButtonView() {
    return m_tables->pushButton.get();
}

void CHostViewLayer::forgetPlugin() {
    m_windows.clear();
    m_viewHandles.clear();
    m_views.clear();
    m_menus.clear();
    m_panels.clear();
    if (m_changed)
        m_changed();
}

// Views.

HostView* CHostViewLayer::view(VxView handle) const {
    auto found = m_viewHandles.find(handle);
    return found == m_viewHandles.end() ? nullptr : viewById(found->second);
}

HostView* CHostViewLayer::viewById(uint32_t id) const {
    auto found = m_views.find(id);
    return found == m_views.end() ? nullptr : found->second.get();
}

HostView* CHostViewLayer::viewOf(VxView handle, const char* className) const {
    HostView* found = view(handle);
    return found && found->className == className ? found : nullptr;
}

HostView* CHostViewLayer::create(VxView parentHandle, const char* className, const char* name) {
    auto made = std::make_unique<HostView>();
    HostView* created = made.get();
    created->id = m_nextId++;
    created->className = className;
    created->name = name ? name : "";
    if (created->className == "Tree")
        created->tree = std::make_unique<HostTree>();
    m_viewHandles[created] = created->id;
    m_views[created->id] = std::move(made);
    if (HostView* parent = view(parentHandle))
        reparent(created, parent);
    changed();
    return created;
}

void CHostViewLayer::reparent(HostView* child, HostView* parent) {
    if (child->parent)
        std::erase(child->parent->children, child);
    child->parent = parent;
    if (parent)
        parent->children.push_back(child);
}

void CHostViewLayer::runDeathProcs(HostView* dying) {
    for (HostView* child : std::vector<HostView*>(dying->children))
        runDeathProcs(child);
    // A procedure may remove its own registration, or others, while the copy is walked.
    std::vector<HostProc<VxViewDeathProc>> procs = dying->deathProcs;
    for (const auto& death : procs) {
        bool stillRegistered =
            std::any_of(dying->deathProcs.begin(), dying->deathProcs.end(), [&](const auto& r) {
                return r.proc == death.proc && r.data == death.data;
            });
        if (stillRegistered)
            death.proc(reinterpret_cast<VxView>(dying), death.data);
    }
}

void CHostViewLayer::forget(HostView* gone) {
    for (HostView* child : std::vector<HostView*>(gone->children))
        forget(child);
    if (gone->tree) {
        for (HostTreeItem* item : std::vector<HostTreeItem*>(gone->tree->root.children))
            freeItem(gone, item);
    }
    m_viewHandles.erase(gone);
    m_views.erase(gone->id);
}

void CHostViewLayer::destroy(HostView* gone) {
    if (!gone)
        return;
    runDeathProcs(gone);
    // A death procedure may have destroyed the view already.
    if (!viewById(gone->id))
        return;
    if (gone->parent)
        std::erase(gone->parent->children, gone);
    for (auto& window : m_windows) {
        if (window->root == gone)
            window->root = nullptr;
    }
    forget(gone);
    changed();
}

// Tree items.

HostTreeItem* CHostViewLayer::treeItem(HostView* tree, VxTreeItem handle) const {
    if (!tree || !tree->tree || !handle)
        return nullptr;
    auto* item = reinterpret_cast<HostTreeItem*>(handle);
    return tree->tree->live.count(item) ? item : nullptr;
}

HostTreeItem* CHostViewLayer::treeItemById(HostView* tree, uint32_t id) const {
    if (!tree || !tree->tree)
        return nullptr;
    auto found = tree->tree->items.find(id);
    return found == tree->tree->items.end() ? nullptr : found->second.get();
}

HostTreeItem* CHostViewLayer::newItem(HostView* tree, void* data) {
    auto made = std::make_unique<HostTreeItem>();
    made->id = m_nextId++;
    made->data = data;
    HostTreeItem* item = made.get();
    tree->tree->live.insert(item);
    tree->tree->items[item->id] = std::move(made);
    return item;
}

void CHostViewLayer::unlink(HostTreeItem* item) {
    if (item->parent)
        std::erase(item->parent->children, item);
    item->parent = nullptr;
}

void CHostViewLayer::insertItem(HostView* tree, HostTreeItem* item, HostTreeItem* parent,
                                int32_t position) {
    HostTreeItem* under = parent ? parent : &tree->tree->root;
    // An item never goes under itself or its own descendants.
    for (HostTreeItem* up = under; up; up = up->parent) {
        if (up == item)
            return;
    }
    unlink(item);
    item->parent = under;
    item->inserted = true;
    auto& siblings = under->children;
    if (position < 0 || static_cast<size_t>(position) >= siblings.size())
        siblings.push_back(item);
    else
        siblings.insert(siblings.begin() + position, item);
    changed();
}

void CHostViewLayer::freeItem(HostView* tree, HostTreeItem* item) {
    for (HostTreeItem* child : std::vector<HostTreeItem*>(item->children))
        freeItem(tree, child);
    unlink(item);
    const VxTreeProcs& procs = tree->tree->procs;
    uint32_t id = item->id;
    if (procs.freeItem)
        procs.freeItem(reinterpret_cast<VxView>(tree), reinterpret_cast<VxTreeItem>(item),
                       item->data, procs.data);
    tree->tree->live.erase(item);
    tree->tree->items.erase(id);
}

void CHostViewLayer::removeItem(HostView* tree, HostTreeItem* item) {
    freeItem(tree, item);
    changed();
}

void CHostViewLayer::selectItem(HostView* tree, HostTreeItem* item, bool select) {
    if (item->selected == select)
        return;
    const VxTreeProcs& procs = tree->tree->procs;
    if (select && procs.canSelectItem &&
        !procs.canSelectItem(reinterpret_cast<VxView>(tree), reinterpret_cast<VxTreeItem>(item),
                             item->data, procs.data))
        return;
    item->selected = select;
    changed();
    if (procs.selectItem)
        procs.selectItem(reinterpret_cast<VxView>(tree), reinterpret_cast<VxTreeItem>(item),
                         item->data, select, procs.data);
}

std::vector<HostTreeItem*> CHostViewLayer::selection(HostView* tree) const {
    std::vector<HostTreeItem*> selected;
    std::vector<HostTreeItem*> pending(tree->tree->root.children.rbegin(),
                                       tree->tree->root.children.rend());
    while (!pending.empty()) {
        HostTreeItem* item = pending.back();
        pending.pop_back();
        if (item->selected)
            selected.push_back(item);
        pending.insert(pending.end(), item->children.rbegin(), item->children.rend());
    }
    return selected;
}

std::vector<HostTreeItem*> CHostViewLayer::openItems(HostView* tree) const {
    std::vector<HostTreeItem*> shown;
    std::vector<HostTreeItem*> pending(tree->tree->root.children.rbegin(),
                                       tree->tree->root.children.rend());
    while (!pending.empty()) {
        HostTreeItem* item = pending.back();
        pending.pop_back();
        shown.push_back(item);
        if (item->open)
            pending.insert(pending.end(), item->children.rbegin(), item->children.rend());
    }
    return shown;
}

std::string CHostViewLayer::itemText(HostView* tree, HostTreeItem* item) {
    const VxTreeProcs& procs = tree->tree->procs;
    return procs.itemText
               ? procs.itemText(reinterpret_cast<VxView>(tree), reinterpret_cast<VxTreeItem>(item),
                                item->data, procs.data)
               : "";
}

std::string CHostViewLayer::itemToolTip(HostView* tree, HostTreeItem* item) {
    const VxTreeProcs& procs = tree->tree->procs;
    return procs.toolTip ? procs.toolTip(reinterpret_cast<VxView>(tree),
                                         reinterpret_cast<VxTreeItem>(item), item->data, procs.data)
                         : "";
}

VxIcon CHostViewLayer::itemIcon(HostView* tree, HostTreeItem* item) {
    const VxTreeProcs& procs = tree->tree->procs;
    return procs.itemIcon
               ? procs.itemIcon(reinterpret_cast<VxView>(tree), reinterpret_cast<VxTreeItem>(item),
                                item->data, procs.data)
               : nullptr;
}

int32_t CHostViewLayer::itemStyle(HostView* tree, HostTreeItem* item) {
    const VxTreeProcs& procs = tree->tree->procs;
    return procs.itemStyle
               ? procs.itemStyle(reinterpret_cast<VxView>(tree), reinterpret_cast<VxTreeItem>(item),
                                 item->data, procs.data)
               : kVxTreeStylePlain;
}

bool CHostViewLayer::buttonEnabled(HostView* button) {
    if (!button->enabled)
        return false;
    const auto& test = button->computeEnabled;
    return !test.proc || test.proc(reinterpret_cast<VxView>(button), test.data);
}

void CHostViewLayer::changed() {
    for (const auto& [id, candidate] : m_views) {
        if (candidate->tree && candidate->tree->suspended > 0)
            return;
    }
    if (m_changed)
        m_changed();
}

// Windows.

VxWindow CHostViewLayer::NewWindow(const char* name, const char* titleUtf8) {
    auto window = std::make_unique<HostWindow>();
    window->id = m_nextId++;
    window->name = name ? name : "";
    window->title = titleUtf8 ? titleUtf8 : "";
    window->root = create(nullptr, "Container", "root");
    window->root->window = window.get();
    m_windows.push_back(std::move(window));
    return reinterpret_cast<VxWindow>(m_windows.back().get());
}

HostWindow* CHostViewLayer::windowById(uint32_t id) const {
    for (const auto& window : m_windows) {
        if (window->id == id)
            return window.get();
    }
    return nullptr;
}

void CHostViewLayer::destroyWindow(HostWindow* window, bool tellPlugin) {
    if (tellPlugin && window->events.proc)
        window->events.proc(reinterpret_cast<VxWindow>(window), kVxWinWillDestroy,
                            window->events.data);
    if (window->root)
        destroy(window->root);
    std::erase_if(m_windows, [window](const auto& held) { return held.get() == window; });
    changed();
}

void CHostViewLayer::DestroyWindow(VxWindow handle) {
    if (HostWindow* window = findWindow(m_windows, handle))
        destroyWindow(window, true);
}

VxView CHostViewLayer::GetWindowRootView(VxWindow handle) {
    HostWindow* window = findWindow(m_windows, handle);
    return window ? reinterpret_cast<VxView>(window->root) : nullptr;
}

void CHostViewLayer::ShowWindow(VxWindow handle, bool show, bool activate) {
    HostWindow* window = findWindow(m_windows, handle);
    if (!window)
        return;
    window->visible = show;
    changed();
    if (show && activate && window->events.proc)
        window->events.proc(handle, kVxWinDidActivate, window->events.data);
}

bool CHostViewLayer::IsWindowVisible(VxWindow handle) {
    HostWindow* window = findWindow(m_windows, handle);
    return window && window->visible;
}

void CHostViewLayer::SetWindowTitle(VxWindow handle, const char* titleUtf8) {
    if (HostWindow* window = findWindow(m_windows, handle)) {
        window->title = titleUtf8 ? titleUtf8 : "";
        changed();
    }
}

void CHostViewLayer::SetWindowEventProc(VxWindow handle, VxWindowEventProc proc, void* data) {
    if (HostWindow* window = findWindow(m_windows, handle))
        window->events = {proc, data};
}

VxWindow CHostViewLayer::GetViewWindow(VxView handle) {
    for (HostView* up = view(handle); up; up = up->parent) {
        if (up->window)
            return reinterpret_cast<VxWindow>(up->window);
    }
    return nullptr;
}

int32_t CHostViewLayer::RunModal(VxWindow handle) {
    HostWindow* window = findWindow(m_windows, handle);
    if (!window || window->modal || !m_present || !m_present())
        return -1;
    uint32_t id = window->id;
    window->modal = true;
    window->modalResult.reset();
    window->visible = true;
    changed();
    // The page is served from this loop: it runs until the window has its result, the window
    // goes, or the page does.
    while ((window = windowById(id)) && !window->modalResult && m_present && m_present())
        g_main_context_iteration(g_main_context_default(), TRUE);
    if (!window)
        return -1;
    int32_t result = window->modalResult.value_or(-1);
    window->modal = false;
    window->modalResult.reset();
    window->visible = false;
    changed();
    return result;
}

void CHostViewLayer::StopModal(VxWindow handle, int32_t result) {
    HostWindow* window = findWindow(m_windows, handle);
    if (window && window->modal) {
        window->modalResult = result;
        // Wakes the modal loop, which may wait for the next event.
        g_main_context_wakeup(g_main_context_default());
    }
}

VxView CHostViewLayer::FindViewByName(VxView rootHandle, const char* name) {
    HostView* root = view(rootHandle);
    if (!root || !name)
        return nullptr;
    std::vector<HostView*> pending{root};
    while (!pending.empty()) {
        HostView* candidate = pending.back();
        pending.pop_back();
        if (candidate->name == name)
            return reinterpret_cast<VxView>(candidate);
        pending.insert(pending.end(), candidate->children.rbegin(), candidate->children.rend());
    }
    return nullptr;
}

// Panels.

void CHostViewLayer::RegisterPanel(const char* name, const char* titleUtf8, VxPanelShowProc show,
                                   void* data) {
    std::string key = name ? name : "";
    UnregisterPanel(key.c_str());
    m_panels.push_back({key, titleUtf8 ? titleUtf8 : key, show, data});
}

void CHostViewLayer::UnregisterPanel(const char* name) {
    std::string key = name ? name : "";
    std::erase_if(m_panels, [&](const HostPanel& panel) { return panel.name == key; });
}

// Menus.

HostMenu* CHostViewLayer::menu(VxMenu handle) const {
    for (const auto& [id, held] : m_menus) {
        if (reinterpret_cast<VxMenu>(held.get()) == handle)
            return held.get();
    }
    return nullptr;
}

HostMenu* CHostViewLayer::menuById(uint32_t id) const {
    auto found = m_menus.find(id);
    return found == m_menus.end() ? nullptr : found->second.get();
}

VxMenu CHostViewLayer::NewMenu(const char* name, const char* titleUtf8) {
    auto made = std::make_unique<HostMenu>();
    made->id = m_nextId++;
    made->name = name ? name : "";
    made->title = titleUtf8 ? titleUtf8 : "";
    HostMenu* held = made.get();
    m_menus[held->id] = std::move(made);
    return reinterpret_cast<VxMenu>(held);
}

void CHostViewLayer::destroyMenu(HostMenu* gone) {
    for (const HostMenuItem& item : gone->items) {
        if (item.subMenu)
            destroyMenu(item.subMenu);
    }
    // Buttons that showed it forget it.
    for (const auto& [id, held] : m_views) {
        if (held->menu == gone)
            held->menu = nullptr;
    }
    m_menus.erase(gone->id);
}

void CHostViewLayer::DestroyMenu(VxMenu handle) {
    if (HostMenu* gone = menu(handle)) {
        if (gone->owner)
            std::erase_if(gone->owner->items,
                          [gone](const HostMenuItem& item) { return item.subMenu == gone; });
        destroyMenu(gone);
        changed();
    }
}

void CHostViewLayer::AppendMenuItem(VxMenu handle, const char* name, const char* titleUtf8,
                                    VxMenuItemProc exec, VxMenuItemTestProc enabled,
                                    VxMenuItemTestProc marked, void* data) {
    if (HostMenu* target = menu(handle)) {
        HostMenuItem item;
        item.name = name ? name : "";
        item.title = titleUtf8 ? titleUtf8 : item.name;
        item.exec = exec;
        item.enabled = enabled;
        item.marked = marked;
        item.data = data;
        target->items.push_back(std::move(item));
        changed();
    }
}

void CHostViewLayer::AppendMenuSeparator(VxMenu handle) {
    if (HostMenu* target = menu(handle)) {
        HostMenuItem item;
        item.name = "-";
        item.separator = true;
        target->items.push_back(std::move(item));
    }
}

void CHostViewLayer::AppendSubMenu(VxMenu handle, VxMenu subHandle) {
    HostMenu* target = menu(handle);
    HostMenu* sub = menu(subHandle);
    // A menu has one owner, and never holds itself or an owner of its own.
    for (HostMenu* up = target; up && sub; up = up->owner) {
        if (up == sub)
            return;
    }
    if (!target || !sub || sub->owner)
        return;
    sub->owner = target;
    HostMenuItem item;
    item.name = sub->name;
    item.title = sub->title;
    item.subMenu = sub;
    target->items.push_back(std::move(item));
}

void CHostViewLayer::ClearMenu(VxMenu handle) {
    if (HostMenu* target = menu(handle)) {
        std::vector<HostMenuItem> items = std::move(target->items);
        target->items.clear();
        for (const HostMenuItem& item : items) {
            if (item.subMenu)
                destroyMenu(item.subMenu);
        }
        changed();
    }
}

std::vector<std::string> CHostViewLayer::MenuItemNames(VxMenu handle) {
    std::vector<std::string> names;
    if (HostMenu* target = menu(handle)) {
        for (const HostMenuItem& item : target->items)
            names.push_back(item.name);
    }
    return names;
}

bool CHostViewLayer::menuItemEnabled(const HostMenuItem& item) {
    return !item.separator && (item.exec || item.subMenu) &&
           (!item.enabled || item.enabled(item.data));
}

bool CHostViewLayer::menuItemMarked(const HostMenuItem& item) {
    return item.marked && item.marked(item.data);
}

bool CHostViewLayer::ExecuteMenuItem(VxMenu handle, const char* name) {
    HostMenu* target = menu(handle);
    if (!target || !name)
        return false;
    for (const HostMenuItem& item : target->items) {
        if (item.name == name && !item.separator && !item.subMenu) {
            if (!menuItemEnabled(item))
                return false;
            // The item's procedure may clear or destroy the menu: keep what it needs.
            VxMenuItemProc exec = item.exec;
            void* data = item.data;
            exec(data);
            changed();
            return true;
        }
    }
    return false;
}
