#include "tests/fakehost/FakeViewLayer.h"

#include <algorithm>

// The registry.

VxView FakeViewRegistry::make(FakeView* parent, const char* className, const char* name) {
    auto view = std::make_unique<FakeView>();
    view->className = className ? className : "";
    view->name = name ? name : "";
    view->parent = parent;
    if (parent)
        parent->children.push_back(view.get());
    m_live.insert(view.get());
    m_owned.push_back(std::move(view));
    return toHandle(m_owned.back().get());
}

void FakeViewRegistry::destroy(FakeView* view) {
    if (!view || !m_live.count(view))
        return;
    for (FakeView* child : std::vector<FakeView*>(view->children))
        destroy(child);
    // A procedure may remove itself or another; each is called once, from a copy.
    auto procs = view->deathProcs;
    for (auto& [proc, data] : procs) {
        auto& current = view->deathProcs;
        if (std::find(current.begin(), current.end(), std::make_pair(proc, data)) != current.end())
            proc(toHandle(view), data);
    }
    if (view->parent) {
        auto& siblings = view->parent->children;
        siblings.erase(std::remove(siblings.begin(), siblings.end(), view), siblings.end());
    }
    // A tree's items are freed with it, each with its last word.
    for (auto& [item, owned] : view->items)
        if (owned->inserted && view->procs.freeItem)
            view->procs.freeItem(toHandle(view), reinterpret_cast<VxTreeItem>(item), item->data,
                                 view->procs.data);
    view->items.clear();
    m_live.erase(view);
    m_owned.erase(std::remove_if(m_owned.begin(), m_owned.end(),
                                 [view](const auto& owned) { return owned.get() == view; }),
                  m_owned.end());
}

void FakeViewRegistry::destroyAll() {
    while (!m_owned.empty()) {
        FakeView* top = m_owned.front().get();
        while (top->parent)
            top = top->parent;
        destroy(top);
    }
}

// The base table.

std::string FakeBaseViewTable::ClassName(VxView view) {
    FakeView* fake = m_registry.find(view);
    return fake ? fake->className : std::string();
}

void FakeBaseViewTable::Destroy(VxView view) {
    m_registry.destroy(m_registry.find(view));
}

std::string FakeBaseViewTable::GetName(VxView view) {
    FakeView* fake = m_registry.find(view);
    return fake ? fake->name : std::string();
}

void FakeBaseViewTable::InvalidateRect(VxView view, const VxRect*) {
    if (FakeView* fake = m_registry.find(view))
        note(fake, "InvalidateRect");
}

VxRect FakeBaseViewTable::GetParentRect(VxView view) {
    return m_registry.find(view) ? VxRect{0, 0, 400, 300} : VxRect{};
}

VxRect FakeBaseViewTable::GetAperture(VxView view) {
    return GetParentRect(view);
}

VxRect FakeBaseViewTable::GetClientRect(VxView view) {
    return GetParentRect(view);
}

void FakeBaseViewTable::Show(VxView view, bool show) {
    if (FakeView* fake = m_registry.find(view))
        fake->visible = show;
}

bool FakeBaseViewTable::IsSetVisible(VxView view) {
    FakeView* fake = m_registry.find(view);
    return fake && fake->visible;
}

bool FakeBaseViewTable::IsVisible(VxView view) {
    for (FakeView* fake = m_registry.find(view); fake; fake = fake->parent)
        if (!fake->visible)
            return false;
    return m_registry.find(view) != nullptr;
}

void FakeBaseViewTable::Enable(VxView view, bool enable) {
    if (FakeView* fake = m_registry.find(view))
        fake->enabled = enable;
}

bool FakeBaseViewTable::IsEnabled(VxView view) {
    for (FakeView* fake = m_registry.find(view); fake; fake = fake->parent)
        if (!fake->enabled)
            return false;
    return m_registry.find(view) != nullptr;
}

bool FakeBaseViewTable::IsSetEnabled(VxView view) {
    FakeView* fake = m_registry.find(view);
    return fake && fake->enabled;
}

void FakeBaseViewTable::Select(VxView view, bool select) {
    if (FakeView* fake = m_registry.find(view))
        fake->selected = select;
}

bool FakeBaseViewTable::IsSelected(VxView view) {
    FakeView* fake = m_registry.find(view);
    return fake && fake->selected;
}

void FakeBaseViewTable::ForwardClickToParent(VxView view, bool) {
    if (FakeView* fake = m_registry.find(view))
        note(fake, "ForwardClickToParent");
}

