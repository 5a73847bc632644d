#include "tracker/CFeedData.h"

#include "tracker/CRSSFeedUI.h"
#include "tracker/CVxInboxPanel.h"
#include "tracker/FeedRecords.h"

CFeedData::CFeedData(CVxInboxPanel* panel, EStr url) : CInboxData(panel, url, url) {
    if (panel)
        panel->addUpdateListener(url, this);
}

CFeedData::~CFeedData() {
    if (panel)
        panel->removeUpdateListener(url, this);
}

CEStr CFeedData::getTitle() {
    return getFeedUI()->getTitle(url);
}

CEStr CFeedData::getToolTip() {
    return getFeedUI()->getTip(url);
}

bool CFeedData::canExecute() {
    return getFeedUI()->canDoubleClick(url);
}

void CFeedData::execute() {
    getFeedUI()->didDoubleClick(url);
}

bool CFeedData::canSelect() {
    return getFeedUI()->canSelect(url);
}

void CFeedData::willSelect(bool on) {
    getFeedUI()->willSelect(url, on);
}

void CFeedData::didSelect(bool on) {
    getFeedUI()->didSelect(url, on);
}

bool CFeedData::canRemove() {
    return getFeedUI()->canDelete(url);
}

void CFeedData::onRemove() {
    CRSSFeedUI* ui = getFeedUI();
    ui->startContextMenu(url, -1L);
    ui->onRemove();
}

VxMenu CFeedData::getContextMenu() {
    CRSSFeedUI* ui = getFeedUI();
    ui->startContextMenu(url, -1L);
    return ui->getFeedMenu();
}

long CFeedData::countUnread() {
    return CRSSFeedUI::countUnreadItems(url);
}

VxIcon CFeedData::getIcon() {
    CRSSManager* store = CRSSManager::sm_instance;
    if (!store)
        return nullptr;
    CEStr icon = store->getIconSubFeed(url, -1);
    return icon.isNull() ? nullptr : store->getIcon(icon);
}

bool CFeedData::isValid() {
    return FeedIsListed(url);
}
