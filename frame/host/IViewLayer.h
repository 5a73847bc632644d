// The viewer's view layer: windows, views, menus and the clipboard, as tables of plain
// operations on opaque handles.
//
// Every view is a host object behind a VxView handle. A view is made by the table of its class
// (each table's Create), inside a parent view, and is appended to the parent's children; a view
// made with a null parent is the root of a window or stands alone until it is reparented. A view
// goes with its parent, or with its window; whenever one goes, the host calls the death
// procedures registered on it (and on each of its descendants, children first) with the view
// that goes. The plug-in's view objects (tracker/CVx*View) hold a handle and forward to these
// tables; after the death procedure they hold null and do nothing.
//
// Each table below is the host's side of one view class, with that class's own operations; the
// operations every view has are on IVxBaseViewFTab. Every operation takes the view as its first
// argument. A handle that is null or is no view of the table's class is ignored: commands do
// nothing, questions answer 0, false, null or an empty text.
//
// Procedures handed to the host are called back on the main thread with the data they were
// given; the host never owns that data.
//
// The host also hosts panels: the plug-in registers a panel (the Tracker is one) by name, and
// the host calls its show procedure when the user asks for it. The plug-in then makes a window
// (NewWindow), builds its views under the window's root view and shows it.
#pragma once

#include "frame/host/IHostTable.h"
#include "frame/host/QsStmRec.h"
#include "frame/host/ViewerHandles.h"

#include <cstdint>
#include <string>
#include <vector>

struct _t_VxView;
struct _t_VxWindow;
struct _t_VxMenu;
struct _t_VxTreeItem;

/// A view of the view layer.
using VxView = _t_VxView*;
/// A top-level window.
using VxWindow = _t_VxWindow*;
/// A menu: a pop-up, a context menu or a sub-menu.
using VxMenu = _t_VxMenu*;
/// A node of a tree view.
using VxTreeItem = _t_VxTreeItem*;

/// A rectangle in pixels; empty when right <= left or bottom <= top.
struct VxRect {
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;
    friend bool operator==(const VxRect&, const VxRect&) = default;
};

/// A colour as 0xRRGGBBAA.
using VxColor = uint32_t;

/// Called when a view goes, with the view that goes.
using VxViewDeathProc = void (*)(VxView view, void* data);
/// A button, pop-up, check box or text command; view is the view that ran it.
using VxViewExecProc = void (*)(VxView view, void* data);
/// Whether a button or menu item is enabled (or marked) now.
using VxViewTestProc = bool (*)(VxView view, void* data);
/// A link clicked in an HTML view. True when the plug-in handled it; false leaves it to the view.
using VxHTMLLinkProc = bool (*)(VxView view, const char* urlUtf8, void* data);
/// A text field's text changed, was committed or cancelled.
using VxTextEditProc = void (*)(VxView view, void* data);
/// The text of a list box cell.
using VxListTextProc = std::string (*)(VxView view, int32_t row, int32_t column, void* data);
/// The icon of a list box cell, or null.
using VxListIconProc = VxIcon (*)(VxView view, int32_t row, int32_t column, void* data);
/// A list box row event (selection changed: row -1; double click: the row).
using VxListRowProc = void (*)(VxView view, int32_t row, void* data);

/// A menu item's action; data is what the item was made with.
using VxMenuItemProc = void (*)(void* data);
/// Whether a menu item is enabled or marked now.
using VxMenuItemTestProc = bool (*)(void* data);

// Tree item styles, as the style procedure answers them.
enum : int32_t {
    kVxTreeStylePlain = 0,
    kVxTreeStyleBold = 1,
    kVxTreeStyleItalic = 2,
};

// Keys a tree's key procedure receives.
enum : int32_t {
    kVxKeyEnter = 13,
    kVxKeyDelete = 127,
    kVxKeyUp = 0x101,
    kVxKeyDown = 0x102,
    kVxKeyLeft = 0x103,
    kVxKeyRight = 0x104,
};

/// Where a tree item goes among its siblings on InsertItem.
enum : int32_t {
    kVxTreeInsertLast = -1,
};

