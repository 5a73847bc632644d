// "NetSpan": the viewer's network layer. HTTP requests go out under a client identity, which
// carries a User-Agent, accepted media types, flags, time-outs and two authentication callbacks.
//
// A request is an open handle of the layer's URL file system. It is opened for a URL, put under
// a client, given headers and perhaps a body, and then either sent and read on the spot (the
// synchronous road) or, when opened with a consumer, driven by the host's main loop, which hands
// the reply to the consumer piece by piece (the asynchronous road). The layer never follows a
// redirect: a 3xx reaches the caller as it came.
#pragma once

#include "frame/host/IHostTable.h"
#include "frame/host/QsTimeRec.h"

#include <cstdint>
#include <optional>
#include <string>

/// A client identity; -1 means none.
using NetClientID = int32_t;
constexpr NetClientID kNoNetClient = -1;

/// Asked when a server demands authentication. Sets *user and *password to newly allocated
/// strings (QsMalloc) or leaves them null to give up; attempt counts from 1. Answers non-zero
/// when it set credentials.
using NetAuthProc = int32_t (*)(const char* server, const char* realm, char** user, char** password,
                                long attempt, long flags, void* data);

/// Time-outs of a client, as the plug-in hands them over: a count, a pair, and a value.
///
/// The layer reads them as: `count` the connect time-out in seconds; `pair[0]` the stall
/// time-out in milliseconds (a transfer that moves no byte for this long fails); `pair[1]` the
/// limit in milliseconds on a whole request, 0 for none; `value` how long, in milliseconds, a
/// request waits for the status line and headers once it is sent. The plug-in's record
/// (12, &(300000, 0), 300000) so reads: connect within 12 s, fail after 5 minutes without a
/// byte or without headers, no limit on the whole.
struct NetTimeoutRec {
    int32_t count;
    const int32_t* pair; // two values
    int32_t value;
};

/// Flags of a client (openClient).
constexpr int32_t kNetClientVerifyTLS = 1;  // check the server's certificate and name
constexpr int32_t kNetClientDecompress = 4; // accept compressed replies and undo the compression

/// The further client option (setClientOption).
constexpr int32_t kNetOptionProxyFromEnvironment = 0; // use http_proxy and its kin
constexpr int32_t kNetOptionNoProxy = 1;              // always connect directly

/// Modes of an authentication registration (setAuthentication). Registration 0 answers the
/// server's challenges (401), registration 1 a proxy's (407).
constexpr int32_t kNetAuthNone = 0;
constexpr int32_t kNetAuthAsk = 1; // ask the registered callback

/// An open request; null for none.
struct NetRequestRec;
using NetRequest = NetRequestRec*;

/// Modes of openURL.
constexpr int32_t kNetOpenRead = 1;      // a GET
constexpr int32_t kNetOpenReadWrite = 3; // a POST

/// Network error codes: status() answers them in place of an HTTP status, and the asynchronous
/// consumer receives them as its error.
constexpr long kNetErrSSL = -11;
constexpr long kNetErrInvalidResponse = -9;
constexpr long kNetErrNoConnection = -8;
constexpr long kNetErrProxy = -7;
constexpr long kNetErrNotFound = -6;
constexpr long kNetErrTimeout = -5;
constexpr long kNetErrUnauthorized = -3;
constexpr long kNetErrGeneral = -2;
constexpr long kNetErrAborted = -1;

/// Pulls the next bytes of a post body into buffer: answers how many it put there, 0 at the end
/// of the body, a negative value on failure (the request then fails as aborted).
using NetPostWriteProc = long (*)(char* buffer, long count, void* data);
/// Called once when the layer is done with the body procedures.
using NetPostCloseProc = void (*)(void* data);