void FakeBaseViewTable::ForwardRightClickToParent(VxView view, bool) {
    if (FakeView* fake = m_registry.find(view))
        note(fake, "ForwardRightClickToParent");
}

void FakeBaseViewTable::SetWantsHiddenDisabledScrollbars(VxView view, bool) {
    if (FakeView* fake = m_registry.find(view))
        note(fake, "SetWantsHiddenDisabledScrollbars");
}

void FakeBaseViewTable::Reparent(VxView view, VxView newParent) {
    FakeView* fake = m_registry.find(view);
    FakeView* parent = m_registry.find(newParent);
    if (!fake || fake == parent)
        return;
    for (FakeView* up = parent; up; up = up->parent)
        if (up == fake)
            return;
    if (fake->parent) {
        auto& siblings = fake->parent->children;
        siblings.erase(std::remove(siblings.begin(), siblings.end(), fake), siblings.end());
    }
    fake->parent = parent;
    if (parent)
        parent->children.push_back(fake);
}

void FakeBaseViewTable::SetScrollAmounts(VxView view, int32_t, int32_t) {
    if (FakeView* fake = m_registry.find(view))
        note(fake, "SetScrollAmounts");
}

void FakeBaseViewTable::ScrollTo(VxView view, int32_t, int32_t) {
    if (FakeView* fake = m_registry.find(view))
        note(fake, "ScrollTo");
}

VxView FakeBaseViewTable::GetParent(VxView view) {
    FakeView* fake = m_registry.find(view);
    return fake && fake->parent ? toHandle(fake->parent) : nullptr;
}

bool FakeBaseViewTable::HasFocus(VxView view) {
    FakeView* fake = m_registry.find(view);
    return fake && fake->focus;
}

void FakeBaseViewTable::SetFocus(VxView view) {
    FakeView* fake = m_registry.find(view);
    if (!fake)
        return;
    for (FakeView* other : m_registry.live())
        other->focus = false;
    fake->focus = true;
}

void FakeBaseViewTable::AddDeathProc(VxView view, VxViewDeathProc proc, void* data) {
    FakeView* fake = m_registry.find(view);
    if (!fake || !proc)
        return;
    auto entry = std::make_pair(proc, data);
    if (std::find(fake->deathProcs.begin(), fake->deathProcs.end(), entry) ==
        fake->deathProcs.end())
        fake->deathProcs.push_back(entry);
}

void FakeBaseViewTable::RemoveDeathProc(VxView view, VxViewDeathProc proc, void* data) {
    FakeView* fake = m_registry.find(view);
    if (!fake)
        return;
    auto& procs = fake->deathProcs;
    procs.erase(std::remove(procs.begin(), procs.end(), std::make_pair(proc, data)), procs.end());
}

// The tree table.

namespace {

VxTreeItem handle(FakeTreeItem* item) {
    return reinterpret_cast<VxTreeItem>(item);
}

} // namespace

FakeView* FakeTreeViewTable::tree(VxView view) {
    FakeView* fake = m_registry.find(view);
    return fake && fake->className == "Tree" ? fake : nullptr;
}

FakeTreeItem* FakeTreeViewTable::item(FakeView* tree, VxTreeItem item) {
    auto* fake = reinterpret_cast<FakeTreeItem*>(item);
    if (!tree || !fake)
        return nullptr;
    if (fake == &tree->root)
        return fake;
    return tree->items.count(fake) ? fake : nullptr;
}

FakeTreeItem* FakeTreeViewTable::parentOrRoot(FakeView* tree, VxTreeItem parent) {
    if (!parent)
        return &tree->root;
    return item(tree, parent);
}

void FakeTreeViewTable::openRows(FakeTreeItem* parent, std::vector<FakeTreeItem*>& rows) {
    for (FakeTreeItem* child : parent->children) {
        rows.push_back(child);
        if (child->open)
            openRows(child, rows);
    }
}

void FakeTreeViewTable::detach(FakeTreeItem* item) {
    if (!item->parent)
        return;
    auto& siblings = item->parent->children;
    siblings.erase(std::remove(siblings.begin(), siblings.end(), item), siblings.end());
    item->parent = nullptr;
}

void FakeTreeViewTable::freeSubtree(FakeView* tree, FakeTreeItem* item) {
    for (FakeTreeItem* child : std::vector<FakeTreeItem*>(item->children))
        freeSubtree(tree, child);
    detach(item);
    if (tree->procs.freeItem)
        tree->procs.freeItem(toHandle(tree), handle(item), item->data, tree->procs.data);
    tree->items.erase(item);
}

