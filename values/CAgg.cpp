// CAgg's core: construction, copy and destruction by tag, equality, indexing and lookups.
#include "values/CAgg.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/miString.h"
#include "values/CAggInternal.h"
#include "values/QsStm.h"

#include <atomic>
#include <cstring>
#include <memory>
#include <utility>

namespace {

// Past this a vector index is taken for bad input rather than grown into.
constexpr long kMaxVectorIndex = 0xFFFFFF;
// Collections nested deeper than this are freed from a work list instead of by recursion.
constexpr int kFreeDepth = 256;

bool sameObject(LobObj a, LobObj b) {
    if (!gLobHFT)
        return a == b;
    int32_t order = a == b ? 0 : 1;
    HostFrame guard;
    guard.run([&] { order = gLobHFT->objCompare(a, b); });
    return order == 0;
}

bool samePage(DkPage a, DkPage b) {
    if (a == b)
        return true;
    if (!a || !b || !gDkModelHFT)
        return false;
    bool same = false;
    HostFrame guard;
    guard.run([&] {
        same = gDkModelHFT->pageGetDkDoc(a) == gDkModelHFT->pageGetDkDoc(b) &&
               gDkModelHFT->pageGetNumber(a) == gDkModelHFT->pageGetNumber(b);
    });
    return same;
}

bool sameColour(const DkColorValueRec& a, const DkColorValueRec& b) {
    if (a.space != b.space)
        return false;
    if (a.space != kDkColorSpaceGray && a.space != kDkColorSpaceRGB &&
        a.space != kDkColorSpaceCMYK && a.space != kDkColorSpaceNone)
        return false;
    int count = DkColorSpaceComponents(a.space);
    for (int i = 0; i < count; ++i) {
        if (a.value[i] != b.value[i])
            return false;
    }
    return true;
}

} // namespace

int CEStrLessNumbersFirst::compare(const _EStrRec* a, const _EStrRec* b) {
    if (!a || !b)
        return (a ? 1 : 0) - (b ? 1 : 0);
    bool numericA = CAggIsNumericKey(a);
    bool numericB = CAggIsNumericKey(b);
    if (numericA != numericB)
        return numericA ? -1 : 1;
    if (numericA) {
        int x = miAtoi(a->bytes);
        int y = miAtoi(b->bytes);
        return x < y ? -1 : (x > y ? 1 : 0);
    }
    if (a->encoding != b->encoding)
        return a->encoding < b->encoding ? -1 : 1;
    int order = miStrcmp(a->bytes ? a->bytes : "", b->bytes ? b->bytes : "");
    return order < 0 ? -1 : (order > 0 ? 1 : 0);
}

void CAgg::CVoidStarRefCnt::release() {
    if (--m_count <= 0)
        delete this;
}

CAgg::CDkActionClipboardData::~CDkActionClipboardData() {
    if (!m_data || !gDkModelHFT)
        return;
    HostFrame guard;
    guard.run([&] { gDkModelHFT->actionClipboardDataDestroy(m_data); });
}

// A new value is void and holds no tree that the other could be part of: the copy is made in
// place. A copy that fails leaves it void.
CAgg::CAgg(const CAgg& other) : CAgg() {
    copyFrom(other);
}

CAgg::CAgg(const CAgg* other) : CAgg() {
    if (other)
        copyFrom(*other);
}

CAgg::CAgg(CAgg&& other) noexcept : CAgg() {
    swapWith(other);
}

CAgg::CAgg(LobObj object) : CAgg() {
    m_payload.lobObj = object;
    m_type = eLobObj;
}

CAgg::CAgg(const CLobObjShadow& shadow) : CAgg() {
    m_payload.shadow = new CLobObjShadow(shadow);
    m_type = eCLobObjShadow;
}

CAgg::CAgg(const CLobObjShadow* shadow) : CAgg() {
    if (shadow) {
        m_payload.shadow = new CLobObjShadow(*shadow);
        m_type = eCLobObjShadow;
    }
}

CAgg::CAgg(LobDoc doc) : CAgg() {
    m_payload.lobDoc = doc;
    m_type = eLobDoc;
}

CAgg::CAgg(DkPage page) : CAgg() {
    if (page && gDkModelHFT)
        gDkModelHFT->pageAcquire(page);
    m_payload.page = page;
    m_type = eDkPage;
}

CAgg::CAgg(DkDoc doc) : CAgg() {
    m_payload.dkDoc = doc;
    m_type = eDkDoc;
}

