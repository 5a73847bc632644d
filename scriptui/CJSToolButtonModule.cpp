#include "scriptui/CJSToolButtonModule.h"

#include "values/CESGlobalObject.h"

namespace {

CJSToolButtonModule* gToolButtonModule = nullptr;

// Adds "addToolButton" and "removeToolButton" to an App object; its body comes with the tool
// buttons.
void JSToolButtonAppInit(ESContext, ESObject) {}

} // namespace

bool CJSToolButtonModule::init() {
    return CES::registerClassInit(JSToolButtonAppInit, "App");
}

void JSToolButtonInit() {
    gToolButtonModule = new CJSToolButtonModule;
}

void JSToolButtonTerm() {
    delete gToolButtonModule;
    gToolButtonModule = nullptr;
}
