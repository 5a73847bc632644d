#include "host/cabinets/QsCabinetRec.h"

#include <algorithm>

QsCabValue::QsCabValue(QsCabValue&& other) noexcept {
    *this = std::move(other);
}

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

} // namespace

QsCabValue* _t_QsCabinet::find(std::string_view key) {
    if (index.empty()) {
        if (entries.size() <= kSearchedInOrder) {
            for (auto& entry : entries) {
                if (entry.first == key)
                    return &entry.second;
            }
            return nullptr;
        }
        index.reserve(entries.size());
        for (size_t i = 0; i < entries.size(); ++i)
            index.emplace(entries[i].first, i);
    }
    auto found = index.find(key);
    return found == index.end() ? nullptr : &entries[found->second].second;
}

void _t_QsCabinet::put(std::string key, QsCabValue value) {
    if (value.cabinet)
        value.cabinet->parent = this;
    if (QsCabValue* existing = find(key)) {
        *existing = std::move(value);
        return;
    }
    if (!index.empty())
        index.emplace(key, entries.size());
    entries.emplace_back(std::move(key), std::move(value));
}

int _t_QsCabinet::depth() const {
    int below = 0;
    for (const auto& entry : entries) {
        if (entry.second.cabinet)
            below = std::max(below, entry.second.cabinet->depth());
    }
    return below + 1;
}
