// The fake view layer's tables for the simple view classes: a setting (Set...) is kept on the view
// under its name, a Get... reads it back, and every other command is recorded with its
// arguments.
#pragma once

#include "tests/fakehost/FakeViewObjects.h"

#include <string>
#include <tuple>
#include <vector>

/// VxContainerViewFTab: every setting kept by name, every command recorded.
class FakeVxContainerViewTable final : public IVxContainerViewFTab, public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "Container", name);
        return made;
    }
    void SetGlobalOffsets(VxView view, int32_t offset) override {
        set(view, "GlobalOffsets", offset);
    }
    void SetTopOffset(VxView view, int32_t offset) override { set(view, "TopOffset", offset); }
    void SetLeftOffset(VxView view, int32_t offset) override { set(view, "LeftOffset", offset); }
    void SetBottomOffset(VxView view, int32_t offset) override {
        set(view, "BottomOffset", offset);
    }
    void SetRightOffset(VxView view, int32_t offset) override { set(view, "RightOffset", offset); }
    void ResetOffsets(VxView view) override { record(view, "ResetOffsets", std::make_tuple()); }
    void SetHAlign(VxView view, int32_t align) override { set(view, "HAlign", align); }
    void SetVAlign(VxView view, int32_t align) override { set(view, "VAlign", align); }
    void ResetAlignments(VxView view) override {
        record(view, "ResetAlignments", std::make_tuple());
    }
    bool HasBorder(VxView view) override {
        record(view, "HasBorder", std::make_tuple());
        return bool{};
    }
    VxColor GetBorderColor(VxView view) override { return get<VxColor>(view, "BorderColor"); }
    void SetBorderColor(VxView view, VxColor color) override { set(view, "BorderColor", color); }
    void SetBorderThicknesses(VxView view, const VxRect& thicknesses) override {
        set(view, "BorderThicknesses", thicknesses);
    }
    VxRect GetBorderThicknesses(VxView view) override {
        return get<VxRect>(view, "BorderThicknesses");
    }
    void ClearBorder(VxView view) override { record(view, "ClearBorder", std::make_tuple()); }
    void SetBackgroundBrush(VxView view, VxColor color) override {
        set(view, "BackgroundBrush", color);
    }
    void SetIgnoreChild(VxView view, VxView child, bool ignore) override {
        set(view, "IgnoreChild", std::make_tuple(child, ignore));
    }
    void SetForwardClicksToParent(VxView view, bool forward) override {
        set(view, "ForwardClicksToParent", forward);
    }
    void SetExpandAndPadHorizontally(VxView view, bool expand) override {
        set(view, "ExpandAndPadHorizontally", expand);
    }
    void SetExpandAndPadVertically(VxView view, bool expand) override {
        set(view, "ExpandAndPadVertically", expand);
    }
    void SetCursor(VxView view, int32_t cursor) override { set(view, "Cursor", cursor); }
    void SetFocus(VxView view, VxView child) override { set(view, "Focus", child); }
    void SetMinWidth(VxView view, int32_t width) override { set(view, "MinWidth", width); }
    void SetFramedView(VxView view, VxView framed) override { set(view, "FramedView", framed); }
};

/// VxFlipContainerViewFTab: every setting kept by name, every command recorded.
class FakeVxFlipContainerViewTable final : public IVxFlipContainerViewFTab,
                                           public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "FlipContainer", name);
        return made;
    }
    void SetSizePolicy(VxView view, int32_t policy) override { set(view, "SizePolicy", policy); }
};

/// VxTableContainerViewFTab: every setting kept by name, every command recorded.
class FakeVxTableContainerViewTable final : public IVxTableContainerViewFTab,
                                            public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "TableContainer", name);
        return made;
    }
    void SetNumColumns(VxView view, int32_t columns) override { set(view, "NumColumns", columns); }
    int32_t GetNumColumns(VxView view) override { return get<int32_t>(view, "NumColumns"); }
    void SetGutters(VxView view, int32_t horizontal, int32_t vertical) override {
        set(view, "Gutters", std::make_tuple(horizontal, vertical));
    }
};

