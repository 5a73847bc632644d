#include "scriptui/JSVxViewModule.h"

#include "values/CESGlobalObject.h"

namespace {

// Script views need nothing on the App object.
void JSVxViewAppInit(ESContext, ESObject) {}

} // namespace

bool JSVxViewModule::init() {
    return CES::registerClassInit(JSVxViewAppInit, "App");
}
