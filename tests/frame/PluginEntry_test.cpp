// The frame's own part of the life cycle, for a product without modules: the set-up and the
// handshake, the negotiation of table versions, the import step and the exported tables.
#include "frame/PluginEntry.h"

#include "frame/HostTables.h"
#include "frame/QsCore.h"
#include "frame/host/HostTableIds.h"
#include "host/core/CBareTable.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/fakehost/FakeNetClients.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

bool call(QsCallback callback) {
    return reinterpret_cast<PILifeCycleProc>(callback)();
}

// No modules, exported entries or authentication callbacks: what the frame does on its own.
const PIProduct kBareProduct{};

// A fresh plug-in in front of the test host, no table taken yet.
class PluginEntry : public ::testing::Test {
protected:
    void SetUp() override {
        ResetHostTables();
        host.registerTables();
        host.core().registerTable(kNetSpanTable.name, kNetSpanTable.version, &network);
    }

    // The entry, set-up and handshake; true when all three succeeded.
    bool handshake() {
        uint32_t version = 0;
        PISetupSDKProc setup = nullptr;
        EXPECT_EQ(PIMain(kBareProduct, kHandshakeVersion, &version, &setup, 7), 1);
        PISDKData sdk{kHandshakeVersion, &host, &host.core(), nullptr};
        if (setup(version, &sdk) != 1)
            return false;
        return reinterpret_cast<PIHandshakeProc>(sdk.handshake)(version, &data) == 1;
    }
    // Everything up to the initialise step.
    bool upToInit() {
        return handshake() && call(data.exportHFTs) && call(data.importReplaceAndRegister);
    }
    HFT ask(const char* name, uint32_t version) {
        return host.core().extensionMgrGetHFT(host.core().atomFromString(name), version);
    }

    FakeHost host;
    FakeNetClients network;
    PIHandshakeData data{};
};

TEST_F(PluginEntry, SetUpAndHandshakeSpeakOnlyTheirOneVersion) {
    const struct {
        uint32_t call;
        uint32_t record;
        int32_t result;
    } cases[] = {{0x1FFFF, 0x20000, 0},
                 {0x20001, 0x20000, 0},
                 {0x20000, 0x1FFFF, 0},
                 {0x20000, 0x20001, 0},
                 {0x20000, 0x20000, 1}};
    for (const auto& c : cases) {
        PISDKData sdk{c.record, &host, &host.core(), nullptr};
        EXPECT_EQ(PISetupSDK(c.call, &sdk), c.result) << std::hex << c.call << " " << c.record;
        EXPECT_EQ(sdk.handshake != nullptr, c.result == 1);
    }
    EXPECT_EQ(PIHandshake(0x20001, &data), 0);
    EXPECT_EQ(PIHandshake(0x20000, &data), 1);
    EXPECT_STREQ(host.core().atomGetString(data.extensionName), "SOAP");
    for (QsCallback callback :
         {data.exportHFTs, data.importReplaceAndRegister, data.init, data.unload})
        EXPECT_NE(callback, nullptr);
}

TEST_F(PluginEntry, AMissingRequiredTableFailsTheSetUpAndKeepsWhatCameBefore) {
    host.core().unregisterTable("Unix");
    PISDKData sdk{kHandshakeVersion, &host, &host.core(), nullptr};
    EXPECT_EQ(PISetupSDK(kHandshakeVersion, &sdk), 0);
    EXPECT_EQ(sdk.handshake, nullptr);
    EXPECT_NE(gDkSReadHFT, nullptr);
    EXPECT_EQ(gUnixHFT, nullptr);
    EXPECT_EQ(gQsExtraHFT, nullptr); // never asked for
}

// A support table that reports what the test says.
class OldSupport final : public IVellSupport {
public:
    explicit OldSupport(int32_t version) : m_version(version) {}
    int32_t hftVersion() const override { return m_version; }
    IFileSystem* files() override { return nullptr; }
    ICabinets* cabinets() override { return nullptr; }
    IPreferences* preferences() override { return nullptr; }

private:
    int32_t m_version;
};

TEST_F(PluginEntry, AnOldHostCannotServeTheTablesAskedForAt0x60000) {
    OldSupport old(0x50000);
    host.core().unregisterTable("VellSupport");
    host.core().registerTable("VellSupport", 0x50000, &old);
    PISDKData sdk{kHandshakeVersion, &host, &host.core(), nullptr};
    EXPECT_EQ(PISetupSDK(kHandshakeVersion, &sdk), 0);
    EXPECT_EQ(gVellSupportVersion, 0u);
    EXPECT_EQ(gVellSupportHFT, &old);
    EXPECT_NE(gDkSysFontHFT, nullptr);
    EXPECT_EQ(gPageDkEContentHFT, nullptr);
}

struct Offer {
    uint32_t version;  // under which the host offers the table
    uint32_t reported; // what the table says of itself
};

struct NegotiationCase {
    const char* what;
    uint32_t supportVersion;
    std::vector<Offer> offers;
    uint32_t requested;
    bool found;
    uint32_t version;
    int offer; // which offer is the answer; -1 for none
    std::vector<uint32_t> asked;
};

