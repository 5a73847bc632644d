#include "frame/QsCore.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"

#include <cstdlib>

QsAtom QsAtomFromString(const char* text) {
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
void* QsMalloc(size_t size) { return gCoreHFT ? gCoreHFT->memMalloc(size) : std::malloc(size); }

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
