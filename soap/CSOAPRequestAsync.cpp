#include "soap/CSOAPRequestAsync.h"

#include "soap/SOAPRequestCore.h"

#include <set>
#include <utility>

namespace {

std::set<CSOAPRequestAsync*>& liveRequests() {
    static std::set<CSOAPRequestAsync*> requests;
    return requests;
}

bool isMessageOnly(CAgg& command) {
    if (!command.has(kSOAPCmdMessage))
        return false;
    CAgg flag(command[kSOAPCmdMessage]);
    return flag.toQsBool() != 0;
}

} // namespace

CSOAPRequestAsync::CSOAPRequestAsync(CAgg command) : m_command(std::move(command)) {
    liveRequests().insert(this);
}

CSOAPRequestAsync::~CSOAPRequestAsync() {
    liveRequests().erase(this);
}

bool CSOAPRequestAsync::startRequest() {
    try {
        m_body = SOAPWriteRequest(m_command, SOAPRequestAfterWriting::handedOver);
    } catch (...) {
        // A request refused before it started (a wrong argument) tells no one and is gone.
        delete this;
        throw;
    }
    if (!m_body) {
        complete(false);
        return false;
    }
    m_http = SOAPNewHTTPRequest(m_command);
    m_parser = std::make_unique<CXML2CAgg>();
    m_http->initAsync();
    if (m_http->doPost(m_body.get(), &CSOAPRequestAsync::Consumer, this))
        return true; // the object may be gone already: nothing of it is touched from here
    // The consumer is never called for a request that did not start: the reason, a network
    // error, is read from the request as the consumer would have.
    SOAPReadResponse(m_command, *m_http, *m_parser);
    complete(false);
    return false;
}

unsigned short CSOAPRequestAsync::Consumer(void*, void* data, long length, void* userData,
                                           long status) {
    return static_cast<CSOAPRequestAsync*>(userData)->consumer(data, length, status);
}

unsigned short CSOAPRequestAsync::consumer(void* data, long length, long status) {
    if (length > 0 && data)
        return XMLRespHandler(m_http.get(), data, length, m_parser.get(), status);
    XMLRespHandler(m_http.get(), nullptr, 0, m_parser.get(), status);
    complete(true);
    return 0;
}

void CSOAPRequestAsync::complete(bool readReply) {
    bool messageOnly = isMessageOnly(m_command);
    if (readReply && !messageOnly)
        SOAPReadResponse(m_command, *m_http, *m_parser);
    CAgg& response = m_command[kSOAPCmdResponse];
    CAgg header;
    if (SOAPFailureType(response)) {
        // A fault's values also go under the names a script's exception gives them.
        if (response.has("soapDetail")) {
            response["faultCode"] = response["error"];
            response["faultActor"] = response["soapActor"];
            response["faultDetail"] = response["soapDetail"];
        }
    } else if (readReply && !messageOnly) {
        header = std::move(m_command[kSOAPCmdHeader]);
    }
    CAgg extra;
    // The URL is null at every call: the receiver knows which call it made.
    try {
        notify(nullptr, response, header, extra);
    } catch (...) {
        // Whatever the receiver does, the request ends here; nothing may reach the network
        // layer that called us.
    }
    delete this;
}

size_t CSOAPRequestAsync::liveCount() {
    return liveRequests().size();
}

void CSOAPRequestAsync::deleteAll() {
    while (!liveRequests().empty())
        delete *liveRequests().begin();
}