/// The callbacks of a tree view, all called with the tree, the item (null where the call is about
/// no item) and the item's client data (what CreateItem was given), and the tree's procData.
/// A null member means "not handled": the host then does its default (plain text from nothing,
/// no icon, plain style, selectable, no menu, and no change for the commands).
struct VxTreeProcs {
    using TextProc = std::string (*)(VxView tree, VxTreeItem item, void* itemData, void* data);
    using IconProc = VxIcon (*)(VxView tree, VxTreeItem item, void* itemData, void* data);
    using IntProc = int32_t (*)(VxView tree, VxTreeItem item, void* itemData, void* data);
    using TestProc = bool (*)(VxView tree, VxTreeItem item, void* itemData, void* data);
    using FlagProc = void (*)(VxView tree, VxTreeItem item, void* itemData, bool on, void* data);
    using ActionProc = void (*)(VxView tree, VxTreeItem item, void* itemData, void* data);
    using MenuProc = VxMenu (*)(VxView tree, VxTreeItem item, void* itemData, void* data);
    using MoveProc = bool (*)(VxView tree, VxTreeItem moved, VxTreeItem target, bool before,
                              void* data);
    using KeyProc = bool (*)(VxView tree, VxTreeItem item, int32_t key, void* data);

    /// The item's text, UTF-8; markup is shown as text.
    TextProc itemText = nullptr;
    /// The item's icon.
    IconProc itemIcon = nullptr;
    /// The item's text colour (VxColor); 0 for the default.
    IntProc itemColor = nullptr;
    /// One of kVxTreeStyle...
    IntProc itemStyle = nullptr;
    /// The item was opened (on) or closed by the user.
    FlagProc openItem = nullptr;
    /// The item was selected (on) or deselected.
    FlagProc selectItem = nullptr;
    /// Whether the item may be selected.
    TestProc canSelectItem = nullptr;
    /// A context menu for the item, made new; the host destroys it when the pop-up closes.
    MenuProc contextMenu = nullptr;
    /// The item's default action (Enter, or "Open").
    ActionProc itemAction = nullptr;
    /// Whether the item is highlighted.
    TestProc highlight = nullptr;
    /// The item's tool tip, UTF-8.
    TextProc toolTip = nullptr;
    /// Estimated width and height of the item in pixels, 0 for the host's own.
    IntProc estimateWidth = nullptr;
    IntProc estimateHeight = nullptr;
    /// Whether the item may be dragged.
    TestProc canDrag = nullptr;
    /// Cut and paste of the selection.
    ActionProc cut = nullptr;
    ActionProc paste = nullptr;
    /// Whether the selection may be deleted, and the deletion (the Delete key).
    TestProc canDelete = nullptr;
    ActionProc doDelete = nullptr;
    /// Whether the selected items may be moved, and the move: moved goes before or after target.
    /// True when the plug-in moved it; the host then moves the node (or the plug-in did).
    TestProc canMove = nullptr;
    MoveProc move = nullptr;
    /// The item's properties were asked for.
    ActionProc properties = nullptr;
    /// The item was double clicked.
    ActionProc doubleClick = nullptr;
    /// The item is freed (RemoveItem, RemoveAllItems, the tree's end): the last word on its data.
    ActionProc freeItem = nullptr;
    /// A key pressed on the tree with the item selected (kVxKey...). True when handled.
    KeyProc keyDown = nullptr;
    /// Passed back to every procedure.
    void* data = nullptr;
};

// The tables, one per view class.

class IVxBaseViewFTab {
public:
    virtual ~IVxBaseViewFTab() = default;
    /// The class name of a view ("Tree", "HTML", ...), empty for no view.
    virtual std::string ClassName(VxView view) = 0;
    /// Destroys a view with its descendants (their death procedures run first).
    virtual void Destroy(VxView view) = 0;
    /// The name a view was given when it was made.
    virtual std::string GetName(VxView view) = 0;

    virtual void InvalidateRect(VxView view, const VxRect* rect) = 0;
    virtual VxRect GetParentRect(VxView view) = 0;
    virtual VxRect GetAperture(VxView view) = 0;
    virtual VxRect GetClientRect(VxView view) = 0;
    virtual void Show(VxView view, bool show) = 0;
    virtual bool IsSetVisible(VxView view) = 0;
    virtual bool IsVisible(VxView view) = 0;
    virtual void Enable(VxView view, bool enable) = 0;
    virtual bool IsEnabled(VxView view) = 0;
    virtual bool IsSetEnabled(VxView view) = 0;
    virtual void Select(VxView view, bool select) = 0;
    virtual bool IsSelected(VxView view) = 0;
    virtual void ForwardClickToParent(VxView view, bool forward) = 0;
    virtual void ForwardRightClickToParent(VxView view, bool forward) = 0;
    virtual void SetWantsHiddenDisabledScrollbars(VxView view, bool wants) = 0;
    /// Moves the view under another parent, appended to its children.
    virtual void Reparent(VxView view, VxView newParent) = 0;
    virtual void SetScrollAmounts(VxView view, int32_t horizontal, int32_t vertical) = 0;
    virtual void ScrollTo(VxView view, int32_t x, int32_t y) = 0;
    virtual VxView GetParent(VxView view) = 0;
    virtual bool HasFocus(VxView view) = 0;
    virtual void SetFocus(VxView view) = 0;

