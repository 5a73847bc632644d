// The store's update queue: when a feed is stale, the queue of feeds to fetch one at a time,
// local feeds' providers, and the sub-feeds that a feed names.
#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/PluginEntry.h"
#include "frame/host/IIdle.h"
#include "rss/CRSSManager.h"
#include "rss/CRSSOnStartNotifier.h"
#include "rss/CRSSReader.h"
#include "values/CAggWalk.h"
#include "values/QsCab.h"
#include "values/miTime.h"
#include "values/miUrl.h"

#include <cstring>
#include <ctime>

namespace {

constexpr long kDefaultTTL = 120;    // minutes, for a feed without a usable ttl
constexpr long kRetryInterval = 120; // minutes after a failure
constexpr long kInternalTTL = 10000; // minutes, for internal, icon and script feeds
constexpr long kRelativeURLSize = 1024;

QsAtom atomOf(const char* text) {
    return gCoreHFT ? gCoreHFT->atomFromString(text) : kQsNullAtom;
}

CAgg* lookUp(CAgg& map, const char* key) {
    return CAggIsMap(map) && map.has(key) ? &map[key] : nullptr;
}

long longOf(CAgg& map, const char* key) {
    CAgg* value = lookUp(map, key);
    if (!value || value->getType() == CAgg::eVoid)
        return 0;
    CAgg copy(*value);
    return copy.toQsInt32();
}

QsAtom typeOf(CAgg& descriptor) {
    CAgg* value = lookUp(descriptor, "Type");
    if (!value)
        return kQsNullAtom;
    CAgg copy(*value);
    return copy.toQsAtom();
}

} // namespace

void CRSSManager::ensureIsRunning() {
    if (m_running || m_isSecondary)
        return;
    m_running = 1;
    restoreFeedContents(false);
    CRSSOnStartNotifier::runAll();
    m_clientIds[0] = gEFSClientIDs[1];
    m_clientIds[1] = 0;
    for (CEStr& url : feeds()) {
        if (!isLocalURL(url)) {
            registerIdle();
            break;
        }
    }
    update(true);
    if (gDkModelHFT && !m_docNotifyRegistered) {
        gDkModelHFT->registerDocNotification(DkDocNotification::WillClose, docWillClose, this);
        m_docNotifyRegistered = 1;
    }
}

void CRSSManager::doUpdateFeed(void* data) {
    static_cast<CRSSManager*>(data)->update(true);
}

void CRSSManager::update(bool async) {
    if (m_isSecondary)
        return;
    // A copy: observers may change Feeds while the round runs.
    for (CEStr& url : feeds()) {
        if (async)
            addToPendingList(url, false);
        else
            updateFeed(url, false, false, false);
    }
}

void CRSSManager::updateFeed(EStr url, bool async, bool force, bool recursive) {
    if (m_isSecondary || !url)
        return;
    CEStr kept = normalURL(url);
    if (!async) {
        processUpdate(kept, force);
    } else {
        if (CAgg* descriptor = findDescriptor(kept);
            descriptor && typeOf(*descriptor) == atomOf("Internal"))
            return;
        if (force)
            setStale(kept);
        addToPendingList(kept, false);
    }
    if (!recursive)
        return;
    for (CAgg& sub : getSubFeeds(kept)) {
        CEStr subURL(CAggValueText(sub["URL"]));
        if (force)
            setStale(subURL);
        addToPendingList(subURL, false);
    }
}

void CRSSManager::scheduleDelayed() {
    if (m_delayedScheduled)
        return;
    if (IIdle* idle = HostIdle()) {
        idle->scheduleDelayed(asyncDelayedProc, this, 0);
        m_delayedScheduled = 1;
    }
}

void CRSSManager::addToPendingList(EStr url, bool force) {
    if (m_isSecondary || !url)
        return;
    CEStr kept = normalURL(url);
    CAgg* descriptor = findDescriptor(kept);
    if (isLocalURL(kept) || (descriptor && typeOf(*descriptor) == atomOf("Internal"))) {
        // A local feed's provider runs at once; it never waits in the queue.
        auto found = m_feedProcs.find(kept);
        if (found != m_feedProcs.end())
            update(found->second);
        return;
    }
    if (!force && !isStale(kept))
        return;
    for (const CRSSAsyncUpdate& entry : m_pending)
        if (EStrCmp(entry.url, kept) == 0)
            return;
    CRSSAsyncUpdate entry;
    entry.url = kept;
    m_pending.push_back(std::move(entry));
    scheduleDelayed();
}

