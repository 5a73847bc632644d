// The subscription store: the one list of feeds of a viewer instance, a descriptor for each, the
// icons and script code fetched for them and the tree's open states. It tells observers of
// changes and keeps its state across restarts in the cabinets "Collab", "RSS" (the state map)
// and "Collab", "RSSBinary" (icons and code).
//
// The state map: Feeds (the subscribed URLs in display order), Contents (a descriptor for every
// URL ever seen; a removed feed leaves an empty slot) and OpenState (only closed things). A
// descriptor holds Hidden, Type, Persistent, RefCount, RSS (the feed record), ModDate, State,
// Error, Verified, FailureCount, lastAttempt, LastModified, ETag, ResolvedURL, TTL, SkipDays and
// SkipHours. URLs are compared exactly, byte for byte.
#pragma once

#include "frame/host/ICabinets.h"
#include "frame/host/ViewerHandles.h"
#include "rss/CRSSAsyncUpdate.h"
#include "soap/CHTTPRequest.h"
#include "values/CAgg.h"
#include "values/EStr.h"
#include "xml/CXMLElement.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

class CAsyncHandler;

class CRSSManager {
public:
    /// Listens to the store. The defaults do nothing.
    class Observer {
    public:
        virtual ~Observer() = default;
        virtual void didAddFeed(EStr url);
        virtual void didUpdate(EStr url);
        virtual void didMarkRead(EStr url, long index, unsigned short isRead);
        virtual void didRemoveFeed(EStr url);
        virtual void didAddNewItem(EStr url, long index);
    };

    /// The procedure another plug-in gives to hear of updates: the URL as 8-bit text.
    using HFTNotifyProc = void (*)(const char* url, void* clientData);

    /// An observer for another plug-in: tells only of updates, through its procedure.
    class CHFTObserver final : public Observer {
    public:
        CHFTObserver(HFTNotifyProc proc, void* clientData)
            : m_proc(proc), m_clientData(clientData) {}
        void didUpdate(EStr url) override;
        HFTNotifyProc proc() const { return m_proc; }
        void* clientData() const { return m_clientData; }

    private:
        HFTNotifyProc m_proc;
        void* m_clientData;
    };

    /// Raw contents of an icon or script feed, kept by URL.
    struct BinaryData {
        /// The feed's Type when the contents came.
        QsAtom Type = kQsNullAtom;
        /// Owned; allocated with QsMalloc.
        unsigned char* data = nullptr;
        uint32_t size = 0;
    };

    /// A provider of a local feed: returns a new cabinet holding the feed record, or null.
    using FeedProc = QsCab (*)(void* clientData);
    struct CFeedProc {
        FeedProc proc = nullptr;
        void* clientData = nullptr;
        CEStr url;
        uint16_t reserved = 0;
    };

    /// The platform query behind isSecondary: whether this viewer runs inside a web browser and
    /// depends on another instance. Without one, an instance is primary.
    using SecondaryQuery = bool (*)();
    /// The bracket around a change to the state shared with the other instance.
    using ChangeBracketProc = void (*)();
    static void setPlatformHooks(SecondaryQuery isSecondary, ChangeBracketProc changeBegin,
                                 ChangeBracketProc changeEnd);

    CRSSManager();
    ~CRSSManager();
    CRSSManager(const CRSSManager&) = delete;
    CRSSManager& operator=(const CRSSManager&) = delete;

    /// The store, created on first use.
    static CRSSManager& instance();
    /// The store, or null when there is none.
    static CRSSManager* sm_instance;

    // Feeds.

    /// Subscribes, or adds a reference to a feed already subscribed.
    void addFeed(EStr url, bool hidden, bool persistent);
    /// Drops a reference; at the last one the feed, its sub-feeds and its binaries go.
    void removeFeed(EStr url);
    /// Moves url before (or after) target in Feeds; with no target, url leaves the list.
    void moveFeed(EStr target, EStr url, bool before);
    bool hasFeed(EStr url);
    /// Whether the feed is subscribed and has an item at index.
    bool hasFeed(EStr url, long index);
    /// The descriptor of the URL cut at its first "#", created when missing.
    CAgg& getFeedDescriptor(EStr url);
    /// The number of items of the feed's record.
    long countArticles(EStr url);
    /// Verified, and false for a feed that is not subscribed.
    bool isVerified(EStr url);
    /// The subscribed URLs in display order.
    std::vector<CEStr> feeds();

