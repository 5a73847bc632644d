// The conversion rows of maps, atom maps and vectors, the PERL-style flatteners, and the
// splitting and joining of vectors.
#include "values/CAgg.h"

#include "frame/HostError.h"
#include "frame/QsCore.h"
#include "frame/miString.h"
#include "values/CAggInternal.h"

#include <algorithm>
#include <memory>

namespace {

// Past this an index read from a key is taken for bad input (see vectorIndex).
constexpr long kMaxVectorIndex = 0xFFFFFF;

/// The vector index of a map key: its text read with miAtoi in the host encoding.
long vectorIndexOfKey(const _EStrRec* key) {
    if (!key)
        return 0;
    // Digits, signs and spaces are the same bytes in every single-byte encoding, so only UCS
    // needs moving to the host encoding before it is read.
    if (key->encoding != kEStrUCS)
        return miAtoi(key->bytes ? key->bytes : "");
    CEStr host = CEStr::adopt(EStrCopySetEncoding(key, kEStrHost));
    return miAtoi(host.c_str());
}

/// Stores a value at an index of a vector, growing it with voids. An index that no vector can
/// hold (negative, or absurdly large) lands on 0, as a key that is no number does.
void placeAt(CAgg::CAggVector& elements, long index, CAgg&& value) {
    if (index < 0 || index > kMaxVectorIndex)
        index = 0;
    auto at = static_cast<size_t>(index);
    if (at >= elements.size())
        elements.resize(at + 1);
    elements[at] = std::move(value);
}

CEStr indexKey(size_t index) {
    char text[32];
    miSnprintf(text, sizeof text, "%d", static_cast<int>(index));
    return CEStr(text, kEStrHost);
}

} // namespace

void CAgg::convertMap(bool (&mask)[kTypeCount]) {
    CAggMap& entries = *m_payload.map;
    if (mask[eQsAtomMap]) {
        // Keys that give one atom collapse to the last of them.
        auto atoms = std::make_unique<CAggQsAtomMap>();
        for (auto& [key, value] : entries)
            (*atoms)[CAggAtomOfKey(key)] = std::move(value);
        return setAtomMap(atoms.release());
    }
    if (mask[eVector]) {
        // Keys that are no number all land on index 0, the last one winning; holes stay void.
        CAggVector elements;
        for (auto& [key, value] : entries)
            placeAt(elements, vectorIndexOfKey(key), std::move(value));
        return setVector(std::move(elements));
    }
    if (wantsLob(mask))
        return lobFromCollection(mask);
    convertvoid(mask);
}

void CAgg::convertQsAtomMap(bool (&mask)[kTypeCount]) {
    CAggQsAtomMap& entries = *m_payload.atomMap;
    if (mask[eMap]) {
        CAggMap texts;
        for (auto& [atom, value] : entries)
            texts[CEStr(QsAtomGetString(atom), kEStrPDFDoc)] = std::move(value);
        return setMap(std::move(texts));
    }
    if (mask[eVector]) {
        CAggVector elements;
        for (auto& [atom, value] : entries)
            placeAt(elements, miAtoi(QsAtomGetString(atom)), std::move(value));
        return setVector(std::move(elements));
    }
    if (wantsLob(mask))
        return lobFromCollection(mask);
    convertvoid(mask);
}

void CAgg::convertVector(bool (&mask)[kTypeCount]) {
    CAggVector& elements = *m_payload.vector;
    if (mask[eMap]) {
        // The keys are the indices in the host encoding, so they are not numeric keys: they
        // order as text ("10" before "2").
        CAggMap texts;
        for (size_t i = 0; i < elements.size(); ++i)
            texts.emplace(indexKey(i), std::move(elements[i]));
        return setMap(std::move(texts));
    }
    if (mask[eQsAtomMap]) {
        auto atoms = std::make_unique<CAggQsAtomMap>();
        for (size_t i = 0; i < elements.size(); ++i)
            (*atoms)[CAggAtomOf(indexKey(i).c_str())] = std::move(elements[i]);
        return setAtomMap(atoms.release());
    }
    if (wantsLob(mask))
        return lobFromCollection(mask);
    if (mask[eDkColorValueRec])
        return colourFromVector();
    for (CAggType target : {eFixedPoint, eFixedQuad, eFixedRect, eFixedMatrix}) {
        if (mask[target])
            return fixedFromVector(target);
    }
    convertvoid(mask);
}

