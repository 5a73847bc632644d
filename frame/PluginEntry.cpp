#include "frame/PluginEntry.h"

#include "frame/HostError.h"
#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/ZString.h"
#include "frame/host/HostTableIds.h"
#include "frame/mdLanguage.h"

#include <cstring>
#include <iterator>

uint32_t gHandle = 0;
ExtensionID gExtensionID = nullptr;
void* gData = nullptr;
NetClientID gEFSClientIDs[2] = {kNoNetClient, kNoNetClient};
HFTServer gSOAPHFTServer = nullptr;
HFTServer gJSPNLHFTServer = nullptr;
IEntryTable* gSOAPHFT = nullptr;
IEntryTable* gJSPNLHFT = nullptr;
QsCallback provideSOAPHFTCallback = nullptr;
QsCallback provideJSPNLHFTCallback = nullptr;

namespace {

const PIProduct* gProduct = nullptr;

constexpr uint32_t kNoVersion = 0xFFFFFFFF; // what HFTGetVersion's -1 reads as
constexpr uint32_t kNewSupportVersion = kNewVellSupportTable.version;

constexpr const char* kUserAgent = "Mozilla/3.0 (compatible; Vellum SOAP 7.0)";
constexpr const char* const kAcceptTypes[] = {"*/*", nullptr};
constexpr int32_t kClientFlags = 5;
constexpr int32_t kAuthenticationMode = 1;
constexpr int32_t kClientOption = 0;
constexpr int32_t kTimeoutPair[2] = {300000, 0};
constexpr NetTimeoutRec kClientTimeouts = {12, kTimeoutPair, 300000};

HFT askFor(const char* name, uint32_t version) {
    return QsExtensionMgrGetHFT(QsAtomFromString(name), version);
}

HFT askFor(const HostTableId& table) {
    return askFor(table.name, table.version);
}

// Imports a required table into its typed reference; a table of another kind counts as missing.
template <class Table> bool importRequired(const char* name, uint32_t requested, Table*& slot) {
    uint32_t version = 0;
    HFT table = nullptr;
    bool found = GetRequestedHFT(name, requested, &version, &table);
    slot = dynamic_cast<Table*>(table);
    return found && slot;
}

template <class Table> Table* importExact(const HostTableId& table) {
    return dynamic_cast<Table*>(askFor(table));
}

QsCallback callbackFor(QsProc proc) {
    return QsCallbackCreate(gExtensionID, proc);
}

template <class Proc> QsProc asProc(Proc proc) {
    return reinterpret_cast<QsProc>(proc);
}

// Builds an exported table on its first request at exactly kExportedHFTVersion, and gives the
// same table ever after.
HFT provideExported(HFTServer server, uint32_t version, IEntryTable*& table, int32_t entryCount,
                    std::span<const PIExportEntry> entries) {
    if (version != kExportedHFTVersion)
        return nullptr;
    if (table)
        return table;
    table = HFTNew(server, entryCount + 1);
    if (!table)
        return nullptr;
    for (const PIExportEntry& entry : entries) {
        if (entry.index >= 1 && entry.index <= entryCount && entry.proc)
            HFTReplaceEntry(table, entry.index, callbackFor(entry.proc));
    }
    return table;
}

HFT provideSOAPHFT(HFTServer server, uint32_t version, void*) {
    return provideExported(server, version, gSOAPHFT, kSOAPHFTEntryCount,
                           gProduct ? gProduct->soapEntries : std::span<const PIExportEntry>{});
}

HFT provideJSPNLHFT(HFTServer server, uint32_t version, void*) {
    return provideExported(server, version, gJSPNLHFT, kJSPNLHFTEntryCount,
                           gProduct ? gProduct->jspnlEntries : std::span<const PIExportEntry>{});
}

struct RequiredTable {
    HostTableId table;
    bool (*import)(const HostTableId& table);
};

// Imports a required table into the reference that Slot points at.
template <auto Slot> bool importInto(const HostTableId& table) {
    return importRequired(table.name, table.version, *Slot);
}

// The tables without which the plug-in cannot run, in the order they are imported.
const RequiredTable kRequiredTables[] = {
    {kVellSupportTable, importInto<&gVellSupportHFT>},
    {kCoreTable, importInto<&gCoreHFT>},
    {kLobTable, importInto<&gLobHFT>},
    {kDkModelTable, importInto<&gDkModelHFT>},
    {kPDFEditWriteTable, importInto<&gPDFEditWriteHFT>},
    {kPDFEditReadTable, importInto<&gPDFEditReadHFT>},
    {kDkSysFontTable, importInto<&gDkSysFontHFT>},
    {kPageDkEContentTable, importInto<&gPageDkEContentHFT>},
    {kVellViewTable, importInto<&gVellViewHFT>},
    {kDkSWriteTable, importInto<&gDkSWriteHFT>},
    {kDkSReadTable, importInto<&gDkSReadHFT>},
    {kUnixTable, importInto<&gUnixHFT>},
    {kQsExtraTable, importInto<&gQsExtraHFT>},
    {kVellViewPollenTable, importInto<&gVellViewPollenHFT>},
};

void openNetworkClients() {
    gNetSpanHFT->initialize();
    const NetAuthProc callbacks[2] = {gProduct ? gProduct->interactiveAuth : nullptr,
                                      gProduct ? gProduct->trackerAuth : nullptr};
    for (int i = 0; i < 2; ++i) {
        NetClientID client = gNetSpanHFT->openClient(kUserAgent, kAcceptTypes, kClientFlags);
        if (client != kNoNetClient) {
            gNetSpanHFT->setAuthentication(client, 0, kAuthenticationMode, callbacks[i], nullptr);
            gNetSpanHFT->setAuthentication(client, 1, kAuthenticationMode, callbacks[i], nullptr);
            gNetSpanHFT->setClientOption(client, kClientOption);
            gNetSpanHFT->setTimeouts(client, kClientTimeouts);
        }
        // A client that failed to open is no failure of the step; its slot keeps -1.
        gEFSClientIDs[i] = client;
    }
}

} // namespace

