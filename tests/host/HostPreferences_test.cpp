#include "host/support/CHostSupport.h"

#include <gtest/gtest.h>

namespace {

TEST(HostPreferences, AssignmentsFromTheCommandLine) {
    const struct {
        const char* assignment;
        bool accepted;
        std::optional<int32_t> number;
        std::optional<std::string> text;
    } cases[] = {
        {"VxPrivate.UnixLanguageStartup=0x444555", true, 0x444555, "0x444555"},
        {"VxPrivate.UnixLanguageStartup=17", true, 17, "17"},
        {"VxPrivate.UnixLanguageStartup=-1", true, -1, "-1"},
        {"VxPrivate.UnixLanguageStartup=0x80040001", true, static_cast<int32_t>(0x80040001),
         "0x80040001"},
        {"VxPrivate.UnixLanguageStartup=DEU", true, std::nullopt, "DEU"},
        {"VxPrivate.UnixLanguageStartup=12abc", true, std::nullopt, "12abc"},
        {"VxPrivate.UnixLanguageStartup=0x100000000", true, std::nullopt, "0x100000000"},
        {"VxPrivate.UnixLanguageStartup=", true, std::nullopt, ""},
        {"VxPrivate.UnixLanguageStartup", false, std::nullopt, std::nullopt},
        {".UnixLanguageStartup=1", false, std::nullopt, std::nullopt},
        {"VxPrivate.=1", false, std::nullopt, std::nullopt},
        {"VxPrivate=1", false, std::nullopt, std::nullopt},
    };
    for (const auto& c : cases) {
        CHostPreferences preferences;
        EXPECT_EQ(preferences.set(c.assignment), c.accepted) << c.assignment;
        EXPECT_EQ(preferences.getInt("VxPrivate", "UnixLanguageStartup"), c.number) << c.assignment;
        EXPECT_EQ(preferences.getString("VxPrivate", "UnixLanguageStartup"), c.text)
            << c.assignment;
    }
    CHostPreferences dotted;
    EXPECT_TRUE(dotted.set("A.b.c=x=y"));
    EXPECT_EQ(dotted.getString("A", "b.c"), "x=y");
}

} // namespace
