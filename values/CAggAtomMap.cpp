#include "values/CAgg.h"
#include "values/SmallBlocks.h"

#include <algorithm>
#include <cstring>
#include <new>

// A block: its header, room for the order of all entries up to then, and its slots. Only the
// newest block's order is in use; the others are kept for their slots.
struct CAggAtomMap::Block {
    Block* next;
    uint32_t slotCount;
    uint32_t slotsUsed;
    uint32_t orderCapacity;

    value_type** order() { return reinterpret_cast<value_type**>(this + 1); }
    value_type* slots() { return reinterpret_cast<value_type*>(order() + orderCapacity); }

    static size_t bytesOf(uint32_t slotCount, uint32_t orderCapacity) {
        return sizeof(Block) + orderCapacity * sizeof(value_type*) + slotCount * sizeof(value_type);
    }

    static Block* make(uint32_t slotCount, uint32_t orderCapacity, Block* next) {
        auto* block = static_cast<Block*>(smallBlockAllocate(bytesOf(slotCount, orderCapacity)));
        block->next = next;
        block->slotCount = slotCount;
        block->slotsUsed = 0;
        block->orderCapacity = orderCapacity;
        return block;
    }

    static void free(Block* block) noexcept {
        smallBlockFree(block, bytesOf(block->slotCount, block->orderCapacity));
    }
};
// The slots follow the order array with no padding between, in a block and in a map's room.
static_assert(alignof(CAggAtomMap::value_type) <= alignof(CAggAtomMap::value_type*));
static_assert(sizeof(CAggAtomMap) % alignof(CAggAtomMap::value_type) == 0);
static_assert(sizeof(CAggAtomMap) == 32, "a record's map header stays one small block's worth");

CAggAtomMap::CAggAtomMap(const CAggAtomMap& other) {
    if (other.m_size == 0)
        return;
    reserve(other.m_size);
    try {
        for (const value_type& entry : other) {
            value_type* slot = takeSlot();
            new (slot) value_type(entry);
            m_order[m_size++] = slot;
        }
    } catch (...) {
        releaseAll();
        throw;
    }
}

CAggAtomMap::CAggAtomMap(CAggAtomMap&& other) {
    if (other.m_room > 0)
        moveEntries(other);
    else
        steal(other);
}

CAggAtomMap& CAggAtomMap::operator=(const CAggAtomMap& other) {
    if (this == &other)
        return *this;
    CAggAtomMap copy(other);
    clear();
    steal(copy);
    return *this;
}

CAggAtomMap& CAggAtomMap::operator=(CAggAtomMap&& other) {
    if (this == &other)
        return *this;
    clear();
    if (other.m_room > 0)
        moveEntries(other);
    else
        steal(other);
    return *this;
}

CAggAtomMap::~CAggAtomMap() {
    releaseAll();
}

CAggAtomMap* CAggAtomMap::make(size_t room) {
    auto count = static_cast<uint8_t>(std::min(room, kMaxRoom));
    void* memory = smallBlockAllocate(bytesFor(count));
    auto* map = new (memory) CAggAtomMap;
    map->m_made = true;
    map->m_room = count;
    map->m_order = count > 0 ? map->roomOrder() : nullptr;
    if (room > count) {
        try {
            map->reserve(room);
        } catch (...) {
            destroy(map);
            throw;
        }
    }
    return map;
}

CAggAtomMap* CAggAtomMap::makeCopy(const CAggAtomMap& other) {
    CAggAtomMap* map = make(other.m_size);
    try {
        for (const value_type& entry : other) {
            value_type* slot = map->takeSlot();
            new (slot) value_type(entry);
            map->m_order[map->m_size++] = slot;
        }
    } catch (...) {
        destroy(map);
        throw;
    }
    return map;
}

void CAggAtomMap::destroy(CAggAtomMap* map) noexcept {
    if (!map)
        return;
    if (!map->m_made) {
        delete map;
        return;
    }
    size_t bytes = bytesFor(map->m_room);
    map->~CAggAtomMap();
    smallBlockFree(map, bytes);
}

uint32_t CAggAtomMap::orderCapacity() const {
    return m_blocks ? m_blocks->orderCapacity : m_room;
}

