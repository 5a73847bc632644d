// The tree view's table: items the plug-in makes and places, their open and selected state, and
// the procedures through which the page asks for their text, icon and style.
#include "host/view/ViewTables.h"

#include <algorithm>

namespace {

VxTreeItem handleOf(HostTreeItem* item) {
    return reinterpret_cast<VxTreeItem>(item);
}

class TreeViewTable final : public IVxTreeViewClassFTab {
public:
    explicit TreeViewTable(CHostViewLayer& layer) : m_layer(layer) {}

    VxView Create(VxView parent, const char* name) override {
        return reinterpret_cast<VxView>(m_layer.create(parent, "Tree", name));
    }
    VxTreeItem GetRootTreeItemView(VxView view) override {
        HostView* t = tree(view);
        return t ? handleOf(&t->tree->root) : nullptr;
    }
    void EnumSelectedItems(VxView view, bool (*proc)(VxTreeItem, void*), void* data) override {
        HostView* t = tree(view);
        if (!t || !proc)
            return;
        for (HostTreeItem* item : m_layer.selection(t)) {
            if (!proc(handleOf(item), data))
                return;
        }
    }
    void FreeItem(VxView view, VxTreeItem handle) override {
        HostView* t = tree(view);
        HostTreeItem* it = m_layer.treeItem(t, handle);
        if (it && !it->inserted)
            m_layer.removeItem(t, it);
    }
    VxTreeItem GetItemAtIndex(VxView view, int32_t index) override {
        return GetOpenItem(view, index);
    }
    int32_t GetItemIndex(VxView view, VxTreeItem handle) override {
        HostTreeItem* it = item(view, handle);
        if (!it || !it->parent)
            return -1;
        auto& siblings = it->parent->children;
        return static_cast<int32_t>(std::find(siblings.begin(), siblings.end(), it) -
                                    siblings.begin());
    }
    void Suspend(VxView view) override {
        if (HostView* t = tree(view))
            ++t->tree->suspended;
    }
    void Resume(VxView view) override {
        HostView* t = tree(view);
        if (!t || t->tree->suspended == 0)
            return;
        // The whole tree is drawn again at the outermost Resume.
        if (--t->tree->suspended == 0)
            m_layer.changed();
    }
    VxTreeItem CreateItem(VxView view, void* itemData) override {
        HostView* t = tree(view);
        return t ? handleOf(m_layer.newItem(t, itemData)) : nullptr;
    }
    void InsertItem(VxView view, VxTreeItem handle, VxTreeItem parent, int32_t position) override {
        HostView* t = tree(view);
        HostTreeItem* it = m_layer.treeItem(t, handle);
        if (it && validParent(t, parent))
            m_layer.insertItem(t, it, parentItem(t, parent), position);
    }
    void InsertCustomItem(VxView view, VxTreeItem handle, VxTreeItem parent, int32_t position,
                          int32_t height) override {
        if (HostTreeItem* it = item(view, handle))
            it->height = height;
        InsertItem(view, handle, parent, position);
    }
    void* GetItem(VxView view, VxTreeItem handle) override {
        HostTreeItem* it = item(view, handle);
        return it ? it->data : nullptr;
    }
    int32_t NumOpenItems(VxView view) override {
        HostView* t = tree(view);
        return t ? static_cast<int32_t>(m_layer.openItems(t).size()) : 0;
    }
    VxTreeItem GetOpenItem(VxView view, int32_t index) override {
        HostView* t = tree(view);
        if (!t || index < 0)
            return nullptr;
        std::vector<HostTreeItem*> shown = m_layer.openItems(t);
        return static_cast<size_t>(index) < shown.size()
                   ? handleOf(shown[static_cast<size_t>(index)])
                   : nullptr;
    }
    int32_t GetOpenIndex(VxView view, VxTreeItem handle) override {
        HostView* t = tree(view);
        HostTreeItem* it = m_layer.treeItem(t, handle);
        if (!it)
            return -1;
        std::vector<HostTreeItem*> shown = m_layer.openItems(t);
        auto at = std::find(shown.begin(), shown.end(), it);
        return at == shown.end() ? -1 : static_cast<int32_t>(at - shown.begin());
    }
    void GetVisibleIndexRange(VxView view, int32_t* first, int32_t* last) override {
        // The page scrolls by itself: every open row counts as visible.
        int32_t count = NumOpenItems(view);
        if (first)
            *first = count ? 0 : -1;
        if (last)
            *last = count - 1;
    }
    VxTreeItem GetFirstSelected(VxView view) override {
        HostView* t = tree(view);
        if (!t)
            return nullptr;
        std::vector<HostTreeItem*> selected = m_layer.selection(t);
        return selected.empty() ? nullptr : handleOf(selected.front());
    }
    int32_t GetSelectedItemCount(VxView view) override {
        HostView* t = tree(view);
        return t ? static_cast<int32_t>(m_layer.selection(t).size()) : 0;
    }
    std::vector<VxTreeItem> GetSelection(VxView view) override {
        std::vector<VxTreeItem> handles;
        if (HostView* t = tree(view)) {
            for (HostTreeItem* it : m_layer.selection(t))
                handles.push_back(handleOf(it));
        }
        return handles;
    }
    void EnumItems(VxView view, VxTreeItem parent, bool (*proc)(VxTreeItem, void*),
                   void* data) override {
        HostView* t = tree(view);
        HostTreeItem* under = parentItem(t, parent);
        if (!t || !proc || !validParent(t, parent))
            return;
        if (!under)
            under = &t->tree->root;
        for (HostTreeItem* child : std::vector<HostTreeItem*>(under->children)) {
            if (!proc(handleOf(child), data))
                return;
        }
    }
    VxColor GetItemColor(VxView view, VxTreeItem handle) override {
        HostView* t = tree(view);
        HostTreeItem* it = m_layer.treeItem(t, handle);
        const VxTreeProcs& procs = t ? t->tree->procs : m_none;
        if (!it || !procs.itemColor)
            return 0;
        return static_cast<VxColor>(procs.itemColor(view, handle, it->data, procs.data));
    }
    void RemoveAllItems(VxView view) override {
        HostView* t = tree(view);
        if (!t)
            return;
        for (HostTreeItem* child : std::vector<HostTreeItem*>(t->tree->root.children))
            m_layer.removeItem(t, child);
        m_layer.changed();
    }
    void RemoveItem(VxView view, VxTreeItem handle) override {
        HostView* t = tree(view);
        if (HostTreeItem* it = m_layer.treeItem(t, handle))
            m_layer.removeItem(t, it);
    }
    void OpenItem(VxView view, VxTreeItem handle, bool open) override {
        if (HostTreeItem* it = item(view, handle); it && it->open != open) {
            it->open = open;
            m_layer.changed();
        }
    }
    void OpenAllItems(VxView view, bool open) override {
        HostView* t = tree(view);
        if (!t)
            return;
        for (auto& [id, it] : t->tree->items)
            it->open = open;
        m_layer.changed();
    }
    bool CanSelectItem(VxView view, VxTreeItem handle) override {
        HostView* t = tree(view);
        HostTreeItem* it = m_layer.treeItem(t, handle);
        if (!it)
            return false;
        const VxTreeProcs& procs = t->tree->procs;
        return !procs.canSelectItem || procs.canSelectItem(view, handle, it->data, procs.data);
    }
    void SelectItem(VxView view, VxTreeItem handle, bool select) override {
        HostView* t = tree(view);
        if (HostTreeItem* it = m_layer.treeItem(t, handle))
            m_layer.selectItem(t, it, select);
    }
    void MoveSelectedItems(VxView view, VxTreeItem target, bool before) override {
        HostView* t = tree(view);
        HostTreeItem* to = m_layer.treeItem(t, target);
        if (!to || !to->parent)
            return;
        for (HostTreeItem* moved : m_layer.selection(t)) {
            if (moved == to)
                continue;
            HostTreeItem* parent = to->parent;
            std::erase(parent->children, moved);
            auto at = std::find(parent->children.begin(), parent->children.end(), to);
            int32_t position =
                static_cast<int32_t>(at - parent->children.begin()) + (before ? 0 : 1);
            m_layer.insertItem(t, moved, parent == &t->tree->root ? nullptr : parent, position);
        }
    }
    void DeleteSelectedItems(VxView view) override {
        HostView* t = tree(view);
        if (!t)
            return;
        for (HostTreeItem* it : m_layer.selection(t)) {
            // Deleting a parent took its selected children with it.
            if (HostTreeItem* still = m_layer.treeItem(t, handleOf(it)))
                m_layer.removeItem(t, still);
        }
    }
    int32_t GetItemCount(VxView view, VxTreeItem parent) override {
        HostView* t = tree(view);
        HostTreeItem* under = parentItem(t, parent);
        if (!t || !validParent(t, parent))
            return 0;
        return static_cast<int32_t>((under ? under : &t->tree->root)->children.size());
    }
    void UpdateHighlights(VxView view) override {
        if (tree(view))
            m_layer.changed();
    }
    void ForceResize(VxView view) override {
        if (tree(view))
            m_layer.changed();
    }
    void ClickItem(VxView view, VxTreeItem handle) override {
        HostView* t = tree(view);
        if (HostTreeItem* it = m_layer.treeItem(t, handle))
            m_layer.clickItem(t->id, it->id);
    }
    void DeselectAll(VxView view) override {
        HostView* t = tree(view);
        if (!t)
            return;
        for (HostTreeItem* it : m_layer.selection(t))
            m_layer.selectItem(t, it, false);
    }
    void SetProcs(VxView view, const VxTreeProcs& procs) override {
        if (HostView* t = tree(view)) {
            t->tree->procs = procs;
            m_layer.changed();
        }
    }
    VxTreeProcs GetProcs(VxView view) override {
        HostView* t = tree(view);
        return t ? t->tree->procs : VxTreeProcs{};
    }
    VxTreeItem GetItemParent(VxView view, VxTreeItem handle) override {
        HostView* t = tree(view);
        HostTreeItem* it = m_layer.treeItem(t, handle);
        if (!it || !it->parent || it->parent == &t->tree->root)
            return nullptr;
        return handleOf(it->parent);
    }
    bool IsItemOpen(VxView view, VxTreeItem handle) override {
        HostTreeItem* it = item(view, handle);
        return it && it->open;
    }
    void InvalidateItem(VxView view, VxTreeItem handle) override {
        if (item(view, handle))
            m_layer.changed();
    }
    void MoveItem(VxView view, VxTreeItem handle, VxTreeItem parent, int32_t position) override {
        HostView* t = tree(view);
        HostTreeItem* it = m_layer.treeItem(t, handle);
        if (it && validParent(t, parent))
            m_layer.insertItem(t, it, parentItem(t, parent), position);
    }

private:
    HostView* tree(VxView view) { return m_layer.viewOf(view, "Tree"); }
    HostTreeItem* item(VxView view, VxTreeItem handle) {
        return m_layer.treeItem(tree(view), handle);
    }
    // A parent as the plug-in names it: an item, or the root (null, or the root's own handle).
    HostTreeItem* parentItem(HostView* t, VxTreeItem parent) {
        if (!t || !parent)
            return nullptr;
        if (parent == handleOf(&t->tree->root))
            return nullptr;
        return m_layer.treeItem(t, parent);
    }

    bool validParent(HostView* t, VxTreeItem parent) {
        return t && (!parent || parent == handleOf(&t->tree->root) || m_layer.treeItem(t, parent));
    }

    CHostViewLayer& m_layer;
    const VxTreeProcs m_none{};
};

} // namespace

std::unique_ptr<IVxTreeViewClassFTab> MakeTreeViewTable(CHostViewLayer& layer) {
    return std::make_unique<TreeViewTable>(layer);
}
