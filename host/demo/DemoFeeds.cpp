#include "host/demo/DemoFeeds.h"

#include "host/demo/DemoDocuments.h"

#include <libsoup/soup.h>

#include <sstream>
#include <string_view>

namespace {

struct DemoFeed {
    const char* path;
    const char* document;
    const char* contentType;
    // The feeds are fixed, so their date of change is too.
    const char* lastModified;
};

constexpr DemoFeed kFeeds[] = {
    {"/feeds/news.xml", "news.xml", "application/rss+xml; charset=utf-8",
     "Tue, 24 Nov 2026 07:30:00 GMT"},
    {"/feeds/notes.atom", "notes.atom", "application/atom+xml; charset=utf-8",
     "Mon, 23 Nov 2026 18:05:00 GMT"},
};

const DemoFeed* findFeed(const std::string& path) {
    for (const DemoFeed& feed : kFeeds) {
        if (path == feed.path)
            return &feed;
    }
    return nullptr;
}

std::string withBase(std::string_view document, const std::string& base) {
    std::string out(document);
    const std::string_view mark = "{base}";
    for (size_t at = out.find(mark); at != std::string::npos; at = out.find(mark, at))
        out.replace(at, mark.size(), base);
    return out;
}

// The tag names the bytes served: the base is part of them.
std::string etagOf(const std::string& bytes) {
    gchar* digest = g_compute_checksum_for_data(
        G_CHECKSUM_SHA1, reinterpret_cast<const guchar*>(bytes.data()), bytes.size());
    std::string tag = "\"" + std::string(digest, 20) + "\"";
    g_free(digest);
    return tag;
}

// If-None-Match lists tags (weak ones with W/) or is "*".
bool tagMatches(const std::string& header, const std::string& etag) {
    std::istringstream list(header);
    for (std::string tag; std::getline(list, tag, ',');) {
        size_t start = tag.find_first_not_of(" \t");
        size_t end = tag.find_last_not_of(" \t");
        if (start == std::string::npos)
            continue;
        tag = tag.substr(start, end - start + 1);
        if (tag.rfind("W/", 0) == 0)
            tag.erase(0, 2);
        if (tag == "*" || tag == etag)
            return true;
    }
    return false;
}

bool notModifiedSince(const std::string& header, const char* lastModified) {
    GDateTime* since = soup_date_time_new_from_http_string(header.c_str());
    GDateTime* changed = soup_date_time_new_from_http_string(lastModified);
    bool unchanged = since && changed && g_date_time_compare(changed, since) <= 0;
    if (since)
        g_date_time_unref(since);
    if (changed)
        g_date_time_unref(changed);
    return unchanged;
}

HTTPReply articlePage(const std::string& path) {
    std::string site = path.rfind("/news/", 0) == 0 ? "Harbour Town Gazette" : "Field Notes";
    return {200, "text/html; charset=utf-8",
            "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>" + site +
                "</title></head><body><h1>" + site + "</h1><p>The demo's article at " +
                EscapeMarkup(path) +
                ". A real site would show the whole story here.</p></body></html>\n"};
}

} // namespace

bool IsDemoFeedPath(const std::string& path) {
    return findFeed(path) || path.rfind("/news/", 0) == 0 || path.rfind("/notes/", 0) == 0;
}

std::string DemoFeedETag(const std::string& path, const std::string& base) {
    const DemoFeed* feed = findFeed(path);
    return feed ? etagOf(withBase(demoDocument(feed->document), base)) : "";
}

HTTPReply ServeDemoFeed(const HTTPRequest& request, const std::string& base) {
    if (request.method != "GET" && request.method != "HEAD")
        return TextReply(405, "A feed is read with GET.\n");
    const DemoFeed* feed = findFeed(request.path);
    if (!feed)
        return articlePage(request.path);
    std::string bytes = withBase(demoDocument(feed->document), base);
    std::string etag = etagOf(bytes);
    HTTPReply reply{200,
                    feed->contentType,
                    std::move(bytes),
                    {{"ETag", etag}, {"Last-Modified", feed->lastModified}}};
    // If-None-Match, when sent, decides alone; If-Modified-Since counts only without it.
    std::optional<std::string> noneMatch = request.header("If-None-Match");
    std::optional<std::string> since = request.header("If-Modified-Since");
    bool unchanged = noneMatch ? tagMatches(*noneMatch, etag)
                               : since && notModifiedSince(*since, feed->lastModified);
    if (unchanged) {
        reply.status = 304;
        reply.body.clear();
    }
    return reply;
}
