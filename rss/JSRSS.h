// The script RSS object: how scripts reach the subscription store.
//
// RSS.addFeed(cURL, bHidden, bPersistent, cType, bUpdateAsync) subscribes to an http or https
// feed and fetches it; cType "JS", "Icon" or "UI" makes a hidden script, icon or presentation
// feed. RSS.removeFeed(cURL) drops one reference. RSS.update(cURL, bAsync, cType) fetches one
// feed again, or queues every stale one without cURL; cType "local" only has the feed redrawn,
// "recursive" fetches its sub-feeds too. RSS.getContents(cURL) gives the feed record, an icon as
// a read stream with width and height, or a script's text. RSS.addUI(cURL, oDriver) gives a feed
// a presentation of the script's own. RSS.feeds lists the subscribed URLs; RSS.hasExternalReader
// tells whether another program reads "feed://" URLs.
//
// Arguments come by position or by name. Everything but update and hasExternalReader is for batch
// and console scripts only (the engine's security error elsewhere); a bad argument is the engine's
// bad-argument error.
#pragma once

#include "frame/host/IScriptEngine.h"
#include "values/EStr.h"

/// The presentation manager's way to install a script's presentation of a feed, replacing the one
/// the URL had. Until the manager has given one, RSS.addUI fails with the security error.
using JSRSSAddUIProc = void (*)(ESContext context, EStr url, ESObject driver);
void JSRSSSetAddUIProc(JSRSSAddUIProc proc);

/// RSS.addFeed(cURL, bHidden, bPersistent, cType, bUpdateAsync).
bool JSRSSAddFeed(ESContext context, ESObject self, ESArgs args, ESVal result);
/// RSS.removeFeed(cURL).
bool JSRSSRemoveFeed(ESContext context, ESObject self, ESArgs args, ESVal result);
/// RSS.update(cURL, bAsync, cType).
bool JSRSSUpdate(ESContext context, ESObject self, ESArgs args, ESVal result);
/// RSS.getContents(cURL).
bool JSRSSGetContents(ESContext context, ESObject self, ESArgs args, ESVal result);
/// RSS.addUI(cURL, oDriver).
bool JSRSSAddUI(ESContext context, ESObject self, ESArgs args, ESVal result);
/// Reads RSS.feeds.
bool JSRSSGetFeeds(ESContext context, ESObject self, ESVal result);
/// Reads RSS.hasExternalReader.
bool JSRSSGetHasExternalReader(ESContext context, ESObject self, ESVal result);

/// Cancels the redraws that RSS.update with "local" scheduled and that have not run yet.
void JSRSSCancelLocalUpdates();
