// The form in which a language pack carries its messages.
//
// A language pack is a shared object named "SOAP." and the language's three letters ("SOAP.DEU").
// It exports one symbol, kZStringPackSymbol, holding its messages by key.
#pragma once

#include <cstdint>

/// One message of a pack: its key without "$$$" ("IDS_FULL_NAME") and its text in UTF-8.
struct ZStringPackEntry {
    const char* key;
    const char* text;
};

/// What a pack exports.
struct ZStringPack {
    uint32_t version; // kZStringPackVersion
    uint32_t count;
    const ZStringPackEntry* entries;
};

/// The version of ZStringPack this plug-in reads; a pack of another version is not used.
constexpr uint32_t kZStringPackVersion = 1;
/// The name of the exported ZStringPack.
constexpr const char* kZStringPackSymbol = "SOAPZStringPack";
