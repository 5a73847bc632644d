#include "rss/JSRSS.h"

#include "frame/HostTables.h"
#include "frame/host/IIdle.h"
#include "frame/host/VxIconBundle.h"
#include "rss/CRSSManager.h"
#include "rss/RSSExports.h"
#include "values/CAggWalk.h"
#include "values/CES.h"
#include "values/CESArguments.h"
#include "values/CESConvert.h"
#include "values/CESNativeObject.h"
#include "values/CESStreams.h"
#include "values/QsStm.h"
#include "values/miUrl.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

using CES::Context;
using CES::Val;

namespace {

constexpr long kHelperFeedTTL = 10000; // minutes, for script, icon and presentation feeds

JSRSSAddUIProc gAddUIProc = nullptr;

/// The copies of URLs that RSS.update with "local" handed to delayed calls not yet run.
std::vector<CEStr*> gLocalUpdates;

QsAtom atomOf(const char* text) {
    return gCoreHFT ? gCoreHFT->atomFromString(text) : kQsNullAtom;
}

/// Store changes and feed contents are for batch and console scripts only.
void requirePrivilege(ESContext context) {
    if (!CES::isCurrentEventOneOf(context, {{"Batch", "Exec"}, {"Console", "Exec"}}))
        raiseHostError(kESErrSecurity);
}

/// A property of an object whose native side has gone has nothing left to tell; its methods do
/// nothing.
void requireLive(ESObject self) {
    if (CES::isDead(self))
        raiseHostError(kESErrDeadObject);
}

/// The store, started.
CRSSManager& runningStore() {
    CRSSManager& store = CRSSManager::instance();
    store.ensureIsRunning();
    return store;
}

CEStr urlOf(const CES::Arguments& a) {
    return EStrFromUTF8(a.text("cURL"));
}

/// Only web feeds may be subscribed from script: "feed://" and "file://" URLs are refused.
bool isWebURL(const std::string& url) {
    CrackedUrlRec cracked{};
    return miCrackUrl(url.c_str(), &cracked) == kUrlOK &&
           (cracked.scheme == kUrlHttp || cracked.scheme == kUrlHttps);
}

QsAtom typeOf(CAgg& descriptor) {
    if (!CAggIsMap(descriptor) || !descriptor.has("Type"))
        return kQsNullAtom;
    return CAgg(descriptor["Type"]).toQsAtom();
}

/// A helper feed: hidden, of its own Type, fetched rarely.
void addHelperFeed(CRSSManager& store, EStr url, bool persistent, const char* type) {
    store.addFeed(url, true, persistent);
    CAgg& descriptor = store.getFeedDescriptor(url);
    descriptor["Type"].toQsAtom() = atomOf(type);
    descriptor["TTL"] = CAgg(kHelperFeedTTL);
}

/// The delayed call of RSS.update with "local": the feed's views are drawn again, if the feed is
/// still there.
void DoUpdate(void* data) {
    auto* url = static_cast<CEStr*>(data);
    gLocalUpdates.erase(std::remove(gLocalUpdates.begin(), gLocalUpdates.end(), url),
                        gLocalUpdates.end());
    if (CRSSManager* store = CRSSManager::sm_instance; store && store->hasFeed(*url))
        store->notifyDidUpdate(*url);
    delete url;
}

/// The feed's icon as a read stream of its pixels, with its width and height.
bool giveIcon(CRSSManager& store, EStr url, const Context& context, ESVal result) {
    _t_VxIconBundleRec6* bundle = VxIconGetBundle(store.getIcon(url));
    if (!bundle || !bundle->handler->openStmProc)
        return true;
    int32_t width = 0, height = 0;
    if (bundle->handler->measureProc)
        bundle->handler->measureProc(bundle, &width, &height);
    QsStm pixels = bundle->handler->openStmProc(bundle, 0);
    if (!pixels)
        return true;
    // A copy: the icon goes with its feed, and the script may keep the stream longer.
    std::string bytes = QsStmReadAll(pixels);
    QsStmClose(pixels);
    Val stream(QsStmToESObject(context, QsMemStmRdOpen(std::move(bytes)), true));
    stream["width"] = Val(static_cast<double>(width), context);
    stream["height"] = Val(static_cast<double>(height), context);
    CES::setResult(result, stream);
    return true;
}

/// A script or presentation feed's text, when its contents have come.
bool giveText(CRSSManager& store, EStr url, QsAtom type, const Context& context, ESVal result) {
    const CRSSManager::BinaryData* binary = store.getBinary(url);
    if (!binary || binary->Type != type || !binary->data)
        return true;
    std::string bytes(reinterpret_cast<const char*>(binary->data), binary->size);
    CEStr ucs = CEStr::adopt(EStrCopySetEncoding(EStrFromUTF8(bytes), kEStrUCS));
    CES::setResult(result, Val(ucs.c_str(), context));
    return true;
}

} // namespace

void JSRSSSetAddUIProc(JSRSSAddUIProc proc) {
    gAddUIProc = proc;
}

