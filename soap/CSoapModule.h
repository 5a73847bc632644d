// The module of the SOAP subsystem: it brings the script object SOAP to every script context.
#pragma once

#include "frame/CModule.h"

class CSoapModule final : public CModule {
public:
    /// Registers the per-context initialiser of the SOAP object.
    bool init() override;
    /// Ends the asynchronous requests still under way, and deletes the credential store, which
    /// writes its cabinet back.
    bool term() override;
};

/// Creates the module, which puts it on the registry.
void SOAPInit();
/// Frees the module.
void SOAPTerm();
