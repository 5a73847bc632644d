#include "rss/CRSSModule.h"

#include "values/CESGlobalObject.h"

namespace {

CRSSModule* gRSSModule = nullptr;

// Gets or creates the context's RSS object. Its methods "addFeed", "removeFeed", "update",
// "getContents", "addUI" and the read-only properties "feeds" and "hasExternalReader" come with
// the script RSS object.
void JSRSSContextInit(ESContext context) {
    CES::defineGlobalObject(context, "RSS", {});
}

} // namespace

bool CRSSModule::init() {
    return CES::registerContextInit(JSRSSContextInit);
}

void JSRSSInit() {
    gRSSModule = new CRSSModule;
}

void JSRSSTerm() {
    delete gRSSModule;
    gRSSModule = nullptr;
}
