#include "host/document/CHostDocumentModel.h"

#include "frame/HostError.h"

#include <algorithm>
#include <unordered_map>

namespace {

// The kind of a handle sits in its top byte.
constexpr int kKindShift = 56;
constexpr uint64_t kKindBoolean = 1;
constexpr uint64_t kKindInteger = 2;
constexpr uint64_t kKindFixed = 3;
constexpr uint64_t kKindName = 4;
constexpr uint64_t kKindStored = 5;
constexpr uint32_t kMaxStoreSerial = 0xFFFFFF;
constexpr int32_t kMaxPages = 65534;

uint64_t kindOf(LobObj object) {
    return object.bits >> kKindShift;
}

LobObj inlineObj(uint64_t kind, uint32_t value) {
    return LobObj{(kind << kKindShift) | value};
}

LobDoc lobDocHandle(uint32_t serial) {
    return reinterpret_cast<LobDoc>(static_cast<uintptr_t>(serial));
}

uint32_t lobDocSerial(LobDoc doc) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(doc));
}

DkDoc dkDocHandle(uintptr_t id) {
    return reinterpret_cast<DkDoc>(id);
}

DkPage pageHandle(uintptr_t document, int32_t number) {
    return reinterpret_cast<DkPage>((document << 16) | static_cast<uintptr_t>(number + 1));
}

} // namespace

CHostDocumentModel::CHostDocumentModel() = default;
CHostDocumentModel::~CHostDocumentModel() = default;

LobObj CHostDocumentModel::storedObj(uint32_t store, uint32_t id) {
    return LobObj{(kKindStored << kKindShift) | (static_cast<uint64_t>(store) << 32) | id};
}

bool CHostDocumentModel::isStored(LobObj object) {
    return kindOf(object) == kKindStored;
}

uint32_t CHostDocumentModel::storeSerial(LobObj object) {
    return static_cast<uint32_t>((object.bits >> 32) & kMaxStoreSerial);
}

uint32_t CHostDocumentModel::nodeId(LobObj object) {
    return static_cast<uint32_t>(object.bits & 0xFFFFFFFFu);
}

CHostDocumentModel::Store& CHostDocumentModel::storeOf(LobDoc doc) {
    auto found = m_stores.find(lobDocSerial(doc));
    if (!doc || found == m_stores.end())
        raiseHostError(kHostErrBadLobDoc);
    return found->second;
}

CHostDocumentModel::Node& CHostDocumentModel::nodeOf(LobObj object) {
    if (!isStored(object))
        raiseHostError(kHostErrBadLobObj);
    auto store = m_stores.find(storeSerial(object));
    if (store == m_stores.end())
        raiseHostError(kHostErrBadLobObj);
    auto node = store->second.nodes.find(nodeId(object));
    if (node == store->second.nodes.end())
        raiseHostError(kHostErrBadLobObj);
    return node->second;
}

CHostDocumentModel::Node& CHostDocumentModel::nodeOfType(LobObj object, LobObjType type) {
    Node& node = nodeOf(object);
    if (node.type != type)
        raiseHostError(kHostErrLobType);
    return node;
}

int32_t CHostDocumentModel::objCompare(LobObj a, LobObj b) {
    if (a.bits == b.bits)
        return 0;
    return a.bits < b.bits ? -1 : 1;
}

bool CHostDocumentModel::objIsIndirect(LobObj object) {
    return isStored(object) && nodeOf(object).indirect;
}

LobObjType CHostDocumentModel::objGetType(LobObj object) {
    switch (kindOf(object)) {
    case 0:
        return LobObjType::Null;
    case kKindBoolean:
        return LobObjType::Boolean;
    case kKindInteger:
        return LobObjType::Integer;
    case kKindFixed:
        return LobObjType::Fixed;
    case kKindName:
        return LobObjType::Name;
    case kKindStored:
        return nodeOf(object).type;
    default:
        raiseHostError(kHostErrBadLobObj);
    }
}

LobDoc CHostDocumentModel::objGetLobDoc(LobObj object) {
    if (!isStored(object))
        return nullptr;
    nodeOf(object);
    return lobDocHandle(storeSerial(object));
}

