// The references to the viewer's tables that the plug-in holds.
//
// Each is set during the handshake, the import step or the initialise step of the life cycle
// (frame/PluginEntry.h) and read afterwards; a null reference means the table is absent. A table
// whose interface the logic calls is typed by that interface; the others are bare tables that the
// handshake requires but no code of the plug-in calls into.
#pragma once

#include "frame/host/ICore.h"
#include "frame/host/IHostTable.h"

#include <cstdint>

extern ICore* gCoreHFT;
extern uint32_t gCoreVersion;

extern HFT gVellSupportHFT;
extern uint32_t gVellSupportVersion;
extern HFT gLobHFT;
extern HFT gDkModelHFT;
extern HFT gPDFEditWriteHFT;
extern HFT gPDFEditReadHFT;
extern HFT gDkSysFontHFT;
extern HFT gPageDkEContentHFT;
extern HFT gVellViewHFT;
extern HFT gDkSWriteHFT;
extern HFT gDkSReadHFT;
extern HFT gUnixHFT;
extern HFT gQsExtraHFT;
extern HFT gVellViewPollenHFT;

extern HFT gNetSpanHFT;
extern HFT gBaseKitHFT;
extern uint32_t gBaseKitVersion;
extern HFT gVellViewUserInterfaceHFT;
extern HFT gLinkWeaverHFT;
extern HFT gFormFlowHFT;
extern HFT gVellCrawlerHFT;
extern HFT gESHFT;
