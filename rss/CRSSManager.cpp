#include "rss/CRSSManager.h"

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/host/IIdle.h"
#include "rss/CAsyncHandler.h"
#include "rss/CRSSMerge.h"
#include "values/CAggWalk.h"

#include <algorithm>
#include <cstring>
#include <string>

CRSSManager* CRSSManager::sm_instance = nullptr;

namespace {

CRSSManager::SecondaryQuery gSecondaryQuery = nullptr;
CRSSManager::ChangeBracketProc gChangeBegin = nullptr;
CRSSManager::ChangeBracketProc gChangeEnd = nullptr;

bool startsWith(const _EStrRec* url, const char* scheme) {
    return url && std::strncmp(EStrGetBytes(url), scheme, std::strlen(scheme)) == 0;
}

bool sameURL(CAgg& entry, const _EStrRec* url) {
    return CAggIsString(entry) && EStrCmp(entry.toEStr(), url) == 0;
}

QsAtom atomOf(const char* text) {
    return gCoreHFT ? gCoreHFT->atomFromString(text) : kQsNullAtom;
}

/// The value of a key of a map of either kind, or null; never creates the key.
CAgg* lookUp(CAgg& map, const char* key) {
    return map.has(key) ? &map[key] : nullptr;
}

bool boolOf(CAgg& map, const char* key) {
    CAgg* value = lookUp(map, key);
    if (!value)
        return false;
    CAgg copy(*value);
    return copy.toQsBool() != 0;
}

long longOf(CAgg& map, const char* key) {
    CAgg* value = lookUp(map, key);
    if (!value)
        return 0;
    CAgg copy(*value);
    return copy.toQsInt32();
}

} // namespace

// Observers.

void CRSSManager::Observer::didAddFeed(EStr) {}
void CRSSManager::Observer::didUpdate(EStr) {}
void CRSSManager::Observer::didMarkRead(EStr, long, unsigned short) {}
void CRSSManager::Observer::didRemoveFeed(EStr) {}
void CRSSManager::Observer::didAddNewItem(EStr, long) {}

void CRSSManager::CHFTObserver::didUpdate(EStr url) {
    if (m_proc)
        m_proc(EStrGetBytes(CEStr::adopt(EStrCopySetEncoding(url, kEStrHost))), m_clientData);
}

void CRSSManager::addObserver(Observer* observer) {
    if (observer &&
        std::find(m_observers.begin(), m_observers.end(), observer) == m_observers.end())
        m_observers.push_back(observer);
}

void CRSSManager::removeObserver(Observer* observer) {
    std::erase(m_observers, observer);
}

void CRSSManager::addHFTObserver(HFTNotifyProc proc, void* clientData) {
    auto* observer = new CHFTObserver(proc, clientData);
    m_hftObservers.push_back(observer);
    addObserver(observer);
}

void CRSSManager::unregisterNotificationProc(HFTNotifyProc proc, void* data) {
    for (auto it = m_hftObservers.begin(); it != m_hftObservers.end(); ++it) {
        if ((*it)->proc() == proc && (*it)->clientData() == data) {
            removeObserver(*it);
            delete *it;
            m_hftObservers.erase(it);
            return;
        }
    }
}

// Life.

void CRSSManager::setPlatformHooks(SecondaryQuery isSecondary, ChangeBracketProc changeBegin,
                                   ChangeBracketProc changeEnd) {
    gSecondaryQuery = isSecondary;
    gChangeBegin = changeBegin;
    gChangeEnd = changeEnd;
}

CRSSManager::CRSSManager() {
    m_isSecondary = gSecondaryQuery && gSecondaryQuery();
    m_state["Feeds"].toVector();
    m_state["Contents"].toMap();
    m_state["OpenState"].toMap();
    // The platform's late initialisation comes as a delayed call at the first free moment.
    if (IIdle* idle = HostIdle())
        idle->scheduleDelayed(delayInit, this, 0);
}

CRSSManager::~CRSSManager() {
    // A fetch under way finds no store when its reply comes, and writes nothing.
    if (CAsyncHandler* handler = m_inFlight) {
        m_inFlight = nullptr;
        handler->detach();
    }
    if (IIdle* idle = HostIdle()) {
        idle->cancelDelayed(delayInit, this);
        idle->cancelDelayed(asyncDelayedProc, this);
        if (m_idleRegistered)
            idle->unregisterIdle(doUpdateFeed, this);
    }
    if (m_docNotifyRegistered && gDkModelHFT)
        gDkModelHFT->unregisterDocNotification(DkDocNotification::WillClose, docWillClose, this);
    if (!m_isSecondary)
        storeFeedContents(true);
    for (CHFTObserver* observer : m_hftObservers) {
        removeObserver(observer);
        delete observer;
    }
    m_hftObservers.clear();
    for (auto& [url, binary] : m_binaries)
        QsFree(binary.data);
    for (auto& [url, icon] : m_icons)
        if (icon)
            releaseIcon(url);
    if (sm_instance == this)
        sm_instance = nullptr;
}

