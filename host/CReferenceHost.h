// The reference host: it builds every table it serves, loads the plug-in, runs its life cycle,
// and takes it down again.
//
// Start-up: the loader entry PluginMain, the set-up with the core table, the handshake, then the
// four life-cycle callbacks (export, import, initialise; unload comes at the end), then the
// notifications that the viewer has finished starting. Shut-down: the quit notification, the
// unload callback, then the plug-in is closed.
#pragma once

#include "frame/host/PISDK.h"
#include "host/basekit/CBaseKit.h"
#include "host/cabinets/CGVariantCabinets.h"
#include "host/capture/CChromiumCapture.h"
#include "host/core/CHostCore.h"
#include "host/document/CHostDocumentModel.h"
#include "host/encodings/CIconvEncodings.h"
#include "host/extra/CHostQsExtra.h"
#include "host/extra/CHostVellView.h"
#include "host/files/CPosixFileSystem.h"
#include "host/loop/CMainLoop.h"
#include "host/mdns/CAvahiMulticastDNS.h"
#include "host/net/CCurlNetwork.h"
#include "host/runner/CLooseRootsSource.h"
#include "host/script/CSpiderMonkeyEngine.h"
#include "host/support/CHostSupport.h"
#include "host/ui/CConsoleUserInterface.h"
#include "host/view/CHostViewLayer.h"
#include "host/wsdl/CWsdlReader.h"

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

class CReferenceHost {
public:
    CReferenceHost(std::istream& in, std::ostream& out, CConsoleUserInterface::Answers answers);
    ~CReferenceHost();
    CReferenceHost(const CReferenceHost&) = delete;
    CReferenceHost& operator=(const CReferenceHost&) = delete;

    /// The viewer's preferences, for the command line to fill before start.
    CHostPreferences& preferences() { return m_support.hostPreferences(); }

    /// Loads the plug-in and runs its start-up; false with a reason when it does not run.
    bool start(const std::string& pluginPath, std::string& error);
    /// The quit notification and the unload, then the plug-in is closed. Safe to call twice.
    void stop();

    /// The script engine; it goes when the plug-in is closed.
    CSpiderMonkeyEngine& engine() { return *m_engine; }
    /// The main loop.
    CMainLoop& loop() { return m_loop; }
    /// The network layer, for the command line's settings before start.
    CCurlNetwork& network() { return m_network; }
    /// The view layer, which the Tracker page draws.
    CHostViewLayer& viewLayer() { return m_viewLayer; }
    /// The user interface, which a page may take the dialogs of.
    CConsoleUserInterface& userInterface() { return m_ui; }

    /// The plug-in's name, as its handshake gave it.
    std::string pluginName();
    /// Each table the plug-in asked for, in the order of its first request, with the versions
    /// at which the host granted it ("none" when it granted none), one per line.
    void printTables(std::ostream& out) const;

private:
    bool runLifeCycle(std::string& error);
    void closePlugin();

    CMainLoop m_loop;
    CHostCore m_core;
    CPosixFileSystem m_files;
    CGVariantCabinets m_cabinets{m_core};
    CHostSupport m_support{m_files, m_cabinets};
    CHostDocumentModel m_documents;
    CHostVellView m_view{m_loop};
    CHostQsExtra m_extra;
    CConsoleUserInterface m_ui;
    CIconvEncodings m_encodings;
    CBaseKit m_baseKit{m_encodings, m_core};
    CCurlNetwork m_network{m_loop};
    CWsdlReader m_wsdlReader{m_cabinets, &m_network};
    CAvahiMulticastDNS m_multicastDNS;
    CHostViewLayer m_viewLayer;
    CChromiumCapture m_webCapture;
    std::unique_ptr<CSpiderMonkeyEngine> m_engine;
    std::unique_ptr<CLooseRootsSource> m_looseRoots;

    void* m_library = nullptr;
    PIHandshakeData m_handshake{};
    bool m_exported = false;
};