    /// Registers a death procedure on a view; a pair registered already is not added again.
    virtual void AddDeathProc(VxView view, VxViewDeathProc proc, void* data) = 0;
    /// Removes a registration; safe from within the procedure itself.
    virtual void RemoveDeathProc(VxView view, VxViewDeathProc proc, void* data) = 0;
};

class IVxContainerViewFTab {
public:
    virtual ~IVxContainerViewFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    virtual void SetGlobalOffsets(VxView view, int32_t offset) = 0;
    virtual void SetTopOffset(VxView view, int32_t offset) = 0;
    virtual void SetLeftOffset(VxView view, int32_t offset) = 0;
    virtual void SetBottomOffset(VxView view, int32_t offset) = 0;
    virtual void SetRightOffset(VxView view, int32_t offset) = 0;
    virtual void ResetOffsets(VxView view) = 0;
    /// Alignments: 0 start, 1 centre, 2 end, 3 fill.
    virtual void SetHAlign(VxView view, int32_t align) = 0;
    virtual void SetVAlign(VxView view, int32_t align) = 0;
    virtual void ResetAlignments(VxView view) = 0;
    virtual bool HasBorder(VxView view) = 0;
    virtual VxColor GetBorderColor(VxView view) = 0;
    virtual void SetBorderColor(VxView view, VxColor color) = 0;
    virtual void SetBorderThicknesses(VxView view, const VxRect& thicknesses) = 0;
    virtual VxRect GetBorderThicknesses(VxView view) = 0;
    virtual void ClearBorder(VxView view) = 0;
    virtual void SetBackgroundBrush(VxView view, VxColor color) = 0;
    virtual void SetIgnoreChild(VxView view, VxView child, bool ignore) = 0;
    virtual void SetForwardClicksToParent(VxView view, bool forward) = 0;
    virtual void SetExpandAndPadHorizontally(VxView view, bool expand) = 0;
    virtual void SetExpandAndPadVertically(VxView view, bool expand) = 0;
    /// Cursor: 0 arrow, 1 hand, 2 text, 3 wait.
    virtual void SetCursor(VxView view, int32_t cursor) = 0;
    virtual void SetFocus(VxView view, VxView child) = 0;
    virtual void SetMinWidth(VxView view, int32_t width) = 0;
    virtual void SetFramedView(VxView view, VxView framed) = 0;
};

class IVxFlipContainerViewFTab {
public:
    virtual ~IVxFlipContainerViewFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    virtual void SetSizePolicy(VxView view, int32_t policy) = 0;
};

class IVxTableContainerViewFTab {
public:
    virtual ~IVxTableContainerViewFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    virtual void SetNumColumns(VxView view, int32_t columns) = 0;
    virtual int32_t GetNumColumns(VxView view) = 0;
    virtual void SetGutters(VxView view, int32_t horizontal, int32_t vertical) = 0;
};

class IVxScrollViewFTab {
public:
    virtual ~IVxScrollViewFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    virtual void SetShowHorz(VxView view, bool show) = 0;
    virtual void SetShowVert(VxView view, bool show) = 0;
    /// The view that scrolls inside.
    virtual void SetDrawable(VxView view, VxView drawable) = 0;
};

class IVxSplitterViewFTab {
public:
    virtual ~IVxSplitterViewFTab() = default;
    /// vertical: the panes sit side by side (left and right).
    virtual VxView Create(VxView parent, const char* name, bool vertical) = 0;
    virtual void SetTopView(VxView view, VxView pane) = 0;
    virtual void SetBottomView(VxView view, VxView pane) = 0;
    virtual void SetLeftView(VxView view, VxView pane) = 0;
    virtual void SetRightView(VxView view, VxView pane) = 0;
    virtual void SetTopLeftView(VxView view, VxView pane) = 0;
    virtual void SetTopRightView(VxView view, VxView pane) = 0;
    virtual void SetBottomLeftView(VxView view, VxView pane) = 0;
    virtual void SetBottomRightView(VxView view, VxView pane) = 0;
    /// Shows only one pane (0 none: all panes; 1 first, 2 second).
    virtual void SetOnly(VxView view, int32_t pane) = 0;
    /// The size in pixels of the first pane, across and down.
    virtual void SetHorizontalOpenToSize(VxView view, int32_t size) = 0;
    virtual void SetVerticalOpenToSize(VxView view, int32_t size) = 0;
    virtual int32_t GetHorizontalOpenToSize(VxView view) = 0;
    virtual int32_t GetVerticalOpenToSize(VxView view) = 0;
};

