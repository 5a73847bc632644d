// The plug-in's entry: the handshake with the viewer, the negotiation of the viewer's tables,
// the exported tables, and the four life-cycle steps.
//
// The loader entry PluginMain (plugin/PluginMain.cpp) hands the frame the product: the steps that
// know every module (CppInit, CppTerm), the network clients' authentication callbacks, and the
// entries of the exported tables. Everything else of the life cycle lives here.
#pragma once

#include "frame/host/ICore.h"
#include "frame/host/INetwork.h"
#include "frame/host/PISDK.h"

#include <cstdint>
#include <span>

/// One entry of an exported table.
struct PIExportEntry {
    int32_t index;
    QsProc proc;
};

/// What the finished plug-in adds to the frame's life cycle.
struct PIProduct {
    void (*cppInit)();
    void (*cppTerm)();
    NetAuthProc interactiveAuth; // network client 0, script-driven SOAP traffic
    NetAuthProc trackerAuth;     // network client 1, Tracker traffic
    std::span<const PIExportEntry> soapEntries;
    std::span<const PIExportEntry> jspnlEntries;
};

/// The loader's handle; stored, not interpreted.
extern uint32_t gHandle;
/// The identity the viewer assigned to this plug-in.
extern ExtensionID gExtensionID;
/// A zero-filled 4-byte block; set once the initialise step got past its first step.
extern void* gData;
/// The two network clients: 0 for script-driven SOAP traffic, 1 for the Tracker; -1 for none.
extern NetClientID gEFSClientIDs[2];
/// The servers of the exported tables, and the tables once somebody asked for them.
extern HFTServer gSOAPHFTServer;
extern HFTServer gJSPNLHFTServer;
extern IEntryTable* gSOAPHFT;
extern IEntryTable* gJSPNLHFT;
extern QsCallback provideSOAPHFTCallback;
extern QsCallback provideJSPNLHFTCallback;

/// The versions tried, highest first, when a host cannot be asked for an exact one.
constexpr uint32_t kHFTFallbackVersions[] = {0x50001, 0x50000, 0x40005, 0x40000,
                                             0x20003, 0x20002, 0x20001};
/// The exported tables: their version and their number of entries (index 0 is not used).
constexpr uint32_t kExportedHFTVersion = 0x10000;
constexpr int32_t kSOAPHFTEntryCount = 26;
constexpr int32_t kJSPNLHFTEntryCount = 2;

/// The loader entry, for the product: remembers the product, stores the handle, answers the
/// lesser of the two handshake versions and the set-up procedure. Returns 1.
int32_t PIMain(const PIProduct& product, uint32_t appHandshakeVersion, uint32_t* handshakeVersion,
               PISetupSDKProc* setupProc, uint32_t handle);
/// Takes the core table and imports the required tables; 1, or 0 when the plug-in cannot run.
int32_t PISetupSDK(uint32_t handshakeVersion, PISDKData* sdkData);
/// Names the plug-in "SOAP" and hands over the four life-cycle callbacks; 0 for a version other
/// than kHandshakeVersion.
int32_t PIHandshake(uint32_t handshakeVersion, PIHandshakeData* handshakeData);
/// Asks for a table at a version, by exact request on a host whose support table is 0x60000 or
/// later, else (or when that fails) down kHFTFallbackVersions. False and a null table when none
/// was found.
bool GetRequestedHFT(const char* name, uint32_t requested, uint32_t* version, HFT* table);

/// The four life-cycle callbacks, in the order the viewer calls them.
bool PluginExportHFTs();
bool PluginImportReplaceAndRegister();
bool PluginInit();
bool PluginUnload();

/// The quit notification: closes the network clients and lets the network go.
void miPIAppWillQuit(void* data);
/// Takes the script engine table if nobody has; false without one.
bool ScriptHostInit();
