// The module of the script RSS object.
#pragma once

#include "frame/CModule.h"

class CRSSModule final : public CModule {
public:
    /// Registers the per-context initialiser of the RSS object.
    bool init() override;
    /// Drops the redraws that scripts asked for and that have not run.
    bool term() override;
};

/// Creates the module, which puts it on the registry.
void JSRSSInit();
/// Frees the module.
void JSRSSTerm();
