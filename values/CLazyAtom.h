// An atom interned on first use, for keys known at compile time.
#pragma once

#include "frame/host/ICore.h"

/// A text and its atom, interned the first time the atom is asked for. The atom is interned
/// again when the core table no longer gives it that text, so a static CLazyAtom outlives a
/// host. Without a core table the atom is the null atom.
class CLazyAtom {
public:
    constexpr explicit CLazyAtom(const char* text) : m_text(text) {}

    /// The atom of the text.
    QsAtom get() const;
    operator QsAtom() const { return get(); }
    /// The text.
    const char* text() const { return m_text; }

private:
    const char* m_text;
    mutable QsAtom m_atom = kQsNullAtom;
    mutable const ICore* m_core = nullptr;
};
