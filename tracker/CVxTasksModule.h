// The module of the task button: it makes the "Initiate" task once the viewer is up.
#pragma once

#include "frame/CModule.h"

class CVxTasksModule final : public CModule {
public:
    /// Registers DidInitExt and DidInit for the viewer's start-up notifications.
    bool init() override;

    /// Every plug-in has been initialised.
    static void DidInitExt(void* data);
    /// The viewer has finished starting.
    static void DidInit(void* data);
};

/// Creates the module, which puts it on the registry.
void CVxTasksInit();
/// Frees the module.
void CVxTasksTerm();
