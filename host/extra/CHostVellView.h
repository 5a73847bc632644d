// The reference host's viewer layer ("VellView"): the idle clock of the host's main loop, and
// icons decoded by gdk-pixbuf.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IVellView.h"
#include "host/icons/CPngIcons.h"

class CHostVellView final : public IVellView {
public:
    /// The clock is not owned.
    explicit CHostVellView(IIdle& idle) : m_idle(idle) {}
    int32_t hftVersion() const override { return kVellViewTable.version; }
    IIdle* idle() override { return &m_idle; }
    IIcons* icons() override { return &m_icons; }

private:
    IIdle& m_idle;
    CPngIcons m_icons;
};
