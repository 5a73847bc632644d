#include "host/net/CCurlRequest.h"

#include "host/net/CurlErrors.h"
#include "host/net/HttpChallenge.h"

#include <glib.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace {

bool hasLineBreak(const char* text) {
    return std::strpbrk(text, "\r\n") != nullptr;
}

bool isHttpURL(const std::string& url, std::string* host, std::string* port) {
    CURLU* parsed = curl_url();
    if (!parsed)
        return false;
    bool ok = curl_url_set(parsed, CURLUPART_URL, url.c_str(), 0) == CURLUE_OK;
    char* scheme = nullptr;
    char* hostPart = nullptr;
    char* portPart = nullptr;
    ok = ok && curl_url_get(parsed, CURLUPART_SCHEME, &scheme, 0) == CURLUE_OK &&
         (strcasecmp(scheme, "http") == 0 || strcasecmp(scheme, "https") == 0) &&
         curl_url_get(parsed, CURLUPART_HOST, &hostPart, 0) == CURLUE_OK;
    if (ok) {
        *host = hostPart;
        if (curl_url_get(parsed, CURLUPART_PORT, &portPart, 0) == CURLUE_OK)
            *port = portPart;
    }
    curl_free(scheme);
    curl_free(hostPart);
    curl_free(portPart);
    curl_url_cleanup(parsed);
    return ok;
}

std::string_view trim(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t' || text.back() == '\r' ||
                             text.back() == '\n'))
        text.remove_suffix(1);
    return text;
}

/// Frees a credential the callback handed over, wiping it first.
void dropSecret(char*& text) {
    if (!text)
        return;
    explicit_bzero(text, std::strlen(text));
    std::free(text);
    text = nullptr;
}

/// A header line for the trace, with any credential it carries hidden.
std::string traceLine(std::string_view line) {
    for (std::string_view name : {"authorization:", "proxy-authorization:"}) {
        if (line.size() >= name.size() && strncasecmp(line.data(), name.data(), name.size()) == 0)
            return std::string(line.substr(0, name.size())) + " <hidden>";
    }
    return std::string(line);
}

} // namespace

CCurlRequest::CCurlRequest(std::string url, int32_t mode, NetAsyncProc consumer, void* userData)
    : m_url(std::move(url)), m_mode(mode), m_consumer(consumer), m_userData(userData) {
    std::string host, port;
    if ((mode != kNetOpenRead && mode != kNetOpenReadWrite) || !isHttpURL(m_url, &host, &port))
        return;
    m_easy = curl_easy_init();
}

CCurlRequest::~CCurlRequest() {
    closeBody();
    if (m_easy)
        curl_easy_cleanup(m_easy);
    curl_slist_free_all(m_headerList);
}

void CCurlRequest::closeBody() {
    if (m_bodyClose)
        m_bodyClose(m_bodyData);
    m_bodyClose = nullptr;
    m_bodyWrite = nullptr;
}

void CCurlRequest::setClient(const CurlClientSettings& client, int32_t flags) {
    m_client = client;
    m_flags = flags;
}

namespace {

/// The tighter of a time-out and a bound, where 0 or less means none.
int32_t tighter(int32_t timeout, int64_t bound) {
    if (bound <= 0)
        return timeout;
    return timeout > 0 ? static_cast<int32_t>(std::min<int64_t>(timeout, bound))
                       : static_cast<int32_t>(std::min<int64_t>(bound, INT32_MAX));
}

} // namespace

void CCurlRequest::setWaitBounds(int32_t connectSeconds, int32_t idleSeconds) {
    // Silence is caught by the stall watch and the header wait, to the millisecond; a trickle by
    // curl's speed check, which averages over the last seconds and so may take a few more.
    m_client.connectSeconds = tighter(m_client.connectSeconds, connectSeconds);
    m_client.stallMs = tighter(m_client.stallMs, int64_t{idleSeconds} * 1000);
    m_client.headerWaitMs = tighter(m_client.headerWaitMs, int64_t{idleSeconds} * 1000);
    m_boundIdleSeconds = std::max(idleSeconds, 0);
}

bool CCurlRequest::setAuthenticationData(void* data) {
    if (m_started)
        return false;
    m_authData = data;
    m_hasAuthData = data != nullptr;
    return true;
}

