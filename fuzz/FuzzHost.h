// What the fuzz targets share: the host's core and encoding converter as the plug-in's tables,
// and a check whose failure ends the run.
#pragma once

#include "frame/HostTables.h"
#include "frame/host/HostTableIds.h"
#include "host/core/CHostCore.h"
#include "host/encodings/CIconvEncodings.h"

#include <cstdlib>

/// Installs the host's core and converter; with scriptTable set, the converter also serves as
/// the script interface table. Call once per process.
inline void fuzzInstallCoreAndEncodings(bool scriptTable) {
    static CHostCore core;
    static CIconvEncodings encodings;
    gCoreHFT = &core;
    gBaseKitHFT = &encodings;
    if (scriptTable)
        core.registerTable(kVellScriptInterfaceTable.name, kVellScriptInterfaceTable.version,
                           &encodings);
}

/// Stops the run, so that the fuzzer keeps the input, when the condition does not hold.
inline void fuzzRequire(bool condition) {
    if (!condition)
        std::abort();
}