class IVxHTMLViewFTab {
public:
    virtual ~IVxHTMLViewFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    virtual void SetHandleHTMLLink(VxView view, VxHTMLLinkProc proc, void* data) = 0;
    virtual void GoToURL(VxView view, const char* urlUtf8) = 0;
    /// Shows a file of HTML (a path in the file system's encoding); again to reload it.
    virtual void GoToFile(VxView view, const char* path) = 0;
    /// Shows the HTML read from a stream, which the caller keeps and closes.
    virtual void GoToStream(VxView view, QsStm stream) = 0;
};

class IVxTreeViewClassFTab {
public:
    virtual ~IVxTreeViewClassFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    /// The invisible root; top-level items are its children.
    virtual VxTreeItem GetRootTreeItemView(VxView view) = 0;
    /// Calls proc for each selected item, in display order, until it answers false.
    virtual void EnumSelectedItems(VxView view, bool (*proc)(VxTreeItem item, void* data),
                                   void* data) = 0;
    /// Frees an item made by CreateItem and never inserted.
    virtual void FreeItem(VxView view, VxTreeItem item) = 0;
    /// The item at an index of the open (visible) rows, or null.
    virtual VxTreeItem GetItemAtIndex(VxView view, int32_t index) = 0;
    /// The item's index among its siblings, -1 for none.
    virtual int32_t GetItemIndex(VxView view, VxTreeItem item) = 0;
    /// Suspends redrawing while many items change; Resume redraws once. They nest.
    virtual void Suspend(VxView view) = 0;
    virtual void Resume(VxView view) = 0;
    /// A new item with client data, not yet in the tree.
    virtual VxTreeItem CreateItem(VxView view, void* itemData) = 0;
    /// Puts an item under a parent (null: the root) at a position among its children
    /// (kVxTreeInsertLast: at the end).
    virtual void InsertItem(VxView view, VxTreeItem item, VxTreeItem parent, int32_t position) = 0;
    /// The same, for an item that the host draws with the given height.
    virtual void InsertCustomItem(VxView view, VxTreeItem item, VxTreeItem parent, int32_t position,
                                  int32_t height) = 0;
    /// The item's client data.
    virtual void* GetItem(VxView view, VxTreeItem item) = 0;
    virtual int32_t NumOpenItems(VxView view) = 0;
    virtual VxTreeItem GetOpenItem(VxView view, int32_t index) = 0;
    virtual int32_t GetOpenIndex(VxView view, VxTreeItem item) = 0;
    virtual void GetVisibleIndexRange(VxView view, int32_t* first, int32_t* last) = 0;
    virtual VxTreeItem GetFirstSelected(VxView view) = 0;
    virtual int32_t GetSelectedItemCount(VxView view) = 0;
    /// The selected items in display order.
    virtual std::vector<VxTreeItem> GetSelection(VxView view) = 0;
    /// Calls proc for each child of parent (null: the root) in order, until it answers false.
    virtual void EnumItems(VxView view, VxTreeItem parent,
                           bool (*proc)(VxTreeItem item, void* data), void* data) = 0;
    virtual VxColor GetItemColor(VxView view, VxTreeItem item) = 0;
    /// Removes every item; freeItem runs for each.
    virtual void RemoveAllItems(VxView view) = 0;
    /// Removes an item with its children; freeItem runs for each, children first.
    virtual void RemoveItem(VxView view, VxTreeItem item) = 0;
    virtual void OpenItem(VxView view, VxTreeItem item, bool open) = 0;
    virtual void OpenAllItems(VxView view, bool open) = 0;
    virtual bool CanSelectItem(VxView view, VxTreeItem item) = 0;
    /// Selects or deselects an item; the selectItem procedure runs as for the user's click.
    virtual void SelectItem(VxView view, VxTreeItem item, bool select) = 0;
    /// Moves the selected items before or after target, within target's parent.
    virtual void MoveSelectedItems(VxView view, VxTreeItem target, bool before) = 0;
    virtual void DeleteSelectedItems(VxView view) = 0;
    /// Number of children of parent (null: the root).
    virtual int32_t GetItemCount(VxView view, VxTreeItem parent) = 0;
    virtual void UpdateHighlights(VxView view) = 0;
    virtual void ForceResize(VxView view) = 0;
    /// Acts as the user's click on an item (select it).
    virtual void ClickItem(VxView view, VxTreeItem item) = 0;
    virtual void DeselectAll(VxView view) = 0;
    /// The tree's procedures.
    virtual void SetProcs(VxView view, const VxTreeProcs& procs) = 0;
    virtual VxTreeProcs GetProcs(VxView view) = 0;

