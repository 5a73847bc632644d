// Digests of bytes, as the host computes them.
#pragma once

#include <cstddef>
#include <string>

/// The digest algorithms the host offers.
enum class DigestAlgorithm {
    SHA1, ///< 20 bytes
    MD5,  ///< 16 bytes
};

/// The size in bytes of an algorithm's digest.
constexpr size_t digestSize(DigestAlgorithm algorithm) {
    return algorithm == DigestAlgorithm::SHA1 ? 20 : 16;
}

class IDigest {
public:
    virtual ~IDigest() = default;
    /// The raw digest of length bytes (digestSize bytes); empty when the host cannot compute
    /// this algorithm.
    virtual std::string digest(DigestAlgorithm algorithm, const void* data, size_t length) = 0;
};