VxView FakeTreeViewTable::Create(VxView parent, const char* name) {
    return m_registry.make(m_registry.find(parent), "Tree", name);
}

VxTreeItem FakeTreeViewTable::GetRootTreeItemView(VxView view) {
    FakeView* fake = tree(view);
    return fake ? handle(&fake->root) : nullptr;
}

void FakeTreeViewTable::EnumSelectedItems(VxView view, bool (*proc)(VxTreeItem, void*),
                                          void* data) {
    for (VxTreeItem selected : GetSelection(view))
        if (!proc || !proc(selected, data))
            return;
}

void FakeTreeViewTable::FreeItem(VxView view, VxTreeItem handleOfItem) {
    FakeView* fake = tree(view);
    FakeTreeItem* found = item(fake, handleOfItem);
    if (found && found != &fake->root && !found->inserted)
        fake->items.erase(found);
}

VxTreeItem FakeTreeViewTable::GetItemAtIndex(VxView view, int32_t index) {
    return GetOpenItem(view, index);
}

int32_t FakeTreeViewTable::GetItemIndex(VxView view, VxTreeItem handleOfItem) {
    FakeTreeItem* found = item(tree(view), handleOfItem);
    if (!found || !found->parent)
        return -1;
    auto& siblings = found->parent->children;
    return static_cast<int32_t>(std::find(siblings.begin(), siblings.end(), found) -
                                siblings.begin());
}

void FakeTreeViewTable::Suspend(VxView view) {
    if (FakeView* fake = tree(view)) {
        ++fake->suspended;
        ++fake->suspends;
    }
}

void FakeTreeViewTable::Resume(VxView view) {
    FakeView* fake = tree(view);
    if (!fake || fake->suspended == 0)
        return;
    if (--fake->suspended == 0)
        ++fake->fullRedraws;
}

VxTreeItem FakeTreeViewTable::CreateItem(VxView view, void* itemData) {
    FakeView* fake = tree(view);
    if (!fake)
        return nullptr;
    auto made = std::make_unique<FakeTreeItem>();
    made->data = itemData;
    FakeTreeItem* raw = made.get();
    fake->items.emplace(raw, std::move(made));
    return handle(raw);
}

void FakeTreeViewTable::InsertItem(VxView view, VxTreeItem handleOfItem, VxTreeItem parent,
                                   int32_t position) {
    FakeView* fake = tree(view);
    FakeTreeItem* found = item(fake, handleOfItem);
    FakeTreeItem* under = fake ? parentOrRoot(fake, parent) : nullptr;
    if (!found || !under || found == &fake->root)
        return;
    for (FakeTreeItem* up = under; up; up = up->parent)
        if (up == found)
            return;
    detach(found);
    auto& siblings = under->children;
    if (position < 0 || position > static_cast<int32_t>(siblings.size()))
        siblings.push_back(found);
    else
        siblings.insert(siblings.begin() + position, found);
    found->parent = under;
    found->inserted = true;
}

void FakeTreeViewTable::InsertCustomItem(VxView view, VxTreeItem item, VxTreeItem parent,
                                         int32_t position, int32_t) {
    InsertItem(view, item, parent, position);
}

void* FakeTreeViewTable::GetItem(VxView view, VxTreeItem handleOfItem) {
    FakeTreeItem* found = item(tree(view), handleOfItem);
    return found ? found->data : nullptr;
}

int32_t FakeTreeViewTable::NumOpenItems(VxView view) {
    FakeView* fake = tree(view);
    if (!fake)
        return 0;
    std::vector<FakeTreeItem*> rows;
    openRows(&fake->root, rows);
    return static_cast<int32_t>(rows.size());
}

VxTreeItem FakeTreeViewTable::GetOpenItem(VxView view, int32_t index) {
    FakeView* fake = tree(view);
    if (!fake)
        return nullptr;
    std::vector<FakeTreeItem*> rows;
    openRows(&fake->root, rows);
    if (index < 0 || index >= static_cast<int32_t>(rows.size()))
        return nullptr;
    return handle(rows[static_cast<size_t>(index)]);
}

