// The reference host's support layer ("VellSupport"): the host's file system and cabinets, and
// preferences. There are no configuration files: preferences are given on the command line, one
// "Section.Key=value" each.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IVellSupport.h"

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
    /// The file system and the cabinets are not owned.
    CHostSupport(IFileSystem& files, ICabinets& cabinets) : m_files(files), m_cabinets(cabinets) {}

    int32_t hftVersion() const override { return kNewVellSupportTable.version; }
    IFileSystem* files() override { return &m_files; }
    ICabinets* cabinets() override { return &m_cabinets; }
    IPreferences* preferences() override { return &m_preferences; }

    CHostPreferences& hostPreferences() { return m_preferences; }

private:
    IFileSystem& m_files;
    ICabinets& m_cabinets;
    CHostPreferences m_preferences;
};
