// The demo's two sample feeds and the article pages they link to:
//
//   GET /feeds/news.xml    an RSS 2.0 feed (news.xml beside this header)
//   GET /feeds/notes.atom  an Atom 0.3 feed (notes.atom)
//   GET /news/..., /notes/...  a short page for each article the feeds link to
//
// A feed is answered with an ETag and a Last-Modified date, and a conditional GET that matches
// either gets a 304 without a body, as a feed reader expects of a well-behaved server.
#pragma once

#include "host/web/LoopbackHTTP.h"

#include <string>

/// Whether the demo serves the path as a feed or an article.
bool IsDemoFeedPath(const std::string& path);

/// Answers a request for a feed or an article; base is the server's "http://127.0.0.1:<port>".
HTTPReply ServeDemoFeed(const HTTPRequest& request, const std::string& base);

/// The ETag that the demo gives a feed served from base; empty for no such feed.
std::string DemoFeedETag(const std::string& path, const std::string& base);
