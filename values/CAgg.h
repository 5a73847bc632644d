// The dynamic value of the system.
//
// A CAgg is a tagged union of 25 types with plain value semantics: copying a CAgg copies the
// tree, and there is no shared body, copy-on-write or count on the value itself. Reading a value
// "as" a type converts it in place, for good: the to... accessors are mutators, and a value
// changes its tag whenever it is read as another type. The conversion engine, its table of
// sources and targets and the text forms it produces live in CAggConvert.cpp; the collection
// algebra in CAggAlgebra.cpp.
//
// A reference returned by operator[] or a to... accessor points into the tree. It stays good
// across inserts into a map, and is lost on any growth of a vector and on any conversion of the
// container.
#pragma once

#include "frame/QsText.h"
#include "frame/host/ICore.h"
#include "frame/host/QsStmRec.h"
#include "frame/host/QsTimeRec.h"
#include "frame/host/ViewerHandles.h"
#include "values/CAggAtomMap.h"
#include "values/CLobObjShadow.h"
#include "values/EStr.h"
#include "values/QsFixed.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

/// The viewer's 32-bit integer.
using QsInt32 = int32_t;
/// The viewer's 16-bit boolean.
using QsBool = uint16_t;

/// The order of map keys. A null key comes first; then numeric keys (encoding 1, not empty, all
/// decimal digits) by their number, so "1", "01" and "001" are one key; then the others by
/// encoding number, and within one encoding by EStrCmp.
struct CEStrLessNumbersFirst {
    using is_transparent = void;
    bool operator()(const _EStrRec* a, const _EStrRec* b) const;
    /// The three-way form: negative, 0 (the same key) or positive.
    static int compare(const _EStrRec* a, const _EStrRec* b);
};

class CAgg {
public:
    /// The tags. Every masked conversion takes an array of 25 booleans indexed by them.
    enum CAggType : int32_t {
        eVoid = 0,
        eLobObj = 1,
        eLobDoc = 2,
        eDkAnnot = 3,
        eDkPage = 4,
        eDkDoc = 5,
        eCQsText = 6,
        eEStr = 7,
        eQsAtom = 8,
        eQsInt32 = 9,
        eQsBool = 10,
        eDouble = 11,
        eDkColorValueRec = 12,
        eQsTimeRec = 13,
        eFixedRect = 14,
        eFixedPoint = 15,
        eFixedQuad = 16,
        eFixedMatrix = 17,
        eCLobObjShadow = 18,
        eMap = 19,
        eQsAtomMap = 20,
        eVector = 21,
        eQsStm = 22,
        eDkActionClipboardData = 23,
        eVxIcon = 24,
    };
    static constexpr int kTypeCount = 25;

    /// A counted holder of something the viewer owns.
    class CVoidStarRefCnt {
    public:
        explicit CVoidStarRefCnt(long count) : m_count(count) {}
        virtual ~CVoidStarRefCnt() = default;
        CVoidStarRefCnt(const CVoidStarRefCnt&) = delete;
        CVoidStarRefCnt& operator=(const CVoidStarRefCnt&) = delete;
        void addRef() { ++m_count; }
        /// Lowers the count and deletes the holder when it reaches zero.
        void release();
        long refCount() const { return m_count; }

    private:
        long m_count;
    };

    /// The holder of an action's clipboard data; destroys the viewer's handle with itself.
    class CDkActionClipboardData final : public CVoidStarRefCnt {
    public:
        CDkActionClipboardData(DkActionClipboardData data, long count)
            : CVoidStarRefCnt(count), m_data(data) {}
        ~CDkActionClipboardData() override;
        DkActionClipboardData get() const { return m_data; }

    private:
        DkActionClipboardData m_data;
    };

    /// The holder behind eQsStm. Copies share the stream: with the owner flag set, each copy is
    /// an owner, and whichever goes first closes it under the others. The copies also share a
    /// flag that tells them so, so that none reads or closes a stream that is gone.
    struct CQsStmHolder {
        uint16_t m_ownsStream;
        QsStm m_stream;
        std::shared_ptr<bool> m_closed;
        /// The stream, or null once a copy has closed it.
        QsStm liveStream() const { return m_closed && *m_closed ? nullptr : m_stream; }
    };

    using CAggMap = std::map<CEStr, CAgg, CEStrLessNumbersFirst>;
    using CAggQsAtomMap = CAggAtomMap;
    using CAggVector = std::vector<CAgg>;

