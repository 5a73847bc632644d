// A table that the plug-in's handshake requires but whose operations no code of the plug-in
// calls ("PDFEditWrite", "DkSysFont", ...): it is served with its version and nothing
// else.
#pragma once

#include "frame/host/IHostTable.h"

#include <cstdint>

class CBareTable final : public IHostTable {
public:
    explicit CBareTable(uint32_t version) : m_version(static_cast<int32_t>(version)) {}
    int32_t hftVersion() const override { return m_version; }

private:
    int32_t m_version;
};
