// Slabs of small blocks; see values/SmallBlocks.h.
//
// Slabs belong to the thread that carved them. A block freed by another thread goes onto its
// slab's remote list, which the owner takes back when it next needs room.
#include "values/SmallBlocks.h"

#include "frame/HostError.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr size_t kGranule = 32;
constexpr uint32_t kClasses = kSmallBlockMax / kGranule;
constexpr size_t kSlabBytes = 64 * 1024;
// Empty slabs kept per class for reuse; further ones go back to the system.
constexpr unsigned kSpareSlabs = 4;

struct FreeBlock {
    FreeBlock* next;
};

struct ThreadPool;

struct alignas(64) Slab {
    ThreadPool* owner;
    Slab* prev; // in the owner's list of this class that the slab stands in
    Slab* next;
    uint32_t sizeClass;
    uint32_t blockBytes;
    uint32_t live; // blocks handed out and not yet back
    bool full;     // stands in the full list rather than the list of slabs with room
    char* bump;
    char* end;
    FreeBlock* free;
    std::atomic<FreeBlock*> remote;
};

size_t blockBytesOf(uint32_t sizeClass) {
    return sizeClass * kGranule;
}

Slab* slabOf(void* block) {
    return reinterpret_cast<Slab*>(reinterpret_cast<uintptr_t>(block) & ~(kSlabBytes - 1));
}

void resetSlab(Slab* slab) {
    slab->free = nullptr;
    slab->bump = reinterpret_cast<char*>(slab) + sizeof(Slab);
}

// Takes back what other threads freed into the slab.
void reclaimRemote(Slab* slab) {
    if (!slab->remote.load(std::memory_order_relaxed))
        return;
    FreeBlock* list = slab->remote.exchange(nullptr, std::memory_order_acquire);
    while (list) {
        FreeBlock* next = list->next;
        list->next = slab->free;
        slab->free = list;
        --slab->live;
        list = next;
    }
}

struct SlabList {
    Slab* head = nullptr;

    void unlink(Slab* slab) {
        if (slab->prev)
            slab->prev->next = slab->next;
        else
            head = slab->next;
        if (slab->next)
            slab->next->prev = slab->prev;
        slab->prev = slab->next = nullptr;
    }
    void pushFront(Slab* slab) {
        slab->prev = nullptr;
        slab->next = head;
        if (head)
            head->prev = slab;
        head = slab;
    }
    // Behind the head, so that the slab in use stays in use.
    void pushSecond(Slab* slab) {
        if (!head)
            return pushFront(slab);
        slab->prev = head;
        slab->next = head->next;
        if (slab->next)
            slab->next->prev = slab;
        head->next = slab;
    }
};

struct ClassList {
    SlabList room;      // slabs with room; the one in use at the head
    SlabList full;      // slabs without room
    unsigned empty = 0; // slabs with no block out, besides the head
};

struct ThreadPool {
    ClassList classes[kClasses + 1];
    // Set when another thread has freed into one of our slabs.
    std::atomic<bool> remotePending{false};

    ~ThreadPool() {
        // Slabs with blocks still out stay (their strings may outlive the thread); blocks that
        // come back later go to the remote list of a slab that nobody takes back.
        for (ClassList& list : classes) {
            for (SlabList* slabs : {&list.room, &list.full}) {
                for (Slab* slab = slabs->head; slab;) {
                    Slab* next = slab->next;
                    reclaimRemote(slab);
                    if (slab->live == 0)
                        destroySlab(slab);
                    else
                        slab->owner = nullptr;
                    slab = next;
                }
                slabs->head = nullptr;
            }
            list.empty = 0;
        }
    }

    static void destroySlab(Slab* slab) {
        slab->~Slab();
        std::free(slab);
    }