CRSSManager& CRSSManager::instance() {
    if (!sm_instance)
        sm_instance = new CRSSManager;
    return *sm_instance;
}

void CRSSManager::delayInit(void* data) {
    static_cast<CRSSManager*>(data)->ensureIsRunning();
}

void CRSSManager::changeBegin() {
    if (gChangeBegin)
        gChangeBegin();
    ensureIsRunning();
    restoreFeedContents(false);
}

void CRSSManager::changeEnd() {
    storeFeedContents(false);
    if (gChangeEnd)
        gChangeEnd();
}

// Feeds.

bool CRSSManager::isLocalURL(const _EStrRec* url) {
    return startsWith(url, "local://");
}

bool CRSSManager::isServiceURL(const _EStrRec* url) {
    return startsWith(url, "service://");
}

CEStr CRSSManager::normalURL(const _EStrRec* url) {
    if (!url)
        return CEStr("", kEStrPDFDoc);
    if (EStrGetEncoding(url) == kEStrPDFDoc)
        return CEStr(url);
    long count = EStrGetCharLen(url);
    std::string ascii;
    ascii.reserve(static_cast<size_t>(count));
    for (long i = 0; i < count; ++i) {
        uint16_t c = EStrCharAt(url, i);
        if (c == 0 || c >= 0x80)
            return CEStr(url);
        ascii.push_back(static_cast<char>(c));
    }
    return CEStr(ascii.c_str(), kEStrPDFDoc);
}

long CRSSManager::feedIndex(const _EStrRec* given) {
    CEStr url = normalURL(given);
    CAgg::CAggVector& feeds = m_state["Feeds"].toVector();
    for (size_t i = 0; i < feeds.size(); ++i)
        if (sameURL(feeds[i], url))
            return static_cast<long>(i);
    return -1;
}

std::vector<CEStr> CRSSManager::feeds() {
    std::vector<CEStr> urls;
    for (CAgg& entry : m_state["Feeds"].toVector())
        if (CAggIsString(entry))
            urls.emplace_back(entry.toEStr());
    return urls;
}

CAgg& CRSSManager::getFeedDescriptor(EStr url) {
    CEStr key = normalURL(url);
    long hash = EStrIndexOf(key, '#', true);
    if (hash >= 0)
        EStrCharTrunc(key, hash);
    return m_state["Contents"][key];
}

CAgg* CRSSManager::findDescriptor(const _EStrRec* url) {
    CAgg& contents = m_state["Contents"];
    CEStr key = normalURL(url);
    long hash = EStrIndexOf(key, '#', true);
    if (hash >= 0)
        EStrCharTrunc(key, hash);
    if (!contents.has(key.get()))
        return nullptr;
    return &contents[key];
}

void CRSSManager::registerIdle() {
    if (m_isSecondary || m_idleRegistered)
        return;
    if (IIdle* idle = HostIdle()) {
        idle->registerIdle(doUpdateFeed, this, 6000);
        m_idleRegistered = 1;
    }
}

void CRSSManager::addFeed(EStr url, bool hidden, bool persistent) {
    if (!url)
        return;
    CEStr kept = normalURL(url);
    if (m_isSecondary)
        changeBegin();
    if (feedIndex(kept) >= 0) {
        // A second subscriber: the first call's Hidden and Persistent stay.
        CAgg& descriptor = getFeedDescriptor(kept);
        descriptor["RefCount"] = CAgg(longOf(descriptor, "RefCount") + 1);
    } else {
        m_state["Feeds"].toVector().emplace_back(kept.get());
        CAgg& descriptor = getFeedDescriptor(kept);
        descriptor["Hidden"].toQsBool() = hidden;
        descriptor["Type"].toQsAtom() = atomOf("RSS");
        descriptor["Persistent"].toQsBool() = persistent;
        descriptor["RefCount"] = CAgg(1L);
        registerIdle();
        notify([&](Observer* o) { o->didAddFeed(kept); });
    }
    if (m_isSecondary)
        changeEnd();
}

