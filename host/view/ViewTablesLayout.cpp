// The tables of the views that hold and arrange others: every view's own operations, containers,
// scroll views, splitters, gaps and tool bars.
#include "host/view/ViewTables.h"

namespace {

bool isContainer(const HostView* view) {
    return view && (view->className == "Container" || view->className == "FlipContainer" ||
                    view->className == "TableContainer");
}

class BaseViewTable final : public IVxBaseViewFTab {
public:
    explicit BaseViewTable(CHostViewLayer& layer) : m_layer(layer) {}

    std::string ClassName(VxView view) override {
        HostView* v = m_layer.view(view);
        return v ? v->className : "";
    }
    void Destroy(VxView view) override { m_layer.destroy(m_layer.view(view)); }
    std::string GetName(VxView view) override {
        HostView* v = m_layer.view(view);
        return v ? v->name : "";
    }
    void InvalidateRect(VxView view, const VxRect*) override {
        if (m_layer.view(view))
            m_layer.changed();
    }
    // The page lays the views out; the layer knows no pixels but those it was told.
    VxRect GetParentRect(VxView view) override { return rectOf(view); }
    VxRect GetAperture(VxView view) override { return rectOf(view); }
    VxRect GetClientRect(VxView view) override { return rectOf(view); }
    void Show(VxView view, bool show) override { flag(view, &HostView::visible, show); }
    bool IsSetVisible(VxView view) override {
        HostView* v = m_layer.view(view);
        return v && v->visible;
    }
    bool IsVisible(VxView view) override {
        HostView* v = m_layer.view(view);
        if (!v)
            return false;
        for (; v; v = v->parent) {
            if (!v->visible)
                return false;
            if (v->window)
                return v->window->visible;
        }
        return false;
    }
    void Enable(VxView view, bool enable) override { flag(view, &HostView::enabled, enable); }
    bool IsEnabled(VxView view) override {
        for (HostView* v = m_layer.view(view); v; v = v->parent) {
            if (!v->enabled)
                return false;
        }
        return m_layer.view(view) != nullptr;
    }
    bool IsSetEnabled(VxView view) override {
        HostView* v = m_layer.view(view);
        return v && v->enabled;
    }
    void Select(VxView view, bool select) override { flag(view, &HostView::selected, select); }
    bool IsSelected(VxView view) override {
        HostView* v = m_layer.view(view);
        return v && v->selected;
    }
    void ForwardClickToParent(VxView view, bool forward) override {
        setting(view, "ForwardClickToParent", forward);
    }
    void ForwardRightClickToParent(VxView view, bool forward) override {
        setting(view, "ForwardRightClickToParent", forward);
    }
    void SetWantsHiddenDisabledScrollbars(VxView view, bool wants) override {
        setting(view, "SetWantsHiddenDisabledScrollbars", wants);
    }
    void Reparent(VxView view, VxView newParent) override {
        HostView* v = m_layer.view(view);
        HostView* parent = m_layer.view(newParent);
        // A view never goes under itself or its own descendants.
        for (HostView* up = parent; up; up = up->parent) {
            if (up == v)
                return;
        }
        if (v && parent) {
            m_layer.reparent(v, parent);
            m_layer.changed();
        }
    }
    void SetScrollAmounts(VxView view, int32_t horizontal, int32_t vertical) override {
        setting(view, "SetScrollAmountsH", horizontal);
        setting(view, "SetScrollAmountsV", vertical);
    }
    void ScrollTo(VxView view, int32_t x, int32_t y) override {
        setting(view, "ScrollToX", x);
        setting(view, "ScrollToY", y);
    }
    VxView GetParent(VxView view) override {
        HostView* v = m_layer.view(view);
        return v ? reinterpret_cast<VxView>(v->parent) : nullptr;
    }
    bool HasFocus(VxView view) override {
        HostView* v = m_layer.view(view);
        return v && v->focused;
    }
    void SetFocus(VxView view) override {
        HostView* v = m_layer.view(view);
        if (!v)
            return;
        // One view of a window has the focus.
        HostView* top = v;
        while (top->parent)
            top = top->parent;
        clearFocus(top);
        v->focused = true;
    }
    void AddDeathProc(VxView view, VxViewDeathProc proc, void* data) override {
        HostView* v = m_layer.view(view);
        if (!v || !proc)
            return;
        for (const auto& death : v->deathProcs) {
            if (death.proc == proc && death.data == data)
                return;
        }
        v->deathProcs.push_back({proc, data});
    }
    void RemoveDeathProc(VxView view, VxViewDeathProc proc, void* data) override {
        if (HostView* v = m_layer.view(view))
            std::erase_if(v->deathProcs, [&](const auto& death) {
                return death.proc == proc && death.data == data;
            });
    }

private:
    VxRect rectOf(VxView view) {
        HostView* v = m_layer.view(view);
        if (!v)
            return {};
        return {0, 0, static_cast<int32_t>(v->settings["Width"]),
                static_cast<int32_t>(v->settings["Height"])};
    }
    void flag(VxView view, bool HostView::*member, bool value) {
        HostView* v = m_layer.view(view);
        if (!v || v->*member == value)
            return;
        v->*member = value;
        m_layer.changed();
    }
    void setting(VxView view, const char* name, int64_t value) {
        if (HostView* v = m_layer.view(view))
            v->settings[name] = value;
    }
    static void clearFocus(HostView* v) {
        v->focused = false;
        for (HostView* child : v->children)
            clearFocus(child);
    }