    // Construction. Every form copies what it is given. The forms from a pointer are explicit,
    // so that a stray pointer never quietly becomes a value (of any pointer, an icon).

    CAgg() : m_type(eVoid), m_lobDoc(nullptr) {}
    CAgg(const CAgg& other);
    /// A copy of the value pointed at; void for null.
    explicit CAgg(const CAgg* other);
    /// Takes the other's tree; the other is left void.
    CAgg(CAgg&& other) noexcept;
    CAgg(LobObj object);
    CAgg(const CLobObjShadow& shadow);
    explicit CAgg(const CLobObjShadow* shadow);
    CAgg(LobDoc doc);
    /// Acquires the page.
    CAgg(DkPage page);
    CAgg(DkDoc doc);
    explicit CAgg(QsStm stream, unsigned short ownsStream);
    CAgg(const CQsText& text);
    explicit CAgg(const CQsText* text);
    /// A copy of the string; void for null.
    CAgg(const _EStrRec* text);
    /// A string of the text, with encoding 3: UCS when it starts with the mark, else 1.
    CAgg(const char* text);
    /// Holds the clipboard data with a count of one.
    CAgg(DkActionClipboardData data);
    CAgg(long value);
    CAgg(int value) : CAgg(static_cast<long>(value)) {}
    CAgg(double value);
    CAgg(const DkColorValueRec& colour);
    explicit CAgg(const DkColorValueRec* colour);
    CAgg(const QsTimeRec& time);
    explicit CAgg(const QsTimeRec* time);
    CAgg(const QsFixedPoint& point);
    explicit CAgg(const QsFixedPoint* point);
    CAgg(const QsFixedRect& rect);
    explicit CAgg(const QsFixedRect* rect);
    CAgg(const QsFixedQuad& quad);
    explicit CAgg(const QsFixedQuad* quad);
    CAgg(const QsFixedMatrix& matrix);
    explicit CAgg(const QsFixedMatrix* matrix);
    /// An icon handle, or any other pointer of the viewer's.
    explicit CAgg(void* icon);
    ~CAgg() {
        if (m_type != eVoid)
            freePayload();
    }
    /// An empty atom map with room for `room` entries made in one piece with it, for a caller
    /// that knows how many entries are coming.
    static CAgg atomMapWithRoom(size_t room);
    /// A string value that takes the record over rather than copying it; void for null.
    static CAgg adoptEStr(EStr text);
    /// Makes this value the string, taking the record over rather than copying it; void for
    /// null.
    void takeEStr(EStr text);
    /// Converts the value to a map whose entries copies of it share, for a map that is copied
    /// many times and then only read, such as the namespaces in scope that every element of a
    /// parsed document carries. Values still behave as copies: the first access that may change
    /// a sharer's entries (toMap, indexing, any conversion) gives it entries of its own first,
    /// and such entries are never shared again unless shareMap is called anew.
    void shareMap();

    /// Does nothing on self-assignment; else the target takes a copy of the other's tree. The
    /// copy is made before the old payload goes, so assigning a part of the target is safe.
    CAgg& operator=(const CAgg& other);
    CAgg& operator=(CAgg&& other) noexcept;

    /// Equal tags and equal payloads; values of different tags are never equal.
    bool operator==(const CAgg& other) const;
    bool operator!=(const CAgg& other) const { return !(*this == other); }

    /// The tag. Does not convert.
    CAggType getType() const { return m_type; }
    /// True only for a map or atom map with no entries.
    bool isCollectionTypeEmpty() const;
    /// The entries of a map, to read: null for a value of any other type. Never converts, and a
    /// map that shares its entries with copies (see shareMap) keeps sharing them. The pointer is
    /// good until the value is next changed or converted.
    const CAggMap* mapEntries() const;

    // Indexing. Each converts the value to the collection it needs and creates a missing entry
    // as void.

    /// The element at an index of the vector, grown with voids so that it exists. A negative
    /// index, or one past 16777215, raises kHostErrBadSize.
    CAgg& operator[](long index);
    CAgg& operator[](int index) { return (*this)[static_cast<long>(index)]; }
    CAgg& operator[](size_t index);
    /// The entry of an atom: a void value becomes an atom map, a map is looked up by the atom's
    /// text.
    CAgg& operator[](unsigned short atom);
    /// The entry of a text key: a void value becomes a map, an atom map is looked up by the
    /// atom of the text.
    CAgg& operator[](const CEStr& key);
    CAgg& operator[](const _EStrRec* key);
    /// A key of encoding 3.
    CAgg& operator[](const char* key);

