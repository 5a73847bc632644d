#include "soap/CSoapModule.h"

#include "frame/HostTables.h"
#include "soap/CCredStore.h"
#include "values/CES.h"

namespace {

CSoapModule* gSoapModule = nullptr;

// Gets or creates the context's SOAP object. Its methods "response", "request", "connect",
// "stringFromStream", "streamFromString", "stringEncode", "streamEncode", "streamDecode",
// "streamDigest" and the property "wireDump" come with the SOAP request core.
void SOAPContextInit(ESContext context) {
    try {
        CES::getOrCreateGlobalObject(context, "SOAP");
    } catch (const CES::Val&) {
        // A context that cannot take the object goes without it.
    } catch (const HostError&) {
    }
}

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
