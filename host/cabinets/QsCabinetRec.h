// The host's cabinet: entries in insertion order, with an index by key once there are enough of
// them for a search to cost more than the index.
#pragma once

#include "frame/host/ICabinets.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// One value of a cabinet. Moving it moves the pointer's destroy duty along.
struct QsCabValue {
    QsCabValueKind kind = kQsCabNull;
    bool boolean = false;
    int32_t integer = 0;
    uint32_t uns32 = 0;
    QsAtom atom = kQsNullAtom;
    double real = 0;
    std::string bytes; // string, binary, or the type of a pointer
    std::u16string text;
    void* pointer = nullptr;
    QsCabPointerDestroyProc destroy = nullptr;
    std::unique_ptr<_t_QsCabinet> cabinet;

    QsCabValue() = default;
    explicit QsCabValue(QsCabValueKind k) : kind(k) {}
    QsCabValue(QsCabValue&& other) noexcept;
    QsCabValue& operator=(QsCabValue&& other) noexcept;
    QsCabValue(const QsCabValue&) = delete;
    QsCabValue& operator=(const QsCabValue&) = delete;
    ~QsCabValue();
};

struct _t_QsCabinet {
    /// The cabinet that holds this one under a key; null for one of its own.
    _t_QsCabinet* parent = nullptr;
    std::vector<std::pair<std::string, QsCabValue>> entries;

    /// The value of a key, or null.
    QsCabValue* find(std::string_view key);
    /// Puts a value under a key: in place when the key is there, at the end otherwise.
    void put(std::string key, QsCabValue value);
    /// Puts a value under a key that the cabinet does not hold yet, at the end.
    void append(std::string key, QsCabValue value);
    /// Removes every entry.
    void clear();
    /// Nesting depth below this cabinet, itself counted: 1 when it holds no cabinet.
    int depth() const;

private:
    /// Rebuilds the index with room for twice the entries.
    void reindex();
    /// Enters the entry at a position into the index.
    void enter(size_t position);

    /// An open-addressed table of the entries' positions plus one (0 for a free slot), its size
    /// a power of two; empty while the cabinet is small enough to be searched in order.
    std::vector<uint32_t> m_slots;
};
