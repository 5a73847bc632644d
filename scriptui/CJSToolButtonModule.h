// The module of script tool buttons.
#pragma once

#include "frame/CModule.h"

class CJSToolButtonModule final : public CModule {
public:
    /// Registers the initialiser of the script class "App" that adds "addToolButton" and
    /// "removeToolButton".
    bool init() override;
    // term destroys CJSToolBar::sm_warningToolBar, then sm_regularToolBar; it arrives with the
    // tool buttons.
};

/// Creates the module, which puts it on the registry.
void JSToolButtonInit();
/// Frees the module.
void JSToolButtonTerm();
