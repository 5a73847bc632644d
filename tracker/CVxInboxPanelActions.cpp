// What the Tracker does for the user: the tree's callbacks, the tool bar and its Services menu,
// subscribing, removing and moving feeds.
#include "frame/HostTables.h"
#include "frame/ZString.h"
#include "frame/mdAlert.h"
#include "rss/CRSSManager.h"
#include "tracker/CArticleData.h"
#include "tracker/CFeedData.h"
#include "tracker/CGroupData.h"
#include "tracker/CVxInboxPanel.h"
#include "tracker/FeedRecords.h"
#include "tracker/VxViewTables.h"
#include "values/miUrl.h"

namespace {

CVxInboxPanel* panelOf(void* data) {
    return static_cast<CVxInboxPanel*>(data);
}

/// The node's data when it still shows something; a callback on a node whose data has gone does
/// nothing.
CInboxData* validData(void* item) {
    auto* data = static_cast<CInboxData*>(item);
    return data && data->isValid() ? data : nullptr;
}

/// Whether a text is a URL of the kinds a subscription may have: http, https or file.
bool isSubscriptionURL(const std::string& text) {
    if (text.empty())
        return false;
    CrackedUrlRec cracked{};
    if (miCrackUrl(text.c_str(), &cracked) != kUrlOK)
        return false;
    return cracked.scheme == kUrlHttp || cracked.scheme == kUrlHttps || cracked.scheme == kUrlFile;
}

} // namespace

// Tree callbacks.

void CVxInboxPanel::doSelect(VxView, VxTreeItem, void* item, bool on, void* data) {
    CVxInboxPanel* panel = panelOf(data);
    auto* node = static_cast<CInboxData*>(item);
    if (!node)
        return;
    if (on && !node->isValid())
        return;
    panel->busy([&] { panel->setSelection(node, on); });
}

bool CVxInboxPanel::doCanSelect(VxView, VxTreeItem, void* item, void* data) {
    return panelOf(data)->canSelect(static_cast<CInboxData*>(item));
}

bool CVxInboxPanel::canDeleteSelection(VxView, VxTreeItem, void* item, void*) {
    CInboxData* node = validData(item);
    return node && node->canRemove();
}

void CVxInboxPanel::doDeleteSelection(VxView, VxTreeItem, void* item, void* data) {
    CVxInboxPanel* panel = panelOf(data);
    CInboxData* node = validData(item);
    if (node && node->canRemove())
        panel->busy([&] { node->onRemove(); });
}

void CVxInboxPanel::doOpen(VxView, VxTreeItem, void* item, void* data) {
    CVxInboxPanel* panel = panelOf(data);
    CInboxData* node = validData(item);
    if (node && node->canOpen())
        panel->busy([&] { node->open(); });
}

std::string CVxInboxPanel::getItemContent(VxView, VxTreeItem, void* item, void*) {
    CInboxData* node = validData(item);
    return node ? EStrToUTF8(node->getTitle()) : std::string();
}

void CVxInboxPanel::freeItem(VxView, VxTreeItem, void* item, void*) {
    delete static_cast<CInboxData*>(item);
}

int32_t CVxInboxPanel::getItemStyle(VxView, VxTreeItem, void* item, void*) {
    CInboxData* node = validData(item);
    if (!node)
        return kVxTreeStylePlain;
    return node->countUnread() > 0 || !node->isRead() ? kVxTreeStyleBold : kVxTreeStylePlain;
}

VxIcon CVxInboxPanel::getItemIcon(VxView, VxTreeItem, void* item, void*) {
    CInboxData* node = validData(item);
    return node ? node->getIcon() : nullptr;
}

bool CVxInboxPanel::canMoveSelection(VxView, VxTreeItem, void* item, void*) {
    CInboxData* node = validData(item);
    return node && node->getType() == kInboxFeed;
}