int32_t FakeTreeViewTable::GetOpenIndex(VxView view, VxTreeItem handleOfItem) {
    FakeView* fake = tree(view);
    if (!fake)
        return -1;
    std::vector<FakeTreeItem*> rows;
    openRows(&fake->root, rows);
    auto found = std::find(rows.begin(), rows.end(), reinterpret_cast<FakeTreeItem*>(handleOfItem));
    return found == rows.end() ? -1 : static_cast<int32_t>(found - rows.begin());
}

void FakeTreeViewTable::GetVisibleIndexRange(VxView view, int32_t* first, int32_t* last) {
    int32_t rows = NumOpenItems(view);
    if (first)
        *first = rows ? 0 : -1;
    if (last)
        *last = rows - 1;
}

VxTreeItem FakeTreeViewTable::GetFirstSelected(VxView view) {
    std::vector<VxTreeItem> selection = GetSelection(view);
    return selection.empty() ? nullptr : selection.front();
}

int32_t FakeTreeViewTable::GetSelectedItemCount(VxView view) {
    return static_cast<int32_t>(GetSelection(view).size());
}

std::vector<VxTreeItem> FakeTreeViewTable::GetSelection(VxView view) {
    std::vector<VxTreeItem> selection;
    FakeView* fake = tree(view);
    if (!fake)
        return selection;
    std::vector<FakeTreeItem*> all;
    // Display order, closed branches included.
    std::vector<FakeTreeItem*> stack(fake->root.children.rbegin(), fake->root.children.rend());
    while (!stack.empty()) {
        FakeTreeItem* next = stack.back();
        stack.pop_back();
        if (next->selected)
            selection.push_back(handle(next));
        stack.insert(stack.end(), next->children.rbegin(), next->children.rend());
    }
    return selection;
}

void FakeTreeViewTable::EnumItems(VxView view, VxTreeItem parent, bool (*proc)(VxTreeItem, void*),
                                  void* data) {
    FakeView* fake = tree(view);
    FakeTreeItem* under = fake ? parentOrRoot(fake, parent) : nullptr;
    if (!under || !proc)
        return;
    for (FakeTreeItem* child : std::vector<FakeTreeItem*>(under->children))
        if (!proc(handle(child), data))
            return;
}

VxColor FakeTreeViewTable::GetItemColor(VxView view, VxTreeItem handleOfItem) {
    FakeView* fake = tree(view);
    FakeTreeItem* found = item(fake, handleOfItem);
    if (!found || !fake->procs.itemColor)
        return 0;
    return static_cast<VxColor>(
        fake->procs.itemColor(view, handleOfItem, found->data, fake->procs.data));
}

void FakeTreeViewTable::RemoveAllItems(VxView view) {
    FakeView* fake = tree(view);
    if (!fake)
        return;
    for (FakeTreeItem* child : std::vector<FakeTreeItem*>(fake->root.children))
        freeSubtree(fake, child);
}

void FakeTreeViewTable::RemoveItem(VxView view, VxTreeItem handleOfItem) {
    FakeView* fake = tree(view);
    FakeTreeItem* found = item(fake, handleOfItem);
    if (found && found != &fake->root)
        freeSubtree(fake, found);
}

void FakeTreeViewTable::OpenItem(VxView view, VxTreeItem handleOfItem, bool open) {
    FakeTreeItem* found = item(tree(view), handleOfItem);
    if (found)
        found->open = open;
}

void FakeTreeViewTable::OpenAllItems(VxView view, bool open) {
    FakeView* fake = tree(view);
    if (!fake)
        return;
    for (auto& [raw, owned] : fake->items) {
        if (!raw->inserted || raw->open == open)
            continue;
        raw->open = open;
        if (fake->procs.openItem)
            fake->procs.openItem(view, handle(raw), raw->data, open, fake->procs.data);
    }
}

bool FakeTreeViewTable::CanSelectItem(VxView view, VxTreeItem handleOfItem) {
    FakeView* fake = tree(view);
    FakeTreeItem* found = item(fake, handleOfItem);
    if (!found || found == &fake->root)
        return false;
    return !fake->procs.canSelectItem ||
           fake->procs.canSelectItem(view, handleOfItem, found->data, fake->procs.data);
}

void FakeTreeViewTable::SelectItem(VxView view, VxTreeItem handleOfItem, bool select) {
    FakeView* fake = tree(view);
    FakeTreeItem* found = item(fake, handleOfItem);
    if (!found || found == &fake->root || found->selected == select)
        return;
    if (select && !CanSelectItem(view, handleOfItem))
        return;
    found->selected = select;
    if (fake->procs.selectItem)
        fake->procs.selectItem(view, handleOfItem, found->data, select, fake->procs.data);
}