LobObj CHostDocumentModel::objCopyToDoc(LobObj object, LobDoc target) {
    Store& into = storeOf(target);
    if (!isStored(object))
        return object;
    nodeOf(object);
    uint32_t targetSerial = lobDocSerial(target);
    // Breadth first over everything reachable, so that cycles and shared children are copied
    // once and no recursion depth depends on the input.
    std::unordered_map<uint64_t, uint32_t> copied;
    std::vector<LobObj> pending;
    auto assign = [&](LobObj source) -> LobObj {
        if (!isStored(source))
            return source;
        auto found = copied.find(source.bits);
        if (found != copied.end())
            return storedObj(targetSerial, found->second);
        auto store = m_stores.find(storeSerial(source));
        if (store == m_stores.end() || !store->second.nodes.count(nodeId(source)))
            return LobObj{}; // a dangling child copies as null
        uint32_t id = into.nextId++;
        copied.emplace(source.bits, id);
        pending.push_back(source);
        return storedObj(targetSerial, id);
    };
    LobObj result = assign(object);
    while (!pending.empty()) {
        LobObj source = pending.back();
        pending.pop_back();
        Node copy = nodeOf(source);
        for (auto& item : copy.items)
            item = assign(item);
        for (auto& entry : copy.entries)
            entry.second = assign(entry.second);
        into.nodes[copied[source.bits]] = std::move(copy);
    }
    return result;
}

void CHostDocumentModel::objDestroy(LobObj object) {
    if (!isStored(object))
        return;
    nodeOf(object);
    Store& store = m_stores[storeSerial(object)];
    // Direct children belong to their parent and go with it; indirect ones stay.
    std::vector<uint32_t> doomed{nodeId(object)};
    while (!doomed.empty()) {
        uint32_t id = doomed.back();
        doomed.pop_back();
        auto node = store.nodes.find(id);
        if (node == store.nodes.end())
            continue;
        auto collect = [&](LobObj child) {
            if (!isStored(child) || storeSerial(child) != storeSerial(object))
                return;
            auto found = store.nodes.find(nodeId(child));
            if (found != store.nodes.end() && !found->second.indirect)
                doomed.push_back(nodeId(child));
        };
        for (LobObj item : node->second.items)
            collect(item);
        for (auto& entry : node->second.entries)
            collect(entry.second);
        store.nodes.erase(node);
    }
}

LobObj CHostDocumentModel::objNewString(LobDoc doc, const char* bytes, long length, bool indirect) {
    Store& store = storeOf(doc);
    Node node;
    node.type = LobObjType::String;
    node.indirect = indirect;
    if (bytes && length > 0)
        node.bytes.assign(bytes, static_cast<size_t>(length));
    uint32_t id = store.nextId++;
    store.nodes.emplace(id, std::move(node));
    return storedObj(lobDocSerial(doc), id);
}

LobObj CHostDocumentModel::objNewInteger(LobDoc, int32_t value) {
    return inlineObj(kKindInteger, static_cast<uint32_t>(value));
}

LobObj CHostDocumentModel::objNewName(LobDoc, const char* name) {
    std::string text = name ? name : "";
    auto found = m_nameIndex.find(text);
    if (found != m_nameIndex.end())
        return inlineObj(kKindName, found->second);
    auto index = static_cast<uint32_t>(m_names.size());
    m_names.push_back(text);
    m_nameIndex.emplace(std::move(text), index);
    return inlineObj(kKindName, index);
}

LobObj CHostDocumentModel::objNewBoolean(LobDoc, bool value) {
    return inlineObj(kKindBoolean, value ? 1 : 0);
}

LobObj CHostDocumentModel::objNewFixed(LobDoc, int32_t fixedValue) {
    return inlineObj(kKindFixed, static_cast<uint32_t>(fixedValue));
}

LobObj CHostDocumentModel::objNewDict(LobDoc doc, bool indirect, long) {
    Store& store = storeOf(doc);
    Node node;
    node.type = LobObjType::Dict;
    node.indirect = indirect;
    uint32_t id = store.nextId++;
    store.nodes.emplace(id, std::move(node));
    return storedObj(lobDocSerial(doc), id);
}

