// The reference host's file system: POSIX calls on the real disk.
#pragma once

#include "frame/host/IFileSystem.h"

#include <optional>
#include <string>

class CPosixFileSystem final : public IFileSystem {
public:
    /// The user's data folder is $XDG_DATA_HOME/vellum/ and the temporary folder GLib's.
    CPosixFileSystem();
    /// Given folders (absolute), for tests and embeddings with their own layout.
    CPosixFileSystem(std::string dataFolder, std::string tempFolder);

    std::optional<std::string> userDataFolder() override;
    std::optional<std::string> tempFolder() override;
    std::optional<std::string> pathFromText(const char* form, const char* text,
                                            const char* base) override;
    bool createFolder(const std::string& path) override;
    bool isFolder(const std::string& path) override;
    bool isFile(const std::string& path) override;
    QsStm open(const std::string& path, int32_t flags) override;
    QsStm openAt(const std::string& path, int64_t offset) override;
    bool remove(const std::string& path) override;
    bool rename(const std::string& from, const std::string& to) override;
    std::optional<std::string> newTempFilePath() override;

    /// The data folder used by default: $XDG_DATA_HOME/vellum/.
    static std::string defaultDataFolder();

private:
    std::string m_dataFolder;
    std::string m_tempFolder;
};
