#include "tracker/FeedRecords.h"

#include "frame/ZString.h"
#include "rss/CRSSManager.h"
#include "rss/CRSSReader.h"
#include "values/CAggWalk.h"

CAgg* ValueOf(CAgg& map, const char* key) {
    return CAggIsMap(map) && map.has(key) ? &map[key] : nullptr;
}

CEStr TextOf(CAgg& map, const char* key) {
    CAgg* value = ValueOf(map, key);
    if (!value || !CAggIsString(*value))
        return CEStr();
    return CAggValueText(*value);
}

bool HasText(CAgg& map, const char* key) {
    CEStr text = TextOf(map, key);
    return !text.isNull() && EStrGetLen(text) > 0;
}

long LongOf(CAgg& map, const char* key, long fallback) {
    CAgg* value = ValueOf(map, key);
    if (!value || value->getType() == CAgg::eVoid)
        return fallback;
    CAgg copy(*value);
    return copy.toQsInt32();
}

bool BoolOf(CAgg& map, const char* key) {
    CAgg* value = ValueOf(map, key);
    if (!value)
        return false;
    CAgg copy(*value);
    return copy.toQsBool() != 0;
}

CAgg* InboxExtension(CAgg& level, const char* localName) {
    CAgg* extension = ValueOf(level, "Extension");
    if (!extension)
        return nullptr;
    std::string key = std::string(kInboxNamespace) + ":" + localName;
    return ValueOf(*extension, key.c_str());
}

CAgg* FeedDescriptor(const _EStrRec* url) {
    CRSSManager* store = CRSSManager::sm_instance;
    if (!store || !url)
        return nullptr;
    CAgg* contents = ValueOf(store->state(), "Contents");
    if (!contents)
        return nullptr;
    CEStr key = CRSSManager::normalURL(url);
    long hash = EStrIndexOf(key, '#', true);
    if (hash >= 0)
        EStrCharTrunc(key, hash);
    if (!contents->has(key.get()))
        return nullptr;
    CAgg& descriptor = (*contents)[key];
    return CAggIsMap(descriptor) ? &descriptor : nullptr;
}

CAgg* FeedRecord(const _EStrRec* url) {
    CAgg* descriptor = FeedDescriptor(url);
    CAgg* record = descriptor ? ValueOf(*descriptor, "RSS") : nullptr;
    return record && CAggIsMap(*record) ? record : nullptr;
}

std::vector<CAgg>* RecordItems(CAgg& record) {
    CAgg* items = ValueOf(record, "Items");
    if (!items || items->getType() != CAgg::eVector)
        return nullptr;
    return &items->toVector();
}

CAgg* FeedItem(const _EStrRec* url, long index) {
    CAgg* record = FeedRecord(url);
    std::vector<CAgg>* items = record ? RecordItems(*record) : nullptr;
    if (!items || index < 0 || index >= static_cast<long>(items->size()))
        return nullptr;
    CAgg& item = (*items)[static_cast<size_t>(index)];
    return CAggIsMap(item) ? &item : nullptr;
}

bool FeedIsListed(const _EStrRec* url) {
    CRSSManager* store = CRSSManager::sm_instance;
    if (!store || !url)
        return false;
    return store->hasFeed(const_cast<EStr>(url));
}

std::string MessageText(const char* key,
                        const std::vector<std::pair<std::string, std::string>>& fills) {
    const char* message = miGetMessageUTF8(key);
    std::string text = message ? message : "";
    for (const auto& [place, value] : fills) {
        for (size_t at = text.find(place); at != std::string::npos;
             at = text.find(place, at + value.size()))
            text.replace(at, place.size(), value);
    }
    return text;
}

CEStr MessageEStr(const char* key) {
    return EStrFromUTF8(MessageText(key));
}