void CRSSManager::removeFromPendingList(EStr url) {
    if (!url || isLocalURL(url))
        return;
    if (CAgg* descriptor = findDescriptor(url);
        descriptor && typeOf(*descriptor) == atomOf("Internal"))
        return;
    for (auto it = m_pending.begin(); it != m_pending.end(); ++it) {
        if (EStrCmp(it->url, url) != 0)
            continue;
        if (!it->started) {
            m_pending.erase(it);
            return;
        }
        // A fetch in flight runs on; its reply is dropped.
        it->cancelled = 1;
    }
}

void CRSSManager::cancelPendingUpdates() {
    if (m_pending.empty())
        return;
    if (!m_pending.front().started) {
        m_pending.clear();
        return;
    }
    m_pending.front().cancelled = 1;
    m_pending.erase(m_pending.begin() + 1, m_pending.end());
}

bool CRSSManager::isStale(EStr url) {
    if (m_isSecondary)
        return false;
    CAgg* descriptor = findDescriptor(url);
    if (!descriptor || !CAggIsMap(*descriptor))
        return true;
    long now = miTimeSecs();
    // A restored state holds the time in its stored form; it reads back as a time record.
    CAgg* last = lookUp(*descriptor, "lastAttempt");
    bool hasLast = last && last->getType() != CAgg::eVoid;
    QsTimeRec lastRec = hasLast ? CAgg(*last).toQsTimeRec() : QsTimeRec{};
    long age = hasLast ? (now - miTimeRecToSecs(lastRec)) / 60 : 0;
    if (longOf(*descriptor, "State") < 1) {
        if (!hasLast)
            return true;
        long retry = kRetryInterval;
        long ttl = longOf(*descriptor, "TTL");
        long failures = longOf(*descriptor, "FailureCount");
        CAgg* verified = lookUp(*descriptor, "Verified");
        // A known-good feed backs off linearly with its failures, with no ceiling.
        if (verified && CAgg(*verified).toQsBool() && ttl > 0 && failures > 0)
            retry = failures * ttl;
        return retry < age;
    }
    if (typeOf(*descriptor) == atomOf("Internal"))
        return true;
    long ttl = longOf(*descriptor, "TTL");
    if (ttl == 0)
        ttl = kDefaultTTL;
    if (hasLast) {
        // The skip masks are read under the record, where the reader never puts them: the
        // handler keeps them at descriptor level, so they hold nothing back. Intended.
        CAgg* record = lookUp(*descriptor, "RSS");
        long days = record ? longOf(*record, "SkipDays") & 0xFFFF : 0;
        long hours = record ? longOf(*record, "SkipHours") & 0xFFFF : 0;
        std::time_t when = miTimeRecToSecs(lastRec);
        std::tm local{};
        localtime_r(&when, &local);
        if ((days & (1L << local.tm_wday)) || (hours & (1L << local.tm_hour)))
            return false;
    } else {
        return true;
    }
    return ttl <= age;
}

void CRSSManager::asyncDelayedProc(void* data) {
    auto* self = static_cast<CRSSManager*>(data);
    for (;;) {
        try {
            if (self->m_pending.empty()) {
                self->m_delayedScheduled = 0;
                return;
            }
            CRSSAsyncUpdate& front = self->m_pending.front();
            if (front.url.isNull() || EStrGetLen(front.url) == 0) {
                self->m_delayedScheduled = 0;
                if (front.done)
                    self->m_pending.erase(self->m_pending.begin());
                return;
            }
            front.started = 1;
            if (self->processUpdate(front))
                return;
            // Not started: the entry is finished and the next one gets its turn now.
            front.done = 1;
            self->m_delayedScheduled = 0;
            if (!self->m_pending.empty() && self->m_pending.front().done)
                self->m_pending.erase(self->m_pending.begin());
            self->scheduleDelayed();
            return;
        } catch (const HostError&) {
            // One bad feed never stops the queue.
            if (!self->m_pending.empty())
                self->m_pending.erase(self->m_pending.begin());
        }
    }
}