void FakeTreeViewTable::MoveSelectedItems(VxView view, VxTreeItem target, bool before) {
    FakeView* fake = tree(view);
    FakeTreeItem* to = item(fake, target);
    if (!to || !to->parent)
        return;
    for (VxTreeItem selected : GetSelection(view)) {
        FakeTreeItem* moved = item(fake, selected);
        if (!moved || moved == to)
            continue;
        detach(moved);
        auto& siblings = to->parent->children;
        auto at = std::find(siblings.begin(), siblings.end(), to);
        siblings.insert(before ? at : at + 1, moved);
        moved->parent = to->parent;
    }
}

void FakeTreeViewTable::DeleteSelectedItems(VxView view) {
    for (VxTreeItem selected : GetSelection(view))
        RemoveItem(view, selected);
}

int32_t FakeTreeViewTable::GetItemCount(VxView view, VxTreeItem parent) {
    FakeView* fake = tree(view);
    FakeTreeItem* under = fake ? parentOrRoot(fake, parent) : nullptr;
    return under ? static_cast<int32_t>(under->children.size()) : 0;
}

void FakeTreeViewTable::UpdateHighlights(VxView view) {
    if (FakeView* fake = tree(view))
        fake->calls.push_back("UpdateHighlights");
}

void FakeTreeViewTable::ForceResize(VxView view) {
    if (FakeView* fake = tree(view))
        fake->calls.push_back("ForceResize");
}

void FakeTreeViewTable::ClickItem(VxView view, VxTreeItem handleOfItem) {
    FakeView* fake = tree(view);
    FakeTreeItem* found = item(fake, handleOfItem);
    if (!found || found->selected || !CanSelectItem(view, handleOfItem))
        return;
    for (VxTreeItem selected : GetSelection(view))
        SelectItem(view, selected, false);
    SelectItem(view, handleOfItem, true);
}

void FakeTreeViewTable::DeselectAll(VxView view) {
    for (VxTreeItem selected : GetSelection(view))
        SelectItem(view, selected, false);
}

void FakeTreeViewTable::SetProcs(VxView view, const VxTreeProcs& procs) {
    if (FakeView* fake = tree(view))
        fake->procs = procs;
}

VxTreeProcs FakeTreeViewTable::GetProcs(VxView view) {
    FakeView* fake = tree(view);
    return fake ? fake->procs : VxTreeProcs{};
}

VxTreeItem FakeTreeViewTable::GetItemParent(VxView view, VxTreeItem handleOfItem) {
    FakeView* fake = tree(view);
    FakeTreeItem* found = item(fake, handleOfItem);
    if (!found || !found->parent || found->parent == &fake->root)
        return nullptr;
    return handle(found->parent);
}

bool FakeTreeViewTable::IsItemOpen(VxView view, VxTreeItem handleOfItem) {
    FakeTreeItem* found = item(tree(view), handleOfItem);
    return found && found->open;
}

void FakeTreeViewTable::InvalidateItem(VxView view, VxTreeItem handleOfItem) {
    FakeTreeItem* found = item(tree(view), handleOfItem);
    if (!found)
        return;
    ++found->redraws;
    ++invalidations;
}

void FakeTreeViewTable::MoveItem(VxView view, VxTreeItem handleOfItem, VxTreeItem parent,
                                 int32_t position) {
    InsertItem(view, handleOfItem, parent, position);
}

// The layer.

FakeViewLayer::FakeViewLayer() = default;

FakeViewLayer::~FakeViewLayer() {
    m_registry.destroyAll();
}

FakeWindow* FakeViewLayer::window(VxWindow handle) const {
    for (const auto& owned : m_windows)
        if (reinterpret_cast<VxWindow>(owned.get()) == handle)
            return owned.get();
    return nullptr;
}

FakeMenu* FakeViewLayer::menu(VxMenu handle) const {
    for (const auto& owned : m_menus)
        if (reinterpret_cast<VxMenu>(owned.get()) == handle)
            return owned.get();
    return nullptr;
}

VxWindow FakeViewLayer::NewWindow(const char* name, const char* titleUtf8) {
    auto made = std::make_unique<FakeWindow>();
    made->name = name ? name : "";
    made->title = titleUtf8 ? titleUtf8 : "";
    made->root = m_registry.find(m_registry.make(nullptr, "Container", made->name.c_str()));
    m_windows.push_back(std::move(made));
    return reinterpret_cast<VxWindow>(m_windows.back().get());
}