    /// Whether the value is a map or atom map that holds the key. Never converts or creates.
    bool has(unsigned short atom) const;
    bool has(const _EStrRec* key) const;
    bool has(const char* key) const;
    /// has(key), and the entry equals value.
    bool hasSameValue(unsigned short key, const CAgg& value) const;
    /// has(key), and the entry is the atom.
    bool hasSameAtomValue(unsigned short key, unsigned short atom) const;
    /// Converts to an atom map (a map becomes one) and erases the key.
    void remove(unsigned short atom);
    /// Converts to a map and erases the key.
    void remove(const CEStr& key);
    void remove(const _EStrRec* key);
    void remove(const char* key);

    /// Makes the tree safe to outlive its document and its streams: objects become shadows and
    /// streams become strings, at every level of maps and vectors.
    void makeIndependent();

    // Conversion in place.

    /// Converts to the first acceptable type in the source's order of preference, or to the
    /// empty value of the best type in the mask.
    void convert(bool (&mask)[kTypeCount]);
    /// Converts to one type; at once when the tag is already t, except for objects and shadows,
    /// which are rebound to the document of a toLobObj.
    void convert(CAggType t) {
        // Reading a value of the right type is one comparison: callers rely on to... being
        // cheap on repeat.
        if (t != m_type || t == eLobObj || t == eCLobObjShadow)
            convertTo(t);
    }
    /// Converts to any of a list of types, ended by 0 or by the end of the arguments.
    template <class... More>
    requires(sizeof...(More) > 0) void convert(CAggType t, More... more) {
        const int list[] = {t, static_cast<int>(more)...};
        convertList(list, sizeof list / sizeof list[0], false);
    }
    /// Converts to any of the listed types; an empty list converts to void.
    void convert(const std::vector<CAggType>& types);
    /// When the tag is one of those listed, converts to any type but those.
    void convertAway(CAggType t);
    template <class... More>
    requires(sizeof...(More) > 0) void convertAway(CAggType t, More... more) {
        const int list[] = {t, static_cast<int>(more)...};
        convertList(list, sizeof list / sizeof list[0], true);
    }
    void convertAway(const std::vector<CAggType>& types);

    // Accessors: convert to the type and return a writable reference to the payload.

    /// The value as an object of the document (rebinding an object of another one).
    LobObj& toLobObj(LobDoc doc = nullptr);
    CLobObjShadow& toCLobObjShadow(LobDoc doc = nullptr);
    CLobObjShadow* toCLobObjShadowPtr(LobDoc doc = nullptr);
    LobDoc& toLobDoc();
    DkAnnot& toDkAnnot();
    DkPage& toDkPage();
    DkDoc& toDkDoc();
    CQsText& toCQsText();
    EStr& toEStr();
    QsAtom& toQsAtom();
    QsInt32& toQsInt32();
    QsBool& toQsBool();
    double& todouble();
    DkColorValueRec& toDkColorValueRec();
    QsTimeRec& toQsTimeRec();
    QsFixedPoint& toFixedPoint();
    QsFixedRect& toFixedRect();
    QsFixedQuad& toFixedQuad();
    QsFixedMatrix& toFixedMatrix();
    VxIcon& toVxIcon();
    CAggMap& toMap();
    CAggQsAtomMap& toQsAtomMap();
    CAggVector& toVector();
    CAggMap* toMapPtr() { return &toMap(); }
    CAggQsAtomMap* toQsAtomMapPtr() { return &toQsAtomMap(); }
    CAggVector* toVectorPtr() { return &toVector(); }
    /// The stream handle; null once a copy of the value has closed it.
    QsStm toQsStm();
    /// The stream handle, writing own over the ownership flag.
    QsStm toQsStm(unsigned short own);
    /// The flag that the copies of a stream value share: set once one of them, or a script
    /// object that took the stream over, has closed the stream. Null for a value of another type.
    std::shared_ptr<bool> sharedStreamClosed() const;
    /// The viewer's clipboard handle, raising the holder's count by one if addRef is set.
    DkActionClipboardData toDkActionClipboardData(unsigned short addRef);

