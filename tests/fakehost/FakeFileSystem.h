// The test host's file system: folders and files in memory, paths in the "DIPath" form.
//
// It starts with the folders "/data/vellum/" (the user's data folder) and "/tmp/". Temporary
// files are numbered from 1, so that paths in test output are reproducible.
#pragma once

#include "frame/host/IFileSystem.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

class FakeFileSystem final : public IFileSystem {
public:
    FakeFileSystem();

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

    /// Whether userDataFolder gives the folder (default) or nothing.
    void setUserDataFolderAvailable(bool available) { m_dataAvailable = available; }
    /// The bytes of a file, or nothing when there is no such file.
    std::optional<std::string> fileContents(const std::string& path) const;
    /// Makes or replaces a file, and the folders above it.
    void putFile(const std::string& path, const std::string& bytes);
    /// How many times a file was opened for writing.
    int writeCount(const std::string& path) const;

private:
    struct Node {
        bool folder = false;
        std::shared_ptr<std::string> bytes;
    };
    Node* find(const std::string& path);
    const Node* find(const std::string& path) const;
    bool parentIsFolder(const std::string& key) const;

    std::map<std::string, Node> m_nodes; // keyed by path without a closing "/"
    std::map<std::string, int> m_writes;
    bool m_dataAvailable = true;
    int m_nextTemp = 1;
};
