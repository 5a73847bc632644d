// What a person does with the views the layer holds: the page calls these, and they call the
// plug-in's procedures as a desktop tool kit would.
#include "host/view/CHostViewLayer.h"

#include <algorithm>

// Windows and panels.

bool CHostViewLayer::showPanel(const std::string& name, bool activate) {
    for (const HostPanel& panel : m_panels) {
        if (panel.name == name && panel.show) {
            panel.show(activate, panel.data);
            return true;
        }
    }
    return false;
}

bool CHostViewLayer::closeWindow(uint32_t id) {
    HostWindow* window = windowById(id);
    if (!window || !window->visible)
        return false;
    if (window->modal) {
        // The close box of a modal window cancels it.
        StopModal(reinterpret_cast<VxWindow>(window), -1);
        return true;
    }
    window->visible = false;
    changed();
    if (window->events.proc)
        window->events.proc(reinterpret_cast<VxWindow>(window), kVxWinDidClose,
                            window->events.data);
    return true;
}

// Menus.

bool CHostViewLayer::chooseMenuItem(uint32_t id, const std::string& name) {
    HostMenu* chosen = menuById(id);
    return chosen && ExecuteMenuItem(reinterpret_cast<VxMenu>(chosen), name.c_str());
}

void CHostViewLayer::closeMenu(uint32_t id) {
    if (HostMenu* closed = menuById(id); closed && !closed->owner)
        destroyMenu(closed);
}

// What a person does in a tree.

bool CHostViewLayer::clickItem(uint32_t treeId, uint32_t itemId) {
    HostView* tree = viewOf(reinterpret_cast<VxView>(viewById(treeId)), "Tree");
    HostTreeItem* item = treeItemById(tree, itemId);
    if (!item || !tree->enabled)
        return false;
    const VxTreeProcs& procs = tree->tree->procs;
    if (procs.canSelectItem &&
        !procs.canSelectItem(reinterpret_cast<VxView>(tree), reinterpret_cast<VxTreeItem>(item),
                             item->data, procs.data))
        return false;
    for (HostTreeItem* old : selection(tree)) {
        if (old != item)
            selectItem(tree, old, false);
    }
    // A procedure above may have removed the item.
    if (!(item = treeItemById(tree, itemId)))
        return false;
    selectItem(tree, item, true);
    return true;
}

bool CHostViewLayer::doubleClickItem(uint32_t treeId, uint32_t itemId) {
    HostView* tree = viewOf(reinterpret_cast<VxView>(viewById(treeId)), "Tree");
    HostTreeItem* item = treeItemById(tree, itemId);
    if (!item)
        return false;
    const VxTreeProcs& procs = tree->tree->procs;
    if (procs.doubleClick)
        procs.doubleClick(reinterpret_cast<VxView>(tree), reinterpret_cast<VxTreeItem>(item),
                          item->data, procs.data);
    return true;
}

bool CHostViewLayer::openItem(uint32_t treeId, uint32_t itemId, bool open) {
    HostView* tree = viewOf(reinterpret_cast<VxView>(viewById(treeId)), "Tree");
    HostTreeItem* item = treeItemById(tree, itemId);
    if (!item || item->children.empty() || item->open == open)
        return false;
    item->open = open;
    changed();
    const VxTreeProcs& procs = tree->tree->procs;
    if (procs.openItem)
        procs.openItem(reinterpret_cast<VxView>(tree), reinterpret_cast<VxTreeItem>(item),
                       item->data, open, procs.data);
    return true;
}

bool CHostViewLayer::keyDown(uint32_t treeId, int32_t key) {
    HostView* tree = viewOf(reinterpret_cast<VxView>(viewById(treeId)), "Tree");
    if (!tree)
        return false;
    std::vector<HostTreeItem*> selected = selection(tree);
    HostTreeItem* current = selected.empty() ? nullptr : selected.front();
    const VxTreeProcs& procs = tree->tree->procs;
    auto asView = reinterpret_cast<VxView>(tree);
    if (procs.keyDown &&
        procs.keyDown(asView, reinterpret_cast<VxTreeItem>(current), key, procs.data))
        return true;
    std::vector<HostTreeItem*> shown = openItems(tree);
    auto at = std::find(shown.begin(), shown.end(), current);
    switch (key) {
    case kVxKeyUp:
    case kVxKeyDown: {
        if (shown.empty())
            return false;
        if (at == shown.end())
            return clickItem(treeId, shown.front()->id);
        if (key == kVxKeyUp && at != shown.begin())
            return clickItem(treeId, (*(at - 1))->id);
        if (key == kVxKeyDown && at + 1 != shown.end())
            return clickItem(treeId, (*(at + 1))->id);
        return false;
    }
    case kVxKeyRight:
        return current && openItem(treeId, current->id, true);
    case kVxKeyLeft:
        if (!current)
            return false;
        if (current->open && !current->children.empty())
            return openItem(treeId, current->id, false);
        return current->parent != &tree->tree->root && current->parent &&
               clickItem(treeId, current->parent->id);
    case kVxKeyEnter:
        if (!current)
            return false;
        if (procs.itemAction)
            procs.itemAction(asView, reinterpret_cast<VxTreeItem>(current), current->data,
                             procs.data);
        else if (procs.doubleClick)
            procs.doubleClick(asView, reinterpret_cast<VxTreeItem>(current), current->data,
                              procs.data);
        return true;
    case kVxKeyDelete:
        if (!current || !procs.doDelete)
            return false;
        if (procs.canDelete && !procs.canDelete(asView, reinterpret_cast<VxTreeItem>(current),
                                                current->data, procs.data))
            return false;
        procs.doDelete(asView, reinterpret_cast<VxTreeItem>(current), current->data, procs.data);
        return true;
    default:
        return false;
    }
}

