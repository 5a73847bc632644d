#include "tracker/CGroupData.h"

#include "rss/CRSSManager.h"
#include "tracker/CRSSFeedUI.h"
#include "tracker/CVxInboxPanel.h"

CGroupData::CGroupData(CVxInboxPanel* panel, EStr url, EStr group, EStr title, EStr tip)
    : CInboxData(panel, url, url), group(group), title(title), tip(tip) {}

CEStr CGroupData::getTitle() {
    if (!title.isNull())
        return title;
    return getFeedUI()->getTitle(url, group.get());
}

CEStr CGroupData::getToolTip() {
    if (!tip.isNull())
        return tip;
    if (!title.isNull())
        return title;
    return getFeedUI()->getTip(url, group.get());
}

void CGroupData::execute() {
    if (!isRoot())
        getFeedUI()->didDoubleClick(url, group.get());
}

bool CGroupData::canSelect() {
    return !isRoot() && getFeedUI()->canSelect(url, group.get());
}

void CGroupData::didSelect(bool on) {
    if (!isRoot())
        getFeedUI()->didSelect(url, group.get(), on);
}

void CGroupData::setOpenState(bool open) {
    if (!isRoot())
        CRSSManager::instance().setOpenState(url, group, open);
}

bool CGroupData::canRemove() {
    return !isRoot() && getFeedUI()->canDelete(url, group.get());
}

void CGroupData::onRemove() {
    if (!isRoot())
        getFeedUI()->didDelete(url, group.get());
}

VxMenu CGroupData::getContextMenu() {
    if (isRoot())
        return nullptr;
    CRSSFeedUI* ui = getFeedUI();
    ui->startContextMenu(url, group.get());
    return ui->getGroupMenu();
}

long CGroupData::countUnread() {
    CVxTreeViewClass* tree = panel ? panel->getTreeView() : nullptr;
    if (!tree || !node)
        return 0;
    long unread = 0;
    struct Walk {
        CVxInboxPanel* panel;
        long* unread;
    } walk{panel, &unread};
    tree->EnumItems(
        node,
        [](VxTreeItem item, void* data) {
            auto* w = static_cast<Walk*>(data);
            if (CInboxData* child = w->panel->dataOf(item))
                *w->unread += child->countUnread();
            return true;
        },
        &walk);
    return unread;
}

VxIcon CGroupData::getIcon() {
    return nullptr;
}

std::vector<CEStr> CGroupData::getNodeGroups() {
    std::vector<CEStr> groups;
    if (!isRoot())
        groups.push_back(group);
    return groups;
}
