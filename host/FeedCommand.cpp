#include "host/FeedCommand.h"

#include "frame/host/INetwork.h"
#include "host/CFeedRelay.h"
#include "host/CReferenceHost.h"
#include "host/runner/CScriptRunner.h"
#include "host/runner/CWatchdog.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>

namespace {

constexpr size_t kMaxFeedBytes = 16 * 1024 * 1024;

// Prints the record of the feed at feedURL, which it subscribes to for this run only; feedShown
// tells whether the reader made a feed of it.
constexpr const char* kPrintScript = R"JS(
var feedShown = false;
(function() {
    RSS.addFeed({cURL: feedURL, bHidden: true, bPersistent: false, bUpdateAsync: false});
    var feed = RSS.getContents(feedURL);
    if (!feed || (feed.Title === undefined && feed.Items === undefined))
        return;
    function line(value) {
        return value === undefined || value === null ? "" : String(value).replace(/\s+/g, " ")
                                                                         .trim();
    }
    function pad(n) {
        return (n < 10 ? "0" : "") + n;
    }
    function date(seconds) {
        if (typeof seconds != "number" || seconds == 0)
            return "----------------";
        var d = new Date(seconds * 1000);
        return d.getUTCFullYear() + "-" + pad(d.getUTCMonth() + 1) + "-" + pad(d.getUTCDate()) +
               " " + pad(d.getUTCHours()) + ":" + pad(d.getUTCMinutes());
    }
    console.println(line(feed.Title) || "(no title)");
    var items = feed.Items || [];
    for (var i = 0; i < items.length; ++i) {
        var item = items[i];
        var text = date(item.ModDate) + "  " + (line(item.Title) || "(no title)");
        if (line(item.Link))
            text += "  " + line(item.Link);
        console.println(text);
    }
    feedShown = true;
})();
)JS";

/// The text as a script string literal.
std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned char>(c));
            out += escape;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

bool isWebURL(const std::string& source) {
    return source.rfind("http://", 0) == 0 || source.rfind("https://", 0) == 0;
}

std::string networkFailure(long code) {
    switch (code) {
    case kNetErrNoConnection:
        return "cannot connect to the server";
    case kNetErrNotFound:
        return "no such host";
    case kNetErrTimeout:
        return "the server did not answer in time";
    case kNetErrSSL:
        return "the secure connection failed";
    case kNetErrProxy:
        return "the proxy refused the request";
    case kNetErrInvalidResponse:
        return "the server's answer is not HTTP";
    case kNetErrUnauthorized:
        return "the server wants a password";
    case kNetErrAborted:
        return "the fetch was stopped";
    default:
        return "the fetch failed (network error " + std::to_string(code) + ")";
    }
}

/// The bytes at a URL, through the host's network layer; false with a reason.
bool fetch(CReferenceHost& host, const std::string& url, std::string& bytes, std::string& error) {
    INetwork& net = host.network();
    static const char* const types[] = {"application/rss+xml",
                                        "application/atom+xml",
                                        "application/xml",
                                        "text/xml",
                                        "*/*",
                                        nullptr};
    NetClientID client =
        net.openClient("vellum-host feed", types, kNetClientVerifyTLS | kNetClientDecompress);
    net.setClientOption(client, kNetOptionProxyFromEnvironment);
    NetRequest request = net.openURL(url.c_str(), kNetOpenRead);
    bool ok = request && net.setTimeoutsAndFlags(request, client, 0) && net.sendAndWait(request);
    long status = request ? net.status(request) : kNetErrGeneral;
    if (!ok || status < 200 || status > 299) {
        error = status > 0 ? "the server answered with HTTP status " + std::to_string(status)
                           : networkFailure(status);
    } else {
        char block[16384];
        long count = 0;
        while ((count = net.read(request, block, sizeof block)) > 0 &&
               bytes.size() <= kMaxFeedBytes)
            bytes.append(block, static_cast<size_t>(count));
        if (count < 0)
            error = networkFailure(count);
        else if (bytes.size() > kMaxFeedBytes)
            error = "the reply is larger than " + std::to_string(kMaxFeedBytes >> 20) + " MB";
    }
    if (request)
        net.close(request);
    net.closeClient(client);
    return error.empty();
}

