#include "rss/RSSExports.h"

#include "frame/HostTables.h"
#include "rss/CRSSOnStartNotifier.h"

#include <cstring>

namespace {

CEStr urlText(const char* url) {
    return CEStr(url ? url : "", kEStrHost);
}

} // namespace

void RegisterOnStartProc(void (*proc)(void* data), void* data) {
    CRSSOnStartNotifier::add(proc, data);
}

void RegisterFeedProc(const char* url, const char* iconName, CRSSManager::FeedProc proc,
                      void* data) {
    if (!url || !*url || !proc)
        return;
    CRSSManager::instance().registerRSSFeedProc(urlText(url), iconName, proc, data);
}

void UnregisterFeedProc(const char* url) {
    if (url && CRSSManager::sm_instance)
        CRSSManager::sm_instance->unregisterRSSFeedProc(urlText(url));
}

void UpdateFeedProc(const char* url) {
    if (!url || !CRSSManager::sm_instance)
        return;
    CRSSManager& store = *CRSSManager::sm_instance;
    store.updateFeed(urlText(url), false, true, false);
}

void AddFeed(const char* url, VxDoc doc, const char* type, bool hidden) {
    if (!url || !*url)
        return;
    CRSSManager& store = CRSSManager::instance();
    CEStr text = urlText(url);
    QsAtom atom = kQsNullAtom;
    if (type && std::strcmp(type, "Code") == 0) {
        store.addFeed(text, true, false);
        atom = gCoreHFT ? gCoreHFT->atomFromString("Code") : kQsNullAtom;
    } else if (type && std::strcmp(type, "PNG") == 0) {
        store.addFeed(text, true, true);
        atom = gCoreHFT ? gCoreHFT->atomFromString("PNG") : kQsNullAtom;
    } else {
        store.addFeed(text, hidden, true);
        atom = gCoreHFT ? gCoreHFT->atomFromString("RSS") : kQsNullAtom;
        if (doc)
            store.addDocumentFeed(doc, text);
    }
    store.getFeedDescriptor(text)["Type"].toQsAtom() = atom;
}

bool HasFeed(const char* url) {
    return url && CRSSManager::instance().hasFeed(urlText(url));
}

void RegisterNotificationProc(CRSSManager::HFTNotifyProc proc, void* data) {
    if (proc)
        CRSSManager::instance().addHFTObserver(proc, data);
}

void UnregisterNotificationProc(CRSSManager::HFTNotifyProc proc, void* data) {
    if (CRSSManager::sm_instance)
        CRSSManager::sm_instance->unregisterNotificationProc(proc, data);
}

bool SupportsFeedProtocol() {
    return false;
}
