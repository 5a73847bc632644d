// The store's persistence (the cabinets "Collab", "RSS" and "Collab", "RSSBinary"), its binaries
// and icons, and suspend and resume around another instance's changes.
#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/ZString.h"
#include "frame/host/IIcons.h"
#include "frame/host/IVellView.h"
#include "frame/host/VxIconBundle.h"
#include "rss/CRSSManager.h"
#include "values/CAggWalk.h"
#include "values/QsCab.h"
#include "values/miUrl.h"

#include <cstdio>
#include <cstring>
#include <optional>
#include <set>

namespace {

/// The viewer's icon decoder; null when it has none.
IIcons* platformIcons() {
    return gVellViewHFT ? gVellViewHFT->icons() : nullptr;
}

QsAtom atomOf(const char* text) {
    return gCoreHFT ? gCoreHFT->atomFromString(text) : kQsNullAtom;
}

QsAtom typeOf(CAgg& descriptor) {
    if (!CAggIsMap(descriptor) || !descriptor.has("Type"))
        return kQsNullAtom;
    CAgg copy(descriptor["Type"]);
    if (!CAggIsString(copy) && copy.getType() != CAgg::eQsAtom)
        return kQsNullAtom;
    return copy.toQsAtom();
}

bool isTrue(CAgg& map, const char* key) {
    if (!CAggIsMap(map) || !map.has(key))
        return false;
    CAgg copy(map[key]);
    return copy.toQsBool() != 0;
}

unsigned char* copyBytes(const std::string& bytes, size_t extra) {
    auto* copy = static_cast<unsigned char*>(QsMalloc(bytes.size() + extra + 1));
    if (!copy)
        return nullptr;
    std::memcpy(copy, bytes.data(), bytes.size());
    std::memset(copy + bytes.size(), 0, extra + 1);
    return copy;
}

/// Writes a cabinet under "Collab" in one step and destroys it; a host that cannot write leaves
/// the stored state as it was.
void saveWhole(ICabinets& cabs, QsCab cab, const char* name) {
    try {
        cabs.saveCabinet(cab, "Collab", name);
    } catch (const HostError&) {
    }
    cabs.destroyCabinet(cab);
}

/// Marks a descriptor verified for as long as it lives, then puts back what it had.
class StoredAsVerified {
public:
    explicit StoredAsVerified(CAgg& descriptor)
        : m_descriptor(descriptor), m_had(descriptor.has("Verified")) {
        if (m_had)
            m_old = descriptor["Verified"];
        descriptor["Verified"].toQsBool() = 1;
    }
    ~StoredAsVerified() {
        if (m_had)
            m_descriptor["Verified"] = std::move(m_old);
        else
            CAggRemoveKey(m_descriptor, "Verified");
    }
    StoredAsVerified(const StoredAsVerified&) = delete;
    StoredAsVerified& operator=(const StoredAsVerified&) = delete;

private:
    CAgg& m_descriptor;
    bool m_had;
    CAgg m_old;
};

} // namespace

// Binaries and icons.

void CRSSManager::eraseBinary(const _EStrRec* url) {
    auto found = m_binaries.find(normalURL(url));
    if (found == m_binaries.end())
        return;
    QsFree(found->second.data);
    m_binaries.erase(found);
}

void CRSSManager::releaseIcon(const _EStrRec* url) {
    auto found = m_icons.find(normalURL(url));
    if (found == m_icons.end())
        return;
    if (found->second && platformIcons())
        platformIcons()->releaseIcon(found->second);
    found->second = nullptr;
}

VxIcon CRSSManager::validIcon(VxIcon icon) {
    _t_VxIconBundleRec6* bundle = VxIconGetBundle(icon);
    int32_t width = 0, height = 0;
    if (bundle && bundle->handler->measureProc)
        bundle->handler->measureProc(bundle, &width, &height);
    // Tree icons are small: anything from 6 to 29 pixels a side.
    if (bundle && width >= 6 && width <= 29 && height >= 6 && height <= 29)
        return icon;
    if (icon && platformIcons())
        platformIcons()->releaseIcon(icon);
    return nullptr;
}

void CRSSManager::addIcon(EStr url, unsigned char* bytes, uint32_t size) {
    CEStr key = normalURL(url);
    eraseBinary(key);
    m_binaries[key] = BinaryData{typeOf(getFeedDescriptor(key)), bytes, size};
    releaseIcon(key);
    IIcons* icons = platformIcons();
    VxIcon icon = icons && bytes ? validIcon(icons->iconFromPNG(bytes, size)) : nullptr;
    m_icons[key] = icon;
}