    /// The item's parent, null for a top-level item.
    virtual VxTreeItem GetItemParent(VxView view, VxTreeItem item) = 0;
    /// Whether the item is open.
    virtual bool IsItemOpen(VxView view, VxTreeItem item) = 0;
    /// Asks the host to draw one item again (text, icon, style) after its data changed.
    virtual void InvalidateItem(VxView view, VxTreeItem item) = 0;
    /// Moves an item under a parent (null: the root) to a position among its children.
    virtual void MoveItem(VxView view, VxTreeItem item, VxTreeItem parent, int32_t position) = 0;
};

class IVxToolBarViewFTab {
public:
    virtual ~IVxToolBarViewFTab() = default;
    /// A tool bar; its buttons are the property button views made inside it.
    virtual VxView Create(VxView parent, const char* name) = 0;
};

class IVxGapViewFTab {
public:
    virtual ~IVxGapViewFTab() = default;
    /// Empty space of a fixed size.
    virtual VxView Create(VxView parent, const char* name, int32_t width, int32_t height) = 0;
};

class IVxPropertyButtonViewFTab {
public:
    virtual ~IVxPropertyButtonViewFTab() = default;
    /// A tool-bar button, appended to the tool bar it is made in.
    virtual VxView Create(VxView parent, const char* name) = 0;
    virtual void SetExecProc(VxView view, VxViewExecProc proc, void* data) = 0;
    virtual void MakeSeparator(VxView view) = 0;
    virtual bool IsSeparator(VxView view) = 0;
    virtual void SetShouldMark(VxView view, bool mark) = 0;
    virtual bool GetShouldMark(VxView view) = 0;
    /// Asks the enabled procedure now; true without one.
    virtual bool GetShouldEnable(VxView view) = 0;
    virtual void SetComputeEnabledProc(VxView view, VxViewTestProc proc, void* data) = 0;
    /// The label, UTF-8; flags: 1 show the label beside the icon.
    virtual void SetTextAttributes(VxView view, const char* textUtf8, int32_t flags) = 0;
    /// An icon; the button does not own it.
    virtual void SetIcon(VxView view, VxIcon icon) = 0;
    virtual void SetHelpText(VxView view, const char* textUtf8) = 0;
    virtual VxMenu GetMenu(VxView view) = 0;
    /// A menu that pops up when the button is pressed; the button does not own it.
    virtual void SetMenu(VxView view, VxMenu menu) = 0;
    virtual void SetCompanionView(VxView view, VxView companion) = 0;
};

class IVxStaticIconViewFTab {
public:
    virtual ~IVxStaticIconViewFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    virtual void SetIcon(VxView view, VxIcon icon) = 0;
    virtual VxIcon GetIcon(VxView view) = 0;
    virtual void SetColor(VxView view, VxColor color) = 0;
    virtual VxColor GetColor(VxView view) = 0;
    virtual void SetClickProc(VxView view, VxViewExecProc proc) = 0;
    virtual VxViewExecProc GetClickProc(VxView view) = 0;
    virtual void SetClickData(VxView view, void* data) = 0;
    virtual void* GetClickData(VxView view) = 0;
    virtual void SetDoubleClickProc(VxView view, VxViewExecProc proc) = 0;
    virtual VxViewExecProc GetDoubleClickProc(VxView view) = 0;
    virtual void SetDoubleClickData(VxView view, void* data) = 0;
    virtual void* GetDoubleClickData(VxView view) = 0;
    virtual void SetRightClickProc(VxView view, VxViewExecProc proc) = 0;
    virtual VxViewExecProc GetRightClickProc(VxView view) = 0;
    virtual void SetRightClickData(VxView view, void* data) = 0;
    virtual void* GetRightClickData(VxView view) = 0;
    virtual void SetCursor(VxView view, int32_t cursor) = 0;
};

class IVxStaticTextViewFTab {
public:
    virtual ~IVxStaticTextViewFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    virtual void SetText(VxView view, const char* textUtf8) = 0;
    virtual std::string GetText(VxView view) = 0;
    /// Font flags: 1 bold, 2 italic, 4 small.
    virtual void SetFontFlags(VxView view, int32_t flags) = 0;
    virtual void SetClickProc(VxView view, VxViewExecProc proc) = 0;
    virtual VxViewExecProc GetClickProc(VxView view) = 0;
    virtual void SetClickData(VxView view, void* data) = 0;
    virtual void* GetClickData(VxView view) = 0;
    virtual void SetDoubleClickProc(VxView view, VxViewExecProc proc) = 0;
    virtual VxViewExecProc GetDoubleClickProc(VxView view) = 0;
    virtual void SetDoubleClickData(VxView view, void* data) = 0;
    virtual void* GetDoubleClickData(VxView view) = 0;
    virtual void SetRightClickProc(VxView view, VxViewExecProc proc) = 0;
    virtual VxViewExecProc GetRightClickProc(VxView view) = 0;
    virtual void SetRightClickData(VxView view, void* data) = 0;
    virtual void* GetRightClickData(VxView view) = 0;
    virtual void SetCursor(VxView view, int32_t cursor) = 0;
    virtual void SetTextColor(VxView view, VxColor color) = 0;
};

