#include "discovery/CJSDiscoveryModule.h"

#include "values/CESGlobalObject.h"

namespace {

CJSDiscoveryModule* gDiscoveryModule = nullptr;

// Gets or creates the context's SOAP object. "queryServices" and "resolveService" come with
// script discovery.
void JSDiscoveryContextInit(ESContext context) {
    CES::defineGlobalObject(context, "SOAP", {});
}

} // namespace

bool CJSDiscoveryModule::init() {
    return CES::registerContextInit(JSDiscoveryContextInit);
}

void JSDiscoveryInit() {
    gDiscoveryModule = new CJSDiscoveryModule;
}

void JSDiscoveryTerm() {
    delete gDiscoveryModule;
    gDiscoveryModule = nullptr;
}