void CRSSManager::update(CFeedProc& feedProc) {
    if (m_isSecondary || !feedProc.proc)
        return;
    CEStr url(feedProc.url);
    CAgg record;
    if (QsCab cab = feedProc.proc(feedProc.clientData)) {
        QsCab2CAgg(record, cab);
        QsCabDestroy(cab);
    }
    if (record.getType() == CAgg::eVoid)
        return;
    std::vector<CAgg> oldSubFeeds = getSubFeeds(url);
    setContents(url, std::move(record));
    prefetch(url);
    for (CAgg& sub : oldSubFeeds)
        removeFeed(CEStr(CAggValueText(sub["URL"])));
    getFeedDescriptor(url)["State"] = CAgg(200L);
    notify([&](Observer* o) { o->didUpdate(url); });
}

void CRSSManager::registerRSSFeedProc(EStr url, const char* iconName, FeedProc proc, void* data) {
    if (m_isSecondary || !url)
        return;
    CEStr kept = normalURL(url);
    m_feedProcs[kept] = CFeedProc{proc, data, kept, 0};
    if (iconName && *iconName) {
        releaseIcon(kept);
        CEStr local("local://", kEStrPDFDoc);
        local += iconName;
        m_icons[kept] = getIcon(local);
    }
    if (feedIndex(kept) < 0)
        m_state["Feeds"].toVector().emplace_back(kept.get());
    CAgg& descriptor = getFeedDescriptor(kept);
    descriptor["Type"].toQsAtom() = atomOf("Internal");
    descriptor["TTL"] = CAgg(kInternalTTL);
    ensureIsRunning();
    auto found = m_feedProcs.find(kept);
    if (found != m_feedProcs.end())
        update(found->second);
}

void CRSSManager::unregisterRSSFeedProc(EStr url) {
    if (url)
        m_feedProcs.erase(normalURL(url));
}

// Sub-feeds.

namespace {

/// The value of an extension key at the feed level (index -1) or of an item, or empty.
CEStr extensionValue(CAgg& record, long index, const char* key) {
    CAgg* level = &record;
    if (index >= 0) {
        CAgg* items = lookUp(record, "Items");
        if (!items || items->getType() != CAgg::eVector ||
            index >= static_cast<long>(items->toVector().size()))
            return CEStr();
        level = &items->toVector()[static_cast<size_t>(index)];
    }
    CAgg* extension = lookUp(*level, "Extension");
    if (!extension || !CAggIsMap(*extension) || !extension->has(key))
        return CEStr();
    CEStr text = CAggValueText((*extension)[key]);
    return EStrGetLen(text) ? text : CEStr();
}

CEStr combine(const char* base, const char* relative) {
    char out[kRelativeURLSize];
    long size = sizeof out;
    int32_t error = 0;
    if (!miCombineUrl(base, relative, out, &size, &error) || size >= kRelativeURLSize)
        return CEStr();
    return CEStr(std::string(out, static_cast<size_t>(size)).c_str(), kEStrPDFDoc);
}

} // namespace

