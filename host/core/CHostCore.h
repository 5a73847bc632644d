// The host's "Core" table: atoms, the C allocator, callbacks, and the table registry through
// which the plug-in finds every other table. The reference host and the test host both use it.
#pragma once

#include "frame/host/ICore.h"
#include "host/core/CBareTable.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

class IDocumentModel;
class IEncodings;
class INetwork;
class IQsExtra;
class IMulticastDNS;
class IScriptEngine;
class IUserInterface;
class IVellSupport;
class IVellView;
class IViewLayer;
class IWebCapture;
class IWsdlReader;

/// The tables a host serves besides its core, one object for each.
struct HostTableSet {
    IVellSupport* support;
    IVellView* view;
    IQsExtra* extra;
    /// Served as "Lob" and as "DkModel".
    IDocumentModel* documents;
    INetwork* network;
    IEncodings* baseKit;
    /// The converter behind "VellScriptInterface".
    IEncodings* converter;
    IUserInterface* userInterface;
    IWsdlReader* wsdlReader;
    IScriptEngine* scriptEngine;
    IMulticastDNS* multicastDNS;
    /// Windows, views, menus and the clipboard; null on a host without a view layer.
    IViewLayer* viewLayer = nullptr;
    /// Web pages to documents; null on a host without it.
    IWebCapture* webCapture = nullptr;
};

class CHostCore final : public ICore {
public:
    CHostCore();
    ~CHostCore() override;

    int32_t hftVersion() const override { return m_version; }

    QsAtom atomFromString(const char* text) override;
    const char* atomGetString(QsAtom atom) override;

    void* memMalloc(size_t size) override;
    void* memCalloc(size_t count, size_t size) override;
    void* memRealloc(void* block, size_t size) override;
    void memFree(void* block) override;

    QsCallback callbackCreate(ExtensionID extension, QsProc proc) override;
    void callbackDestroy(QsCallback callback) override;

    HFT extensionMgrGetHFT(QsAtom name, uint32_t version) override;
    HFTServer hftServerNew(const char* name, HFTServerProvideProc provide,
                           HFTServerDestroyProc destroy, void* data) override;
    IEntryTable* hftNew(HFTServer server, int32_t entryCount) override;
    void hftReplaceEntry(IEntryTable* table, int32_t index, QsCallback callback) override;

    /// Offers a table under a name at exactly one version. The table is not owned.
    void registerTable(const std::string& name, uint32_t version, HFT table);
    /// Offers this core, every table of the set and the bare tables the handshake requires, each
    /// under its names and versions: what a host serves to the plug-in.
    void registerTables(const HostTableSet& tables);
    /// Withdraws every version of a name.
    void unregisterTable(const std::string& name);
    /// The version this table reports through HFTGetVersion (default 0x20000).
    void setVersion(int32_t version) { m_version = version; }

    /// One request for a table, as the plug-in made it.
    struct Request {
        std::string name;
        uint32_t version;
        bool granted;
    };
    const std::vector<Request>& requests() const { return m_requests; }

    /// Callbacks created and not yet destroyed.
    int liveCallbacks() const { return m_liveCallbacks; }

    /// Calls every table server's destroy procedure and forgets the servers.
    void destroyServers();

private:
    struct Server;
    class EntryTable;

    int32_t m_version = 0x20000;
    int m_liveCallbacks = 0;
    std::vector<std::string> m_atomTexts;
    std::unordered_map<std::string, QsAtom> m_atoms;
    std::map<std::pair<std::string, uint32_t>, HFT> m_tables;
    std::vector<std::unique_ptr<Server>> m_servers;
    std::vector<std::unique_ptr<EntryTable>> m_entryTables;
    std::vector<std::unique_ptr<CBareTable>> m_bareTables;
    std::vector<Request> m_requests;
};
