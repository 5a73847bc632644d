// The reference host's support layer ("VellSupport"). It has no configuration files: its
// preferences are given on the command line, one "Section.Key=value" each.
#pragma once

#include "frame/host/IVellSupport.h"
#include "host/files/CPosixFileSystem.h"

#include <map>
#include <string>
#include <utility>

/// Preferences as text by section and key; an integer preference is text that reads whole as a
/// number (decimal, or hexadecimal after "0x").
class CHostPreferences final : public IPreferences {
public:
    std::optional<int32_t> getInt(const char* section, const char* key) override;
    std::optional<std::string> getString(const char* section, const char* key) override;

    /// Sets a preference from "Section.Key=value"; false, and nothing set, when the text has no
    /// section, key or "=".
    bool set(const std::string& assignment);

private:
    std::map<std::pair<std::string, std::string>, std::string> m_values;
};

class CHostSupport final : public IVellSupport {
public:
    int32_t hftVersion() const override { return 0x60000; }
    /// The disk, with the user's data folder under $XDG_DATA_HOME/vellum/.
    IFileSystem* files() override { return &m_files; }
    // Cabinets are served once the host has its cabinet store.
    ICabinets* cabinets() override { return nullptr; }
    IPreferences* preferences() override { return &m_preferences; }

    CHostPreferences& hostPreferences() { return m_preferences; }

private:
    CHostPreferences m_preferences;
    CPosixFileSystem m_files;
};
