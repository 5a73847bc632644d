// Web capture through a real headless Chromium: a page becomes a PDF document; without Chromium
// the service says why it cannot.
#include "host/cabinets/CGVariantCabinets.h"
#include "host/capture/CChromiumCapture.h"
#include "host/core/CHostCore.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

struct PageStream final : _t_QsStm {
    explicit PageStream(std::string text, bool fails = false)
        : m_text(std::move(text)), m_fails(fails) {}
    long read(char* buffer, long count) override {
        if (m_fails)
            return -1;
        size_t n = std::min(static_cast<size_t>(count), m_text.size() - m_at);
        std::memcpy(buffer, m_text.data() + m_at, n);
        m_at += n;
        return static_cast<long>(n);
    }

private:
    std::string m_text;
    bool m_fails;
    size_t m_at = 0;
};

// Sets an environment variable for the life of the object.
class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const char* value) : m_name(name) {
        if (const char* old = std::getenv(name))
            m_old = old;
        setenv(name, value, 1);
    }
    ~ScopedEnvironment() {
        if (m_old)
            setenv(m_name, m_old->c_str(), 1);
        else
            unsetenv(m_name);
    }

private:
    const char* m_name;
    std::optional<std::string> m_old;
};

class ChromiumCapture : public ::testing::Test {
protected:
    CHostCore core;
    CGVariantCabinets cabinets{core};
    std::ostringstream out;
    CChromiumCapture capture{cabinets, out, CChromiumCapture::Opening::PathOnly};
};

TEST_F(ChromiumCapture, PrintsAPageToAPDFDocumentAndTellsWhereItIs) {
    if (!CChromiumCapture::findChromium())
        GTEST_SKIP() << "chromium is not installed";
    ASSERT_TRUE(capture.available());
    EXPECT_EQ(capture.unavailableReason(), "");
    QsCab settings = cabinets.newCabinet();
    const std::string url = "http://127.0.0.1:1/feeds/";
    cabinets.putString(settings, "url", url.data(), url.size());
    PageStream page("<!DOCTYPE html><html><head><title>Harbour</title></head><body>"
                    "<h1>Harbour Town Gazette</h1><p>Ferry timetable changes.</p>"
                    "<img src=\"logo.png\"></body></html>");
    DkDoc document = capture.convert("text/html; charset=utf-8", &page, settings);
    cabinets.destroyCabinet(settings);
    ASSERT_NE(document, nullptr) << capture.lastError();
    std::string path = capture.pathOf(document);
    std::ifstream pdf(path, std::ios::binary);
    std::string head(5, '\0');
    pdf.read(head.data(), 5);
    EXPECT_EQ(head, "%PDF-") << path;
    EXPECT_GT(std::filesystem::file_size(path), 500u);
    capture.openDocument(document);
    EXPECT_EQ(out.str(), "The PDF document is at " + path + "\n");
    // The page and Chromium's profile are gone; the document stays for the person.
    std::filesystem::path folder = std::filesystem::path(path).parent_path();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder),
                            std::filesystem::directory_iterator()),
              1);
    std::filesystem::remove_all(folder);
}

TEST_F(ChromiumCapture, RefusesWhatItCannotPrintWithAReason) {
    if (!CChromiumCapture::findChromium())
        GTEST_SKIP() << "chromium is not installed";
    PageStream page("<p>x</p>");
    PageStream broken("", true);
    const struct {
        const char* type;
        QsStm stream;
        const char* error;
    } cases[] = {
        {"application/pdf", &page, "Only HTML pages can be converted to PDF, not application/pdf."},
        {nullptr, &page, "Only HTML pages can be converted to PDF, not an unnamed type."},
        {"text/html", nullptr, "There is no page to convert."},
        {"text/html", &broken, "The page could not be read."},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(capture.convert(c.type, c.stream, nullptr), nullptr) << c.error;
        EXPECT_EQ(capture.lastError(), c.error);
    }
    // Documents it did not make are not opened.
    capture.openDocument(reinterpret_cast<DkDoc>(&page));
    EXPECT_EQ(out.str(), "");
}

TEST_F(ChromiumCapture, WithoutChromiumItIsUnavailableAndSaysWhy) {
    const char* reason = "Web pages cannot be converted to PDF: Chromium is not installed (the "
                         "chromium package provides it).";
    for (const char* program : {"/nonexistent/chromium", ""}) {
        ScopedEnvironment missing("VELL_CHROMIUM", program);
        EXPECT_FALSE(capture.available()) << program;
        EXPECT_EQ(capture.unavailableReason(), reason);
        PageStream page("<p>x</p>");
        EXPECT_EQ(capture.convert("text/html", &page, nullptr), nullptr);
        EXPECT_EQ(capture.lastError(), reason);
    }
}

TEST_F(ChromiumCapture, AChromiumThatFailsOrHangsGivesAnErrorInTime) {
    std::filesystem::path folder = std::filesystem::temp_directory_path() /
                                   ("vellum-fake-chromium-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const struct {
        const char* script;
        const char* error;
    } cases[] = {
        {"#!/bin/sh\nexit 3\n", "Chromium could not print the page to PDF."},
        {"#!/bin/sh\nexit 0\n", "Chromium could not print the page to PDF."},
        {"#!/bin/sh\nexec sleep 30\n", "Chromium did not finish printing the page in time."},
    };
    capture.setTimeLimit(std::chrono::seconds(1));
    for (const auto& c : cases) {
        std::filesystem::path program = folder / "chromium";
        std::ofstream(program) << c.script;
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        ScopedEnvironment fake("VELL_CHROMIUM", program.c_str());
        PageStream page("<p>x</p>");
        auto started = std::chrono::steady_clock::now();
        EXPECT_EQ(capture.convert("text/html", &page, nullptr), nullptr) << c.script;
        EXPECT_EQ(capture.lastError(), c.error) << c.script;
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
    }
    std::filesystem::remove_all(folder);
}

} // namespace