/// VxScrollViewFTab: every setting kept by name, every command recorded.
class FakeVxScrollViewTable final : public IVxScrollViewFTab, public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "Scroll", name);
        return made;
    }
    void SetShowHorz(VxView view, bool show) override { set(view, "ShowHorz", show); }
    void SetShowVert(VxView view, bool show) override { set(view, "ShowVert", show); }
    void SetDrawable(VxView view, VxView drawable) override { set(view, "Drawable", drawable); }
};

/// VxSplitterViewFTab: every setting kept by name, every command recorded.
class FakeVxSplitterViewTable final : public IVxSplitterViewFTab, public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name, bool vertical) override {
        VxView made = create(parent, "Splitter", name);
        record(made, "Create", std::make_tuple(vertical));
        return made;
    }
    void SetTopView(VxView view, VxView pane) override { set(view, "TopView", pane); }
    void SetBottomView(VxView view, VxView pane) override { set(view, "BottomView", pane); }
    void SetLeftView(VxView view, VxView pane) override { set(view, "LeftView", pane); }
    void SetRightView(VxView view, VxView pane) override { set(view, "RightView", pane); }
    void SetTopLeftView(VxView view, VxView pane) override { set(view, "TopLeftView", pane); }
    void SetTopRightView(VxView view, VxView pane) override { set(view, "TopRightView", pane); }
    void SetBottomLeftView(VxView view, VxView pane) override { set(view, "BottomLeftView", pane); }
    void SetBottomRightView(VxView view, VxView pane) override {
        set(view, "BottomRightView", pane);
    }
    void SetOnly(VxView view, int32_t pane) override { set(view, "Only", pane); }
    void SetHorizontalOpenToSize(VxView view, int32_t size) override {
        set(view, "HorizontalOpenToSize", size);
    }
    void SetVerticalOpenToSize(VxView view, int32_t size) override {
        set(view, "VerticalOpenToSize", size);
    }
    int32_t GetHorizontalOpenToSize(VxView view) override {
        return get<int32_t>(view, "HorizontalOpenToSize");
    }
    int32_t GetVerticalOpenToSize(VxView view) override {
        return get<int32_t>(view, "VerticalOpenToSize");
    }
};

/// VxHTMLViewFTab: every setting kept by name, every command recorded.
class FakeVxHTMLViewTable final : public IVxHTMLViewFTab, public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "HTML", name);
        return made;
    }
    void SetHandleHTMLLink(VxView view, VxHTMLLinkProc proc, void* data) override {
        set(view, "HandleHTMLLink", std::make_tuple(proc, data));
    }
    void GoToURL(VxView view, const char* urlUtf8) override {
        record(view, "GoToURL", std::make_tuple(std::string(urlUtf8 ? urlUtf8 : "")));
    }
    void GoToFile(VxView view, const char* path) override {
        record(view, "GoToFile", std::make_tuple(std::string(path ? path : "")));
    }
    void GoToStream(VxView view, QsStm stream) override {
        record(view, "GoToStream", std::make_tuple(stream));
    }
};

/// VxToolBarViewFTab: every setting kept by name, every command recorded.
class FakeVxToolBarViewTable final : public IVxToolBarViewFTab, public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "ToolBar", name);
        return made;
    }
};

/// VxGapViewFTab: every setting kept by name, every command recorded.
class FakeVxGapViewTable final : public IVxGapViewFTab, public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name, int32_t width, int32_t height) override {
        VxView made = create(parent, "Gap", name);
        record(made, "Create", std::make_tuple(width, height));
        return made;
    }
};