bool CCurlRequest::addHeader(const char* name, const char* value) {
    if (m_started || !name || !*name || !value || hasLineBreak(name) || hasLineBreak(value) ||
        std::strchr(name, ':'))
        return false;
    m_requestHeaders.emplace_back(name, value);
    return true;
}

bool CCurlRequest::setBody(NetPostWriteProc write, NetPostCloseProc close, void* data) {
    if (m_started || m_hasBody || m_mode != kNetOpenReadWrite || !write)
        return false;
    m_bodyWrite = write;
    m_bodyClose = close;
    m_bodyData = data;
    m_hasBody = true;
    return true;
}

void CCurlRequest::event() {
    if (m_onEvent)
        m_onEvent();
}

bool CCurlRequest::start() {
    if (m_started)
        return !m_done;
    m_started = true;
    if (m_bodyWrite) {
        bool pulled = m_body.fill(m_bodyWrite, m_bodyData);
        closeBody();
        if (!pulled) {
            fail(kNetErrAborted);
            return false;
        }
    }
    configure();
    return true;
}

void CCurlRequest::configure() {
    CURL* easy = m_easy;
    curl_easy_setopt(easy, CURLOPT_URL, m_url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(easy, CURLOPT_PRIVATE, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &CCurlRequest::onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &CCurlRequest::onWrite);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    if (m_trace) {
        curl_easy_setopt(easy, CURLOPT_DEBUGFUNCTION, &CCurlRequest::onDebug);
        curl_easy_setopt(easy, CURLOPT_DEBUGDATA, this);
        curl_easy_setopt(easy, CURLOPT_VERBOSE, 1L);
    }

    const CurlClientSettings& client = m_client;
    if (!client.userAgent.empty())
        curl_easy_setopt(easy, CURLOPT_USERAGENT, client.userAgent.c_str());
    if (client.connectSeconds > 0)
        curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, long{client.connectSeconds} * 1000);
    // A transfer paused for a slow reader is exempt from curl's speed check.
    if (m_boundIdleSeconds > 0) {
        curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, kLowSpeedBytes);
        curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, long{m_boundIdleSeconds});
    }
    // curl's own low-speed check averages over seconds, so a burst followed by silence goes
    // unnoticed for a while; the progress callback watches for silence itself.
    m_lastMoveMs = g_get_monotonic_time() / 1000;
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, &CCurlRequest::onProgress);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, this);
    if (client.totalMs > 0)
        curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, long{client.totalMs});
    bool verify = (client.flags & kNetClientVerifyTLS) != 0;
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, verify ? 1L : 0L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, verify ? 2L : 0L);
    if (client.flags & kNetClientDecompress)
        curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
    if (client.option == kNetOptionNoProxy)
        curl_easy_setopt(easy, CURLOPT_NOPROXY, "*");

    bool callerAccept = false, callerType = false;
    for (const auto& [name, value] : m_requestHeaders) {
        m_headerList = curl_slist_append(m_headerList, (name + ": " + value).c_str());
        callerAccept = callerAccept || strcasecmp(name.c_str(), "Accept") == 0;
        callerType = callerType || strcasecmp(name.c_str(), "Content-Type") == 0;
    }
    if (!callerAccept && !client.acceptTypes.empty()) {
        std::string accept = "Accept: ";
        for (size_t i = 0; i < client.acceptTypes.size(); ++i)
            accept += (i ? ", " : "") + client.acceptTypes[i];
        m_headerList = curl_slist_append(m_headerList, accept.c_str());
    }
    if (m_mode == kNetOpenReadWrite) {
        // The body is whole before it goes, so it has a length; no form type is made up for
        // it, and no "100 Continue" is waited for.
        if (!callerType)
            m_headerList = curl_slist_append(m_headerList, "Content-Type:");
        m_headerList = curl_slist_append(m_headerList, "Expect:");
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(m_body.size()));
        curl_easy_setopt(easy, CURLOPT_READFUNCTION, &CCurlRequest::onRead);
        curl_easy_setopt(easy, CURLOPT_READDATA, this);
        curl_easy_setopt(easy, CURLOPT_SEEKFUNCTION, &CCurlRequest::onSeek);
        curl_easy_setopt(easy, CURLOPT_SEEKDATA, this);
    }
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, m_headerList);
}

