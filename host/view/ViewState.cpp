#include "host/view/ViewState.h"

#include "host/view/JSONText.h"

#include <string_view>

namespace {

std::string boolean(bool value) {
    return value ? "true" : "false";
}

std::string number(int64_t value) {
    return std::to_string(value);
}

class StateWriter {
public:
    StateWriter(CHostViewLayer& layer, const IconNamer& icons) : m_layer(layer), m_icons(icons) {}

    std::string view(HostView* v) {
        std::string out = "{\"id\":" + number(v->id) + ",\"class\":" + JSONString(v->className) +
                          ",\"name\":" + JSONString(v->name) +
                          ",\"visible\":" + boolean(v->visible) +
                          ",\"enabled\":" + boolean(v->enabled);
        out += parts(v);
        out += ",\"children\":[";
        bool first = true;
        for (HostView* child : v->children) {
            if (child->settings.count("Ignored") && child->settings["Ignored"])
                continue;
            out += (first ? "" : ",") + view(child);
            first = false;
        }
        return out + "]}";
    }

    std::string menu(HostMenu* m) {
        if (!m)
            return "null";
        std::string out =
            "{\"id\":" + number(m->id) + ",\"title\":" + JSONString(m->title) + ",\"items\":[";
        bool first = true;
        for (const HostMenuItem& item : m->items) {
            out += std::string(first ? "" : ",") + "{\"name\":" + JSONString(item.name) +
                   ",\"title\":" + JSONString(item.title) +
                   ",\"separator\":" + boolean(item.separator) +
                   ",\"enabled\":" + boolean(m_layer.menuItemEnabled(item)) +
                   ",\"marked\":" + boolean(m_layer.menuItemMarked(item)) +
                   ",\"sub\":" + menu(item.subMenu) + "}";
            first = false;
        }
        return out + "]}";
    }

private:
    uint32_t icon(VxIcon handle) { return handle && m_icons ? m_icons(handle) : 0; }

    std::string parts(HostView* v) {
        const std::string& c = v->className;
        if (c == "Tree")
            return ",\"items\":" + items(v, &v->tree->root);
        if (c == "HTML")
            return ",\"version\":" + number(v->htmlVersion) + ",\"url\":" + JSONString(v->url);
        if (c == "Splitter") {
            std::string panes;
            for (const auto& [where, pane] : v->panes) {
                HostView* p = m_layer.view(pane);
                if (p)
                    panes += (panes.empty() ? "" : ",") + JSONString(where) + ":" + number(p->id);
            }
            return ",\"vertical\":" + boolean(v->vertical) +
                   ",\"size\":" + number(v->vertical ? v->horizontalSize : v->verticalSize) +
                   ",\"only\":" + number(v->only) + ",\"panes\":{" + panes + "}";
        }
        if (c == "PropertyButton")
            return ",\"text\":" + JSONString(v->text) + ",\"help\":" + JSONString(v->helpText) +
                   ",\"icon\":" + number(icon(v->icon)) +
                   ",\"labelled\":" + boolean((v->fontFlags & 1) != 0) +
                   ",\"separator\":" + boolean(v->separator) + ",\"mark\":" + boolean(v->mark) +
                   ",\"active\":" + boolean(m_layer.buttonEnabled(v)) +
                   ",\"menu\":" + menu(v->menu);
        if (c == "StaticText" || c == "PushButton")
            return ",\"text\":" + JSONString(v->text) + ",\"fontFlags\":" + number(v->fontFlags) +
                   ",\"clickable\":" + boolean(v->click.proc || v->exec.proc);
        if (c == "StaticIcon")
            return ",\"icon\":" + number(icon(v->icon)) +
                   ",\"clickable\":" + boolean(v->click.proc != nullptr);
        if (c == "TextEdit")
            return ",\"text\":" + JSONString(v->text) +
                   ",\"readOnly\":" + boolean(v->settings["SetReadOnly"] != 0);
        if (c == "CheckBox" || c == "RadioButton")
            return ",\"text\":" + JSONString(v->text) + ",\"state\":" + number(v->state);
        if (c == "Slider" || c == "ProgressBar")
            return ",\"min\":" + number(v->range.minimum) + ",\"max\":" + number(v->range.maximum) +
                   ",\"pos\":" + number(v->position);
        if (c == "PopupButton" || c == "ComboBox")
            return ",\"text\":" + JSONString(v->text) + ",\"selection\":" + number(v->selection) +
                   ",\"entries\":" + entries(v);
        if (c == "Gap")
            return ",\"width\":" + number(v->settings["Width"]) +
                   ",\"height\":" + number(v->settings["Height"]);
        if (c == "List")
            return ",\"selection\":" + number(v->selection) + ",\"columns\":" + columns(v) +
                   ",\"rows\":" + rows(v);
        return "";
    }

