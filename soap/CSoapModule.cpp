#include "soap/CSoapModule.h"

#include "frame/HostTables.h"
#include "soap/CCredStore.h"
#include "soap/CSOAPRequestAsync.h"
#include "soap/JSSOAP.h"
#include "soap/JSSOAPConnect.h"
#include "soap/SOAPStreamHelpers.h"
#include "values/CES.h"

namespace {

CSoapModule* gSoapModule = nullptr;

// Gets or creates the context's SOAP object and attaches its methods and the property
// "wireDump", in the order scripts see them.
void SOAPContextInit(ESContext context) {
    try {
        CES::Val soap = CES::getOrCreateGlobalObject(context, "SOAP");
        ESObject object = soap.object();
        IScriptEngine& es = *gESHFT;
        es.addMethod(object, "response", JSSOAPResponse);
        es.addMethod(object, "request", JSSOAPRequest);
        es.addMethod(object, "connect", JSSOAPConnect);
        es.addMethod(object, "stringFromStream", JSSOAPStringFromStream);
        es.addMethod(object, "streamFromString", JSSOAPStreamFromString);
        es.addMethod(object, "stringEncode", JSSOAPStringEncode);
        es.addMethod(object, "streamEncode", JSSOAPStreamFilter);
        es.addMethod(object, "streamDecode", JSSOAPStreamFilter);
        es.addMethod(object, "streamDigest", JSSOAPStreamFilter);
        es.addAccessor(object, "wireDump", JSSOAPGetWireDump, JSSOAPSetWireDump);
        // Not a method of the object's own table: the proxies of document-style operations call
        // it, so every context has it.
        es.addMethod(object, "stripNS", JSSOAPStripNS);
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
    // Requests still under way end unheard: their receivers go with the plug-in.
    CSOAPRequestAsync::deleteAll();
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