int32_t PIMain(const PIProduct& product, uint32_t appHandshakeVersion, uint32_t* handshakeVersion,
               PISetupSDKProc* setupProc, uint32_t handle) {
    gProduct = &product;
    gHandle = handle;
    if (handshakeVersion)
        *handshakeVersion =
            appHandshakeVersion < kHandshakeVersion ? appHandshakeVersion : kHandshakeVersion;
    if (setupProc)
        *setupProc = PISetupSDK;
    return 1;
}

bool GetRequestedHFT(const char* name, uint32_t requested, uint32_t* version, HFT* table) {
    HFT found = nullptr;
    if (gVellSupportVersion >= kNewSupportVersion) {
        found = askFor(name, requested);
        if (found) {
            auto reported = static_cast<uint32_t>(HFTGetVersion(found));
            if (reported != kNoVersion) {
                *table = found;
                *version = reported;
                // A table that reports version 0 is kept, yet counts as not found.
                return reported != 0;
            }
        }
    }
    // The walk stops at the first entry below the request, so a request at 0x60000 or above has
    // no second chance; a table that the exact request found and that could not tell its
    // version is then kept, with the first entry as its version.
    size_t entry = 0;
    for (; entry < std::size(kHFTFallbackVersions); ++entry) {
        if (kHFTFallbackVersions[entry] < requested)
            break;
        found = askFor(name, kHFTFallbackVersions[entry]);
        if (found)
            break;
    }
    if (!found || entry == std::size(kHFTFallbackVersions)) {
        *table = nullptr;
        *version = 0;
        return false;
    }
    *table = found;
    *version = kHFTFallbackVersions[entry];
    return true;
}

int32_t PISetupSDK(uint32_t handshakeVersion, PISDKData* sdkData) {
    if (handshakeVersion != kHandshakeVersion || !sdkData ||
        sdkData->version != kHandshakeVersion || !sdkData->coreHFT)
        return 0;
    gExtensionID = sdkData->extension;
    gCoreHFT = sdkData->coreHFT;
    gCoreVersion = kHandshakeVersion;

    HostFrame frame;
    bool imported = false;
    frame.run([&] {
        gVellSupportVersion = 0;
        HFT support = askFor(kNewVellSupportTable);
        gVellSupportHFT = dynamic_cast<IVellSupport*>(support);
        if (gVellSupportHFT)
            gVellSupportVersion = static_cast<uint32_t>(HFTGetVersion(support));
        for (const RequiredTable& required : kRequiredTables) {
            if (!required.import(required.table))
                return;
        }
        imported = true;
    });
    if (!imported)
        return 0;
    sdkData->handshake = callbackFor(asProc(PIHandshake));
    return 1;
}

