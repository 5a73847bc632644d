#include "values/CLazyAtom.h"

#include "frame/HostTables.h"
#include "frame/QsCore.h"

QsAtom CLazyAtom::get() const {
    if (m_core != gCoreHFT || m_atom == kQsNullAtom) {
        m_atom = gCoreHFT ? QsAtomFromString(m_text) : kQsNullAtom;
        m_core = gCoreHFT;
    }
    return m_atom;
}