/// VxPropertyButtonViewFTab: every setting kept by name, every command recorded.
class FakeVxPropertyButtonViewTable final : public IVxPropertyButtonViewFTab,
                                            public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "PropertyButton", name);
        return made;
    }
    void SetExecProc(VxView view, VxViewExecProc proc, void* data) override {
        set(view, "ExecProc", std::make_tuple(proc, data));
    }
    void MakeSeparator(VxView view) override { record(view, "MakeSeparator", std::make_tuple()); }
    bool IsSeparator(VxView view) override { return has(view, "MakeSeparator"); }
    void SetShouldMark(VxView view, bool mark) override { set(view, "ShouldMark", mark); }
    bool GetShouldMark(VxView view) override { return get<bool>(view, "ShouldMark"); }
    bool GetShouldEnable(VxView view) override {
        auto proc = get<std::tuple<VxViewTestProc, void*>>(view, "ComputeEnabledProc");
        return !std::get<0>(proc) || std::get<0>(proc)(view, std::get<1>(proc));
    }
    void SetComputeEnabledProc(VxView view, VxViewTestProc proc, void* data) override {
        set(view, "ComputeEnabledProc", std::make_tuple(proc, data));
    }
    void SetTextAttributes(VxView view, const char* textUtf8, int32_t flags) override {
        set(view, "TextAttributes", std::make_tuple(std::string(textUtf8 ? textUtf8 : ""), flags));
    }
    void SetIcon(VxView view, VxIcon icon) override { set(view, "Icon", icon); }
    void SetHelpText(VxView view, const char* textUtf8) override {
        set(view, "HelpText", std::string(textUtf8 ? textUtf8 : ""));
    }
    VxMenu GetMenu(VxView view) override { return get<VxMenu>(view, "Menu"); }
    void SetMenu(VxView view, VxMenu menu) override { set(view, "Menu", menu); }
    void SetCompanionView(VxView view, VxView companion) override {
        set(view, "CompanionView", companion);
    }
};

/// VxStaticIconViewFTab: every setting kept by name, every command recorded.
class FakeVxStaticIconViewTable final : public IVxStaticIconViewFTab, public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "StaticIcon", name);
        return made;
    }
    void SetIcon(VxView view, VxIcon icon) override { set(view, "Icon", icon); }
    VxIcon GetIcon(VxView view) override { return get<VxIcon>(view, "Icon"); }
    void SetColor(VxView view, VxColor color) override { set(view, "Color", color); }
    VxColor GetColor(VxView view) override { return get<VxColor>(view, "Color"); }
    void SetClickProc(VxView view, VxViewExecProc proc) override { set(view, "ClickProc", proc); }
    VxViewExecProc GetClickProc(VxView view) override {
        return get<VxViewExecProc>(view, "ClickProc");
    }
    void SetClickData(VxView view, void* data) override { set(view, "ClickData", data); }
    void* GetClickData(VxView view) override { return get<void*>(view, "ClickData"); }
    void SetDoubleClickProc(VxView view, VxViewExecProc proc) override {
        set(view, "DoubleClickProc", proc);
    }
    VxViewExecProc GetDoubleClickProc(VxView view) override {
        return get<VxViewExecProc>(view, "DoubleClickProc");
    }
    void SetDoubleClickData(VxView view, void* data) override {
        set(view, "DoubleClickData", data);
    }
    void* GetDoubleClickData(VxView view) override { return get<void*>(view, "DoubleClickData"); }
    void SetRightClickProc(VxView view, VxViewExecProc proc) override {
        set(view, "RightClickProc", proc);
    }
    VxViewExecProc GetRightClickProc(VxView view) override {
        return get<VxViewExecProc>(view, "RightClickProc");
    }
    void SetRightClickData(VxView view, void* data) override { set(view, "RightClickData", data); }
    void* GetRightClickData(VxView view) override { return get<void*>(view, "RightClickData"); }
    void SetCursor(VxView view, int32_t cursor) override { set(view, "Cursor", cursor); }
};

/// VxStaticTextViewFTab: every setting kept by name, every command recorded.
class FakeVxStaticTextViewTable final : public IVxStaticTextViewFTab, public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "StaticText", name);
        return made;
    }
    void SetText(VxView view, const char* textUtf8) override {
        set(view, "Text", std::string(textUtf8 ? textUtf8 : ""));
    }
    std::string GetText(VxView view) override { return get<std::string>(view, "Text"); }
    void SetFontFlags(VxView view, int32_t flags) override { set(view, "FontFlags", flags); }
    void SetClickProc(VxView view, VxViewExecProc proc) override { set(view, "ClickProc", proc); }
    VxViewExecProc GetClickProc(VxView view) override {
        return get<VxViewExecProc>(view, "ClickProc");
    }
    void SetClickData(VxView view, void* data) override { set(view, "ClickData", data); }
    void* GetClickData(VxView view) override { return get<void*>(view, "ClickData"); }
    void SetDoubleClickProc(VxView view, VxViewExecProc proc) override {
        set(view, "DoubleClickProc", proc);
    }
    VxViewExecProc GetDoubleClickProc(VxView view) override {
        return get<VxViewExecProc>(view, "DoubleClickProc");
    }
    void SetDoubleClickData(VxView view, void* data) override {
        set(view, "DoubleClickData", data);
    }
    void* GetDoubleClickData(VxView view) override { return get<void*>(view, "DoubleClickData"); }
    void SetRightClickProc(VxView view, VxViewExecProc proc) override {
        set(view, "RightClickProc", proc);
    }
    VxViewExecProc GetRightClickProc(VxView view) override {
        return get<VxViewExecProc>(view, "RightClickProc");
    }
    void SetRightClickData(VxView view, void* data) override { set(view, "RightClickData", data); }
    void* GetRightClickData(VxView view) override { return get<void*>(view, "RightClickData"); }
    void SetCursor(VxView view, int32_t cursor) override { set(view, "Cursor", cursor); }
    void SetTextColor(VxView view, VxColor color) override { set(view, "TextColor", color); }
};

