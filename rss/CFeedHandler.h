// A handler of one HTTP reply for a feed: the base of the document, icon and script handlers.
//
// The network layer calls Process with each piece of the body, then once with length 0. An
// asynchronous handler owns itself: at the end it tells the store's queue and deletes itself. A
// synchronous one belongs to whoever called simpleGet.
#pragma once

#include "frame/ZString.h"
#include "rss/CAsyncHandler.h"
#include "values/CAgg.h"
#include "values/EStr.h"

#include <cstdint>
#include <optional>
#include <string>

class CHTTPRequest;

class CFeedHandler : public CAsyncHandler {
public:
    CFeedHandler(CRSSManager* manager, const _EStrRec* url, bool isAsync);

    /// The handler for a feed of this Type: PNG an icon, Code and UI a script, else a document.
    static CFeedHandler* create(CRSSManager& manager, const char* type, const _EStrRec* url,
                                bool isAsync);

    /// Writes the finished reply to the store; whether observers hear didUpdate.
    virtual bool done() = 0;
    /// Takes a piece of the reply, or its end (length 0); whether to go on reading.
    virtual bool process(CHTTPRequest* request, const char* data, long length, long error) = 0;
    /// The consumer that simpleAsyncGet and simpleGet call, with the handler as user data.
    static unsigned short Process(void* request, void* data, long length, void* userData,
                                  long status);

    /// For a "service://" feed, the "http://" URL that is fetched.
    void setResolvedURL(const _EStrRec* resolved) { resolvedURL = resolved; }
    /// The HTTP status, or -1.
    int32_t getStatus() const { return status; }

protected:
    /// A header of the reply, while it is being read.
    std::optional<std::string> header(const char* name) const;
    /// Keeps the reply's Last-Modified, and its ETag only beside a Last-Modified.
    void takeValidators();
    /// Stores the message as the feed's Error.
    void setError(ZStringID message);
    /// Stores a text as the feed's Error.
    void setErrorText(const _EStrRec* text);
    /// Stamps the feed's lastAttempt with now.
    void stampLastAttempt();
    /// The feed's descriptor.
    CAgg& descriptor();
    /// Whether the store has dropped the fetch under way: the feed went, or the queue was
    /// cancelled. The queue's front is then finished, and the reply writes nothing.
    bool dropIfCancelled();
    /// The end of an asynchronous handler: the queue moves on, and the handler is deleted.
    void finishAsync();

    int32_t status = -1;
    int32_t error = 0;
    uint16_t isAsync;
    CEStr url;
    CEStr resolvedURL;
    /// The request of the reply being read; null outside a call of Process.
    CHTTPRequest* request = nullptr;
    /// Bytes of body taken so far, and whether the reply went past the handler's limit.
    long received = 0;
    bool tooLarge = false;
};
