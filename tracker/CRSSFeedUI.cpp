#include "tracker/CRSSFeedUI.h"

#include "frame/ZString.h"
#include "frame/mdAlert.h"
#include "rss/CRSSManager.h"
#include "soap/HTTPFunctions.h"
#include "tracker/CRSSFeedUIManager.h"
#include "tracker/FeedRecords.h"
#include "tracker/VxViewTables.h"
#include "values/CAggWalk.h"

#include <map>

namespace {

/// Nothing on this platform hands "feed://" to another reader, so the menu item built on it is
/// never shown.
bool SupportsFeedProtocol() {
    return false;
}

bool miUCSIsSpace(uint16_t unit) {
    return unit == 0x20 || (unit >= 0x09 && unit <= 0x0D) || unit == 0xA0 || unit == 0x1680 ||
           (unit >= 0x2000 && unit <= 0x200A) || unit == 0x2028 || unit == 0x2029 ||
           unit == 0x202F || unit == 0x205F || unit == 0x3000;
}

CRSSFeedUI* self(void* data) {
    return static_cast<CRSSFeedUI*>(data);
}

bool isEmpty(const _EStrRec* s) {
    return !s || EStrGetLen(s) == 0;
}

std::string utf8(const _EStrRec* s) {
    return s ? EStrToUTF8(s) : std::string();
}

/// The string value of a key among an item's own top-level keys, else in its Extension; null
/// when neither has it.
CEStr groupValue(CAgg& item, const _EStrRec* key) {
    if (CAggIsMap(item) && item.has(key))
        return CAggValueText(item[key]);
    CAgg* extension = ValueOf(item, "Extension");
    if (extension && CAggIsMap(*extension) && extension->has(key))
        return CAggValueText((*extension)[key]);
    return CEStr();
}

} // namespace

CRSSFeedUI::CRSSFeedUI() = default;

CRSSFeedUI::~CRSSFeedUI() {
    if (CRSSFeedUIManager::sm_instance)
        CRSSFeedUIManager::sm_instance->releaseContextFocus(this);
}

// The node under a context menu.

void CRSSFeedUI::startContextMenu(EStr url, long index) {
    contextURL = url;
    contextGroup = CEStr();
    contextItem = index;
}

void CRSSFeedUI::startContextMenu(EStr url, EStr group) {
    contextURL = url;
    contextGroup = group;
    contextItem = -1;
}

EStr CRSSFeedUI::getContextURL() {
    return contextURL;
}

EStr CRSSFeedUI::getContextGroup() {
    return contextGroup;
}

long CRSSFeedUI::getContextItem() {
    return contextItem;
}

// Menus.

VxMenu CRSSFeedUI::getFeedMenu() {
    IViewLayer* layer = VxViewLayer();
    if (!layer)
        return nullptr;
    VxMenu menu = layer->NewMenu("RSSPanel::FeedMenu", "FeedMenu");
    auto add = [&](const char* name, const char* key, VxMenuItemProc exec,
                   VxMenuItemTestProc enabled) {
        layer->AppendMenuItem(menu, name, MessageText(key).c_str(), exec, enabled, nullptr, this);
    };
    EStr url = contextURL;
    if (canDoubleClick(url)) {
        add("RSSPanel::OpenFeed", "IDS_RSS_OPEN_ITEM", doOpenItem, nullptr);
        layer->AppendMenuSeparator(menu);
    }
    if (canDelete(url))
        add("RSSPanel::RemoveFeed", "IDS_RSS_REMOVE_FEED", doRemoveFeedExec, nullptr);
    add("RSSPanel::RefreshFeed", "IDS_RSS_REFRESH_FEED", doRefresh, nullptr);
    layer->AppendMenuSeparator(menu);
    add("RSSPanel::CopyURL", "IDS_RSS_COPY_FEED_URL", doCopyURL, hasLink);
    add("RSSPanel::CopySubscriptionURL", "IDS_RSS_COPY_SUBSCRIPTION_URL", doCopySubscriptionURL,
        nullptr);
    if (SupportsFeedProtocol())
        add("RSSPanel::Subscribe", "IDS_RSS_SUBSCRIBE_FEED", doSubscribe, hasNoError);
    layer->AppendMenuSeparator(menu);
    CAgg empty;
    CAgg* record = FeedRecord(url);
    if (shouldMarkUnread(record ? *record : empty)) {
        if (countUnreadItems(url) > 0)
            add("RSSPanel::MarkAllRead", "IDS_RSS_MARK_ALL_AS_READ", doMarkAllAsRead, hasNoError);
        add("RSSPanel::MarkAllUnread", "IDS_RSS_MARK_ALL_AS_UNREAD", doMarkAllAsUnread, hasNoError);
    }
    if (canConvertToPDF()) {
        layer->AppendMenuSeparator(menu);
        add("RSSPanel::ConvertToPDF", "IDS_RSS_CONVERT_TO_PDF", doConvertToPDF, hasNoError);
    }
    return menu;
}

