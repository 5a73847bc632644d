#include "soap/CSOAPProcRequestAsync.h"

#include "values/QsCab.h"

#include <utility>

CSOAPProcRequestAsync::CSOAPProcRequestAsync(CAgg command, SOAPAsyncProc proc, void* data)
    : CSOAPRequestAsync(std::move(command)), m_proc(proc), m_data(data) {}

void CSOAPProcRequestAsync::notify(const char*, CAgg& response, CAgg&, CAgg&) {
    if (!m_proc)
        return;
    QsCab cab = CAgg2QsCab(response);
    m_proc(cab, m_data);
    QsCabDestroy(cab);
}
