// Any bytes read as the stream form of an object; a form that reads is written and read again.
// Nothing may crash, and a form that reads once must read again.

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "host/core/CHostCore.h"
#include "host/document/CHostDocumentModel.h"
#include "values/LobObjStream.h"
#include "values/QsStm.h"

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static CHostCore core;
    static CHostDocumentModel model;
    gCoreHFT = &core;
    gLobHFT = &model;
    gDkModelHFT = &model;
    LobDoc target = model.docNewTemp();
    std::string text =
        std::string(kLSOHeader) + "\n" + std::string(reinterpret_cast<const char*>(data), size);
    QsStm in = QsMemStmRdOpen(text.data(), text.size());
    try {
        LobObj object = LobObjReadLSO(in, target);
        QsStm out = QsMemStmWrOpen();
        LobObjWriteLSO(object, out);
        std::string again = *QsMemStmGetData(out);
        QsStmClose(out);
        QsStm back = QsMemStmRdOpen(again.data(), again.size());
        LobObjReadLSO(back, target);
        QsStmClose(back);
    } catch (const HostError& error) {
        if (error.code != kHostErrBadByteForm)
            std::abort();
    }
    QsStmClose(in);
    model.docClose(target);
    return 0;
}
