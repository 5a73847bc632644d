// The base of every host function table.
//
// The viewer offers its services as named, versioned tables. In this tree a table is a C++
// interface derived from IHostTable; the plug-in asks for tables by name atom and version
// through ICore::extensionMgrGetHFT and keeps the references in the g...HFT globals
// (frame/HostTables.h).
#pragma once

#include <cstdint>

class IHostTable {
public:
    virtual ~IHostTable() = default;
    /// The table's own version; -1 for a table that cannot tell.
    virtual int32_t hftVersion() const { return -1; }
};

/// A table reference as the plug-in holds it; null when the table is absent.
using HFT = IHostTable*;

/// A procedure as the viewer calls it back; the signature is the caller's business.
using QsProc = void (*)();

/// A procedure wrapped for the viewer by ICore::callbackCreate.
using QsCallback = void*;

/// A table built by the host for a table server (ICore::hftNew): indexed entries.
class IEntryTable : public IHostTable {
public:
    /// Number of entries, index 0 included.
    virtual int32_t entryCount() const = 0;
    /// The callback at an index, null when unset or out of range.
    virtual QsCallback getEntry(int32_t index) const = 0;
};
