// Helpers shared by the CAgg sources: keys made without allocating where that is possible,
// and the number rules.
#pragma once

#include "frame/host/ICore.h"
#include "values/CAgg.h"
#include "values/EStr.h"
#include "values/SmallBlocks.h"

#include <new>
#include <utility>

/// A holder of a CAgg payload (a map or a vector object) made in a small block: holders are
/// made and freed once for every collection of a tree, as its strings are. Free it with
/// CAggDeleteHolder.
template <class Holder, class... Args> Holder* CAggNewHolder(Args&&... args) {
    void* memory = smallBlockAllocate(sizeof(Holder));
    try {
        return new (memory) Holder(std::forward<Args>(args)...);
    } catch (...) {
        smallBlockFree(memory, sizeof(Holder));
        throw;
    }
}

template <class Holder> void CAggDeleteHolder(Holder* holder) noexcept {
    holder->~Holder();
    smallBlockFree(holder, sizeof(Holder));
}

/// Whether a map key is numeric: encoding 1, not empty, and all decimal digits.
bool CAggIsNumericKey(const _EStrRec* key);

/// A key record over borrowed bytes, for lookups that must not copy the text. It must not
/// outlive the text.
class CAggBorrowedKey {
public:
    CAggBorrowedKey(const char* text, int32_t encoding);
    CAggBorrowedKey(const CAggBorrowedKey&) = delete;
    CAggBorrowedKey& operator=(const CAggBorrowedKey&) = delete;
    const _EStrRec* get() const { return &m_record; }

private:
    _EStrRec m_record;
};

/// The key of a const char*, with encoding 3: borrowed as encoding 1, unless the text starts
/// with the byte order mark, when a UCS string is made.
class CAggTextKey {
public:
    explicit CAggTextKey(const char* text);
    const _EStrRec* get() const { return m_made.isNull() ? m_borrowed.get() : m_made.get(); }

private:
    CAggBorrowedKey m_borrowed;
    CEStr m_made;
};

/// The atom of a text; the null atom when there is no core table to intern it.
QsAtom CAggAtomOf(const char* text);

/// The atom of a text key; a UCS key is re-encoded to 1 first.
QsAtom CAggAtomOfKey(const _EStrRec* key);

/// A double truncated towards zero; out of range saturates and NaN gives 0.
QsInt32 CAggTruncateToInt32(double value);
/// The same into a long.
long CAggTruncateToLong(double value);
