// The plain objects behind the host's view layer: windows, views, tree items and menus, kept in
// C++ with what the plug-in told them. A page (host/tracker/) draws them and turns a person's
// clicks and keys into the calls the plug-in's procedures expect.
//
// Every object has a number of its own, unique for the life of the layer, which the page uses to
// name it. Handles given to the plug-in are the objects' addresses; the layer checks a handle
// against the objects it holds before using it.
#pragma once

#include "frame/host/IViewLayer.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

struct HostMenu;
struct HostWindow;

/// A procedure with its data, as the plug-in handed it over.
template <typename Proc> struct HostProc {
    Proc proc = nullptr;
    void* data = nullptr;
};

/// A node of a tree view. Its text, icon and style are not kept: the page asks the tree's
/// procedures for them each time it draws the node.
struct HostTreeItem {
    uint32_t id = 0;
    void* data = nullptr;
    HostTreeItem* parent = nullptr;
    std::vector<HostTreeItem*> children;
    bool inserted = false;
    bool open = false;
    bool selected = false;
    int32_t height = 0;
};

/// What a tree view holds beyond the view: its items (owned here) and procedures.
struct HostTree {
    HostTreeItem root;
    std::map<uint32_t, std::unique_ptr<HostTreeItem>> items;
    /// The items' handles, for checking one the plug-in passes.
    std::unordered_set<const HostTreeItem*> live;
    VxTreeProcs procs;
    int suspended = 0;
};

/// One entry of a pop-up button, combo box or list.
struct HostEntry {
    std::string text;
    void* data = nullptr;
    bool separator = false;
};

/// A view. One structure serves every class: the parts a class does not use stay empty.
struct HostView {
    uint32_t id = 0;
    /// "Container", "Tree", "HTML", "Splitter", "ToolBar", "PropertyButton", ...
    std::string className;
    std::string name;
    HostView* parent = nullptr;
    std::vector<HostView*> children;
    /// The window whose root this view is, or null.
    HostWindow* window = nullptr;
    bool visible = true;
    bool enabled = true;
    bool selected = false;
    bool focused = false;
    std::vector<HostProc<VxViewDeathProc>> deathProcs;
    /// Layout settings kept as given (offsets, alignments, colours, scroll amounts...), by the
    /// name of the operation that set them.
    std::map<std::string, int64_t> settings;

    // Text, icon and the procedures of buttons and static views.
    std::string text;
    std::string helpText;
    int32_t fontFlags = 0;
    VxColor color = 0;
    VxIcon icon = nullptr;
    HostProc<VxViewExecProc> exec;
    HostProc<VxViewExecProc> click;
    HostProc<VxViewExecProc> doubleClick;
    HostProc<VxViewExecProc> rightClick;
    HostProc<VxViewTestProc> computeEnabled;

    // Property buttons.
    bool separator = false;
    bool mark = false;
    HostMenu* menu = nullptr;
    VxView companion = nullptr;

    // Splitters: vertical ones have their panes side by side.
    bool vertical = false;
    /// Panes by the operation's name ("Left", "Right", "Top", ...).
    std::map<std::string, VxView> panes;
    int32_t only = 0;
    int32_t horizontalSize = 0;
    int32_t verticalSize = 0;

    // HTML views: the page shown, by address or as HTML; version counts what was shown.
    std::string url;
    std::string html;
    uint32_t htmlVersion = 0;
    HostProc<VxHTMLLinkProc> linkProc;

    // Pop-up buttons, combo boxes, list boxes, check boxes, sliders, text fields.
    std::vector<HostEntry> entries;
    int32_t selection = -1;
    int32_t state = 0;
    VxRangeProperties range;
    int32_t position = 0;
    HostProc<VxTextEditProc> changeProc;
    HostProc<VxTextEditProc> commitProc;
    HostProc<VxTextEditProc> cancelProc;
    std::vector<std::pair<std::string, int32_t>> columns;
    int32_t rows = 0;
    HostProc<VxListTextProc> listText;
    HostProc<VxListRowProc> listSelection;
    HostProc<VxListRowProc> listDoubleClick;

    std::unique_ptr<HostTree> tree;
};

/// A top-level window with its root view.
struct HostWindow {
    uint32_t id = 0;
    std::string name;
    std::string title;
    bool visible = false;
    /// Shown as a modal dialog: RunModal waits for its result.
    bool modal = false;
    std::optional<int32_t> modalResult;
    HostView* root = nullptr;
    HostProc<VxWindowEventProc> events;
};

/// An item of a menu: an action, a separator or a sub-menu.
struct HostMenuItem {
    std::string name;
    std::string title;
    VxMenuItemProc exec = nullptr;
    VxMenuItemTestProc enabled = nullptr;
    VxMenuItemTestProc marked = nullptr;
    void* data = nullptr;
    bool separator = false;
    HostMenu* subMenu = nullptr;
};

struct HostMenu {
    uint32_t id = 0;
    std::string name;
    std::string title;
    std::vector<HostMenuItem> items;
    /// The menu this one is a sub-menu of, or null.
    HostMenu* owner = nullptr;
};

/// A panel the plug-in offers.
struct HostPanel {
    std::string name;
    std::string title;
    VxPanelShowProc show = nullptr;
    void* data = nullptr;
};
