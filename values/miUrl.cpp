// Cracking, rebuilding, resolving, canonicalising and comparing URLs.
#include "values/miUrl.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

namespace {

constexpr int32_t kMaxPort = 0x7FFFFFFF;

char lowerAscii(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isSchemeChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' ||
           c == '.' || c == '-';
}

bool equalNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (lowerAscii(a[i]) != lowerAscii(b[i]))
            return false;
    }
    return true;
}

bool equalText(std::string_view a, std::string_view b, bool noCase) {
    return noCase ? equalNoCase(a, b) : a == b;
}

int32_t defaultPort(int32_t kind) {
    switch (kind) {
    case kUrlHttp:
        return 80;
    case kUrlHttps:
        return 443;
    case kUrlFtp:
        return 21;
    default:
        return 0;
    }
}

int32_t kindOfScheme(std::string_view schemeWithColon) {
    if (equalNoCase(schemeWithColon, "http:"))
        return kUrlHttp;
    if (equalNoCase(schemeWithColon, "https:"))
        return kUrlHttps;
    if (equalNoCase(schemeWithColon, "file:"))
        return kUrlFile;
    if (equalNoCase(schemeWithColon, "ftp:"))
        return kUrlFtp;
    return kUrlUnknown;
}

const char* findChar(const char* from, const char* end, char c) {
    const void* hit = std::memchr(from, c, static_cast<size_t>(end - from));
    return hit ? static_cast<const char*>(hit) : end;
}

bool startsWithSlashes(const char* from, const char* end, long count) {
    if (end - from < count)
        return false;
    return std::all_of(from, from + count, [](char c) { return c == '/'; });
}

// Leading decimal digits, held at the largest 32-bit value.
int32_t readPort(const char* from, const char* end) {
    int64_t port = 0;
    for (; from < end && *from >= '0' && *from <= '9'; ++from)
        port = std::min<int64_t>(port * 10 + (*from - '0'), kMaxPort);
    return static_cast<int32_t>(port);
}

void setPart(const char* from, const char* to, long& len, const char*& str) {
    str = from;
    len = to - from;
}

// A file URL's path, with the fix-ups that make "//c|/x", "///x" and "//localhost/x" local.
int32_t crackFilePath(const char* rest, const char* end, CrackedUrlRec& out) {
    if (startsWithSlashes(rest, end, 2)) {
        if (startsWithSlashes(rest, end, 5))
            rest += 3;
        const char* slash = findChar(rest + 2, end, '/');
        if (slash == end || slash == rest + 2)
            rest += 2;
        else if (slash[-1] == '|')
            rest += 1;
        else if (equalNoCase(std::string_view(rest + 2, static_cast<size_t>(slash - rest - 2)),
                             "localhost"))
            rest = slash;
    }
    if (rest == end)
        return kUrlMalformed;
    setPart(rest, end, out.pathLen, out.pathStr);
    return kUrlOK;
}

// "//user:password@host:port" up to the next "/", and the path behind it.
int32_t crackAuthority(const char* rest, const char* end, CrackedUrlRec& out) {
    const char* authority = rest + 2;
    // The authority runs to the next "/" only, so "http://h?q" keeps its query in the host.
    const char* authorityEnd = findChar(authority, end, '/');
    if (authorityEnd < end)
        setPart(authorityEnd, end, out.pathLen, out.pathStr);

    const char* host = authority;
    const char* at = findChar(authority, authorityEnd, '@');
    if (at < authorityEnd) {
        const char* colon = findChar(authority, at, ':');
        setPart(authority, colon, out.userLen, out.userStr);
        if (colon < at)
            setPart(colon + 1, at, out.passwordLen, out.passwordStr);
        host = at + 1;
    }
    const char* colon = findChar(host, authorityEnd, ':');
    setPart(host, colon, out.hostLen, out.hostStr);
    out.port = colon < authorityEnd ? readPort(colon + 1, authorityEnd) : defaultPort(out.scheme);

    if (out.scheme != kUrlUnknown && out.scheme != kUrlNone && out.hostLen == 0)
        return kUrlMalformed;
    return kUrlOK;
}

void splitQuery(CrackedUrlRec& out) {
    if (!out.pathStr)
        return;
    const char* end = out.pathStr + out.pathLen;
    const char* question = findChar(out.pathStr, end, '?');
    if (question == end)
        return;
    setPart(question, end, out.queryLen, out.queryStr);
    out.pathLen = question - out.pathStr;
}

