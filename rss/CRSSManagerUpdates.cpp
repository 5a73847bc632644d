// The store's update queue: when a feed is stale, the queue of feeds to fetch one at a time,
// and local feeds' providers. What a reply does to the store is the handlers' business.
#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/PluginEntry.h"
#include "frame/host/IIdle.h"
#include "rss/CFeedHandler.h"
#include "rss/CRSSManager.h"
#include "rss/CRSSOnStartNotifier.h"
#include "rss/CServiceHandler.h"
#include "soap/HTTPFunctions.h"
#include "values/CAggWalk.h"
#include "values/QsCab.h"
#include "values/miTime.h"

#include <ctime>
#include <memory>

namespace {

constexpr long kDefaultTTL = 120;    // minutes, for a feed without a usable ttl
constexpr long kRetryInterval = 120; // minutes after a failure
constexpr long kInternalTTL = 10000; // minutes, for internal, icon and script feeds

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
    // 0 means the default; a negative one, which no reader writes, would fetch without end.
    if (ttl <= 0)
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
            // The fetch or lookup under way moves the queue on when it ends.
            if (self->m_inFlight)
                return;
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

namespace {

/// The conditional headers of a fetch: the validators as the server sent them.
CAgg conditionalHeaders(CRSSManager& store, EStr url) {
    CAgg headers;
    headers.toVector();
    auto add = [&](const char* key, const CEStr& value) {
        CAgg record;
        record["key"] = CAgg(CEStr(key, kEStrPDFDoc).get());
        record["value"] = CAgg(value.get());
        headers.toVector().push_back(std::move(record));
    };
    CEStr text;
    if (store.getLastModified(url, text))
        add("If-Modified-Since", text);
    if (store.getETag(url, text))
        add("If-None-Match", text);
    return headers;
}

const char* typeName(CAgg* descriptor) {
    QsAtom type = descriptor ? typeOf(*descriptor) : kQsNullAtom;
    return type != kQsNullAtom && gCoreHFT ? gCoreHFT->atomGetString(type) : "RSS";
}

void stampNow(CAgg& descriptor) {
    QsTimeRec now{};
    miTimeGetTime(&now, 0);
    descriptor["lastAttempt"] = CAgg(now);
}

} // namespace

HTTPClientIds CRSSManager::clientIds() const {
    // Taken when the store starts; before that, the Tracker's client as it stands.
    return {m_running ? m_clientIds[0] : gEFSClientIDs[1], 0};
}

void CRSSManager::processUpdate(EStr url, bool force) {
    if (!url || (!force && !isStale(url)))
        return;
    CEStr kept = normalURL(url);
    stampNow(getFeedDescriptor(kept));
    if (typeOf(getFeedDescriptor(kept)) == atomOf("Internal")) {
        auto found = m_feedProcs.find(kept);
        if (found != m_feedProcs.end())
            update(found->second);
        return;
    }
    try {
        std::unique_ptr<CFeedHandler> handler(
            CFeedHandler::create(*this, typeName(findDescriptor(kept)), kept, false));
        CAgg headers = conditionalHeaders(*this, kept);
        simpleGet(clientIds(), kept.c_str(), CFeedHandler::Process, handler.get(), &headers);
    } catch (const HostError&) {
        // A failed check leaves the feed as it was.
    }
}

bool CRSSManager::processUpdate(CRSSAsyncUpdate& entry) {
    try {
        CEStr url(entry.url);
        const char* type = typeName(findDescriptor(url));
        if (entry.isService() && !entry.isResolved) {
            auto* lookup = new CServiceHandler(this, url);
            m_inFlight = lookup;
            if (lookup->begin())
                return true;
            // A URL without its three parts, or no discovery: nothing is asked, and no error
            // goes to the feed; the queue moves on.
            m_inFlight = nullptr;
            delete lookup;
            return false;
        }
        if (!isStale(url)) {
            entry.done = 1;
            return false;
        }
        stampNow(getFeedDescriptor(url));
        CAgg headers = conditionalHeaders(*this, url);
        CFeedHandler* handler = CFeedHandler::create(*this, type, url, true);
        CEStr fetchURL = url;
        if (entry.isService()) {
            fetchURL = entry.resolved;
            handler->setResolvedURL(entry.resolved);
        }
        m_inFlight = handler;
        if (simpleAsyncGet(clientIds(), fetchURL.c_str(), CFeedHandler::Process, handler, &headers))
            return true;
        m_inFlight = nullptr;
        delete handler;
        CAgg& descriptor = getFeedDescriptor(url);
        descriptor["FailureCount"] = CAgg(longOf(descriptor, "FailureCount") + 1);
        descriptor["State"] = CAgg(-1L);
        notifyDidUpdate(url);
        return false;
    } catch (const HostError&) {
        m_inFlight = nullptr;
        return false;
    }
}

void CRSSManager::notifyDidComplete(CAsyncHandler* handler) {
    if (!handler)
        return;
    if (handler == m_inFlight)
        m_inFlight = nullptr;
    switch (handler->getType()) {
    case CAsyncHandler::kFeedType:
    case CAsyncHandler::kPNGType:
    case CAsyncHandler::kCodeType:
        break;
    case CAsyncHandler::kServiceType:
        // The front stays for the next pass, which fetches what the lookup found. A lookup that
        // found nothing, or whose feed went meanwhile, finishes the entry.
        if (!m_pending.empty()) {
            CRSSAsyncUpdate& front = m_pending.front();
            front.resolved = static_cast<CServiceHandler*>(handler)->getResolved();
            front.isResolved = 1;
            if (front.resolved.isNull() || EStrGetLen(front.resolved) == 0 || front.cancelled)
                front.done = 1;
        }
        break;
    default:
        return;
    }
    // A finished fetch leaves its entry; the next pass finds the feed fresh and erases it.
    m_delayedScheduled = 0;
    if (!m_pending.empty() && m_pending.front().done)
        m_pending.erase(m_pending.begin());
    scheduleDelayed();
}
