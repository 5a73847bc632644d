// The reference host's viewer layer ("VellView"): the idle clock of the host's main loop.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IVellView.h"

class CHostVellView final : public IVellView {
public:
    /// The clock is not owned.
    explicit CHostVellView(IIdle& idle) : m_idle(idle) {}
    int32_t hftVersion() const override { return kVellViewTable.version; }
    IIdle* idle() override { return &m_idle; }

private:
    IIdle& m_idle;
};
