// Set operations on maps: combine, intersect, difference.
//
// Each works from a copy of the other map, taken before the receiver changes: the other may be
// a part of the receiver's own tree, which the receiver's changes could free.
#include "values/CAgg.h"

namespace {

bool isMapKind(CAgg::CAggType type) {
    return type == CAgg::eMap || type == CAgg::eQsAtomMap;
}

} // namespace

void CAgg::combine(CAgg& other, bool recursive) {
    if (other.m_type == eQsAtomMap)
        return combine(*other.m_payload.atomMap, recursive);
    combine(other.toMap(), recursive);
}

void CAgg::combine(CAggMap& other, bool recursive) {
    CAggMap theirs(other);
    CAggMap& mine = toMap();
    for (auto& [key, value] : theirs) {
        auto found = mine.find(key.get());
        if (recursive && isMapKind(value.m_type) && found != mine.end()) {
            found->second.combine(value, true);
            continue;
        }
        if (found != mine.end())
            found->second = std::move(value);
        else
            mine.emplace(key, std::move(value));
    }
}

void CAgg::combine(CAggQsAtomMap& other, bool recursive) {
    CAggQsAtomMap theirs(other);
    CAggQsAtomMap& mine = toQsAtomMap();
    for (auto& [atom, value] : theirs) {
        auto found = mine.find(atom);
        if (recursive && isMapKind(value.m_type) && found != mine.end()) {
            found->second.combine(value, true);
            continue;
        }
        mine[atom] = std::move(value);
    }
}

void CAgg::intersect(CAgg& other) {
    if (other.m_type == eQsAtomMap)
        return intersect(*other.m_payload.atomMap);
    intersect(other.toMap());
}

// Erasing and walking on from the next entry keeps what a walk restarted at the first entry
// after each erase keeps.
void CAgg::intersect(CAggMap& other) {
    CAggMap theirs(other);
    CAggMap& mine = toMap();
    for (auto entry = mine.begin(); entry != mine.end();) {
        auto found = theirs.find(entry->first.get());
        if (found == theirs.end() || !(entry->second == found->second))
            entry = mine.erase(entry);
        else
            ++entry;
    }
}

void CAgg::intersect(CAggQsAtomMap& other) {
    CAggQsAtomMap theirs(other);
    CAggQsAtomMap& mine = toQsAtomMap();
    for (auto entry = mine.begin(); entry != mine.end();) {
        auto found = theirs.find(entry->first);
        if (found == theirs.end() || !(entry->second == found->second))
            entry = mine.erase(entry);
        else
            ++entry;
    }
}

void CAgg::difference(CAgg& other, bool recursive) {
    if (other.m_type == eQsAtomMap)
        return difference(*other.m_payload.atomMap, recursive);
    difference(other.toMap(), recursive);
}

namespace {

/// Whether an entry of the receiver goes, given the other's value under its key.
bool differenceErases(CAgg& mine, CAgg& theirs, bool recursive) {
    if (recursive && mine.getType() == theirs.getType() && isMapKind(mine.getType())) {
        mine.difference(theirs, true);
        return mine.isCollectionTypeEmpty();
    }
    return mine == theirs;
}

} // namespace

void CAgg::difference(CAggMap& other, bool recursive) {
    CAggMap theirs(other);
    CAggMap& mine = toMap();
    for (auto entry = mine.begin(); entry != mine.end();) {
        auto found = theirs.find(entry->first.get());
        if (found != theirs.end() && differenceErases(entry->second, found->second, recursive))
            entry = mine.erase(entry);
        else
            ++entry;
    }
}

void CAgg::difference(CAggQsAtomMap& other, bool recursive) {
    CAggQsAtomMap theirs(other);
    CAggQsAtomMap& mine = toQsAtomMap();
    for (auto entry = mine.begin(); entry != mine.end();) {
        auto found = theirs.find(entry->first);
        if (found != theirs.end() && differenceErases(entry->second, found->second, recursive))
            entry = mine.erase(entry);
        else
            ++entry;
    }
}