    static bool isLocalURL(const _EStrRec* url);
    /// The form in which the store keeps a URL: ASCII text as PDFDocEncoding bytes whatever its
    /// encoding, so that a URL read back from a cabinet as UCS is the same key as the one given.
    static CEStr normalURL(const _EStrRec* url);
    static bool isServiceURL(const _EStrRec* url);

    // State.

    /// Marks every item of the feed, and of its RSS sub-feeds, read or unread.
    void setIsRead(EStr url, bool isRead);
    void notifyDidMarkRead(EStr url, long index, unsigned short isRead);
    /// Tells every observer that the feed changed, so that views of it are drawn again.
    void notifyDidUpdate(EStr url);
    bool getOpenState(EStr url, EStr group);
    void setOpenState(EStr url, EStr group, bool open);
    /// Merges a new version of the feed: read state crosses over, the record is replaced.
    void setContents(EStr url, CAgg record);
    void setLastModified(EStr url, EStr text);
    bool getLastModified(EStr url, CEStr& text);
    void setETag(EStr url, EStr text);
    bool getETag(EStr url, CEStr& text);
    /// Clears the validators and the last attempt, so that the next check fetches.
    void setStale(EStr url);
    bool getLastChecked(EStr url, CAgg& out);

    // Binaries. The store takes ownership of bytes (allocated with QsMalloc).

    void addIcon(EStr url, unsigned char* bytes, uint32_t size);
    /// bytes end with a zero byte that size does not count.
    void addCode(EStr url, unsigned char* bytes, uint32_t size);
    VxIcon getIcon(EStr url);
    /// The raw contents kept for a URL, or null.
    const BinaryData* getBinary(EStr url);

    // Persistence.

    void storeFeedContents(bool isShutdown);
    void restoreFeedContents(bool flag);
    /// Reads one entry of the binary cabinet back into the store.
    void convertToBin(QsCab entry);
    void suspend(bool flag);
    void resume(bool flag);

    // Observers and documents.

    void addObserver(Observer* observer);
    void removeObserver(Observer* observer);
    /// Registers another plug-in's procedure; the store owns the observer it makes.
    void addHFTObserver(HFTNotifyProc proc, void* clientData);
    /// Records that the document added the feed, so that the feed goes with the document.
    void addDocumentFeed(VxDoc doc, EStr url);
    /// Removes the feeds the document added.
    void documentWillClose(VxDoc doc);

    /// The persistent state map, for readers such as the presentation.
    CAgg& state() { return m_state; }
    bool isSecondary() const { return m_isSecondary; }
    bool isRunning() const { return m_running; }

    // The update engine.

    /// Starts the store once: restores the state, runs the start procedures, starts the timer.
    void ensureIsRunning();
    /// Queues every feed (async) or checks each at once.
    void update(bool async);
    /// Runs a local feed's provider and merges what it gives.
    void update(CFeedProc& feedProc);
    void updateFeed(EStr url, bool async, bool force, bool recursive);
    void addToPendingList(EStr url, bool force);
    void removeFromPendingList(EStr url);
    void cancelPendingUpdates();
    bool isStale(EStr url);
    void registerRSSFeedProc(EStr url, const char* iconName, FeedProc proc, void* data);
    void unregisterRSSFeedProc(EStr url);
    void unregisterNotificationProc(HFTNotifyProc proc, void* data);
    /// The icon, script and RSS feeds that the feed and its items name, in the order: the feed's
    /// icon, its UI, then per item its icon, UI and RSS sub-feed; maps of URL, Type (and Hidden).
    std::vector<CAgg> getSubFeeds(EStr url);
    /// The URL that the feed (index -1) or its item at index names under the extension key
    /// nameSpace ":" name, made absolute against the feed's URL; empty when there is none or it
    /// cannot be made absolute.
    CEStr getSubFeedExt(const QName& name, EStr url, long index);
    /// The "feedUI" sub-feed of the feed or of an item.
    CEStr getUISubFeed(EStr url, long index);
    /// The "icon" sub-feed of the feed or of an item.
    CEStr getIconSubFeed(EStr url, long index);
    /// The "subfeed" of the feed or of an item, else its comment feed.
    CEStr getRSSSubFeed(EStr url, long index);
    /// Subscribes to each sub-feed and queues it.
    void prefetch(EStr url);
    /// The document that added a feed, or null.
    VxDoc getFeedDocument(EStr url);
    /// The queue, front first.
    const std::vector<CRSSAsyncUpdate>& pending() const { return m_pending; }
    /// The entry of the fetch or lookup under way (the queue's front), or null.
    CRSSAsyncUpdate* pendingFront() { return m_pending.empty() ? nullptr : &m_pending.front(); }

