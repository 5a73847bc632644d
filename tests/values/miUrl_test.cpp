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

// Runs a table whose last field is the written URL or "error N" through a call that writes
// into a 256-byte buffer.
template <class Call> void expectWrittenUrls(const std::string& table, Call call) {
    for (const auto& row : readCaseTable(table)) {
        SCOPED_TRACE(row[0] + " | " + row[1]);
        char out[256];
        long size = sizeof out;
        int32_t error = 99;
        bool ok = call(row, out, &size, &error);
        EXPECT_EQ(error, expectedError(row.back()));
        EXPECT_EQ(ok, error == kUrlOK);
        if (ok) {
            EXPECT_EQ(std::string(out, static_cast<size_t>(size) + 1), row.back() + '\0');
        }
    }
}

TEST(miUrl, CombineResolvesAgainstTheBase) {
    expectWrittenUrls("url-combine.tsv", [](const auto& row, char* out, long* size, int32_t* e) {
        return miCombineUrl(row[0].c_str(), row[1].c_str(), out, size, e);
    });
}

TEST(miUrl, CanonicalFormDropsDefaultPortsAndDots) {
    expectWrittenUrls("url-canonical.tsv", [](const auto& row, char* out, long* size, int32_t* e) {
        return miCanonicalizeUrl(row[0].c_str(), out, size, e);
    });
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

// A short buffer gets the size needed and is not written; a null one may measure.
TEST(miUrl, ShortBuffersGetTheNeededSizeAndStayUntouched) {
    const std::string expected = "http://h/a/c?d";
    const long fit = static_cast<long>(expected.size()) + 1;
    char out[32];
    std::memset(out, '#', sizeof out);
    long size = fit - 1;
    int32_t error = 0;
    EXPECT_FALSE(miCombineUrl("HTTP://h:80/a/b", "c?d", out, &size, &error));
    EXPECT_EQ(error, kUrlBufferTooSmall);
    EXPECT_EQ(size, fit);
    EXPECT_EQ(std::string(out, sizeof out), std::string(sizeof out, '#'));
    EXPECT_TRUE(miCombineUrl("HTTP://h:80/a/b", "c?d", out, &size, &error));
    EXPECT_EQ(std::string(out, static_cast<size_t>(fit) + 1), expected + '\0' + '#');

    size = 0;
    EXPECT_FALSE(miCanonicalizeUrl("http://h/x/../y", nullptr, &size, &error));
    EXPECT_EQ(size, 11);
    EXPECT_FALSE(miCanonicalizeUrl("http://h/y", nullptr, &size, &error));
    EXPECT_EQ(error, kUrlBadArgument);
    EXPECT_FALSE(miCombineUrl("http://h/", "x", nullptr, &size, &error));
    EXPECT_EQ(error, kUrlBadArgument);
    EXPECT_EQ(miCompareUrl(nullptr, "x", kUrlCmpKind, &error), kUrlCompareFailed);
    EXPECT_EQ(error, kUrlBadArgument);
}

TEST(miUrl, PercentEncodingEscapesByTableAndKeepsEscapes) {
    for (const auto& row : readCaseTable("url-percent-encoding.tsv")) {
        SCOPED_TRACE(row[0]);
        const std::string in = unescapeField(row[0]);
        char out[64];
        long size = sizeof out;
        EXPECT_EQ(PercentEncodeRFC1738(in.data(), (long)in.size(), out, &size),
                  (long)row[1].size());
        EXPECT_EQ(std::string(out, static_cast<size_t>(size)), row[1]);
        EXPECT_EQ(PercentEncodeURLCopy(in), row[2]);
        EXPECT_EQ(PercentEncodeURLCopy(in, true), unescapeField(row[3]));
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
    for (const auto& row : readCaseTable("utf8-tests.tsv")) {
        SCOPED_TRACE(row[0]);
        const std::string text = unescapeField(row[0]);
        EXPECT_EQ(miIsUTF8(text.data(), (long)text.size()), row[1] == "1");
        EXPECT_EQ(miFindNonTwoByteUTF8(text.data(), (long)text.size()), std::stol(row[2]));
    }
    // A sequence is judged by the length given, not by what lies behind it.
    EXPECT_FALSE(miIsUTF8("\xC3\xA9", 1));
    EXPECT_EQ(miFindNonTwoByteUTF8("\xC3\xA9", 1), 0);
}

TEST(miUrl, SubstituteDotsCleansInPlace) {
    for (const auto& row : readCaseTable("url-substitute-dots.tsv")) {
        std::string path = row[0];
        miSubstituteDots(path.data());
        EXPECT_STREQ(path.c_str(), row[1].c_str()) << row[0];
    }
    miSubstituteDots(nullptr);
}

} // namespace