LobObj CHostDocumentModel::objNewArray(LobDoc doc, bool indirect, long capacity) {
    Store& store = storeOf(doc);
    Node node;
    node.type = LobObjType::Array;
    node.indirect = indirect;
    if (capacity > 0 && capacity < 4096)
        node.items.reserve(static_cast<size_t>(capacity));
    uint32_t id = store.nextId++;
    store.nodes.emplace(id, std::move(node));
    return storedObj(lobDocSerial(doc), id);
}

bool CHostDocumentModel::objGetBoolean(LobObj object) {
    if (kindOf(object) != kKindBoolean)
        raiseHostError(kHostErrLobType);
    return (object.bits & 1) != 0;
}

int32_t CHostDocumentModel::objGetInteger(LobObj object) {
    if (kindOf(object) != kKindInteger)
        raiseHostError(kHostErrLobType);
    return static_cast<int32_t>(static_cast<uint32_t>(object.bits));
}

int32_t CHostDocumentModel::objGetFixed(LobObj object) {
    if (kindOf(object) != kKindFixed)
        raiseHostError(kHostErrLobType);
    return static_cast<int32_t>(static_cast<uint32_t>(object.bits));
}

std::string CHostDocumentModel::objGetName(LobObj object) {
    auto index = static_cast<uint32_t>(object.bits);
    if (kindOf(object) != kKindName || index >= m_names.size())
        raiseHostError(kHostErrLobType);
    return m_names[index];
}

std::string CHostDocumentModel::objGetString(LobObj object) {
    return nodeOfType(object, LobObjType::String).bytes;
}

long CHostDocumentModel::arrayLength(LobObj array) {
    return static_cast<long>(nodeOfType(array, LobObjType::Array).items.size());
}

LobObj CHostDocumentModel::arrayGet(LobObj array, long index) {
    Node& node = nodeOfType(array, LobObjType::Array);
    if (index < 0 || static_cast<size_t>(index) >= node.items.size())
        return LobObj{};
    return node.items[static_cast<size_t>(index)];
}

void CHostDocumentModel::arrayAppend(LobObj array, LobObj value) {
    nodeOfType(array, LobObjType::Array).items.push_back(value);
}

LobObj CHostDocumentModel::dictGet(LobObj dict, const char* key) {
    Node& node = nodeOfType(dict, LobObjType::Dict);
    auto found = node.entries.find(key ? key : "");
    return found == node.entries.end() ? LobObj{} : found->second;
}

void CHostDocumentModel::dictPut(LobObj dict, const char* key, LobObj value) {
    nodeOfType(dict, LobObjType::Dict).entries[key ? key : ""] = value;
}

std::vector<std::string> CHostDocumentModel::dictKeys(LobObj dict) {
    std::vector<std::string> keys;
    for (auto& entry : nodeOfType(dict, LobObjType::Dict).entries)
        keys.push_back(entry.first);
    return keys;
}

LobDoc CHostDocumentModel::newStore() {
    if (m_nextStore > kMaxStoreSerial)
        raiseHostError(kHostErrBadLobDoc);
    uint32_t serial = m_nextStore++;
    Store& store = m_stores[serial];
    Node root;
    root.type = LobObjType::Dict;
    root.indirect = true;
    store.rootId = store.nextId++;
    store.nodes.emplace(store.rootId, std::move(root));
    return lobDocHandle(serial);
}

LobDoc CHostDocumentModel::docNewTemp() {
    return newStore();
}

void CHostDocumentModel::docClose(LobDoc doc) {
    Store& store = storeOf(doc);
    if (store.document)
        m_documents.erase(store.document);
    m_stores.erase(lobDocSerial(doc));
}

LobObj CHostDocumentModel::docRootGet(LobDoc doc, const char* key) {
    Store& store = storeOf(doc);
    return dictGet(storedObj(lobDocSerial(doc), store.rootId), key);
}

void CHostDocumentModel::docRootPut(LobDoc doc, const char* key, LobObj value) {
    Store& store = storeOf(doc);
    dictPut(storedObj(lobDocSerial(doc), store.rootId), key, value);
}

