#include "rss/CRSSManagerModule.h"

#include "rss/CRSSManager.h"
#include "soap/CCredStore.h"

namespace {

CRSSManagerModule* gRSSManagerModule = nullptr;

// New credentials may let in what a server refused before.
void credentialsChanged(void*) {
    if (CRSSManager::sm_instance)
        CRSSManager::sm_instance->recheckAuthentication();
}

} // namespace

bool CRSSManagerModule::init() {
    CRSSManager::instance();
    CCredStore::setChangeNotice(credentialsChanged, nullptr);
    return true;
}

bool CRSSManagerModule::term() {
    CCredStore::setChangeNotice(nullptr, nullptr);
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
