// The plain objects behind the fake view layer's handles: views, tree items, windows and menus.
#pragma once

#include "frame/host/IViewLayer.h"

#include <any>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

struct FakeTreeItem {
    void* data = nullptr;
    FakeTreeItem* parent = nullptr;
    std::vector<FakeTreeItem*> children;
    bool inserted = false;
    bool open = true;
    bool selected = false;
    /// InvalidateItem calls on this item.
    int redraws = 0;
};

struct FakeView {
    std::string className;
    std::string name;
    FakeView* parent = nullptr;
    std::vector<FakeView*> children;
    std::vector<std::pair<VxViewDeathProc, void*>> deathProcs;
    /// Settings by name (SetFoo keeps "Foo"), and recorded commands by name (the last arguments).
    std::map<std::string, std::any> props;
    /// The names of the operations called on the view, in order.
    std::vector<std::string> calls;
    bool visible = true;
    bool enabled = true;
    bool selected = false;
    bool focus = false;

    // A tree's items and procedures.
    std::map<FakeTreeItem*, std::unique_ptr<FakeTreeItem>> items;
    FakeTreeItem root;
    VxTreeProcs procs;
    int suspended = 0;
    /// Suspend calls and whole redraws (outermost Resume).
    int suspends = 0;
    int fullRedraws = 0;
};

struct FakeMenu;

struct FakeMenuItem {
    std::string name;
    std::string title;
    VxMenuItemProc exec = nullptr;
    VxMenuItemTestProc enabled = nullptr;
    VxMenuItemTestProc marked = nullptr;
    void* data = nullptr;
    FakeMenu* subMenu = nullptr;
    bool separator = false;
};

struct FakeMenu {
    std::string name;
    std::string title;
    std::vector<FakeMenuItem> items;
};

struct FakeWindow {
    std::string name;
    std::string title;
    FakeView* root = nullptr;
    bool visible = false;
    bool activated = false;
    VxWindowEventProc proc = nullptr;
    void* data = nullptr;
    /// What RunModal answers; the dialog's own StopModal result wins when it comes first.
    int32_t modalResult = -1;
    /// Called inside RunModal, as the user working the dialog.
    void (*whileModal)(FakeWindow* window, void* data) = nullptr;
    void* whileModalData = nullptr;
    bool inModal = false;
};

inline VxView toHandle(FakeView* view) {
    return reinterpret_cast<VxView>(view);
}

/// The views of a fake layer and the operations every table shares on them.
class FakeViewRegistry {
public:
    FakeView* find(VxView view) const {
        auto* fake = reinterpret_cast<FakeView*>(view);
        return m_live.count(fake) ? fake : nullptr;
    }
    VxView make(FakeView* parent, const char* className, const char* name);
    /// Runs the death procedures of the view and its descendants (children first), then frees
    /// them.
    void destroy(FakeView* view);
    void destroyAll();
    const std::set<FakeView*>& live() const { return m_live; }

private:
    std::set<FakeView*> m_live;
    std::vector<std::unique_ptr<FakeView>> m_owned;
};

/// What the simple tables share: making views and keeping their settings.
class FakeViewTableBase {
public:
    explicit FakeViewTableBase(FakeViewRegistry& registry) : m_registry(registry) {}

protected:
    VxView create(VxView parent, const char* className, const char* name) {
        return m_registry.make(m_registry.find(parent), className, name);
    }
    template <class T> void set(VxView view, const char* key, T value) {
        if (FakeView* fake = m_registry.find(view)) {
            fake->props[key] = std::move(value);
            fake->calls.push_back(std::string("Set") + key);
        }
    }
    template <class T> void record(VxView view, const char* op, T value) {
        if (FakeView* fake = m_registry.find(view)) {
            fake->props[op] = std::move(value);
            fake->calls.push_back(op);
        }
    }
    template <class T> void push(VxView view, const char* key, T value) {
        if (FakeView* fake = m_registry.find(view)) {
            auto list = get<std::vector<T>>(view, key);
            list.push_back(std::move(value));
            fake->props[key] = std::move(list);
        }
    }
    template <class T> T get(VxView view, const char* key) {
        FakeView* fake = m_registry.find(view);
        if (!fake)
            return T{};
        auto found = fake->props.find(key);
        if (found == fake->props.end())
            return T{};
        const T* value = std::any_cast<T>(&found->second);
        return value ? *value : T{};
    }
    bool has(VxView view, const char* key) {
        FakeView* fake = m_registry.find(view);
        return fake && fake->props.count(key);
    }

    FakeViewRegistry& m_registry;
};
