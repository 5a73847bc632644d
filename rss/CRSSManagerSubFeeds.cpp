// The sub-feeds that a feed names in its extension keys: its icon, its script, and the feeds of
// its items' comments, which come along with it.
#include "frame/HostTables.h"
#include "rss/CRSSManager.h"
#include "rss/CRSSReader.h"
#include "values/CAggWalk.h"
#include "values/miUrl.h"

#include <string>

namespace {

constexpr long kInternalTTL = 10000; // minutes, for icon and script feeds
constexpr long kRelativeURLSize = 1024;
constexpr char kCommentAPINamespace[] = "http://wellformedweb.org/CommentAPI/";

QsAtom atomOf(const char* text) {
    return gCoreHFT ? gCoreHFT->atomFromString(text) : kQsNullAtom;
}

CAgg* lookUp(CAgg& map, const char* key) {
    return CAggIsMap(map) && map.has(key) ? &map[key] : nullptr;
}

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

bool isRelative(const CEStr& value) {
    CrackedUrlRec cracked{};
    return miCrackUrl(value.c_str(), &cracked) == kUrlOK && cracked.scheme == kUrlNone;
}

bool isAbsolute(const CEStr& value) {
    CrackedUrlRec cracked{};
    return miCrackUrl(value.c_str(), &cracked) == kUrlOK && cracked.scheme != kUrlNone;
}

QName inboxName(const char* local) {
    return QName{CEStr(local, kEStrPDFDoc), CEStr(kInboxNamespace, kEStrPDFDoc)};
}

} // namespace

CEStr CRSSManager::getSubFeedExt(const QName& name, EStr url, long index) {
    CAgg* descriptor = url ? findDescriptor(url) : nullptr;
    if (!descriptor || !CAggIsMap(*descriptor))
        return CEStr();
    CAgg* record = lookUp(*descriptor, "RSS");
    if (!record || !CAggIsMap(*record))
        return CEStr();
    CEStr base(url);
    if (isServiceURL(url)) {
        CAgg* resolved = lookUp(*descriptor, "ResolvedURL");
        if (resolved && CAggIsString(*resolved) && EStrGetLen(resolved->toEStr()))
            base = resolved->toEStr();
    }
    std::string key = std::string(name.nameSpace.c_str()) + ":" + name.name.c_str();
    CEStr value = extensionValue(*record, index, key.c_str());
    if (value.isNull())
        return value;
    bool local = isLocalURL(url);
    if (isLocalURL(value) || local) {
        if (!local || index < 0 || isAbsolute(value))
            return value;
        // An item of a local feed resolves against its own base, if it names one.
        std::string baseKey = std::string(kInboxNamespace) + ":baseURL";
        CEStr itemBase = extensionValue(*record, index, baseKey.c_str());
        return itemBase.isNull() ? CEStr() : combine(itemBase.c_str(), value.c_str());
    }
    if (isRelative(value))
        return combine(base.c_str(), value.c_str());
    return value;
}

CEStr CRSSManager::getUISubFeed(EStr url, long index) {
    return getSubFeedExt(inboxName("feedUI"), url, index);
}

CEStr CRSSManager::getIconSubFeed(EStr url, long index) {
    return getSubFeedExt(inboxName("icon"), url, index);
}

CEStr CRSSManager::getRSSSubFeed(EStr url, long index) {
    CEStr own = getSubFeedExt(inboxName("subfeed"), url, index);
    if (!own.isNull())
        return own;
    QName comments{CEStr("commentRSS", kEStrPDFDoc), CEStr(kCommentAPINamespace, kEStrPDFDoc)};
    return getSubFeedExt(comments, url, index);
}

std::vector<CAgg> CRSSManager::getSubFeeds(EStr url) {
    std::vector<CAgg> subFeeds;
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
    add(getIconSubFeed(url, -1), "PNG", false);
    add(getUISubFeed(url, -1), "UI", false);
    long count = url ? countArticles(url) : 0;
    for (long i = 0; i < count; ++i) {
        add(getIconSubFeed(url, i), "PNG", false);
        add(getUISubFeed(url, i), "UI", false);
        add(getRSSSubFeed(url, i), "RSS", true);
    }
    return subFeeds;
}

void CRSSManager::prefetch(EStr url) {
    if (m_isSecondary || !url)
        return;
    CEStr kept = normalURL(url);
    for (CAgg& sub : getSubFeeds(kept)) {
        CEStr subURL(CAggValueText(sub["URL"]));
        // A feed that names itself is not its own sub-feed.
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

VxDoc CRSSManager::getFeedDocument(EStr url) {
    if (!url)
        return nullptr;
    auto found = m_feedDocuments.find(normalURL(url));
    return found == m_feedDocuments.end() ? nullptr : found->second;
}