void CCurlRequest::restart() {
    m_status = 0;
    m_headers.clear();
    m_headerBytes = 0;
    m_headersTooLarge = false;
    m_headersFinal = false;
    m_done = false;
    m_error = 0;
    m_pending.clear();
    m_pendingPos = 0;
    m_paused = false;
    m_authDecided = false;
    m_body.seek(0);
    m_lastMoveMs = g_get_monotonic_time() / 1000;
    m_lastDown = 0;
    m_lastUp = 0;
    m_stalled = false;
}

void CCurlRequest::finish(CURLcode code) {
    if (m_done)
        return;
    m_done = true;
    m_error = m_headersTooLarge ? kNetErrInvalidResponse
              : m_stalled       ? kNetErrTimeout
                                : netErrorFromCurl(code);
    // A reply that ended without error ended with its headers, whatever came before.
    if (m_error == 0 && m_status > 0)
        m_headersFinal = true;
    event();
}

void CCurlRequest::fail(long error) {
    if (m_done)
        return;
    m_done = true;
    m_error = error;
    event();
}

void CCurlRequest::markHeadersFinal() {
    if (m_headersFinal)
        return;
    m_headersFinal = true;
    event();
}

void CCurlRequest::headerLine(std::string_view line) {
    if (m_headersFinal)
        return; // trailers of a chunked body
    if (line.substr(0, 5) == "HTTP/") {
        // A new reply begins: an interim one (100 Continue) or a challenge curl answers itself
        // came before.
        m_headers.clear();
        size_t space = line.find(' ');
        m_status = 0;
        for (size_t i = space + 1; space != std::string_view::npos && i < space + 4 &&
                                   i < line.size() && line[i] >= '0' && line[i] <= '9';
             ++i)
            m_status = m_status * 10 + (line[i] - '0');
        return;
    }
    std::string_view content = trim(line);
    if (content.empty()) {
        bool interim = m_status >= 100 && m_status < 200;
        bool challengeCurlMayAnswer = m_sentCredentials && (m_status == 401 || m_status == 407);
        if (m_status > 0 && !interim && !challengeCurlMayAnswer)
            markHeadersFinal();
        return;
    }
    if ((line.front() == ' ' || line.front() == '\t') && !m_headers.empty()) {
        m_headers.back().second += " ";
        m_headers.back().second += content;
        return;
    }
    size_t colon = content.find(':');
    if (colon == std::string_view::npos)
        return;
    m_headers.emplace_back(std::string(trim(content.substr(0, colon))),
                           std::string(trim(content.substr(colon + 1))));
}

size_t CCurlRequest::onHeader(char* data, size_t size, size_t count, void* self) {
    auto* request = static_cast<CCurlRequest*>(self);
    size_t total = size * count;
    request->m_headerBytes += total;
    if (request->m_headerBytes > kHeaderLimit) {
        request->m_headersTooLarge = true;
        return 0; // curl gives up on the transfer
    }
    request->headerLine(std::string_view(data, total));
    return total;
}