void FakeViewLayer::DestroyWindow(VxWindow handle) {
    FakeWindow* found = window(handle);
    if (!found)
        return;
    if (found->proc)
        found->proc(handle, kVxWinWillDestroy, found->data);
    m_registry.destroy(found->root);
    m_windows.erase(std::remove_if(m_windows.begin(), m_windows.end(),
                                   [found](const auto& owned) { return owned.get() == found; }),
                    m_windows.end());
}

VxView FakeViewLayer::GetWindowRootView(VxWindow handle) {
    FakeWindow* found = window(handle);
    return found && m_registry.find(toHandle(found->root)) ? toHandle(found->root) : nullptr;
}

void FakeViewLayer::ShowWindow(VxWindow handle, bool show, bool activate) {
    FakeWindow* found = window(handle);
    if (!found)
        return;
    found->visible = show;
    found->activated = show && activate;
}

bool FakeViewLayer::IsWindowVisible(VxWindow handle) {
    FakeWindow* found = window(handle);
    return found && found->visible;
}

void FakeViewLayer::SetWindowTitle(VxWindow handle, const char* titleUtf8) {
    if (FakeWindow* found = window(handle))
        found->title = titleUtf8 ? titleUtf8 : "";
}

void FakeViewLayer::SetWindowEventProc(VxWindow handle, VxWindowEventProc proc, void* data) {
    if (FakeWindow* found = window(handle)) {
        found->proc = proc;
        found->data = data;
    }
}

VxWindow FakeViewLayer::GetViewWindow(VxView handle) {
    FakeView* fake = m_registry.find(handle);
    while (fake && fake->parent)
        fake = fake->parent;
    for (const auto& owned : m_windows)
        if (fake && owned->root == fake)
            return reinterpret_cast<VxWindow>(owned.get());
    return nullptr;
}

int32_t FakeViewLayer::RunModal(VxWindow handle) {
    FakeWindow* found = window(handle);
    if (!found)
        return -1;
    found->visible = true;
    found->inModal = true;
    if (found->whileModal)
        found->whileModal(found, found->whileModalData);
    found->inModal = false;
    found->visible = false;
    return found->modalResult;
}

void FakeViewLayer::StopModal(VxWindow handle, int32_t result) {
    FakeWindow* found = window(handle);
    if (found && found->inModal)
        found->modalResult = result;
}

VxView FakeViewLayer::FindViewByName(VxView root, const char* name) {
    FakeView* fake = m_registry.find(root);
    if (!fake || !name)
        return nullptr;
    if (fake->name == name)
        return root;
    for (FakeView* child : fake->children)
        if (VxView found = FindViewByName(toHandle(child), name))
            return found;
    return nullptr;
}

void FakeViewLayer::RegisterPanel(const char* name, const char* titleUtf8, VxPanelShowProc show,
                                  void* data) {
    if (name)
        m_panels[name] = {titleUtf8 ? titleUtf8 : "", show, data};
}

void FakeViewLayer::UnregisterPanel(const char* name) {
    if (name)
        m_panels.erase(name);
}

VxMenu FakeViewLayer::NewMenu(const char* name, const char* titleUtf8) {
    auto made = std::make_unique<FakeMenu>();
    made->name = name ? name : "";
    made->title = titleUtf8 ? titleUtf8 : "";
    m_menus.push_back(std::move(made));
    return reinterpret_cast<VxMenu>(m_menus.back().get());
}

void FakeViewLayer::DestroyMenu(VxMenu handle) {
    FakeMenu* found = menu(handle);
    if (!found)
        return;
    for (FakeMenuItem& entry : found->items)
        if (entry.subMenu)
            DestroyMenu(reinterpret_cast<VxMenu>(entry.subMenu));
    m_menus.erase(std::remove_if(m_menus.begin(), m_menus.end(),
                                 [found](const auto& owned) { return owned.get() == found; }),
                  m_menus.end());
}

void FakeViewLayer::AppendMenuItem(VxMenu handle, const char* name, const char* titleUtf8,
                                   VxMenuItemProc exec, VxMenuItemTestProc enabled,
                                   VxMenuItemTestProc marked, void* data) {
    FakeMenu* found = menu(handle);
    if (!found)
        return;
    FakeMenuItem entry;
    entry.name = name ? name : "";
    entry.title = titleUtf8 ? titleUtf8 : "";
    entry.exec = exec;
    entry.enabled = enabled;
    entry.marked = marked;
    entry.data = data;
    found->items.push_back(entry);
}

