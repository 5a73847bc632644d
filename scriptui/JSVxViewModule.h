// The module of script views. Its one instance is a static object, on the registry from the
// moment the plug-in is loaded.
#pragma once

#include "frame/CModule.h"

class JSVxViewModule final : public CModule {
public:
    /// Registers an initialiser of the script class "App" that adds nothing.
    bool init() override;
};

/// The static instance (plugin/PluginMain.cpp).
extern JSVxViewModule gJSVxViewModule;
