// The store's look-ups of the URLs a feed names for its items: presentation, icon and comment
// thread, and of the document a feed belongs to.
#include "rss/CRSSManager.h"
#include "rss/CRSSReader.h"
#include "values/CAggWalk.h"
#include "values/miUrl.h"

#include <string>

namespace {

constexpr long kRelativeURLSize = 1024;

CAgg* lookUp(CAgg& map, const char* key) {
    return CAggIsMap(map) && map.has(key) ? &map[key] : nullptr;
}

/// The extension value of a key at a level, or empty.
CEStr extensionText(CAgg& level, const char* key) {
    CAgg* extension = lookUp(level, "Extension");
    if (!extension || !CAggIsMap(*extension) || !extension->has(key))
        return CEStr();
    CEStr text = CAggValueText((*extension)[key]);
    return EStrGetLen(text) ? text : CEStr();
}

bool isRelative(const char* url) {
    CrackedUrlRec cracked{};
    return miCrackUrl(url, &cracked) == kUrlOK && cracked.scheme == kUrlNone;
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

CEStr CRSSManager::getSubFeedExt(const char* qname, EStr url, long index) {
    if (!qname || !url)
        return CEStr();
    CAgg& contents = m_state["Contents"];
    CEStr key = normalURL(url);
    if (!CAggIsMap(contents) || !contents.has(key.get()))
        return CEStr();
    CAgg& descriptor = contents[key];
    CAgg* record = lookUp(descriptor, "RSS");
    if (!record || !CAggIsMap(*record))
        return CEStr();
    CAgg* level = record;
    if (index >= 0) {
        CAgg* items = lookUp(*record, "Items");
        if (!items || items->getType() != CAgg::eVector ||
            index >= static_cast<long>(items->toVector().size()))
            return CEStr();
        level = &items->toVector()[static_cast<size_t>(index)];
    }
    CEStr value = extensionText(*level, qname);
    if (value.isNull())
        return value;
    CEStr base(key);
    if (isServiceURL(key)) {
        CAgg* resolved = lookUp(descriptor, "ResolvedURL");
        if (resolved && CAggIsString(*resolved) && EStrGetLen(resolved->toEStr()))
            base = resolved->toEStr();
    }
    bool local = isLocalURL(key);
    if (isLocalURL(value) || (local && index < 0))
        return value;
    if (local) {
        // An item of a local feed resolves against its own base, if it names one.
        if (!isRelative(value.c_str()))
            return value;
        CEStr itemBase = extensionText(*level, (std::string(kInboxNamespace) + ":baseURL").c_str());
        return itemBase.isNull() ? CEStr() : combine(itemBase.c_str(), value.c_str());
    }
    if (isRelative(value.c_str()))
        return combine(base.c_str(), value.c_str());
    return value;
}

CEStr CRSSManager::getUISubFeed(EStr url, long index) {
    return getSubFeedExt((std::string(kInboxNamespace) + ":feedUI").c_str(), url, index);
}

CEStr CRSSManager::getIconSubFeed(EStr url, long index) {
    return getSubFeedExt((std::string(kInboxNamespace) + ":icon").c_str(), url, index);
}

CEStr CRSSManager::getRSSSubFeed(EStr url, long index) {
    CEStr subfeed = getSubFeedExt((std::string(kInboxNamespace) + ":subfeed").c_str(), url, index);
    if (!subfeed.isNull())
        return subfeed;
    return getSubFeedExt("http://wellformedweb.org/CommentAPI/:commentRSS", url, index);
}

VxDoc CRSSManager::getFeedDocument(EStr url) {
    if (!url)
        return nullptr;
    auto found = m_feedDocuments.find(normalURL(url));
    return found == m_feedDocuments.end() ? nullptr : found->second;
}