size_t CCurlRequest::onWrite(char* data, size_t size, size_t count, void* self) {
    auto* request = static_cast<CCurlRequest*>(self);
    size_t total = size * count;
    if (request->m_status > 0)
        request->markHeadersFinal();
    if (request->pending() >= kPendingLimit) {
        request->m_paused = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    if (request->m_pendingPos > 0) {
        request->m_pending.erase(0, request->m_pendingPos);
        request->m_pendingPos = 0;
    }
    request->m_pending.append(data, total);
    request->event();
    return total;
}

size_t CCurlRequest::onRead(char* buffer, size_t size, size_t count, void* self) {
    return static_cast<CCurlRequest*>(self)->m_body.read(buffer, size * count);
}

int CCurlRequest::onSeek(void* self, curl_off_t offset, int origin) {
    if (origin != SEEK_SET || offset < 0)
        return CURL_SEEKFUNC_CANTSEEK;
    return static_cast<CCurlRequest*>(self)->m_body.seek(static_cast<uint64_t>(offset))
               ? CURL_SEEKFUNC_OK
               : CURL_SEEKFUNC_FAIL;
}

int CCurlRequest::onDebug(CURL*, curl_infotype type, char* data, size_t size, void* self) {
    auto* request = static_cast<CCurlRequest*>(self);
    const char* mark = type == CURLINFO_HEADER_OUT  ? "> "
                       : type == CURLINFO_HEADER_IN ? "< "
                       : type == CURLINFO_TEXT      ? "* "
                                                    : nullptr;
    if (!mark || !request->m_trace)
        return 0;
    std::string_view text(data, size);
    while (!text.empty()) {
        size_t end = text.find('\n');
        std::string_view line = trim(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (!line.empty())
            request->m_trace(mark + traceLine(line));
    }
    return 0;
}

int CCurlRequest::onProgress(void* self, curl_off_t, curl_off_t down, curl_off_t, curl_off_t up) {
    auto* request = static_cast<CCurlRequest*>(self);
    int64_t now = g_get_monotonic_time() / 1000;
    // A transfer paused for a slow reader is not stalled.
    if (request->m_paused || down != request->m_lastDown || up != request->m_lastUp) {
        request->m_lastMoveMs = now;
        request->m_lastDown = down;
        request->m_lastUp = up;
        return 0;
    }
    int32_t stall = request->m_client.stallMs;
    if (stall <= 0 || now - request->m_lastMoveMs < stall)
        return 0;
    request->m_stalled = true;
    return 1; // curl ends the transfer
}

size_t CCurlRequest::take(char* buffer, size_t count) {
    size_t n = std::min(count, pending());
    std::memcpy(buffer, m_pending.data() + m_pendingPos, n);
    m_pendingPos += n;
    if (m_pendingPos == m_pending.size()) {
        m_pending.clear();
        m_pendingPos = 0;
    }
    return n;
}

std::optional<std::string> CCurlRequest::header(const char* name) const {
    if (!name || !m_headersFinal)
        return std::nullopt;
    std::optional<std::string> value;
    for (const auto& [key, text] : m_headers) {
        if (strcasecmp(key.c_str(), name) != 0)
            continue;
        if (value)
            *value += ", ";
        else
            value.emplace();
        *value += text;
    }
    return value;
}

std::string CCurlRequest::serverName() const {
    std::string host, port;
    isHttpURL(m_url, &host, &port);
    return port.empty() ? host : host + ":" + port;
}

bool CCurlRequest::wantsAuthentication() const {
    if (!m_headersFinal || m_authDecided || m_authAttempts >= kMaxAuthAttempts)
        return false;
    int which = m_status == 401 ? 0 : m_status == 407 ? 1 : -1;
    return which >= 0 && m_client.auth[which].mode == kNetAuthAsk && m_client.auth[which].proc;
}

bool CCurlRequest::authenticate() {
    m_authDecided = true;
    bool proxy = m_status == 407;
    auto challenges =
        parseHttpChallenges(header(proxy ? "Proxy-Authenticate" : "WWW-Authenticate").value_or(""));
    const HttpChallenge* chosen = nullptr;
    long scheme = CURLAUTH_NONE;
    for (const HttpChallenge& challenge : challenges) {
        if (strcasecmp(challenge.scheme.c_str(), "Digest") == 0) {
            chosen = &challenge;
            scheme = CURLAUTH_DIGEST;
            break;
        }
        if (!chosen && strcasecmp(challenge.scheme.c_str(), "Basic") == 0) {
            chosen = &challenge;
            scheme = CURLAUTH_BASIC;
        }
    }
    if (!chosen)
        return false;

    const CurlClientSettings::Auth& auth = m_client.auth[proxy ? 1 : 0];
    char* user = nullptr;
    char* password = nullptr;
    ++m_authAttempts;
    auth.proc(serverName().c_str(), chosen->realm.c_str(), &user, &password, m_authAttempts,
              m_flags, m_hasAuthData ? m_authData : auth.data);
    if (!user) {
        dropSecret(password);
        return false;
    }
    // curl keeps copies of its own; ours are wiped at once.
    curl_easy_setopt(m_easy, proxy ? CURLOPT_PROXYUSERNAME : CURLOPT_USERNAME, user);
    curl_easy_setopt(m_easy, proxy ? CURLOPT_PROXYPASSWORD : CURLOPT_PASSWORD,
                     password ? password : "");
    curl_easy_setopt(m_easy, proxy ? CURLOPT_PROXYAUTH : CURLOPT_HTTPAUTH, scheme);
    dropSecret(user);
    dropSecret(password);
    m_sentCredentials = true;
    return true;
}