class IVxTextEditViewFTab {
public:
    virtual ~IVxTextEditViewFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    /// The selection's font flags, as SetFontFlags gives them.
    virtual int32_t GetSelectionAttribs(VxView view) = 0;
    virtual void SetSelectionAttribs(VxView view, int32_t flags) = 0;
    /// Rich text as HTML-like markup, UTF-8.
    virtual void SetRichText(VxView view, const char* markupUtf8) = 0;
    virtual void ResetRichText(VxView view) = 0;
    virtual std::string GetRichText(VxView view) = 0;
    virtual void SetText(VxView view, const char* textUtf8) = 0;
    virtual std::string GetText(VxView view) = 0;
    virtual void SetFontFlags(VxView view, int32_t flags) = 0;
    virtual void SetBackgroundColor(VxView view, VxColor color) = 0;
    virtual void SetBackgroundTint(VxView view, VxColor color) = 0;
    virtual void SetTextColor(VxView view, VxColor color) = 0;
    virtual void SetChangeProc(VxView view, VxTextEditProc proc) = 0;
    virtual void SetChangeData(VxView view, void* data) = 0;
    virtual void SetCommitProc(VxView view, VxTextEditProc proc) = 0;
    virtual void SetCommitData(VxView view, void* data) = 0;
    virtual void SetCancelProc(VxView view, VxTextEditProc proc) = 0;
    virtual void SetCancelData(VxView view, void* data) = 0;
    virtual void SetTextLimit(VxView view, int32_t limit) = 0;
    virtual void SetCenter(VxView view, bool center) = 0;
    virtual void SetReadOnly(VxView view, bool readOnly) = 0;
    virtual void SetAutoResize(VxView view, bool autoResize) = 0;
    virtual void SetCommitOnEnter(VxView view, bool commit) = 0;
    virtual void SetCommitOnDeactivate(VxView view, bool commit) = 0;
    virtual void SetHideOnDeactivate(VxView view, bool hide) = 0;
    virtual void SetCancelOnEscape(VxView view, bool cancel) = 0;
    virtual void SetCancelOnArrowExit(VxView view, bool cancel) = 0;
    virtual void SetRevertOnCancel(VxView view, bool revert) = 0;
    virtual void SetMinimumWidth(VxView view, int32_t width) = 0;
    virtual void SelectAll(VxView view) = 0;
    virtual void SetContextMenuProc(VxView view, VxMenu (*proc)(VxView view, void* data)) = 0;
    virtual void SetContextMenuData(VxView view, void* data) = 0;
    virtual void SetFocus(VxView view) = 0;
    virtual void SetCanDoCopy(VxView view, bool can) = 0;
    /// Edit operations: 1 cut, 2 copy, 3 paste, 4 clear, 5 select all, 6 undo.
    virtual void PerformOp(VxView view, int32_t op) = 0;
    virtual bool CanPerformOp(VxView view, int32_t op) = 0;
    virtual void SetCanBounceFocus(VxView view, bool can) = 0;
    virtual void SetWantsFocusReturn(VxView view, bool wants) = 0;
    virtual void SetFastSelect(VxView view, bool fast) = 0;
};

class IVxListViewFTab {
public:
    virtual ~IVxListViewFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    /// The first column, with a title; answers the column's number.
    virtual int32_t CreateLabelColumn(VxView view, const char* titleUtf8, int32_t width) = 0;
    virtual int32_t AddColumnBefore(VxView view, int32_t column, const char* titleUtf8,
                                    int32_t width) = 0;
    virtual int32_t AddColumnAfter(VxView view, int32_t column, const char* titleUtf8,
                                   int32_t width) = 0;
    /// Appends a row; answers its number.
    virtual int32_t AddRow(VxView view) = 0;
    virtual void RemoveRow(VxView view, int32_t row) = 0;
    virtual void RedrawRow(VxView view, int32_t row) = 0;
    virtual std::vector<int32_t> GetSelectedRows(VxView view) = 0;
    virtual void SetGetTextProc(VxView view, VxListTextProc proc, void* data) = 0;
    virtual void SetGetIconProc(VxView view, VxListIconProc proc, void* data) = 0;
    virtual void SetSelectionChangedProc(VxView view, VxListRowProc proc, void* data) = 0;
    virtual void SetRowDoubleClickProc(VxView view, VxListRowProc proc, void* data) = 0;
};

