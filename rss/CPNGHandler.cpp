#include "rss/CPNGHandler.h"

#include "rss/CRSSManager.h"

#include <cstring>

namespace {

uint32_t bigEndian32(const unsigned char* bytes) {
    return (uint32_t{bytes[0]} << 24) | (uint32_t{bytes[1]} << 16) | (uint32_t{bytes[2]} << 8) |
           uint32_t{bytes[3]};
}

} // namespace

bool CPNGHandler::isAcceptableIcon(const unsigned char* bytes, size_t length) {
    static const unsigned char kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    // The signature, then the header chunk: its length, "IHDR", the width and the height.
    if (!bytes || length < 24 || std::memcmp(bytes, kSignature, sizeof kSignature) != 0 ||
        std::memcmp(bytes + 12, "IHDR", 4) != 0)
        return false;
    uint32_t width = bigEndian32(bytes + 16);
    uint32_t height = bigEndian32(bytes + 20);
    return width >= 1 && height >= 1 && width <= kMaxSide && height <= kMaxSide;
}

bool CPNGHandler::done() {
    if (!isAcceptableIcon(buffer, length)) {
        // Refused before it is decoded; the icon the store has stays.
        setError(IDS_NETWORK_INVALID);
        status = -1;
        return false;
    }
    takeValidators();
    m_manager->addIcon(url, buffer, static_cast<uint32_t>(length));
    giveBuffer();
    return status == 200;
}