bool readFile(const std::string& path, std::string& bytes, std::string& error) {
    std::error_code code;
    if (std::filesystem::is_directory(path, code)) {
        error = "it is a folder";
        return false;
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = "cannot read it";
        return false;
    }
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    if (in.bad()) {
        error = "cannot read it";
        return false;
    }
    return true;
}

// The relay is on the loopback: requests to it must not go to a proxy that the environment names.
void bypassProxyForLoopback() {
    const char* current = std::getenv("no_proxy");
    std::string list = current && *current ? std::string(current) + ",127.0.0.1" : "127.0.0.1";
    setenv("no_proxy", list.c_str(), 1);
    setenv("NO_PROXY", list.c_str(), 1);
}

} // namespace

CScratchDataFolder::CScratchDataFolder() {
    const char* previous = std::getenv("XDG_DATA_HOME");
    m_hadPrevious = previous != nullptr;
    if (previous)
        m_previous = previous;
    std::error_code code;
    std::string pattern =
        (std::filesystem::temp_directory_path(code) / "vellum-host-feed-XXXXXX").string();
    if (mkdtemp(pattern.data())) {
        m_path = pattern;
        setenv("XDG_DATA_HOME", m_path.c_str(), 1);
    }
}

CScratchDataFolder::~CScratchDataFolder() {
    if (m_path.empty())
        return;
    std::error_code code;
    std::filesystem::remove_all(m_path, code);
    if (m_hadPrevious)
        setenv("XDG_DATA_HOME", m_previous.c_str(), 1);
    else
        unsetenv("XDG_DATA_HOME");
}

namespace {

/// Reads the source, hands it to the plug-in and prints what its reader made; the exit status.
/// Tells nothing of a failure that a stop (the time limit, Ctrl-C) caused.
int readFeed(CReferenceHost& host, CScriptRunner& runner, const std::string& source,
             std::ostream& errors) {
    CStopRequest& stop = host.loop().stopRequest();
    std::string bytes;
    std::string error;
    bool read =
        isWebURL(source) ? fetch(host, source, bytes, error) : readFile(source, bytes, error);
    if (stop.raised())
        return CScriptRunner::kRunFailed;
    if (!read) {
        errors << "vellum-host: " << source << ": " << error << std::endl;
        return CScriptRunner::kRunFailed;
    }
    CFeedRelay relay(std::move(bytes));
    if (!relay.start(error)) {
        errors << "vellum-host: " << error << std::endl;
        return CScriptRunner::kRunFailed;
    }
    // The script subscribes with a blocking fetch, and the loop is not run after it: the icons
    // and comment feeds that the feed names are not fetched.
    std::string shown;
    if (!runner.open() || !runner.evaluate("var feedURL = " + quoted(relay.url()) + ";") ||
        !runner.evaluate(kPrintScript) || !runner.evaluate("feedShown", &shown))
        return CScriptRunner::kRunFailed;
    if (shown == "true")
        return CScriptRunner::kRunOK;
    if (relay.served() == 0)
        errors << "vellum-host: " << source << ": the plug-in did not fetch the feed" << std::endl;
    else
        errors << "vellum-host: " << source << ": the reader made no feed of it" << std::endl;
    return CScriptRunner::kRunFailed;
}

} // namespace

int RunFeed(CReferenceHost& host, const std::string& plugin, const std::string& source,
            int timeoutSeconds, std::ostream& out, std::ostream& errors) {
    bypassProxyForLoopback();
    std::string error;
    if (!host.start(plugin, error)) {
        errors << "vellum-host: " << error << std::endl;
        return CScriptRunner::kRunCannotStart;
    }
    int status = CScriptRunner::kRunFailed;
    {
        CScriptRunner runner(host.engine(), host.loop(), out, errors);
        CStopRequest& stop = host.loop().stopRequest();
        CWatchdog watchdog(stop);
        watchdog.catchInterrupts();
        watchdog.arm(timeoutSeconds);
        status = readFeed(host, runner, source, errors);
        watchdog.disarm();
        CStopRequest::Reason reason = stop.reason();
        stop.clear();
        if (reason == CStopRequest::Reason::Interrupted) {
            errors << "vellum-host: interrupted" << std::endl;
            status = CScriptRunner::kRunInterrupted;
        } else if (reason != CStopRequest::Reason::None) {
            errors << "vellum-host: gave up after " << timeoutSeconds << " seconds" << std::endl;
            status = CScriptRunner::kRunTimedOut;
        }
    }
    host.stop();
    return status;
}