std::vector<CAgg> CRSSManager::getSubFeeds(EStr url) {
    std::vector<CAgg> subFeeds;
    CAgg* descriptor = url ? findDescriptor(url) : nullptr;
    if (!descriptor || !CAggIsMap(*descriptor))
        return subFeeds;
    CAgg* record = lookUp(*descriptor, "RSS");
    if (!record || !CAggIsMap(*record))
        return subFeeds;
    CEStr base(url);
    if (isServiceURL(url)) {
        CAgg* resolved = lookUp(*descriptor, "ResolvedURL");
        if (resolved && CAggIsString(*resolved) && EStrGetLen(resolved->toEStr()))
            base = resolved->toEStr();
    }
    bool local = isLocalURL(url);
    std::string inbox(kInboxNamespace);
    auto find = [&](long index, const std::string& key) -> CEStr {
        CEStr value = extensionValue(*record, index, key.c_str());
        if (value.isNull())
            return value;
        if (isLocalURL(value) || local) {
            if (!local || index < 0)
                return value;
            // An item of a local feed resolves against its own base, if it names one.
            CrackedUrlRec cracked{};
            if (miCrackUrl(value.c_str(), &cracked) == kUrlOK && cracked.scheme != kUrlNone)
                return value;
            CEStr itemBase = extensionValue(*record, index, (inbox + ":baseURL").c_str());
            return itemBase.isNull() ? CEStr() : combine(itemBase.c_str(), value.c_str());
        }
        CrackedUrlRec cracked{};
        if (miCrackUrl(value.c_str(), &cracked) == kUrlOK && cracked.scheme == kUrlNone)
            return combine(base.c_str(), value.c_str());
        return value;
    };
    auto add = [&](const CEStr& subURL, const char* type, bool rss) {
        if (subURL.isNull() || EStrGetLen(subURL) == 0)
            return;
        CAgg entry;
        entry["URL"] = CAgg(subURL.get());
        entry["Type"].toQsAtom() = atomOf(type);
        if (rss)
            entry["Hidden"].toQsBool() = 1;
        subFeeds.push_back(std::move(entry));
    };
    add(find(-1, inbox + ":icon"), "PNG", false);
    add(find(-1, inbox + ":feedUI"), "UI", false);
    long count = countArticles(url);
    for (long i = 0; i < count; ++i) {
        add(find(i, inbox + ":icon"), "PNG", false);
        add(find(i, inbox + ":feedUI"), "UI", false);
        CEStr rss = find(i, inbox + ":subfeed");
        if (rss.isNull())
            rss = find(i, "http://wellformedweb.org/CommentAPI/:commentRSS");
        add(rss, "RSS", true);
    }
    return subFeeds;
}

void CRSSManager::prefetch(EStr url) {
    if (m_isSecondary || !url)
        return;
    CEStr kept = normalURL(url);
    for (CAgg& sub : getSubFeeds(kept)) {
        CEStr subURL(CAggValueText(sub["URL"]));
        if (EStrCmp(subURL, kept) == 0 || isLocalURL(subURL))
            continue;
        QsAtom type = CAgg(sub["Type"]).toQsAtom();
        if (type == atomOf("RSS")) {
            addFeed(subURL, sub.has("Hidden") && CAgg(sub["Hidden"]).toQsBool(), true);
        } else if (type == atomOf("UI") || type == atomOf("PNG")) {
            addFeed(subURL, true, true);
            CAgg& descriptor = getFeedDescriptor(subURL);
            descriptor["Type"].toQsAtom() = type;
            descriptor["TTL"] = CAgg(kInternalTTL);
        } else {
            continue;
        }
        addToPendingList(subURL, false);
    }
}

void CRSSManager::recheckAuthentication() {
    std::vector<CEStr> refused;
    CAggForEachEntry(m_state["Contents"], [&](const CEStr& url, CAgg& descriptor) {
        if (CAggIsMap(descriptor) && longOf(descriptor, "State") == 401)
            refused.push_back(url);
    });
    for (CEStr& url : refused) {
        setStale(url);
        addToPendingList(url, true);
    }
}

// The network fetch itself comes with the fetch handlers, which turn a reply into store state.
// Until then the blocking path runs local providers only, and the queue passes a remote feed
// over unstarted, leaving it stale for the next round.

void CRSSManager::processUpdate(EStr url, bool force) {
    if (!url || (!force && !isStale(url)))
        return;
    CEStr kept = normalURL(url);
    QsTimeRec now{};
    miTimeGetTime(&now, 0);
    CAgg& descriptor = getFeedDescriptor(kept);
    descriptor["lastAttempt"] = CAgg(now);
    if (typeOf(descriptor) != atomOf("Internal"))
        return;
    auto found = m_feedProcs.find(kept);
    if (found != m_feedProcs.end())
        update(found->second);
}

bool CRSSManager::processUpdate(CRSSAsyncUpdate& entry) {
    if (!isStale(entry.url))
        entry.done = 1;
    return false;
}
