#include "values/CLazyAtom.h"

#include "frame/HostTables.h"
#include "frame/QsCore.h"

#include <cstring>

QsAtom CLazyAtom::get() const {
    if (!gCoreHFT)
        return kQsNullAtom;
    // The atom is checked against its text, not only against the table it came from: a new
    // host's table may sit where the old one was.
    if (m_atom == kQsNullAtom || m_core != gCoreHFT ||
        std::strcmp(QsAtomGetString(m_atom), m_text) != 0) {
        m_atom = QsAtomFromString(m_text);
        m_core = gCoreHFT;
    }
    return m_atom;
}