CAgg::CAggVector& CAgg::toVectorOf(const std::vector<CAggType>& types) {
    CAggVector& elements = toVector();
    for (CAgg& element : elements)
        element.convert(types);
    return elements;
}

CAgg::CAggMap& CAgg::toMapOf(const std::vector<CAggType>& types) {
    CAggMap& entries = toMap();
    for (auto& entry : entries)
        entry.second.convert(types);
    return entries;
}

CAgg::CAggQsAtomMap& CAgg::toQsAtomMapOf(const std::vector<CAggType>& types) {
    CAggQsAtomMap& entries = toQsAtomMap();
    for (auto& entry : entries)
        entry.second.convert(types);
    return entries;
}

void CAgg::map2VectorPERLStyle() {
    if (m_type != eMap && m_type != eQsAtomMap)
        convert(eMap);
    if (m_sharedMap)
        unshareMap();
    CAggVector flat;
    if (m_type == eMap) {
        flat.reserve(m_payload.map->size() * 2);
        for (auto& [key, value] : *m_payload.map) {
            flat.emplace_back(key.isNull() ? CAgg() : CAgg(key.get()));
            flat.push_back(std::move(value));
        }
    } else {
        flat.reserve(m_payload.atomMap->size() * 2);
        for (auto& [atom, value] : *m_payload.atomMap) {
            CAgg key;
            key.toQsAtom() = atom;
            flat.push_back(std::move(key));
            flat.push_back(std::move(value));
        }
    }
    setVector(std::move(flat));
}

void CAgg::vector2MapPERLStyle() {
    CAggVector& flat = toVector();
    CAggMap entries;
    // A later duplicate key overwrites an earlier one; a last key without a value is dropped.
    for (size_t i = 0; i + 1 < flat.size(); i += 2)
        entries[CEStr(flat[i].toEStr())] = std::move(flat[i + 1]);
    setMap(std::move(entries));
}

void CAgg::vector2QsAtomMapPERLStyle() {
    CAggVector& flat = toVector();
    auto entries = std::make_unique<CAggQsAtomMap>();
    for (size_t i = 0; i + 1 < flat.size(); i += 2)
        (*entries)[flat[i].toQsAtom()] = std::move(flat[i + 1]);
    setAtomMap(entries.release());
}

void CAgg::splitVector(long n) {
    // A size below 1 has no meaning; refuse it before anything changes.
    if (n < 1)
        raiseHostError(kHostErrBadSize);
    CAggVector& elements = toVector();
    auto size = static_cast<size_t>(n);
    size_t groups = elements.size() / size + (elements.size() % size ? 1 : 0);
    CAggVector parts(groups);
    for (size_t i = 0; i < elements.size(); ++i) {
        CAggVector& part = parts[i / size].toVector();
        if (part.empty())
            part.reserve(std::min(size, elements.size() - i));
        part.push_back(std::move(elements[i]));
    }
    setVector(std::move(parts));
}

void CAgg::splitVectorLobArray(long n) {
    if (n < 1)
        raiseHostError(kHostErrBadSize);
    // The elements of the array are held as objects, one level, as toVector reads them.
    if (m_type == eLobObj)
        lobToCollection(eVector);
    splitVector(n);
}

void CAgg::joinVector() {
    CAggVector& elements = toVector();
    CAggVector joined;
    size_t seen = 0;
    for (size_t i = 0; i < elements.size(); ++i) {
        // An array object gives its elements as objects; anything else is read as a vector.
        CAggVector& inner = elements[i].toVector();
        seen += inner.size();
        // Room for the whole result at the mean size seen so far; growth stays geometric.
        size_t expected = seen / (i + 1) * elements.size();
        if (expected > joined.capacity())
            joined.reserve(std::max(expected, joined.capacity() * 2));
        for (CAgg& element : inner)
            joined.push_back(std::move(element));
    }
    setVector(std::move(joined));
}
