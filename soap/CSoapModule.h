// The module of the SOAP subsystem: it brings the script object SOAP to every script context.
#pragma once

#include "frame/CModule.h"

class CSoapModule final : public CModule {
public:
    /// Registers the per-context initialiser of the SOAP object.
    bool init() override;
    // term deletes CCredStore::sm_instance; it arrives with the credential store.
};

/// Creates the module, which puts it on the registry.
void SOAPInit();
/// Frees the module.
void SOAPTerm();