    CHostViewLayer& m_layer;
};

class ContainerViewTable final : public IVxContainerViewFTab {
public:
    explicit ContainerViewTable(CHostViewLayer& layer) : m_layer(layer) {}

    VxView Create(VxView parent, const char* name) override {
        return reinterpret_cast<VxView>(m_layer.create(parent, "Container", name));
    }
    void SetGlobalOffsets(VxView view, int32_t offset) override {
        for (const char* side :
             {"SetTopOffset", "SetLeftOffset", "SetBottomOffset", "SetRightOffset"})
            setting(view, side, offset);
    }
    void SetTopOffset(VxView view, int32_t offset) override {
        setting(view, "SetTopOffset", offset);
    }
    void SetLeftOffset(VxView view, int32_t offset) override {
        setting(view, "SetLeftOffset", offset);
    }
    void SetBottomOffset(VxView view, int32_t offset) override {
        setting(view, "SetBottomOffset", offset);
    }
    void SetRightOffset(VxView view, int32_t offset) override {
        setting(view, "SetRightOffset", offset);
    }
    void ResetOffsets(VxView view) override { SetGlobalOffsets(view, 0); }
    void SetHAlign(VxView view, int32_t align) override { setting(view, "SetHAlign", align); }
    void SetVAlign(VxView view, int32_t align) override { setting(view, "SetVAlign", align); }
    void ResetAlignments(VxView view) override {
        setting(view, "SetHAlign", 0);
        setting(view, "SetVAlign", 0);
    }
    bool HasBorder(VxView view) override {
        HostView* v = container(view);
        return v && v->settings.count("SetBorderColor");
    }
    VxColor GetBorderColor(VxView view) override {
        HostView* v = container(view);
        return v ? static_cast<VxColor>(v->settings["SetBorderColor"]) : 0;
    }
    void SetBorderColor(VxView view, VxColor color) override {
        setting(view, "SetBorderColor", color);
    }
    void SetBorderThicknesses(VxView view, const VxRect& thicknesses) override {
        setting(view, "BorderLeft", thicknesses.left);
        setting(view, "BorderTop", thicknesses.top);
        setting(view, "BorderRight", thicknesses.right);
        setting(view, "BorderBottom", thicknesses.bottom);
    }
    VxRect GetBorderThicknesses(VxView view) override {
        HostView* v = container(view);
        if (!v)
            return {};
        auto get = [v](const char* name) {
            auto found = v->settings.find(name);
            return found == v->settings.end() ? 0 : static_cast<int32_t>(found->second);
        };
        return {get("BorderLeft"), get("BorderTop"), get("BorderRight"), get("BorderBottom")};
    }
    void ClearBorder(VxView view) override {
        if (HostView* v = container(view)) {
            for (const char* name :
                 {"SetBorderColor", "BorderLeft", "BorderTop", "BorderRight", "BorderBottom"})
                v->settings.erase(name);
            m_layer.changed();
        }
    }
    void SetBackgroundBrush(VxView view, VxColor color) override {
        setting(view, "SetBackgroundBrush", color);
    }
    void SetIgnoreChild(VxView view, VxView child, bool ignore) override {
        HostView* v = container(view);
        HostView* c = m_layer.view(child);
        if (v && c && c->parent == v) {
            c->settings["Ignored"] = ignore;
            m_layer.changed();
        }
    }
    void SetForwardClicksToParent(VxView view, bool forward) override {
        setting(view, "SetForwardClicksToParent", forward);
    }
    void SetExpandAndPadHorizontally(VxView view, bool expand) override {
        setting(view, "SetExpandAndPadHorizontally", expand);
    }
    void SetExpandAndPadVertically(VxView view, bool expand) override {
        setting(view, "SetExpandAndPadVertically", expand);
    }
    void SetCursor(VxView view, int32_t cursor) override { setting(view, "SetCursor", cursor); }
    void SetFocus(VxView view, VxView child) override {
        HostView* v = container(view);
        HostView* c = m_layer.view(child);
        if (v && c)
            m_layer.baseView()->SetFocus(child);
    }
    void SetMinWidth(VxView view, int32_t width) override { setting(view, "SetMinWidth", width); }
    void SetFramedView(VxView view, VxView framed) override {
        HostView* v = container(view);
        HostView* f = m_layer.view(framed);
        if (v && f)
            v->settings["SetFramedView"] = f->id;
    }

private:
    HostView* container(VxView view) {
        HostView* v = m_layer.view(view);
        return isContainer(v) ? v : nullptr;
    }
    void setting(VxView view, const char* name, int64_t value) {
        if (HostView* v = container(view)) {
            v->settings[name] = value;
            m_layer.changed();
        }
    }