/// VxTextEditViewFTab: every setting kept by name, every command recorded.
class FakeVxTextEditViewTable final : public IVxTextEditViewFTab, public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "TextEdit", name);
        return made;
    }
    int32_t GetSelectionAttribs(VxView view) override {
        return get<int32_t>(view, "SelectionAttribs");
    }
    void SetSelectionAttribs(VxView view, int32_t flags) override {
        set(view, "SelectionAttribs", flags);
    }
    void SetRichText(VxView view, const char* markupUtf8) override {
        set(view, "RichText", std::string(markupUtf8 ? markupUtf8 : ""));
    }
    void ResetRichText(VxView view) override { record(view, "ResetRichText", std::make_tuple()); }
    std::string GetRichText(VxView view) override { return get<std::string>(view, "RichText"); }
    void SetText(VxView view, const char* textUtf8) override {
        set(view, "Text", std::string(textUtf8 ? textUtf8 : ""));
    }
    std::string GetText(VxView view) override { return get<std::string>(view, "Text"); }
    void SetFontFlags(VxView view, int32_t flags) override { set(view, "FontFlags", flags); }
    void SetBackgroundColor(VxView view, VxColor color) override {
        set(view, "BackgroundColor", color);
    }
    void SetBackgroundTint(VxView view, VxColor color) override {
        set(view, "BackgroundTint", color);
    }
    void SetTextColor(VxView view, VxColor color) override { set(view, "TextColor", color); }
    void SetChangeProc(VxView view, VxTextEditProc proc) override { set(view, "ChangeProc", proc); }
    void SetChangeData(VxView view, void* data) override { set(view, "ChangeData", data); }
    void SetCommitProc(VxView view, VxTextEditProc proc) override { set(view, "CommitProc", proc); }
    void SetCommitData(VxView view, void* data) override { set(view, "CommitData", data); }
    void SetCancelProc(VxView view, VxTextEditProc proc) override { set(view, "CancelProc", proc); }
    void SetCancelData(VxView view, void* data) override { set(view, "CancelData", data); }
    void SetTextLimit(VxView view, int32_t limit) override { set(view, "TextLimit", limit); }
    void SetCenter(VxView view, bool center) override { set(view, "Center", center); }
    void SetReadOnly(VxView view, bool readOnly) override { set(view, "ReadOnly", readOnly); }
    void SetAutoResize(VxView view, bool autoResize) override {
        set(view, "AutoResize", autoResize);
    }
    void SetCommitOnEnter(VxView view, bool commit) override { set(view, "CommitOnEnter", commit); }
    void SetCommitOnDeactivate(VxView view, bool commit) override {
        set(view, "CommitOnDeactivate", commit);
    }
    void SetHideOnDeactivate(VxView view, bool hide) override {
        set(view, "HideOnDeactivate", hide);
    }
    void SetCancelOnEscape(VxView view, bool cancel) override {
        set(view, "CancelOnEscape", cancel);
    }
    void SetCancelOnArrowExit(VxView view, bool cancel) override {
        set(view, "CancelOnArrowExit", cancel);
    }
    void SetRevertOnCancel(VxView view, bool revert) override {
        set(view, "RevertOnCancel", revert);
    }
    void SetMinimumWidth(VxView view, int32_t width) override { set(view, "MinimumWidth", width); }
    void SelectAll(VxView view) override { record(view, "SelectAll", std::make_tuple()); }
    void SetContextMenuProc(VxView view, VxMenu (*proc)(VxView view, void* data)) override {
        set(view, "ContextMenuProc", proc);
    }
    void SetContextMenuData(VxView view, void* data) override {
        set(view, "ContextMenuData", data);
    }
    void SetFocus(VxView view) override { set(view, "Focus", std::make_tuple()); }
    void SetCanDoCopy(VxView view, bool can) override { set(view, "CanDoCopy", can); }
    void PerformOp(VxView view, int32_t op) override {
        record(view, "PerformOp", std::make_tuple(op));
    }
    bool CanPerformOp(VxView view, int32_t op) override {
        record(view, "CanPerformOp", std::make_tuple(op));
        return bool{};
    }
    void SetCanBounceFocus(VxView view, bool can) override { set(view, "CanBounceFocus", can); }
    void SetWantsFocusReturn(VxView view, bool wants) override {
        set(view, "WantsFocusReturn", wants);
    }
    void SetFastSelect(VxView view, bool fast) override { set(view, "FastSelect", fast); }
};

