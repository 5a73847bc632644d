#include "frame/ZString.h"

#include "frame/HostTables.h"
#include "frame/mdLanguage.h"
#include "tests/fakehost/FakeHost.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <optional>
#include <string>

namespace {

// A plug-in with the built-in texts, no language chosen and nothing read yet.
class Messages : public ::testing::Test {
protected:
    void SetUp() override {
        forget();
        utf8Viewer.setHostEncoding("UTF-8");
    }
    void TearDown() override {
        forget();
        std::setlocale(LC_CTYPE, "C");
    }
    static void forget() {
        unsetenv("VELL_LANG");
        mdSetLocaleDependentResourceHandle(nullptr);
        ReleaseZStringSuites();
    }
    void choose(std::optional<int32_t> preference, const char* environment) {
        if (preference)
            host.preferences().setInt("VxPrivate", "UnixLanguageStartup", *preference);
        if (environment)
            setenv("VELL_LANG", environment, 1);
        else
            unsetenv("VELL_LANG");
        EXPECT_TRUE(mdCommonInit());
    }
    static std::string text(uint16_t id) {
        CQsText out;
        miGetZStringEx(id, out.get());
        return out.getString();
    }
    static std::string button(uint16_t id, size_t size = 256) {
        char buffer[256];
        char* label = mdGetButtonString(id, buffer, size);
        return label ? label : "(null)";
    }

