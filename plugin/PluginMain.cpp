// The loader entry of SOAP.so, and the one place that knows every module.
//
// PluginMain is the plug-in's only exported symbol. It hands the frame the product: CppInit and
// CppTerm, which create, bring up, take down and free the modules in their fixed order; the
// authentication callbacks of the two network clients; and the entries of the exported tables
// "SOAP" and "JSPNL".
#include "discovery/CDSRequest.h"
#include "discovery/CJSDiscoveryModule.h"
#include "frame/CModule.h"
#include "frame/HostTables.h"
#include "frame/PluginEntry.h"
#include "frame/ZString.h"
#include "rss/CRSSManagerModule.h"
#include "rss/CRSSModule.h"
#include "rss/RSSExports.h"
#include "scriptui/CJSPNLModule.h"
#include "scriptui/CJSToolButtonModule.h"
#include "scriptui/JSVxViewModule.h"
#include "soap/AuthCallbacks.h"
#include "soap/CSoapModule.h"
#include "soap/JSSOAPConnect.h"
#include "soap/SOAPExports.h"
#include "tracker/CVxTasksModule.h"
#include "tracker/CVxURLCommandModule.h"
#include "tracker/RSSPanel.h"
#include "values/CESGlobalObject.h"
#include "values/QsCab.h"

// Built at load, and so on the registry before any other module: it runs last.
JSVxViewModule gJSVxViewModule;

namespace {

// The text provider "SOAPString": a script reads SOAPString.IDS_... for a message.
bool SOAPStringProvider(const char* key, QsTextRec* text) {
    miGetZStringEx(miGetZStringID(key), text);
    return true;
}

void CppInit() {
    SOAPInit();
    JSPNLInit();
    JSToolButtonInit();
    CVxInboxPanelInit();
    CVxTasksInit();
    CVxURLCommandsInit();
    CRSSManagerInit();
    JSDiscoveryInit();
    JSRSSInit();
    // CSharedTrackerObserverInit, the shared Tracker's start-up procedure, comes here with the
    // instance channel.
    CModule::initAll();
    CES::registerStringProvider("SOAPString", SOAPStringProvider);
}

void CppTerm() {
    CModule::termAll();
    JSRSSTerm();
    JSDiscoveryTerm();
    CRSSManagerTerm();
    CVxURLCommandsTerm();
    CVxTasksTerm();
    CVxInboxPanelTerm();
    JSToolButtonTerm();
    JSPNLTerm();
    SOAPTerm();
    // The local cabinets still held are saved and released as the plug-in goes.
    QsCabLocalTerm();
}

template <class Fn> QsProc exported(Fn* fn) {
    return reinterpret_cast<QsProc>(fn);
}

// The exported tables' entries by index, added with the functions that serve them: "SOAP"
// 1 CSOAPRequest to 26 SupportsFeedProtocol, "JSPNL" 1 PNLDialogUDExec and 2
// PNLCreatePrefsPanel. An index without an entry stays unset.
const PIExportEntry kSOAPEntries[] = {
    {1, exported(CSOAPRequest)},
    {2, exported(CSOAPAsyncRequest)},
    {3, exported(CSOAPConnect)},
    {4, exported(CSOAPCall)},
    {5, exported(CSOAPEncodeString)},
    {6, exported(CSOAPDecodeString)},
    {7, exported(RegisterFeedProc)},
    {8, exported(UnregisterFeedProc)},
    {9, exported(UpdateFeedProc)},
    {10, exported(QueryServices)},
    {11, exported(ResolveService)},
    {12, exported(GetServiceInfo)},
    {13, exported(StopServiceRequest)},
    {14, exported(AddFeed)},
    {17, exported(RegisterNotificationProc)},
    {18, exported(UnregisterNotificationProc)},
    {23, exported(RegisterOnStartProc)},
    {24, exported(HasFeed)},
    {26, exported(SupportsFeedProtocol)},
};

const PIProduct kProduct = {
    CppInit, CppTerm, InteractiveAuthCB, TrackerAuthCB, kSOAPEntries, {},
};

} // namespace

extern "C" __attribute__((visibility("default"))) int32_t PluginMain(uint32_t appHandshakeVersion,
                                                                     uint32_t* handshakeVersion,
                                                                     PISetupSDKProc* setupProc,
                                                                     uint32_t handle) {
    return PIMain(kProduct, appHandshakeVersion, handshakeVersion, setupProc, handle);
}