/// VxListViewFTab: every setting kept by name, every command recorded.
class FakeVxListViewTable final : public IVxListViewFTab, public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "List", name);
        return made;
    }
    int32_t CreateLabelColumn(VxView view, const char* titleUtf8, int32_t width) override {
        record(view, "CreateLabelColumn",
               std::make_tuple(std::string(titleUtf8 ? titleUtf8 : ""), width));
        return int32_t{};
    }
    int32_t AddColumnBefore(VxView view, int32_t column, const char* titleUtf8,
                            int32_t width) override {
        record(view, "AddColumnBefore",
               std::make_tuple(column, std::string(titleUtf8 ? titleUtf8 : ""), width));
        return int32_t{};
    }
    int32_t AddColumnAfter(VxView view, int32_t column, const char* titleUtf8,
                           int32_t width) override {
        record(view, "AddColumnAfter",
               std::make_tuple(column, std::string(titleUtf8 ? titleUtf8 : ""), width));
        return int32_t{};
    }
    int32_t AddRow(VxView view) override {
        int32_t row = get<int32_t>(view, "Rows");
        set(view, "Rows", row + 1);
        return row;
    }
    void RemoveRow(VxView view, int32_t row) override {
        record(view, "RemoveRow", std::make_tuple(row));
    }
    void RedrawRow(VxView view, int32_t row) override {
        record(view, "RedrawRow", std::make_tuple(row));
    }
    std::vector<int32_t> GetSelectedRows(VxView view) override {
        return get<std::vector<int32_t>>(view, "SelectedRows");
    }
    void SetGetTextProc(VxView view, VxListTextProc proc, void* data) override {
        set(view, "GetTextProc", std::make_tuple(proc, data));
    }
    void SetGetIconProc(VxView view, VxListIconProc proc, void* data) override {
        set(view, "GetIconProc", std::make_tuple(proc, data));
    }
    void SetSelectionChangedProc(VxView view, VxListRowProc proc, void* data) override {
        set(view, "SelectionChangedProc", std::make_tuple(proc, data));
    }
    void SetRowDoubleClickProc(VxView view, VxListRowProc proc, void* data) override {
        set(view, "RowDoubleClickProc", std::make_tuple(proc, data));
    }
};

/// VxComboBoxViewFTab: every setting kept by name, every command recorded.
class FakeVxComboBoxViewTable final : public IVxComboBoxViewFTab, public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "ComboBox", name);
        return made;
    }
    void ClearList(VxView view) override {
        record(view, "ClearList", std::tuple<>());
        set(view, "Items", std::vector<std::string>());
    }
    void Append(VxView view, const char* textUtf8) override {
        record(view, "Append", std::string(textUtf8 ? textUtf8 : ""));
        push(view, "Items", std::string(textUtf8 ? textUtf8 : ""));
    }
    int32_t GetNumItems(VxView view) override {
        return static_cast<int32_t>(get<std::vector<std::string>>(view, "Items").size());
    }
    void SetText(VxView view, const char* textUtf8) override {
        set(view, "Text", std::string(textUtf8 ? textUtf8 : ""));
    }
    std::string GetText(VxView view) override { return get<std::string>(view, "Text"); }
    void SetExecuteProc(VxView view, VxViewExecProc proc, void* data) override {
        set(view, "ExecuteProc", std::make_tuple(proc, data));
    }
    void SetExecutePolicy(VxView view, int32_t policy) override {
        set(view, "ExecutePolicy", policy);
    }
    void SetSelection(VxView view, int32_t index) override { set(view, "Selection", index); }
};

