#include "scriptui/JSVxViewModule.h"

#include "frame/HostTables.h"

namespace {

// Script views need nothing on the App object.
void JSVxViewAppInit(ESContext, ESObject) {}

} // namespace

bool JSVxViewModule::init() {
    if (!gESHFT)
        return false;
    gESHFT->registerClassInit(JSVxViewAppInit, "App");
    return true;
}
