#include "soap/CSoapModule.h"

#include "soap/CCredStore.h"
#include "soap/CSOAPRequestAsync.h"
#include "soap/JSSOAP.h"
#include "soap/JSSOAPConnect.h"
#include "soap/SOAPStreamHelpers.h"
#include "values/CESGlobalObject.h"

namespace {

CSoapModule* gSoapModule = nullptr;

// Gets or creates the context's SOAP object and attaches its methods and the property
// "wireDump", in the order scripts see them.
void SOAPContextInit(ESContext context) {
    CES::defineGlobalObject(context, "SOAP",
                            {
                                CES::method("response", JSSOAPResponse),
                                CES::method("request", JSSOAPRequest),
                                CES::method("connect", JSSOAPConnect),
                                CES::method("stringFromStream", JSSOAPStringFromStream),
                                CES::method("streamFromString", JSSOAPStreamFromString),
                                CES::method("stringEncode", JSSOAPStringEncode),
                                CES::method("streamEncode", JSSOAPStreamFilter),
                                CES::method("streamDecode", JSSOAPStreamFilter),
                                CES::method("streamDigest", JSSOAPStreamFilter),
                                CES::accessor("wireDump", JSSOAPGetWireDump, JSSOAPSetWireDump),
                                // Not a method of the object's own table: the proxies of
                                // document-style operations call it, so every context has it.
                                CES::method("stripNS", JSSOAPStripNS),
                            });
}

} // namespace

bool CSoapModule::init() {
    return CES::registerContextInit(SOAPContextInit);
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