TEST(Negotiation, VersionsByExactRequestOrByTheFallbackList) {
    const uint32_t kCannotTell = 0xFFFFFFFF;
    const NegotiationCase cases[] = {
        {"new host, exact", 0x60000, {{0x50000, 0x50000}}, 0x50000, true, 0x50000, 0, {0x50000}},
        {"new host, the table's own version wins",
         0x60000,
         {{0x50000, 0x60003}},
         0x50000,
         true,
         0x60003,
         0,
         {0x50000}},
        {"new host, version 0 is kept but fails",
         0x60000,
         {{0x50000, 0}},
         0x50000,
         false,
         0,
         0,
         {0x50000}},
        {"new host, -1 walks the list",
         0x60000,
         {{0x50000, kCannotTell}},
         0x50000,
         true,
         0x50000,
         0,
         {0x50000, 0x50001, 0x50000}},
        {"new host, -1 at 0x60000 keeps the table with the first list entry",
         0x60000,
         {{0x60000, kCannotTell}},
         0x60000,
         true,
         0x50001,
         0,
         {0x60000}},
        {"new host, missing exact version walks the list",
         0x60000,
         {{0x40005, 0x40005}},
         0x40000,
         true,
         0x40005,
         0,
         {0x40000, 0x50001, 0x50000, 0x40005}},
        {"support that cannot tell counts as new",
         kCannotTell,
         {{0x50000, 0x50000}},
         0x50000,
         true,
         0x50000,
         0,
         {0x50000}},
        {"old host walks the list",
         0x50000,
         {{0x50000, 0x50000}},
         0x50000,
         true,
         0x50000,
         0,
         {0x50001, 0x50000}},
        {"old host, higher list entries first",
         0x50000,
         {{0x40005, 0x40005}, {0x50001, 0x50001}},
         0x40000,
         true,
         0x50001,
         1,
         {0x50001}},
        {"old host, no second chance at 0x60000",
         0x50000,
         {{0x60000, 0x60000}},
         0x60000,
         false,
         0,
         -1,
         {}},
        {"old host, the whole list",
         0x50000,
         {{0x20001, 0x20001}},
         0x20001,
         true,
         0x20001,
         0,
         {0x50001, 0x50000, 0x40005, 0x40000, 0x20003, 0x20002, 0x20001}},
        {"old host, nothing anywhere",
         0x50000,
         {},
         0x20001,
         false,
         0,
         -1,
         {0x50001, 0x50000, 0x40005, 0x40000, 0x20003, 0x20002, 0x20001}},
    };
    for (const NegotiationCase& c : cases) {
        FakeHost host;
        std::vector<std::unique_ptr<CBareTable>> tables;
        for (const Offer& offer : c.offers) {
            tables.push_back(std::make_unique<CBareTable>(offer.reported));
            host.core().registerTable("Table", offer.version, tables.back().get());
        }
        gVellSupportVersion = c.supportVersion;
        uint32_t version = 0xDEAD;
        HFT table = reinterpret_cast<HFT>(&version);
        EXPECT_EQ(GetRequestedHFT("Table", c.requested, &version, &table), c.found) << c.what;
        EXPECT_EQ(version, c.version) << c.what;
        EXPECT_EQ(table, c.offer < 0 ? nullptr : tables[static_cast<size_t>(c.offer)].get())
            << c.what;
        std::vector<uint32_t> asked;
        for (const auto& request : host.core().requests())
            asked.push_back(request.version);
        EXPECT_EQ(asked, c.asked) << c.what;
    }
}

TEST_F(PluginEntry, ImportStepNeedsNetworkBaseKitAndUserInterface) {
    for (const char* missing : {"NetSpan", "BaseKit", "VellViewUserInterface"}) {
        FakeHost other;
        ResetHostTables();
        other.registerTables();
        other.core().registerTable(kNetSpanTable.name, kNetSpanTable.version, &network);
        other.core().unregisterTable(missing);
        PISDKData sdk{kHandshakeVersion, &other, &other.core(), nullptr};
        ASSERT_EQ(PISetupSDK(kHandshakeVersion, &sdk), 1);
        EXPECT_FALSE(PluginImportReplaceAndRegister()) << missing;
        EXPECT_TRUE(other.ui().registrations().empty()) << missing;
    }
}

TEST_F(PluginEntry, ImportStepToleratesTheOptionalTablesAndRegistersForQuit) {
    ASSERT_TRUE(upToInit());
    EXPECT_EQ(gBaseKitVersion, 0x70000u);
    EXPECT_EQ(gVellViewUserInterfaceHFT, &host.ui());
    EXPECT_EQ(gLinkWeaverHFT, nullptr);
    EXPECT_EQ(gFormFlowHFT, &host.wsdlReader());
    EXPECT_EQ(gVellCrawlerHFT, nullptr);
    ASSERT_EQ(host.ui().registrations().size(), 1u);
    EXPECT_EQ(host.ui().registrations()[0].kind, kVxNotifyAppWillQuit);
    EXPECT_EQ(host.ui().registrations()[0].proc, miPIAppWillQuit);
}

TEST_F(PluginEntry, ExportedTablesAreBuiltOnceForExactlyTheirVersion) {
    ASSERT_TRUE(handshake());
    ASSERT_TRUE(call(data.exportHFTs));
    EXPECT_EQ(gSOAPHFT, nullptr); // nothing is built before somebody asks
    const struct {
        const char* name;
        int32_t entries;
    } tables[] = {{"SOAP", 27}, {"JSPNL", 3}};
    for (const auto& t : tables) {
        EXPECT_EQ(ask(t.name, 0x10001), nullptr) << t.name;
        EXPECT_EQ(ask(t.name, 0x0FFFF), nullptr) << t.name;
        HFT first = ask(t.name, 0x10000);
        ASSERT_NE(first, nullptr) << t.name;
        EXPECT_EQ(ask(t.name, 0x10000), first) << t.name;
        EXPECT_EQ(static_cast<IEntryTable*>(first)->entryCount(), t.entries) << t.name;
    }
    int live = host.core().liveCallbacks();
    EXPECT_TRUE(call(data.unload));
    EXPECT_EQ(host.core().liveCallbacks(), live - 2);
    EXPECT_EQ(gSOAPHFT, nullptr);
}

} // namespace