CAgg::CAgg(QsStm stream, unsigned short ownsStream) : CAgg() {
    m_payload.stream = new CQsStmHolder{ownsStream, stream, std::make_shared<bool>(false)};
    m_type = eQsStm;
}

CAgg::CAgg(const CQsText& text) : CAgg() {
    m_payload.text = new CQsText(text);
    m_type = eCQsText;
}

CAgg::CAgg(const CQsText* text) : CAgg() {
    if (text) {
        m_payload.text = new CQsText(*text);
        m_type = eCQsText;
    }
}

CAgg::CAgg(const _EStrRec* text) : CAgg() {
    if (text)
        setEStr(EStrCopy(text));
}

CAgg::CAgg(const char* text) : CAgg() {
    if (text)
        setEStr(EStrNew(text, kEStrAuto));
}

CAgg::CAgg(DkActionClipboardData data) : CAgg() {
    m_payload.clipboard = new CDkActionClipboardData(data, 1);
    m_type = eDkActionClipboardData;
}

CAgg::CAgg(long value) : CAgg() {
    m_payload.int32 = static_cast<QsInt32>(value);
    m_type = eQsInt32;
}

CAgg::CAgg(double value) : CAgg() {
    m_payload.number = value;
    m_type = eDouble;
}

#define VELL_CAGG_RECORD_CONSTRUCTORS(Record, member, tag)                                         \
    CAgg::CAgg(const Record& value) : CAgg() {                                                     \
        m_payload.member = value;                                                                  \
        m_type = tag;                                                                              \
    }                                                                                              \
    CAgg::CAgg(const Record* value) : CAgg() {                                                     \
        if (value) {                                                                               \
            m_payload.member = *value;                                                             \
            m_type = tag;                                                                          \
        }                                                                                          \
    }

VELL_CAGG_RECORD_CONSTRUCTORS(DkColorValueRec, colour, eDkColorValueRec)
VELL_CAGG_RECORD_CONSTRUCTORS(QsTimeRec, time, eQsTimeRec)
VELL_CAGG_RECORD_CONSTRUCTORS(QsFixedPoint, point, eFixedPoint)
VELL_CAGG_RECORD_CONSTRUCTORS(QsFixedRect, rect, eFixedRect)
VELL_CAGG_RECORD_CONSTRUCTORS(QsFixedQuad, quad, eFixedQuad)
VELL_CAGG_RECORD_CONSTRUCTORS(QsFixedMatrix, matrix, eFixedMatrix)

#undef VELL_CAGG_RECORD_CONSTRUCTORS

CAgg::CAgg(void* icon) : CAgg() {
    m_payload.icon = static_cast<VxIcon>(icon);
    m_type = eVxIcon;
}

void CAgg::takeEStr(EStr text) {
    if (m_type != eVoid)
        setVoid();
    if (text) {
        m_payload.estr = text;
        m_type = eEStr;
    }
}

CAgg& CAgg::operator=(const CAgg& other) {
    if (this == &other)
        return *this;
    // A void target holds no tree: the copy is made in place.
    if (m_type == eVoid) {
        copyFrom(other);
        return *this;
    }
    // The copy is made first and swapped in, so that other may be a part of this tree.
    CAgg copy;
    try {
        copy.copyFrom(other);
    } catch (...) {
        setVoid();
        throw;
    }
    swapWith(copy);
    return *this;
}

CAgg& CAgg::operator=(CAgg&& other) noexcept {
    if (this != &other) {
        CAgg taken(std::move(other));
        swapWith(taken);
    }
    return *this;
}

void CAgg::swapWith(CAgg& other) noexcept {
    std::swap(m_type, other.m_type);
    std::swap(m_sharedMap, other.m_sharedMap);
    std::swap(m_payload, other.m_payload);
}

namespace {

// The entries of a shared map, with the count of the values that share them.
struct SharedMapBody : CAgg::CAggMap {
    explicit SharedMapBody(CAgg::CAggMap&& entries) : CAgg::CAggMap(std::move(entries)) {}
    std::atomic<long> sharers{1};
};

// Lowers the count of the body's sharers: true when this was the last one, which then frees it.
bool releaseSharedMap(CAgg::CAggMap* map) noexcept {
    return static_cast<SharedMapBody*>(map)->sharers.fetch_sub(1) == 1;
}

} // namespace

void CAgg::shareMap() {
    toMap();
    auto* body = CAggNewHolder<SharedMapBody>(std::move(*m_payload.map));
    CAggDeleteHolder(m_payload.map);
    m_payload.map = body;
    m_sharedMap = true;
}