bool JSRSSAddFeed(ESContext context, ESObject self, ESArgs args, ESVal) {
    return CES::scriptBoundary([&] {
        if (CES::isDead(self))
            return true;
        requirePrivilege(context);
        CES::Arguments a(context, args,
                         {{"cURL", true},
                          {"bHidden", false},
                          {"bPersistent", false},
                          {"cType", false},
                          {"bUpdateAsync", false}});
        if (!a.ok())
            return false;
        CRSSManager& store = runningStore();
        if (!isWebURL(a.text("cURL")))
            raiseHostError(kESErrBadArgument);
        CEStr url = urlOf(a);
        // A second subscription from script neither fetches nor counts a reference.
        if (store.hasFeed(url))
            return true;
        std::string type = a.text("cType");
        if (type == "JS") {
            addHelperFeed(store, url, false, "Code");
        } else if (type == "Icon") {
            addHelperFeed(store, url, true, "PNG");
        } else if (type == "UI") {
            addHelperFeed(store, url, true, "UI");
        } else {
            store.addFeed(url, a.flag("bHidden", false), a.flag("bPersistent", true));
            store.getFeedDescriptor(url)["Type"].toQsAtom() = atomOf("RSS");
        }
        store.updateFeed(url, a.flag("bUpdateAsync", true), true, false);
        return true;
    });
}

bool JSRSSRemoveFeed(ESContext context, ESObject self, ESArgs args, ESVal) {
    return CES::scriptBoundary([&] {
        if (CES::isDead(self))
            return true;
        requirePrivilege(context);
        CES::Arguments a(context, args, {{"cURL", true}});
        if (!a.ok())
            return false;
        CRSSManager& store = runningStore();
        CEStr url = urlOf(a);
        if (store.hasFeed(url))
            store.removeFeed(url);
        return true;
    });
}

bool JSRSSUpdate(ESContext context, ESObject self, ESArgs args, ESVal) {
    return CES::scriptBoundary([&] {
        if (CES::isDead(self))
            return true;
        // Any script may ask for a fresh copy of a feed that is already subscribed.
        CES::Arguments a(context, args, {{"cURL", false}, {"bAsync", false}, {"cType", false}});
        if (!a.ok())
            return false;
        CRSSManager& store = runningStore();
        CEStr url = urlOf(a);
        if (EStrGetLen(url) == 0) {
            store.update(true);
            return true;
        }
        if (!store.hasFeed(url))
            return true;
        std::string type = a.text("cType");
        if (type == "local") {
            // No fetch: the views are drawn again once the script has returned.
            IIdle* idle = HostIdle();
            if (!idle)
                return true;
            auto* copy = new CEStr(url);
            gLocalUpdates.push_back(copy);
            idle->scheduleDelayed(DoUpdate, copy, 0);
            return true;
        }
        store.updateFeed(url, a.flag("bAsync", true), true, type == "recursive");
        return true;
    });
}

bool JSRSSGetContents(ESContext context, ESObject self, ESArgs args, ESVal result) {
    return CES::scriptBoundary([&] {
        if (CES::isDead(self))
            return true;
        requirePrivilege(context);
        CES::Arguments a(context, args, {{"cURL", true}});
        if (!a.ok())
            return false;
        CRSSManager& store = runningStore();
        CEStr url = urlOf(a);
        if (!store.hasFeed(url))
            return true;
        Context scope(context);
        CAgg& descriptor = store.getFeedDescriptor(url);
        QsAtom type = typeOf(descriptor);
        if (type == atomOf("RSS")) {
            // A feed that has not arrived yet is a record without items.
            CAgg record = descriptor.has("RSS") ? CAgg(descriptor["RSS"]) : CAgg();
            if (record.getType() == CAgg::eVoid)
                record.toMap();
            CAggToESVal(result, record);
            return true;
        }
        if (type == atomOf("PNG"))
            return giveIcon(store, url, scope, result);
        if (type == atomOf("Code") || type == atomOf("UI"))
            return giveText(store, url, type, scope, result);
        return true;
    });
}

bool JSRSSAddUI(ESContext context, ESObject self, ESArgs args, ESVal) {
    return CES::scriptBoundary([&] {
        if (CES::isDead(self))
            return true;
        requirePrivilege(context);
        CES::Arguments a(context, args, {{"cURL", true}, {"oDriver", true}});
        if (!a.ok())
            return false;
        runningStore();
        ESObject driver = a.object("oDriver");
        if (!driver)
            raiseHostError(kESErrBadArgument);
        // Without the presentation manager there is nobody to hand the driver to.
        if (!gAddUIProc)
            raiseHostError(kESErrSecurity);
        gAddUIProc(context, urlOf(a), driver);
        return true;
    });
}

bool JSRSSGetFeeds(ESContext context, ESObject self, ESVal result) {
    return CES::scriptBoundary([&] {
        requireLive(self);
        requirePrivilege(context);
        CRSSManager& store = runningStore();
        Context scope(context);
        Val list = CES::newArray(scope);
        long index = 0;
        for (CEStr& url : store.feeds()) {
            CEStr ucs = CEStr::adopt(EStrCopySetEncoding(url, kEStrUCS));
            list[index++] = Val(ucs.c_str(), scope);
        }
        CES::setResult(result, list);
        return true;
    });
}

bool JSRSSGetHasExternalReader(ESContext context, ESObject self, ESVal result) {
    return CES::scriptBoundary([&] {
        requireLive(self);
        runningStore();
        // Whether another program reads "feed://" URLs does not change while the process runs.
        static const bool hasReader = SupportsFeedProtocol();
        CES::setResult(result, Val(hasReader, Context(context)));
        return true;
    });
}

void JSRSSCancelLocalUpdates() {
    std::vector<CEStr*> waiting;
    waiting.swap(gLocalUpdates);
    IIdle* idle = HostIdle();
    for (CEStr* url : waiting) {
        if (idle)
            idle->cancelDelayed(DoUpdate, url);
        delete url;
    }
}
