#include "frame/Resources.h"

#include "frame/QsCore.h"
#include "frame/ZString.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace {

std::string sourceIcon(const std::string& name) {
    std::ifstream file(VELL_TEST_DATA "/../../frame/icons/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(Resources, NamedImagesAreFoundByTheirExactFileName) {
    for (const char* name : {"C_Open_Md_N.png", "C_ExpandAll_Lg_N.png", "C_CollapseAll_Lg_N.png",
                             "C_MultiServers_Md_N.png"}) {
        size_t size = 0;
        void* data = mdGetDataFromName(name, &size);
        ASSERT_NE(data, nullptr) << name;
        std::string expected = sourceIcon(name);
        EXPECT_EQ(std::string(static_cast<char*>(data), size), expected) << name;
        EXPECT_EQ(expected.compare(0, 8, "\x89PNG\r\n\x1A\n"), 0) << name;
        QsFree(data);
    }
    // The hash is of the name as given: another case is another name.
    for (const char* name : {"c_open_md_n.png", "C_Open_Md_N.PNG", "C_Open_Md_N", "C_Open_Md_N.pn",
                             "C_Open_Md_N.png.txt", "C_Open_Md_N.bundle", "", "Missing.png"}) {
        size_t size = 12345;
        EXPECT_EQ(mdGetDataFromName(name, &size), nullptr) << name;
        EXPECT_EQ(size, 12345u) << name;
    }
    EXPECT_EQ(mdGetDataFromName(nullptr, nullptr), nullptr);
}

TEST(Resources, TheEndingChoosesTheTypeInAnyCase) {
    const struct {
        const char* name;
        uint32_t type;
    } cases[] = {
        {"a.png", kRscTypePNG},
        {"a.PNG", kRscTypePNG},
        {"a.pNg", kRscTypePNG},
        {".png", kRscTypePNG},
        {"x.bundle", kRscTypeBundle},
        {"x.BUNDLE", kRscTypeBundle},
        {"png", 0},
        {"a.pngx", 0},
        {"a.png ", 0},
        {"", 0},
        {nullptr, 0},
    };
    for (const auto& c : cases)
        EXPECT_EQ(mdResourceTypeForName(c.name), c.type) << (c.name ? c.name : "(null)");
}

} // namespace