int32_t PIHandshake(uint32_t handshakeVersion, PIHandshakeData* handshakeData) {
    if (handshakeVersion != kHandshakeVersion || !handshakeData)
        return 0;
    handshakeData->extensionName = QsAtomFromString("SOAP");
    handshakeData->exportHFTs = callbackFor(asProc(PluginExportHFTs));
    handshakeData->importReplaceAndRegister = callbackFor(asProc(PluginImportReplaceAndRegister));
    handshakeData->init = callbackFor(asProc(PluginInit));
    handshakeData->unload = callbackFor(asProc(PluginUnload));
    return 1;
}

bool PluginExportHFTs() {
    provideSOAPHFTCallback = callbackFor(asProc(provideSOAPHFT));
    gSOAPHFTServer = HFTServerNew("SOAP", provideSOAPHFTCallback, nullptr, nullptr);
    provideJSPNLHFTCallback = callbackFor(asProc(provideJSPNLHFT));
    gJSPNLHFTServer = HFTServerNew("JSPNL", provideJSPNLHFTCallback, nullptr, nullptr);
    return true;
}

bool PluginImportReplaceAndRegister() {
    HostFrame frame;
    bool imported = false;
    frame.run([&] {
        gNetSpanHFT = importExact<INetwork>(kNetSpanTable);
        if (!gNetSpanHFT)
            return;
        HFT baseKit = askFor(kBaseKitTable);
        gBaseKitHFT = dynamic_cast<IEncodings*>(baseKit);
        if (!gBaseKitHFT)
            return;
        gBaseKitVersion = static_cast<uint32_t>(HFTGetVersion(baseKit));
        // The user-interface table belongs to the BaseKit family and is asked of it.
        gVellViewUserInterfaceHFT = dynamic_cast<IUserInterface*>(
            gBaseKitHFT->getHFT(QsAtomFromString(kVellViewUserInterfaceTable.name),
                                kVellViewUserInterfaceTable.version));
        if (!gVellViewUserInterfaceHFT)
            return;
        gLinkWeaverHFT = askFor(kLinkWeaverTable);
        gFormFlowHFT = dynamic_cast<IWsdlReader*>(askFor(kFormFlowTable));
        gVellCrawlerHFT = askFor(kVellCrawlerTable);
        gVellViewUserInterfaceHFT->registerNotification(kVxNotifyAppWillQuit, gExtensionID,
                                                        miPIAppWillQuit, nullptr);
        imported = true;
    });
    return imported;
}

bool ScriptHostInit() {
    if (!gESHFT)
        gESHFT = importExact<IScriptEngine>(kESHFTTable);
    return gESHFT != nullptr;
}

bool PluginInit() {
    HostFrame frame;
    bool initialised = false;
    frame.run([&] {
        gData = QsMalloc(4);
        if (!gData)
            return;
        std::memset(gData, 0, 4);
        if (!mdInit())
            return;
        if (!ScriptHostInit())
            return;
        if (HFTIsValid(gNetSpanHFT))
            openNetworkClients();
        // A module that fails leaves the later ones down, but the plug-in still runs.
        if (gProduct && gProduct->cppInit)
            gProduct->cppInit();
        initialised = true;
    });
    return initialised;
}

void miPIAppWillQuit(void*) {
    if (!gNetSpanHFT)
        return;
    for (NetClientID& client : gEFSClientIDs) {
        if (client != kNoNetClient)
            gNetSpanHFT->closeClient(client);
        client = kNoNetClient;
    }
    gNetSpanHFT->shutdown();
    gNetSpanHFT = nullptr;
}

bool PluginUnload() {
    HostFrame frame;
    frame.run([] {
        if (gProduct && gProduct->cppTerm)
            gProduct->cppTerm();
    });
    if (gData) {
        mdTerm();
        QsFree(gData);
        gData = nullptr;
    }
    // Once the provide callbacks are gone the exported tables are no longer served.
    if (provideSOAPHFTCallback) {
        QsCallbackDestroy(provideSOAPHFTCallback);
        provideSOAPHFTCallback = nullptr;
        gSOAPHFT = nullptr;
    }
    if (provideJSPNLHFTCallback) {
        QsCallbackDestroy(provideJSPNLHFTCallback);
        provideJSPNLHFTCallback = nullptr;
        gJSPNLHFT = nullptr;
    }
    ReleaseZStringSuites();
    return true;
}
