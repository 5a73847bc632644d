#include "tests/fakehost/FakeDocumentModel.h"

#include "frame/HostError.h"

void FakeDocumentModel::countNewObject() {
    if (m_newObjectsLeft < 0)
        return;
    if (m_newObjectsLeft == 0)
        raiseHostError(kHostErrGeneral);
    --m_newObjectsLeft;
}

LobObj FakeDocumentModel::objCopyToDoc(LobObj object, LobDoc target) {
    if (m_failCopies)
        raiseHostError(kHostErrGeneral);
    return CHostDocumentModel::objCopyToDoc(object, target);
}

LobObj FakeDocumentModel::objNewString(LobDoc doc, const char* bytes, long length, bool indirect) {
    countNewObject();
    return CHostDocumentModel::objNewString(doc, bytes, length, indirect);
}

LobObj FakeDocumentModel::objNewDict(LobDoc doc, bool indirect, long capacity) {
    countNewObject();
    return CHostDocumentModel::objNewDict(doc, indirect, capacity);
}

LobObj FakeDocumentModel::objNewArray(LobDoc doc, bool indirect, long capacity) {
    countNewObject();
    return CHostDocumentModel::objNewArray(doc, indirect, capacity);
}
