// The test host's document model: the host's in-memory store, with failures on demand so that
// tests can reach the guards around document calls.
#pragma once

#include "host/document/CHostDocumentModel.h"

class FakeDocumentModel final : public CHostDocumentModel {
public:
    /// Makes every copy of an object into a store raise, until cleared.
    void failCopies(bool fail) { m_failCopies = fail; }
    /// Lets count more string, array or dictionary objects be made, then makes the next raise;
    /// a negative count lifts the limit.
    void failNewObjectsAfter(long count) { m_newObjectsLeft = count; }

    LobObj objCopyToDoc(LobObj object, LobDoc target) override;
    LobObj objNewString(LobDoc doc, const char* bytes, long length, bool indirect) override;
    LobObj objNewDict(LobDoc doc, bool indirect, long capacity) override;
    LobObj objNewArray(LobDoc doc, bool indirect, long capacity) override;

private:
    void countNewObject();

    bool m_failCopies = false;
    long m_newObjectsLeft = -1;
};