DkDoc CHostDocumentModel::docGetDkDoc(LobDoc doc) {
    return dkDocHandle(storeOf(doc).document);
}

LobDoc CHostDocumentModel::dkDocGetLobDoc(DkDoc doc) {
    auto found = m_documents.find(reinterpret_cast<uintptr_t>(doc));
    if (found == m_documents.end())
        raiseHostError(kHostErrBadLobDoc);
    return lobDocHandle(found->second.store);
}

CHostDocumentModel::Document* CHostDocumentModel::pageDocument(DkPage page, int32_t* number) {
    auto bits = reinterpret_cast<uintptr_t>(page);
    auto found = m_documents.find(bits >> 16);
    int32_t index = static_cast<int32_t>(bits & 0xFFFF) - 1;
    if (!page || found == m_documents.end() || index < 0 ||
        static_cast<size_t>(index) >= found->second.pages.size())
        return nullptr;
    *number = index;
    return &found->second;
}

DkPage CHostDocumentModel::dkDocAcquirePage(DkDoc doc, int32_t number) {
    auto found = m_documents.find(reinterpret_cast<uintptr_t>(doc));
    if (found == m_documents.end())
        raiseHostError(kHostErrBadLobDoc);
    if (number < 0 || static_cast<size_t>(number) >= found->second.pages.size())
        return nullptr;
    ++found->second.acquired[static_cast<size_t>(number)];
    return pageHandle(found->first, number);
}

// Acquire and release of a page whose document is gone do nothing: the page went with it.
void CHostDocumentModel::pageAcquire(DkPage page) {
    int32_t number = 0;
    if (Document* document = pageDocument(page, &number))
        ++document->acquired[static_cast<size_t>(number)];
}

void CHostDocumentModel::pageRelease(DkPage page) {
    int32_t number = 0;
    Document* document = pageDocument(page, &number);
    if (document && document->acquired[static_cast<size_t>(number)] > 0)
        --document->acquired[static_cast<size_t>(number)];
}

int32_t CHostDocumentModel::pageGetNumber(DkPage page) {
    int32_t number = 0;
    if (!pageDocument(page, &number))
        raiseHostError(kHostErrBadLobDoc);
    return number;
}

DkDoc CHostDocumentModel::pageGetDkDoc(DkPage page) {
    int32_t number = 0;
    if (!pageDocument(page, &number))
        raiseHostError(kHostErrBadLobDoc);
    return dkDocHandle(reinterpret_cast<uintptr_t>(page) >> 16);
}

LobObj CHostDocumentModel::pageGetLobObj(DkPage page) {
    int32_t number = 0;
    Document* document = pageDocument(page, &number);
    if (!document)
        raiseHostError(kHostErrBadLobDoc);
    return storedObj(document->store, document->pages[static_cast<size_t>(number)]);
}

DkPage CHostDocumentModel::pageFromLobObj(LobObj object) {
    if (!isStored(object))
        return nullptr;
    for (auto& [id, document] : m_documents) {
        if (document.store != storeSerial(object))
            continue;
        auto page = std::find(document.pages.begin(), document.pages.end(), nodeId(object));
        if (page == document.pages.end())
            return nullptr;
        auto number = static_cast<int32_t>(page - document.pages.begin());
        ++document.acquired[static_cast<size_t>(number)];
        return pageHandle(id, number);
    }
    return nullptr;
}

DkAnnot CHostDocumentModel::annotFromLobObj(LobObj object) {
    if (!isStored(object) || nodeOf(object).type != LobObjType::Dict)
        return DkAnnot{};
    return DkAnnot{object.bits};
}

DkPage CHostDocumentModel::annotAcquirePage(DkAnnot annot) {
    return pageFromLobObj(dictGet(LobObj{annot.bits}, "P"));
}

void CHostDocumentModel::actionClipboardDataDestroy(DkActionClipboardData data) {
    m_clipboardData.erase(reinterpret_cast<uintptr_t>(data));
}