bool CVxInboxPanel::moveSelection(VxView, VxTreeItem moved, VxTreeItem target, bool before,
                                  void* data) {
    CVxInboxPanel* panel = panelOf(data);
    CInboxData* from = validData(panel->dataOf(moved));
    CInboxData* to = validData(panel->dataOf(target));
    if (!from || !to || from == to || from->getType() != kInboxFeed || to->getType() != kInboxFeed)
        return false;
    panel->busy([&] { panel->moveItem(from, to, kInboxFeed, before); });
    return true;
}

std::string CVxInboxPanel::getToolTip(VxView, VxTreeItem, void* item, void*) {
    CInboxData* node = validData(item);
    return node ? EStrToUTF8(node->getToolTip()) : std::string();
}

void CVxInboxPanel::doDoubleClick(VxView, VxTreeItem, void* item, void* data) {
    CVxInboxPanel* panel = panelOf(data);
    CInboxData* node = validData(item);
    if (node)
        panel->busy([&] { node->execute(); });
}

VxMenu CVxInboxPanel::getContextMenu(VxView, VxTreeItem, void* item, void*) {
    CInboxData* node = validData(item);
    return node ? node->getContextMenu() : nullptr;
}

bool CVxInboxPanel::doKeyDown(VxView, VxTreeItem item, int32_t key, void* data) {
    CVxInboxPanel* panel = panelOf(data);
    void* itemData = panel->dataOf(item);
    switch (key) {
    case kVxKeyEnter:
        doOpen(nullptr, item, itemData, data);
        return true;
    case kVxKeyDelete:
        if (!canDeleteSelection(nullptr, item, itemData, data))
            return false;
        doDeleteSelection(nullptr, item, itemData, data);
        return true;
    default:
        return false;
    }
}

void CVxInboxPanel::doOpenState(VxView, VxTreeItem, void* item, bool open, void*) {
    if (CInboxData* node = validData(item))
        node->setOpenState(open);
}

void CVxInboxPanel::moveItem(CInboxData* from, CInboxData* to, int32_t, bool before) {
    if (!from || !to || !m_tree || !m_store)
        return;
    m_store->moveFeed(to->getURL(), from->getURL(), before);
    VxTreeItem parent = m_tree->GetItemParent(to->node);
    int32_t fromIndex = m_tree->GetItemIndex(from->node);
    int32_t toIndex = m_tree->GetItemIndex(to->node);
    int32_t position = toIndex + (before ? 0 : 1);
    if (m_tree->GetItemParent(from->node) == parent && fromIndex >= 0 && fromIndex < toIndex)
        --position;
    m_tree->MoveItem(from->node, parent, position);
}

// Opening, subscribing and removing.

bool CVxInboxPanel::canOpen() {
    return m_selection && m_selection->isValid() && m_selection->canOpen();
}

void CVxInboxPanel::onOpen() {
    if (canOpen())
        busy([&] { m_selection->open(); });
}

void CVxInboxPanel::onSubscribe() {
    IUserInterface* ui = gVellViewUserInterfaceHFT;
    IViewLayer* layer = VxViewLayer();
    if (!ui)
        return;
    std::string answerDefault;
    if (layer) {
        std::string clip = layer->GetClipboardText();
        if (isSubscriptionURL(clip))
            answerDefault = clip;
    }
    std::string question = MessageText("IDS_INBOX_SUBSCRIBE");
    std::string title = MessageText("IDS_INBOX_SUBSCRIBE_TITLE");
    for (;;) {
        std::optional<std::string> answer =
            ui->response(question.c_str(), title.c_str(), answerDefault.c_str(), false);
        if (!answer)
            return;
        answerDefault = *answer;
        CEStr url(answer->c_str(), kEStrPDFDoc);
        CRSSManager& store = CRSSManager::instance();
        if (!answer->empty() && store.hasFeed(url)) {
            mdAlertEx(0, 2, kAlertButtonsOK, IDS_INBOX_EXISTS, {{"URL", answer->c_str()}});
            continue;
        }
        if (!isSubscriptionURL(*answer)) {
            mdAlertEx(0, 2, kAlertButtonsOK, IDS_INBOX_SUBSCRIBE_BAD_DATA,
                      {{"URL", answer->c_str()}});
            continue;
        }
        store.addFeed(url, false, true);
        store.getFeedDescriptor(url)["Type"].toQsAtom() =
            gCoreHFT ? gCoreHFT->atomFromString("RSS") : kQsNullAtom;
        store.updateFeed(url, true, true, false);
        return;
    }
}

