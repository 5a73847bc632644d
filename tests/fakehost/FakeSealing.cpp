#include "tests/fakehost/FakeSealing.h"

#include "tests/fakehost/FakeHost.h"

#include <filesystem>
#include <glib.h>
#include <stdexcept>

FakeSealing::FakeSealing(FakeQsExtra& extra) : m_extra(extra) {
    GError* error = nullptr;
    gchar* folder = g_dir_make_tmp("vellum-sealing-XXXXXX", &error);
    if (!folder) {
        std::string message = error ? error->message : "no temporary folder";
        g_clear_error(&error);
        throw std::runtime_error(message);
    }
    m_folder = folder;
    g_free(folder);
    m_sealing = std::make_unique<CAESGCMSealing>(keyPath());
    m_extra.setSealing(m_sealing.get());
    m_extra.setDigest(&m_digest);
}

FakeSealing::~FakeSealing() {
    m_extra.setSealing(nullptr);
    m_extra.setDigest(nullptr);
    m_sealing.reset();
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}
