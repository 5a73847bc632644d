// The reference host's further services ("QsExtra"): unique identifiers from libuuid.
#pragma once

#include "frame/host/IQsExtra.h"

class CHostQsExtra final : public IQsExtra {
public:
    int32_t hftVersion() const override { return 0x50000; }
    // Sealing and digests are served once the host has its OpenSSL services.
    ISealing* sealing() override { return nullptr; }
    IDigest* digest() override { return nullptr; }
    /// A new random identifier, in lower case.
    std::string newUUID() override;
};