void CAgg::unshareMap() {
    auto* body = static_cast<SharedMapBody*>(m_payload.map);
    // The last sharer takes the entries over; any other copies them.
    CAggMap* own = body->sharers.load() == 1 ? CAggNewHolder<CAggMap>(std::move(*body))
                                             : CAggNewHolder<CAggMap>(*body);
    if (releaseSharedMap(body))
        CAggDeleteHolder(body);
    m_payload.map = own;
    m_sharedMap = false;
}

void CAgg::copyFrom(const CAgg& other) {
    const Payload& from = other.m_payload;
    switch (other.m_type) {
    case eDkPage:
        if (from.page && gDkModelHFT)
            gDkModelHFT->pageAcquire(from.page);
        m_payload.page = from.page;
        break;
    case eCQsText:
        m_payload.text = new CQsText(*from.text);
        break;
    case eEStr:
        m_payload.estr = EStrCopy(from.estr);
        break;
    case eCLobObjShadow:
        m_payload.shadow = new CLobObjShadow(*from.shadow);
        break;
    case eMap:
        if (other.m_sharedMap) {
            static_cast<SharedMapBody*>(from.map)->sharers.fetch_add(1);
            m_payload.map = from.map;
            m_sharedMap = true;
        } else {
            m_payload.map = CAggNewHolder<CAggMap>(*from.map);
        }
        break;
    case eQsAtomMap:
        m_payload.atomMap = CAggAtomMap::makeCopy(*from.atomMap);
        break;
    case eVector:
        m_payload.vector = CAggNewHolder<CAggVector>(*from.vector);
        break;
    case eQsStm:
        // The stream itself is shared: with the owner flag set there are now two owners.
        m_payload.stream = new CQsStmHolder(*from.stream);
        break;
    case eDkActionClipboardData:
        from.clipboard->addRef();
        m_payload.clipboard = from.clipboard;
        break;
    default:
        m_payload = from;
        break;
    }
    m_type = other.m_type;
}

void CAgg::setVoid() noexcept {
    freePayload();
    m_type = eVoid;
}

void CAgg::freePayload() noexcept {
    switch (m_type) {
    case eDkPage:
        if (m_payload.page && gDkModelHFT) {
            HostFrame guard;
            guard.run([&] { gDkModelHFT->pageRelease(m_payload.page); });
        }
        break;
    case eCQsText:
        delete m_payload.text;
        break;
    case eEStr:
        EStrDelete(m_payload.estr);
        break;
    case eCLobObjShadow:
        delete m_payload.shadow;
        break;
    case eMap:
    case eQsAtomMap:
    case eVector:
        freeCollection();
        break;
    case eQsStm:
        if (m_payload.stream->m_ownsStream && m_payload.stream->liveStream()) {
            QsStmClose(m_payload.stream->m_stream);
            *m_payload.stream->m_closed = true;
        }
        delete m_payload.stream;
        break;
    case eDkActionClipboardData:
        m_payload.clipboard->release();
        break;
    default:
        break;
    }
    m_type = eVoid;
}

void CAgg::freeCollection() noexcept {
    // The tree is freed by one walk that carries its depth. A collection deeper than
    // kFreeDepth is set aside and freed by this outermost call after the walk, so that the
    // depth of a tree never becomes the depth of the stack.
    std::vector<CAgg> deferred;
    freeCollectionAt(0, deferred);
    while (!deferred.empty()) {
        CAgg next;
        next.swapWith(deferred.back());
        deferred.pop_back();
        next.freeCollectionAt(0, deferred);
    }
}

void CAgg::releaseAt(int depth, std::vector<CAgg>& deferred) noexcept {
    switch (m_type) {
    case eVoid:
    case eQsAtom:
    case eQsInt32:
    case eQsBool:
    case eDouble:
        break;
    case eEStr:
        EStrDelete(m_payload.estr);
        break;
    case eMap:
    case eQsAtomMap:
    case eVector:
        freeCollectionAt(depth, deferred);
        break;
    default:
        freePayload();
        break;
    }
    m_type = eVoid;
}

