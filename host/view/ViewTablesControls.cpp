// The tables of the views a person reads and presses: HTML views, tool-bar buttons, static text
// and icons, text fields, lists, combo boxes, pop-up buttons, check boxes, radio buttons,
// sliders, progress bars and push buttons.
#include "host/view/ViewTables.h"

#include <glib.h>

#include <algorithm>

namespace {

// What every table of one class shares: finding its views and telling the page of a change.
class ClassTable {
protected:
    ClassTable(CHostViewLayer& layer, const char* className) : m_layer(layer), m_class(className) {}

    HostView* of(VxView view) const { return m_layer.viewOf(view, m_class); }
    VxView make(VxView parent, const char* name) {
        return reinterpret_cast<VxView>(m_layer.create(parent, m_class, name));
    }
    template <typename Change> void change(VxView view, Change&& apply) {
        if (HostView* v = of(view)) {
            apply(*v);
            m_layer.changed();
        }
    }
    std::string textOf(VxView view) const {
        HostView* v = of(view);
        return v ? v->text : "";
    }
    static std::string text(const char* utf8) { return utf8 ? utf8 : ""; }

    CHostViewLayer& m_layer;
    const char* m_class;
};

class HTMLViewTable final : public IVxHTMLViewFTab, ClassTable {
public:
    explicit HTMLViewTable(CHostViewLayer& layer) : ClassTable(layer, "HTML") {}
    VxView Create(VxView parent, const char* name) override { return make(parent, name); }
    void SetHandleHTMLLink(VxView view, VxHTMLLinkProc proc, void* data) override {
        if (HostView* v = of(view))
            v->linkProc = {proc, data};
    }
    void GoToURL(VxView view, const char* urlUtf8) override {
        change(view, [&](HostView& v) {
            v.url = text(urlUtf8);
            v.html.clear();
            ++v.htmlVersion;
        });
    }
    void GoToFile(VxView view, const char* path) override {
        // The file is read now: the plug-in rewrites it in place for the next page.
        GError* error = nullptr;
        gchar* bytes = nullptr;
        gsize size = 0;
        std::string html;
        if (path && g_file_get_contents(path, &bytes, &size, &error))
            html.assign(bytes, size);
        g_free(bytes);
        g_clear_error(&error);
        show(view, html);
    }
    void GoToStream(VxView view, QsStm stream) override {
        if (!of(view) || !stream)
            return;
        std::string html;
        char block[8192];
        for (long got; (got = stream->read(block, sizeof block)) > 0;)
            html.append(block, static_cast<size_t>(got));
        show(view, html);
    }

private:
    void show(VxView view, const std::string& html) {
        change(view, [&](HostView& v) {
            v.url.clear();
            v.html = html;
            ++v.htmlVersion;
        });
    }
};

class PropertyButtonViewTable final : public IVxPropertyButtonViewFTab, ClassTable {
public:
    explicit PropertyButtonViewTable(CHostViewLayer& layer) : ClassTable(layer, "PropertyButton") {}
    VxView Create(VxView parent, const char* name) override { return make(parent, name); }
    void SetExecProc(VxView view, VxViewExecProc proc, void* data) override {
        change(view, [&](HostView& v) { v.exec = {proc, data}; });
    }
    void MakeSeparator(VxView view) override {
        change(view, [](HostView& v) { v.separator = true; });
    }
    bool IsSeparator(VxView view) override {
        HostView* v = of(view);
        return v && v->separator;
    }
    void SetShouldMark(VxView view, bool mark) override {
        change(view, [&](HostView& v) { v.mark = mark; });
    }
    bool GetShouldMark(VxView view) override {
        HostView* v = of(view);
        return v && v->mark;
    }
    bool GetShouldEnable(VxView view) override {
        HostView* v = of(view);
        return v && m_layer.buttonEnabled(v);
    }
    void SetComputeEnabledProc(VxView view, VxViewTestProc proc, void* data) override {
        change(view, [&](HostView& v) { v.computeEnabled = {proc, data}; });
    }
    void SetTextAttributes(VxView view, const char* textUtf8, int32_t flags) override {
        change(view, [&](HostView& v) {
            v.text = text(textUtf8);
            v.fontFlags = flags;
        });
    }
    void SetIcon(VxView view, VxIcon icon) override {
        change(view, [&](HostView& v) { v.icon = icon; });
    }
    void SetHelpText(VxView view, const char* textUtf8) override {
        change(view, [&](HostView& v) { v.helpText = text(textUtf8); });
    }
    VxMenu GetMenu(VxView view) override {
        HostView* v = of(view);
        return v ? reinterpret_cast<VxMenu>(v->menu) : nullptr;
    }
    void SetMenu(VxView view, VxMenu menu) override {
        HostMenu* held = m_layer.menu(menu);
        if (menu && !held)
            return;
        change(view, [&](HostView& v) { v.menu = held; });
    }
    void SetCompanionView(VxView view, VxView companion) override {
        change(view, [&](HostView& v) { v.companion = companion; });
    }
};

// Static text and static icons: the same click procedures, different content.
template <typename Table> class StaticViewTable : public Table, protected ClassTable {
public:
    StaticViewTable(CHostViewLayer& layer, const char* className) : ClassTable(layer, className) {}
    VxView Create(VxView parent, const char* name) override { return make(parent, name); }
    void SetClickProc(VxView view, VxViewExecProc proc) override {
        change(view, [&](HostView& v) { v.click.proc = proc; });
    }
    VxViewExecProc GetClickProc(VxView view) override {
        HostView* v = of(view);
        return v ? v->click.proc : nullptr;
    }
    void SetClickData(VxView view, void* data) override {
        change(view, [&](HostView& v) { v.click.data = data; });
    }
    void* GetClickData(VxView view) override {
        HostView* v = of(view);
        return v ? v->click.data : nullptr;
    }
    void SetDoubleClickProc(VxView view, VxViewExecProc proc) override {
        change(view, [&](HostView& v) { v.doubleClick.proc = proc; });
    }
    VxViewExecProc GetDoubleClickProc(VxView view) override {
        HostView* v = of(view);
        return v ? v->doubleClick.proc : nullptr;
    }
    void SetDoubleClickData(VxView view, void* data) override {
        change(view, [&](HostView& v) { v.doubleClick.data = data; });
    }
    void* GetDoubleClickData(VxView view) override {
        HostView* v = of(view);
        return v ? v->doubleClick.data : nullptr;
    }
    void SetRightClickProc(VxView view, VxViewExecProc proc) override {
        change(view, [&](HostView& v) { v.rightClick.proc = proc; });
    }
    VxViewExecProc GetRightClickProc(VxView view) override {
        HostView* v = of(view);
        return v ? v->rightClick.proc : nullptr;
    }
    void SetRightClickData(VxView view, void* data) override {
        change(view, [&](HostView& v) { v.rightClick.data = data; });
    }
    void* GetRightClickData(VxView view) override {
        HostView* v = of(view);
        return v ? v->rightClick.data : nullptr;
    }
    void SetCursor(VxView view, int32_t cursor) override {
        change(view, [&](HostView& v) { v.settings["SetCursor"] = cursor; });
    }
};

class StaticIconViewTable final : public StaticViewTable<IVxStaticIconViewFTab> {
public:
    explicit StaticIconViewTable(CHostViewLayer& layer) : StaticViewTable(layer, "StaticIcon") {}
    void SetIcon(VxView view, VxIcon icon) override {
        change(view, [&](HostView& v) { v.icon = icon; });
    }
    VxIcon GetIcon(VxView view) override {
        HostView* v = of(view);
        return v ? v->icon : nullptr;
    }
    void SetColor(VxView view, VxColor color) override {
        change(view, [&](HostView& v) { v.color = color; });
    }
    VxColor GetColor(VxView view) override {
        HostView* v = of(view);
        return v ? v->color : 0;
    }
};

class StaticTextViewTable final : public StaticViewTable<IVxStaticTextViewFTab> {
public:
    explicit StaticTextViewTable(CHostViewLayer& layer) : StaticViewTable(layer, "StaticText") {}
    void SetText(VxView view, const char* textUtf8) override {
        change(view, [&](HostView& v) { v.text = text(textUtf8); });
    }
    std::string GetText(VxView view) override { return textOf(view); }
    void SetFontFlags(VxView view, int32_t flags) override {
        change(view, [&](HostView& v) { v.fontFlags = flags; });
    }
    void SetTextColor(VxView view, VxColor color) override {
        change(view, [&](HostView& v) { v.color = color; });
    }
};

class TextEditViewTable final : public IVxTextEditViewFTab, ClassTable {
public:
    explicit TextEditViewTable(CHostViewLayer& layer) : ClassTable(layer, "TextEdit") {}
    VxView Create(VxView parent, const char* name) override { return make(parent, name); }
    int32_t GetSelectionAttribs(VxView view) override {
        HostView* v = of(view);
        return v ? v->fontFlags : 0;
    }
    void SetSelectionAttribs(VxView view, int32_t flags) override { SetFontFlags(view, flags); }
    // Rich text is kept as given and shown as its text: the page never reads markup as markup.
    void SetRichText(VxView view, const char* markupUtf8) override { SetText(view, markupUtf8); }
    void ResetRichText(VxView view) override { SetText(view, ""); }
    std::string GetRichText(VxView view) override { return textOf(view); }
    void SetText(VxView view, const char* textUtf8) override {
        change(view, [&](HostView& v) {
            std::string value = text(textUtf8);
            auto limit = v.settings.find("SetTextLimit");
            if (limit != v.settings.end() && limit->second > 0 &&
                value.size() > static_cast<size_t>(limit->second))
                value.resize(static_cast<size_t>(limit->second));
            v.text = value;
        });
    }
    std::string GetText(VxView view) override { return textOf(view); }
    void SetFontFlags(VxView view, int32_t flags) override {
        change(view, [&](HostView& v) { v.fontFlags = flags; });
    }
    void SetBackgroundColor(VxView view, VxColor color) override {
        setting(view, "SetBackgroundColor", color);
    }
    void SetBackgroundTint(VxView view, VxColor color) override {
        setting(view, "SetBackgroundTint", color);
    }
    void SetTextColor(VxView view, VxColor color) override {
        change(view, [&](HostView& v) { v.color = color; });
    }
    void SetChangeProc(VxView view, VxTextEditProc proc) override {
        change(view, [&](HostView& v) { v.changeProc.proc = proc; });
    }
    void SetChangeData(VxView view, void* data) override {
        change(view, [&](HostView& v) { v.changeProc.data = data; });
    }
    void SetCommitProc(VxView view, VxTextEditProc proc) override {
        change(view, [&](HostView& v) { v.commitProc.proc = proc; });
    }
    void SetCommitData(VxView view, void* data) override {
        change(view, [&](HostView& v) { v.commitProc.data = data; });
    }
    void SetCancelProc(VxView view, VxTextEditProc proc) override {
        change(view, [&](HostView& v) { v.cancelProc.proc = proc; });
    }
    void SetCancelData(VxView view, void* data) override {
        change(view, [&](HostView& v) { v.cancelProc.data = data; });
    }
    void SetTextLimit(VxView view, int32_t limit) override { setting(view, "SetTextLimit", limit); }
    void SetCenter(VxView view, bool center) override { setting(view, "SetCenter", center); }
    void SetReadOnly(VxView view, bool readOnly) override {
        setting(view, "SetReadOnly", readOnly);
    }
    void SetAutoResize(VxView view, bool autoResize) override {
        setting(view, "SetAutoResize", autoResize);
    }
    void SetCommitOnEnter(VxView view, bool commit) override {
        setting(view, "SetCommitOnEnter", commit);
    }
    void SetCommitOnDeactivate(VxView view, bool commit) override {
        setting(view, "SetCommitOnDeactivate", commit);
    }
    void SetHideOnDeactivate(VxView view, bool hide) override {
        setting(view, "SetHideOnDeactivate", hide);
    }
    void SetCancelOnEscape(VxView view, bool cancel) override {
        setting(view, "SetCancelOnEscape", cancel);
    }
    void SetCancelOnArrowExit(VxView view, bool cancel) override {
        setting(view, "SetCancelOnArrowExit", cancel);
    }
    void SetRevertOnCancel(VxView view, bool revert) override {
        setting(view, "SetRevertOnCancel", revert);
    }
    void SetMinimumWidth(VxView view, int32_t width) override {
        setting(view, "SetMinimumWidth", width);
    }
    void SelectAll(VxView view) override { setting(view, "SelectAll", 1); }
    void SetContextMenuProc(VxView view, VxMenu (*)(VxView, void*)) override {
        // The page offers the browser's own edit menu on a text field.
        (void)view;
    }
    void SetContextMenuData(VxView view, void*) override { (void)view; }
    void SetFocus(VxView view) override {
        if (of(view))
            m_layer.baseView()->SetFocus(view);
    }
    void SetCanDoCopy(VxView view, bool can) override { setting(view, "SetCanDoCopy", can); }
    void PerformOp(VxView view, int32_t op) override {
        HostView* v = of(view);
        if (!v || !CanPerformOp(view, op))
            return;
        switch (op) {
        case 1: // cut
            m_layer.SetClipboardText(v->text.c_str());
            SetText(view, "");
            break;
        case 2: // copy
            m_layer.SetClipboardText(v->text.c_str());
            break;
        case 3: // paste
            SetText(view, (v->text + m_layer.GetClipboardText()).c_str());
            break;
        case 4: // clear
            SetText(view, "");
            break;
        default:
            break;
        }
    }
    bool CanPerformOp(VxView view, int32_t op) override {
        HostView* v = of(view);
        if (!v)
            return false;
        bool readOnly = v->settings["SetReadOnly"] != 0;
        switch (op) {
        case 2:
        case 5:
            return true;
        case 1:
        case 3:
        case 4:
            return !readOnly;
        default:
            return false;
        }
    }
    void SetCanBounceFocus(VxView view, bool can) override {
        setting(view, "SetCanBounceFocus", can);
    }
    void SetWantsFocusReturn(VxView view, bool wants) override {
        setting(view, "SetWantsFocusReturn", wants);
    }
    void SetFastSelect(VxView view, bool fast) override { setting(view, "SetFastSelect", fast); }

private:
    void setting(VxView view, const char* name, int64_t value) {
        change(view, [&](HostView& v) { v.settings[name] = value; });
    }
};

class ListViewTable final : public IVxListViewFTab, ClassTable {
public:
    explicit ListViewTable(CHostViewLayer& layer) : ClassTable(layer, "List") {}
    VxView Create(VxView parent, const char* name) override { return make(parent, name); }
    int32_t CreateLabelColumn(VxView view, const char* titleUtf8, int32_t width) override {
        return addColumn(view, 0, titleUtf8, width);
    }
    int32_t AddColumnBefore(VxView view, int32_t column, const char* titleUtf8,
                            int32_t width) override {
        return addColumn(view, column, titleUtf8, width);
    }
    int32_t AddColumnAfter(VxView view, int32_t column, const char* titleUtf8,
                           int32_t width) override {
        return addColumn(view, column + 1, titleUtf8, width);
    }
    int32_t AddRow(VxView view) override {
        HostView* v = of(view);
        if (!v)
            return -1;
        m_layer.changed();
        return v->rows++;
    }
    void RemoveRow(VxView view, int32_t row) override {
        change(view, [&](HostView& v) {
            if (row >= 0 && row < v.rows) {
                --v.rows;
                if (v.selection == row)
                    v.selection = -1;
                else if (v.selection > row)
                    --v.selection;
            }
        });
    }
    void RedrawRow(VxView view, int32_t row) override {
        HostView* v = of(view);
        if (v && row >= 0 && row < v->rows)
            m_layer.changed();
    }
    std::vector<int32_t> GetSelectedRows(VxView view) override {
        HostView* v = of(view);
        if (!v || v->selection < 0)
            return {};
        return {v->selection};
    }
    void SetGetTextProc(VxView view, VxListTextProc proc, void* data) override {
        change(view, [&](HostView& v) { v.listText = {proc, data}; });
    }
    void SetGetIconProc(VxView view, VxListIconProc, void*) override {
        // Rows are drawn as text; a list's icons are not shown.
        (void)view;
    }
    void SetSelectionChangedProc(VxView view, VxListRowProc proc, void* data) override {
        change(view, [&](HostView& v) { v.listSelection = {proc, data}; });
    }
    void SetRowDoubleClickProc(VxView view, VxListRowProc proc, void* data) override {
        change(view, [&](HostView& v) { v.listDoubleClick = {proc, data}; });
    }

private:
    int32_t addColumn(VxView view, int32_t at, const char* titleUtf8, int32_t width) {
        HostView* v = of(view);
        if (!v)
            return -1;
        at = std::clamp(at, 0, static_cast<int32_t>(v->columns.size()));
        v->columns.insert(v->columns.begin() + at, {text(titleUtf8), width});
        m_layer.changed();
        return at;
    }
};

// Combo boxes and pop-up buttons: a list of entries and a selection.
class EntryLists : protected ClassTable {
protected:
    using ClassTable::ClassTable;
    void clear(VxView view) {
        change(view, [](HostView& v) {
            v.entries.clear();
            v.selection = -1;
        });
    }
    void append(VxView view, const char* textUtf8, bool separator) {
        change(view, [&](HostView& v) {
            v.entries.push_back({text(textUtf8), nullptr, separator});
        });
    }
    int32_t count(VxView view) {
        HostView* v = of(view);
        return v ? static_cast<int32_t>(v->entries.size()) : 0;
    }
    HostEntry* entry(VxView view, int32_t index) {
        HostView* v = of(view);
        if (!v || index < 0 || static_cast<size_t>(index) >= v->entries.size())
            return nullptr;
        return &v->entries[static_cast<size_t>(index)];
    }
    void select(VxView view, int32_t index) {
        HostView* v = of(view);
        if (v && index >= -1 && index < count(view)) {
            v->selection = index;
            m_layer.changed();
        }
    }
};

class ComboBoxViewTable final : public IVxComboBoxViewFTab, EntryLists {
public:
    explicit ComboBoxViewTable(CHostViewLayer& layer) : EntryLists(layer, "ComboBox") {}
    VxView Create(VxView parent, const char* name) override { return make(parent, name); }
    void ClearList(VxView view) override { clear(view); }
    void Append(VxView view, const char* textUtf8) override { append(view, textUtf8, false); }
    int32_t GetNumItems(VxView view) override { return count(view); }
    void SetText(VxView view, const char* textUtf8) override {
        change(view, [&](HostView& v) { v.text = text(textUtf8); });
    }
    std::string GetText(VxView view) override { return textOf(view); }
    void SetExecuteProc(VxView view, VxViewExecProc proc, void* data) override {
        change(view, [&](HostView& v) { v.exec = {proc, data}; });
    }
    void SetExecutePolicy(VxView view, int32_t policy) override {
        change(view, [&](HostView& v) { v.settings["SetExecutePolicy"] = policy; });
    }
    void SetSelection(VxView view, int32_t index) override {
        select(view, index);
        if (HostEntry* chosen = entry(view, index))
            SetText(view, chosen->text.c_str());
    }
};

class PopupButtonViewTable final : public IVxPopupButtonViewFTab, EntryLists {
public:
    explicit PopupButtonViewTable(CHostViewLayer& layer) : EntryLists(layer, "PopupButton") {}
    VxView Create(VxView parent, const char* name) override { return make(parent, name); }
    void ClearList(VxView view) override { clear(view); }
    void Append(VxView view, const char* textUtf8) override { append(view, textUtf8, false); }
    void AppendSeparator(VxView view) override { append(view, "", true); }
    int32_t GetNumItems(VxView view) override { return count(view); }
    void* GetItemData(VxView view, int32_t index) override {
        HostEntry* e = entry(view, index);
        return e ? e->data : nullptr;
    }
    void SetItemData(VxView view, int32_t index, void* data) override {
        if (HostEntry* e = entry(view, index))
            e->data = data;
    }
    void SetSelection(VxView view, int32_t index) override { select(view, index); }
    int32_t GetSelection(VxView view) override {
        HostView* v = of(view);
        return v ? v->selection : -1;
    }
    std::string GetTextOfSelection(VxView view) override {
        HostView* v = of(view);
        HostEntry* e = v ? entry(view, v->selection) : nullptr;
        return e ? e->text : "";
    }
    void SetExecuteProc(VxView view, VxViewExecProc proc, void* data) override {
        change(view, [&](HostView& v) { v.exec = {proc, data}; });
    }
    void DeleteItem(VxView view, int32_t index) override {
        if (!entry(view, index))
            return;
        change(view, [&](HostView& v) {
            v.entries.erase(v.entries.begin() + index);
            if (v.selection == index)
                v.selection = -1;
            else if (v.selection > index)
                --v.selection;
        });
    }
    void SetDoFocusBounce(VxView view, bool bounce) override {
        change(view, [&](HostView& v) { v.settings["SetDoFocusBounce"] = bounce; });
    }
};

class CheckBoxViewTable final : public IVxCheckBoxViewFTab, ClassTable {
public:
    CheckBoxViewTable(CHostViewLayer& layer, const char* className)
        : ClassTable(layer, className) {}
    VxView Create(VxView parent, const char* name) override { return make(parent, name); }
    void SetText(VxView view, const char* textUtf8) override {
        change(view, [&](HostView& v) { v.text = text(textUtf8); });
    }
    std::string GetText(VxView view) override { return textOf(view); }
    void SetState(VxView view, int32_t state) override {
        if (state >= 0 && state <= 2)
            change(view, [&](HostView& v) { v.state = state; });
    }
    int32_t GetState(VxView view) override {
        HostView* v = of(view);
        return v ? v->state : 0;
    }
    void SetExecuteProc(VxView view, VxViewExecProc proc, void* data) override {
        change(view, [&](HostView& v) { v.exec = {proc, data}; });
    }
};

class SliderViewTable final : public IVxSliderViewFTab, ClassTable {
public:
    SliderViewTable(CHostViewLayer& layer, const char* className) : ClassTable(layer, className) {}
    VxView Create(VxView parent, const char* name) override { return make(parent, name); }
    void SetProperties(VxView view, const VxRangeProperties& properties) override {
        if (properties.maximum < properties.minimum)
            return;
        change(view, [&](HostView& v) {
            v.range = properties;
            v.position = std::clamp(v.position, properties.minimum, properties.maximum);
        });
    }
    void SetPos(VxView view, int32_t position) override {
        change(view, [&](HostView& v) {
            v.position = std::clamp(position, v.range.minimum, v.range.maximum);
        });
    }
    VxRangeProperties GetProperties(VxView view) override {
        HostView* v = of(view);
        return v ? v->range : VxRangeProperties{0, 0, 0};
    }
};

class PushButtonViewTable final : public IVxPlatformPushButtonViewFTab, ClassTable {
public:
    explicit PushButtonViewTable(CHostViewLayer& layer) : ClassTable(layer, "PushButton") {}
    VxView Create(VxView parent, const char* name) override { return make(parent, name); }
    void SetText(VxView view, const char* textUtf8) override {
        change(view, [&](HostView& v) { v.text = text(textUtf8); });
    }
    std::string GetText(VxView view) override { return textOf(view); }
    void SetExeProc(VxView view, VxViewExecProc proc) override {
        change(view, [&](HostView& v) { v.exec.proc = proc; });
    }
    VxViewExecProc GetExeProc(VxView view) override {
        HostView* v = of(view);
        return v ? v->exec.proc : nullptr;
    }
    void SetExeData(VxView view, void* data) override {
        change(view, [&](HostView& v) { v.exec.data = data; });
    }
    void* GetExeData(VxView view) override {
        HostView* v = of(view);
        return v ? v->exec.data : nullptr;
    }
};

} // namespace

