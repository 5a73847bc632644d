#include "host/core/CHostCore.h"

#include "frame/host/HostTableIds.h"
#include "frame/host/IDocumentModel.h"
#include "frame/host/IEncodings.h"
#include "frame/host/IMulticastDNS.h"
#include "frame/host/INetwork.h"
#include "frame/host/IQsExtra.h"
#include "frame/host/IScriptEngine.h"
#include "frame/host/IUserInterface.h"
#include "frame/host/IVellSupport.h"
#include "frame/host/IVellView.h"
#include "frame/host/IViewLayer.h"
#include "frame/host/IWebCapture.h"
#include "frame/host/IWsdlReader.h"

#include <cstdlib>

struct HFTServerRec {};

struct CHostCore::Server : HFTServerRec {
    std::string name;
    HFTServerProvideProc provide;
    HFTServerDestroyProc destroy;
    void* data;
};

class CHostCore::EntryTable final : public IEntryTable {
public:
    explicit EntryTable(int32_t count) : m_entries(static_cast<size_t>(count), nullptr) {}
    int32_t hftVersion() const override { return -1; }
    int32_t entryCount() const override { return static_cast<int32_t>(m_entries.size()); }
    QsCallback getEntry(int32_t index) const override {
        if (index < 0 || index >= entryCount())
            return nullptr;
        return m_entries[static_cast<size_t>(index)];
    }
    void setEntry(int32_t index, QsCallback callback) {
        if (index >= 0 && index < entryCount())
            m_entries[static_cast<size_t>(index)] = callback;
    }

private:
    std::vector<QsCallback> m_entries;
};

CHostCore::CHostCore() = default;

CHostCore::~CHostCore() {
    destroyServers();
}

QsAtom CHostCore::atomFromString(const char* text) {
    std::string key = text ? text : "";
    auto found = m_atoms.find(key);
    if (found != m_atoms.end())
        return found->second;
    // 0xFFFF is the null atom; the table never hands it out.
    if (m_atomTexts.size() >= kQsNullAtom)
        return kQsNullAtom;
    auto atom = static_cast<QsAtom>(m_atomTexts.size());
    m_atomTexts.push_back(key);
    m_atoms.emplace(std::move(key), atom);
    return atom;
}

const char* CHostCore::atomGetString(QsAtom atom) {
    if (atom >= m_atomTexts.size())
        return "";
    return m_atomTexts[atom].c_str();
}

void* CHostCore::memMalloc(size_t size) {
    return std::malloc(size);
}
void* CHostCore::memCalloc(size_t count, size_t size) {
    return std::calloc(count, size);
}
void* CHostCore::memRealloc(void* block, size_t size) {
    return std::realloc(block, size);
}
void CHostCore::memFree(void* block) {
    std::free(block);
}

QsCallback CHostCore::callbackCreate(ExtensionID, QsProc proc) {
    if (proc)
        ++m_liveCallbacks;
    return reinterpret_cast<QsCallback>(proc);
}

void CHostCore::callbackDestroy(QsCallback callback) {
    if (callback && m_liveCallbacks > 0)
        --m_liveCallbacks;
}

HFT CHostCore::extensionMgrGetHFT(QsAtom name, uint32_t version) {
    std::string text = atomGetString(name);
    HFT table = nullptr;
    for (auto& server : m_servers) {
        if (server->name == text) {
            table =
                server->provide ? server->provide(server.get(), version, server->data) : nullptr;
            m_requests.push_back({text, version, table != nullptr});
            return table;
        }
    }
    auto found = m_tables.find({text, version});
    if (found != m_tables.end())
        table = found->second;
    m_requests.push_back({text, version, table != nullptr});
    return table;
}

HFTServer CHostCore::hftServerNew(const char* name, HFTServerProvideProc provide,
                                  HFTServerDestroyProc destroy, void* data) {
    auto server = std::make_unique<Server>();
    server->name = name ? name : "";
    server->provide = provide;
    server->destroy = destroy;
    server->data = data;
    m_servers.push_back(std::move(server));
    return m_servers.back().get();
}

IEntryTable* CHostCore::hftNew(HFTServer, int32_t entryCount) {
    if (entryCount < 0)
        return nullptr;
    m_entryTables.push_back(std::make_unique<EntryTable>(entryCount));
    return m_entryTables.back().get();
}

void CHostCore::hftReplaceEntry(IEntryTable* table, int32_t index, QsCallback callback) {
    for (auto& owned : m_entryTables) {
        if (owned.get() == table)
            owned->setEntry(index, callback);
    }
}

void CHostCore::registerTable(const std::string& name, uint32_t version, HFT table) {
    m_tables[{name, version}] = table;
}

void CHostCore::registerTables(const HostTableSet& tables) {
    const struct {
        HostTableId id;
        HFT table;
    } served[] = {
        {kCoreTable, this},
        {kNewVellSupportTable, tables.support},
        {kVellSupportTable, tables.support},
        {kVellViewTable, tables.view},
        {kQsExtraTable, tables.extra},
        {kLobTable, tables.documents},
        {kDkModelTable, tables.documents},
        {kNetSpanTable, tables.network},
        {kBaseKitTable, tables.baseKit},
        {kVellScriptInterfaceTable, tables.converter},
        // Asked of BaseKit, which finds it here.
        {kVellViewUserInterfaceTable, tables.userInterface},
        {kFormFlowTable, tables.wsdlReader},
        {kESHFTTable, tables.scriptEngine},
        // Discovery asks for it when it first needs it.
        {kMulticastDNSTable, tables.multicastDNS},
        // The Tracker and script views ask for these when they first need them.
        {kVellViewLayerTable, tables.viewLayer},
        {kWebCaptureTable, tables.webCapture},
    };
    for (const auto& offer : served)
        registerTable(offer.id.name, offer.id.version, offer.table);
    // Tables the handshake requires but whose operations no code of the plug-in calls: served
    // bare, with their version.
    for (const HostTableId& bare : kBareTables) {
        m_bareTables.push_back(std::make_unique<CBareTable>(bare.version));
        registerTable(bare.name, bare.version, m_bareTables.back().get());
    }
}

void CHostCore::unregisterTable(const std::string& name) {
    for (auto it = m_tables.begin(); it != m_tables.end();) {
        if (it->first.first == name)
            it = m_tables.erase(it);
        else
            ++it;
    }
}

void CHostCore::destroyServers() {
    auto servers = std::move(m_servers);
    for (auto& server : servers) {
        if (server->destroy)
            server->destroy(server.get(), server->data);
    }
}
