// The subscription store's entries of the plug-in's exported table, for other plug-ins. URLs
// come as 8-bit text in the host encoding.
#pragma once

#include "frame/host/ViewerHandles.h"
#include "rss/CRSSManager.h"
#include "values/QsCab.h"
#include "values/QsStm.h"

/// Runs proc(data) once when the store starts.
void RegisterOnStartProc(void (*proc)(void* data), void* data);
/// Makes url a local feed whose record proc provides, with the built-in icon of iconName.
void RegisterFeedProc(const char* url, const char* iconName, CRSSManager::FeedProc proc,
                      void* data);
/// Forgets the provider of url.
void UnregisterFeedProc(const char* url);
/// Runs the provider of url again and merges what it gives.
void UpdateFeedProc(const char* url);
/// Subscribes to url: type "Code" (hidden, transient), "PNG" (hidden, persistent) or any other
/// for an RSS feed; a feed added for a document goes when the document closes.
void AddFeed(const char* url, VxDoc doc, const char* type, bool hidden);
/// Whether url is subscribed.
bool HasFeed(const char* url);
/// Calls proc with a feed's URL each time that feed is updated.
void RegisterNotificationProc(CRSSManager::HFTNotifyProc proc, void* data);
void UnregisterNotificationProc(CRSSManager::HFTNotifyProc proc, void* data);
/// A subscribed feed's record as a new cabinet that the caller owns; null when the feed is not
/// subscribed or has no record yet.
QsCab GetFeedContents(const char* url);
/// Drops one reference to url, as removing it in the Tracker does.
void RemoveFeed(const char* url);
/// A subscribed feed's record written as RSS 2.0 text, on a read stream that the caller owns;
/// null when the feed is not subscribed, has no record, or cannot be written.
QsStm ConvertToStream(const char* url);
/// Whether another program reads "feed://" URLs, so that a feed could be handed to it: never on
/// this platform.
bool SupportsFeedProtocol();
