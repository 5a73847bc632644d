// "Core": atoms, memory, callbacks, the extension manager and table servers.
#pragma once

#include "frame/host/IHostTable.h"

#include <cstddef>
#include <cstdint>

/// 16-bit interned text.
using QsAtom = uint16_t;
/// The null atom.
constexpr QsAtom kQsNullAtom = 0xFFFF;

/// The identity the viewer assigned to a plug-in.
using ExtensionID = void*;

/// A registered table server.
struct HFTServerRec;
using HFTServer = HFTServerRec*;

/// Builds (or returns) the server's table for a requested version; null when it cannot.
using HFTServerProvideProc = HFT (*)(HFTServer server, uint32_t version, void* data);
/// Called when the server goes away.
using HFTServerDestroyProc = void (*)(HFTServer server, void* data);

class ICore : public IHostTable {
public:
    /// Interns a text; equal text gives an equal atom. Never fails.
    virtual QsAtom atomFromString(const char* text) = 0;
    /// The interned text of an atom; the empty text for an unknown one.
    virtual const char* atomGetString(QsAtom atom) = 0;

    /// The allocator shared with the viewer. Failures give null.
    virtual void* memMalloc(size_t size) = 0;
    virtual void* memCalloc(size_t count, size_t size) = 0;
    virtual void* memRealloc(void* block, size_t size) = 0;
    virtual void memFree(void* block) = 0;

    /// Wraps a procedure so the viewer can call it: the callback is callable with the
    /// procedure's own signature, and may be the procedure itself.
    virtual QsCallback callbackCreate(ExtensionID extension, QsProc proc) = 0;
    virtual void callbackDestroy(QsCallback callback) = 0;

    /// The named table at exactly that version, or null.
    virtual HFT extensionMgrGetHFT(QsAtom name, uint32_t version) = 0;

    /// Registers a named table server; the host calls provide when somebody asks for the table.
    virtual HFTServer hftServerNew(const char* name, HFTServerProvideProc provide,
                                   HFTServerDestroyProc destroy, void* data) = 0;
    /// Builds an exported table of entryCount entries for a server.
    virtual IEntryTable* hftNew(HFTServer server, int32_t entryCount) = 0;
    /// Sets one entry of a table made by hftNew.
    virtual void hftReplaceEntry(IEntryTable* table, int32_t index, QsCallback callback) = 0;
};
