// The core table's operations under the names the logic uses.
#pragma once

#include "frame/host/ICore.h"

#include <cstddef>

/// Interns a text; needs the core table.
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