    Slab* newSlab(uint32_t sizeClass) {
        void* memory = std::aligned_alloc(kSlabBytes, kSlabBytes);
        if (!memory)
            raiseHostError(kHostErrNoMemory);
        auto* slab = new (memory) Slab();
        slab->owner = this;
        slab->sizeClass = sizeClass;
        slab->blockBytes = static_cast<uint32_t>(blockBytesOf(sizeClass));
        slab->end = static_cast<char*>(memory) + kSlabBytes;
        resetSlab(slab);
        return slab;
    }

    static void* take(Slab* slab) {
        void* block;
        if (slab->free) {
            block = slab->free;
            slab->free = slab->free->next;
        } else if (static_cast<size_t>(slab->end - slab->bump) >= slab->blockBytes) {
            block = slab->bump;
            slab->bump += slab->blockBytes;
        } else {
            return nullptr;
        }
        ++slab->live;
        return block;
    }

    // Moves the full slabs that other threads have freed into back to the slabs with room.
    void takeBackRemote(ClassList& list) {
        for (Slab* slab = list.full.head; slab;) {
            Slab* next = slab->next;
            reclaimRemote(slab);
            if (slab->free) {
                list.full.unlink(slab);
                slab->full = false;
                list.room.pushSecond(slab);
            }
            slab = next;
        }
    }

    void* allocate(uint32_t sizeClass) {
        ClassList& list = classes[sizeClass];
        if (remotePending.load(std::memory_order_relaxed) &&
            remotePending.exchange(false, std::memory_order_acquire)) {
            for (ClassList& each : classes)
                takeBackRemote(each);
        }
        while (Slab* slab = list.room.head) {
            bool wasEmpty = slab->live == 0;
            if (void* block = take(slab)) {
                if (wasEmpty && list.empty > 0)
                    --list.empty;
                return block;
            }
            list.room.unlink(slab);
            slab->full = true;
            list.full.pushFront(slab);
        }
        Slab* slab = newSlab(sizeClass);
        list.room.pushFront(slab);
        return take(slab);
    }

    void release(Slab* slab, FreeBlock* block) {
        block->next = slab->free;
        slab->free = block;
        ClassList& list = classes[slab->sizeClass];
        if (slab->full) {
            list.full.unlink(slab);
            slab->full = false;
            list.room.pushSecond(slab);
        }
        if (--slab->live > 0)
            return;
        // Every block is back: the slab starts again from its beginning.
        resetSlab(slab);
        if (slab == list.room.head)
            return;
        if (list.empty < kSpareSlabs) {
            ++list.empty;
            return;
        }
        list.room.unlink(slab);
        destroySlab(slab);
    }
};

thread_local ThreadPool tPool;

} // namespace

namespace {
SmallBlockFreeObserver gFreeObserver = nullptr;
} // namespace

void smallBlockSetFreeObserver(SmallBlockFreeObserver observer) {
    gFreeObserver = observer;
}

void* smallBlockAllocate(size_t bytes) {
    if (bytes > kSmallBlockMax) {
        void* block = std::malloc(bytes);
        if (!block)
            raiseHostError(kHostErrNoMemory);
        return block;
    }
    auto sizeClass = static_cast<uint32_t>(bytes == 0 ? 1 : (bytes + kGranule - 1) / kGranule);
    return tPool.allocate(sizeClass);
}

void smallBlockFree(void* block, size_t bytes) {
    if (!block)
        return;
    if (gFreeObserver)
        gFreeObserver(block, bytes);
    if (bytes > kSmallBlockMax) {
        std::free(block);
        return;
    }
    Slab* slab = slabOf(block);
    auto* entry = static_cast<FreeBlock*>(block);
    if (slab->owner == &tPool) {
        tPool.release(slab, entry);
        return;
    }
    // Another thread's slab (or one whose thread has ended): hand the block back to it.
    FreeBlock* head = slab->remote.load(std::memory_order_relaxed);
    do {
        entry->next = head;
    } while (!slab->remote.compare_exchange_weak(head, entry, std::memory_order_release,
                                                 std::memory_order_relaxed));
    if (ThreadPool* owner = slab->owner)
        owner->remotePending.store(true, std::memory_order_release);
}