VxMenu CRSSFeedUI::getGroupMenu() {
    return nullptr;
}

VxMenu CRSSFeedUI::getItemMenu() {
    IViewLayer* layer = VxViewLayer();
    if (!layer)
        return nullptr;
    VxMenu menu = layer->NewMenu("RSSPanel::ItemMenu", "ItemMenu");
    auto add = [&](const char* name, const char* key, VxMenuItemProc exec,
                   VxMenuItemTestProc enabled) {
        layer->AppendMenuItem(menu, name, MessageText(key).c_str(), exec, enabled, nullptr, this);
    };
    add("RSSPanel::OpenItem", "IDS_RSS_OPEN_ITEM", doOpenItem, nullptr);
    add("RSSPanel::CopyArticleURL", "IDS_RSS_COPY_ARTICLE_URL", doCopyURL, hasLink);
    CAgg empty;
    CAgg* record = FeedRecord(contextURL);
    CAgg* item = FeedItem(contextURL, contextItem);
    if (item && shouldMarkUnread(record ? *record : empty)) {
        if (BoolOf(*item, "IsRead"))
            add("RSSPanel::Mark As Unread", "IDS_RSS_ITEM_MARK_AS_UNREAD", doMarkAsUnread, nullptr);
        else
            add("RSSPanel::Mark As Read", "IDS_RSS_ITEM_MARK_AS_READ", doMarkAsRead, nullptr);
    }
    layer->AppendMenuSeparator(menu);
    add("RSSPanel::ConvertToPDF", "IDS_RSS_CONVERT_TO_PDF", doConvertToPDF, hasNoError);
    return menu;
}

VxMenu CRSSFeedUI::getInitiateMenu() {
    return nullptr;
}

CEStr CRSSFeedUI::getInitiateName() {
    return CEStr("", kEStrPDFDoc);
}

// Selection and deletion.

bool CRSSFeedUI::canSelect(EStr) {
    return true;
}

void CRSSFeedUI::willSelect(EStr, bool) {}

void CRSSFeedUI::didSelect(EStr url, bool on) {
    didSelect(url, -1L, on);
}

bool CRSSFeedUI::canSelect(EStr, long) {
    return true;
}

void CRSSFeedUI::didSelect(EStr url, long index, bool on) {
    if (!on) {
        currentURL = CEStr();
        currentItem = -1;
    } else {
        setContextHTML(url, nullptr, index);
        currentURL = url;
        currentItem = index;
        contextGroup = CEStr();
    }
    setContextView();
}

bool CRSSFeedUI::canSelect(EStr, EStr) {
    return false;
}

void CRSSFeedUI::didSelect(EStr url, EStr group, bool on) {
    if (!on) {
        currentURL = CEStr();
        currentItem = -1;
    } else {
        setContextHTML(url, group, -1);
        currentURL = url;
        currentItem = -1;
        contextGroup = group;
    }
    setContextView();
}

bool CRSSFeedUI::canDelete(EStr) {
    return true;
}

void CRSSFeedUI::didDelete(EStr url) {
    if (url)
        CRSSManager::instance().removeFeed(url);
}

bool CRSSFeedUI::canDelete(EStr, long) {
    return false;
}

void CRSSFeedUI::didDelete(EStr, long) {}

bool CRSSFeedUI::canDelete(EStr, EStr) {
    return false;
}

void CRSSFeedUI::didDelete(EStr, EStr) {}

void CRSSFeedUI::didDoubleClick(EStr url, long index) {
    CAgg* level = index < 0 ? FeedRecord(url) : FeedItem(url, index);
    if (!level || !HasText(*level, "Link"))
        return;
    CEStr link = TextOf(*level, "Link");
    EStrSetEncoding(link, kEStrHost);
    ExecuteURL(EStrGetBytes(link));
}

void CRSSFeedUI::didDoubleClick(EStr url) {
    didDoubleClick(url, -1L);
}

void CRSSFeedUI::didDoubleClick(EStr, EStr) {}

bool CRSSFeedUI::canDoubleClick(EStr url, long index) {
    CAgg* level = index < 0 ? FeedRecord(url) : FeedItem(url, index);
    return level && HasText(*level, "Link");
}

