#include "soap/CJSSOAPRequestAsync.h"
#include "values/CESCalls.h"
#include "values/CESConvert.h"

#include <utility>

CJSSOAPRequestAsync::CJSSOAPRequestAsync(CAgg command, const CES::Val& oAsync,
                                         std::vector<CES::Val> keepAlive)
    : CSOAPRequestAsync(std::move(command)), m_async(oAsync), m_keepAlive(std::move(keepAlive)) {}

void CJSSOAPRequestAsync::notify(const char* url, CAgg& response, CAgg& header, CAgg& extra) {
    CES::Context context(m_async);
    CES::Val arguments[4] = {CES::Val(context), CES::Val(context), CES::Val(context),
                             CES::Val(context)};
    CAggToESVal(arguments[0].slot(), response);
    if (url)
        arguments[1] = url;
    int32_t count = 2;
    if (header.getType() != CAgg::eVoid) {
        CAggToESVal(arguments[2].slot(), header);
        count = 3;
    }
    if (extra.getType() != CAgg::eVoid) {
        CAggToESVal(arguments[3].slot(), extra);
        count = 4;
    }
    ESVal slots[4] = {arguments[0].slot(), arguments[1].slot(), arguments[2].slot(),
                      arguments[3].slot()};
    CES::Val answer(context);
    // The handler runs from the event loop, where no script can catch what it throws: the
    // host hears of it as of any uncaught exception, and the request still ends.
    if (!ESObjectSafeCall(m_async.object(), "response", count, slots, answer.slot()) &&
        context.hasException())
        context.reportExceptionToHost();
}