    std::string items(HostView* tree, HostTreeItem* parent) {
        std::string out = "[";
        bool first = true;
        for (HostTreeItem* item : parent->children) {
            out += std::string(first ? "" : ",") + "{\"id\":" + number(item->id) +
                   ",\"text\":" + JSONString(m_layer.itemText(tree, item)) +
                   ",\"tip\":" + JSONString(m_layer.itemToolTip(tree, item)) +
                   ",\"icon\":" + number(icon(m_layer.itemIcon(tree, item))) +
                   ",\"style\":" + number(m_layer.itemStyle(tree, item)) +
                   ",\"open\":" + boolean(item->open) + ",\"selected\":" + boolean(item->selected) +
                   ",\"children\":" + items(tree, item) + "}";
            first = false;
        }
        return out + "]";
    }

    std::string entries(HostView* v) {
        std::string out = "[";
        for (size_t i = 0; i < v->entries.size(); ++i)
            out += std::string(i ? "," : "") + "{\"text\":" + JSONString(v->entries[i].text) +
                   ",\"separator\":" + boolean(v->entries[i].separator) + "}";
        return out + "]";
    }

    std::string columns(HostView* v) {
        std::string out = "[";
        for (size_t i = 0; i < v->columns.size(); ++i)
            out += std::string(i ? "," : "") + JSONString(v->columns[i].first);
        return out + "]";
    }

    std::string rows(HostView* v) {
        std::string out = "[";
        for (int32_t row = 0; row < v->rows; ++row) {
            out += std::string(row ? "," : "") + "[";
            for (size_t column = 0; column < v->columns.size(); ++column) {
                std::string cell =
                    v->listText.proc
                        ? v->listText.proc(reinterpret_cast<VxView>(v), row,
                                           static_cast<int32_t>(column), v->listText.data)
                        : "";
                out += std::string(column ? "," : "") + JSONString(cell);
            }
            out += "]";
        }
        return out + "]";
    }

    CHostViewLayer& m_layer;
    const IconNamer& m_icons;
};

void treeText(CHostViewLayer& layer, HostView* tree, HostTreeItem* parent, int depth,
              std::string& out) {
    for (HostTreeItem* item : parent->children) {
        bool bold = layer.itemStyle(tree, item) & kVxTreeStyleBold;
        char mark = bold ? '*' : (!item->children.empty() && !item->open ? '-' : ' ');
        out += std::string(static_cast<size_t>(depth) * 2, ' ') + mark + ' ' +
               layer.itemText(tree, item) + "\n";
        treeText(layer, tree, item, depth + 1, out);
    }
}

void viewText(CHostViewLayer& layer, HostView* v, std::string& out) {
    if (v->tree)
        treeText(layer, v, &v->tree->root, 1, out);
    for (HostView* child : v->children)
        viewText(layer, child, out);
}

} // namespace

std::string ViewStateJSON(CHostViewLayer& layer, const IconNamer& icons) {
    StateWriter writer(layer, icons);
    std::string out = "{\"windows\":[";
    bool first = true;
    for (const auto& window : layer.windows()) {
        out += std::string(first ? "" : ",") + "{\"id\":" + number(window->id) +
               ",\"name\":" + JSONString(window->name) + ",\"title\":" + JSONString(window->title) +
               ",\"visible\":" + boolean(window->visible) + ",\"modal\":" + boolean(window->modal) +
               ",\"root\":" + (window->root ? writer.view(window->root) : "null") + "}";
        first = false;
    }
    out += "],\"panels\":[";
    first = true;
    for (const HostPanel& panel : layer.panels()) {
        out += std::string(first ? "" : ",") + "{\"name\":" + JSONString(panel.name) +
               ",\"title\":" + JSONString(panel.title) + "}";
        first = false;
    }
    return out + "]}";
}

std::string MenuJSON(CHostViewLayer& layer, HostMenu* menu) {
    IconNamer none;
    return StateWriter(layer, none).menu(menu);
}

std::string ViewTreesAsText(CHostViewLayer& layer) {
    std::string out;
    for (const auto& window : layer.windows()) {
        std::string trees;
        if (window->root)
            viewText(layer, window->root, trees);
        if (!trees.empty())
            out += window->title + "\n" + trees;
    }
    return out;
}