void CVxInboxPanel::onRemove() {
    CInboxData* node = m_selection;
    if (node && node->isValid() && node->canRemove())
        busy([&] { node->onRemove(); });
}

// The tool bar.

void CVxInboxPanel::onOpenProc(VxView, void* data) {
    panelOf(data)->onOpen();
}

bool CVxInboxPanel::canOpenProc(VxView, void* data) {
    return panelOf(data)->canOpen();
}

void CVxInboxPanel::onExpandProc(VxView, void* data) {
    CInboxData* node = panelOf(data)->m_selection;
    if (node && node->canExpand())
        node->onExpand();
}

bool CVxInboxPanel::canExpandProc(VxView, void* data) {
    CInboxData* node = panelOf(data)->m_selection;
    return node && node->canExpand();
}

void CVxInboxPanel::onCollapseProc(VxView, void* data) {
    CInboxData* node = panelOf(data)->m_selection;
    if (node && node->canCollapse())
        node->onCollapse();
}

bool CVxInboxPanel::canCollapseProc(VxView, void* data) {
    CInboxData* node = panelOf(data)->m_selection;
    return node && node->canCollapse();
}

void CVxInboxPanel::onSubscribeProc(void* data) {
    CVxInboxPanel* panel = panelOf(data);
    panel->busy([&] { panel->onSubscribe(); });
}

CVxInboxPanel::SearchForServicesProc CVxInboxPanel::s_searchForServices = nullptr;

void CVxInboxPanel::setSearchForServices(SearchForServicesProc proc) {
    s_searchForServices = proc;
}

void CVxInboxPanel::doAddServices(void*) {
    if (s_searchForServices)
        s_searchForServices();
}

bool CVxInboxPanel::canAddServices(void*) {
    return s_searchForServices != nullptr;
}

void CVxInboxPanel::onRemoveSubscriptionProc(void* data) {
    panelOf(data)->onRemove();
}

bool CVxInboxPanel::canRemoveSubscriptionProc(void* data) {
    CInboxData* node = panelOf(data)->m_selection;
    return node && node->isValid() && node->getType() == kInboxFeed &&
           node->getFeedUI()->canDelete(node->getURL());
}

void CVxInboxPanel::onRefreshProc(void* data) {
    CVxInboxPanel* panel = panelOf(data);
    if (canRefreshProc(data))
        CRSSManager::instance().updateFeed(panel->m_selection->getURL(), true, true, true);
}

bool CVxInboxPanel::canRefreshProc(void* data) {
    CVxInboxPanel* panel = panelOf(data);
    CInboxData* node = panel->m_selection;
    if (!node || !node->isValid() || panel->isRootData(node))
        return false;
    EStr url = node->getURL();
    return url && EStrGetLen(url) > 0 && !CRSSManager::isLocalURL(url);
}

void CVxInboxPanel::onConvertToPDF(void* data) {
    CInboxData* node = panelOf(data)->m_selection;
    if (!node || !node->isValid())
        return;
    long index =
        node->getType() == kInboxArticle ? static_cast<CArticleData*>(node)->getIndex() : -1;
    node->getFeedUI()->convertToPDF(node->getURL(), index);
}

bool CVxInboxPanel::canConvertToPDF(void* data) {
    CInboxData* node = panelOf(data)->m_selection;
    return node && node->isValid() && node->getFeedUI()->canConvertToPDF();
}