void CAggAtomMap::steal(CAggAtomMap& other) noexcept {
    releaseAll();
    if (!other.m_blocks)
        return; // an empty map without room: nothing to take
    m_order = other.m_order;
    m_size = other.m_size;
    m_blocks = other.m_blocks;
    m_free = other.m_free;
    // The room stays unused until the map is emptied: the order lies in the blocks taken.
    m_roomUsed = m_room;
    other.m_order = nullptr;
    other.m_size = 0;
    other.m_blocks = nullptr;
    other.m_free = nullptr;
}

void CAggAtomMap::moveEntries(CAggAtomMap& other) {
    reserve(size() + other.size());
    for (value_type& entry : other)
        emplace(entry.first, std::move(entry.second));
    other.clear();
}

void CAggAtomMap::reserve(size_t count) {
    size_t fresh = m_blocks ? m_blocks->slotCount - m_blocks->slotsUsed : m_room - m_roomUsed;
    if (count <= m_size + fresh)
        return;
    grow(static_cast<uint32_t>(count - m_size - fresh));
}

// A new block with room for `more` entries beyond all the slots made so far; the order moves
// into it.
void CAggAtomMap::grow(uint32_t more) {
    uint32_t slotsSoFar = m_room;
    for (Block* block = m_blocks; block; block = block->next)
        slotsSoFar += block->slotCount;
    Block* block = Block::make(more, slotsSoFar + more, m_blocks);
    // The slots not handed out yet, of the room or of the newest block, are not lost: they
    // join the free ones.
    if (m_blocks) {
        while (m_blocks->slotsUsed < m_blocks->slotCount)
            giveBack(m_blocks->slots() + m_blocks->slotsUsed++);
    } else {
        while (m_roomUsed < m_room)
            giveBack(roomSlots() + m_roomUsed++);
    }
    if (m_size > 0)
        std::memcpy(block->order(), m_order, m_size * sizeof(value_type*));
    m_blocks = block;
    m_order = block->order();
}

CAggAtomMap::value_type* CAggAtomMap::takeSlot() {
    if (m_free) {
        auto* slot = static_cast<value_type*>(m_free);
        m_free = *static_cast<void**>(m_free);
        return slot;
    }
    if (!m_blocks && m_roomUsed < m_room)
        return roomSlots() + m_roomUsed++;
    if (!m_blocks || m_blocks->slotsUsed == m_blocks->slotCount) {
        // Room doubles, with four entries to start: a record has a handful.
        grow(std::max<uint32_t>(4, orderCapacity()));
    }
    return m_blocks->slots() + m_blocks->slotsUsed++;
}

void CAggAtomMap::giveBack(value_type* slot) noexcept {
    *reinterpret_cast<void**>(slot) = m_free;
    m_free = slot;
}

CAggAtomMap::iterator CAggAtomMap::erase(const_iterator at) {
    auto index = static_cast<size_t>(at.position() - m_order);
    value_type* slot = m_order[index];
    slot->~value_type();
    giveBack(slot);
    std::memmove(m_order + index, m_order + index + 1, (m_size - index - 1) * sizeof(value_type*));
    --m_size;
    return iterator(m_order + index);
}

size_t CAggAtomMap::erase(QsAtom key) {
    auto found = find(key);
    if (found == end())
        return 0;
    erase(found);
    return 1;
}

void CAggAtomMap::clear() noexcept {
    releaseAll();
}

void CAggAtomMap::releaseAll() noexcept {
    for (uint32_t i = 0; i < m_size; ++i)
        m_order[i]->~value_type();
    for (Block* block = m_blocks; block;) {
        Block* next = block->next;
        Block::free(block);
        block = next;
    }
    m_order = m_room > 0 ? roomOrder() : nullptr;
    m_size = 0;
    m_blocks = nullptr;
    m_free = nullptr;
    m_roomUsed = 0;
}

bool CAggAtomMap::operator==(const CAggAtomMap& other) const {
    if (m_size != other.m_size)
        return false;
    for (uint32_t i = 0; i < m_size; ++i) {
        if (m_order[i]->first != other.m_order[i]->first ||
            !(m_order[i]->second == other.m_order[i]->second))
            return false;
    }
    return true;
}
