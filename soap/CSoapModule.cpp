#include "soap/CSoapModule.h"

#include "frame/HostTables.h"
#include "soap/CCredStore.h"

namespace {

CSoapModule* gSoapModule = nullptr;

// Gets or creates the context's SOAP object and attaches "response", "request", "connect",
// "stringFromStream", "streamFromString", "stringEncode", "streamEncode", "streamDecode",
// "streamDigest" and the property "wireDump". Its body comes with the script bridge's object
// operations and the SOAP request core.
void SOAPContextInit(ESContext) {}

} // namespace

bool CSoapModule::init() {
    if (!gESHFT)
        return false;
    gESHFT->registerContextInit(SOAPContextInit);
    return true;
}

bool CSoapModule::term() {
    delete CCredStore::sm_instance;
    CCredStore::sm_instance = nullptr;
    return true;
}

void SOAPInit() {
    gSoapModule = new CSoapModule;
}

void SOAPTerm() {
    delete gSoapModule;
    gSoapModule = nullptr;
}