int32_t crack(const char* url, CrackedUrlRec& out) {
    out = CrackedUrlRec{};
    const char* end = url + std::strlen(url);
    if (end == url) {
        out.scheme = kUrlNone;
        out.pathStr = url;
        return kUrlOK;
    }

    const char* hash = findChar(url, end, '#');
    if (hash < end) {
        setPart(hash, end, out.fragmentLen, out.fragmentStr);
        end = hash;
    }

    const char* rest = url;
    const char* scan = url;
    while (scan < end && isSchemeChar(*scan))
        ++scan;
    if (scan < end && *scan == ':') {
        setPart(url, scan, out.schemeLen, out.schemeStr);
        out.scheme = kindOfScheme(std::string_view(url, static_cast<size_t>(scan - url + 1)));
        rest = scan + 1;
    } else {
        out.scheme = kUrlNone;
    }

    int32_t result = kUrlOK;
    if (out.scheme == kUrlFile) {
        result = crackFilePath(rest, end, out);
    } else if (startsWithSlashes(rest, end, 2)) {
        result = crackAuthority(rest, end, out);
    } else {
        setPart(rest, end, out.pathLen, out.pathStr);
        // "http:foo" names no place of its own: it is a reference relative to some base.
        if (out.scheme != kUrlUnknown && out.scheme != kUrlNone) {
            out.scheme = kUrlNone;
            out.schemeLen = 0;
            out.schemeStr = nullptr;
        }
    }
    if (result != kUrlOK)
        return result;
    splitQuery(out);
    return kUrlOK;
}

// The parts of a URL to be rebuilt. A view with a null data pointer is an absent part.
struct UrlView {
    int32_t kind = kUrlNone;
    int32_t port = 0;
    std::string_view scheme, user, password, host, path, query, fragment;
};

std::string_view part(const char* str, long len) {
    return str ? std::string_view(str, static_cast<size_t>(len)) : std::string_view();
}

UrlView viewOf(const CrackedUrlRec& url) {
    UrlView view;
    view.kind = url.scheme;
    view.port = url.port;
    view.scheme = part(url.schemeStr, url.schemeLen);
    view.user = part(url.userStr, url.userLen);
    view.password = part(url.passwordStr, url.passwordLen);
    view.host = part(url.hostStr, url.hostLen);
    view.path = part(url.pathStr, url.pathLen);
    view.query = part(url.queryStr, url.queryLen);
    view.fragment = part(url.fragmentStr, url.fragmentLen);
    return view;
}

bool present(std::string_view view) {
    return view.data() != nullptr;
}

void appendLower(std::string& out, std::string_view text) {
    for (char c : text)
        out += lowerAscii(c);
}

std::string rebuild(const UrlView& url) {
    std::string out;
    out.reserve(url.scheme.size() + url.user.size() + url.password.size() + url.host.size() +
                url.path.size() + url.query.size() + url.fragment.size() + 24);
    if (present(url.scheme)) {
        appendLower(out, url.scheme);
        out += ':';
    }
    int32_t portByDefault = defaultPort(url.kind);
    bool hasUser = present(url.user), hasPassword = present(url.password);
    if (hasUser || hasPassword || present(url.host) || url.port != portByDefault) {
        out += "//";
        out += url.user;
        if (hasPassword) {
            out += ':';
            out += url.password;
        }
        if (hasUser || hasPassword)
            out += '@';
        appendLower(out, url.host);
        if (url.port != portByDefault) {
            out += ':';
            out += std::to_string(url.port);
        }
        if (url.path.empty() || url.path.front() != '/')
            out += '/';
    } else if (url.kind == kUrlFile) {
        out += "//";
    }
    out += url.path;
    out += url.query;
    out += url.fragment;
    return out;
}

// A file URL typed the Windows way ("file://c:\x") reads as the drive form "file://c|/x".
void prepareUrl(std::string& url) {
    if (url.size() < 7 || !equalNoCase(std::string_view(url).substr(0, 7), "file://"))
        return;
    if (url.size() > 8 && url[8] == ':')
        url[8] = '|';
    std::replace(url.begin(), url.end(), '\\', '/');
}

