// A SOAP call that returns at once: the road of the request core split at the network.
//
// startRequest writes and posts the request; the host's main loop then hands the reply to the
// consumer block by block, and at its end the consumer reads the reply, tells the outcome to
// notify, and deletes the request. The object lives on the heap and owns itself from the moment
// it starts: nobody else deletes it, and nothing cancels it.
//
// The outcome is what the core leaves in the command: the reply's value and header, or a failure
// record with an empty header. A failure record of a fault carries, beside "error", "soapActor"
// and "soapDetail", the same values as "faultCode", "faultActor" and "faultDetail", so that a
// handler finds them where a script's exception has them.
#pragma once

#include "soap/CHTTPRequest.h"
#include "soap/CRequestWriter.h"
#include "values/CAgg.h"
#include "xml/CXML2CAgg.h"

#include <cstddef>
#include <memory>

class CSOAPRequestAsync {
public:
    /// A request of the command, which it takes over.
    explicit CSOAPRequestAsync(CAgg command);
    virtual ~CSOAPRequestAsync();
    CSOAPRequestAsync(const CSOAPRequestAsync&) = delete;
    CSOAPRequestAsync& operator=(const CSOAPRequestAsync&) = delete;

    /// Writes and posts the request; from here the object owns itself. True when the request is
    /// under way. False when it could not start: notify has been told why, and the object is
    /// deleted. A request with a name that cannot be written raises the bad-argument error
    /// instead, without telling notify; the object is deleted all the same.
    bool startRequest();

    /// Receives the outcome: url is null, header and extra are void after a failure. Called
    /// once; the object is deleted right after, whether or not notify throws.
    virtual void notify(const char* url, CAgg& response, CAgg& header, CAgg& extra) = 0;

    /// The consumer of the reply: userData is the request.
    static unsigned short Consumer(void* request, void* data, long length, void* userData,
                                   long status);

    /// How many requests are under way.
    static size_t liveCount();
    /// Deletes every request under way without telling anybody, as the plug-in goes down.
    static void deleteAll();

protected:
    CAgg& command() { return m_command; }

private:
    unsigned short consumer(void* data, long length, long status);
    /// Reads the reply (unless the call asks for none), notifies and deletes the object.
    void complete(bool readReply);

    CAgg m_command;
    std::unique_ptr<CRequestWriter> m_body;
    std::unique_ptr<CXML2CAgg> m_parser;
    // Last, so that it goes first: while it lives it may pull the body and feed the parser.
    std::unique_ptr<CHTTPRequest> m_http;
};
