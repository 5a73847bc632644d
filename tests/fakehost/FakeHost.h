// The test host: the host tables of the plug-in, deterministic and in memory.
//
// A test makes one FakeHost; while it lives the g...HFT globals point at its tables, as they would
// after the life cycle's import steps. Its tables can be reached and steered through accessors.
#pragma once

#include "host/core/CHostCore.h"

class FakeHost {
public:
    FakeHost();
    ~FakeHost();
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;

    CHostCore& core() { return m_core; }

    /// Offers every table under its name and version in the core's registry, as the reference
    /// host does, without touching the globals: for tests that run the handshake themselves.
    void registerTables();

private:
    CHostCore m_core;
};
