#include "host/sealing/COpenSSLDigest.h"

#include <openssl/evp.h>

std::string COpenSSLDigest::digest(DigestAlgorithm algorithm, const void* data, size_t length) {
    const EVP_MD* md = algorithm == DigestAlgorithm::SHA1 ? EVP_sha1() : EVP_md5();
    if (!md || (!data && length > 0))
        return {};
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    static const unsigned char nothing = 0;
    if (EVP_Digest(data ? data : &nothing, length, out, &size, md, nullptr) != 1 ||
        size != digestSize(algorithm))
        return {};
    return std::string(reinterpret_cast<const char*>(out), size);
}
