// One HTTP request of the plug-in: the one road to the network, for SOAP posts, WSDL fetches and
// feed updates alike.
//
// A request is made for a URL under a network identity, given what it needs (an action, its
// own credentials, whether it is asynchronous), and used once: open() for a GET, post() for a
// POST. The reply's body goes to a consumer in blocks of at most kBlockSize bytes, then the
// consumer is called once more with null data and length 0. On the synchronous road this all
// happens before open() or post() returns; on the asynchronous one the host's main loop drives
// it later, through processAsync.
//
// A multipart/related reply is taken apart first: the consumer then gets only the root part,
// which must be text/xml, and the other parts stay reachable by name (getPartResolver).
#pragma once

#include "frame/host/INetwork.h"
#include "frame/host/QsStmRec.h"
#include "soap/CMultipartReader.h"
#include "values/CAgg.h"
#include "values/EStr.h"

#include <cstdint>
#include <optional>
#include <string>

/// Receives a reply: the body block by block, then once with null data and length 0. request is
/// the CHTTPRequest; status is the HTTP status, or the network error (below 0) when no reply
/// came. Answers non-zero to go on, 0 to stop reading; the final call comes either way.
using HTTPConsumerProc = unsigned short (*)(void* request, void* data, long length, void* userData,
                                            long status);

/// The network identity of a request: the client it goes out under, and the flags that the
/// client's authentication callbacks receive.
struct HTTPClientIds {
    NetClientID client = kNoNetClient;
    int32_t flags = 0;
};

class CRequestWriter;

class CHTTPRequest {
public:
    /// The largest block that goes to the consumer.
    static constexpr long kBlockSize = 2048;

    /// A request for url under the identity ids.
    CHTTPRequest(const HTTPClientIds& ids, const char* url);
    /// Closes the request if it is still open.
    ~CHTTPRequest();
    CHTTPRequest(const CHTTPRequest&) = delete;
    CHTTPRequest& operator=(const CHTTPRequest&) = delete;

    /// The SOAPAction of a post, without its quotes; null or empty for none.
    void setSOAPAction(const char* action);
    /// The authenticate map of a SOAP call (Username, Password), which the client's
    /// authentication callback receives as its data. Not copied: it must outlive the request.
    void setAuthenticate(const CAgg* authenticate);
    /// Makes the request asynchronous: open and post return once it is under way.
    void initAsync();
    /// With an asynchronous request: delete it after its consumer's final call.
    void deleteWhenDone() { m_deleteWhenDone = true; }
    /// The most bytes of reply body read before the reading stops (0, the default: no limit).
    /// A reply that goes past it gives the consumer no more and ends as replyTooLarge.
    void setReplyLimit(long long bytes) { m_replyLimit = bytes; }
    /// The limit set by setReplyLimit; 0 for none.
    long long replyLimit() const { return m_replyLimit; }
    /// Whether the reading stopped because the reply went past the limit.
    bool replyTooLarge() const { return m_replyTooLarge; }

    /// A GET with the caller's headers (a vector of records with "key" and "value", or null).
    /// Synchronous: the HTTP status, 0 when none came. Asynchronous: 1 when the request is under
    /// way, 0 when it could not start, and then its consumer is never called.
    long open(HTTPConsumerProc consumer, void* userData, const CAgg* headers = nullptr);
    /// A POST of the body stream with the given Content-Type. The request takes the stream
    /// over and closes it. Results as for open.
    long post(const char* contentType, QsStm body, HTTPConsumerProc consumer, void* userData);
    /// A POST of what the writer gives: its Content-Type and its stream.
    long doPost(CRequestWriter* writer, HTTPConsumerProc consumer, void* userData);

    /// Reads the synchronous reply to its end; the HTTP status. The consumer must not delete
    /// the request on this road.
    long processSync();
    /// Takes a piece of the asynchronous reply, or its end (null data, length 0); answers
    /// whether to go on.
    unsigned short processAsync(const char* data, long length, long status, long error);
    /// The reply's headers as the plug-in reads them: a vector holding one record with "key"
    /// "Content-Type" and the value, whitespace stripped, or an empty vector without one.
    static CAgg parseHeaders(NetRequest handle);

    /// The HTTP status of the reply; 0 while none came.
    long getStatus() const { return m_status; }
    /// The network error the request failed or broke off with; 0 for none.
    long getError() const { return m_error; }
    /// The reply's Content-Type; empty without one.
    const CEStr& getContentType() const { return m_contentType; }
    /// The reply's headers, as parseHeaders gives them.
    const CAgg& getHeaders() const { return m_headers; }
    /// A response header by name while the reply is being read (the consumer may ask, also in
    /// its final call); nothing after, or without one.
    std::optional<std::string> getResponseHeader(const char* name) const;
    /// The URL as given.
    const char* getURL() const { return m_url.c_str(); }
    /// Whether the reply was multipart/related.
    bool isMultipart() const { return m_multipart; }
    /// The parts of a multipart reply, by name; none for any other reply. They stay readable
    /// for as long as the request lives.
    CPartResolver* getPartResolver() { return &m_parts; }

private:
    static long postWriteProc(char* buffer, long count, void* data);
    static void postCloseProc(void* data);
    static int32_t asyncProc(NetRequest request, const char* data, long length, long status,
                             long error, void* self);

    /// Opens the handle and sets the identity, the authentication data and the headers.
    bool start(int32_t mode, const std::vector<std::pair<std::string, std::string>>& headers);
    /// What the consumer's status argument is.
    long consumerStatus() const { return m_status > 0 ? m_status : m_error; }
    /// Hands a block to the consumer (and the dump); false when it said stop.
    bool deliver(const char* data, long length);
    /// The consumer's final call.
    void finish();
    void closeHandle();
    void takeReplyHeaders();
    /// Hands the root part of a multipart reply, if it is text/xml, to the consumer.
    void deliverRootPart();
    static long handleReadProc(char* buffer, long count, void* data);
    /// Counts length more bytes of reply; false, with replyTooLarge set, past the limit.
    bool countReply(long length);

    // The spool of an asynchronous multipart reply, which comes in pieces before it can be read.
    struct SwATemp {
        std::string path;
        QsStm stream = nullptr;
    };
    /// Makes the spool file, open for writing; false when the host gives none.
    bool makeSwATemp();
    /// Ends the writing and opens the spool for reading from its start.
    QsStm resetSwATemp(SwATemp& file);
    /// Closes and removes the spool.
    void removeSwATemp(SwATemp& file);

    HTTPClientIds m_ids;
    std::string m_url;
    CEStr m_soapAction;
    const CAgg* m_authenticate = nullptr;
    QsStm m_postStream = nullptr;
    NetRequest m_handle = nullptr;
    bool m_started = false;
    bool m_failed = false;
    CEStr m_contentType;
    CAgg m_headers;
    HTTPConsumerProc m_consumer = nullptr;
    void* m_userData = nullptr;
    char m_buffer[kBlockSize];
    bool m_async = false;
    bool m_firstData = false;
    bool m_deleteWhenDone = false;
    long m_status = 0;
    long m_error = 0;
    bool m_multipart = false;
    long long m_replyLimit = 0;
    long long m_replyBytes = 0;
    bool m_replyTooLarge = false;
    CMultipartReader m_parts;
    SwATemp m_spool;
    // Set by the destructor, so that a call under way learns that its consumer deleted us.
    bool* m_deleted = nullptr;
};
