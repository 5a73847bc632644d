// Small blocks for the value model.
//
// Keys and texts of CAgg trees (EStr records) and the nodes of their maps are made and freed by
// the million, almost all of them small. They come from slabs that each hold blocks of one size:
// a tree built in one go lies together in memory, a copy of it costs no trip through the general
// allocator, and a slab whose blocks have all come back starts again from its beginning, so that
// the next tree is laid out in order again. Blocks above kSmallBlockMax bytes go to the general
// allocator.
#pragma once

#include <cstddef>
#include <new>

/// The largest block the slabs serve.
constexpr size_t kSmallBlockMax = 512;

/// A block of at least `bytes` bytes (not zeroed). Raises the out-of-memory host error.
void* smallBlockAllocate(size_t bytes);
/// Gives back a block from smallBlockAllocate of the same size. Any thread may give back.
void smallBlockFree(void* block, size_t bytes);

/// Called with every small block given back, before it can be reused; null for none. For tests
/// that look at what a freed block still holds.
using SmallBlockFreeObserver = void (*)(const void* block, size_t bytes);
void smallBlockSetFreeObserver(SmallBlockFreeObserver observer);
