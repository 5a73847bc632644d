#include "tests/fakehost/FakeHost.h"

#include "frame/HostTables.h"

FakeHost::FakeHost() {
    gCoreHFT = &m_core;
    gCoreVersion = 0x20000;
}

FakeHost::~FakeHost() {
    gCoreHFT = nullptr;
    gCoreVersion = 0;
}

void FakeHost::registerTables() {}
