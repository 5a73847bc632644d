// The composed plug-in through its loader entry: the whole life cycle with every module, the
// network clients with the product's authentication callbacks, and the messages for scripts.
#include "frame/CModule.h"
#include "frame/HostTables.h"
#include "frame/PluginEntry.h"
#include "frame/host/HostTableIds.h"
#include "scriptui/JSVxViewModule.h"
#include "soap/AuthCallbacks.h"
#include "tests/fakehost/FakeHost.h"
#include "tests/fakehost/FakeNetClients.h"

#include <gtest/gtest.h>

#include <cxxabi.h>
#include <memory>
#include <set>
#include <string>
#include <typeinfo>
#include <vector>

extern "C" int32_t PluginMain(uint32_t appHandshakeVersion, uint32_t* handshakeVersion,
                              PISetupSDKProc* setupProc, uint32_t handle);

namespace {

using Names = std::vector<std::string>;

bool call(QsCallback callback) {
    return reinterpret_cast<PILifeCycleProc>(callback)();
}

std::string typeName(const CModule& module) {
    int status = 0;
    char* name = abi::__cxa_demangle(typeid(module).name(), nullptr, nullptr, &status);
    std::string result = name ? name : "?";
    std::free(name);
    return result;
}

Names registeredModules() {
    Names names;
    for (CModule* m = CModule::sm_head; m; m = m->next())
        names.push_back(typeName(*m));
    return names;
}

// A fresh plug-in in front of the test host: no table taken yet, the static module on the
// registry as after loading.
class LifeCycle : public ::testing::Test {
protected:
    void SetUp() override {
        ResetHostTables();
        host.registerTables();
        host.core().registerTable(kNetSpanTable.name, kNetSpanTable.version, &network);
        if (!gJSVxViewModule.isLinked())
            gJSVxViewModule.add();
    }
    void TearDown() override {
        if (started)
            call(data.unload);
    }

    // The loader entry, set-up and handshake; true when all three succeeded.
    bool handshake() {
        uint32_t version = 0;
        PISetupSDKProc setup = nullptr;
        EXPECT_EQ(PluginMain(kHandshakeVersion, &version, &setup, 7), 1);
        PISDKData sdk{kHandshakeVersion, &host, &host.core(), nullptr};
        if (setup(version, &sdk) != 1)
            return false;
        return reinterpret_cast<PIHandshakeProc>(sdk.handshake)(version, &data) == 1;
    }
    // Everything up to the initialise step, which is left to the test.
    bool upToInit() {
        return handshake() && call(data.exportHFTs) && call(data.importReplaceAndRegister);
    }
    bool start() {
        started = upToInit() && call(data.init);
        return started;
    }

    FakeHost host;
    FakeNetClients network;
    PIHandshakeData data{};
    bool started = false;
};

TEST_F(LifeCycle, LoaderEntryAnswersTheLesserHandshakeVersion) {
    const struct {
        uint32_t offered;
        uint32_t answered;
    } cases[] = {{0x1FFFF, 0x1FFFF}, {0x20000, 0x20000}, {0x20001, 0x20000}, {0, 0}};
    for (const auto& c : cases) {
        uint32_t answered = 0xDEAD;
        PISetupSDKProc setup = nullptr;
        EXPECT_EQ(PluginMain(c.offered, &answered, &setup, 42), 1);
        EXPECT_EQ(answered, c.answered) << std::hex << c.offered;
        EXPECT_NE(setup, nullptr);
        EXPECT_EQ(gHandle, 42u);
    }
}

TEST_F(LifeCycle, NetworkClientsAreOpenedWithTheirExactParameters) {
    ASSERT_TRUE(start());
    const auto& clients = network.clients();
    ASSERT_EQ(clients.size(), 2u);
    const NetAuthProc expected[2] = {InteractiveAuthCB, TrackerAuthCB};
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(gEFSClientIDs[i], i + 1);
        const FakeNetClients::Client& client = clients.at(gEFSClientIDs[i]);
        EXPECT_EQ(client.userAgent, "Mozilla/3.0 (compatible; Vellum SOAP 7.0)");
        EXPECT_EQ(client.acceptTypes, (Names{"*/*"}));
        EXPECT_EQ(client.flags, 5);
        for (const auto& authentication : client.authentication) {
            EXPECT_EQ(authentication.mode, 1);
            EXPECT_EQ(authentication.proc, expected[i]);
            EXPECT_EQ(authentication.data, nullptr);
        }
        EXPECT_EQ(client.options, (std::vector<int32_t>{0}));
        EXPECT_EQ(client.timeoutCount, 12);
        EXPECT_EQ(client.timeoutPair[0], 300000);
        EXPECT_EQ(client.timeoutPair[1], 0);
        EXPECT_EQ(client.timeoutValue, 300000);
    }
    EXPECT_EQ(network.events(), (Names{"initialize", "open 1", "open 2"}));
}

