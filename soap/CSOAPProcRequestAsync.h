// An asynchronous SOAP call made by another plug-in through the exported table: the outcome
// goes to a plain procedure as a cabinet.
#pragma once

#include "frame/host/ICabinets.h"
#include "soap/CSOAPRequestAsync.h"

/// Receives the outcome of an asynchronous call: the reply's value, or the failure record, as a
/// cabinet that is destroyed when the procedure returns.
using SOAPAsyncProc = void (*)(QsCab response, void* data);

class CSOAPProcRequestAsync final : public CSOAPRequestAsync {
public:
    /// A request of the command whose outcome goes to proc with data.
    CSOAPProcRequestAsync(CAgg command, SOAPAsyncProc proc, void* data);

    /// Converts the response into a cabinet, calls the procedure and destroys the cabinet.
    void notify(const char* url, CAgg& response, CAgg& header, CAgg& extra) override;

private:
    SOAPAsyncProc m_proc;
    void* m_data;
};
