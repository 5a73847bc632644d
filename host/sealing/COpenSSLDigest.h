// Digests through OpenSSL's libcrypto.
#pragma once

#include "frame/host/IDigest.h"

class COpenSSLDigest final : public IDigest {
public:
    std::string digest(DigestAlgorithm algorithm, const void* data, size_t length) override;
};
