// The module of the Tracker panel.
#pragma once

#include "frame/CModule.h"

class RSSPanel final : public CModule {
    // init constructs the panel data and the default feed interface object, and registers the
    // status commands and the panel's notifications; it arrives with the Tracker panel.
};

/// Creates the module, which puts it on the registry.
void CVxInboxPanelInit();
/// Frees the module.
void CVxInboxPanelTerm();
