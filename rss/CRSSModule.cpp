#include "rss/CRSSModule.h"

#include "frame/HostTables.h"

namespace {

CRSSModule* gRSSModule = nullptr;

// Gets or creates the context's RSS object and attaches "addFeed", "removeFeed", "update",
// "getContents", "addUI" and the read-only properties "feeds" and "hasExternalReader". Its body
// comes with the script RSS object.
void JSRSSContextInit(ESContext) {}

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