    CHostViewLayer& m_layer;
};

class FlipContainerViewTable final : public IVxFlipContainerViewFTab {
public:
    explicit FlipContainerViewTable(CHostViewLayer& layer) : m_layer(layer) {}
    VxView Create(VxView parent, const char* name) override {
        return reinterpret_cast<VxView>(m_layer.create(parent, "FlipContainer", name));
    }
    void SetSizePolicy(VxView view, int32_t policy) override {
        if (HostView* v = m_layer.viewOf(view, "FlipContainer"))
            v->settings["SetSizePolicy"] = policy;
    }

private:
    CHostViewLayer& m_layer;
};

class TableContainerViewTable final : public IVxTableContainerViewFTab {
public:
    explicit TableContainerViewTable(CHostViewLayer& layer) : m_layer(layer) {}
    VxView Create(VxView parent, const char* name) override {
        return reinterpret_cast<VxView>(m_layer.create(parent, "TableContainer", name));
    }
    void SetNumColumns(VxView view, int32_t columns) override {
        if (HostView* v = m_layer.viewOf(view, "TableContainer"); v && columns > 0) {
            v->settings["SetNumColumns"] = columns;
            m_layer.changed();
        }
    }
    int32_t GetNumColumns(VxView view) override {
        HostView* v = m_layer.viewOf(view, "TableContainer");
        if (!v)
            return 0;
        auto found = v->settings.find("SetNumColumns");
        return found == v->settings.end() ? 1 : static_cast<int32_t>(found->second);
    }
    void SetGutters(VxView view, int32_t horizontal, int32_t vertical) override {
        if (HostView* v = m_layer.viewOf(view, "TableContainer")) {
            v->settings["GutterH"] = horizontal;
            v->settings["GutterV"] = vertical;
        }
    }

private:
    CHostViewLayer& m_layer;
};

class ScrollViewTable final : public IVxScrollViewFTab {
public:
    explicit ScrollViewTable(CHostViewLayer& layer) : m_layer(layer) {}
    VxView Create(VxView parent, const char* name) override {
        return reinterpret_cast<VxView>(m_layer.create(parent, "Scroll", name));
    }
    void SetShowHorz(VxView view, bool show) override { setting(view, "SetShowHorz", show); }
    void SetShowVert(VxView view, bool show) override { setting(view, "SetShowVert", show); }
    void SetDrawable(VxView view, VxView drawable) override {
        HostView* v = m_layer.viewOf(view, "Scroll");
        HostView* d = m_layer.view(drawable);
        if (v && d && d != v) {
            m_layer.reparent(d, v);
            m_layer.changed();
        }
    }

private:
    void setting(VxView view, const char* name, int64_t value) {
        if (HostView* v = m_layer.viewOf(view, "Scroll"))
            v->settings[name] = value;
    }
    CHostViewLayer& m_layer;
};

class SplitterViewTable final : public IVxSplitterViewFTab {
public:
    explicit SplitterViewTable(CHostViewLayer& layer) : m_layer(layer) {}
    VxView Create(VxView parent, const char* name, bool vertical) override {
        HostView* made = m_layer.create(parent, "Splitter", name);
        made->vertical = vertical;
        return reinterpret_cast<VxView>(made);
    }
    void SetTopView(VxView view, VxView pane) override { setPane(view, "Top", pane); }
    void SetBottomView(VxView view, VxView pane) override { setPane(view, "Bottom", pane); }
    void SetLeftView(VxView view, VxView pane) override { setPane(view, "Left", pane); }
    void SetRightView(VxView view, VxView pane) override { setPane(view, "Right", pane); }
    void SetTopLeftView(VxView view, VxView pane) override { setPane(view, "TopLeft", pane); }
    void SetTopRightView(VxView view, VxView pane) override { setPane(view, "TopRight", pane); }
    void SetBottomLeftView(VxView view, VxView pane) override { setPane(view, "BottomLeft", pane); }
    void SetBottomRightView(VxView view, VxView pane) override {
        setPane(view, "BottomRight", pane);
    }
    void SetOnly(VxView view, int32_t pane) override {
        if (HostView* v = m_layer.viewOf(view, "Splitter"); v && pane >= 0 && pane <= 2) {
            v->only = pane;
            m_layer.changed();
        }
    }
    void SetHorizontalOpenToSize(VxView view, int32_t size) override {
        if (HostView* v = m_layer.viewOf(view, "Splitter"); v && size >= 0) {
            v->horizontalSize = size;
            m_layer.changed();
        }
    }
    void SetVerticalOpenToSize(VxView view, int32_t size) override {
        if (HostView* v = m_layer.viewOf(view, "Splitter"); v && size >= 0) {
            v->verticalSize = size;
            m_layer.changed();
        }
    }
    int32_t GetHorizontalOpenToSize(VxView view) override {
        HostView* v = m_layer.viewOf(view, "Splitter");
        return v ? v->horizontalSize : 0;
    }
    int32_t GetVerticalOpenToSize(VxView view) override {
        HostView* v = m_layer.viewOf(view, "Splitter");
        return v ? v->verticalSize : 0;
    }

private:
    // A pane becomes a child of the splitter, as the tool kit's splitters hold their panes.
    void setPane(VxView view, const char* where, VxView pane) {
        HostView* v = m_layer.viewOf(view, "Splitter");
        HostView* p = m_layer.view(pane);
        if (!v || (pane && !p) || p == v)
            return;
        v->panes[where] = pane;
        if (p && p->parent != v)
            m_layer.reparent(p, v);
        m_layer.changed();
    }
    CHostViewLayer& m_layer;
};

class GapViewTable final : public IVxGapViewFTab {
public:
    explicit GapViewTable(CHostViewLayer& layer) : m_layer(layer) {}
    VxView Create(VxView parent, const char* name, int32_t width, int32_t height) override {
        HostView* made = m_layer.create(parent, "Gap", name);
        made->settings["Width"] = width;
        made->settings["Height"] = height;
        return reinterpret_cast<VxView>(made);
    }

private:
    CHostViewLayer& m_layer;
};

class ToolBarViewTable final : public IVxToolBarViewFTab {
public:
    explicit ToolBarViewTable(CHostViewLayer& layer) : m_layer(layer) {}
    VxView Create(VxView parent, const char* name) override {
        return reinterpret_cast<VxView>(m_layer.create(parent, "ToolBar", name));
    }

private:
    CHostViewLayer& m_layer;
};

} // namespace

