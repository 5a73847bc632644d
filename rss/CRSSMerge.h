// How a new version of a feed meets the old one: read state crosses over, item by item.
#pragma once

#include "values/CAgg.h"

/// Writes IsRead into every item of newItems (a vector of item maps, either key kind): the
/// IsRead of the first old item, in old order, whose key matches, else false. An old item's key
/// is its Guid if present and non-empty, else its Link, else its Hash; an old item with none of
/// them passes nothing on. The new item is compared under the old item's key, a missing value
/// counting as empty. Dates take no part. Each old key kind is indexed once, so that a merge
/// costs O(n log n) rather than a walk of the old items for every new one.
void RSSMergeReadState(CAgg& oldItems, CAgg& newItems);
