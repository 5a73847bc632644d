#include "rss/CRSSManagerModule.h"

#include "rss/CRSSManager.h"

namespace {

CRSSManagerModule* gRSSManagerModule = nullptr;

} // namespace

bool CRSSManagerModule::init() {
    CRSSManager::instance();
    return true;
}

bool CRSSManagerModule::term() {
    delete CRSSManager::sm_instance;
    CRSSManager::sm_instance = nullptr;
    return true;
}

void CRSSManagerInit() {
    gRSSManagerModule = new CRSSManagerModule;
}

void CRSSManagerTerm() {
    delete gRSSManagerModule;
    gRSSManagerModule = nullptr;
}
