// Files and folders of the viewer's support layer.
//
// A path is a text in the "DIPath" form: "/"-separated, absolute, and ending in "/" when it names
// a folder. Paths come from the host (the data and temporary folders) or from pathFromText.
#pragma once

#include "frame/host/QsStmRec.h"

#include <cstdint>
#include <optional>
#include <string>

/// Flags of IFileSystem::open.
enum : int32_t {
    kQsFileRead = 1,
    kQsFileWrite = 2,  // the file's contents are replaced
    kQsFileCreate = 4, // with write: make the file when it is missing
};

class IFileSystem {
public:
    virtual ~IFileSystem() = default;

    /// The user's data folder, where cabinets live; nothing when the host cannot have one.
    virtual std::optional<std::string> userDataFolder() = 0;
    /// The temporary folder; nothing when the host has none.
    virtual std::optional<std::string> tempFolder() = 0;
    /// A path from a text in a named form. "DIPath": a "/"-separated path, absolute or relative
    /// to the folder base; "FolderPathName": one name (no "/") in the folder base. "." and ".."
    /// are resolved and repeated "/" collapsed. Nothing for an unknown form or a text that is no
    /// path of that form.
    virtual std::optional<std::string> pathFromText(const char* form, const char* text,
                                                    const char* base) = 0;
    /// Creates a folder and any missing folder above it; true when it is a folder afterwards.
    virtual bool createFolder(const std::string& path) = 0;
    virtual bool isFolder(const std::string& path) = 0;
    virtual bool isFile(const std::string& path) = 0;
    /// A stream over a file opened with kQsFile... flags, closed by QsStmClose; null when the
    /// file cannot be opened so.
    virtual QsStm open(const std::string& path, int32_t flags) = 0;
    /// A read stream over a file from a byte offset; null when the file cannot be read.
    virtual QsStm openAt(const std::string& path, int64_t offset) = 0;
    /// Removes a file or an empty folder; false when there is none or it cannot be removed.
    virtual bool remove(const std::string& path) = 0;
    /// Renames a file or folder, replacing a file at the target; false on failure.
    virtual bool rename(const std::string& from, const std::string& to) = 0;
    /// Makes a new, empty file of a unique name in the temporary folder and gives its path;
    /// nothing when it cannot.
    virtual std::optional<std::string> newTempFilePath() = 0;
};
