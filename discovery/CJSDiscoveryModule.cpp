#include "discovery/CJSDiscoveryModule.h"

#include "frame/HostTables.h"

namespace {

CJSDiscoveryModule* gDiscoveryModule = nullptr;

// Gets or creates the context's SOAP object and attaches "queryServices" and "resolveService".
// Its body comes with script discovery.
void JSDiscoveryContextInit(ESContext) {}

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
