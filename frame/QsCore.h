// The core table's operations under the names the logic uses.
#pragma once

#include "frame/host/ICore.h"

#include <cstddef>

/// Interns a text; the null atom when there is no core table.
QsAtom QsAtomFromString(const char* text);
/// The text of an atom; the empty text when there is no core table or no such atom.
const char* QsAtomGetString(QsAtom atom);

/// The allocator shared with the viewer.
void* QsMalloc(size_t size);
void* QsCalloc(size_t count, size_t size);
void* QsRealloc(void* block, size_t size);
void QsFree(void* block);

/// As QsCalloc and QsRealloc, but raise the out-of-memory host error instead of giving null.
void* QsSureCalloc(size_t count, size_t size);
void* QsSureRealloc(void* block, size_t size);

/// Wraps a procedure so that the viewer can call it; null without a core table.
QsCallback QsCallbackCreate(ExtensionID extension, QsProc proc);
/// Ends a wrap made by QsCallbackCreate; null is ignored.
void QsCallbackDestroy(QsCallback callback);

/// The named table at exactly that version, or null (also without a core table).
HFT QsExtensionMgrGetHFT(QsAtom name, uint32_t version);
/// A table's own version; -1 for a table that cannot tell, and for null.
int32_t HFTGetVersion(HFT table);
/// True for a usable table reference, false for null.
bool HFTIsValid(HFT table);

/// Registers a named table server whose provide callback (made by QsCallbackCreate from an
/// HFTServerProvideProc) the viewer calls when somebody asks for the table; null without a core
/// table.
HFTServer HFTServerNew(const char* name, QsCallback provide, QsCallback destroy, void* data);
/// Builds an exported table of entryCount entries (index 0 included) for a server.
IEntryTable* HFTNew(HFTServer server, int32_t entryCount);
/// Sets one entry of a table made by HFTNew.
void HFTReplaceEntry(IEntryTable* table, int32_t index, QsCallback callback);
