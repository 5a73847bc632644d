// The module of the subscription store.
#pragma once

#include "frame/CModule.h"

class CRSSManagerModule final : public CModule {
public:
    /// Creates CRSSManager::sm_instance unless there is one.
    bool init() override;
    /// Destroys the store, which saves itself as it goes.
    bool term() override;
};

/// Creates the module, which puts it on the registry.
void CRSSManagerInit();
/// Frees the module.
void CRSSManagerTerm();
