#include "tracker/CVxInboxPanel.h"

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/ZString.h"
#include "frame/host/ICabinets.h"
#include "frame/host/IIcons.h"
#include "rss/CRSSReader.h"
#include "tracker/CArticleData.h"
#include "tracker/CFeedData.h"
#include "tracker/CGroupData.h"
#include "tracker/FeedRecords.h"
#include "tracker/VxViewTables.h"
#include "values/CAggWalk.h"
#include "values/QsCab.h"

#include <algorithm>

namespace {

/// The deepest chain of comment threads shown under an item.
constexpr int kMaxThreadDepth = 8;
/// The splitter's first pane, when nothing is stored.
constexpr int32_t kDefaultSplitterPosition = 250;
/// The cabinet of the Tracker's window state.
constexpr char kTrackerSection[] = "Collab";
constexpr char kTrackerCabinet[] = "Tracker";

bool sameURL(const _EStrRec* a, const _EStrRec* b) {
    return a && b && EStrCmp(a, b) == 0;
}

/// The last path segment of a URL or path, without a query or fragment.
std::string ExtractFileNameFromURL(const std::string& url) {
    std::string path = url.substr(0, url.find_first_of("?#"));
    while (!path.empty() && path.back() == '/')
        path.pop_back();
    size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

} // namespace

CVxInboxPanel* CVxInboxPanel::sm_instance = nullptr;

CVxInboxPanel::CVxInboxPanel() = default;

CVxInboxPanel::~CVxInboxPanel() {
    if (m_observing) {
        if (CRSSManager::sm_instance)
            CRSSManager::sm_instance->removeObserver(this);
        if (CRSSFeedUIManager::sm_instance)
            CRSSFeedUIManager::sm_instance->removeObserver(this);
    }
    if (m_splitter && m_splitter->getView()) {
        if (ICabinets* cabinets = HostCabinets()) {
            QsCab cab = QsCabAcquireLocal(kTrackerSection, kTrackerCabinet);
            cabinets->putInt(cab, "PositionSplitter", m_splitter->GetHorizontalOpenToSize());
            QsCabSaveLocal(cab);
            QsCabReleaseLocal(cab);
        }
    }
    // The nodes go first, while the panel can still forget them.
    if (m_tree)
        m_tree->RemoveAllItems();
    m_selection = nullptr;
    // The buttons let go of their menu and icons before these go.
    for (auto& button : m_buttons) {
        button->SetMenu(nullptr);
        button->SetIcon(nullptr);
    }
    if (IViewLayer* layer = VxViewLayer())
        if (m_servicesMenu)
            layer->DestroyMenu(m_servicesMenu);
    if (IIcons* icons = gVellViewHFT ? gVellViewHFT->icons() : nullptr)
        for (VxIcon icon : m_icons)
            icons->releaseIcon(icon);
    if (sm_instance == this)
        sm_instance = nullptr;
}

// Building.

void CVxInboxPanel::bindToWindow(VxWindow window) {
    IViewLayer* layer = VxViewLayer();
    if (!layer || !window)
        return;
    m_window = window;
    VxView root = layer->GetWindowRootView(window);

    m_toolBarContainer = std::make_unique<CVxTableContainerView>(root, "INBOX:ToolBarContainer");
    m_toolBarContainer->SetNumColumns(1);
    buildToolBar(m_toolBarContainer->getView());

    m_splitter = std::make_unique<CVxSplitterView>(root, "INBOX:Splitter", true);
    int32_t position = kDefaultSplitterPosition;
    if (ICabinets* cabinets = HostCabinets()) {
        QsCab cab = QsCabAcquireLocal(kTrackerSection, kTrackerCabinet);
        position = cabinets->getInt(cab, "PositionSplitter").value_or(position);
        QsCabReleaseLocal(cab);
    }
    m_splitter->SetHorizontalOpenToSize(position);

    m_left = std::make_unique<CVxContainerView>(m_splitter->getView(), "INBOX:Left");
    m_scroll = std::make_unique<CVxScrollView>(m_left->getView(), "INBOX:Scroll");
    m_tree = std::make_unique<CVxTreeViewClass>(m_scroll->getView(), "INBOX:Tree");
    m_scroll->SetDrawable(m_tree->getView());
    m_scroll->SetShowVert(true);
    VxTreeProcs procs;
    procs.itemText = getItemContent;
    procs.itemIcon = getItemIcon;
    procs.itemStyle = getItemStyle;
    procs.openItem = doOpenState;
    procs.selectItem = doSelect;
    procs.canSelectItem = doCanSelect;
    procs.contextMenu = getContextMenu;
    procs.itemAction = doOpen;
    procs.toolTip = getToolTip;
    procs.canDelete = canDeleteSelection;
    procs.doDelete = doDeleteSelection;
    procs.canMove = canMoveSelection;
    procs.move = moveSelection;
    procs.doubleClick = doDoubleClick;
    procs.freeItem = freeItem;
    procs.keyDown = doKeyDown;
    procs.data = this;
    if (IVxTreeViewClassFTab* table = CVxTreeViewClass::s_VxTreeViewClassFTab)
        if (m_tree->getView())
            table->SetProcs(m_tree->getView(), procs);
    m_splitter->SetLeftView(m_left->getView());

    m_right = std::make_unique<CVxContainerView>(m_splitter->getView(), "INBOX:Context");
    m_splitter->SetRightView(m_right->getView());

    m_store = &CRSSManager::instance();
    if (!m_observing) {
        m_store->addObserver(this);
        CRSSFeedUIManager::instance().addObserver(this);
        m_observing = true;
    }
    m_store->ensureIsRunning();
    refresh();
}

void CVxInboxPanel::buildToolBar(VxView parent) {
    IViewLayer* layer = VxViewLayer();
    IIcons* icons = gVellViewHFT ? gVellViewHFT->icons() : nullptr;
    m_toolBar = std::make_unique<CVxToolBarView>(parent, "INBOX:InboxToolBar");
    auto button = [&](const char* name, const char* iconName, const char* textKey,
                      const char* helpKey) {
        auto made = std::make_unique<CVxPropertyButtonView>(m_toolBar->getView(), name);
        if (!iconName) {
            made->MakeSeparator();
        } else {
            made->SetTextAttributes(MessageText(textKey).c_str(), 0);
            made->SetHelpText(MessageText(helpKey).c_str());
            size_t size = 0;
            void* bytes = mdGetDataFromName(iconName, &size);
            VxIcon icon = bytes && icons
                              ? icons->iconFromPNG(static_cast<const unsigned char*>(bytes), size)
                              : nullptr;
            if (icon) {
                m_icons.push_back(icon);
                made->SetIcon(icon);
            }
            QsFree(bytes);
        }
        m_buttons.push_back(std::move(made));
        return m_buttons.back().get();
    };
    CVxPropertyButtonView* open =
        button("INBOX:Open", "C_Open_Md_N.png", "IDS_RSS_OPEN_BUTTON", "IDS_RSS_OPEN_BUTTON_HELP");
    open->SetExecProc(onOpenProc, this);
    open->SetComputeEnabledProc(canOpenProc, this);
    CVxPropertyButtonView* expand = button("INBOX:Expand", "C_ExpandAll_Lg_N.png",
                                           "IDS_RSS_EXPAND_BUTTON", "IDS_RSS_EXPAND_BUTTON_HELP");
    expand->SetExecProc(onExpandProc, this);
    expand->SetComputeEnabledProc(canExpandProc, this);
    CVxPropertyButtonView* collapse =
        button("INBOX:Collapse", "C_CollapseAll_Lg_N.png", "IDS_RSS_COLLAPSE_BUTTON",
               "IDS_RSS_COLLAPSE_BUTTON_HELP");
    collapse->SetExecProc(onCollapseProc, this);
    collapse->SetComputeEnabledProc(canCollapseProc, this);
    button("INBOX:S0", nullptr, nullptr, nullptr);
    CVxPropertyButtonView* services =
        button("INBOX:Services", "C_MultiServers_Md_N.png", "IDS_RSS_SERVICES_BUTTON",
               "IDS_RSS_SERVICES_BUTTON_HELP");
    button("INBOX:S1", nullptr, nullptr, nullptr);
    if (!layer)
        return;
    if (m_servicesMenu)
        layer->DestroyMenu(m_servicesMenu);
    m_servicesMenu =
        layer->NewMenu("INBOX:Services", MessageText("IDS_RSS_SERVICES_BUTTON").c_str());
    auto item = [&](const char* name, const char* key, VxMenuItemProc exec,
                    VxMenuItemTestProc enabled) {
        layer->AppendMenuItem(m_servicesMenu, name, MessageText(key).c_str(), exec, enabled,
                              nullptr, this);
    };
    item("INBOX:Add", "IDS_RSS_SUBSCRIBE_MENU", onSubscribeProc, nullptr);
    item("INBOX:Search", "IDS_INITIATE_SEARCH_FOR_SERVICES_TITLE", doAddServices, canAddServices);
    item("INBOX:Remove", "IDS_RSS_REMOVE_MENU", onRemoveSubscriptionProc,
         canRemoveSubscriptionProc);
    item("INBOX:Refresh", "IDS_RSS_REFRESH_MENU", onRefreshProc, canRefreshProc);
    item("INBOX:ConvertToPDF", "IDS_RSS_CONVERT_TO_PDF", onConvertToPDF, canConvertToPDF);
    services->SetMenu(m_servicesMenu);
}

// Nodes.

CInboxData* CVxInboxPanel::dataOf(VxTreeItem node) {
    if (!node || !m_tree)
        return nullptr;
    return static_cast<CInboxData*>(m_tree->GetItem(node));
}

VxTreeItem CVxInboxPanel::insertNode(CInboxData* data, VxTreeItem parent, int32_t position) {
    VxTreeItem node = m_tree ? m_tree->CreateItem(data) : nullptr;
    if (!node) {
        delete data;
        return nullptr;
    }
    data->node = node;
    m_tree->InsertItem(node, parent, position);
    return node;
}

VxTreeItem CVxInboxPanel::makeRoot(const char* url) {
    bool error = std::string(url) == kInboxErrorRoot;
    VxTreeItem& root = error ? m_errorRoot : m_docRoot;
    if (root)
        return root;
    CEStr rootURL(url, kEStrPDFDoc);
    CEStr title = MessageEStr(error ? "IDS_INBOX_ERROR_FEED" : "IDS_INBOX_DOCUMENT_FEED");
    CEStr tip = error ? CEStr() : MessageEStr("IDS_INBOX_DOCUMENT_FEED_TIP");
    root = insertNode(new CGroupData(this, rootURL, title, title, tip), nullptr, kVxTreeInsertLast);
    return root;
}

VxTreeItem CVxInboxPanel::documentGroup(VxDoc doc, EStr url) {
    VxTreeItem docRoot = makeRoot(kInboxDocRoot);
    std::string name = ExtractFileNameFromURL(EStrToUTF8(url));
    std::string key = std::to_string(reinterpret_cast<uintptr_t>(doc));
    auto found = m_docRoots.find(key);
    if (found != m_docRoots.end())
        return found->second;
    CEStr title = EStrFromUTF8(name);
    CEStr tip =
        EStrFromUTF8(MessageText("IDS_INBOX_DOCUMENT_FEED_NAMED_TIP", {{"{document}", name}}));
    CEStr rootURL(kInboxDocRoot, kEStrPDFDoc);
    VxTreeItem group =
        insertNode(new CGroupData(this, rootURL, title, title, tip), docRoot, kVxTreeInsertLast);
    m_docRoots[key] = group;
    return group;
}

VxTreeItem CVxInboxPanel::getTreeNodeFromURL(EStr url, bool create) {
    if (!url)
        return nullptr;
    std::string text = EStrToUTF8(url);
    if (text == kInboxErrorRoot)
        return m_errorRoot || !create ? m_errorRoot : makeRoot(kInboxErrorRoot);
    if (text == kInboxDocRoot)
        return m_docRoot || !create ? m_docRoot : makeRoot(kInboxDocRoot);
    auto found = m_listeners.find(CRSSManager::normalURL(url));
    if (found == m_listeners.end())
        return nullptr;
    for (CInboxData* data : found->second)
        if (data->node)
            return data->node;
    return nullptr;
}

void CVxInboxPanel::addUpdateListener(EStr url, CInboxData* data) {
    if (!url || !data)
        return;
    auto& list = m_listeners[CRSSManager::normalURL(url)];
    if (std::find(list.begin(), list.end(), data) == list.end())
        list.push_back(data);
}

void CVxInboxPanel::removeUpdateListener(EStr url, CInboxData* data) {
    if (!url)
        return;
    auto found = m_listeners.find(CRSSManager::normalURL(url));
    if (found == m_listeners.end())
        return;
    auto& list = found->second;
    list.erase(std::remove(list.begin(), list.end(), data), list.end());
    if (list.empty())
        m_listeners.erase(found);
}

void CVxInboxPanel::addArticle(CArticleData* article) {
    m_articles[CRSSManager::normalURL(article->getURL())].push_back(article);
}

void CVxInboxPanel::removeArticle(CArticleData* article) {
    auto found = m_articles.find(CRSSManager::normalURL(article->getURL()));
    if (found == m_articles.end())
        return;
    auto& list = found->second;
    list.erase(std::remove(list.begin(), list.end(), article), list.end());
    if (list.empty())
        m_articles.erase(found);
}

void CVxInboxPanel::forget(CInboxData* data) {
    if (m_selection == data)
        m_selection = nullptr;
    if (data->node == m_errorRoot)
        m_errorRoot = nullptr;
    if (data->node == m_docRoot)
        m_docRoot = nullptr;
    for (auto it = m_docRoots.begin(); it != m_docRoots.end();)
        it = it->second == data->node ? m_docRoots.erase(it) : std::next(it);
}

bool CVxInboxPanel::isRootData(CInboxData* data) {
    return data && (data->node == m_errorRoot || data->node == m_docRoot);
}

// Filling.

void CVxInboxPanel::refresh() {
    if (!m_tree)
        return;
    m_tree->Suspend();
    clearURL(nullptr);
    std::vector<CEStr> feeds = m_store ? m_store->feeds() : std::vector<CEStr>();
    for (CEStr& url : feeds)
        refresh(url);
    m_tree->Resume();
}

void CVxInboxPanel::refresh(EStr url) {
    if (!m_tree || !url || !m_store)
        return;
    CEStr kept = CRSSManager::normalURL(url);
    bool selected =
        m_selection && m_selection->getType() == kInboxFeed && sameURL(m_selection->getURL(), kept);
    m_placeParent = nullptr;
    m_placeIndex = -1;
    clearURL(kept);
    VxTreeItem placeParent = m_placeParent;
    int32_t placeIndex = m_placeIndex;
    if (!FeedIsListed(kept))
        return;
    CAgg* descriptor = FeedDescriptor(kept);
    bool hidden = descriptor && BoolOf(*descriptor, "Hidden");
    if (hidden)
        return;
    VxTreeItem node = nullptr;
    if (VxDoc doc = m_store->getFeedDocument(kept)) {
        node = insertNode(new CFeedData(this, kept), documentGroup(doc, kept), kVxTreeInsertLast);
    } else {
        long state = descriptor ? LongOf(*descriptor, "State") : 0;
        bool verified = descriptor && BoolOf(*descriptor, "Verified");
        if (state == 200 || verified) {
            bool samePlace = placeIndex >= 0 && !placeParent;
            node = insertNode(new CFeedData(this, kept), nullptr,
                              samePlace ? placeIndex : kVxTreeInsertLast);
        } else {
            VxTreeItem errors = makeRoot(kInboxErrorRoot);
            bool samePlace = placeIndex >= 0 && placeParent == errors;
            node = insertNode(new CFeedData(this, kept), errors,
                              samePlace ? placeIndex : kVxTreeInsertLast);
        }
    }
    if (!node)
        return;
    m_tree->OpenItem(node, m_store->getOpenState(kept, nullptr));
    addFeedItemsBelow(kept, node, 0);
    if (selected)
        select(kept, true);
}

void CVxInboxPanel::addFeedItemsBelow(EStr url, VxTreeItem parent, int depth) {
    CAgg* record = FeedRecord(url);
    if (!record)
        return;
    CRSSFeedUI* ui = CRSSFeedUIManager::instance().getFeedUI(url);
    if (ui->shouldFilter(*record))
        return;
    CAgg* items = ValueOf(*record, "Items");
    if (!items)
        return;
    // Threads nest through items; a chain that comes back to a feed above stops there.
    for (VxTreeItem up = parent; up && m_tree; up = m_tree->GetItemParent(up)) {
        CInboxData* data = dataOf(up);
        if (depth > 0 && data && data->getType() != kInboxArticle && sameURL(data->getURL(), url))
            return;
    }
    if (depth > kMaxThreadDepth)
        return;
    addFeedItems(url, *items, nullptr, parent);
}

void CVxInboxPanel::addFeedItems(EStr url, CAgg& items, EStr group, VxTreeItem parent) {
    CAgg empty;
    CAgg* record = FeedRecord(url);
    CAgg& feed = record ? *record : empty;
    CRSSFeedUI* ui = CRSSFeedUIManager::instance().getFeedUI(url);
    if (items.getType() != CAgg::eVector)
        return;
    std::vector<CAgg>& list = items.toVector();
    auto shown = [&](long index) {
        CAgg& item = list[static_cast<size_t>(index)];
        CAgg* hidden = InboxExtension(item, "hidden");
        if (hidden && hidden->getType() != CAgg::eVoid && CAgg(*hidden).toQsBool())
            return false;
        return !ui->shouldFilter(feed, item);
    };
    std::vector<long> order = ui->sortBy(feed, items);
    if (!ui->shouldGroupBy(feed)) {
        for (long index : order)
            if (index >= 0 && index < static_cast<long>(list.size()) && shown(index))
                addFeedItem(url, index, group, parent);
        return;
    }
    std::map<CEStr, VxTreeItem, CEStrLessNumbersFirst> groups;
    CEStr other = MessageEStr("IDS_RSS_GROUP_BY_OTHER");
    for (long index : order) {
        if (index < 0 || index >= static_cast<long>(list.size()) || !shown(index))
            continue;
        std::vector<CEStr> names = ui->groupBy(feed, list[static_cast<size_t>(index)]);
        if (names.empty())
            names.push_back(other);
        for (CEStr& name : names) {
            auto found = groups.find(name);
            if (found == groups.end()) {
                VxTreeItem node =
                    insertNode(new CGroupData(this, url, name), parent, kVxTreeInsertLast);
                if (!node)
                    continue;
                m_tree->OpenItem(node, m_store ? m_store->getOpenState(url, name) : true);
                found = groups.emplace(name, node).first;
            }
            addFeedItem(url, index, name, found->second);
        }
    }
}

void CVxInboxPanel::addFeedItem(EStr url, long index, EStr, VxTreeItem parent) {
    addFeedItemAt(url, index, parent, 0);
}

void CVxInboxPanel::addFeedItemAt(EStr url, long index, VxTreeItem parent, int depth) {
    CEStr driver = m_store ? m_store->getUISubFeed(url, index) : CEStr();
    if (driver.isNull() || EStrGetLen(driver) == 0)
        driver = url;
    VxTreeItem node =
        insertNode(new CArticleData(this, url, index, driver), parent, kVxTreeInsertLast);
    if (!node || !m_store)
        return;
    CEStr thread = m_store->getRSSSubFeed(url, index);
    if (thread.isNull() || EStrGetLen(thread) == 0 || !m_store->hasFeed(thread) ||
        sameURL(thread, url))
        return;
    int nesting = depth;
    for (VxTreeItem up = parent; up; up = m_tree->GetItemParent(up))
        ++nesting;
    if (nesting > kMaxThreadDepth)
        return;
    m_tree->OpenItem(node, m_store->getOpenState(thread, nullptr));
    addFeedItemsBelow(thread, node, depth + 1);
}

void CVxInboxPanel::clearEntries(VxTreeItem node) {
    if (!m_tree)
        return;
    if (!node) {
        m_tree->RemoveAllItems();
        return;
    }
    std::vector<VxTreeItem> children;
    m_tree->EnumItems(
        node,
        [](VxTreeItem item, void* data) {
            static_cast<std::vector<VxTreeItem>*>(data)->push_back(item);
            return true;
        },
        &children);
    for (VxTreeItem child : children)
        m_tree->RemoveItem(child);
}

void CVxInboxPanel::clearURL(EStr url, int32_t* type) {
    if (!m_tree)
        return;
    if (!url) {
        m_tree->RemoveAllItems();
        m_docRoots.clear();
        m_errorRoot = nullptr;
        m_docRoot = nullptr;
        return;
    }
    auto found = m_listeners.find(CRSSManager::normalURL(url));
    if (found == m_listeners.end())
        return;
    std::vector<VxTreeItem> nodes;
    for (CInboxData* data : found->second)
        if (data->node)
            nodes.push_back(data->node);
    bool first = true;
    for (VxTreeItem node : nodes) {
        if (first) {
            m_placeParent = m_tree->GetItemParent(node);
            m_placeIndex = m_tree->GetItemIndex(node);
            if (type)
                *type = dataOf(node) ? dataOf(node)->getType() : kInboxFeed;
            first = false;
        }
        m_tree->RemoveItem(node);
    }
    removeEmptyRoots();
}

void CVxInboxPanel::removeEmptyRoots() {
    for (auto it = m_docRoots.begin(); it != m_docRoots.end();) {
        VxTreeItem group = it->second;
        ++it;
        if (m_tree->GetItemCount(group) == 0)
            m_tree->RemoveItem(group);
    }
    if (m_docRoot && m_tree->GetItemCount(m_docRoot) == 0)
        m_tree->RemoveItem(m_docRoot);
    if (m_errorRoot && m_tree->GetItemCount(m_errorRoot) == 0)
        m_tree->RemoveItem(m_errorRoot);
}

void CVxInboxPanel::select(EStr url, bool on) {
    VxTreeItem node = getTreeNodeFromURL(url, false);
    if (!node || !m_tree)
        return;
    if (on)
        m_tree->ClickItem(node);
    else
        m_tree->SelectItem(node, false);
}

void CVxInboxPanel::setSelection(CInboxData* data, bool on) {
    if (!data)
        return;
    if (!on) {
        if (m_selection == data) {
            data->didSelect(false);
            m_selection = nullptr;
        }
        return;
    }
    if (m_selection && m_selection != data) {
        CInboxData* old = m_selection;
        m_selection = nullptr;
        old->didSelect(false);
    }
    data->willSelect(true);
    m_selection = data;
    data->didSelect(true);
    data->showContextView(getContextContainer());
}

bool CVxInboxPanel::canSelect(CInboxData* data) {
    return data && data->isValid() && data->canSelect();
}

void CVxInboxPanel::showItem(VxTreeItem node) {
    if (!m_tree || !node)
        return;
    for (VxTreeItem up = m_tree->GetItemParent(node); up; up = m_tree->GetItemParent(up))
        m_tree->OpenItem(up, true);
    m_tree->ClickItem(node);
}

bool CVxInboxPanel::goToNextUnread() {
    if (!m_tree)
        return false;
    std::vector<VxTreeItem> order;
    auto walk = [&](auto& self, VxTreeItem parent) -> void {
        std::vector<VxTreeItem> children;
        m_tree->EnumItems(
            parent,
            [](VxTreeItem item, void* data) {
                static_cast<std::vector<VxTreeItem>*>(data)->push_back(item);
                return true;
            },
            &children);
        for (VxTreeItem child : children) {
            order.push_back(child);
            self(self, child);
        }
    };
    walk(walk, nullptr);
    size_t start = 0;
    if (m_selection)
        for (size_t i = 0; i < order.size(); ++i)
            if (order[i] == m_selection->node)
                start = i + 1;
    for (size_t step = 0; step < order.size(); ++step) {
        VxTreeItem node = order[(start + step) % order.size()];
        CInboxData* data = dataOf(node);
        if (data && data->getType() == kInboxArticle && !data->isRead()) {
            showItem(node);
            return true;
        }
    }
    return false;
}

// Updates.

void CVxInboxPanel::updatePanel(EStr url) {
    if (!url)
        return;
    CEStr kept = CRSSManager::normalURL(url);
    if (std::none_of(m_refreshQueue.begin(), m_refreshQueue.end(),
                     [&](const CEStr& queued) { return sameURL(queued, kept); }))
        m_refreshQueue.push_back(kept);
    auto found = m_listeners.find(kept);
    if (found != m_listeners.end()) {
        std::vector<CInboxData*> listeners = found->second;
        for (CInboxData* listener : listeners)
            listener->didUpdate(kept);
    }
    refreshQueued();
}

void CVxInboxPanel::refreshQueued() {
    std::vector<CEStr> queue = std::move(m_refreshQueue);
    m_refreshQueue.clear();
    if (!m_tree || queue.empty())
        return;
    m_tree->Suspend();
    for (CEStr& url : queue)
        refresh(url);
    m_tree->Resume();
}

void CVxInboxPanel::runDelayed() {
    while (!m_delayed.empty() && m_busy == 0) {
        std::vector<CEStr> delayed = std::move(m_delayed);
        m_delayed.clear();
        for (CEStr& url : delayed)
            updatePanel(url);
    }
}

void CVxInboxPanel::didAddFeed(EStr url) {
    didUpdate(url);
}

void CVxInboxPanel::didUpdate(EStr url) {
    if (!url)
        return;
    if (isBusy()) {
        m_delayed.emplace_back(url);
        return;
    }
    updatePanel(url);
}

void CVxInboxPanel::didMarkRead(EStr url, long index, unsigned short) {
    if (!m_tree || !url)
        return;
    auto found = m_articles.find(CRSSManager::normalURL(url));
    if (found == m_articles.end())
        return;
    std::vector<VxTreeItem> redraw;
    for (CArticleData* article : found->second) {
        if (article->getIndex() != index && index >= 0)
            continue;
        for (VxTreeItem node = article->node; node; node = m_tree->GetItemParent(node))
            if (std::find(redraw.begin(), redraw.end(), node) == redraw.end())
                redraw.push_back(node);
    }
    for (VxTreeItem node : redraw)
        m_tree->InvalidateItem(node);
}

void CVxInboxPanel::didRemoveFeed(EStr url) {
    if (isBusy()) {
        m_delayed.emplace_back(url);
        return;
    }
    clearURL(url);
}

void CVxInboxPanel::didAddUI(EStr url) {
    didUpdate(url);
}

void CVxInboxPanel::didUpdateUI(EStr url) {
    didUpdate(url);
}

void CVxInboxPanel::didRemoveUI(EStr url) {
    didUpdate(url);
}
