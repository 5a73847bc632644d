#include "tests/fakehost/FakeHost.h"

#include "frame/HostTables.h"
#include "frame/host/HostTableIds.h"

#include <cstdio>

std::optional<int32_t> FakePreferences::getInt(const char* section, const char* key) {
    auto found = m_ints.find({section ? section : "", key ? key : ""});
    if (found == m_ints.end())
        return std::nullopt;
    return found->second;
}

std::optional<std::string> FakePreferences::getString(const char* section, const char* key) {
    auto found = m_strings.find({section ? section : "", key ? key : ""});
    if (found == m_strings.end())
        return std::nullopt;
    return found->second;
}

void FakePreferences::setInt(const std::string& section, const std::string& key, int32_t value) {
    m_ints[{section, key}] = value;
}

void FakePreferences::setString(const std::string& section, const std::string& key,
                                const std::string& value) {
    m_strings[{section, key}] = value;
}

std::string FakeQsExtra::newUUID() {
    char text[40];
    std::snprintf(text, sizeof text, "00000000-0000-4000-8000-%012x", m_nextUUID++);
    return text;
}

FakeHost::FakeHost() {
    gCoreHFT = &m_core;
    gCoreVersion = 0x20000;
    gVellSupportHFT = &m_support;
    gVellSupportVersion = kNewVellSupportTable.version;
    gVellViewHFT = &m_view;
    gQsExtraHFT = &m_extra;
    m_support.setFiles(&m_files);
    m_support.setCabinets(&m_cabinets);
    gLobHFT = &m_documents;
    gDkModelHFT = &m_documents;
    gBaseKitHFT = &m_encodings;
    gBaseKitVersion = kBaseKitTable.version;
    gVellViewUserInterfaceHFT = &m_ui;
    gNetSpanHFT = &m_network;
    gFormFlowHFT = &m_wsdlReader;
    // The converter answers the best encoding of a text as this table too, imported on use.
    m_core.registerTable(kVellScriptInterfaceTable.name, kVellScriptInterfaceTable.version,
                         &m_encodings);
    // Discovery asks for multicast DNS when it first needs it.
    m_core.registerTable(kMulticastDNSTable.name, kMulticastDNSTable.version, &m_multicastDNS);
    // The Tracker asks for the view layer and the web capture when it needs them.
    m_core.registerTable(kVellViewLayerTable.name, kVellViewLayerTable.version, &m_viewLayer);
    m_core.registerTable(kWebCaptureTable.name, kWebCaptureTable.version, &m_webCapture);
}

FakeHost::~FakeHost() {
    // The engine goes first: its last collection runs finalisers that may still use the tables.
    m_scriptEngine.reset();
    ResetHostTables();
}

void FakeHost::registerTables() {
    m_core.registerTables({&m_support, &m_view, &m_extra, &m_documents, &m_network, &m_baseKit,
                           &m_encodings, &m_ui, &m_wsdlReader, &scriptEngine(), &m_multicastDNS,
                           &m_viewLayer, &m_webCapture});
}

CSpiderMonkeyEngine& FakeHost::scriptEngine() {
    if (!m_scriptEngine) {
        m_scriptEngine = std::make_unique<CSpiderMonkeyEngine>();
        m_scriptEngine->setCore(&m_core);
        m_scriptEngine->setEncodings(gBaseKitHFT);
        m_scriptEngine->setUserInterface(gVellViewUserInterfaceHFT);
        m_scriptEngine->setConsole(&m_scriptConsole);
    }
    return *m_scriptEngine;
}

void FakeHost::removeScriptEngine() {
    if (gESHFT == m_scriptEngine.get())
        gESHFT = nullptr;
    m_scriptEngine.reset();
}

CSpiderMonkeyEngine& FakeHost::installScriptEngine() {
    gESHFT = &scriptEngine();
    return *m_scriptEngine;
}