class IVxComboBoxViewFTab {
public:
    virtual ~IVxComboBoxViewFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    virtual void ClearList(VxView view) = 0;
    virtual void Append(VxView view, const char* textUtf8) = 0;
    virtual int32_t GetNumItems(VxView view) = 0;
    virtual void SetText(VxView view, const char* textUtf8) = 0;
    virtual std::string GetText(VxView view) = 0;
    virtual void SetExecuteProc(VxView view, VxViewExecProc proc, void* data) = 0;
    /// When the execute procedure runs: 0 on each choice, 1 on Enter only.
    virtual void SetExecutePolicy(VxView view, int32_t policy) = 0;
    virtual void SetSelection(VxView view, int32_t index) = 0;
};

class IVxPopupButtonViewFTab {
public:
    virtual ~IVxPopupButtonViewFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    virtual void ClearList(VxView view) = 0;
    virtual void Append(VxView view, const char* textUtf8) = 0;
    virtual void AppendSeparator(VxView view) = 0;
    virtual int32_t GetNumItems(VxView view) = 0;
    virtual void* GetItemData(VxView view, int32_t index) = 0;
    virtual void SetItemData(VxView view, int32_t index, void* data) = 0;
    virtual void SetSelection(VxView view, int32_t index) = 0;
    virtual int32_t GetSelection(VxView view) = 0;
    virtual std::string GetTextOfSelection(VxView view) = 0;
    virtual void SetExecuteProc(VxView view, VxViewExecProc proc, void* data) = 0;
    virtual void DeleteItem(VxView view, int32_t index) = 0;
    virtual void SetDoFocusBounce(VxView view, bool bounce) = 0;
};

/// Check boxes and radio buttons: one table shape, two tables.
class IVxCheckBoxViewFTab {
public:
    virtual ~IVxCheckBoxViewFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    virtual void SetText(VxView view, const char* textUtf8) = 0;
    virtual std::string GetText(VxView view) = 0;
    /// 0 off, 1 on, 2 mixed.
    virtual void SetState(VxView view, int32_t state) = 0;
    virtual int32_t GetState(VxView view) = 0;
    virtual void SetExecuteProc(VxView view, VxViewExecProc proc, void* data) = 0;
};

/// The range and step of a slider or progress bar.
struct VxRangeProperties {
    int32_t minimum = 0;
    int32_t maximum = 100;
    int32_t step = 1;
    friend bool operator==(const VxRangeProperties&, const VxRangeProperties&) = default;
};

/// Sliders and progress bars: one table shape, two tables.
class IVxSliderViewFTab {
public:
    virtual ~IVxSliderViewFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    virtual void SetProperties(VxView view, const VxRangeProperties& properties) = 0;
    virtual void SetPos(VxView view, int32_t position) = 0;
    virtual VxRangeProperties GetProperties(VxView view) = 0;
};

class IVxPlatformPushButtonViewFTab {
public:
    virtual ~IVxPlatformPushButtonViewFTab() = default;
    virtual VxView Create(VxView parent, const char* name) = 0;
    virtual void SetText(VxView view, const char* textUtf8) = 0;
    virtual std::string GetText(VxView view) = 0;
    virtual void SetExeProc(VxView view, VxViewExecProc proc) = 0;
    virtual VxViewExecProc GetExeProc(VxView view) = 0;
    virtual void SetExeData(VxView view, void* data) = 0;
    virtual void* GetExeData(VxView view) = 0;
};

// Windows.

/// Window events, as the window's event procedure receives them.
enum : int32_t {
    /// The user closed the window; it is hidden, its views stay.
    kVxWinDidClose = 1,
    kVxWinDidActivate = 2,
    kVxWinDidResize = 3,
    /// The window is about to be destroyed; its views go next.
    kVxWinWillDestroy = 4,
};

using VxWindowEventProc = void (*)(VxWindow window, int32_t event, void* data);

/// Shows a panel: the host calls it when the user asks for the panel.
using VxPanelShowProc = void (*)(bool activate, void* data);

