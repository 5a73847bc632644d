// The reference host's cabinets: each stored cabinet is one file of its byte form (a GVariant,
// host/cabinets/CabinetBytes.h) at <root>/<section>/<name>.
//
// A save replaces the file atomically (a temporary file, fsync, rename), so a crash in the middle
// leaves the old file or the new one. A file that cannot be read as a cabinet counts as absent
// and is set aside as <file>.corrupt, on a load as on a save, so that nothing is overwritten
// blindly; standard error says so in one line. The temporary file of a save that was killed
// (<file>.XXXXXX) is removed by the next load or save of that cabinet once it has been left
// untouched for a minute, so that a save under way in another run of the host is not disturbed.
//
// A save reads the file it replaces only when that file may be damaged: one that this object
// read whole or wrote itself, and that nobody has changed since (same inode, size and time of
// change, which the kernel keeps to the nanosecond where it can and to a clock tick elsewhere),
// is known to be sound and is replaced without a look.
#pragma once

#include "host/cabinets/CMemoryCabinets.h"

#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <unordered_map>

class CGVariantCabinets final : public CMemoryCabinets {
public:
    /// Cabinets under $XDG_DATA_HOME/vellum/.
    explicit CGVariantCabinets(ICore& core);
    /// Cabinets under a given root folder.
    CGVariantCabinets(ICore& core, std::string root);

    QsCab loadCabinet(const char* section, const char* name) override;
    void saveCabinet(QsCab cab, const char* section, const char* name) override;

    /// The file of a section and name; nothing when either is no plain path component.
    std::optional<std::string> fileOf(const char* section, const char* name) const;

private:
    /// The cabinet in the file, or null; a file that is no cabinet is set aside.
    QsCab loadFile(const std::string& path);
    /// Removes the temporary files that killed saves of the file left beside it.
    static void removeStaleTemporaries(const std::string& path);

    /// What tells one state of a file from another without reading it.
    struct FileStamp {
        dev_t device;
        ino_t inode;
        off_t size;
        long changedSeconds;
        long changedNanoseconds;
        bool operator==(const FileStamp&) const = default;
    };
    static FileStamp stampFrom(const struct stat& info);
    static std::optional<FileStamp> stampOf(const std::string& path);

    std::string m_root;
    /// The files known to be sound cabinets, as they were when this object last read or wrote them.
    std::unordered_map<std::string, FileStamp> m_sound;
};
