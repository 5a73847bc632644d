// "QsExtra": further services of the viewer: sealing of secrets, digests, unique identifiers.
#pragma once

#include "frame/host/IHostTable.h"

#include <string>

class ISealing;
class IDigest;

class IQsExtra : public IHostTable {
public:
    /// Sealing bound to the user's account; null when the host offers none.
    virtual ISealing* sealing() = 0;
    /// Digests (SHA-1, MD5); null when the host offers none.
    virtual IDigest* digest() = 0;
    /// A new random 128-bit identifier in its hyphenated text form
    /// ("1b4e28ba-2fa1-11d2-883f-0016d3cca427").
    virtual std::string newUUID() = 0;
};
