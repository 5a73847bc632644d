// The plug-in's resource table: images and icon bundles carried in the plug-in itself, each with
// a four-letter type and identified by the g_string_hash of its file name.
#pragma once

#include <cstddef>
#include <cstdint>

/// A four-letter resource type as one number ("PNGI").
constexpr uint32_t RscType(const char (&letters)[5]) {
    return (static_cast<uint32_t>(static_cast<unsigned char>(letters[0])) << 24) |
           (static_cast<uint32_t>(static_cast<unsigned char>(letters[1])) << 16) |
           (static_cast<uint32_t>(static_cast<unsigned char>(letters[2])) << 8) |
           static_cast<uint32_t>(static_cast<unsigned char>(letters[3]));
}

/// A PNG image.
constexpr uint32_t kRscTypePNG = RscType("PNGI");
/// An icon bundle.
constexpr uint32_t kRscTypeBundle = RscType("BNDL");

/// One resource: its type, the file name whose hash identifies it, and its body.
struct RscRec {
    uint32_t type;
    const char* name;
    const unsigned char* data;
    uint32_t size;
};
using RscHandle = const RscRec*;

/// The plug-in's resources, embedded at build time.
extern const RscRec kPluginResources[];
extern const size_t kPluginResourceCount;

/// The resource of that type and identifier, or null.
RscHandle _localFindResource(uint32_t type, uint32_t id);
/// The body of a resource found by _localFindResource; null for null.
const void* _localLoadResource(RscHandle resource);
/// The size of a resource found by _localFindResource; 0 for null.
uint32_t _localSizeOfResource(RscHandle resource);

/// The type under which a named resource is sought: PNGI for a name ending, in any case, in
/// ".png", BNDL for ".bundle", 0 (nothing) for any other.
uint32_t mdResourceTypeForName(const char* name);