std::unique_ptr<IVxBaseViewFTab> MakeBaseViewTable(CHostViewLayer& layer) {
    return std::make_unique<BaseViewTable>(layer);
}
std::unique_ptr<IVxContainerViewFTab> MakeContainerViewTable(CHostViewLayer& layer) {
    return std::make_unique<ContainerViewTable>(layer);
}
std::unique_ptr<IVxFlipContainerViewFTab> MakeFlipContainerViewTable(CHostViewLayer& layer) {
    return std::make_unique<FlipContainerViewTable>(layer);
}
std::unique_ptr<IVxTableContainerViewFTab> MakeTableContainerViewTable(CHostViewLayer& layer) {
    return std::make_unique<TableContainerViewTable>(layer);
}
std::unique_ptr<IVxScrollViewFTab> MakeScrollViewTable(CHostViewLayer& layer) {
    return std::make_unique<ScrollViewTable>(layer);
}
std::unique_ptr<IVxSplitterViewFTab> MakeSplitterViewTable(CHostViewLayer& layer) {
    return std::make_unique<SplitterViewTable>(layer);
}
std::unique_ptr<IVxGapViewFTab> MakeGapViewTable(CHostViewLayer& layer) {
    return std::make_unique<GapViewTable>(layer);
}
std::unique_ptr<IVxToolBarViewFTab> MakeToolBarViewTable(CHostViewLayer& layer) {
    return std::make_unique<ToolBarViewTable>(layer);
}

