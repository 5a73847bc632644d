// Walking a CAgg without caring which kind of map or string it holds: maps come with text keys
// (eMap) or atom keys (eQsAtomMap), strings as EStr or as the viewer's text, and code that only
// reads them treats both alike.
#pragma once

#include "values/CAgg.h"
#include "values/EStr.h"

#include <cstddef>
#include <functional>

/// True for a string value, in either of the string types.
bool CAggIsString(const CAgg& value);
/// True for a map of either key kind.
bool CAggIsMap(const CAgg& value);
/// The number of entries of a map of either kind; 0 for anything else.
size_t CAggMapSize(CAgg& value);
/// Erases a key from a map of either kind, leaving the kind as it was.
void CAggRemoveKey(CAgg& map, const char* key);
/// Calls fn with each key and value of a map of either kind, in the map's order; an atom key is
/// given as its text. Anything but a map gives no calls.
void CAggForEachEntry(CAgg& map, const std::function<void(const CEStr& key, CAgg& value)>& fn);
/// Calls fn with each item of an array or each value of a map of either kind.
void CAggForEachChild(CAgg& value, const std::function<void(CAgg& child)>& fn);
/// The value read as a string, from a copy, so that the value keeps its type.
CEStr CAggValueText(const CAgg& value);
