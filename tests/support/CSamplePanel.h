// A small panel built through the view layer's tables the way the plug-in builds the Tracker: a
// tool bar (Subscribe, Remove, a Services pop-up), a splitter with a tree of feeds and their
// items beside an HTML view, and a status line. Tests of the host's view layer and of its page
// drive it without the plug-in.
//
// Feeds and items are plain records here. Selecting an item marks it read and shows its page;
// an unread item, and a feed with one, is drawn bold. Subscribe asks for a title and adds a
// feed; Remove (and the Delete key) asks before it removes; feeds move by drag and drop; Enter
// and double click "open" an item, which the status line tells.
#pragma once

#include "frame/host/IViewLayer.h"
#include "host/ui/IPageDialogs.h"

#include <memory>
#include <string>
#include <vector>

class CSamplePanel {
public:
    struct Item {
        std::string title;
        bool unread = true;
        VxTreeItem node = nullptr;
    };
    struct Feed {
        std::string title;
        std::vector<std::unique_ptr<Item>> items;
        VxTreeItem node = nullptr;
        bool open = true;
    };

    /// Registers the panel "Tracker"; dialogs (may be null) asks the person's questions.
    CSamplePanel(IViewLayer& layer, IPageDialogs* dialogs);
    ~CSamplePanel();
    CSamplePanel(const CSamplePanel&) = delete;
    CSamplePanel& operator=(const CSamplePanel&) = delete;

    /// Adds a feed with items (their titles), at the end.
    Feed& addFeed(const std::string& title, const std::vector<std::string>& items);
    const std::vector<std::unique_ptr<Feed>>& feeds() const { return m_feeds; }
    /// What the panel has done on the person's behalf, one line each ("opened X", "removed X").
    const std::vector<std::string>& log() const { return m_log; }

    VxWindow window() const { return m_window; }
    VxView tree() const { return m_tree; }
    VxView html() const { return m_html; }
    VxView status() const { return m_status; }
    /// The link the page last handed over, and whether the panel took it.
    const std::string& lastLink() const { return m_lastLink; }

    /// The HTML shown for an item: its title as text, a script and a javascript: link that must
    /// never run, and a link back to the panel.
    static std::string pageOf(const std::string& title);

private:
    struct Node;

    void show();
    void build();
    void insertFeed(Feed& feed, int32_t position);
    Node* nodeOf(VxTreeItem item);
    void select(Node* node);
    void removeFeed(Feed* feed);
    void say(const std::string& line);

    static std::string itemText(VxView, VxTreeItem, void* itemData, void* data);
    static int32_t itemStyle(VxView, VxTreeItem, void* itemData, void* data);
    static void selectItem(VxView, VxTreeItem, void* itemData, bool on, void* data);
    static void itemAction(VxView, VxTreeItem, void* itemData, void* data);
    static VxMenu contextMenu(VxView, VxTreeItem, void* itemData, void* data);
    static bool canDelete(VxView, VxTreeItem, void* itemData, void* data);
    static void doDelete(VxView, VxTreeItem, void* itemData, void* data);
    static bool canMove(VxView, VxTreeItem, void* itemData, void* data);
    static bool move(VxView, VxTreeItem moved, VxTreeItem target, bool before, void* data);
    static bool handleLink(VxView, const char* url, void* data);

    IViewLayer& m_layer;
    IPageDialogs* m_dialogs;
    std::vector<std::unique_ptr<Feed>> m_feeds;
    std::vector<std::unique_ptr<Node>> m_nodes;
    std::vector<std::string> m_log;
    std::string m_lastLink;
    VxWindow m_window = nullptr;
    VxView m_tree = nullptr;
    VxView m_html = nullptr;
    VxView m_status = nullptr;
    VxMenu m_services = nullptr;
    Feed* m_selectedFeed = nullptr;
};
