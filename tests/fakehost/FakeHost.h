// The test host: the host tables of the plug-in, deterministic and in memory.
//
// A test makes one FakeHost; while it lives the g...HFT globals of the support, view, extra,
// BaseKit, user-interface, network and WSDL-reader tables point at its tables, as they would
// after the life cycle's import steps. Its tables can be reached and steered through accessors,
// and offered to a handshake by registerTables. Its end forgets every table reference.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IQsExtra.h"
#include "frame/host/IVellSupport.h"
#include "frame/host/IVellView.h"
#include "host/basekit/CBaseKit.h"
#include "host/core/CHostCore.h"
#include "host/encodings/CIconvEncodings.h"
#include "host/icons/CPngIcons.h"
#include "host/script/CSpiderMonkeyEngine.h"
#include "host/wsdl/CWsdlReader.h"
#include "tests/fakehost/FakeCabinets.h"
#include "tests/fakehost/FakeDocumentModel.h"
#include "tests/fakehost/FakeEncodings.h"
#include "tests/fakehost/FakeFileSystem.h"
#include "tests/fakehost/FakeIdle.h"
#include "tests/fakehost/FakeMulticastDNS.h"
#include "tests/fakehost/FakeNetwork.h"
#include "tests/fakehost/FakeScriptConsole.h"
#include "tests/fakehost/FakeUserInterface.h"
#include "tests/fakehost/FakeViewLayer.h"
#include "tests/fakehost/FakeWebCapture.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

/// Preferences held in memory; tests set them.
class FakePreferences final : public IPreferences {
public:
    std::optional<int32_t> getInt(const char* section, const char* key) override;
    std::optional<std::string> getString(const char* section, const char* key) override;
    void setInt(const std::string& section, const std::string& key, int32_t value);
    void setString(const std::string& section, const std::string& key, const std::string& value);

private:
    std::map<std::pair<std::string, std::string>, int32_t> m_ints;
    std::map<std::pair<std::string, std::string>, std::string> m_strings;
};

class FakeVellSupport final : public IVellSupport {
public:
    int32_t hftVersion() const override { return kNewVellSupportTable.version; }
    IFileSystem* files() override { return m_files; }
    ICabinets* cabinets() override { return m_cabinets; }
    IPreferences* preferences() override { return &m_preferences; }

    FakePreferences& fakePreferences() { return m_preferences; }
    void setFiles(IFileSystem* files) { m_files = files; }
    void setCabinets(ICabinets* cabinets) { m_cabinets = cabinets; }

private:
    FakePreferences m_preferences;
    IFileSystem* m_files = nullptr;
    ICabinets* m_cabinets = nullptr;
};

class FakeVellView final : public IVellView {
public:
    int32_t hftVersion() const override { return kVellViewTable.version; }
    IIdle* idle() override { return &m_idle; }
    /// The reference host's decoder: it is deterministic.
    IIcons* icons() override { return &m_icons; }
    FakeIdle& fakeIdle() { return m_idle; }

private:
    FakeIdle m_idle;
    CPngIcons m_icons;
};

/// Unique identifiers counted up from 1, so that output that holds them is reproducible.
class FakeQsExtra final : public IQsExtra {
public:
    int32_t hftVersion() const override { return kQsExtraTable.version; }
    ISealing* sealing() override { return m_sealing; }
    IDigest* digest() override { return m_digest; }
    std::string newUUID() override;

    void setSealing(ISealing* sealing) { m_sealing = sealing; }
    void setDigest(IDigest* digest) { m_digest = digest; }

private:
    unsigned m_nextUUID = 1;
    ISealing* m_sealing = nullptr;
    IDigest* m_digest = nullptr;
};

class FakeHost {
public:
    FakeHost();
    ~FakeHost();
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;

    CHostCore& core() { return m_core; }
    FakeIdle& idle() { return m_view.fakeIdle(); }
    FakePreferences& preferences() { return m_support.fakePreferences(); }
    FakeVellSupport& support() { return m_support; }
    FakeVellView& view() { return m_view; }
    FakeQsExtra& extra() { return m_extra; }
    FakeFileSystem& files() { return m_files; }
    FakeCabinets& cabinets() { return m_cabinets; }
    /// The document model behind "Lob" and "DkModel".
    FakeDocumentModel& documents() { return m_documents; }
    CIconvEncodings& encodings() { return m_encodings; }
    FakeUserInterface& ui() { return m_ui; }
    FakeNetwork& network() { return m_network; }
    /// Multicast DNS with scripted answers, offered as "MulticastDNS".
    FakeMulticastDNS& multicastDNS() { return m_multicastDNS; }
    /// The WSDL reader behind "FormFlow": the host's own, which is deterministic.
    CWsdlReader& wsdlReader() { return m_wsdlReader; }
    /// The recording view layer, offered as "VellViewLayer".
    FakeViewLayer& viewLayer() { return m_viewLayer; }
    /// The web capture, offered as "WebCapture".
    FakeWebCapture& webCapture() { return m_webCapture; }

    /// Offers every table under its name and version in the core's registry, as the reference
    /// host does: for tests that run the handshake themselves.
    void registerTables();

    /// Makes the real script engine the script table (gESHFT) until the host goes, with the
    /// atoms of core(), the encoding and user-interface tables set when it is made, and
    /// scriptConsole() for its console.
    CSpiderMonkeyEngine& installScriptEngine();
    /// The real script engine, made on first use as installScriptEngine says, without making it
    /// the script table.
    CSpiderMonkeyEngine& scriptEngine();
    /// Ends the script engine with its contexts now, for a host that outlives its tests (the
    /// engine's runtime goes at exit before such a host would); the next use makes a new one.
    void removeScriptEngine();
    FakeScriptConsole& scriptConsole() { return m_scriptConsole; }

private:
    CHostCore m_core;
    FakeVellSupport m_support;
    FakeVellView m_view;
    FakeQsExtra m_extra;
    FakeFileSystem m_files;
    FakeCabinets m_cabinets{m_core, m_files};
    FakeDocumentModel m_documents;
    CIconvEncodings m_encodings;
    CBaseKit m_baseKit{m_encodings, m_core};
    FakeUserInterface m_ui;
    FakeNetwork m_network{m_view.fakeIdle()};
    CWsdlReader m_wsdlReader{m_cabinets, &m_network};
    FakeScriptConsole m_scriptConsole;
    FakeMulticastDNS m_multicastDNS;
    FakeViewLayer m_viewLayer;
    FakeWebCapture m_webCapture;
    std::unique_ptr<CSpiderMonkeyEngine> m_scriptEngine;
};