void FakeViewLayer::AppendMenuSeparator(VxMenu handle) {
    if (FakeMenu* found = menu(handle)) {
        FakeMenuItem entry;
        entry.name = "-";
        entry.separator = true;
        found->items.push_back(entry);
    }
}

void FakeViewLayer::AppendSubMenu(VxMenu handle, VxMenu subMenu) {
    FakeMenu* found = menu(handle);
    FakeMenu* sub = menu(subMenu);
    if (!found || !sub || found == sub)
        return;
    FakeMenuItem entry;
    entry.name = sub->name;
    entry.title = sub->title;
    entry.subMenu = sub;
    found->items.push_back(entry);
}

void FakeViewLayer::ClearMenu(VxMenu handle) {
    FakeMenu* found = menu(handle);
    if (!found)
        return;
    auto items = std::move(found->items);
    found->items.clear();
    for (FakeMenuItem& entry : items)
        if (entry.subMenu)
            DestroyMenu(reinterpret_cast<VxMenu>(entry.subMenu));
}

std::vector<std::string> FakeViewLayer::MenuItemNames(VxMenu handle) {
    std::vector<std::string> names;
    if (FakeMenu* found = menu(handle))
        for (const FakeMenuItem& entry : found->items)
            names.push_back(entry.name);
    return names;
}

bool FakeViewLayer::ExecuteMenuItem(VxMenu handle, const char* name) {
    FakeMenu* found = menu(handle);
    if (!found || !name)
        return false;
    for (const FakeMenuItem& entry : found->items) {
        if (entry.name != name || entry.separator || entry.subMenu)
            continue;
        if (entry.enabled && !entry.enabled(entry.data))
            return false;
        if (entry.exec)
            entry.exec(entry.data);
        return true;
    }
    return false;
}

// Helpers for tests.

VxView FakeViewLayer::viewNamed(const std::string& name) const {
    for (FakeView* fake : m_registry.live())
        if (fake->name == name)
            return toHandle(fake);
    return nullptr;
}

VxView FakeViewLayer::viewOfClass(const std::string& className) const {
    for (FakeView* fake : m_registry.live())
        if (fake->className == className)
            return toHandle(fake);
    return nullptr;
}

bool FakeViewLayer::showPanel(const std::string& name, bool activate) {
    auto found = m_panels.find(name);
    if (found == m_panels.end() || !found->second.show)
        return false;
    found->second.show(activate, found->second.data);
    return true;
}

std::vector<VxTreeItem> FakeViewLayer::children(VxView tree, VxTreeItem parent) const {
    std::vector<VxTreeItem> out;
    FakeView* fake = m_registry.find(tree);
    if (!fake)
        return out;
    FakeTreeItem* under = parent ? reinterpret_cast<FakeTreeItem*>(parent) : &fake->root;
    if (under != &fake->root && !fake->items.count(under))
        return out;
    for (FakeTreeItem* child : under->children)
        out.push_back(reinterpret_cast<VxTreeItem>(child));
    return out;
}

namespace {

void* dataOf(FakeView* tree, VxTreeItem item) {
    auto* fake = reinterpret_cast<FakeTreeItem*>(item);
    return tree && tree->items.count(fake) ? fake->data : nullptr;
}

} // namespace

std::string FakeViewLayer::itemText(VxView tree, VxTreeItem item) const {
    FakeView* fake = m_registry.find(tree);
    if (!fake || !fake->procs.itemText)
        return {};
    return fake->procs.itemText(tree, item, dataOf(fake, item), fake->procs.data);
}

int32_t FakeViewLayer::itemStyle(VxView tree, VxTreeItem item) const {
    FakeView* fake = m_registry.find(tree);
    if (!fake || !fake->procs.itemStyle)
        return kVxTreeStylePlain;
    return fake->procs.itemStyle(tree, item, dataOf(fake, item), fake->procs.data);
}

std::string FakeViewLayer::itemToolTip(VxView tree, VxTreeItem item) const {
    FakeView* fake = m_registry.find(tree);
    if (!fake || !fake->procs.toolTip)
        return {};
    return fake->procs.toolTip(tree, item, dataOf(fake, item), fake->procs.data);
}

VxIcon FakeViewLayer::itemIcon(VxView tree, VxTreeItem item) const {
    FakeView* fake = m_registry.find(tree);
    if (!fake || !fake->procs.itemIcon)
        return nullptr;
    return fake->procs.itemIcon(tree, item, dataOf(fake, item), fake->procs.data);
}