/// VxPopupButtonViewFTab: every setting kept by name, every command recorded.
class FakeVxPopupButtonViewTable final : public IVxPopupButtonViewFTab, public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "PopupButton", name);
        return made;
    }
    void ClearList(VxView view) override {
        record(view, "ClearList", std::tuple<>());
        set(view, "Items", std::vector<std::string>());
    }
    void Append(VxView view, const char* textUtf8) override {
        record(view, "Append", std::string(textUtf8 ? textUtf8 : ""));
        push(view, "Items", std::string(textUtf8 ? textUtf8 : ""));
    }
    void AppendSeparator(VxView view) override {
        record(view, "AppendSeparator", std::make_tuple());
    }
    int32_t GetNumItems(VxView view) override {
        return static_cast<int32_t>(get<std::vector<std::string>>(view, "Items").size());
    }
    void* GetItemData(VxView view, int32_t index) override {
        record(view, "GetItemData", std::make_tuple(index));
        return nullptr;
    }
    void SetItemData(VxView view, int32_t index, void* data) override {
        set(view, "ItemData", std::make_tuple(index, data));
    }
    void SetSelection(VxView view, int32_t index) override { set(view, "Selection", index); }
    int32_t GetSelection(VxView view) override { return get<int32_t>(view, "Selection"); }
    std::string GetTextOfSelection(VxView view) override {
        return get<std::string>(view, "TextOfSelection");
    }
    void SetExecuteProc(VxView view, VxViewExecProc proc, void* data) override {
        set(view, "ExecuteProc", std::make_tuple(proc, data));
    }
    void DeleteItem(VxView view, int32_t index) override {
        record(view, "DeleteItem", std::make_tuple(index));
    }
    void SetDoFocusBounce(VxView view, bool bounce) override { set(view, "DoFocusBounce", bounce); }
};

/// VxCheckBoxViewFTab: every setting kept by name, every command recorded.
class FakeVxCheckBoxViewTable final : public IVxCheckBoxViewFTab, public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "CheckBox", name);
        return made;
    }
    void SetText(VxView view, const char* textUtf8) override {
        set(view, "Text", std::string(textUtf8 ? textUtf8 : ""));
    }
    std::string GetText(VxView view) override { return get<std::string>(view, "Text"); }
    void SetState(VxView view, int32_t state) override { set(view, "State", state); }
    int32_t GetState(VxView view) override { return get<int32_t>(view, "State"); }
    void SetExecuteProc(VxView view, VxViewExecProc proc, void* data) override {
        set(view, "ExecuteProc", std::make_tuple(proc, data));
    }
};

/// VxSliderViewFTab: every setting kept by name, every command recorded.
class FakeVxSliderViewTable final : public IVxSliderViewFTab, public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "Slider", name);
        return made;
    }
    void SetProperties(VxView view, const VxRangeProperties& properties) override {
        set(view, "Properties", properties);
    }
    void SetPos(VxView view, int32_t position) override { set(view, "Pos", position); }
    VxRangeProperties GetProperties(VxView view) override {
        return get<VxRangeProperties>(view, "Properties");
    }
};

/// VxPlatformPushButtonViewFTab: every setting kept by name, every command recorded.
class FakeVxPlatformPushButtonViewTable final : public IVxPlatformPushButtonViewFTab,
                                                public FakeViewTableBase {
public:
    using FakeViewTableBase::FakeViewTableBase;
    VxView Create(VxView parent, const char* name) override {
        VxView made = create(parent, "PlatformPushButton", name);
        return made;
    }
    void SetText(VxView view, const char* textUtf8) override {
        set(view, "Text", std::string(textUtf8 ? textUtf8 : ""));
    }
    std::string GetText(VxView view) override { return get<std::string>(view, "Text"); }
    void SetExeProc(VxView view, VxViewExecProc proc) override { set(view, "ExeProc", proc); }
    VxViewExecProc GetExeProc(VxView view) override { return get<VxViewExecProc>(view, "ExeProc"); }
    void SetExeData(VxView view, void* data) override { set(view, "ExeData", data); }
    void* GetExeData(VxView view) override { return get<void*>(view, "ExeData"); }
};
