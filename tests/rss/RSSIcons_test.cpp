// Icons: PNG bytes decoded into icon bundles by the host's decoder, the store's rule that a tree
// icon is 6 to 29 pixels a side, icons kept across a restart, and built-in icons by name from the
// plug-in's own resources.
#include "frame/QsCore.h"
#include "frame/host/VxIconBundle.h"
#include "host/icons/CPngIconBundle.h"
#include "rss/CRSSManager.h"
#include "tests/rss/RSSTestSupport.h"
#include "values/QsCab.h"

#include <cstring>
#include <fstream>
#include <iterator>

namespace {

using rsstest::RSSTest;

std::string iconFile(const std::string& name) {
    std::ifstream in(std::string(VELL_TEST_DATA) + "/rss/icons/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

unsigned char* owned(const std::string& bytes) {
    auto* copy = static_cast<unsigned char*>(QsMalloc(bytes.size() + 1));
    std::memcpy(copy, bytes.data(), bytes.size());
    return copy;
}

std::pair<int32_t, int32_t> sizeOf(VxIcon icon) {
    _t_VxIconBundleRec6* bundle = VxIconGetBundle(icon);
    int32_t width = -1, height = -1;
    if (bundle)
        bundle->handler->measureProc(bundle, &width, &height);
    return {width, height};
}

class RSSIconsTest : public RSSTest {
protected:
    void SetUp() override { forgetStoredFeeds(); }
};

TEST_F(RSSIconsTest, TheDecoderReadsSizeAndPixels) {
    struct Case {
        const char* file;
        int32_t width, height;
    };
    const Case cases[] = {{"square-16x16.png", 16, 16},
                          {"tall-16x30.png", 16, 30},
                          {"square-5x5.png", 5, 5},
                          {"truncated-16x16.png", -1, -1},
                          {"not-a-png.png", -1, -1}};
    for (const Case& c : cases) {
        std::string bytes = iconFile(c.file);
        ASSERT_FALSE(bytes.empty()) << c.file;
        VxIcon icon =
            PngIconBundleNew(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
        EXPECT_EQ(sizeOf(icon), std::make_pair(c.width, c.height)) << c.file;
        if (icon) {
            _t_VxIconBundleRec6* bundle = VxIconGetBundle(icon);
            QsStm pixels = bundle->handler->openStmProc(bundle, 0);
            ASSERT_NE(pixels, nullptr);
            std::string read(static_cast<size_t>(c.width * c.height * 4 + 10), '\0');
            long n = pixels->read(read.data(), static_cast<long>(read.size()));
            EXPECT_EQ(n, c.width * c.height * 4) << c.file;
            // Every test icon is one colour: 200, 40, 40, opaque.
            EXPECT_EQ(read.substr(0, 4), std::string("\xC8\x28\x28\xFF", 4)) << c.file;
            delete pixels;
            EXPECT_EQ(bundle->handler->openStmProc(bundle, 1), nullptr);
        }
        PngIconBundleRelease(icon);
    }
    EXPECT_EQ(PngIconBundleNew(nullptr, 0), nullptr);
}

TEST_F(RSSIconsTest, AnIconIsKeptOnlyFromSixToTwentyNinePixels) {
    struct Case {
        const char* file;
        bool kept;
    };
    const Case cases[] = {
        {"square-5x5.png", false},  {"square-6x6.png", true},       {"square-16x16.png", true},
        {"square-29x29.png", true}, {"square-30x30.png", false},    {"tall-16x30.png", false},
        {"tall-6x29.png", true},    {"truncated-16x16.png", false}, {"not-a-png.png", false}};
    {
        CRSSManager store;
        store.ensureIsRunning();
        for (const Case& c : cases) {
            std::string url = std::string("http://icons.example/") + c.file;
            store.addFeed(CEStr(url.c_str()), true, true);
            store.getFeedDescriptor(CEStr(url.c_str()))["Type"].toQsAtom() =
                host.core().atomFromString("PNG");
            std::string bytes = iconFile(c.file);
            store.addIcon(CEStr(url.c_str()), owned(bytes), static_cast<uint32_t>(bytes.size()));
            EXPECT_EQ(store.getIcon(CEStr(url.c_str())) != nullptr, c.kept) << c.file;
            // The bytes are kept whatever the decoder made of them.
            ASSERT_NE(store.getBinary(CEStr(url.c_str())), nullptr);
        }
        // A second icon for a URL replaces the first.
        std::string big = iconFile("square-30x30.png");
        store.addIcon(CEStr("http://icons.example/square-6x6.png"), owned(big),
                      static_cast<uint32_t>(big.size()));
        EXPECT_EQ(store.getIcon(CEStr("http://icons.example/square-6x6.png")), nullptr);
        std::string small = iconFile("square-16x16.png");
        store.addIcon(CEStr("http://icons.example/square-6x6.png"), owned(small),
                      static_cast<uint32_t>(small.size()));
    }
    // Across a restart the icons come back decoded from the binary cabinet.
    CRSSManager store;
    store.ensureIsRunning();
    for (const Case& c : cases) {
        std::string url = std::string("http://icons.example/") + c.file;
        bool expected = std::strcmp(c.file, "square-6x6.png") == 0 ? true : c.kept;
        EXPECT_EQ(store.getIcon(CEStr(url.c_str())) != nullptr, expected) << c.file;
    }
    EXPECT_EQ(sizeOf(store.getIcon(CEStr("http://icons.example/square-6x6.png"))),
              std::make_pair(16, 16));
    // Removing an icon feed lets its icon and bytes go.
    store.removeFeed(CEStr("http://icons.example/square-16x16.png"));
    EXPECT_EQ(store.getIcon(CEStr("http://icons.example/square-16x16.png")), nullptr);
    EXPECT_EQ(store.getBinary(CEStr("http://icons.example/square-16x16.png")), nullptr);
}

TEST_F(RSSIconsTest, BuiltInIconsByName) {
    CRSSManager store;
    struct Case {
        const char* url;
        bool found;
    };
    const Case cases[] = {
        {"local://C_Open_Md_N.png", true},  // a resource of the plug-in
        {"local://c_open_md_n.png", false}, // names are exact
        {"local://Nothing.png", false},
        {"http://x.example/C_Open_Md_N.png", false},
        {"", false},
    };
    for (const Case& c : cases) {
        VxIcon icon = store.getIcon(CEStr(c.url));
        EXPECT_EQ(icon != nullptr, c.found) << c.url;
        if (icon) {
            auto [width, height] = sizeOf(icon);
            EXPECT_TRUE(width >= 6 && width <= 29 && height >= 6 && height <= 29) << c.url;
            EXPECT_EQ(store.getIcon(CEStr(c.url)), icon) << "decoded once, then cached";
        }
    }
    EXPECT_EQ(store.getIcon(nullptr), nullptr);
}

} // namespace
