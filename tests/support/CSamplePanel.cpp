#include "tests/support/CSamplePanel.h"

#include <algorithm>
#include <cstring>

namespace {

struct TextStream final : _t_QsStm {
    explicit TextStream(std::string text) : m_text(std::move(text)) {}
    long read(char* buffer, long count) override {
        size_t n = std::min(static_cast<size_t>(count), m_text.size() - m_at);
        std::memcpy(buffer, m_text.data() + m_at, n);
        m_at += n;
        return static_cast<long>(n);
    }

private:
    std::string m_text;
    size_t m_at = 0;
};

std::string escapeHTML(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else if (c == '&')
            out += "&amp;";
        else if (c == '"')
            out += "&quot;";
        else
            out += c;
    }
    return out;
}

} // namespace

/// What a tree item stands for.
struct CSamplePanel::Node {
    CSamplePanel* panel;
    Feed* feed;
    Item* item; // null for the feed itself
};

CSamplePanel::CSamplePanel(IViewLayer& layer, IPageDialogs* dialogs)
    : m_layer(layer), m_dialogs(dialogs) {
    m_layer.RegisterPanel(
        "Tracker", "Tracker", [](bool, void* data) { static_cast<CSamplePanel*>(data)->show(); },
        this);
}

CSamplePanel::~CSamplePanel() {
    m_layer.UnregisterPanel("Tracker");
    if (m_window)
        m_layer.DestroyWindow(m_window);
    if (m_services)
        m_layer.DestroyMenu(m_services);
}

std::string CSamplePanel::pageOf(const std::string& title) {
    return "<!DOCTYPE html><html><head><title>page</title></head><body><h1>" + escapeHTML(title) +
           "</h1><p id=\"said\">Nothing ran.</p>"
           "<script>document.getElementById('said').textContent = 'A script ran.';</script>"
           "<p><a id=\"danger\" href=\"javascript:document.body.textContent='A link ran.'\">A "
           "javascript: link</a></p><p><a id=\"mine\" href=\"sample:open?what=" +
           escapeHTML(title) + "\">Open in the panel</a></p></body></html>";
}

CSamplePanel::Feed& CSamplePanel::addFeed(const std::string& title,
                                          const std::vector<std::string>& items) {
    auto feed = std::make_unique<Feed>();
    feed->title = title;
    for (const std::string& itemTitle : items) {
        auto item = std::make_unique<Item>();
        item->title = itemTitle;
        feed->items.push_back(std::move(item));
    }
    m_feeds.push_back(std::move(feed));
    if (m_tree)
        insertFeed(*m_feeds.back(), kVxTreeInsertLast);
    return *m_feeds.back();
}

void CSamplePanel::insertFeed(Feed& feed, int32_t position) {
    IVxTreeViewClassFTab* tree = m_layer.treeView();
    m_nodes.push_back(std::make_unique<Node>(Node{this, &feed, nullptr}));
    feed.node = tree->CreateItem(m_tree, m_nodes.back().get());
    tree->InsertItem(m_tree, feed.node, nullptr, position);
    for (const auto& item : feed.items) {
        m_nodes.push_back(std::make_unique<Node>(Node{this, &feed, item.get()}));
        item->node = tree->CreateItem(m_tree, m_nodes.back().get());
        tree->InsertItem(m_tree, item->node, feed.node, kVxTreeInsertLast);
    }
    tree->OpenItem(m_tree, feed.node, feed.open);
}

void CSamplePanel::show() {
    if (!m_window)
        build();
    m_layer.ShowWindow(m_window, true, true);
}

