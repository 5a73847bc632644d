#include "rss/CRSSModule.h"

#include "rss/JSRSS.h"
#include "values/CESGlobalObject.h"

namespace {

CRSSModule* gRSSModule = nullptr;

// Gets or creates the context's RSS object, with its members in the order scripts see them.
void JSRSSContextInit(ESContext context) {
    CES::defineGlobalObject(
        context, "RSS",
        {CES::method("addFeed", JSRSSAddFeed), CES::method("removeFeed", JSRSSRemoveFeed),
         CES::method("update", JSRSSUpdate), CES::method("getContents", JSRSSGetContents),
         CES::method("addUI", JSRSSAddUI), CES::accessor("feeds", JSRSSGetFeeds),
         CES::accessor("hasExternalReader", JSRSSGetHasExternalReader)});
}

} // namespace

bool CRSSModule::init() {
    return CES::registerContextInit(JSRSSContextInit);
}

bool CRSSModule::term() {
    JSRSSCancelLocalUpdates();
    return true;
}

void JSRSSInit() {
    gRSSModule = new CRSSModule;
}

void JSRSSTerm() {
    delete gRSSModule;
    gRSSModule = nullptr;
}