    /// Checks one feed at once, blocking: a local feed's provider runs, a remote feed is fetched
    /// with its validators and its reply goes through the handler of its Type.
    void processUpdate(EStr url, bool force);
    /// Starts the queue's front: resolves a "service://" feed, or fetches a stale feed
    /// asynchronously. False when nothing was started.
    bool processUpdate(CRSSAsyncUpdate& entry);
    /// A handler has finished: a lookup's result goes to the queue's front, and the queue moves
    /// on to its next pass.
    void notifyDidComplete(CAsyncHandler* handler);
    /// Queues again, unconditionally, the feeds that a server refused for want of a password.
    /// The store's module has the credential store call it when credentials are stored.
    void recheckAuthentication();
    /// The most bytes of a feed document that a fetch reads.
    static constexpr long kMaxFeedBytes = 8L * 1024 * 1024;
    /// The most bytes of an icon or a script that a fetch reads.
    static constexpr long kMaxBinaryBytes = 4L * 1024 * 1024;

    /// The scheduled call that hands the queue's front to processUpdate.
    static void asyncDelayedProc(void* data);
    /// The idle procedure: an asynchronous update round.
    static void doUpdateFeed(void* data);

private:
    using DocFeeds = std::map<VxDoc, std::vector<CEStr>>;
    using FeedDocs = std::map<CEStr, VxDoc, CEStrLessNumbersFirst>;

    /// Tells every observer, from a copy of the list: an observer may remove itself or another,
    /// or add one, while it is told; one removed meanwhile is not called.
    template <class Fn> void notify(Fn fn) {
        std::vector<Observer*> observers = m_observers;
        for (Observer* observer : observers)
            if (std::find(m_observers.begin(), m_observers.end(), observer) != m_observers.end())
                fn(observer);
    }
    void changeBegin();
    void changeEnd();
    CAgg* findDescriptor(const _EStrRec* url);
    long feedIndex(const _EStrRec* url);
    void eraseBinary(const _EStrRec* url);
    void releaseIcon(const _EStrRec* url);
    void registerIdle();
    /// The network identity of the store's fetches.
    HTTPClientIds clientIds() const;
    void scheduleDelayed();
    VxIcon validIcon(VxIcon icon);
    static void delayInit(void* data);
    static void docWillClose(DkDoc doc, void* data);
    /// Marks the feed and its RSS sub-feeds, each once, so that a loop of sub-feeds ends.
    void setIsReadWalk(const CEStr& url, bool isRead, std::vector<CEStr>& seen);

    DocFeeds m_documentFeeds;
    FeedDocs m_feedDocuments;
    CAgg m_state;
    uint16_t m_idleRegistered = 0;
    uint16_t m_running = 0;
    std::map<CEStr, CFeedProc, CEStrLessNumbersFirst> m_feedProcs;
    std::vector<Observer*> m_observers;
    std::vector<CHFTObserver*> m_hftObservers;
    std::vector<CRSSAsyncUpdate> m_pending;
    std::map<CEStr, VxIcon, CEStrLessNumbersFirst> m_icons;
    std::map<CEStr, BinaryData, CEStrLessNumbersFirst> m_binaries;
    uint16_t m_delayedScheduled = 0;
    int32_t m_suspendCount = 0;
    int32_t m_clientIds[2] = {0, 0};
    uint16_t m_isSecondary = 0;
    uint16_t m_docNotifyRegistered = 0;
    /// The fetch or lookup under way: at most one, the queue's front.
    CAsyncHandler* m_inFlight = nullptr;
};
