// EStr values from the message table. Kept apart so that only code that shows messages links
// the message lookup.

#include "frame/ZString.h"
#include "values/EStr.h"

namespace {

// Messages come into a buffer of 1026 bytes.
constexpr size_t kMessageBytes = 1026;

} // namespace

EStr EStrNewFromID(long messageID) {
    char text[kMessageBytes] = {};
    const char* message = mdGetString(static_cast<uint16_t>(messageID), text, sizeof text);
    return EStrNew(message, kEStrHost);
}

void EStrSetBytesFromID(EStr s, long messageID) {
    char text[kMessageBytes] = {};
    const char* message = mdGetString(static_cast<uint16_t>(messageID), text, sizeof text);
    EStrSetBytes(s, message, kEStrHost);
}
