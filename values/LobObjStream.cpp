#include "values/LobObjStream.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"

namespace {

// The viewer's records have these sizes; the model checks them.
constexpr uint32_t kSaveRecSize = 28;
constexpr uint32_t kOpenRecSize = 20;

/// Closes a temporary store on every way out.
class TempLobDoc {
public:
    explicit TempLobDoc(LobDoc doc) : m_doc(doc) {}
    ~TempLobDoc() {
        HostFrame guard;
        guard.run([&] { gDkModelHFT->docClose(m_doc); });
    }
    TempLobDoc(const TempLobDoc&) = delete;
    TempLobDoc& operator=(const TempLobDoc&) = delete;
    LobDoc get() const { return m_doc; }

private:
    LobDoc m_doc;
};

void requireModel() {
    if (!gLobHFT || !gDkModelHFT)
        raiseHostError(kHostErrGeneral);
}

} // namespace

void LobObjWriteLSO(LobObj object, QsStm out) {
    requireModel();
    TempLobDoc temp(gDkModelHFT->docNewTemp());
    LobObj copy = gLobHFT->objCopyToDoc(object, temp.get());
    gDkModelHFT->docRootPut(temp.get(), "-", copy);
    LobDocSaveRec record{};
    record.size = kSaveRecSize;
    record.header = kLSOHeader;
    gDkModelHFT->docSave(temp.get(), out, record);
}

LobObj LobObjReadLSO(QsStm in, LobDoc target) {
    requireModel();
    LobDocOpenRec record{};
    record.size = kOpenRecSize;
    record.file = in;
    record.header = kLSOHeaderPrefix;
    TempLobDoc temp(gDkModelHFT->docOpen(record));
    LobObj stored = gDkModelHFT->docRootGet(temp.get(), "-");
    if (gLobHFT->objGetType(stored) == LobObjType::Null)
        return gLobHFT->objNull();
    return gLobHFT->objCopyToDoc(stored, target);
}
