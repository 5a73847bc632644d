// The module of the command URLs "vellum:Inbox?...".
#pragma once

#include "frame/CModule.h"
#include "frame/host/ICore.h"

class CVxURLCommandModule final : public CModule {
public:
    /// Interns the atom "Inbox", the command URLs' name.
    bool init() override;
    /// The atom "Inbox" once init ran; the null atom before.
    QsAtom inboxAtom() const { return m_inboxAtom; }

private:
    // The URL command handler is registered with the viewer from init once the command URLs
    // arrive.
    QsAtom m_inboxAtom = kQsNullAtom;
};

/// Creates the module, which puts it on the registry.
void CVxURLCommandsInit();
/// Frees the module.
void CVxURLCommandsTerm();
