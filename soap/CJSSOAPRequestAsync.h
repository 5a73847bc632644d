// An asynchronous SOAP call made by script: SOAP.request with oAsync. The outcome goes to the
// method "response" of oAsync, called as an internal event so that whatever it throws stays
// there.
#pragma once

#include "soap/CSOAPRequestAsync.h"
#include "values/CES.h"

#include <vector>

class CJSSOAPRequestAsync final : public CSOAPRequestAsync {
public:
    /// A request of the command for oAsync. It keeps oAsync alive until it has been told, and
    /// so the values in keepAlive: the stream objects of the request, whose streams it reads
    /// after the calling script may have let them go.
    CJSSOAPRequestAsync(CAgg command, const CES::Val& oAsync, std::vector<CES::Val> keepAlive);

    /// Calls oAsync.response(response, url) with the header as a third argument when there is
    /// one, and extra as a fourth when it isn't void.
    void notify(const char* url, CAgg& response, CAgg& header, CAgg& extra) override;

private:
    CES::Val m_async;
    std::vector<CES::Val> m_keepAlive;
};