bool CRSSFeedUI::canDoubleClick(EStr url) {
    return canDoubleClick(url, -1L);
}

// Titles and tips.

CEStr CRSSFeedUI::getTitle(EStr url) {
    CAgg* record = FeedRecord(url);
    if (record && HasText(*record, "Title") && !isError(url))
        return TextOf(*record, "Title");
    return shorten(url, 45, 55);
}

CEStr CRSSFeedUI::getTitle(EStr url, long index) {
    CAgg* item = FeedItem(url, index);
    if (!item)
        return CEStr("", kEStrPDFDoc);
    if (HasText(*item, "Title"))
        return TextOf(*item, "Title");
    CEStr description = TextOf(*item, "Description");
    if (description.isNull())
        return CEStr("", kEStrPDFDoc);
    return stripTags(description);
}

CEStr CRSSFeedUI::getTitle(EStr, EStr group) {
    return group ? CEStr(group) : CEStr("", kEStrPDFDoc);
}

CEStr CRSSFeedUI::getTip(EStr url) {
    if (!FeedIsListed(url))
        return MessageEStr("IDS_INBOX_ERROR_TIP");
    if (isError(url)) {
        CAgg* descriptor = FeedDescriptor(url);
        if (descriptor && HasText(*descriptor, "Error"))
            return TextOf(*descriptor, "Error");
        return MessageEStr("IDS_INBOX_ERROR_TIP");
    }
    return getTitle(url);
}

CEStr CRSSFeedUI::getTip(EStr url, long index) {
    return getTitle(url, index);
}

CEStr CRSSFeedUI::getTip(EStr url, EStr group) {
    return getTitle(url, group);
}

// Views.

void CRSSFeedUI::showToolbarView(CVxBaseView*) {}

void CRSSFeedUI::showContextView(VxView parent) {
    bool gone = container && !container->getView();
    if (!container || gone) {
        htmlView.reset();
        container = std::make_unique<CVxTableContainerView>(parent, "RSS:ContextContainer");
        container->SetNumColumns(1);
        htmlView = std::make_unique<CVxHTMLView>(container->getView(), "RSS:ContextHTML");
        htmlView->SetHandleHTMLLink(HandleLink, this);
        contextView = container->getView();
        if (viewLoaded && !m_tempFile.empty())
            htmlView->GoToFile(m_tempFile.c_str());
    } else if (parent && container->GetParent() != parent) {
        container->Reparent(parent);
    }
    setContextView();
}

void CRSSFeedUI::setContextView() {
    if (container)
        container->Show(true);
    if (htmlView)
        htmlView->Show(true);
    CRSSFeedUIManager::instance().setContextFocus(this);
}

void CRSSFeedUI::hideContextView() {
    if (container)
        container->Show(false);
}

VxView CRSSFeedUI::getHTMLView() const {
    return htmlView ? htmlView->getView() : nullptr;
}

// Grouping, sorting and filtering.

bool CRSSFeedUI::shouldGroupBy(CAgg& feed) {
    CAgg* grouping = InboxExtension(feed, "grouping");
    if (!grouping || grouping->getType() == CAgg::eVoid)
        return false;
    if (CAggIsString(*grouping))
        return EStrGetLen(CAggValueText(*grouping)) > 0;
    if (CAggIsMap(*grouping)) {
        CAgg* groupBy = ValueOf(*grouping, "groupBy");
        return groupBy && groupBy->getType() == CAgg::eVector && !groupBy->toVector().empty();
    }
    return false;
}

std::vector<CEStr> CRSSFeedUI::groupBy(CAgg& feed, CAgg& item) {
    std::vector<CEStr> groups;
    CAgg* grouping = InboxExtension(feed, "grouping");
    if (!grouping)
        return groups;
    auto addGroupOf = [&](const CEStr& key) {
        if (key.isNull() || EStrGetLen(key) == 0)
            return;
        CEStr group = groupValue(item, key);
        if (!group.isNull())
            groups.push_back(group);
    };
    if (CAggIsString(*grouping)) {
        addGroupOf(CAggValueText(*grouping));
    } else if (CAggIsMap(*grouping)) {
        CAgg* names = ValueOf(*grouping, "groupBy");
        if (names && names->getType() == CAgg::eVector)
            for (CAgg& name : names->toVector())
                if (CAggIsString(name))
                    addGroupOf(CAggValueText(name));
    }
    return groups;
}

bool CRSSFeedUI::canModifyGroups(EStr) {
    return false;
}

