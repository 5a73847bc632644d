// The Tracker: a tree of subscriptions beside the context pane of the selected node, with a small
// tool bar. It holds no subscription state of its own: it redraws what the store and the feeds'
// presentations tell it. Each node carries a CInboxData.
#pragma once

#include "frame/host/IViewLayer.h"
#include "rss/CRSSManager.h"
#include "tracker/CRSSFeedUIManager.h"
#include "tracker/CVxContainerView.h"
#include "tracker/CVxPropertyButtonView.h"
#include "tracker/CVxScrollView.h"
#include "tracker/CVxSplitterView.h"
#include "tracker/CVxTableContainerView.h"
#include "tracker/CVxToolBarView.h"
#include "tracker/CVxTreeViewClass.h"
#include "values/EStr.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

class CInboxData;
class CArticleData;
class CGroupData;

/// The fixed URLs of the roots.
inline constexpr char kInboxErrorRoot[] = "local://ErrorRoot";
inline constexpr char kInboxDocRoot[] = "local://DocRoot";

class CVxInboxPanel final : public CRSSManager::Observer, public CRSSFeedUIObserver {
public:
    CVxInboxPanel();
    /// Stores the splitter position and lets the views go.
    ~CVxInboxPanel() override;

    /// The one panel, or null.
    static CVxInboxPanel* sm_instance;

    /// Builds the tool bar, splitter, tree and context pane in the window's root view, starts
    /// listening to the store and the presentations, and fills the tree.
    void bindToWindow(VxWindow window);
    VxWindow getWindow() const { return m_window; }

    // Filling the tree.

    /// Every node again, from the store's list of feeds.
    void refresh();
    /// The nodes of one feed again, in the place they had.
    void refresh(EStr url);
    /// Selects (or deselects) the first node of a feed.
    void select(EStr url, bool on);
    /// The first node of a feed or root; with create, a root is made when missing.
    VxTreeItem getTreeNodeFromURL(EStr url, bool create);
    void addFeedItems(EStr url, CAgg& items, EStr group, VxTreeItem parent);
    void addFeedItem(EStr url, long index, EStr group, VxTreeItem parent);
    /// Removes every node below (not counting) a node; null: every node of the tree.
    void clearEntries(VxTreeItem node);
    /// Removes the nodes of a feed (null: every node); where the first was is kept in place.
    void clearURL(EStr url, int32_t* type = nullptr);
    /// Moves the feed of from before or after the feed of to, in the store and in the tree.
    void moveItem(CInboxData* from, CInboxData* to, int32_t type, bool before);
    void setSelection(CInboxData* data, bool on);
    bool canSelect(CInboxData* data);
    /// Queues a feed for refresh, tells its listeners and refreshes what is queued.
    void updatePanel(EStr url);
    void addUpdateListener(EStr url, CInboxData* data);
    void removeUpdateListener(EStr url, CInboxData* data);
    CVxTreeViewClass* getTreeView() { return m_tree.get(); }
    /// Opens the parents of a node and selects it.
    void showItem(VxTreeItem node);
    /// Selects the next unread item after the selection, wrapping; false when there is none.
    bool goToNextUnread();
    /// Asks for a URL and subscribes to it.
    void onSubscribe();
    /// Removes the selected node's feed, after the presentation's question.
    void onRemove();
    void onOpen();
    bool canOpen();

    /// The node's data, or null.
    CInboxData* dataOf(VxTreeItem node);
    CInboxData* getSelection() const { return m_selection; }
    /// The right pane, where the presentations put their views.
    VxView getContextContainer() const { return m_right ? m_right->getView() : nullptr; }
    VxView getToolBar() const { return m_toolBar ? m_toolBar->getView() : nullptr; }

    // Bookkeeping of the nodes, kept by the data themselves.
    void addArticle(CArticleData* article);
    void removeArticle(CArticleData* article);
    void forget(CInboxData* data);

    /// Whether an operation is running that may use nodes; updates then wait.
    bool isBusy() const { return m_busy > 0; }
    /// Runs an operation with the panel busy; the updates that came meanwhile run afterwards.
    template <class Fn> void busy(Fn fn) {
        ++m_busy;
        fn();
        if (--m_busy == 0)
            runDelayed();
    }

    // The store's observer.
    void didAddFeed(EStr url) override;
    void didUpdate(EStr url) override;
    void didMarkRead(EStr url, long index, unsigned short isRead) override;
    void didRemoveFeed(EStr url) override;
    // The presentations' observer.
    void didAddUI(EStr url) override;
    void didUpdateUI(EStr url) override;
    void didRemoveUI(EStr url) override;