    /// Converts to a vector, then each element to the listed types.
    CAggVector& toVectorOf(const std::vector<CAggType>& types);
    CAggVector& toVectorOf(CAggType t) { return toVectorOf(std::vector<CAggType>{t}); }
    template <class... More>
    requires(sizeof...(More) > 0) CAggVector& toVectorOf(CAggType t, More... more) {
        return toVectorOf(typeList({t, static_cast<int>(more)...}));
    }
    /// Converts to a map, then each value to the listed types.
    CAggMap& toMapOf(const std::vector<CAggType>& types);
    CAggMap& toMapOf(CAggType t) { return toMapOf(std::vector<CAggType>{t}); }
    template <class... More>
    requires(sizeof...(More) > 0) CAggMap& toMapOf(CAggType t, More... more) {
        return toMapOf(typeList({t, static_cast<int>(more)...}));
    }
    /// Converts to an atom map, then each value to the listed types.
    CAggQsAtomMap& toQsAtomMapOf(const std::vector<CAggType>& types);
    CAggQsAtomMap& toQsAtomMapOf(CAggType t) { return toQsAtomMapOf(std::vector<CAggType>{t}); }
    template <class... More>
    requires(sizeof...(More) > 0) CAggQsAtomMap& toQsAtomMapOf(CAggType t, More... more) {
        return toQsAtomMapOf(typeList({t, static_cast<int>(more)...}));
    }

    // Flattening.

    /// The map as a vector key, value, key, value, in map order.
    void map2VectorPERLStyle();
    /// The vector taken two by two as key (read as a string) and value; a later duplicate key
    /// wins and a last key without a value is dropped.
    void vector2MapPERLStyle();
    /// The same with atom keys.
    void vector2QsAtomMapPERLStyle();

    /// Cuts the vector into vectors of n elements, the last perhaps shorter. n below 1 raises
    /// kHostErrBadSize and leaves the value alone.
    void splitVector(long n);
    /// splitVector over the elements of an array object.
    void splitVectorLobArray(long n);
    /// Appends the elements of each element, in order, into one vector.
    void joinVector();

    // Set operations on maps.

    /// Puts the other's entries into this map, the other winning; with recursive set, nested
    /// maps present on both sides are merged instead of replaced.
    void combine(CAgg& other, bool recursive);
    void combine(CAggMap& other, bool recursive);
    void combine(CAggQsAtomMap& other, bool recursive);
    /// Keeps only the entries that the other holds with an equal value.
    void intersect(CAgg& other);
    void intersect(CAggMap& other);
    void intersect(CAggQsAtomMap& other);
    /// Erases the entries that the other holds with an equal value; with recursive set, nested
    /// maps are differenced and erased when they end empty.
    void difference(CAgg& other, bool recursive);
    void difference(CAggMap& other, bool recursive);
    void difference(CAggQsAtomMap& other, bool recursive);

private:
    union Payload {
        Payload() : quad{} {}
        LobObj lobObj;
        LobDoc lobDoc;
        DkAnnot annot;
        DkPage page;
        DkDoc dkDoc;
        CQsText* text;
        EStr estr;
        QsAtom atom;
        QsInt32 int32;
        QsBool boolean;
        double number;
        DkColorValueRec colour;
        QsTimeRec time;
        QsFixedRect rect;
        QsFixedPoint point;
        QsFixedQuad quad;
        QsFixedMatrix matrix;
        CLobObjShadow* shadow;
        CAggMap* map;
        CAggQsAtomMap* atomMap;
        CAggVector* vector;
        CQsStmHolder* stream;
        CVoidStarRefCnt* clipboard;
        VxIcon icon;
    };

    static std::vector<CAggType> typeList(std::initializer_list<int> list);
    void convertTo(CAggType t);
    void convertList(const int* list, size_t count, bool away);

    // Core (CAgg.cpp).
    void copyFrom(const CAgg& other);
    void freePayload() noexcept;
    void freeCollection() noexcept;
    /// Frees the payload as a part of a tree `depth` levels down; collections too deep are
    /// moved to `deferred` instead.
    void releaseAt(int depth, std::vector<CAgg>& deferred) noexcept;
    void freeCollectionAt(int depth, std::vector<CAgg>& deferred) noexcept;
    void setVoid() noexcept;
    void swapWith(CAgg& other) noexcept;
    CAgg& entry(const _EStrRec* key);
    /// Gives a map that shares its body entries of its own, before they are changed.
    void unshareMap();
    CAgg& atomEntry(QsAtom atom);

