#include "tracker/CInboxData.h"

#include "rss/CRSSManager.h"
#include "tracker/CRSSFeedUIManager.h"
#include "tracker/CVxInboxPanel.h"

CInboxData::CInboxData(CVxInboxPanel* panel, EStr url, EStr driverURL)
    : panel(panel), url(url), driverURL(driverURL ? driverURL : url) {}

CInboxData::~CInboxData() {
    if (panel)
        panel->forget(this);
}

CEStr CInboxData::getToolTip() {
    return getTitle();
}

int32_t CInboxData::getStyle() {
    return 0;
}

bool CInboxData::canExecute() {
    return false;
}

void CInboxData::execute() {}

bool CInboxData::canSelect() {
    return true;
}

void CInboxData::willSelect(bool) {}

void CInboxData::didSelect(bool) {}

EStr CInboxData::getURL() {
    return url;
}

EStr CInboxData::getDriverURL() {
    return driverURL;
}

void CInboxData::didUpdate(EStr) {}

void CInboxData::setOpenState(bool open) {
    // A feed's own node keeps its state in the store; groups keep theirs by name.
    if (getType() == kInboxFeed)
        CRSSManager::instance().setOpenState(url, nullptr, open);
}

bool CInboxData::canRemove() {
    return false;
}

void CInboxData::onRemove() {}

bool CInboxData::canExpand() {
    CVxTreeViewClass* tree = panel ? panel->getTreeView() : nullptr;
    return tree && node && tree->GetItemCount(node) > 0 && !tree->IsItemOpen(node);
}

void CInboxData::onExpand() {
    CVxTreeViewClass* tree = panel ? panel->getTreeView() : nullptr;
    if (!tree || !node)
        return;
    tree->OpenItem(node, true);
    setOpenState(true);
}

bool CInboxData::canCollapse() {
    CVxTreeViewClass* tree = panel ? panel->getTreeView() : nullptr;
    return tree && node && tree->GetItemCount(node) > 0 && tree->IsItemOpen(node);
}

void CInboxData::onCollapse() {
    CVxTreeViewClass* tree = panel ? panel->getTreeView() : nullptr;
    if (!tree || !node)
        return;
    tree->OpenItem(node, false);
    setOpenState(false);
}

VxMenu CInboxData::getContextMenu() {
    return nullptr;
}

CRSSFeedUI* CInboxData::getFeedUI() {
    return CRSSFeedUIManager::instance().getFeedUI(driverURL);
}

void CInboxData::showToolbarView(CVxBaseView* toolbar) {
    getFeedUI()->showToolbarView(toolbar);
}

void CInboxData::showContextView(VxView view) {
    getFeedUI()->showContextView(view);
}

CVxInboxPanel* CInboxData::inbox() {
    return panel;
}

VxIcon CInboxData::getIcon() {
    return nullptr;
}

CInboxData* CInboxData::getParent() {
    CVxTreeViewClass* tree = panel ? panel->getTreeView() : nullptr;
    if (!tree || !node)
        return nullptr;
    return panel->dataOf(tree->GetItemParent(node));
}

bool CInboxData::canOpen() {
    return canExecute();
}

void CInboxData::open() {
    execute();
}

std::vector<CEStr> CInboxData::getNodeGroups() {
    std::vector<CEStr> groups;
    for (CInboxData* up = getParent(); up; up = up->getParent())
        for (CEStr& group : up->getNodeGroups())
            groups.push_back(group);
    return groups;
}

bool CInboxData::isRead() {
    return true;
}

bool CInboxData::isValid() {
    return true;
}