void CHostDocumentModel::registerDocNotification(DkDocNotification kind, DkDocNotifyProc proc,
                                                 void* data) {
    m_observers.push_back({kind, proc, data, true});
}

void CHostDocumentModel::unregisterDocNotification(DkDocNotification kind, DkDocNotifyProc proc,
                                                   void* data) {
    for (auto& observer : m_observers) {
        if (observer.live && observer.kind == kind && observer.proc == proc &&
            observer.data == data) {
            observer.live = false;
            break;
        }
    }
    if (!m_notifying)
        std::erase_if(m_observers, [](const Observer& o) { return !o.live; });
}

void CHostDocumentModel::notify(DkDocNotification kind, DkDoc doc) {
    // Observers may come and go while they are told; new ones wait for the next notification.
    ++m_notifying;
    size_t count = m_observers.size();
    for (size_t i = 0; i < count; ++i) {
        Observer observer = m_observers[i];
        if (observer.live && observer.kind == kind)
            observer.proc(doc, observer.data);
    }
    if (--m_notifying == 0)
        std::erase_if(m_observers, [](const Observer& o) { return !o.live; });
}

size_t CHostDocumentModel::notificationCount() const {
    return static_cast<size_t>(std::count_if(m_observers.begin(), m_observers.end(),
                                             [](const Observer& o) { return o.live; }));
}

DkDoc CHostDocumentModel::openDocument(int32_t pageCount) {
    LobDoc store = newStore();
    uintptr_t id = m_nextDocument++;
    Document& document = m_documents[id];
    document.store = lobDocSerial(store);
    m_stores[document.store].document = id;
    LobObj pages = objNewArray(store, true, 0);
    docRootPut(store, "Pages", pages);
    int32_t count = std::clamp(pageCount, 0, kMaxPages);
    for (int32_t i = 0; i < count; ++i) {
        LobObj page = objNewDict(store, true, 0);
        dictPut(page, "Type", objNewName(store, "Page"));
        arrayAppend(pages, page);
        document.pages.push_back(nodeId(page));
        document.acquired.push_back(0);
    }
    return dkDocHandle(id);
}

void CHostDocumentModel::saveDocument(DkDoc doc) {
    dkDocGetLobDoc(doc);
    notify(DkDocNotification::WillSave, doc);
}

void CHostDocumentModel::closeDocument(DkDoc doc) {
    LobDoc store = dkDocGetLobDoc(doc);
    notify(DkDocNotification::WillClose, doc);
    docClose(store);
}

DkAnnot CHostDocumentModel::addAnnotation(DkDoc doc, int32_t pageNumber) {
    DkPage page = dkDocAcquirePage(doc, pageNumber);
    if (!page)
        return DkAnnot{};
    LobDoc store = dkDocGetLobDoc(doc);
    LobObj pageDict = pageGetLobObj(page);
    pageRelease(page);
    LobObj annot = objNewDict(store, true, 0);
    dictPut(annot, "Type", objNewName(store, "Annot"));
    dictPut(annot, "P", pageDict);
    LobObj list = dictGet(pageDict, "Annots");
    if (objGetType(list) != LobObjType::Array) {
        list = objNewArray(store, false, 0);
        dictPut(pageDict, "Annots", list);
    }
    arrayAppend(list, annot);
    return DkAnnot{annot.bits};
}

DkActionClipboardData CHostDocumentModel::newActionClipboardData() {
    uintptr_t id = m_nextClipboardData++;
    m_clipboardData.insert(id);
    return reinterpret_cast<DkActionClipboardData>(id);
}

size_t CHostDocumentModel::objectCount(LobDoc doc) const {
    auto found = m_stores.find(lobDocSerial(doc));
    return found == m_stores.end() ? 0 : found->second.nodes.size();
}

long CHostDocumentModel::pageAcquireCount(DkPage page) const {
    auto bits = reinterpret_cast<uintptr_t>(page);
    auto found = m_documents.find(bits >> 16);
    auto index = static_cast<size_t>(bits & 0xFFFF);
    if (found == m_documents.end() || index == 0 || index > found->second.acquired.size())
        return 0;
    return found->second.acquired[index - 1];
}
