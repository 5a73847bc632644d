#include "host/capture/CChromiumCapture.h"
#include "host/web/LoopbackHTTP.h"

#include <glib.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <thread>

namespace {

// A page larger than this is refused rather than printed.
constexpr size_t kMaxPageBytes = 64 * 1024 * 1024;

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// Relative links of the page resolve against its own address, which a file in a temporary
// folder has lost: a base element gives it back, unless the page names its own.
std::string withBase(const std::string& html, const std::string& url) {
    std::string lower = lowered(html);
    if (url.empty() || lower.find("<base") != std::string::npos)
        return html;
    std::string base = "<base href=\"" + EscapeMarkup(url) + "\">";
    size_t head = lower.find("<head");
    size_t headEnd = head == std::string::npos ? head : html.find('>', head);
    if (headEnd == std::string::npos)
        return base + html;
    return html.substr(0, headEnd + 1) + base + html.substr(headEnd + 1);
}

bool isPDF(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    char magic[5] = {};
    in.read(magic, 5);
    return in.gcount() == 5 && std::string(magic, 5) == "%PDF-";
}

} // namespace

struct CChromiumCapture::Document {
    std::string path;
};

CChromiumCapture::CChromiumCapture(ICabinets& cabinets, std::ostream& out, Opening opening)
    : m_cabinets(cabinets), m_out(out), m_opening(opening) {}

CChromiumCapture::~CChromiumCapture() {
    // The documents are the person's now: they stay in the temporary folder.
}

std::optional<std::string> CChromiumCapture::findChromium() {
    if (const char* chosen = std::getenv("VELL_CHROMIUM")) {
        if (*chosen && access(chosen, X_OK) == 0)
            return std::string(chosen);
        return std::nullopt;
    }
    for (const char* name : {"chromium", "chromium-browser"}) {
        if (gchar* found = g_find_program_in_path(name)) {
            std::string path = found;
            g_free(found);
            return path;
        }
    }
    return std::nullopt;
}

bool CChromiumCapture::available() {
    return findChromium().has_value();
}

std::string CChromiumCapture::unavailableReason() {
    if (available())
        return "";
    return "Web pages cannot be converted to PDF: Chromium is not installed (the chromium "
           "package provides it).";
}

DkDoc CChromiumCapture::convert(const char* mimeType, QsStm stream, QsCab settings) {
    m_lastError.clear();
    std::optional<std::string> chromium = findChromium();
    if (!chromium) {
        m_lastError = unavailableReason();
        return nullptr;
    }
    std::string type = lowered(mimeType ? mimeType : "");
    if (type.substr(0, type.find(';')) != "text/html") {
        m_lastError = "Only HTML pages can be converted to PDF, not " +
                      std::string(mimeType ? mimeType : "an unnamed type") + ".";
        return nullptr;
    }
    if (!stream) {
        m_lastError = "There is no page to convert.";
        return nullptr;
    }
    std::string html;
    char block[8192];
    long got = 0;
    while ((got = stream->read(block, sizeof block)) > 0) {
        html.append(block, static_cast<size_t>(got));
        if (html.size() > kMaxPageBytes) {
            m_lastError = "The page is too large to convert.";
            return nullptr;
        }
    }
    if (got < 0) {
        m_lastError = "The page could not be read.";
        return nullptr;
    }
    std::string url;
    if (settings)
        url = m_cabinets.getString(settings, "url").value_or("");

    if (m_folder.empty()) {
        GError* error = nullptr;
        gchar* folder = g_dir_make_tmp("vellum-capture-XXXXXX", &error);
        if (!folder) {
            m_lastError = std::string("No temporary folder for the document: ") +
                          (error ? error->message : "unknown reason");
            g_clear_error(&error);
            return nullptr;
        }
        m_folder = folder;
        g_free(folder);
    }
    std::string stem = m_folder + "/page-" + std::to_string(m_documents.size() + 1);
    {
        std::ofstream page(stem + ".html", std::ios::binary);
        page << withBase(html, url);
        if (!page) {
            m_lastError = "The page could not be written to " + stem + ".html.";
            return nullptr;
        }
    }
    std::string profile = stem + "-profile";
    bool printed = print(*chromium, stem + ".html", stem + ".pdf", profile);
    std::error_code ignored;
    std::filesystem::remove_all(profile, ignored);
    std::filesystem::remove(stem + ".html", ignored);
    if (!printed)
        return nullptr;
    m_documents.push_back(std::make_unique<Document>(Document{stem + ".pdf"}));
    return reinterpret_cast<DkDoc>(m_documents.back().get());
}

bool CChromiumCapture::print(const std::string& chromium, const std::string& page,
                             const std::string& pdf, const std::string& profile) {
    std::vector<std::string> arguments = {chromium,
                                          "--headless",
                                          "--disable-gpu",
                                          "--no-sandbox",
                                          "--no-first-run",
                                          "--disable-extensions",
                                          "--no-pdf-header-footer",
                                          "--user-data-dir=" + profile,
                                          "--print-to-pdf=" + pdf,
                                          "file://" + page};
    std::vector<char*> argv;
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    GPid child = 0;
    GError* error = nullptr;
    // In a process group of its own, so that its helpers go with it when it must be stopped.
    bool started = g_spawn_async(
        nullptr, argv.data(), nullptr,
        static_cast<GSpawnFlags>(G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_STDOUT_TO_DEV_NULL |
                                 G_SPAWN_STDERR_TO_DEV_NULL),
        [](gpointer) { setpgid(0, 0); }, nullptr, &child, &error);
    if (!started) {
        m_lastError = "Chromium could not be started: " +
                      std::string(error ? error->message : "unknown reason");
        g_clear_error(&error);
        return false;
    }
    auto deadline = std::chrono::steady_clock::now() + m_timeLimit;
    int status = 0;
    pid_t done = 0;
    while ((done = waitpid(child, &status, WNOHANG)) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            kill(-child, SIGKILL);
            waitpid(child, &status, 0);
            m_lastError = "Chromium did not finish printing the page in time.";
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    // Helpers it left behind go with their group.
    kill(-child, SIGKILL);
    if (done < 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0 || !isPDF(pdf)) {
        m_lastError = "Chromium could not print the page to PDF.";
        return false;
    }
    return true;
}

std::string CChromiumCapture::pathOf(DkDoc document) const {
    for (const auto& held : m_documents) {
        if (reinterpret_cast<DkDoc>(held.get()) == document)
            return held->path;
    }
    return "";
}

void CChromiumCapture::openDocument(DkDoc document) {
    std::string path = pathOf(document);
    if (path.empty())
        return;
    m_out << "The PDF document is at " << path << std::endl;
    bool desktop = std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY");
    if (m_opening != Opening::Desktop || !desktop)
        return;
    std::vector<std::string> arguments = {"xdg-open", path};
    std::vector<char*> argv = {arguments[0].data(), arguments[1].data(), nullptr};
    GError* error = nullptr;
    if (!g_spawn_async(nullptr, argv.data(), nullptr,
                       static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL |
                                                G_SPAWN_STDERR_TO_DEV_NULL),
                       nullptr, nullptr, nullptr, &error)) {
        m_out << "It could not be opened: " << (error ? error->message : "no viewer") << std::endl;
        g_clear_error(&error);
    }
}
