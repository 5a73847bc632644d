#include "tracker/CArticleData.h"

#include "rss/CRSSManager.h"
#include "tracker/CRSSFeedUI.h"
#include "tracker/CRSSFeedUIManager.h"
#include "tracker/CVxInboxPanel.h"
#include "tracker/FeedRecords.h"

CArticleData::CArticleData(CVxInboxPanel* panel, EStr url, long index, EStr driverURL)
    : CInboxData(panel, url, driverURL), index(index) {
    if (panel)
        panel->addArticle(this);
}

CArticleData::~CArticleData() {
    if (panel)
        panel->removeArticle(this);
}

CRSSFeedUI* CArticleData::getFeedUI() {
    return CRSSFeedUIManager::instance().getFeedUI(driverURL);
}

CEStr CArticleData::getTitle() {
    return getFeedUI()->getTitle(url, index);
}

CEStr CArticleData::getToolTip() {
    return getFeedUI()->getTip(url, index);
}

bool CArticleData::canExecute() {
    return getFeedUI()->canDoubleClick(url, index);
}

void CArticleData::execute() {
    getFeedUI()->didDoubleClick(url, index);
}

bool CArticleData::canSelect() {
    return getFeedUI()->canSelect(url, index);
}

void CArticleData::didSelect(bool on) {
    CAgg empty;
    CAgg* record = FeedRecord(url);
    CAgg* item = FeedItem(url, index);
    if (on && item && getFeedUI()->shouldMarkUnread(record ? *record : empty) &&
        LongOf(*item, "IsRead") != 1) {
        (*item)["IsRead"].toQsBool() = 1;
        CRSSManager::instance().notifyDidMarkRead(url, index, 1);
    }
    getFeedUI()->didSelect(url, index, on);
}

void CArticleData::didUpdate(EStr) {}

bool CArticleData::canRemove() {
    return getFeedUI()->canDelete(url, index);
}

void CArticleData::onRemove() {
    getFeedUI()->didDelete(url, index);
}

bool CArticleData::isRead() {
    CAgg* item = FeedItem(url, index);
    if (!item)
        return true;
    CAgg empty;
    CAgg* record = FeedRecord(url);
    // A feed that keeps no read state shows its items as read.
    if (!getFeedUI()->shouldMarkUnread(record ? *record : empty))
        return true;
    return BoolOf(*item, "IsRead");
}

VxMenu CArticleData::getContextMenu() {
    CRSSFeedUI* ui = getFeedUI();
    ui->startContextMenu(url, index);
    return ui->getItemMenu();
}

long CArticleData::countUnread() {
    return isRead() ? 0 : 1;
}

VxIcon CArticleData::getIcon() {
    CRSSManager* store = CRSSManager::sm_instance;
    if (!store)
        return nullptr;
    CEStr icon = store->getIconSubFeed(url, index);
    return icon.isNull() ? nullptr : store->getIcon(icon);
}

bool CArticleData::canOpen() {
    return canExecute();
}

void CArticleData::open() {
    execute();
}

bool CArticleData::isValid() {
    return FeedItem(url, index) != nullptr;
}
