// The reference host's further services ("QsExtra"): unique identifiers from libuuid; sealing
// under the user's key in the data folder and digests, from OpenSSL.
#pragma once

#include "frame/host/HostTableIds.h"
#include "frame/host/IQsExtra.h"
#include "host/sealing/CAESGCMSealing.h"
#include "host/sealing/COpenSSLDigest.h"

class CHostQsExtra final : public IQsExtra {
public:
    int32_t hftVersion() const override { return kQsExtraTable.version; }
    ISealing* sealing() override { return &m_sealing; }
    IDigest* digest() override { return &m_digest; }
    /// A new random identifier, in lower case.
    std::string newUUID() override;

private:
    CAESGCMSealing m_sealing{CAESGCMSealing::defaultKeyPath()};
    COpenSSLDigest m_digest;
};
