// The map of atom keys behind a CAgg atom map: an element record is one, so there are as many
// of them as there are nodes in a parsed document.
//
// It has the shape of std::map for what the system uses, but keeps its entries in a few blocks
// instead of one heap node each: a record of five entries is one block, walked in one sweep.
// The maps a CAgg holds are made with room for their first entries in their own allocation,
// so that a small record is one piece of memory.
// Entries never move, so a reference to a value stays good across inserts, as with std::map,
// until its own entry is erased. Iterators are positions in the key order: unlike std::map's,
// they are lost on any insert or erase, except the one erase(iterator) returns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>

class CAgg;
using QsAtom = unsigned short;

class CAggAtomMap {
public:
    using key_type = QsAtom;
    using mapped_type = CAgg;
    using value_type = std::pair<const QsAtom, CAgg>;
    using size_type = size_t;

    template <bool Const> class Iterator {
    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = CAggAtomMap::value_type;
        using difference_type = std::ptrdiff_t;
        using pointer = std::conditional_t<Const, const value_type*, value_type*>;
        using reference = std::conditional_t<Const, const value_type&, value_type&>;

        Iterator() = default;
        explicit Iterator(value_type* const* at) : m_at(at) {}
        /// An iterator converts to a const one.
        template <bool C = Const, class = std::enable_if_t<C>>
        Iterator(const Iterator<false>& other) : m_at(other.position()) {}

        reference operator*() const { return **m_at; }
        pointer operator->() const { return *m_at; }
        Iterator& operator++() {
            ++m_at;
            return *this;
        }
        Iterator operator++(int) {
            Iterator was = *this;
            ++m_at;
            return was;
        }
        Iterator& operator--() {
            --m_at;
            return *this;
        }
        Iterator operator--(int) {
            Iterator was = *this;
            --m_at;
            return was;
        }
        bool operator==(const Iterator& other) const { return m_at == other.m_at; }
        bool operator!=(const Iterator& other) const { return m_at != other.m_at; }
        value_type* const* position() const { return m_at; }

    private:
        value_type* const* m_at = nullptr;
    };
    using iterator = Iterator<false>;
    using const_iterator = Iterator<true>;

    /// The room a new atom map comes with: an element record built for writing fits in it.
    static constexpr size_t kDefaultRoom = 4;
    /// The most entries a map made by make holds in its own allocation; more go to blocks.
    static constexpr size_t kMaxRoom = 255;

    CAggAtomMap() = default;
    /// A copy whose entries lie in one block, in key order.
    CAggAtomMap(const CAggAtomMap& other);
    /// Takes the other's entries, which stay where they are; the other is left empty. Only the
    /// entries of a map made with room of its own are moved one by one, and lose their place.
    CAggAtomMap(CAggAtomMap&& other);
    CAggAtomMap& operator=(const CAggAtomMap& other);
    CAggAtomMap& operator=(CAggAtomMap&& other);
    ~CAggAtomMap();

    /// A map on the heap with room for `room` entries (at most kMaxRoom) in the same
    /// allocation: the map, its order and its first entries are one piece of memory. Free it
    /// with destroy.
    static CAggAtomMap* make(size_t room);
    /// The same, holding a copy of the other's entries.
    static CAggAtomMap* makeCopy(const CAggAtomMap& other);
    /// Frees a map from make or makeCopy, or one made with new.
    static void destroy(CAggAtomMap* map) noexcept;
    /// The bytes a map from make(room) takes, entries included.
    static constexpr size_t bytesFor(size_t room);

    size_t size() const { return m_size; }
    /// Makes room for count entries in all, so that a map about to be filled takes one block.
    void reserve(size_t count);
    bool empty() const { return m_size == 0; }

    iterator begin() { return iterator(m_order); }
    iterator end() { return iterator(m_order + m_size); }
    const_iterator begin() const { return const_iterator(m_order); }
    const_iterator end() const { return const_iterator(m_order + m_size); }

    iterator find(QsAtom key);
    const_iterator find(QsAtom key) const;
    size_t count(QsAtom key) const { return find(key) != end(); }

    /// The value of the key, made void when missing.
    CAgg& operator[](QsAtom key);
    /// Adds the entry when the key is missing; else leaves the map alone.
    template <class... Args> std::pair<iterator, bool> emplace(QsAtom key, Args&&... args);
    std::pair<iterator, bool> insert(const value_type& entry);
    template <class Value> std::pair<iterator, bool> insert_or_assign(QsAtom key, Value&& value);

    /// Erases the entry and returns the position of the next one.
    iterator erase(const_iterator at);
    size_t erase(QsAtom key);
    void clear() noexcept;

    bool operator==(const CAggAtomMap& other) const;
    bool operator!=(const CAggAtomMap& other) const { return !(*this == other); }

private:
    struct Block;

    value_type** lowerBound(QsAtom key) const;
    /// A slot for one more entry; the order has room for it too.
    value_type* takeSlot();
    /// Puts a slot back among the free ones; its entry is gone.
    void giveBack(value_type* slot) noexcept;
    void grow(uint32_t more);
    void releaseAll() noexcept;
    /// Takes the other's blocks; the other must not hold room of its own.
    void steal(CAggAtomMap& other) noexcept;
    /// Moves the other's entries in one by one, and empties it.
    void moveEntries(CAggAtomMap& other);
    /// The order array and the slots inside the map's own allocation.
    value_type** roomOrder() { return reinterpret_cast<value_type**>(this + 1); }
    value_type* roomSlots() { return reinterpret_cast<value_type*>(roomOrder() + m_room); }
    /// How many entries the order array in use can take.
    uint32_t orderCapacity() const;

    // The entries in key order. The array lies in the newest block, or in the map's own room
    // while it has no block.
    value_type** m_order = nullptr;
    // The blocks, newest first; every entry lives in one of their slots or in the room.
    Block* m_blocks = nullptr;
    // Slots given back by erase, chained through their own storage.
    void* m_free = nullptr;
    uint32_t m_size = 0;
    // Made by make or makeCopy: m_room slots lie in the map's own allocation, behind an order
    // array of as many entries; m_roomUsed of them have been handed out.
    uint8_t m_room = 0;
    uint8_t m_roomUsed = 0;
    bool m_made = false;
};
