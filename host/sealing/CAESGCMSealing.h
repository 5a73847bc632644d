// Sealing with AES-256-GCM under a random per-user key kept in a file of mode 0600.
//
// The key is 32 random bytes, made on first use in a file that only the user can read, in a
// folder that only the user can enter. A key file that cannot be read, is not the user's own,
// can be read by others, or has the wrong size makes sealing unavailable: nothing is sealed
// under a key that may be known to someone else, and no new key replaces one that exists.
//
// A sealed string is "S1:" followed by the base64 of a 12-byte nonce, the ciphertext and the
// 16-byte tag. The plaintext is the first text's length (32 bits, big-endian), the first text
// and the second text.
#pragma once

#include "frame/host/ISealing.h"

#include <cstddef>
#include <cstdint>
#include <string>

class CAESGCMSealing final : public ISealing {
public:
    static constexpr size_t kKeySize = 32;
    static constexpr size_t kNonceSize = 12;
    static constexpr size_t kTagSize = 16;

    /// Seals under the key in the file at keyPath, made there on first use.
    explicit CAESGCMSealing(std::string keyPath);
    /// Wipes the key.
    ~CAESGCMSealing() override;
    CAESGCMSealing(const CAESGCMSealing&) = delete;
    CAESGCMSealing& operator=(const CAESGCMSealing&) = delete;

    bool available() override;
    std::optional<std::string> seal(std::string_view text1, std::string_view text2) override;
    std::optional<SealedTexts> unseal(std::string_view sealed) override;

    /// Where the reference host keeps the key: "vellum/sealing.key" in the user's data folder.
    static std::string defaultKeyPath();

private:
    enum class KeyState { Unknown, Ready, Unavailable };

    /// Reads the key, or makes it when there is no file; decided once.
    bool ensureKey();
    /// Reads the key from the open file; null when it did, else why the file was refused.
    const char* readKey(int fd);
    /// Says on standard error, in one line, that the key file was refused and why.
    void tellRefused(const std::string& reason) const;
    bool makeKey();

    std::string m_keyPath;
    KeyState m_state = KeyState::Unknown;
    uint8_t m_key[kKeySize] = {};
};