void CRSSManager::removeFeed(EStr url) {
    if (!url)
        return;
    CEStr kept = normalURL(url);
    if (m_isSecondary)
        changeBegin();
    CAgg* found = findDescriptor(kept);
    if (found && found->getType() != CAgg::eVoid) {
        long count = longOf(*found, "RefCount") - 1;
        (*found)["RefCount"] = CAgg(count);
        if (count == 0) {
            for (CAgg& sub : getSubFeeds(kept)) {
                CEStr subURL(CAggValueText(sub["URL"]));
                // A feed that names itself holds no reference on itself.
                if (EStrCmp(subURL, kept) != 0)
                    removeFeed(subURL);
            }
            // The descriptor may have moved while the sub-feeds went.
            CAgg& descriptor = getFeedDescriptor(kept);
            QsAtom type = descriptor.has("Type") ? CAgg(descriptor["Type"]).toQsAtom() : 0;
            if (type == atomOf("Code") || type == atomOf("UI") || type == atomOf("PNG")) {
                // A feed's own presentation is dropped by the presentation layer, which hears
                // of it through didRemoveFeed.
                releaseIcon(kept);
                m_icons.erase(kept);
                eraseBinary(kept);
            }
            descriptor = CAgg();
            long index = feedIndex(kept);
            if (index >= 0) {
                CAgg::CAggVector& feeds = m_state["Feeds"].toVector();
                feeds.erase(feeds.begin() + index);
            }
            removeFromPendingList(kept);
            notify([&](Observer* o) { o->didRemoveFeed(kept); });
        }
    }
    if (m_isSecondary)
        changeEnd();
}

void CRSSManager::moveFeed(EStr target, EStr url, bool before) {
    CEStr kept = normalURL(url);
    long index = feedIndex(kept);
    if (index < 0)
        return;
    CAgg::CAggVector& feeds = m_state["Feeds"].toVector();
    feeds.erase(feeds.begin() + index);
    long at = target ? feedIndex(target) : -1;
    // With no target in the list the URL has gone: it is left out of Feeds.
    if (at < 0)
        return;
    feeds.insert(feeds.begin() + at + (before ? 0 : 1), CAgg(kept.get()));
}

bool CRSSManager::hasFeed(EStr url) {
    return url && feedIndex(url) >= 0;
}

bool CRSSManager::hasFeed(EStr url, long index) {
    if (!hasFeed(url) || index < 0)
        return false;
    return index < countArticles(url);
}

long CRSSManager::countArticles(EStr url) {
    CAgg* descriptor = findDescriptor(url);
    if (!descriptor)
        return 0;
    CAgg* record = lookUp(*descriptor, "RSS");
    CAgg* items = record ? lookUp(*record, "Items") : nullptr;
    return items && items->getType() == CAgg::eVector ? static_cast<long>(items->toVector().size())
                                                      : 0;
}

bool CRSSManager::isVerified(EStr url) {
    if (!hasFeed(url))
        return false;
    CAgg* descriptor = findDescriptor(url);
    return descriptor && boolOf(*descriptor, "Verified");
}

// State.

void CRSSManager::setContents(EStr url, CAgg record) {
    CEStr kept = normalURL(url);
    CAgg& descriptor = getFeedDescriptor(kept);
    CAgg oldRecord;
    if (CAgg* old = lookUp(descriptor, "RSS"))
        oldRecord = std::move(*old);
    CAgg* oldItems = lookUp(oldRecord, "Items");
    CAgg* newItems = lookUp(record, "Items");
    if (newItems && newItems->getType() == CAgg::eVector) {
        CAgg none;
        RSSMergeReadState(oldItems && oldItems->getType() == CAgg::eVector ? *oldItems : none,
                          *newItems);
    }
    descriptor["RSS"] = std::move(record);
    CAgg& stored = descriptor["RSS"];
    // Touched as a time record; no value is set.
    descriptor["ModDate"].toQsTimeRec();
    if (CAggIsMap(stored)) {
        stored["URL"] = CAgg(kept.get());
        if (CAgg* items = lookUp(stored, "Items"); items && items->getType() == CAgg::eVector) {
            long index = 0;
            for (CAgg& item : items->toVector())
                if (CAggIsMap(item))
                    item["Index"] = CAgg(index++);
                else
                    ++index;
        }
    }
    // One notice per merge; the 1 is not a count.
    notify([&](Observer* o) { o->didAddNewItem(kept, 1); });
}

void CRSSManager::setIsRead(EStr url, bool isRead) {
    std::vector<CEStr> seen;
    setIsReadWalk(normalURL(url), isRead, seen);
}

void CRSSManager::setIsReadWalk(const CEStr& kept, bool isRead, std::vector<CEStr>& seen) {
    if (!hasFeed(kept))
        return;
    // Two feeds may name each other: each is marked once.
    for (const CEStr& done : seen)
        if (EStrCmp(done, kept) == 0)
            return;
    seen.push_back(kept);
    std::vector<long> changed;
    if (CAgg* descriptor = findDescriptor(kept)) {
        CAgg* record = lookUp(*descriptor, "RSS");
        CAgg* items = record ? lookUp(*record, "Items") : nullptr;
        if (items && items->getType() == CAgg::eVector) {
            CAgg::CAggVector& list = items->toVector();
            for (size_t i = 0; i < list.size(); ++i) {
                if (!CAggIsMap(list[i]) || boolOf(list[i], "IsRead") == isRead)
                    continue;
                list[i]["IsRead"].toQsBool() = isRead;
                changed.push_back(static_cast<long>(i));
            }
        }
    }
    for (long index : changed)
        notify([&](Observer* o) { o->didMarkRead(kept, index, isRead); });
    for (CAgg& sub : getSubFeeds(kept)) {
        if (CAgg(sub["Type"]).toQsAtom() != atomOf("RSS"))
            continue;
        setIsReadWalk(normalURL(CEStr(CAggValueText(sub["URL"]))), isRead, seen);
    }
}

