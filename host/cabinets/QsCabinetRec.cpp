#include "host/cabinets/QsCabinetRec.h"

#include <algorithm>
#include <utility>

QsCabValue::QsCabValue(QsCabValue&& other) noexcept
    : kind(other.kind), boolean(other.boolean), integer(other.integer), uns32(other.uns32),
      atom(other.atom), real(other.real), bytes(std::move(other.bytes)),
      text(std::move(other.text)), pointer(std::exchange(other.pointer, nullptr)),
      destroy(std::exchange(other.destroy, nullptr)), cabinet(std::move(other.cabinet)) {}

QsCabValue& QsCabValue::operator=(QsCabValue&& other) noexcept {
    if (this == &other)
        return *this;
    if (destroy && pointer)
        destroy(pointer);
    kind = other.kind;
    boolean = other.boolean;
    integer = other.integer;
    uns32 = other.uns32;
    atom = other.atom;
    real = other.real;
    bytes = std::move(other.bytes);
    text = std::move(other.text);
    pointer = other.pointer;
    destroy = other.destroy;
    cabinet = std::move(other.cabinet);
    other.pointer = nullptr;
    other.destroy = nullptr;
    return *this;
}

QsCabValue::~QsCabValue() {
    if (destroy && pointer)
        destroy(pointer);
}

namespace {

// Up to this many entries a cabinet is searched in order; most cabinets are this small.
constexpr size_t kSearchedInOrder = 16;

size_t hashOf(std::string_view key) {
    return std::hash<std::string_view>{}(key);
}

} // namespace

void _t_QsCabinet::enter(size_t position) {
    size_t mask = m_slots.size() - 1;
    size_t slot = hashOf(entries[position].first) & mask;
    while (m_slots[slot] != 0)
        slot = (slot + 1) & mask;
    m_slots[slot] = static_cast<uint32_t>(position + 1);
}

void _t_QsCabinet::reindex() {
    size_t size = 64;
    while (size < 2 * entries.size())
        size *= 2;
    m_slots.assign(size, 0);
    for (size_t i = 0; i < entries.size(); ++i)
        enter(i);
}

QsCabValue* _t_QsCabinet::find(std::string_view key) {
    if (m_slots.empty()) {
        if (entries.size() <= kSearchedInOrder) {
            for (auto& entry : entries) {
                if (entry.first == key)
                    return &entry.second;
            }
            return nullptr;
        }
        reindex();
    }
    size_t mask = m_slots.size() - 1;
    for (size_t slot = hashOf(key) & mask; m_slots[slot] != 0; slot = (slot + 1) & mask) {
        auto& entry = entries[m_slots[slot] - 1];
        if (entry.first == key)
            return &entry.second;
    }
    return nullptr;
}

void _t_QsCabinet::put(std::string key, QsCabValue value) {
    if (QsCabValue* existing = find(key)) {
        if (value.cabinet)
            value.cabinet->parent = this;
        *existing = std::move(value);
        return;
    }
    append(std::move(key), std::move(value));
}

void _t_QsCabinet::append(std::string key, QsCabValue value) {
    if (value.cabinet)
        value.cabinet->parent = this;
    // Most cabinets hold a handful of keys: room for them at once spares the moves of growing.
    if (entries.capacity() == 0)
        entries.reserve(8);
    entries.emplace_back(std::move(key), std::move(value));
    if (m_slots.empty())
        return;
    if (2 * entries.size() > m_slots.size())
        reindex();
    else
        enter(entries.size() - 1);
}

void _t_QsCabinet::clear() {
    entries.clear();
    m_slots.clear();
}

int _t_QsCabinet::depth() const {
    int below = 0;
    for (const auto& entry : entries) {
        if (entry.second.cabinet)
            below = std::max(below, entry.second.cabinet->depth());
    }
    return below + 1;
}