    // Tree callbacks.
    static void doSelect(VxView, VxTreeItem, void* item, bool on, void* data);
    static bool doCanSelect(VxView, VxTreeItem, void* item, void* data);
    static bool canDeleteSelection(VxView, VxTreeItem, void* item, void* data);
    static void doDeleteSelection(VxView, VxTreeItem, void* item, void* data);
    static void doOpen(VxView, VxTreeItem, void* item, void* data);
    static std::string getItemContent(VxView, VxTreeItem, void* item, void* data);
    static void freeItem(VxView, VxTreeItem, void* item, void* data);
    static int32_t getItemStyle(VxView, VxTreeItem, void* item, void* data);
    static VxIcon getItemIcon(VxView, VxTreeItem, void* item, void* data);
    static bool canMoveSelection(VxView, VxTreeItem, void* item, void* data);
    static bool moveSelection(VxView, VxTreeItem moved, VxTreeItem target, bool before, void* data);
    static std::string getToolTip(VxView, VxTreeItem, void* item, void* data);
    static void doDoubleClick(VxView, VxTreeItem, void* item, void* data);
    static VxMenu getContextMenu(VxView, VxTreeItem, void* item, void* data);
    static bool doKeyDown(VxView, VxTreeItem item, int32_t key, void* data);
    static void doOpenState(VxView, VxTreeItem, void* item, bool open, void* data);

    // Tool bar and Services menu.
    static void onOpenProc(VxView, void* data);
    static bool canOpenProc(VxView, void* data);
    static void onExpandProc(VxView, void* data);
    static bool canExpandProc(VxView, void* data);
    static void onCollapseProc(VxView, void* data);
    static bool canCollapseProc(VxView, void* data);
    static void onSubscribeProc(void* data);
    static void doAddServices(void* data);
    /// Enabled when the search for services is there.
    static bool canAddServices(void* data);
    /// The search for services, which discovery gives the panel; null leaves "Search" disabled.
    using SearchForServicesProc = void (*)();
    static void setSearchForServices(SearchForServicesProc proc);
    static void onRemoveSubscriptionProc(void* data);
    static bool canRemoveSubscriptionProc(void* data);
    static void onRefreshProc(void* data);
    static bool canRefreshProc(void* data);
    static void onConvertToPDF(void* data);
    static bool canConvertToPDF(void* data);

private:
    CVxInboxPanel(const CVxInboxPanel&) = delete;
    CVxInboxPanel& operator=(const CVxInboxPanel&) = delete;

    void buildToolBar(VxView parent);
    VxTreeItem insertNode(CInboxData* data, VxTreeItem parent, int32_t position);
    VxTreeItem makeRoot(const char* url);
    VxTreeItem documentGroup(VxDoc doc, EStr url);
    void removeEmptyRoots();
    void runDelayed();
    static SearchForServicesProc s_searchForServices;
    void refreshQueued();
    bool isRootData(CInboxData* data);
    void addFeedItemsBelow(EStr url, VxTreeItem parent, int depth);
    void addFeedItemAt(EStr url, long index, VxTreeItem parent, int depth);

    VxWindow m_window = nullptr;
    VxDoc m_doc = nullptr;
    CRSSManager* m_store = nullptr;
    std::unique_ptr<CVxTableContainerView> m_toolBarContainer;
    std::unique_ptr<CVxToolBarView> m_toolBar;
    std::vector<std::unique_ptr<CVxPropertyButtonView>> m_buttons;
    /// The buttons' icons, which the panel owns.
    std::vector<VxIcon> m_icons;
    VxMenu m_servicesMenu = nullptr;
    std::unique_ptr<CVxSplitterView> m_splitter;
    std::unique_ptr<CVxContainerView> m_left;
    std::unique_ptr<CVxScrollView> m_scroll;
    std::unique_ptr<CVxTreeViewClass> m_tree;
    std::unique_ptr<CVxContainerView> m_right;

    std::map<CEStr, std::vector<CInboxData*>, CEStrLessNumbersFirst> m_listeners;
    std::map<CEStr, std::vector<CArticleData*>, CEStrLessNumbersFirst> m_articles;
    std::vector<CEStr> m_refreshQueue;
    std::map<std::string, VxTreeItem> m_docRoots;
    CInboxData* m_selection = nullptr;
    VxTreeItem m_errorRoot = nullptr;
    VxTreeItem m_docRoot = nullptr;
    int m_busy = 0;
    std::vector<CEStr> m_delayed;
    bool m_observing = false;
    /// Where clearURL found the first node of the feed it removed.
    VxTreeItem m_placeParent = nullptr;
    int32_t m_placeIndex = -1;
};