bool CRSSFeedUI::canModifyItemGroup(EStr, long, CAgg&, CAgg&) {
    return false;
}

void CRSSFeedUI::modifyItemGroup(EStr, long, CAgg&, CAgg&) {}

std::vector<long> CRSSFeedUI::sortBy(CAgg& feed, CAgg& items) {
    std::vector<long> order;
    if (items.getType() != CAgg::eVector)
        return order;
    std::vector<CAgg>& list = items.toVector();
    CAgg* sortKey = InboxExtension(feed, "sortBy");
    CEStr key = sortKey && CAggIsString(*sortKey) ? CAggValueText(*sortKey) : CEStr();
    if (key.isNull() || EStrGetLen(key) == 0) {
        for (long i = 0; i < static_cast<long>(list.size()); ++i)
            order.push_back(i);
        return order;
    }
    // Items with the same value leave only the last of them, and items without one are left
    // out: the order is that of a map from value to item.
    std::map<CEStr, long, CEStrLessNumbersFirst> byValue;
    for (long i = 0; i < static_cast<long>(list.size()); ++i) {
        CAgg& item = list[static_cast<size_t>(i)];
        if (!CAggIsMap(item) || !item.has(key.get()))
            continue;
        CEStr value = CAggValueText(item[key]);
        if (!value.isNull() && EStrGetLen(value) > 0)
            byValue[value] = i;
    }
    for (auto& [value, index] : byValue)
        order.push_back(index);
    return order;
}

bool CRSSFeedUI::shouldFilter(CAgg&, CAgg&) {
    return false;
}

bool CRSSFeedUI::shouldFilter(CAgg& feed) {
    std::vector<CAgg>* items = RecordItems(feed);
    return !items || items->empty();
}

bool CRSSFeedUI::shouldMarkUnread(CAgg& feed) {
    CAgg* markUnread = InboxExtension(feed, "markUnread");
    if (!markUnread || markUnread->getType() == CAgg::eVoid)
        return true;
    CAgg copy(*markUnread);
    return copy.toQsBool() != 0;
}

// Life.

void CRSSFeedUI::didLoad() {}

void CRSSFeedUI::willUnload() {}

void CRSSFeedUI::didReleaseViews() {
    htmlView.reset();
    container.reset();
    contextView = nullptr;
}

void CRSSFeedUI::willLoseContextFocus() {}

bool CRSSFeedUI::canConvertToPDF() {
    return !isEmpty(currentURL) && !isError(currentURL);
}

// Questions about a feed.

bool CRSSFeedUI::isError(EStr url) {
    CAgg* descriptor = FeedDescriptor(url);
    if (!descriptor)
        return false;
    long state = LongOf(*descriptor, "State");
    bool verified = BoolOf(*descriptor, "Verified");
    return (state == -1 && !verified) || (state != 200 && verified);
}

long CRSSFeedUI::countUnreadItems(EStr url) {
    CAgg* descriptor = FeedDescriptor(url);
    if (!descriptor || BoolOf(*descriptor, "Hidden") || CRSSManager::isLocalURL(url))
        return 0;
    CAgg* record = FeedRecord(url);
    std::vector<CAgg>* items = record ? RecordItems(*record) : nullptr;
    long unread = 0;
    if (items)
        for (CAgg& item : *items)
            if (CAggIsMap(item) && !BoolOf(item, "IsRead"))
                ++unread;
    return unread;
}

CEStr CRSSFeedUI::shorten(EStr text, long min, long max) {
    if (!text)
        return CEStr("", kEStrPDFDoc);
    if (EStrGetLen(text) <= min)
        return CEStr(text);
    CEStr ucs = CEStr::adopt(EStrCopySetEncoding(text, kEStrUCS));
    long length = EStrGetCharLen(ucs);
    long end = std::min(max, length);
    long cut = min;
    while (cut < end && !miUCSIsSpace(EStrCharAt(ucs, cut)))
        ++cut;
    EStrCharTrunc(ucs, cut);
    CEStr ellipsis = MessageEStr("IDS_INBOX_ELLIPSIS");
    ucs += ellipsis;
    return ucs;
}

CEStr CRSSFeedUI::stripTags(EStr text) {
    CEStr out = CEStr::adopt(EStrNew(nullptr, kEStrUCS));
    if (!text)
        return out;
    CEStr ucs = CEStr::adopt(EStrCopySetEncoding(text, kEStrUCS));
    long length = EStrGetCharLen(ucs);
    for (long i = 0; i < length; ++i) {
        uint16_t unit = EStrCharAt(ucs, i);
        if (unit != '<') {
            EStrCatChar(out, unit);
            continue;
        }
        while (i < length && EStrCharAt(ucs, i) != '>')
            ++i;
    }
    EStrSetEncoding(out, kEStrHost);
    EStrStrip(out);
    return out;
}

