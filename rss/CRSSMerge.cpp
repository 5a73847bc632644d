#include "rss/CRSSMerge.h"

#include "rss/CRSSReader.h"
#include "values/CAggWalk.h"

#include <string>
#include <unordered_map>

namespace {

enum KeyKind { kGuid, kLink, kHash, kKindCount };

/// The item's keys, looked up by atom in an atom map (as the reader makes them) and by text in
/// a text map (as a restored state holds them).
struct ItemKeys {
    CEStr text[kKindCount] = {CEStr("Guid"), CEStr("Link"), CEStr("Hash")};
    CEStr isRead{"IsRead"};
    QsAtom atoms[kKindCount] = {kRSSKeyGuid, kRSSKeyLink, kRSSKeyHash};

    CAgg* find(CAgg& item, int kind) const {
        if (item.getType() == CAgg::eQsAtomMap)
            return item.has(atoms[kind]) ? &item[atoms[kind]] : nullptr;
        if (item.getType() == CAgg::eMap)
            return item.has(text[kind].get()) ? &item[text[kind]] : nullptr;
        return nullptr;
    }
};

bool isAscii(const char* bytes, long length) {
    for (long i = 0; i < length; ++i)
        if (static_cast<unsigned char>(bytes[i]) >= 0x80)
            return false;
    return true;
}

/// The text of a value in a form that two values share exactly when they hold the same text,
/// whatever their encodings: ASCII text as its bytes, any other as its UCS units after a mark
/// byte that no ASCII text starts with. Empty for a missing or empty value.
std::string textKey(CAgg* value) {
    if (!value)
        return {};
    CEStr converted;
    const _EStrRec* text;
    if (value->getType() == CAgg::eEStr) {
        text = value->toEStr();
    } else {
        if (!CAggIsString(*value) && value->getType() != CAgg::eQsInt32 &&
            value->getType() != CAgg::eDouble && value->getType() != CAgg::eQsAtom)
            return {};
        converted = CAggValueText(*value);
        text = converted;
    }
    if (!text)
        return {};
    const char* bytes = EStrGetBytes(text);
    long length = EStrGetLen(text);
    int32_t encoding = EStrGetEncoding(text);
    if (encoding != kEStrUCS && isAscii(bytes, length))
        return std::string(bytes, static_cast<size_t>(length));
    CEStr ucs = CEStr::adopt(EStrCopySetEncoding(text, kEStrUCS));
    const char* units = EStrGetBytes(ucs);
    long count = EStrGetLen(ucs);
    long start = 0;
    if (count >= 2 && static_cast<unsigned char>(units[0]) == 0xFE &&
        static_cast<unsigned char>(units[1]) == 0xFF)
        start = 2;
    bool ascii = true;
    for (long i = start; i + 1 < count && ascii; i += 2)
        ascii = units[i] == 0 && static_cast<unsigned char>(units[i + 1]) < 0x80;
    std::string key;
    if (ascii) {
        for (long i = start; i + 1 < count; i += 2)
            key.push_back(units[i + 1]);
        return key;
    }
    key.push_back('\xFF');
    key.append(units + start, static_cast<size_t>(count - start));
    return key;
}

bool readFlag(CAgg& item, const ItemKeys& keys) {
    CAgg* flag = nullptr;
    if (item.getType() == CAgg::eQsAtomMap) {
        static const CLazyAtom isRead{"IsRead"};
        flag = item.has(isRead) ? &item[isRead.get()] : nullptr;
    } else if (item.getType() == CAgg::eMap && item.has(keys.isRead.get())) {
        flag = &item[keys.isRead];
    }
    if (!flag)
        return false;
    CAgg copy(*flag);
    return copy.toQsBool() != 0;
}

} // namespace

void RSSMergeReadState(CAgg& oldItems, CAgg& newItems) {
    if (newItems.getType() != CAgg::eVector)
        return;
    const ItemKeys keys;
    // For each key kind, the text of an old item of that kind to the first such item's flag.
    std::unordered_map<std::string, std::pair<size_t, bool>> index[kKindCount];
    if (oldItems.getType() == CAgg::eVector) {
        CAgg::CAggVector& old = oldItems.toVector();
        for (auto& map : index)
            map.reserve(old.size());
        for (size_t i = 0; i < old.size(); ++i) {
            for (int kind = 0; kind < kKindCount; ++kind) {
                std::string text = textKey(keys.find(old[i], kind));
                if (text.empty())
                    continue;
                // The first old item of a key wins; later ones never match before it.
                index[kind].try_emplace(std::move(text), i, readFlag(old[i], keys));
                break;
            }
        }
    }
    static const CLazyAtom isReadAtom{"IsRead"};
    for (CAgg& item : newItems.toVector()) {
        if (!CAggIsMap(item))
            continue;
        size_t best = SIZE_MAX;
        bool isRead = false;
        for (int kind = 0; kind < kKindCount; ++kind) {
            if (index[kind].empty())
                continue;
            std::string text = textKey(keys.find(item, kind));
            if (text.empty())
                continue;
            auto found = index[kind].find(text);
            if (found != index[kind].end() && found->second.first < best) {
                best = found->second.first;
                isRead = found->second.second;
            }
        }
        if (item.getType() == CAgg::eQsAtomMap)
            item[isReadAtom.get()].toQsBool() = isRead;
        else
            item[keys.isRead].toQsBool() = isRead;
    }
}
