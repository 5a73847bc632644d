// Slabs of small blocks; see values/SmallBlocks.h.
//
// Slabs belong to the thread that carved them. A block freed by another thread goes onto its
// slab's remote list, which the owner takes back when it next needs room. When a thread ends, its
// slabs that still have blocks out go to the orphanage, and the blocks that come back to them
// later are counted off there until the slab can go.
//
// Under AddressSanitizer the unused bytes of the slabs are poisoned, so that reads past a block
// and reads of a freed block are reported as they would be from the general allocator.
#include "values/SmallBlocks.h"

#include "frame/HostError.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VELL_SMALL_BLOCKS_POISON 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define VELL_SMALL_BLOCKS_POISON 1
#endif

#ifdef VELL_SMALL_BLOCKS_POISON
#include <sanitizer/asan_interface.h>
#define POISON(address, size) ASAN_POISON_MEMORY_REGION(address, size)
#define UNPOISON(address, size) ASAN_UNPOISON_MEMORY_REGION(address, size)
#else
#define POISON(address, size) ((void)(address), (void)(size))
#define UNPOISON(address, size) ((void)(address), (void)(size))
#endif

namespace {

constexpr size_t kGranule = 32;
constexpr uint32_t kClasses = kSmallBlockMax / kGranule;
constexpr size_t kSlabBytes = 64 * 1024;
// Empty slabs kept per class for reuse (a megabyte each); further ones go back to the general
// allocator. A tree freed whole empties its slabs at once, and the next one of its size wants
// them again: slabs given back and carved anew fragment the heap around them and are faulted
// in afresh, which costs more memory at the peak than this many spares hold.
constexpr unsigned kSpareSlabs = 16;

struct FreeBlock {
    FreeBlock* next;
};

struct ThreadPool;

// The pool of this thread. The pointer is what the allocation paths read: a thread-local of
// trivial type is reached directly, where one with a destructor is reached through a call that
// first checks that it has been made. The pool itself goes with the thread.
thread_local ThreadPool* tPool = nullptr;

struct alignas(64) Slab {
    // Written by the owner under gRemoteLock when it ends; read by other threads.
    std::atomic<ThreadPool*> owner{nullptr};
    Slab* prev = nullptr; // in the list that the slab stands in
    Slab* next = nullptr;
    uint32_t sizeClass = 0;
    uint32_t blockBytes = 0;
    uint32_t live = 0; // blocks handed out and not yet back
    bool full = false; // stands in the full list rather than the list of slabs with room
    char* bump = nullptr;
    char* end = nullptr;
    FreeBlock* free = nullptr;
    std::atomic<FreeBlock*> remote{nullptr};
};

size_t blockBytesOf(uint32_t sizeClass) {
    return sizeClass * kGranule;
}

Slab* slabOf(void* block) {
    return reinterpret_cast<Slab*>(reinterpret_cast<uintptr_t>(block) & ~(kSlabBytes - 1));
}

char* slabStart(Slab* slab) {
    return reinterpret_cast<char*>(slab) + sizeof(Slab);
}

// Only when no block is out: the slab starts again from its beginning.
void resetSlab(Slab* slab) {
    slab->free = nullptr;
    slab->bump = slabStart(slab);
    POISON(slab->bump, static_cast<size_t>(slab->end - slab->bump));
}

void destroySlab(Slab* slab) {
    UNPOISON(slabStart(slab), static_cast<size_t>(slab->end - slabStart(slab)));
    slab->~Slab();
    std::free(slab);
}

// A freed block keeps its link to the next free block in its first bytes; the rest is poisoned.
void pushFree(FreeBlock*& list, FreeBlock* block, uint32_t blockBytes) {
    UNPOISON(block, sizeof(FreeBlock));
    block->next = list;
    list = block;
    POISON(reinterpret_cast<char*>(block) + sizeof(FreeBlock), blockBytes - sizeof(FreeBlock));
}

// Takes back what other threads freed into the slab.
void reclaimRemote(Slab* slab) {
    if (!slab->remote.load(std::memory_order_relaxed))
        return;
    FreeBlock* list = slab->remote.exchange(nullptr, std::memory_order_acquire);
    while (list) {
        FreeBlock* next = list->next;
        pushFree(slab->free, list, slab->blockBytes);
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

// Guards the passage of a slab from its ending thread to the orphanage, and everything done to
// orphaned slabs. Frees by other threads take it, so that they never reach an owner that has gone.
std::mutex gRemoteLock;
// Slabs whose thread has ended while blocks were out; a slab leaves when its last block is back.
SlabList gOrphans;

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
        // Blocks freed later in the thread's end are counted off as those of an ended thread.
        tPool = nullptr;
        std::lock_guard<std::mutex> lock(gRemoteLock);
        for (ClassList& list : classes) {
            for (SlabList* slabs : {&list.room, &list.full}) {
                for (Slab* slab = slabs->head; slab;) {
                    Slab* next = slab->next;
                    reclaimRemote(slab);
                    if (slab->live == 0) {
                        destroySlab(slab);
                    } else {
                        // Its blocks may outlive the thread (a string handed to another one).
                        slab->owner.store(nullptr, std::memory_order_relaxed);
                        gOrphans.pushFront(slab);
                    }
                    slab = next;
                }
                slabs->head = nullptr;
            }
            list.empty = 0;
        }
    }

    Slab* newSlab(uint32_t sizeClass) {
        void* memory = std::aligned_alloc(kSlabBytes, kSlabBytes);
        if (!memory)
            raiseHostError(kHostErrNoMemory);
        auto* slab = new (memory) Slab();
        slab->owner.store(this, std::memory_order_relaxed);
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
            UNPOISON(block, sizeof(FreeBlock));
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

    // A slab whose last block has come back: it starts again, stays as a spare or goes.
    void settleEmpty(ClassList& list, Slab* slab) {
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

    // Takes back the blocks other threads have freed into our slabs of one class.
    void takeBackRemote(ClassList& list) {
        for (Slab* slab = list.full.head; slab;) {
            Slab* next = slab->next;
            reclaimRemote(slab);
            if (slab->free) {
                list.full.unlink(slab);
                slab->full = false;
                list.room.pushSecond(slab);
                if (slab->live == 0)
                    settleEmpty(list, slab);
            }
            slab = next;
        }
        for (Slab* slab = list.room.head; slab;) {
            Slab* next = slab->next;
            bool wasEmpty = slab->live == 0;
            reclaimRemote(slab);
            if (slab->live == 0 && !wasEmpty)
                settleEmpty(list, slab);
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
        pushFree(slab->free, block, slab->blockBytes);
        ClassList& list = classes[slab->sizeClass];
        if (slab->full) {
            list.full.unlink(slab);
            slab->full = false;
            list.room.pushSecond(slab);
        }
        if (--slab->live == 0)
            settleEmpty(list, slab);
    }
};

// The pool lives on the heap and only this holder and tPool are thread-locals: the plug-in's
// thread-locals then stay small enough for the loader to place them in the static TLS block,
// where reaching them is a load of a fixed offset.
struct ThreadPoolHolder {
    ThreadPool* pool = nullptr;
    ~ThreadPoolHolder() {
        delete pool;
        pool = nullptr;
    }
};

ThreadPool* makeThreadPool() {
    thread_local ThreadPoolHolder holder;
    if (!holder.pool)
        holder.pool = new ThreadPool;
    tPool = holder.pool;
    return tPool;
}

inline ThreadPool* threadPool() {
    ThreadPool* pool = tPool;
    return pool ? pool : makeThreadPool();
}

// A block of a slab that is not ours: back onto its owner's remote list, or counted off an orphan.
void releaseForeign(Slab* slab, FreeBlock* block) {
    std::lock_guard<std::mutex> lock(gRemoteLock);
    ThreadPool* owner = slab->owner.load(std::memory_order_relaxed);
    if (!owner) {
        if (--slab->live == 0) {
            gOrphans.unlink(slab);
            destroySlab(slab);
        } else {
            POISON(block, slab->blockBytes);
        }
        return;
    }
    FreeBlock* head = slab->remote.load(std::memory_order_relaxed);
    do {
        block->next = head;
    } while (!slab->remote.compare_exchange_weak(head, block, std::memory_order_release,
                                                 std::memory_order_relaxed));
    owner->remotePending.store(true, std::memory_order_release);
}

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
    void* block = threadPool()->allocate(sizeClass);
    UNPOISON(block, bytes);
    return block;
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
    UNPOISON(entry, slab->blockBytes);
    ThreadPool* pool = tPool;
    if (pool && slab->owner.load(std::memory_order_relaxed) == pool)
        pool->release(slab, entry);
    else
        releaseForeign(slab, entry);
}
