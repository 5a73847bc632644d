// The test host's cabinets: in memory and insertion-ordered, stored in the byte form of the
// reference host as files of the test host's file system, at <data folder>/<section>/<name>.
#pragma once

#include "host/cabinets/CMemoryCabinets.h"

#include <optional>
#include <string>

class IFileSystem;

class FakeCabinets final : public CMemoryCabinets {
public:
    FakeCabinets(ICore& core, IFileSystem& files);

    QsCab loadCabinet(const char* section, const char* name) override;
    void saveCabinet(QsCab cab, const char* section, const char* name) override;

    /// The file of a section and name; nothing without a data folder or for a name that is no
    /// plain path component.
    std::optional<std::string> fileOf(const char* section, const char* name);
    /// Number of saves done so far.
    int saveCount() const { return m_saves; }

private:
    QsCab loadFile(const std::string& path);

    IFileSystem& m_files;
    int m_saves = 0;
};
