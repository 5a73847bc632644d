// Reading the store's feed descriptors and records without changing them: the Tracker's view of
// a feed. A missing feed, record or key reads as absent, never as a new empty entry.
#pragma once

#include "values/CAgg.h"
#include "values/EStr.h"

#include <string>
#include <vector>

/// The store's descriptor of a feed (its URL cut at "#"), or null when it has none.
CAgg* FeedDescriptor(const _EStrRec* url);
/// The feed record of a descriptor ("RSS"), or null when it is unset.
CAgg* FeedRecord(const _EStrRec* url);
/// An item of the feed's record, or null.
CAgg* FeedItem(const _EStrRec* url, long index);
/// The items of a record, or null.
std::vector<CAgg>* RecordItems(CAgg& record);
/// Whether the URL is in the store's list of feeds.
bool FeedIsListed(const _EStrRec* url);

/// The value under a key of a map of either kind, or null.
CAgg* ValueOf(CAgg& map, const char* key);
/// A string value, or empty (a null CEStr) when absent or not a string.
CEStr TextOf(CAgg& map, const char* key);
/// Whether a key holds a non-empty string.
bool HasText(CAgg& map, const char* key);
long LongOf(CAgg& map, const char* key, long fallback = 0);
bool BoolOf(CAgg& map, const char* key);
/// The value of the local name in the Tracker's namespace in a level's Extension, or null.
CAgg* InboxExtension(CAgg& level, const char* localName);

/// A message as UTF-8, with each place ("{URL}") filled.
std::string MessageText(const char* key,
                        const std::vector<std::pair<std::string, std::string>>& fills = {});
/// A message as an EStr of the host's encoding.
CEStr MessageEStr(const char* key);
