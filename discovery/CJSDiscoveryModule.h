// The module of script discovery: it adds the discovery methods to the SOAP object.
#pragma once

#include "frame/CModule.h"

class CJSDiscoveryModule final : public CModule {
public:
    /// Registers the per-context initialiser that adds "queryServices" and "resolveService".
    bool init() override;
};

/// Creates the module, which puts it on the registry.
void JSDiscoveryInit();
/// Frees the module.
void JSDiscoveryTerm();