void CRSSManager::addCode(EStr url, unsigned char* bytes, uint32_t size) {
    CEStr key = normalURL(url);
    eraseBinary(key);
    m_binaries[key] = BinaryData{typeOf(getFeedDescriptor(key)), bytes, size};
    // A UI feed's script reaches the presentation layer through didUpdate, which reads it back
    // with getBinary.
}

const CRSSManager::BinaryData* CRSSManager::getBinary(EStr url) {
    if (!url)
        return nullptr;
    auto found = m_binaries.find(normalURL(url));
    return found == m_binaries.end() ? nullptr : &found->second;
}

VxIcon CRSSManager::getIcon(EStr given) {
    if (!given || EStrGetLen(given) == 0)
        return nullptr;
    CEStr url = normalURL(given);
    CrackedUrlRec cracked{};
    if (miCrackUrl(url.c_str(), &cracked) != kUrlOK)
        return nullptr;
    auto found = m_icons.find(url);
    if (found != m_icons.end())
        return found->second;
    if (!isLocalURL(url) || !platformIcons())
        return nullptr;
    // The rest of the URL, cut to 127 bytes, names a built-in icon.
    char name[128];
    std::snprintf(name, sizeof name, "%s", url.c_str() + std::strlen("local://"));
    size_t size = 0;
    auto* bytes = static_cast<unsigned char*>(mdGetDataFromName(name, &size));
    VxIcon icon = bytes ? validIcon(platformIcons()->iconFromPNG(bytes, size)) : nullptr;
    QsFree(bytes);
    m_icons[url] = icon;
    return icon;
}

// Persistence.

void CRSSManager::storeFeedContents(bool isShutdown) {
    if (!m_running && !m_isSecondary)
        return;
    ICabinets* cabs = HostCabinets();
    if (!cabs)
        return;
    CAgg::CAggVector kept;
    for (CAgg& entry : m_state["Feeds"].toVector()) {
        if (!CAggIsString(entry))
            continue;
        EStr url = entry.toEStr();
        // A transient feed lasts until the viewer quits; a local one always stays.
        if (isLocalURL(url) || !isShutdown || isTrue(getFeedDescriptor(url), "Persistent"))
            kept.push_back(entry);
    }
    if (isShutdown)
        m_state["Feeds"].toVector() = kept;

    // Each cabinet is written whole in one step of the host's, so that a process killed at any
    // moment leaves the old state or the new one. It does not go through the shared local
    // cabinet: that would read the old file twice, to empty it and to compare it at release,
    // which for a large store costs more than the write. The descriptors go into the cabinet
    // as they stand, without a copy of the state: the cabinet is laid out as CAgg2QsCab lays
    // out a map of "Contents", "Feeds" and "OpenState", in that order.
    QsCab rss = QsCabNew();
    try {
        QsCab contents = QsCabNew();
        cabs->putCabinet(rss, "Contents", contents);
        std::set<CEStr, CEStrLessNumbersFirst> urls;
        for (CAgg& entry : kept)
            urls.insert(CEStr(entry.toEStr()));
        for (const CEStr& url : urls) {
            CAgg& descriptor = getFeedDescriptor(url);
            // A feed known at shutdown is not unverified at the next start; the live
            // descriptor keeps what it had.
            std::optional<StoredAsVerified> verified;
            if (isShutdown && CAggIsMap(descriptor))
                verified.emplace(descriptor);
            QsCabPutCAgg(contents, 2, url, descriptor);
        }
        CAgg feeds;
        feeds.toVector() = std::move(kept);
        QsCabPutCAgg(rss, 1, CEStr("Feeds"), feeds);
        QsCabPutCAgg(rss, 1, CEStr("OpenState"), m_state["OpenState"]);
    } catch (const HostError&) {
        QsCabDestroy(rss);
        throw;
    }
    saveWhole(*cabs, rss, "RSS");

    QsCab binary = cabs->newCabinet();
    int counter = 0;
    for (auto& [url, data] : m_binaries) {
        QsCab entry = cabs->newCabinet();
        cabs->putAtom(entry, "Type", data.Type);
        CQsText text;
        QsTextFromEStr(url, text.get());
        cabs->putText(entry, "URL", *text.get());
        cabs->putBinary(entry, "Content", data.data, data.size);
        char key[16];
        std::snprintf(key, sizeof key, "%d", counter++);
        cabs->putCabinet(binary, key, entry);
    }
    saveWhole(*cabs, binary, "RSSBinary");
}

