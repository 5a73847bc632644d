#include "host/CReferenceHost.h"

#include "frame/host/HostTableIds.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <ostream>

namespace {

bool callLifeCycle(QsCallback callback) {
    return callback && reinterpret_cast<PILifeCycleProc>(callback)();
}

} // namespace

CReferenceHost::CReferenceHost(std::istream& in, std::ostream& out,
                               CConsoleUserInterface::Answers answers)
    : m_ui(in, out, answers), m_webCapture(m_cabinets, out, CChromiumCapture::Opening::Desktop),
      m_engine(std::make_unique<CSpiderMonkeyEngine>()) {
    m_engine->setCore(&m_core);
    m_engine->setEncodings(&m_encodings);
    m_engine->setUserInterface(&m_ui);
    m_looseRoots = std::make_unique<CLooseRootsSource>(m_loop.context(), *m_engine);

    HostTableSet tables{&m_support,    &m_view,        &m_extra,       &m_documents,
                        &m_network,    &m_baseKit,     &m_encodings,   &m_ui,
                        &m_wsdlReader, m_engine.get(), &m_multicastDNS};
    tables.viewLayer = &m_viewLayer;
    tables.webCapture = &m_webCapture;
    m_core.registerTables(tables);
}

CReferenceHost::~CReferenceHost() {
    stop();
}

bool CReferenceHost::start(const std::string& pluginPath, std::string& error) {
    m_library = dlopen(pluginPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_library) {
        const char* reason = dlerror();
        error = "cannot load " + pluginPath + ": " + (reason ? reason : "unknown reason");
        return false;
    }
    if (runLifeCycle(error))
        return true;
    stop();
    return false;
}

bool CReferenceHost::runLifeCycle(std::string& error) {
    auto pluginMain = reinterpret_cast<PluginMainProc>(dlsym(m_library, kPluginMainName));
    if (!pluginMain) {
        error = "the plug-in has no loader entry " + std::string(kPluginMainName);
        return false;
    }
    uint32_t handshakeVersion = 0;
    PISetupSDKProc setup = nullptr;
    if (pluginMain(kHandshakeVersion, &handshakeVersion, &setup, 1) != 1 || !setup) {
        error = "the plug-in's loader entry failed";
        return false;
    }
    PISDKData sdk{kHandshakeVersion, this, &m_core, nullptr};
    if (setup(handshakeVersion, &sdk) != 1 || !sdk.handshake) {
        error = "the plug-in cannot run on this host: its set-up failed";
        return false;
    }
    auto handshake = reinterpret_cast<PIHandshakeProc>(sdk.handshake);
    if (handshake(handshakeVersion, &m_handshake) != 1) {
        error = "the plug-in refused the handshake";
        return false;
    }
    m_exported = callLifeCycle(m_handshake.exportHFTs);
    if (!m_exported) {
        error = "the plug-in could not export its tables";
        return false;
    }
    if (!callLifeCycle(m_handshake.importReplaceAndRegister)) {
        error = "the plug-in could not take the tables it needs";
        return false;
    }
    if (!callLifeCycle(m_handshake.init)) {
        error = "the plug-in could not initialise";
        return false;
    }
    m_ui.send(kVxNotifyAppDidInitExtensions);
    m_ui.send(kVxNotifyAppDidInit);
    return true;
}

void CReferenceHost::stop() {
    if (!m_library)
        return;
    if (m_exported) {
        m_ui.send(kVxNotifyAppWillQuit);
        callLifeCycle(m_handshake.unload);
        m_exported = false;
    }
    closePlugin();
}

void CReferenceHost::closePlugin() {
    // Nothing may call into the plug-in once it is closed: its notifications, its table servers
    // and the script engine, whose last collection runs the plug-in's finalisers, go first.
    m_ui.clearNotifications();
    m_viewLayer.forgetPlugin();
    m_core.destroyServers();
    m_looseRoots.reset();
    m_engine.reset();
    m_core.unregisterTable(kESHFTTable.name);
    dlclose(m_library);
    m_library = nullptr;
}

std::string CReferenceHost::pluginName() {
    return m_core.atomGetString(m_handshake.extensionName);
}

void CReferenceHost::printTables(std::ostream& out) const {
    std::vector<std::string> order;
    std::map<std::string, std::vector<uint32_t>> granted;
    for (const CHostCore::Request& request : m_core.requests()) {
        if (std::find(order.begin(), order.end(), request.name) == order.end())
            order.push_back(request.name);
        std::vector<uint32_t>& versions = granted[request.name];
        if (request.granted &&
            std::find(versions.begin(), versions.end(), request.version) == versions.end())
            versions.push_back(request.version);
    }
    for (const std::string& name : order) {
        out << name;
        const std::vector<uint32_t>& versions = granted[name];
        if (versions.empty())
            out << " none";
        for (uint32_t version : versions) {
            char text[16];
            std::snprintf(text, sizeof text, " 0x%X", version);
            out << text;
        }
        out << "\n";
    }
}