    // The conversion of each source (CAggConvert.cpp, CAggConvertLob.cpp).
    void convertvoid(bool (&mask)[kTypeCount]);
    void convertLobObj(bool (&mask)[kTypeCount]);
    void convertLobDoc(bool (&mask)[kTypeCount]);
    void convertDkAnnot(bool (&mask)[kTypeCount]);
    void convertDkPage(bool (&mask)[kTypeCount]);
    void convertDkDoc(bool (&mask)[kTypeCount]);
    void convertCQsText(bool (&mask)[kTypeCount]);
    void convertEStr(bool (&mask)[kTypeCount]);
    void convertQsAtom(bool (&mask)[kTypeCount]);
    void convertQsInt32(bool (&mask)[kTypeCount]);
    void convertQsBool(bool (&mask)[kTypeCount]);
    void convertdouble(bool (&mask)[kTypeCount]);
    void convertDkColorValueRec(bool (&mask)[kTypeCount]);
    void convertQsTimeRec(bool (&mask)[kTypeCount]);
    void convertFixedRect(bool (&mask)[kTypeCount]);
    void convertFixedPoint(bool (&mask)[kTypeCount]);
    void convertFixedQuad(bool (&mask)[kTypeCount]);
    void convertFixedMatrix(bool (&mask)[kTypeCount]);
    void convertCLobObjShadow(bool (&mask)[kTypeCount]);
    void convertMap(bool (&mask)[kTypeCount]);
    void convertQsAtomMap(bool (&mask)[kTypeCount]);
    void convertVector(bool (&mask)[kTypeCount]);
    void convertQsStm(bool (&mask)[kTypeCount]);
    void convertDkActionClipboardData(bool (&mask)[kTypeCount]);
    void convertVxIcon(bool (&mask)[kTypeCount]);

    // Steps shared by the rows.
    void makeEmpty(CAggType t);
    void via(CAggType step, CAggType target);
    bool wantsLob(const bool (&mask)[kTypeCount]) const;
    void becomeLob(LobObj object, const bool (&mask)[kTypeCount]);
    void lobFromScalar(bool (&mask)[kTypeCount]);
    void lobFromCollection(bool (&mask)[kTypeCount]);
    void rebindLobObj();
    void setEStr(EStr adopted);
    /// The value becomes a vector or a map of the entries moved in.
    void setVector(CAggVector&& elements);
    void setMap(CAggMap&& entries);
    void setAtomMap(CAggQsAtomMap* adopted);
    void fixedFromVector(CAggType target);
    void geometryToVector();
    void lobFromGeometry(bool (&mask)[kTypeCount]);
    void colourFromVector();
    void lobToText();
    void lobToCollection(CAggType target);

    CAggType m_type;
    // A map whose entries are a body shared with copies (see shareMap); never set otherwise.
    bool m_sharedMap = false;
    Payload m_payload;
    LobDoc m_lobDoc; // set only while a toLobObj runs
};

inline bool CEStrLessNumbersFirst::operator()(const _EStrRec* a, const _EStrRec* b) const {
    // Keys of one encoding that cannot be numbers, and do not both start with the byte order
    // mark, compare by their bytes: decide those here, the rest out of line.
    if (a && b && a->encoding == b->encoding && a->bytes && b->bytes) {
        auto first = static_cast<unsigned char>(a->bytes[0]);
        auto second = static_cast<unsigned char>(b->bytes[0]);
        bool digits = a->encoding == kEStrPDFDoc &&
                      ((first >= '0' && first <= '9') || (second >= '0' && second <= '9'));
        if (!digits && (first != 0xFE || second != 0xFE))
            return std::strcmp(a->bytes, b->bytes) < 0;
    }
    return compare(a, b) < 0;
}

