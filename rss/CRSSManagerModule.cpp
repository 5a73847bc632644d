#include "rss/CRSSManagerModule.h"

namespace {

CRSSManagerModule* gRSSManagerModule = nullptr;

} // namespace

void CRSSManagerInit() {
    gRSSManagerModule = new CRSSManagerModule;
}

void CRSSManagerTerm() {
    delete gRSSManagerModule;
    gRSSManagerModule = nullptr;
}
