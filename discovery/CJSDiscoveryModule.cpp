#include "discovery/CJSDiscoveryModule.h"

#include "frame/HostTables.h"
#include "values/CES.h"

namespace {

CJSDiscoveryModule* gDiscoveryModule = nullptr;

// Gets or creates the context's SOAP object. "queryServices" and "resolveService" come with
// script discovery.
void JSDiscoveryContextInit(ESContext context) {
    try {
        CES::getOrCreateGlobalObject(context, "SOAP");
    } catch (const CES::Val&) {
        // A context that cannot take the object goes without it.
    } catch (const HostError&) {
    }
}

} // namespace

bool CJSDiscoveryModule::init() {
    if (!gESHFT)
        return false;
    gESHFT->registerContextInit(JSDiscoveryContextInit);
    return true;
}

void JSDiscoveryInit() {
    gDiscoveryModule = new CJSDiscoveryModule;
}

void JSDiscoveryTerm() {
    delete gDiscoveryModule;
    gDiscoveryModule = nullptr;
}
