// A folder of its own under the system's temporary folder, removed with everything in it.
#pragma once

#include <glib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class TempFolder {
public:
    TempFolder() {
        gchar* made = g_dir_make_tmp("vell-test-XXXXXX", nullptr);
        m_path = made ? std::string(made) + "/" : std::string();
        g_free(made);
    }
    ~TempFolder() {
        std::error_code ignored;
        if (!m_path.empty())
            std::filesystem::remove_all(m_path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    /// The folder, ending in "/".
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

/// The bytes of a file, or the empty text when it cannot be read.
inline std::string readFileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

/// Writes a file, making the folders above it.
inline void writeFileBytes(const std::string& path, const std::string& bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

/// The bytes of a test data file of the host suite.
inline std::string hostTestData(const std::string& name) {
    return readFileBytes(std::string(VELL_TEST_DATA) + "/host/" + name);
}
