#include "tests/fakehost/FakeHost.h"

#include "frame/HostTables.h"

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
    gVellSupportVersion = 0x60000;
    gVellViewHFT = &m_view;
    gQsExtraHFT = &m_extra;
    m_support.setFiles(&m_files);
    m_support.setCabinets(&m_cabinets);
    gLobHFT = &m_documents;
    gDkModelHFT = &m_documents;
    gBaseKitHFT = &m_encodings;
    gBaseKitVersion = 0x70000;
    gVellViewUserInterfaceHFT = &m_ui;
    gNetSpanHFT = &m_network;
    gFormFlowHFT = &m_wsdlReader;
    // The converter answers the best encoding of a text as this table too, imported on use.
    m_core.registerTable("VellScriptInterface", 0x70000, &m_encodings);
}

FakeHost::~FakeHost() {
    // The engine goes first: its last collection runs finalisers that may still use the tables.
    m_scriptEngine.reset();
    ResetHostTables();
}

void FakeHost::registerTables() {
    m_core.registerTable("Core", 0x50000, &m_core);
    m_core.registerTable("VellSupport", 0x60000, &m_support);
    m_core.registerTable("VellSupport", 0x50000, &m_support);
    m_core.registerTable("VellView", 0x60000, &m_view);
    m_core.registerTable("QsExtra", 0x50000, &m_extra);
    m_core.registerTable("Lob", 0x50000, &m_documents);
    m_core.registerTable("DkModel", 0x50000, &m_documents);
    // The tables the handshake requires but no code of the plug-in calls.
    for (const BareTableOffer& offer : kBareTableOffers) {
        m_bareTables.push_back(std::make_unique<CBareTable>(offer.version));
        m_core.registerTable(offer.name, offer.version, m_bareTables.back().get());
    }
    m_core.registerTable("NetSpan", 0x70000, &m_network);
    m_core.registerTable("BaseKit", 0x70000, &m_baseKit);
    m_core.registerTable("VellViewUserInterface", 0x60000, &m_ui);
    m_core.registerTable("FormFlow", 2, &m_wsdlReader);
    m_core.registerTable("ESHFT", 256, &scriptEngine());
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

CSpiderMonkeyEngine& FakeHost::installScriptEngine() {
    gESHFT = &scriptEngine();
    return *m_scriptEngine;
}
