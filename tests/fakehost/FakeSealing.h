// The test host's sealing and digests: the reference host's own, with the key in a temporary
// folder that lives as long as this object.
#pragma once

#include "host/sealing/CAESGCMSealing.h"
#include "host/sealing/COpenSSLDigest.h"

#include <memory>
#include <string>

class FakeQsExtra;

class FakeSealing {
public:
    /// Makes the folder and offers sealing and digests through extra.
    explicit FakeSealing(FakeQsExtra& extra);
    /// Takes both back from extra and removes the folder with the key.
    ~FakeSealing();
    FakeSealing(const FakeSealing&) = delete;
    FakeSealing& operator=(const FakeSealing&) = delete;

    /// The folder the key is made in.
    const std::string& folder() const { return m_folder; }
    /// The path of the key file.
    std::string keyPath() const { return m_folder + "/sealing.key"; }
    CAESGCMSealing& sealing() { return *m_sealing; }
    COpenSSLDigest& digest() { return m_digest; }

private:
    FakeQsExtra& m_extra;
    std::string m_folder;
    std::unique_ptr<CAESGCMSealing> m_sealing;
    COpenSSLDigest m_digest;
};