bool startsWith(const std::string& text, std::string_view prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

bool endsWith(const std::string& text, std::string_view suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// The first "/.." that ends a segment ("/../" or a final "/.."), searched from index 1.
size_t findParentStep(const std::string& path) {
    for (size_t at = path.find("/..", 1); at != std::string::npos; at = path.find("/..", at + 1)) {
        if (at + 3 == path.size() || path[at + 3] == '/')
            return at;
    }
    return std::string::npos;
}

void removeDots(std::string& path, bool lowerEscapes) {
    if (lowerEscapes) {
        for (size_t i = 0; i + 2 < path.size(); ++i) {
            if (path[i] == '%' && isHexDigit(path[i + 1]) && isHexDigit(path[i + 2])) {
                path[i + 1] = lowerAscii(path[i + 1]);
                path[i + 2] = lowerAscii(path[i + 2]);
            }
        }
    }
    while (startsWith(path, "./"))
        path.erase(0, 2);
    for (size_t at = path.find("/./"); at != std::string::npos; at = path.find("/./", at))
        path.erase(at + 1, 2);
    if (endsWith(path, "/."))
        path.pop_back();
    for (size_t at = findParentStep(path); at != std::string::npos; at = findParentStep(path)) {
        size_t previous = path.rfind('/', at - 1);
        size_t segment = previous == std::string::npos ? 0 : previous + 1;
        size_t stepEnd = std::min(at + 4, path.size());
        path.erase(segment, stepEnd - segment);
    }
    for (;;) {
        if (startsWith(path, "/..") && (path.size() == 3 || path[3] == '/'))
            path.erase(0, 3);
        else if (startsWith(path, "../"))
            path.erase(0, 3);
        else
            break;
    }
}

// Copies text and its zero into out when it fits in *size bytes; the needed size otherwise, so
// that a caller may measure with a null buffer of size 0.
bool deliver(const std::string& text, char* out, long* size, int32_t* error) {
    long needed = static_cast<long>(text.size()) + 1;
    if (needed > *size) {
        *size = needed;
        *error = kUrlBufferTooSmall;
        return false;
    }
    if (!out) {
        *error = kUrlBadArgument;
        return false;
    }
    std::memcpy(out, text.c_str(), text.size() + 1);
    *size = needed - 1;
    *error = kUrlOK;
    return true;
}

std::string resolve(const UrlView& base, const UrlView& relative) {
    UrlView result;
    result.kind = base.kind;
    result.scheme = base.scheme;
    // Resolving against an empty base keeps the reference's own scheme rather than none.
    if (!present(base.scheme)) {
        result.kind = relative.kind;
        result.scheme = relative.scheme;
    }

    std::string merged;
    bool relativeHasAuthority = present(relative.user) || present(relative.password) ||
                                present(relative.host) ||
                                relative.port != defaultPort(relative.kind);
    if (!relativeHasAuthority) {
        result.user = base.user;
        result.password = base.password;
        result.host = base.host;
        result.port = base.port;
        result.query = relative.query;
        if (!relative.path.empty() && relative.path.front() != '/') {
            size_t slash = base.path.rfind('/');
            merged = slash == std::string_view::npos ? std::string()
                                                     : std::string(base.path.substr(0, slash + 1));
            merged += relative.path;
            removeDots(merged, false);
            result.path = merged;
        } else if (!relative.path.empty()) {
            // An absolute path is taken as it stands; its dots stay.
            result.path = relative.path;
        } else {
            result.path = base.path;
            if (!present(relative.query))
                result.query = base.query;
        }
    } else {
        result.user = relative.user;
        result.password = relative.password;
        result.host = relative.host;
        result.port =
            relative.port == defaultPort(relative.kind) ? defaultPort(result.kind) : relative.port;
        result.path = relative.path;
        result.query = relative.query;
    }
    // The base's fragment carries over to a reference that has none of its own.
    result.fragment = present(relative.fragment) ? relative.fragment : base.fragment;
    return rebuild(result);
}

// The folder of a path: everything up to and with its last "/".
std::string_view folderOf(std::string_view path) {
    size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash + 1);
}

int32_t comparePaths(std::string_view a, std::string_view b, uint32_t flags) {
    bool noCase = flags & kUrlCmpPathNoCase;
    if (equalText(a, b, noCase))
        return kUrlMatch;
    std::string cleanA(a), cleanB(b);
    removeDots(cleanA, flags & kUrlCmpPathLowerEscapes);
    removeDots(cleanB, flags & kUrlCmpPathLowerEscapes);
    if (equalText(cleanA, cleanB, noCase))
        return kUrlMatch;
    std::string_view folderA = folderOf(cleanA), folderB = folderOf(cleanB);
    if (equalText(folderA, folderB, noCase))
        return kUrlSameDir;
    if (folderA.size() < folderB.size() &&
        equalText(folderA, folderB.substr(0, folderA.size()), noCase))
        return kUrlFirstDirIsPrefix;
    if (folderA.size() > folderB.size() &&
        equalText(folderA.substr(0, folderB.size()), folderB, noCase))
        return kUrlSecondDirIsPrefix;
    return kUrlDiffer;
}

// Both absent, or equal up to the first stop character of each.
bool partsMatch(std::string_view a, std::string_view b, char stop, bool noCase) {
    if (!present(a) || !present(b))
        return present(a) == present(b);
    return equalText(a.substr(0, a.find(stop)), b.substr(0, b.find(stop)), noCase);
}

int32_t compareCracked(const UrlView& a, const UrlView& b, uint32_t flags) {
    if ((flags & kUrlCmpKind) && a.kind != b.kind)
        return kUrlDiffer;
    if ((flags & kUrlCmpHost) && !partsMatch(a.host, b.host, ':', true))
        return kUrlDiffer;
    if ((flags & kUrlCmpPort) && a.port != b.port)
        return kUrlDiffer;
    if ((flags & kUrlCmpUser) && !partsMatch(a.user, b.user, ':', flags & kUrlCmpUserNoCase))
        return kUrlDiffer;
    if ((flags & kUrlCmpPassword) &&
        !partsMatch(a.password, b.password, '@', flags & kUrlCmpPasswordNoCase))
        return kUrlDiffer;
    if ((flags & kUrlCmpQuery) && (present(a.query) != present(b.query) || a.query != b.query))
        return kUrlDiffer;
    if (flags & kUrlCmpPath)
        return comparePaths(a.path, b.path, flags);
    return kUrlMatch;
}

} // namespace

