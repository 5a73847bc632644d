#include "values/miUrl.h"

#include "tests/values/CaseTable.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>

namespace {

std::map<std::string, std::string> crackedParts(const CrackedUrlRec& url) {
    std::map<std::string, std::string> parts;
    auto add = [&](const char* name, const char* str, long len) {
        if (str)
            parts[name] = std::string(str, static_cast<size_t>(len));
        else
            EXPECT_EQ(len, 0) << name << " is absent but has a length";
    };
    parts["kind"] = std::to_string(url.scheme);
    parts["port"] = std::to_string(url.port);
    add("scheme", url.schemeStr, url.schemeLen);
    add("user", url.userStr, url.userLen);
    add("password", url.passwordStr, url.passwordLen);
    add("host", url.hostStr, url.hostLen);
    add("path", url.pathStr, url.pathLen);
    add("query", url.queryStr, url.queryLen);
    add("fragment", url.fragmentStr, url.fragmentLen);
    return parts;
}

// "error N" in a table stands for a failure with that code.
int32_t expectedError(const std::string& expected) {
    return expected.rfind("error ", 0) == 0 ? std::stoi(expected.substr(6)) : kUrlOK;
}

TEST(miUrl, CrackSplitsEveryKindIntoItsParts) {
    for (const auto& row : readCaseTable("url-crack.tsv")) {
        SCOPED_TRACE(row[0]);
        CrackedUrlRec url;
        ASSERT_EQ(miCrackUrl(row[0].c_str(), &url), std::stoi(row[1]));
        if (std::stoi(row[1]) != kUrlOK)
            continue;
        std::map<std::string, std::string> expected;
        for (size_t i = 2; i < row.size(); ++i) {
            size_t equals = row[i].find('=');
            expected[row[i].substr(0, equals)] = row[i].substr(equals + 1);
        }
        EXPECT_EQ(crackedParts(url), expected);
    }
}

TEST(miUrl, CrackPointsIntoTheTextAndRefusesNull) {
    const char* text = "http://h/p";
    CrackedUrlRec url;
    ASSERT_EQ(miCrackUrl(text, &url), kUrlOK);
    EXPECT_EQ(url.hostStr, text + 7);
    EXPECT_EQ(url.pathStr, text + 8);
    EXPECT_EQ(miCrackUrl(nullptr, &url), kUrlBadArgument);
    EXPECT_EQ(miCrackUrl(text, nullptr), kUrlBadArgument);
    const char* empty = "";
    ASSERT_EQ(miCrackUrl(empty, &url), kUrlOK);
    EXPECT_EQ(url.pathStr, empty);
}

TEST(miUrl, CombineResolvesAgainstTheBase) {
    for (const auto& row : readCaseTable("url-combine.tsv")) {
        SCOPED_TRACE(row[0] + " + " + row[1]);
        char out[256];
        long size = sizeof out;
        int32_t error = 99;
        bool ok = miCombineUrl(row[0].c_str(), row[1].c_str(), out, &size, &error);
        EXPECT_EQ(error, expectedError(row[2]));
        EXPECT_EQ(ok, error == kUrlOK);
        if (ok) {
            EXPECT_EQ(std::string(out), row[2]);
            EXPECT_EQ(size, static_cast<long>(row[2].size()));
        }
    }
}

TEST(miUrl, CanonicalFormDropsDefaultPortsAndDots) {
    for (const auto& row : readCaseTable("url-canonical.tsv")) {
        SCOPED_TRACE(row[0]);
        char out[256];
        long size = sizeof out;
        int32_t error = 99;
        bool ok = miCanonicalizeUrl(row[0].c_str(), out, &size, &error);
        EXPECT_EQ(error, expectedError(row[1]));
        EXPECT_EQ(ok, error == kUrlOK);
        if (ok) {
            EXPECT_EQ(std::string(out), row[1]);
            EXPECT_EQ(size, static_cast<long>(row[1].size()));
        }
    }
}

TEST(miUrl, CompareMatchesTheSelectedParts) {
    for (const auto& row : readCaseTable("url-compare.tsv")) {
        SCOPED_TRACE(row[0] + " vs " + row[1] + " flags " + row[2]);
        int32_t error = 99;
        int32_t result =
            miCompareUrl(row[0].c_str(), row[1].c_str(),
                         static_cast<uint32_t>(std::stoul(row[2], nullptr, 16)), &error);
        EXPECT_EQ(result, std::stoi(row[3], nullptr, 16));
        EXPECT_EQ(error, row.size() > 4 ? std::stoi(row[4]) : kUrlOK);
    }
}

// The URL functions report the size they need and never write past the size they are given.
TEST(miUrl, ShortBuffersGetTheNeededSizeAndStayUntouched) {
    struct Case {
        const char* name;
        bool (*call)(char* out, long* size, int32_t* error);
        std::string expected;
    };
    const Case cases[] = {
        {"combine",
         [](char* out, long* size, int32_t* error) {
             return miCombineUrl("http://h/a/b", "c?d", out, size, error);
         },
         "http://h/a/c?d"},
        {"canonical",
         [](char* out, long* size, int32_t* error) {
             return miCanonicalizeUrl("HTTP://H:80/x/../y", out, size, error);
         },
         "http://h/y"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const long fit = static_cast<long>(c.expected.size()) + 1;
        char out[64];
        std::memset(out, '#', sizeof out);
        long size = fit - 1;
        int32_t error = 0;
        EXPECT_FALSE(c.call(out, &size, &error));
        EXPECT_EQ(error, kUrlBufferTooSmall);
        EXPECT_EQ(size, fit);
        EXPECT_EQ(std::string(out, sizeof out), std::string(sizeof out, '#'));

        size = fit;
        EXPECT_TRUE(c.call(out, &size, &error));
        EXPECT_EQ(std::string(out), c.expected);
        EXPECT_EQ(out[fit], '#');
    }
    long size = 0;
    int32_t error = 0;
    EXPECT_FALSE(miCanonicalizeUrl("http://h/", nullptr, &size, &error));
    EXPECT_EQ(size, 10);
    size = 10;
    EXPECT_FALSE(miCanonicalizeUrl("http://h/", nullptr, &size, &error));
    EXPECT_EQ(error, kUrlBadArgument);
    char out[16];
    size = sizeof out;
    EXPECT_FALSE(miCombineUrl(nullptr, "x", out, &size, &error));
    EXPECT_EQ(error, kUrlBadArgument);
    EXPECT_FALSE(miCombineUrl("http://h/", "x", nullptr, &size, &error));
    EXPECT_EQ(error, kUrlBadArgument);
    EXPECT_EQ(miCompareUrl(nullptr, "x", kUrlCmpKind, &error), kUrlCompareFailed);
    EXPECT_EQ(error, kUrlBadArgument);
}

TEST(miUrl, PercentEncodingEscapesByTableAndKeepsEscapes) {
    struct Case {
        std::string in, rfc1738, url, spacesOnly;
    };
    const Case cases[] = {
        {"a b", "a%20b", "a%20b", "a%20b"},
        {"%41", "%41", "%41", "%41"},
        {"%4", "%254", "%254", "%254"},
        {"%zz%", "%25zz%25", "%25zz%25", "%25zz%25"},
        {"a/b?c=d&e#f", "a%2Fb%3Fc%3Dd%26e%23f", "a/b?c=d&e%23f", "a/b?c=d&e%23f"},
        {"$&+,;=:@", "%24%26+,%3B%3D%3A%40", "$&+,;=:@", "$&+,;=:@"},
        {"\"`<>[\\]^", "%22%60%3C%3E%5B%5C%5D%5E", "%22%60%3C%3E%5B%5C%5D%5E", "\"`<>[\\]^"},
        {"{|}~", "%7B%7C%7D%7E", "%7B|%7D%7E", "{|}~"},
        {"\xC3\xA9\x7F\x01", "%C3%A9%7F%01", "%C3%A9%7F%01", "\xC3\xA9\x7F\x01"},
        {std::string("a\0b", 3), "a%00b", "a%00b", std::string("a\0b", 3)},
        {"", "", "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.in);
        char out[64];
        const long length = static_cast<long>(c.in.size());
        long size = sizeof out;
        EXPECT_EQ(PercentEncodeRFC1738(c.in.data(), length, out, &size), (long)c.rfc1738.size());
        EXPECT_EQ(std::string(out, static_cast<size_t>(size)), c.rfc1738);
        size = sizeof out;
        PercentEncodeURL(c.in.data(), length, out, &size, false);
        EXPECT_EQ(std::string(out, static_cast<size_t>(size)), c.url);
        size = sizeof out;
        PercentEncodeURL(c.in.data(), length, out, &size, true);
        EXPECT_EQ(std::string(out, static_cast<size_t>(size)), c.spacesOnly);
        EXPECT_EQ(PercentEncodeURLCopy(c.in), c.url);
        EXPECT_EQ(PercentEncodeURLCopy(c.in, true), c.spacesOnly);
    }
}

TEST(miUrl, PercentEncodingCutsTheOutputButCountsOn) {
    const std::string in = "a b c"; // "a%20b%20c", 9 bytes
    const struct {
        long room;
        std::string written; // what lands in the buffer, the zero included
    } cases[] = {
        {0, ""}, {4, "a%20"}, {5, "a%20b"}, {9, "a%20b%20c"}, {10, std::string("a%20b%20c\0", 10)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.room);
        char out[16];
        std::memset(out, '#', sizeof out);
        long size = c.room;
        EXPECT_EQ(PercentEncodeURL(in.data(), 5, out, &size, false), 9);
        EXPECT_EQ(size, 9);
        EXPECT_EQ(std::string(out, c.written.size()), c.written);
        EXPECT_EQ(out[c.written.size()], '#');
    }
    long size = 0;
    EXPECT_EQ(PercentEncodeRFC1738(in.data(), 5, nullptr, &size), 9);
}

TEST(miUrl, UTF8TestsCheckLeadAndContinuationBytes) {
    const struct {
        std::string text;
        bool isUTF8;
        long nonTwoByte;
    } cases[] = {
        {"plain ascii", false, -1},
        {"", false, -1},
        {"caf\xC3\xA9", true, -1},
        {"\xE2\x82\xAC", true, 0},
        {"x\xC3\xA9y\xE2\x82\xAC", true, 4},
        {"\xF0\x9F\x98\x80", true, 0},
        {"\xF8\x88\x80\x80\x80", true, 0},
        {"\xFC\x84\x80\x80\x80\x80", true, 0},
        {"a\xC3", false, 1},
        {"\xC3(", false, 0},
        {"\xA9", false, 0},
        {"\xE2\x82", false, 0},
        {"\xFE\xFF", false, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const long length = static_cast<long>(c.text.size());
        EXPECT_EQ(miIsUTF8(c.text.data(), length), c.isUTF8);
        EXPECT_EQ(miFindNonTwoByteUTF8(c.text.data(), length), c.nonTwoByte);
    }
    // A sequence is judged by the length given, not by what lies behind it.
    EXPECT_FALSE(miIsUTF8("\xC3\xA9", 1));
    EXPECT_EQ(miFindNonTwoByteUTF8("\xC3\xA9", 1), 0);
}

TEST(miUrl, SubstituteDotsCleansInPlace) {
    const struct {
        const char* in;
        const char* out;
    } cases[] = {
        {"/x/a/../b", "/x/b"},
        {"a/../b", "/b"}, // the start of the text ends the segment scan
        {"/a/b/../../c", "/c"},
        {"/../x", "/x"},
        {"x//../b", "x/b"},
        {"a/./../b", "a/b"},
        {"/a/./b/././c", "/a/b/c"},
        {"/./", "/"},
        {"/a/..", "/a/.."},
        {"./a", "./a"},
        {"", ""},
    };
    for (const auto& c : cases) {
        std::string path = c.in;
        miSubstituteDots(path.data());
        EXPECT_STREQ(path.c_str(), c.out) << c.in;
    }
    miSubstituteDots(nullptr);
}

} // namespace
