#include "discovery/CJSDiscoveryModule.h"

#include "discovery/JSDiscovery.h"
#include "values/CESGlobalObject.h"

namespace {

CJSDiscoveryModule* gDiscoveryModule = nullptr;

// Gets or creates the context's SOAP object and adds the discovery methods to it.
void JSDiscoveryContextInit(ESContext context) {
    CES::defineGlobalObject(context, "SOAP",
                            {CES::method("queryServices", JSDiscoveryQueryServices),
                             CES::method("resolveService", JSDiscoveryResolveService)});
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