/// Receives an asynchronous reply on the main loop: the body in pieces, then one final call with
/// null data and length 0. status is the HTTP status (0 while none arrived), error 0 or a network
/// error code. Answers non-zero to go on; 0 stops the transfer, and the final call follows.
/// Response headers can be asked for from within the call; the request may be closed from
/// within it, and then no further call comes.
using NetAsyncProc = int32_t (*)(NetRequest request, const char* data, long length, long status,
                                 long error, void* userData);

class INetwork : public IHostTable {
public:
    /// Brings the network layer up; false when it cannot.
    virtual bool initialize() = 0;
    /// Takes the network layer down; open clients are closed.
    virtual void shutdown() = 0;

    /// Opens a client: User-Agent, null-terminated accepted media types, flags. -1 on failure.
    virtual NetClientID openClient(const char* userAgent, const char* const* acceptTypes,
                                   int32_t flags) = 0;
    virtual void closeClient(NetClientID client) = 0;
    /// Sets authentication mode and callback number `which` (0 or 1) of a client.
    virtual void setAuthentication(NetClientID client, int32_t which, int32_t mode,
                                   NetAuthProc proc, void* data) = 0;
    /// The further client option.
    virtual void setClientOption(NetClientID client, int32_t value) = 0;
    virtual void setTimeouts(NetClientID client, const NetTimeoutRec& timeouts) = 0;

    /// Opens a request for an http or https URL; mode kNetOpenRead or kNetOpenReadWrite. Null
    /// for any other URL or mode.
    virtual NetRequest openURL(const char* url, int32_t mode) = 0;
    /// Opens a request whose reply goes to consumer. It starts by itself at the next idle moment
    /// of the main loop, so headers and the body are set right after opening.
    virtual NetRequest openURLAsync(const char* url, int32_t mode, NetAsyncProc consumer,
                                    void* userData) = 0;
    /// Puts a request under a client (its User-Agent, accepted types, time-outs and
    /// authentication); flags are handed to the client's authentication callbacks. Before this
    /// a request has no client: no User-Agent, the default time-outs, no authentication.
    virtual bool setTimeoutsAndFlags(NetRequest request, NetClientID client, int32_t flags) = 0;
    /// Gives a request data of its own for the client's authentication callbacks: they receive it
    /// in place of the data they were registered with (null restores that). False once the
    /// request was sent.
    virtual bool setAuthenticationData(NetRequest request, void* data) = 0;
    /// Adds a request header; false once the request was sent, or for a name or value that
    /// would break the header block.
    virtual bool setHeader(NetRequest request, const char* name, const char* value) = 0;
    /// Gives a request opened with kNetOpenReadWrite its body: the layer pulls it from write
    /// and calls close once when done with both. False, and neither is called, when the request
    /// cannot take a body.
    virtual bool post(NetRequest request, NetPostWriteProc write, NetPostCloseProc close,
                      void* data) = 0;
    /// Sends a synchronous request and blocks until the status line and headers have arrived.
    /// False on a network error; status() tells which.
    virtual bool sendAndWait(NetRequest request) = 0;
    /// The HTTP status; 0 before one arrived; a network error code once the request failed.
    virtual long status(NetRequest request) = 0;
    /// The value of a response header (names compare without case; repeated headers are joined
    /// with ", "), or nothing.
    virtual std::optional<std::string> responseHeader(NetRequest request, const char* name) = 0;
    /// Reads up to count bytes of a synchronous reply's body, blocking until some arrive.
    /// Answers 0 at the end of the body, a network error code when the transfer broke off.
    virtual long read(NetRequest request, char* buffer, long count) = 0;
    /// Ends a request and frees the handle; a transfer under way stops.
    virtual void close(NetRequest request) = 0;

    /// Reads an ISO 8601 date and time ("2004-05-06T07:08:09.5+02:00", or the date alone);
    /// false for text of any other form.
    virtual bool parseDate(const char* text, QsTimeRec& out) = 0;
    /// The user's language in the form of an Accept-Language value ("en-US"), or nothing.
    virtual std::optional<std::string> acceptLanguage() = 0;
};
