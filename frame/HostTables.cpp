#include "frame/HostTables.h"

ICore* gCoreHFT = nullptr;
uint32_t gCoreVersion = 0;

IVellSupport* gVellSupportHFT = nullptr;
uint32_t gVellSupportVersion = 0;
IDocumentModel* gLobHFT = nullptr;
IDocumentModel* gDkModelHFT = nullptr;
HFT gPDFEditWriteHFT = nullptr;
HFT gPDFEditReadHFT = nullptr;
HFT gDkSysFontHFT = nullptr;
HFT gPageDkEContentHFT = nullptr;
IVellView* gVellViewHFT = nullptr;
HFT gDkSWriteHFT = nullptr;
HFT gDkSReadHFT = nullptr;
HFT gUnixHFT = nullptr;
IQsExtra* gQsExtraHFT = nullptr;
HFT gVellViewPollenHFT = nullptr;

INetwork* gNetSpanHFT = nullptr;
IEncodings* gBaseKitHFT = nullptr;
uint32_t gBaseKitVersion = 0;
IEncodings* gVellScriptInterfaceHFT = nullptr;
IUserInterface* gVellViewUserInterfaceHFT = nullptr;
HFT gLinkWeaverHFT = nullptr;
IWsdlReader* gFormFlowHFT = nullptr;
HFT gVellCrawlerHFT = nullptr;
IScriptEngine* gESHFT = nullptr;

void ResetHostTables() {
    gCoreHFT = nullptr;
    gCoreVersion = 0;
    gVellSupportHFT = nullptr;
    gVellSupportVersion = 0;
    gLobHFT = nullptr;
    gDkModelHFT = nullptr;
    gPDFEditWriteHFT = nullptr;
    gPDFEditReadHFT = nullptr;
    gDkSysFontHFT = nullptr;
    gPageDkEContentHFT = nullptr;
    gVellViewHFT = nullptr;
    gDkSWriteHFT = nullptr;
    gDkSReadHFT = nullptr;
    gUnixHFT = nullptr;
    gQsExtraHFT = nullptr;
    gVellViewPollenHFT = nullptr;
    gNetSpanHFT = nullptr;
    gBaseKitHFT = nullptr;
    gBaseKitVersion = 0;
    gVellScriptInterfaceHFT = nullptr;
    gVellViewUserInterfaceHFT = nullptr;
    gLinkWeaverHFT = nullptr;
    gFormFlowHFT = nullptr;
    gVellCrawlerHFT = nullptr;
    gESHFT = nullptr;
}

IIdle* HostIdle() {
    return gVellViewHFT ? gVellViewHFT->idle() : nullptr;
}
IFileSystem* HostFiles() {
    return gVellSupportHFT ? gVellSupportHFT->files() : nullptr;
}
ICabinets* HostCabinets() {
    return gVellSupportHFT ? gVellSupportHFT->cabinets() : nullptr;
}
IPreferences* HostPreferences() {
    return gVellSupportHFT ? gVellSupportHFT->preferences() : nullptr;
}