void CRSSManager::restoreFeedContents(bool) {
    ICabinets* cabs = HostCabinets();
    if (!cabs)
        return;
    CAgg stored;
    try {
        QsCab rss = QsCabAcquireLocalTemp("Collab", "RSS");
        QsCab2CAgg(stored, rss);
        QsCabReleaseLocalTemp(rss);
    } catch (const HostError&) {
        // An unreadable cabinet leaves the state as it was.
        stored = CAgg();
    }
    if (CAggIsMap(stored)) {
        if (CAgg* feeds = stored.has("Feeds") ? &stored["Feeds"] : nullptr;
            feeds && feeds->getType() == CAgg::eVector) {
            std::set<CEStr, CEStrLessNumbersFirst> live;
            for (CAgg& entry : m_state["Feeds"].toVector())
                if (CAggIsString(entry))
                    live.insert(normalURL(entry.toEStr()));
            for (CAgg& entry : feeds->toVector()) {
                if (!CAggIsString(entry) || EStrGetLen(entry.toEStr()) == 0)
                    continue;
                // Live order goes first; a stored URL the store has already is not doubled.
                CEStr url = normalURL(entry.toEStr());
                if (live.insert(url).second)
                    m_state["Feeds"].toVector().emplace_back(url.get());
            }
        }
        if (stored.has("Contents") && CAggIsMap(stored["Contents"]))
            CAggForEachEntry(stored["Contents"], [&](const CEStr& url, CAgg& descriptor) {
                // A descriptor of another kind than a map is damage; an empty slot is not.
                if (CAggIsMap(descriptor) || descriptor.getType() == CAgg::eVoid ||
                    descriptor.getType() == CAgg::eVector)
                    m_state["Contents"][normalURL(url)] =
                        descriptor.getType() == CAgg::eVector ? CAgg() : std::move(descriptor);
            });
        if (stored.has("OpenState")) {
            // An empty map is stored as an empty cabinet, which reads back as a vector.
            CAgg& openState = stored["OpenState"];
            if (CAggIsMap(openState))
                m_state["OpenState"] = std::move(openState);
            else if (openState.getType() == CAgg::eVector && openState.toVector().empty())
                m_state["OpenState"].toMap().clear();
        }
    }

    try {
        QsCab binary = QsCabAcquireLocalTemp("Collab", "RSSBinary");
        for (const QsCabKeyInfo& info : cabs->keys(binary)) {
            if (info.kind != kQsCabCabinet)
                continue;
            convertToBin(cabs->getCabinet(binary, info.key.c_str()));
        }
        QsCabReleaseLocalTemp(binary);
    } catch (const HostError&) {
    }

    for (CEStr& url : feeds()) {
        QsAtom type = typeOf(getFeedDescriptor(url));
        bool binaryType =
            type && (type == atomOf("UI") || type == atomOf("Code") || type == atomOf("PNG"));
        // Contents that did not come back are fetched again.
        if (binaryType && !m_binaries.contains(url))
            setStale(url);
    }
}

void CRSSManager::convertToBin(QsCab entry) {
    ICabinets* cabs = HostCabinets();
    if (!cabs || !entry)
        return;
    try {
        std::optional<QsAtom> type = cabs->getAtom(entry, "Type");
        std::optional<std::string> content = cabs->getBinary(entry, "Content");
        CEStr url;
        if (std::optional<std::u16string> text = cabs->getText(entry, "URL"))
            url = CEStr::adopt(EStrNewFromQsUns16WithLen(
                reinterpret_cast<const uint16_t*>(text->data()), static_cast<long>(text->size())));
        else if (std::optional<std::string> bytes = cabs->getString(entry, "URL"))
            url = CEStr(bytes->c_str(), kEStrHost);
        if (!type || !content || url.isNull() || EStrGetLen(url) == 0 || content->empty())
            return;
        if (*type == atomOf("PNG")) {
            if (unsigned char* bytes = copyBytes(*content, 0))
                addIcon(url, bytes, static_cast<uint32_t>(content->size()));
        } else if (*type == atomOf("Code") || *type == atomOf("UI")) {
            if (unsigned char* bytes = copyBytes(*content, 1))
                addCode(url, bytes, static_cast<uint32_t>(content->size()));
        }
    } catch (const HostError&) {
        // One bad entry is skipped; the others still come back.
    }
}

void CRSSManager::suspend(bool) {
    if (m_suspendCount++ > 0)
        return;
    cancelPendingUpdates();
    storeFeedContents(false);
}

void CRSSManager::resume(bool) {
    if (m_suspendCount == 0 || --m_suspendCount > 0)
        return;
    restoreFeedContents(false);
    update(true);
}
