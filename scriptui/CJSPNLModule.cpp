#include "scriptui/CJSPNLModule.h"

#include "frame/HostTables.h"
#include "frame/PluginEntry.h"
#include "values/CESGlobalObject.h"

namespace {

CJSPNLModule* gPNLModule = nullptr;

// Adds "execDialog" and "measureDialog" to an App object; its body comes with script dialogs.
void JSPNLAppInit(ESContext, ESObject) {}

} // namespace

bool CJSPNLModule::init() {
    if (!gVellViewUserInterfaceHFT || !CES::registerClassInit(JSPNLAppInit, "App"))
        return false;
    gVellViewUserInterfaceHFT->registerNotification(kVxNotifyAppWillQuit, gExtensionID,
                                                    jsPrefAppWillQuit, nullptr);
    return true;
}

// The list of preference panels arrives with script preference panels; there is nothing to
// clear before that.
void jsPrefAppWillQuit(void*) {}

void JSPNLInit() {
    gPNLModule = new CJSPNLModule;
}

void JSPNLTerm() {
    delete gPNLModule;
    gPNLModule = nullptr;
}
