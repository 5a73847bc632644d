// The module of script dialogs and preference panels.
#pragma once

#include "frame/CModule.h"

class CJSPNLModule final : public CModule {
public:
    /// Registers the initialiser of the script class "App" that adds "execDialog" and
    /// "measureDialog", and jsPrefAppWillQuit for the quit notification.
    bool init() override;
};

/// Clears the list of script preference panels when the viewer quits.
void jsPrefAppWillQuit(void* data);

/// Creates the module, which puts it on the registry.
void JSPNLInit();
/// Frees the module.
void JSPNLTerm();