void CRSSManager::notifyDidMarkRead(EStr url, long index, unsigned short isRead) {
    CEStr kept = normalURL(url);
    notify([&](Observer* o) { o->didMarkRead(kept, index, isRead); });
}

void CRSSManager::notifyDidUpdate(EStr url) {
    CEStr kept = normalURL(url);
    notify([&](Observer* o) { o->didUpdate(kept); });
}

bool CRSSManager::getOpenState(EStr url, EStr group) {
    CAgg& openState = m_state["OpenState"];
    if (!url || !openState.has(url))
        return true;
    CAgg& entry = openState[url];
    if (!group) {
        CAgg* own = lookUp(entry, "URL");
        return own ? CAgg(*own).toQsBool() != 0 : true;
    }
    CAgg* groups = lookUp(entry, "GroupBy");
    if (!groups || !groups->has(group))
        return true;
    return CAgg((*groups)[group]).toQsBool() != 0;
}

void CRSSManager::setOpenState(EStr url, EStr group, bool open) {
    if (!url || getOpenState(url, group) == open)
        return;
    CAgg& openState = m_state["OpenState"];
    if (open) {
        if (!openState.has(url))
            return;
        if (!group) {
            // The feed's own node opens, and its groups' states go with it.
            openState.remove(url);
            return;
        }
        CAgg* groups = lookUp(openState[url], "GroupBy");
        if (groups && groups->has(group))
            groups->remove(group);
        return;
    }
    CAgg& entry = openState[url];
    if (!group)
        entry["URL"].toQsBool() = 0;
    else
        entry["GroupBy"][group].toQsBool() = 0;
}

void CRSSManager::setLastModified(EStr url, EStr text) {
    getFeedDescriptor(url)["LastModified"] = CAgg(static_cast<const _EStrRec*>(text));
}

bool CRSSManager::getLastModified(EStr url, CEStr& text) {
    CAgg* descriptor = findDescriptor(url);
    CAgg* value = descriptor ? lookUp(*descriptor, "LastModified") : nullptr;
    if (!value || !CAggIsString(*value))
        return false;
    text = CAggValueText(*value);
    return true;
}

void CRSSManager::setETag(EStr url, EStr text) {
    getFeedDescriptor(url)["ETag"] = CAgg(static_cast<const _EStrRec*>(text));
}

bool CRSSManager::getETag(EStr url, CEStr& text) {
    CAgg* descriptor = findDescriptor(url);
    CAgg* value = descriptor ? lookUp(*descriptor, "ETag") : nullptr;
    if (!value || !CAggIsString(*value))
        return false;
    text = CAggValueText(*value);
    return true;
}

void CRSSManager::setStale(EStr url) {
    CAgg* descriptor = findDescriptor(url);
    if (!descriptor)
        return;
    for (const char* key : {"lastAttempt", "ETag", "LastModified"})
        if (descriptor->has(key))
            descriptor->remove(key);
    (*descriptor)["State"] = CAgg(0L);
}

bool CRSSManager::getLastChecked(EStr url, CAgg& out) {
    CAgg* descriptor = findDescriptor(url);
    CAgg* value = descriptor ? lookUp(*descriptor, "lastAttempt") : nullptr;
    if (!value || value->getType() == CAgg::eVoid)
        return false;
    out = *value;
    return true;
}

// Documents.

void CRSSManager::addDocumentFeed(VxDoc doc, EStr url) {
    if (!doc || !url)
        return;
    m_documentFeeds[doc].emplace_back(url);
    m_feedDocuments[normalURL(url)] = doc;
}

void CRSSManager::documentWillClose(VxDoc doc) {
    auto found = m_documentFeeds.find(doc);
    if (found == m_documentFeeds.end())
        return;
    std::vector<CEStr> urls = std::move(found->second);
    m_documentFeeds.erase(found);
    for (CEStr& url : urls) {
        removeFeed(url);
        m_feedDocuments.erase(url);
    }
}

void CRSSManager::docWillClose(DkDoc doc, void* data) {
    static_cast<CRSSManager*>(data)->documentWillClose(reinterpret_cast<VxDoc>(doc));
}
