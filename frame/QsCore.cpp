#include "frame/QsCore.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"

#include <cstdlib>

QsAtom QsAtomFromString(const char* text) {
    if (!gCoreHFT)
        return kQsNullAtom;
    return gCoreHFT->atomFromString(text ? text : "");
}

const char* QsAtomGetString(QsAtom atom) {
    if (!gCoreHFT)
        return "";
    const char* text = gCoreHFT->atomGetString(atom);
    return text ? text : "";
}

// Without a core table (before the handshake, or in a program that links the logic alone) the
// C library's allocator stands in for the viewer's.
void* QsMalloc(size_t size) {
    return gCoreHFT ? gCoreHFT->memMalloc(size) : std::malloc(size);
}

void* QsCalloc(size_t count, size_t size) {
    return gCoreHFT ? gCoreHFT->memCalloc(count, size) : std::calloc(count, size);
}

void* QsRealloc(void* block, size_t size) {
    return gCoreHFT ? gCoreHFT->memRealloc(block, size) : std::realloc(block, size);
}

void QsFree(void* block) {
    if (!block)
        return;
    if (gCoreHFT)
        gCoreHFT->memFree(block);
    else
        std::free(block);
}

void* QsSureCalloc(size_t count, size_t size) {
    void* block = QsCalloc(count ? count : 1, size ? size : 1);
    if (!block)
        raiseHostError(kHostErrNoMemory);
    return block;
}

void* QsSureRealloc(void* block, size_t size) {
    void* grown = QsRealloc(block, size ? size : 1);
    if (!grown)
        raiseHostError(kHostErrNoMemory);
    return grown;
}

QsCallback QsCallbackCreate(ExtensionID extension, QsProc proc) {
    return gCoreHFT ? gCoreHFT->callbackCreate(extension, proc) : nullptr;
}

void QsCallbackDestroy(QsCallback callback) {
    if (gCoreHFT && callback)
        gCoreHFT->callbackDestroy(callback);
}

HFT QsExtensionMgrGetHFT(QsAtom name, uint32_t version) {
    return gCoreHFT ? gCoreHFT->extensionMgrGetHFT(name, version) : nullptr;
}

int32_t HFTGetVersion(HFT table) {
    return table ? table->hftVersion() : -1;
}

bool HFTIsValid(HFT table) {
    return table != nullptr;
}

HFTServer HFTServerNew(const char* name, QsCallback provide, QsCallback destroy, void* data) {
    // A callback is callable with its procedure's own signature.
    return gCoreHFT ? gCoreHFT->hftServerNew(name, reinterpret_cast<HFTServerProvideProc>(provide),
                                             reinterpret_cast<HFTServerDestroyProc>(destroy), data)
                    : nullptr;
}

IEntryTable* HFTNew(HFTServer server, int32_t entryCount) {
    return gCoreHFT ? gCoreHFT->hftNew(server, entryCount) : nullptr;
}

void HFTReplaceEntry(IEntryTable* table, int32_t index, QsCallback callback) {
    if (gCoreHFT && table)
        gCoreHFT->hftReplaceEntry(table, index, callback);
}