void CSamplePanel::build() {
    m_window = m_layer.NewWindow("Tracker", "Tracker");
    VxView root = m_layer.GetWindowRootView(m_window);
    VxView bar = m_layer.toolBarView()->Create(root, "INBOX:InboxToolBar");
    IVxPropertyButtonViewFTab* buttons = m_layer.propertyButtonView();

    VxView subscribe = buttons->Create(bar, "Subscribe");
    buttons->SetTextAttributes(subscribe, "Subscribe", 1);
    buttons->SetHelpText(subscribe, "Add a subscription");
    buttons->SetExecProc(
        subscribe,
        [](VxView, void* data) {
            auto* panel = static_cast<CSamplePanel*>(data);
            if (!panel->m_dialogs || !panel->m_dialogs->hasPage())
                return;
            auto answer = panel->m_dialogs->response("Enter the title of a feed.",
                                                     "Add Subscription", "", false);
            if (!answer || !*answer)
                return;
            if ((*answer)->empty()) {
                panel->m_dialogs->alert("A feed needs a title.", {"OK"}, false);
                return;
            }
            panel->addFeed(**answer, {"Welcome to " + **answer});
            panel->say("subscribed " + **answer);
        },
        this);

    VxView remove = buttons->Create(bar, "Remove");
    buttons->SetTextAttributes(remove, "Remove", 1);
    buttons->SetHelpText(remove, "Remove the selected subscription");
    buttons->SetComputeEnabledProc(
        remove,
        [](VxView, void* data) {
            return static_cast<CSamplePanel*>(data)->m_selectedFeed != nullptr;
        },
        this);
    buttons->SetExecProc(
        remove,
        [](VxView, void* data) {
            auto* panel = static_cast<CSamplePanel*>(data);
            if (panel->m_selectedFeed)
                panel->removeFeed(panel->m_selectedFeed);
        },
        this);

    buttons->MakeSeparator(buttons->Create(bar, "separator"));

    m_services = m_layer.NewMenu("Services", "Services");
    m_layer.AppendMenuItem(
        m_services, "Refresh", "&Refresh All",
        [](void* data) { static_cast<CSamplePanel*>(data)->say("refreshed"); }, nullptr, nullptr,
        this);
    VxMenu found = m_layer.NewMenu("Found", "Found on the Network");
    m_layer.AppendMenuItem(
        found, "Printer", "Office Printer",
        [](void* data) { static_cast<CSamplePanel*>(data)->say("chose the printer"); }, nullptr,
        nullptr, this);
    m_layer.AppendSubMenu(m_services, found);
    VxView services = buttons->Create(bar, "Services");
    buttons->SetTextAttributes(services, "Services", 1);
    buttons->SetMenu(services, m_services);

    VxView split = m_layer.splitterView()->Create(root, "split", true);
    m_tree = m_layer.treeView()->Create(split, "tree");
    m_html = m_layer.htmlView()->Create(split, "context");
    m_layer.splitterView()->SetLeftView(split, m_tree);
    m_layer.splitterView()->SetRightView(split, m_html);
    m_layer.splitterView()->SetHorizontalOpenToSize(split, 260);
    m_layer.htmlView()->SetHandleHTMLLink(m_html, handleLink, this);

    m_status = m_layer.staticTextView()->Create(root, "status");
    m_layer.staticTextView()->SetText(m_status, "Ready");

    VxTreeProcs procs;
    procs.itemText = itemText;
    procs.itemStyle = itemStyle;
    procs.selectItem = selectItem;
    procs.itemAction = itemAction;
    procs.doubleClick = itemAction;
    procs.contextMenu = contextMenu;
    procs.canDelete = canDelete;
    procs.doDelete = doDelete;
    procs.canMove = canMove;
    procs.move = move;
    procs.data = this;
    m_layer.treeView()->SetProcs(m_tree, procs);
    m_layer.treeView()->Suspend(m_tree);
    for (const auto& feed : m_feeds)
        insertFeed(*feed, kVxTreeInsertLast);
    m_layer.treeView()->Resume(m_tree);
}

CSamplePanel::Node* CSamplePanel::nodeOf(VxTreeItem item) {
    return static_cast<Node*>(m_layer.treeView()->GetItem(m_tree, item));
}

void CSamplePanel::say(const std::string& line) {
    m_log.push_back(line);
    if (m_status)
        m_layer.staticTextView()->SetText(m_status, line.c_str());
}

void CSamplePanel::select(Node* node) {
    m_selectedFeed = node->item ? nullptr : node->feed;
    const std::string& title = node->item ? node->item->title : node->feed->title;
    if (node->item && node->item->unread) {
        node->item->unread = false;
        m_layer.treeView()->InvalidateItem(m_tree, node->item->node);
        m_layer.treeView()->InvalidateItem(m_tree, node->feed->node);
    }
    TextStream page(pageOf(title));
    m_layer.htmlView()->GoToStream(m_html, &page);
}

void CSamplePanel::removeFeed(Feed* feed) {
    if (m_dialogs && m_dialogs->hasPage()) {
        auto pressed = m_dialogs->alert("Remove the subscription \"" + feed->title + "\"?",
                                        {"Remove", "Cancel"}, false);
        if (pressed && *pressed != 1)
            return;
    }
    std::string title = feed->title;
    if (m_selectedFeed == feed)
        m_selectedFeed = nullptr;
    m_layer.treeView()->RemoveItem(m_tree, feed->node);
    std::erase_if(m_feeds, [feed](const auto& held) { return held.get() == feed; });
    say("removed " + title);
}