void CAgg::freeCollectionAt(int depth, std::vector<CAgg>& deferred) noexcept {
    if (depth >= kFreeDepth) {
        deferred.emplace_back();
        deferred.back().swapWith(*this);
        return;
    }
    // The children are freed here, one level down, and the container then holds only void
    // values, which its own destructor passes over.
    switch (m_type) {
    case eQsAtomMap:
        for (auto& entry : *m_payload.atomMap)
            entry.second.releaseAt(depth + 1, deferred);
        CAggAtomMap::destroy(m_payload.atomMap);
        break;
    case eVector:
        for (CAgg& element : *m_payload.vector)
            element.releaseAt(depth + 1, deferred);
        CAggDeleteHolder(m_payload.vector);
        break;
    default:
        // A shared body is freed by the last of its sharers.
        if (m_sharedMap && !releaseSharedMap(m_payload.map))
            break;
        for (auto& entry : *m_payload.map)
            entry.second.releaseAt(depth + 1, deferred);
        if (m_sharedMap)
            CAggDeleteHolder(static_cast<SharedMapBody*>(m_payload.map));
        else
            CAggDeleteHolder(m_payload.map);
        break;
    }
    m_type = eVoid;
    m_sharedMap = false;
}

bool CAgg::operator==(const CAgg& other) const {
    if (m_type != other.m_type)
        return false;
    const Payload& a = m_payload;
    const Payload& b = other.m_payload;
    switch (m_type) {
    case eVoid:
        return true;
    case eLobObj:
        return sameObject(a.lobObj, b.lobObj);
    case eLobDoc:
        return a.lobDoc == b.lobDoc;
    case eDkAnnot:
        if (gDkModelHFT) {
            bool same = a.annot == b.annot;
            HostFrame guard;
            guard.run([&] { same = gDkModelHFT->annotEqual(a.annot, b.annot); });
            return same;
        }
        return a.annot == b.annot;
    case eDkPage:
        return samePage(a.page, b.page);
    case eDkDoc:
        return a.dkDoc == b.dkDoc;
    case eCQsText:
        return a.text->compare(*b.text) == 0;
    case eEStr:
        return EStrCmp(a.estr, b.estr) == 0;
    case eQsAtom:
        return a.atom == b.atom;
    case eQsInt32:
        return a.int32 == b.int32;
    case eQsBool:
        return a.boolean == b.boolean;
    case eDouble:
        return a.number == b.number;
    case eDkColorValueRec:
        // A colour of an unknown space equals nothing, not even itself, unless it is one value.
        return this == &other || sameColour(a.colour, b.colour);
    case eQsTimeRec:
        return std::memcmp(&a.time, &b.time, sizeof a.time) == 0;
    case eFixedRect:
        return std::memcmp(&a.rect, &b.rect, sizeof a.rect) == 0;
    case eFixedPoint:
        return std::memcmp(&a.point, &b.point, sizeof a.point) == 0;
    case eFixedQuad:
        return std::memcmp(&a.quad, &b.quad, sizeof a.quad) == 0;
    case eFixedMatrix:
        return std::memcmp(&a.matrix, &b.matrix, sizeof a.matrix) == 0;
    case eCLobObjShadow:
        return sameObject(a.shadow->getLobObj(), b.shadow->getLobObj());
    case eMap: {
        // Keys compare by their text here, not by the map's order: "01" and "1" differ.
        auto x = a.map->begin(), y = b.map->begin();
        for (; x != a.map->end() && y != b.map->end(); ++x, ++y) {
            if (EStrCmp(x->first, y->first) != 0 || !(x->second == y->second))
                return false;
        }
        return x == a.map->end() && y == b.map->end();
    }
    case eQsAtomMap:
        return *a.atomMap == *b.atomMap;
    case eVector:
        return *a.vector == *b.vector;
    case eQsStm:
        return a.stream->m_stream == b.stream->m_stream;
    case eDkActionClipboardData:
        return a.clipboard == b.clipboard;
    case eVxIcon:
        return a.icon == b.icon;
    }
    return false;
}

bool CAgg::isCollectionTypeEmpty() const {
    return (m_type == eMap && m_payload.map->empty()) ||
           (m_type == eQsAtomMap && m_payload.atomMap->empty());
}

const CAgg::CAggMap* CAgg::mapEntries() const {
    return m_type == eMap ? m_payload.map : nullptr;
}

CAgg& CAgg::operator[](long index) {
    // A negative or absurd index is bad input: refuse it before anything changes.
    if (index < 0 || index > kMaxVectorIndex)
        raiseHostError(kHostErrBadSize);
    CAggVector& vector = toVector();
    if (static_cast<size_t>(index) >= vector.size())
        vector.resize(static_cast<size_t>(index) + 1);
    return vector[static_cast<size_t>(index)];
}

CAgg& CAgg::operator[](size_t index) {
    if (index > static_cast<size_t>(kMaxVectorIndex))
        raiseHostError(kHostErrBadSize);
    return (*this)[static_cast<long>(index)];
}

