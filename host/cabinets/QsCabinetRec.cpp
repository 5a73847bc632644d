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

QsCabValue* _t_QsCabinet::find(const std::string& key) {
    auto found = index.find(key);
    return found == index.end() ? nullptr : &entries[found->second].second;
}

void _t_QsCabinet::put(const std::string& key, QsCabValue value) {
    if (value.cabinet)
        value.cabinet->parent = this;
    if (QsCabValue* existing = find(key)) {
        *existing = std::move(value);
        return;
    }
    index.emplace(key, entries.size());
    entries.emplace_back(key, std::move(value));
}

int _t_QsCabinet::depth() const {
    int below = 0;
    for (const auto& entry : entries) {
        if (entry.second.cabinet)
            below = std::max(below, entry.second.cabinet->depth());
    }
    return below + 1;
}