bool CHostViewLayer::moveItem(uint32_t treeId, uint32_t itemId, uint32_t targetId, bool before) {
    HostView* tree = viewOf(reinterpret_cast<VxView>(viewById(treeId)), "Tree");
    HostTreeItem* item = treeItemById(tree, itemId);
    HostTreeItem* target = treeItemById(tree, targetId);
    if (!item || !target || item == target)
        return false;
    const VxTreeProcs& procs = tree->tree->procs;
    auto asView = reinterpret_cast<VxView>(tree);
    if (!procs.move)
        return false;
    if (procs.canDrag &&
        !procs.canDrag(asView, reinterpret_cast<VxTreeItem>(item), item->data, procs.data))
        return false;
    if (procs.canMove &&
        !procs.canMove(asView, reinterpret_cast<VxTreeItem>(item), item->data, procs.data))
        return false;
    return procs.move(asView, reinterpret_cast<VxTreeItem>(item),
                      reinterpret_cast<VxTreeItem>(target), before, procs.data);
}

HostMenu* CHostViewLayer::contextMenu(uint32_t treeId, uint32_t itemId) {
    HostView* tree = viewOf(reinterpret_cast<VxView>(viewById(treeId)), "Tree");
    HostTreeItem* item = treeItemById(tree, itemId);
    if (!item)
        return nullptr;
    if (!item->selected)
        clickItem(treeId, itemId);
    if (!(item = treeItemById(tree, itemId)))
        return nullptr;
    const VxTreeProcs& procs = tree->tree->procs;
    if (!procs.contextMenu)
        return nullptr;
    return menu(procs.contextMenu(reinterpret_cast<VxView>(tree),
                                  reinterpret_cast<VxTreeItem>(item), item->data, procs.data));
}

// What a person does with the other views.

bool CHostViewLayer::pressButton(uint32_t id) {
    HostView* pressed = viewById(id);
    if (!pressed || !buttonEnabled(pressed))
        return false;
    auto asView = reinterpret_cast<VxView>(pressed);
    if (pressed->className == "CheckBox")
        pressed->state = pressed->state == 1 ? 0 : 1;
    else if (pressed->className == "RadioButton")
        pressed->state = 1;
    const HostProc<VxViewExecProc>& action = pressed->exec.proc ? pressed->exec : pressed->click;
    changed();
    if (!action.proc)
        return false;
    action.proc(asView, action.data);
    return true;
}

bool CHostViewLayer::chooseEntry(uint32_t id, int32_t index) {
    HostView* chooser = viewById(id);
    if (!chooser || !chooser->enabled || index < 0 ||
        static_cast<size_t>(index) >= chooser->entries.size() ||
        chooser->entries[static_cast<size_t>(index)].separator)
        return false;
    chooser->selection = index;
    if (chooser->className == "ComboBox")
        chooser->text = chooser->entries[static_cast<size_t>(index)].text;
    changed();
    auto asView = reinterpret_cast<VxView>(chooser);
    if (chooser->className == "List") {
        if (chooser->listSelection.proc)
            chooser->listSelection.proc(asView, index, chooser->listSelection.data);
        return true;
    }
    if (chooser->exec.proc)
        chooser->exec.proc(asView, chooser->exec.data);
    return true;
}

bool CHostViewLayer::followLink(uint32_t id, const std::string& url) {
    HostView* html = viewOf(reinterpret_cast<VxView>(viewById(id)), "HTML");
    if (!html || !html->linkProc.proc)
        return false;
    return html->linkProc.proc(reinterpret_cast<VxView>(html), url.c_str(), html->linkProc.data);
}

bool CHostViewLayer::dragSplitter(uint32_t id, int32_t size) {
    HostView* splitter = viewOf(reinterpret_cast<VxView>(viewById(id)), "Splitter");
    if (!splitter || size < 0)
        return false;
    (splitter->vertical ? splitter->horizontalSize : splitter->verticalSize) = size;
    return true;
}

bool CHostViewLayer::editText(uint32_t id, const std::string& text, bool commit) {
    HostView* field = viewOf(reinterpret_cast<VxView>(viewById(id)), "TextEdit");
    if (!field || !field->enabled || field->settings["SetReadOnly"])
        return false;
    field->text = text;
    auto asView = reinterpret_cast<VxView>(field);
    if (field->changeProc.proc)
        field->changeProc.proc(asView, field->changeProc.data);
    if (commit && field->commitProc.proc)
        field->commitProc.proc(asView, field->commitProc.data);
    return true;
}