    // A viewer whose language encoding is UTF-8.
    FakeEncodings utf8Viewer;
    FakeHost host;
};

TEST_F(Messages, EveryEnglishTextAsListed) {
    std::ifstream listing(VELL_TEST_DATA "/frame/messages-enu.txt");
    ASSERT_TRUE(listing);
    uint16_t id = 0;
    for (std::string line; std::getline(listing, line); ++id) {
        std::string key = line.substr(0, line.find('\t'));
        std::string expected = line.substr(line.find('\t') + 1);
        EXPECT_EQ(miGetZStringID(key.c_str()), id) << key;
        EXPECT_EQ(miGetZStringTagName(id), "$$$" + key);
        EXPECT_EQ(text(id), expected) << key;
        EXPECT_STREQ(miGetMessageUTF8(key.c_str()), expected.c_str()) << key;
    }
    EXPECT_EQ(id, kZStringCount);
}

TEST_F(Messages, AnUnknownKeyIsTheClosingPositionWithAnEmptyText) {
    for (const char* key : {"IDS_NO_SUCH_MESSAGE", "", "$$$", "ids_full_name"})
        EXPECT_EQ(miGetZStringID(key), kZStringCount) << key;
    EXPECT_EQ(miGetZStringID(nullptr), kZStringCount);
    EXPECT_EQ(miGetZStringID("$$$IDS_LANGUAGE"), IDS_LANGUAGE);
    EXPECT_STREQ(miGetZStringTagName(kZStringCount), "");
    EXPECT_STREQ(miGetZStringTagName(0xFFFF), "");
    char buffer[16] = "stale";
    EXPECT_EQ(miGetZString(kZStringCount, buffer, sizeof buffer), nullptr);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(miGetZStringRaw("IDS_NO_SUCH_MESSAGE", buffer, sizeof buffer), nullptr);
    EXPECT_EQ(text(0xFFFF), "");
    CQsText filled("stale");
    EXPECT_EQ(miGetQsText(kZStringCount, filled.get()), filled.get());
    EXPECT_TRUE(filled.isEmpty());
    EXPECT_EQ(miGetQsText(IDS_OK, nullptr), nullptr);
    EXPECT_STREQ(miGetMessageUTF8("IDS_NO_SUCH_MESSAGE"), "");
}

TEST_F(Messages, BufferedTextsAreCutAndInTheViewersEncoding) {
    char buffer[64];
    EXPECT_STREQ(miGetZString(IDS_RSS_OPEN_BUTTON, buffer, 3), "Op");
    EXPECT_EQ(miGetZString(IDS_RSS_OPEN_BUTTON, buffer, 0), nullptr);
    EXPECT_EQ(miGetZString(IDS_RSS_OPEN_BUTTON, nullptr, 10), nullptr);
    EXPECT_STREQ(mdGetString(IDS_INBOX_ELLIPSIS, buffer, sizeof buffer), "...");
    EXPECT_STREQ(miGetZStringRaw("$$$IDS_OK", buffer, sizeof buffer), "OK");

    choose(0x444555, nullptr);
    const std::string latin1 = std::string("\xD6") + "ffnen";
    const std::string utf8 = "Öffnen";
    // Without BaseKit the viewer's encoding is Latin-1.
    gBaseKitHFT = nullptr;
    EXPECT_EQ(miGetZString(IDS_RSS_OPEN_BUTTON, buffer, sizeof buffer), latin1);
    gBaseKitHFT = &host.encodings();
    EXPECT_EQ(miGetZString(IDS_RSS_OPEN_BUTTON, buffer, sizeof buffer), latin1);
    gBaseKitHFT = &utf8Viewer;
    EXPECT_EQ(miGetZString(IDS_RSS_OPEN_BUTTON, buffer, sizeof buffer), utf8);

    // Through the buffer, a character that Latin-1 cannot hold is lost; directly it is kept.
    gBaseKitHFT = &host.encodings();
    CQsText through;
    miGetQsText(IDS_JS_SERVICES_UI, through.get());
    EXPECT_EQ(through.getString().find("\xE2\x80\x9E"), std::string::npos);
    EXPECT_NE(through.getString().find("?Zur"), std::string::npos);
    EXPECT_NE(text(IDS_JS_SERVICES_UI).find("\xE2\x80\x9EZur"), std::string::npos);
}

TEST_F(Messages, TheStringFilterIsReadOnceAndAppliedToEveryText) {
    host.preferences().setInt("VxPrivate", "uiStringFilter", 7);
    text(IDS_OK);
    host.preferences().setInt("VxPrivate", "uiStringFilter", 9);
    text(IDS_CANCEL);
    text(kZStringCount);
    EXPECT_EQ(host.ui().filters(), (std::vector<int32_t>{7, 7, 7}));
    ReleaseZStringSuites();
    text(IDS_OK);
    EXPECT_EQ(host.ui().filters().back(), 9);
}

TEST_F(Messages, TheLanguageComesFromThePreferenceOrTheEnvironment) {
    // The copy of the German pack named SOAP.ENU can be loaded, but English must never load it.
    void* englishCopy = dlopen(VELL_BUILD_DIR "/tests/SOAP.ENU", RTLD_NOW);
    ASSERT_NE(englishCopy, nullptr) << dlerror();
    dlclose(englishCopy);

    const struct {
        std::optional<int32_t> preference;
        const char* environment;
        const char* language;
    } cases[] = {
        {std::nullopt, nullptr, "ENU"},
        {0, nullptr, "ENU"},
        {0x444555, nullptr, "DEU"},
        {0, "DEU", "DEU"},
        {std::nullopt, "DEU", "DEU"},
        {0x444555, "FRA", "DEU"},
        {0x454E55, nullptr, "ENU"},
        {0, "ENU", "ENU"},
        {0x465241, nullptr, "ENU"},
        {0x123456, "DEU", "ENU"},
        {0x1444555, "DEU", "ENU"},
        {0, "deu", "ENU"},
        {0, "x/DEU", "ENU"},
        {0, "TST", "TST"},
    };
    for (const auto& c : cases) {
        FakeHost fresh;
        forget();
        if (c.preference)
            fresh.preferences().setInt("VxPrivate", "UnixLanguageStartup", *c.preference);
        if (c.environment)
            setenv("VELL_LANG", c.environment, 1);
        EXPECT_TRUE(mdCommonInit());
        std::string what = std::to_string(c.preference.value_or(-1)) + " " +
                           (c.environment ? c.environment : "(unset)");
        EXPECT_EQ(text(IDS_LANGUAGE), c.language) << what;
        EXPECT_EQ(mdGetLocaleDependentResourceHandle() == nullptr, std::string(c.language) == "ENU")
            << what;
    }
}

TEST_F(Messages, TheGermanPackHasEveryKey) {
    choose(0x444555, nullptr);
    const ZStringPack* pack = ZStringPackFromHandle(mdGetLocaleDependentResourceHandle());
    ASSERT_NE(pack, nullptr);
    EXPECT_EQ(pack->count, kZStringCount);
    for (uint16_t id = 0; id < kZStringCount; ++id)
        EXPECT_FALSE(text(id).empty()) << miGetZStringTagName(id);
    EXPECT_EQ(text(IDS_CANCEL), "Abbrechen");
    EXPECT_EQ(text(IDS_INBOX_EXISTS),
              "Das Abonnement {URL} wurde dem Tracker bereits hinzugefügt.");
}

TEST_F(Messages, APackWithoutAKeyGivesTheEmptyText) {
    choose(0, "TST");
    EXPECT_EQ(text(IDS_FULL_NAME), "");
    EXPECT_STREQ(miGetMessageUTF8("IDS_LANGUAGE"), "TST");
}

TEST_F(Messages, ButtonLabelsDropLoneAmpersandsAndKeepDoubledOnes) {
    EXPECT_EQ(button(IDS_RSS_REMOVE_FEED), "Remove");
    EXPECT_EQ(button(IDS_RSS_SUBSCRIBE_FEED), "Open in News Reader");
    EXPECT_EQ(button(IDS_OK), "OK");
    EXPECT_EQ(button(kZStringCount), "(null)");
    choose(0, "TST");
    gBaseKitHFT = &utf8Viewer;
    const struct {
        const char* locale;
        uint16_t id;
        size_t size;
        const char* label;
    } cases[] = {
        {"C", IDS_OK, 256, "Save && Quit"},
        {"C", IDS_CANCEL, 256, "&&Stop"},
        {"C", IDS_RSS_REFRESH_FEED, 256, ""},
        {"C", IDS_RSS_OPEN_ITEM, 256, "Öffnen €"},
        {"C.UTF-8", IDS_OK, 256, "Save && Quit"},
        {"C.UTF-8", IDS_CANCEL, 256, "&&Stop"},
        {"C.UTF-8", IDS_RSS_OPEN_ITEM, 256, "Öffnen €"},
        // A character cut at the end of the buffer is kept as the bytes that fit.
        {"C.UTF-8", IDS_RSS_REMOVE_FEED, 5, "ÖÖ"},
        {"C.UTF-8", IDS_RSS_REMOVE_FEED, 6, "\xC3\x96\xC3\x96\xC3"},
        {"C.UTF-8", IDS_RSS_OPEN_ITEM, 5, "Öf"},
        {"C.UTF-8", IDS_RSS_OPEN_ITEM, 4, "Ö"},
    };
    for (const auto& c : cases) {
        ASSERT_NE(std::setlocale(LC_CTYPE, c.locale), nullptr) << c.locale;
        EXPECT_EQ(button(c.id, c.size), c.label) << c.locale << " " << miGetZStringTagName(c.id);
    }
}

} // namespace
