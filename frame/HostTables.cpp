#include "frame/HostTables.h"

ICore* gCoreHFT = nullptr;
uint32_t gCoreVersion = 0;

HFT gVellSupportHFT = nullptr;
uint32_t gVellSupportVersion = 0;
HFT gLobHFT = nullptr;
HFT gDkModelHFT = nullptr;
HFT gPDFEditWriteHFT = nullptr;
HFT gPDFEditReadHFT = nullptr;
HFT gDkSysFontHFT = nullptr;
HFT gPageDkEContentHFT = nullptr;
HFT gVellViewHFT = nullptr;
HFT gDkSWriteHFT = nullptr;
HFT gDkSReadHFT = nullptr;
HFT gUnixHFT = nullptr;
HFT gQsExtraHFT = nullptr;
HFT gVellViewPollenHFT = nullptr;

HFT gNetSpanHFT = nullptr;
HFT gBaseKitHFT = nullptr;
uint32_t gBaseKitVersion = 0;
HFT gVellViewUserInterfaceHFT = nullptr;
HFT gLinkWeaverHFT = nullptr;
HFT gFormFlowHFT = nullptr;
HFT gVellCrawlerHFT = nullptr;
HFT gESHFT = nullptr;