CHostViewLayer::Tables::Tables(CHostViewLayer& layer)
    : base(MakeBaseViewTable(layer)), container(MakeContainerViewTable(layer)),
      flipContainer(MakeFlipContainerViewTable(layer)),
      tableContainer(MakeTableContainerViewTable(layer)), scroll(MakeScrollViewTable(layer)),
      splitter(MakeSplitterViewTable(layer)), tree(MakeTreeViewTable(layer)),
      html(MakeHTMLViewTable(layer)), toolBar(MakeToolBarViewTable(layer)),
      gap(MakeGapViewTable(layer)), propertyButton(MakePropertyButtonViewTable(layer)),
      staticIcon(MakeStaticIconViewTable(layer)), staticText(MakeStaticTextViewTable(layer)),
      textEdit(MakeTextEditViewTable(layer)), list(MakeListViewTable(layer)),
      comboBox(MakeComboBoxViewTable(layer)), popupButton(MakePopupButtonViewTable(layer)),
      checkBox(MakeCheckBoxViewTable(layer, "CheckBox")),
      radioButton(MakeCheckBoxViewTable(layer, "RadioButton")),
      slider(MakeSliderViewTable(layer, "Slider")),
      progressBar(MakeSliderViewTable(layer, "ProgressBar")),
      pushButton(MakePushButtonViewTable(layer)) {}