int32_t miCrackUrl(const char* url, CrackedUrlRec* out) {
    if (!url || !out)
        return kUrlBadArgument;
    return crack(url, *out);
}

bool miCanonicalizeUrl(const char* url, char* out, long* size, int32_t* error) {
    int32_t ignored = 0;
    if (!error)
        error = &ignored;
    if (!url || !size) {
        *error = kUrlBadArgument;
        return false;
    }
    CrackedUrlRec cracked;
    *error = crack(url, cracked);
    if (*error != kUrlOK)
        return false;
    try {
        UrlView view = viewOf(cracked);
        std::string path(view.path);
        removeDots(path, false);
        if (present(view.path))
            view.path = path;
        std::string text = rebuild(view);
        prepareUrl(text);
        return deliver(text, out, size, error);
    } catch (const std::bad_alloc&) {
        *error = kUrlNoMemory;
        return false;
    }
}

bool miCombineUrl(const char* base, const char* relative, char* out, long* size, int32_t* error) {
    int32_t ignored = 0;
    if (!error)
        error = &ignored;
    if (!base || !relative || !out || !size) {
        *error = kUrlBadArgument;
        return false;
    }
    try {
        std::string baseCopy(base), relativeCopy(relative);
        prepareUrl(baseCopy);
        prepareUrl(relativeCopy);
        CrackedUrlRec baseUrl, relativeUrl;
        if ((*error = crack(baseCopy.c_str(), baseUrl)) != kUrlOK ||
            (*error = crack(relativeCopy.c_str(), relativeUrl)) != kUrlOK)
            return false;
        UrlView baseView = viewOf(baseUrl), relativeView = viewOf(relativeUrl);
        bool resolves =
            baseCopy.empty() || relativeView.kind == kUrlNone || relativeView.kind == baseView.kind;
        std::string text = resolves ? resolve(baseView, relativeView) : rebuild(relativeView);
        return deliver(text, out, size, error);
    } catch (const std::bad_alloc&) {
        *error = kUrlNoMemory;
        return false;
    }
}

int32_t miCompareUrl(const char* a, const char* b, uint32_t flags, int32_t* error) {
    int32_t ignored = 0;
    if (!error)
        error = &ignored;
    if (!a || !b) {
        *error = kUrlBadArgument;
        return kUrlCompareFailed;
    }
    try {
        std::string copyA(a), copyB(b);
        prepareUrl(copyA);
        prepareUrl(copyB);
        CrackedUrlRec urlA, urlB;
        if ((*error = crack(copyA.c_str(), urlA)) != kUrlOK ||
            (*error = crack(copyB.c_str(), urlB)) != kUrlOK)
            return kUrlCompareFailed;
        return compareCracked(viewOf(urlA), viewOf(urlB), flags);
    } catch (const std::bad_alloc&) {
        *error = kUrlNoMemory;
        return kUrlCompareFailed;
    }
}