// The accessors: a comparison when the value already has the type.
inline LobDoc& CAgg::toLobDoc() {
    convert(eLobDoc);
    return m_payload.lobDoc;
}
inline DkAnnot& CAgg::toDkAnnot() {
    convert(eDkAnnot);
    return m_payload.annot;
}
inline DkPage& CAgg::toDkPage() {
    convert(eDkPage);
    return m_payload.page;
}
inline DkDoc& CAgg::toDkDoc() {
    convert(eDkDoc);
    return m_payload.dkDoc;
}
inline EStr& CAgg::toEStr() {
    convert(eEStr);
    return m_payload.estr;
}
inline QsAtom& CAgg::toQsAtom() {
    convert(eQsAtom);
    return m_payload.atom;
}
inline QsInt32& CAgg::toQsInt32() {
    convert(eQsInt32);
    return m_payload.int32;
}
inline QsBool& CAgg::toQsBool() {
    convert(eQsBool);
    return m_payload.boolean;
}
inline double& CAgg::todouble() {
    convert(eDouble);
    return m_payload.number;
}
inline DkColorValueRec& CAgg::toDkColorValueRec() {
    convert(eDkColorValueRec);
    return m_payload.colour;
}
inline QsTimeRec& CAgg::toQsTimeRec() {
    convert(eQsTimeRec);
    return m_payload.time;
}
inline QsFixedPoint& CAgg::toFixedPoint() {
    convert(eFixedPoint);
    return m_payload.point;
}
inline QsFixedRect& CAgg::toFixedRect() {
    convert(eFixedRect);
    return m_payload.rect;
}
inline QsFixedQuad& CAgg::toFixedQuad() {
    convert(eFixedQuad);
    return m_payload.quad;
}
inline QsFixedMatrix& CAgg::toFixedMatrix() {
    convert(eFixedMatrix);
    return m_payload.matrix;
}
inline VxIcon& CAgg::toVxIcon() {
    convert(eVxIcon);
    return m_payload.icon;
}
inline CQsText& CAgg::toCQsText() {
    convert(eCQsText);
    return *m_payload.text;
}
inline CAgg::CAggMap& CAgg::toMap() {
    convert(eMap);
    if (m_sharedMap)
        unshareMap();
    return *m_payload.map;
}
inline CAgg::CAggQsAtomMap& CAgg::toQsAtomMap() {
    convert(eQsAtomMap);
    return *m_payload.atomMap;
}
inline CAgg::CAggVector& CAgg::toVector() {
    convert(eVector);
    return *m_payload.vector;
}

// The atom map's lookups and inserts, here where CAgg is complete.

constexpr size_t CAggAtomMap::bytesFor(size_t room) {
    return sizeof(CAggAtomMap) + room * (sizeof(value_type*) + sizeof(value_type));
}

inline CAggAtomMap::value_type** CAggAtomMap::lowerBound(QsAtom key) const {
    value_type** first = m_order;
    size_t count = m_size;
    // A record is mostly filled in the order of its keys: a key past the last is placed at once.
    if (count > 0 && first[count - 1]->first < key)
        return first + count;
    // A record has a handful of entries: a scan; a bigger map halves.
    while (count > 8) {
        size_t half = count / 2;
        if (first[half]->first < key) {
            first += half + 1;
            count -= half + 1;
        } else {
            count = half;
        }
    }
    while (count > 0 && (*first)->first < key) {
        ++first;
        --count;
    }
    return first;
}

inline CAggAtomMap::iterator CAggAtomMap::find(QsAtom key) {
    value_type** at = lowerBound(key);
    return at != m_order + m_size && (*at)->first == key ? iterator(at) : end();
}

inline CAggAtomMap::const_iterator CAggAtomMap::find(QsAtom key) const {
    value_type** at = lowerBound(key);
    return at != m_order + m_size && (*at)->first == key ? const_iterator(at) : end();
}

template <class... Args>
std::pair<CAggAtomMap::iterator, bool> CAggAtomMap::emplace(QsAtom key, Args&&... args) {
    value_type** at = lowerBound(key);
    if (at != m_order + m_size && (*at)->first == key)
        return {iterator(at), false};
    auto index = static_cast<size_t>(at - m_order);
    value_type* slot = takeSlot(); // may move the order
    try {
        new (slot) value_type(std::piecewise_construct, std::forward_as_tuple(key),
                              std::forward_as_tuple(std::forward<Args>(args)...));
    } catch (...) {
        giveBack(slot);
        throw;
    }
    at = m_order + index;
    std::memmove(at + 1, at, (m_size - index) * sizeof(value_type*));
    *at = slot;
    ++m_size;
    return {iterator(at), true};
}

inline CAgg& CAggAtomMap::operator[](QsAtom key) {
    return emplace(key).first->second;
}

inline std::pair<CAggAtomMap::iterator, bool> CAggAtomMap::insert(const value_type& entry) {
    return emplace(entry.first, entry.second);
}

template <class Value>
std::pair<CAggAtomMap::iterator, bool> CAggAtomMap::insert_or_assign(QsAtom key, Value&& value) {
    auto found = find(key);
    if (found == end())
        return emplace(key, std::forward<Value>(value));
    found->second = std::forward<Value>(value);
    return {found, false};
}
