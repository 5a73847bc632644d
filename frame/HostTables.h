// The references to the viewer's tables that the plug-in holds.
//
// Each is set during the handshake, the import step or the initialise step of the life cycle
// (frame/PluginEntry.h) and read afterwards; a null reference means the table is absent. A table
// whose interface the logic calls is typed by that interface; the others are bare tables that the
// handshake requires but no code of the plug-in calls into.
#pragma once

#include "frame/host/ICore.h"
#include "frame/host/IDocumentModel.h"
#include "frame/host/IEncodings.h"
#include "frame/host/IHostTable.h"
#include "frame/host/INetwork.h"
#include "frame/host/IQsExtra.h"
#include "frame/host/IScriptEngine.h"
#include "frame/host/IUserInterface.h"
#include "frame/host/IVellSupport.h"
#include "frame/host/IVellView.h"
#include "frame/host/IWsdlReader.h"

#include <cstdint>

extern ICore* gCoreHFT;
extern uint32_t gCoreVersion;

extern IVellSupport* gVellSupportHFT;
extern uint32_t gVellSupportVersion;
extern IDocumentModel* gLobHFT;
extern IDocumentModel* gDkModelHFT;
extern HFT gPDFEditWriteHFT;
extern HFT gPDFEditReadHFT;
extern HFT gDkSysFontHFT;
extern HFT gPageDkEContentHFT;
extern IVellView* gVellViewHFT;
extern HFT gDkSWriteHFT;
extern HFT gDkSReadHFT;
extern HFT gUnixHFT;
extern IQsExtra* gQsExtraHFT;
extern HFT gVellViewPollenHFT;

extern INetwork* gNetSpanHFT;
extern IEncodings* gBaseKitHFT;
extern uint32_t gBaseKitVersion;
/// The converter again, as the "VellScriptInterface" table: imported on first use.
extern IEncodings* gVellScriptInterfaceHFT;
extern IUserInterface* gVellViewUserInterfaceHFT;
extern HFT gLinkWeaverHFT;
/// The WSDL reader; optional, so null on a host without it.
extern IWsdlReader* gFormFlowHFT;
extern HFT gVellCrawlerHFT;
extern IScriptEngine* gESHFT;

class IIdle;
class IFileSystem;
class ICabinets;

/// Forgets every table reference and version, as before the handshake.
void ResetHostTables();

/// The idle clock of the viewer layer; null without it.
IIdle* HostIdle();
/// The file system of the support layer; null without it.
IFileSystem* HostFiles();
/// The cabinets of the support layer; null without them.
ICabinets* HostCabinets();
/// The preferences of the support layer; null without them.
IPreferences* HostPreferences();