std::unique_ptr<IVxHTMLViewFTab> MakeHTMLViewTable(CHostViewLayer& layer) {
    return std::make_unique<HTMLViewTable>(layer);
}
std::unique_ptr<IVxPropertyButtonViewFTab> MakePropertyButtonViewTable(CHostViewLayer& layer) {
    return std::make_unique<PropertyButtonViewTable>(layer);
}
std::unique_ptr<IVxStaticIconViewFTab> MakeStaticIconViewTable(CHostViewLayer& layer) {
    return std::make_unique<StaticIconViewTable>(layer);
}
std::unique_ptr<IVxStaticTextViewFTab> MakeStaticTextViewTable(CHostViewLayer& layer) {
    return std::make_unique<StaticTextViewTable>(layer);
}
std::unique_ptr<IVxTextEditViewFTab> MakeTextEditViewTable(CHostViewLayer& layer) {
    return std::make_unique<TextEditViewTable>(layer);
}
std::unique_ptr<IVxListViewFTab> MakeListViewTable(CHostViewLayer& layer) {
    return std::make_unique<ListViewTable>(layer);
}
std::unique_ptr<IVxComboBoxViewFTab> MakeComboBoxViewTable(CHostViewLayer& layer) {
    return std::make_unique<ComboBoxViewTable>(layer);
}
std::unique_ptr<IVxPopupButtonViewFTab> MakePopupButtonViewTable(CHostViewLayer& layer) {
    return std::make_unique<PopupButtonViewTable>(layer);
}
std::unique_ptr<IVxCheckBoxViewFTab> MakeCheckBoxViewTable(CHostViewLayer& layer,
                                                           const char* className) {
    return std::make_unique<CheckBoxViewTable>(layer, className);
}
std::unique_ptr<IVxSliderViewFTab> MakeSliderViewTable(CHostViewLayer& layer,
                                                       const char* className) {
    return std::make_unique<SliderViewTable>(layer, className);
}
std::unique_ptr<IVxPlatformPushButtonViewFTab> MakePushButtonViewTable(CHostViewLayer& layer) {
    return std::make_unique<PushButtonViewTable>(layer);
}