TEST_F(LifeCycle, QuitClosesOnlyTheClientThatOpened) {
    network.failNextOpen();
    ASSERT_TRUE(start());
    EXPECT_EQ(gEFSClientIDs[0], kNoNetClient);
    EXPECT_EQ(gEFSClientIDs[1], 1);
    host.ui().send(kVxNotifyAppWillQuit);
    EXPECT_EQ(network.events(), (Names{"initialize", "open -1", "open 1", "close 1", "shutdown"}));
    EXPECT_EQ(gNetSpanHFT, nullptr);
    EXPECT_EQ(gEFSClientIDs[1], kNoNetClient);
    host.ui().send(kVxNotifyAppWillQuit); // the network is gone: nothing more happens
    EXPECT_EQ(network.events().size(), 5u);
}

TEST_F(LifeCycle, TheTenModulesComeUpInTheirOrderAndAllGoDown) {
    ASSERT_TRUE(start());
    // The module initialised last stands first, and is the first to go down.
    EXPECT_EQ(registeredModules(),
              (Names{"JSVxViewModule", "CSoapModule", "CJSPNLModule", "CJSToolButtonModule",
                     "RSSPanel", "CVxTasksModule", "CVxURLCommandModule", "CRSSManagerModule",
                     "CJSDiscoveryModule", "CRSSModule"}));
    std::vector<int32_t> kinds;
    for (const auto& registration : host.ui().registrations())
        kinds.push_back(registration.kind);
    EXPECT_EQ(kinds, (std::vector<int32_t>{kVxNotifyAppWillQuit, kVxNotifyAppDidInitExtensions,
                                           kVxNotifyAppDidInit, kVxNotifyAppWillQuit}));
    EXPECT_NE(gData, nullptr);
    host.ui().send(kVxNotifyAppWillQuit);
    EXPECT_TRUE(call(data.unload));
    started = false;
    EXPECT_EQ(CModule::sm_head, nullptr);
    EXPECT_EQ(gData, nullptr);
}

TEST_F(LifeCycle, WithoutAScriptEngineNoModuleIsCreated) {
    host.core().unregisterTable("ESHFT");
    ASSERT_TRUE(upToInit());
    EXPECT_FALSE(call(data.init));
    EXPECT_EQ(registeredModules(), (Names{"JSVxViewModule"}));
    EXPECT_TRUE(network.events().empty());
    EXPECT_TRUE(call(data.unload));
}

TEST_F(LifeCycle, SOAPStringGivesMessagesToScripts) {
    ASSERT_TRUE(start());
    CSpiderMonkeyEngine& engine = host.scriptEngine();
    ESContext context = engine.newContext("App", nullptr);
    const struct {
        const char* source;
        const char* text;
    } cases[] = {
        {"SOAPString.IDS_RSS_OPEN_BUTTON", "Open"},
        {"SOAPString.IDS_INBOX_STATUS_N_UNREAD_TIP", "{nItems} unread items"},
        {"SOAPString.IDS_NO_SUCH_MESSAGE", ""},
    };
    for (const auto& c : cases) {
        ESVal value = engine.newVal(context);
        engine.evaluate(context, nullptr, c.source, -1, value);
        std::string text;
        EXPECT_TRUE(engine.readString(value, false, text)) << c.source;
        EXPECT_EQ(text, c.text) << c.source;
        engine.freeVal(value);
    }
    engine.destroyContext(context);
}

TEST_F(LifeCycle, TheSOAPTableOffersWhatIsBuiltAndReachesTheStore) {
    ASSERT_TRUE(start());
    auto* table = static_cast<IEntryTable*>(
        host.core().extensionMgrGetHFT(host.core().atomFromString("SOAP"), 0x10000));
    ASSERT_NE(table, nullptr);
    // The entries of the Tracker and the rest of the store's road come with their modules.
    const std::set<int32_t> set = {1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11,
                                   12, 13, 14, 15, 16, 17, 18, 23, 24, 25, 26};
    for (int32_t index = 1; index < table->entryCount(); ++index)
        EXPECT_EQ(table->getEntry(index) != nullptr, set.count(index) == 1) << index;

    using AddFeedProc = void (*)(const char*, VxDoc, const char*, bool);
    using HasFeedProc = bool (*)(const char*);
    auto addFeed = reinterpret_cast<AddFeedProc>(table->getEntry(14));
    auto hasFeed = reinterpret_cast<HasFeedProc>(table->getEntry(24));
    const char* url = "http://feeds.example/news.xml";
    EXPECT_FALSE(hasFeed(url));
    addFeed(url, nullptr, "RSS", false);
    EXPECT_TRUE(hasFeed(url));
    using URLProc = void* (*)(const char*);
    auto convert = reinterpret_cast<URLProc>(table->getEntry(25));
    EXPECT_EQ(convert(url), nullptr) << "nothing fetched yet, nothing to convert";
    auto removeFeed = reinterpret_cast<void (*)(const char*)>(table->getEntry(16));
    removeFeed(url);
    EXPECT_FALSE(hasFeed(url));
    // Nothing on this platform takes "feed://" URLs from the viewer.
    using SupportsFeedProtocolProc = bool (*)();
    EXPECT_FALSE(reinterpret_cast<SupportsFeedProtocolProc>(table->getEntry(26))());
}

} // namespace
