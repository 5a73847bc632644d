// Sealing of secrets, bound to the user's account on the machine.
//
// seal() turns two texts into one printable string that only this user's key opens again;
// unseal() gives both texts back, or nothing when the string was not sealed with this key or was
// altered since. The key is the host's business: no fixed key is ever part of the plug-in.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <string.h>

/// Two texts as they were sealed together; both are wiped when the record goes.
struct SealedTexts {
    std::string first;
    std::string second;

    SealedTexts() = default;
    SealedTexts(std::string a, std::string b) : first(std::move(a)), second(std::move(b)) {}
    SealedTexts(const SealedTexts&) = default;
    SealedTexts(SealedTexts&&) = default;
    SealedTexts& operator=(const SealedTexts&) = default;
    SealedTexts& operator=(SealedTexts&&) = default;
    ~SealedTexts() {
        explicit_bzero(first.data(), first.size());
        explicit_bzero(second.data(), second.size());
    }
};

class ISealing {
public:
    virtual ~ISealing() = default;
    /// Whether sealing works: the user's key can be read, or made on first use.
    virtual bool available() = 0;
    /// The two texts sealed into one printable string; nothing when sealing is unavailable.
    virtual std::optional<std::string> seal(std::string_view text1, std::string_view text2) = 0;
    /// The texts of a sealed string; nothing when sealing is unavailable, or the string was not
    /// sealed with this key, or was altered.
    virtual std::optional<SealedTexts> unseal(std::string_view sealed) = 0;
};