CAgg& CAgg::entry(const _EStrRec* key) {
    if (m_sharedMap)
        unshareMap();
    CAggMap& map = *m_payload.map;
    auto found = map.lower_bound(key);
    if (found != map.end() && !map.key_comp()(key, found->first))
        return found->second;
    return map.emplace_hint(found, CEStr(key), CAgg())->second;
}

CAgg& CAgg::atomEntry(QsAtom atom) {
    return (*m_payload.atomMap)[atom];
}

CAgg& CAgg::operator[](unsigned short atom) {
    if (m_type == eMap) {
        CAggBorrowedKey key(QsAtomGetString(atom), kEStrPDFDoc);
        return entry(key.get());
    }
    convert(eQsAtomMap);
    return atomEntry(atom);
}

CAgg& CAgg::operator[](const CEStr& key) {
    return (*this)[key.get()];
}

CAgg& CAgg::operator[](const _EStrRec* key) {
    if (m_type == eQsAtomMap)
        return atomEntry(CAggAtomOfKey(key));
    convert(eMap);
    return entry(key);
}

CAgg& CAgg::operator[](const char* key) {
    CAggTextKey text(key);
    return (*this)[text.get()];
}

bool CAgg::has(unsigned short atom) const {
    if (m_type == eQsAtomMap)
        return m_payload.atomMap->count(atom) != 0;
    if (m_type == eMap) {
        CAggBorrowedKey key(QsAtomGetString(atom), kEStrPDFDoc);
        return m_payload.map->find(key.get()) != m_payload.map->end();
    }
    return false;
}

bool CAgg::has(const _EStrRec* key) const {
    if (m_type == eMap)
        return m_payload.map->find(key) != m_payload.map->end();
    if (m_type == eQsAtomMap)
        return m_payload.atomMap->count(CAggAtomOfKey(key)) != 0;
    return false;
}

bool CAgg::has(const char* key) const {
    if (m_type != eMap && m_type != eQsAtomMap)
        return false;
    CAggTextKey text(key);
    return has(text.get());
}

bool CAgg::hasSameValue(unsigned short key, const CAgg& value) const {
    if (m_type == eQsAtomMap) {
        auto found = m_payload.atomMap->find(key);
        return found != m_payload.atomMap->end() && found->second == value;
    }
    if (m_type == eMap) {
        CAggBorrowedKey text(QsAtomGetString(key), kEStrPDFDoc);
        auto found = m_payload.map->find(text.get());
        return found != m_payload.map->end() && found->second == value;
    }
    return false;
}

bool CAgg::hasSameAtomValue(unsigned short key, unsigned short atom) const {
    CAgg value;
    value.toQsAtom() = atom;
    return hasSameValue(key, value);
}

void CAgg::remove(unsigned short atom) {
    toQsAtomMap().erase(atom);
}

void CAgg::remove(const CEStr& key) {
    remove(key.get());
}

void CAgg::remove(const _EStrRec* key) {
    CAggMap& map = toMap();
    auto found = map.find(key);
    if (found != map.end())
        map.erase(found);
}

void CAgg::remove(const char* key) {
    CAggTextKey text(key);
    remove(text.get());
}

void CAgg::makeIndependent() {
    if (m_sharedMap)
        unshareMap();
    switch (m_type) {
    case eMap:
        for (auto& entry : *m_payload.map)
            entry.second.makeIndependent();
        break;
    case eQsAtomMap:
        for (auto& entry : *m_payload.atomMap)
            entry.second.makeIndependent();
        break;
    case eVector:
        for (auto& element : *m_payload.vector)
            element.makeIndependent();
        break;
    default:
        convertAway(eLobObj, eQsStm);
        break;
    }
}

QsStm CAgg::toQsStm() {
    convert(eQsStm);
    return m_payload.stream->liveStream();
}

QsStm CAgg::toQsStm(unsigned short own) {
    convert(eQsStm);
    m_payload.stream->m_ownsStream = own;
    return m_payload.stream->liveStream();
}

std::shared_ptr<bool> CAgg::sharedStreamClosed() const {
    return m_type == eQsStm ? m_payload.stream->m_closed : nullptr;
}

DkActionClipboardData CAgg::toDkActionClipboardData(unsigned short addRef) {
    convert(eDkActionClipboardData);
    if (addRef)
        m_payload.clipboard->addRef();
    return static_cast<CDkActionClipboardData*>(m_payload.clipboard)->get();
}
