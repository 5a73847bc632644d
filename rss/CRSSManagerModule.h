// The module of the subscription store.
#pragma once

#include "frame/CModule.h"

class CRSSManagerModule final : public CModule {
    // init creates CRSSManager::sm_instance unless there is one, and term destroys it; both
    // arrive with the subscription store.
};

/// Creates the module, which puts it on the registry.
void CRSSManagerInit();
/// Frees the module.
void CRSSManagerTerm();
