#include "scriptui/CJSToolButtonModule.h"

#include "frame/HostTables.h"

namespace {

CJSToolButtonModule* gToolButtonModule = nullptr;

// Adds "addToolButton" and "removeToolButton" to an App object; its body comes with the tool
// buttons.
void JSToolButtonAppInit(ESContext, ESObject) {}

} // namespace

bool CJSToolButtonModule::init() {
    if (!gESHFT)
        return false;
    gESHFT->registerClassInit(JSToolButtonAppInit, "App");
    return true;
}

void JSToolButtonInit() {
    gToolButtonModule = new CJSToolButtonModule;
}

void JSToolButtonTerm() {
    delete gToolButtonModule;
    gToolButtonModule = nullptr;
}
