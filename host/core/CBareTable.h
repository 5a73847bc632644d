// A table that the plug-in's handshake requires but whose operations no code of the plug-in
// calls ("PDFEditWrite", "DkSysFont", ...): it is served with its version and nothing
// else.
#pragma once

#include "frame/host/IHostTable.h"

#include <cstdint>

/// The bare tables a host offers for the handshake, each under one name and version.
struct BareTableOffer {
    const char* name;
    uint32_t version;
};
inline constexpr BareTableOffer kBareTableOffers[] = {
    {"PDFEditWrite", 0x40000},   {"PDFEditRead", 0x40000},    {"DkSysFont", 0x40000},
    {"PageDkEContent", 0x60000}, {"DkSWrite", 0x60000},       {"DkSRead", 0x60000},
    {"Unix", 0x80040001},        {"VellViewPollen", 0x50000},
};

class CBareTable final : public IHostTable {
public:
    explicit CBareTable(uint32_t version) : m_version(static_cast<int32_t>(version)) {}
    int32_t hftVersion() const override { return m_version; }

private:
    int32_t m_version;
};