std::string CSamplePanel::itemText(VxView, VxTreeItem, void* itemData, void*) {
    auto* node = static_cast<Node*>(itemData);
    return node->item ? node->item->title : node->feed->title;
}

int32_t CSamplePanel::itemStyle(VxView, VxTreeItem, void* itemData, void*) {
    auto* node = static_cast<Node*>(itemData);
    if (node->item)
        return node->item->unread ? kVxTreeStyleBold : kVxTreeStylePlain;
    bool unread = std::any_of(node->feed->items.begin(), node->feed->items.end(),
                              [](const auto& item) { return item->unread; });
    return unread ? kVxTreeStyleBold : kVxTreeStylePlain;
}

void CSamplePanel::selectItem(VxView, VxTreeItem, void* itemData, bool on, void* data) {
    if (on)
        static_cast<CSamplePanel*>(data)->select(static_cast<Node*>(itemData));
}

void CSamplePanel::itemAction(VxView, VxTreeItem, void* itemData, void* data) {
    auto* node = static_cast<Node*>(itemData);
    static_cast<CSamplePanel*>(data)->say("opened " +
                                          (node->item ? node->item->title : node->feed->title));
}

VxMenu CSamplePanel::contextMenu(VxView, VxTreeItem, void* itemData, void* data) {
    auto* panel = static_cast<CSamplePanel*>(data);
    auto* node = static_cast<Node*>(itemData);
    VxMenu menu = panel->m_layer.NewMenu("context", "");
    panel->m_layer.AppendMenuItem(
        menu, "Open", "&Open",
        [](void* item) {
            auto* n = static_cast<Node*>(item);
            n->panel->say("opened " + (n->item ? n->item->title : n->feed->title));
        },
        nullptr, nullptr, node);
    panel->m_layer.AppendMenuItem(
        menu, "MarkRead", "Mark &Read",
        [](void* item) {
            auto* n = static_cast<Node*>(item);
            n->item->unread = false;
            n->panel->m_layer.treeView()->InvalidateItem(n->panel->m_tree, n->item->node);
        },
        [](void* item) {
            auto* n = static_cast<Node*>(item);
            return n->item && n->item->unread;
        },
        nullptr, node);
    if (!node->item) {
        panel->m_layer.AppendMenuSeparator(menu);
        panel->m_layer.AppendMenuItem(
            menu, "Remove", "&Remove",
            [](void* item) {
                auto* n = static_cast<Node*>(item);
                n->panel->removeFeed(n->feed);
            },
            nullptr, nullptr, node);
    }
    return menu;
}

bool CSamplePanel::canDelete(VxView, VxTreeItem, void* itemData, void*) {
    return !static_cast<Node*>(itemData)->item;
}

void CSamplePanel::doDelete(VxView, VxTreeItem, void* itemData, void* data) {
    static_cast<CSamplePanel*>(data)->removeFeed(static_cast<Node*>(itemData)->feed);
}

bool CSamplePanel::canMove(VxView, VxTreeItem, void* itemData, void*) {
    return !static_cast<Node*>(itemData)->item;
}

bool CSamplePanel::move(VxView, VxTreeItem moved, VxTreeItem target, bool before, void* data) {
    auto* panel = static_cast<CSamplePanel*>(data);
    Node* from = panel->nodeOf(moved);
    Node* to = panel->nodeOf(target);
    if (!from || !to || from->item || to->item || from->feed == to->feed)
        return false;
    auto& feeds = panel->m_feeds;
    auto at = std::find_if(feeds.begin(), feeds.end(),
                           [from](const auto& held) { return held.get() == from->feed; });
    std::unique_ptr<Feed> taken = std::move(*at);
    feeds.erase(at);
    auto there = std::find_if(feeds.begin(), feeds.end(),
                              [to](const auto& held) { return held.get() == to->feed; });
    int32_t position = static_cast<int32_t>(there - feeds.begin()) + (before ? 0 : 1);
    feeds.insert(feeds.begin() + position, std::move(taken));
    panel->m_layer.treeView()->MoveItem(panel->m_tree, moved, nullptr, position);
    panel->say("moved " + from->feed->title);
    return true;
}

bool CSamplePanel::handleLink(VxView, const char* url, void* data) {
    auto* panel = static_cast<CSamplePanel*>(data);
    panel->m_lastLink = url ? url : "";
    if (panel->m_lastLink.rfind("sample:", 0) != 0)
        return false;
    panel->say("link " + panel->m_lastLink);
    return true;
}