bool CRSSFeedUI::HandleLink(VxView, const char* url, void*) {
    if (!url || std::string(url).rfind("mailto:", 0) == 0)
        return false;
    ExecuteURL(url);
    return true;
}

// Menu actions.

void CRSSFeedUI::doOpenItem(void* data) {
    CRSSFeedUI* ui = self(data);
    if (isEmpty(ui->contextURL))
        return;
    if (ui->contextItem >= 0)
        ui->didDoubleClick(ui->contextURL, ui->contextItem);
    else if (!ui->contextGroup.isNull())
        ui->didDoubleClick(ui->contextURL, ui->contextGroup.get());
    else
        ui->didDoubleClick(ui->contextURL);
}

void CRSSFeedUI::doRemoveFeedExec(void* data) {
    self(data)->onRemove();
}

void CRSSFeedUI::onRemove() {
    if (isEmpty(contextURL))
        return;
    if (mdAlert(0, 2, kAlertButtonsOKCancel, IDS_INBOX_REMOVE_CONF) == kAlertResultOK)
        didDelete(contextURL);
}

void CRSSFeedUI::doRefresh(void* data) {
    CRSSFeedUI* ui = self(data);
    if (!isEmpty(ui->contextURL))
        CRSSManager::instance().updateFeed(ui->contextURL, true, true, true);
}

void CRSSFeedUI::copyLink(bool subscription) {
    IViewLayer* layer = VxViewLayer();
    if (!layer || isEmpty(contextURL))
        return;
    CEStr text;
    if (subscription) {
        text = contextURL;
    } else {
        CAgg* level = contextItem < 0 ? FeedRecord(contextURL) : FeedItem(contextURL, contextItem);
        if (!level || !HasText(*level, "Link"))
            return;
        text = TextOf(*level, "Link");
    }
    EStrSetEncoding(text, kEStrHost);
    layer->SetClipboardText(utf8(text).c_str());
}

void CRSSFeedUI::doCopyURL(void* data) {
    self(data)->copyLink(false);
}

void CRSSFeedUI::doCopySubscriptionURL(void* data) {
    self(data)->copyLink(true);
}

void CRSSFeedUI::doSubscribe(void* data) {
    CRSSFeedUI* ui = self(data);
    if (isEmpty(ui->contextURL))
        return;
    CAgg* descriptor = FeedDescriptor(ui->contextURL);
    CEStr target = descriptor && HasText(*descriptor, "ResolvedURL")
                       ? TextOf(*descriptor, "ResolvedURL")
                       : CEStr(ui->contextURL);
    ExecuteURL(("feed://" + utf8(target)).c_str());
}

void CRSSFeedUI::doMarkAllAsRead(void* data) {
    CRSSFeedUI* ui = self(data);
    if (!isEmpty(ui->contextURL))
        CRSSManager::instance().setIsRead(ui->contextURL, true);
}

void CRSSFeedUI::doMarkAllAsUnread(void* data) {
    CRSSFeedUI* ui = self(data);
    if (!isEmpty(ui->contextURL))
        CRSSManager::instance().setIsRead(ui->contextURL, false);
}

void CRSSFeedUI::markContextItem(bool isRead) {
    CAgg* item = FeedItem(contextURL, contextItem);
    if (!item || BoolOf(*item, "IsRead") == isRead)
        return;
    (*item)["IsRead"].toQsBool() = isRead ? 1 : 0;
    CRSSManager::instance().notifyDidMarkRead(contextURL, contextItem, isRead ? 1 : 0);
}

void CRSSFeedUI::doMarkAsRead(void* data) {
    self(data)->markContextItem(true);
}

void CRSSFeedUI::doMarkAsUnread(void* data) {
    self(data)->markContextItem(false);
}

void CRSSFeedUI::doConvertToPDF(void* data) {
    CRSSFeedUI* ui = self(data);
    ui->convertToPDF(ui->contextURL, ui->contextItem);
}

bool CRSSFeedUI::hasLink(void* data) {
    CRSSFeedUI* ui = self(data);
    return ui->canDoubleClick(ui->contextURL, ui->contextItem);
}

bool CRSSFeedUI::hasNoError(void* data) {
    CRSSFeedUI* ui = self(data);
    return !isEmpty(ui->contextURL) && !isError(ui->contextURL);
}