VxTreeItem FakeViewLayer::findItem(VxView tree, const std::string& text) const {
    std::vector<VxTreeItem> stack = children(tree, nullptr);
    std::reverse(stack.begin(), stack.end());
    while (!stack.empty()) {
        VxTreeItem next = stack.back();
        stack.pop_back();
        if (itemText(tree, next) == text)
            return next;
        std::vector<VxTreeItem> below = children(tree, next);
        stack.insert(stack.end(), below.rbegin(), below.rend());
    }
    return nullptr;
}

std::string FakeViewLayer::dump(VxView tree) const {
    std::string out;
    auto walk = [&](auto& self, VxTreeItem parent, int depth) -> void {
        for (VxTreeItem item : children(tree, parent)) {
            out += std::string(static_cast<size_t>(depth) * 2, ' ');
            if (itemStyle(tree, item) == kVxTreeStyleBold)
                out += "*";
            if (!reinterpret_cast<FakeTreeItem*>(item)->open)
                out += "-";
            out += itemText(tree, item) + "\n";
            self(self, item, depth + 1);
        }
    };
    walk(walk, nullptr, 0);
    return out;
}

void FakeViewLayer::click(VxView tree, VxTreeItem item) {
    m_tree.ClickItem(tree, item);
}

void FakeViewLayer::doubleClick(VxView tree, VxTreeItem item) {
    FakeView* fake = m_registry.find(tree);
    if (fake && fake->procs.doubleClick)
        fake->procs.doubleClick(tree, item, dataOf(fake, item), fake->procs.data);
}

bool FakeViewLayer::pressKey(VxView tree, int32_t key) {
    FakeView* fake = m_registry.find(tree);
    if (!fake)
        return false;
    VxTreeItem selected = m_tree.GetFirstSelected(tree);
    if (fake->procs.keyDown && fake->procs.keyDown(tree, selected, key, fake->procs.data))
        return true;
    if (key != kVxKeyDelete || !selected)
        return false;
    void* data = dataOf(fake, selected);
    if (fake->procs.canDelete && !fake->procs.canDelete(tree, selected, data, fake->procs.data))
        return false;
    if (fake->procs.doDelete)
        fake->procs.doDelete(tree, selected, data, fake->procs.data);
    return fake->procs.doDelete != nullptr;
}

VxMenu FakeViewLayer::contextMenu(VxView tree, VxTreeItem item) {
    FakeView* fake = m_registry.find(tree);
    if (!fake || !fake->procs.contextMenu)
        return nullptr;
    return fake->procs.contextMenu(tree, item, dataOf(fake, item), fake->procs.data);
}

bool FakeViewLayer::buttonEnabled(VxView button) {
    return view(button) && m_button.GetShouldEnable(button);
}

bool FakeViewLayer::pressButton(VxView button) {
    FakeView* fake = view(button);
    if (!fake || !m_button.GetShouldEnable(button))
        return false;
    auto found = fake->props.find("ExecProc");
    if (found == fake->props.end())
        return false;
    auto* exec = std::any_cast<std::tuple<VxViewExecProc, void*>>(&found->second);
    if (!exec || !std::get<0>(*exec))
        return false;
    std::get<0> (*exec)(button, std::get<1>(*exec));
    return true;
}

bool FakeViewLayer::menuItemEnabled(VxMenu handle, const std::string& name) {
    FakeMenu* found = menu(handle);
    if (!found)
        return false;
    for (const FakeMenuItem& entry : found->items)
        if (entry.name == name)
            return !entry.enabled || entry.enabled(entry.data);
    return false;
}

bool FakeViewLayer::clickLink(VxView html, const std::string& url) {
    FakeView* fake = view(html);
    if (!fake)
        return false;
    auto found = fake->props.find("HandleHTMLLink");
    if (found == fake->props.end())
        return false;
    auto* link = std::any_cast<std::tuple<VxHTMLLinkProc, void*>>(&found->second);
    return link && std::get<0>(*link) && std::get<0>(*link)(html, url.c_str(), std::get<1>(*link));
}

void FakeViewLayer::resetCounters() {
    m_tree.invalidations = 0;
    for (FakeView* fake : m_registry.live()) {
        fake->suspends = 0;
        fake->fullRedraws = 0;
        for (auto& [raw, owned] : fake->items)
            raw->redraws = 0;
    }
}