class IViewLayer : public IHostTable {
public:
    // The tables of the view classes.
    virtual IVxBaseViewFTab* baseView() = 0;
    virtual IVxContainerViewFTab* containerView() = 0;
    virtual IVxFlipContainerViewFTab* flipContainerView() = 0;
    virtual IVxTableContainerViewFTab* tableContainerView() = 0;
    virtual IVxScrollViewFTab* scrollView() = 0;
    virtual IVxSplitterViewFTab* splitterView() = 0;
    virtual IVxTreeViewClassFTab* treeView() = 0;
    virtual IVxHTMLViewFTab* htmlView() = 0;
    virtual IVxToolBarViewFTab* toolBarView() = 0;
    virtual IVxGapViewFTab* gapView() = 0;
    virtual IVxPropertyButtonViewFTab* propertyButtonView() = 0;
    virtual IVxStaticIconViewFTab* staticIconView() = 0;
    virtual IVxStaticTextViewFTab* staticTextView() = 0;
    virtual IVxTextEditViewFTab* textEditView() = 0;
    virtual IVxListViewFTab* listView() = 0;
    virtual IVxComboBoxViewFTab* comboBoxView() = 0;
    virtual IVxPopupButtonViewFTab* popupButtonView() = 0;
    virtual IVxCheckBoxViewFTab* checkBoxView() = 0;
    virtual IVxCheckBoxViewFTab* radioButtonView() = 0;
    virtual IVxSliderViewFTab* sliderView() = 0;
    virtual IVxSliderViewFTab* progressBarView() = 0;
    virtual IVxPlatformPushButtonViewFTab* platformPushButtonView() = 0;

    // Windows.

    /// A new, hidden window with a title (UTF-8) and a root view of its own (a container).
    virtual VxWindow NewWindow(const char* name, const char* titleUtf8) = 0;
    /// Destroys a window with its views.
    virtual void DestroyWindow(VxWindow window) = 0;
    virtual VxView GetWindowRootView(VxWindow window) = 0;
    /// Shows or hides a window; activate brings it forward.
    virtual void ShowWindow(VxWindow window, bool show, bool activate) = 0;
    virtual bool IsWindowVisible(VxWindow window) = 0;
    virtual void SetWindowTitle(VxWindow window, const char* titleUtf8) = 0;
    virtual void SetWindowEventProc(VxWindow window, VxWindowEventProc proc, void* data) = 0;
    /// The window a view is in, or null.
    virtual VxWindow GetViewWindow(VxView view) = 0;
    /// Shows a window as a modal dialog and runs the loop until StopModal; answers its result.
    /// A host that cannot run a modal loop answers -1 at once.
    virtual int32_t RunModal(VxWindow window) = 0;
    /// Ends the modal loop of a window with a result.
    virtual void StopModal(VxWindow window, int32_t result) = 0;
    /// The first view named so among a view and its descendants (depth first), or null.
    virtual VxView FindViewByName(VxView root, const char* name) = 0;

    // Panels.

    /// Offers a panel by name ("Tracker") with its title; the host calls show when the user asks
    /// for it. Registering a name again replaces the procedure.
    virtual void RegisterPanel(const char* name, const char* titleUtf8, VxPanelShowProc show,
                               void* data) = 0;
    virtual void UnregisterPanel(const char* name) = 0;

    // Menus. Items are named; names are unique within a menu.

    /// A new, empty menu with a name and a title (UTF-8, an ampersand marks a mnemonic).
    virtual VxMenu NewMenu(const char* name, const char* titleUtf8) = 0;
    /// Destroys a menu with its sub-menus.
    virtual void DestroyMenu(VxMenu menu) = 0;
    /// Appends an item; enabled and marked may be null (always enabled, never marked).
    virtual void AppendMenuItem(VxMenu menu, const char* name, const char* titleUtf8,
                                VxMenuItemProc exec, VxMenuItemTestProc enabled,
                                VxMenuItemTestProc marked, void* data) = 0;
    virtual void AppendMenuSeparator(VxMenu menu) = 0;
    /// Appends a sub-menu, which then belongs to the menu.
    virtual void AppendSubMenu(VxMenu menu, VxMenu subMenu) = 0;
    /// Removes every item.
    virtual void ClearMenu(VxMenu menu) = 0;
    /// The names of the items in order; a separator is "-", a sub-menu its own name.
    virtual std::vector<std::string> MenuItemNames(VxMenu menu) = 0;
    /// Runs the named item's action as the user's choice would (when enabled); false when the
    /// item is missing or disabled.
    virtual bool ExecuteMenuItem(VxMenu menu, const char* name) = 0;

    // The clipboard.

    /// The clipboard's text, UTF-8; empty when it holds none.
    virtual std::string GetClipboardText() = 0;
    virtual void SetClipboardText(const char* textUtf8) = 0;
};
