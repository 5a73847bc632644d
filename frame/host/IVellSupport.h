// "VellSupport": the support layer (files, cabinets, preferences), reached as interfaces of their
// own.
#pragma once

#include "frame/host/IHostTable.h"

#include <cstdint>
#include <optional>
#include <string>

class IFileSystem;
class ICabinets;

/// The viewer's preferences, read by section and key.
class IPreferences {
public:
    virtual ~IPreferences() = default;
    /// An integer preference, or nothing when it is not set.
    virtual std::optional<int32_t> getInt(const char* section, const char* key) = 0;
    /// A text preference (UTF-8), or nothing when it is not set.
    virtual std::optional<std::string> getString(const char* section, const char* key) = 0;
};

class IVellSupport : public IHostTable {
public:
    /// Files, folders and the temporary folder; null when the host has none.
    virtual IFileSystem* files() = 0;
    /// Cabinets, the viewer's dictionaries of typed values; null when the host has none.
    virtual ICabinets* cabinets() = 0;
    virtual IPreferences* preferences() = 0;
};
