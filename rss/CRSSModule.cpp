#include "rss/CRSSModule.h"

#include "frame/HostTables.h"
#include "values/CES.h"

namespace {

CRSSModule* gRSSModule = nullptr;

// Gets or creates the context's RSS object. Its methods "addFeed", "removeFeed", "update",
// "getContents", "addUI" and the read-only properties "feeds" and "hasExternalReader" come with
// the script RSS object.
void JSRSSContextInit(ESContext context) {
    try {
        CES::getOrCreateGlobalObject(context, "RSS");
    } catch (const CES::Val&) {
        // A context that cannot take the object goes without it.
    } catch (const HostError&) {
    }
}

} // namespace

bool CRSSModule::init() {
    if (!gESHFT)
        return false;
    gESHFT->registerContextInit(JSRSSContextInit);
    return true;
}

void JSRSSInit() {
    gRSSModule = new CRSSModule;
}

void JSRSSTerm() {
    delete gRSSModule;
    gRSSModule = nullptr;
}
