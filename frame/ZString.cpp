#include "frame/ZString.h"

#include "frame/HostTables.h"
#include "frame/StPNLResourceContext.h"
#include "frame/ZStringPack.h"
#include "frame/mdAlert.h"
#include "frame/mdLanguage.h"
#include "frame/miString.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <map>
#include <string>
#include <utility>

namespace {

const char* const kKeyTable[] = {
#define ZSTRING(name, key, text) "$$$" key,
#include "frame/MessagesENU.inc"
#undef ZSTRING
    ""};

const char* const kEnglish[] = {
#define ZSTRING(name, key, text) text,
#include "frame/MessagesENU.inc"
#undef ZSTRING
};

constexpr char kKeyMarker[] = "$$$";
constexpr size_t kKeyMarkerLength = sizeof kKeyMarker - 1;
// The start value of the string filter's cell: the preference has not been read.
constexpr int32_t kFilterUnread = 65535;
constexpr size_t kQsTextBufferSize = 4096;

using ZStringLookupProc = void (*)(const char* key, QsTextRec* text);

bool gSuitesAcquired = false;
ZStringLookupProc gZStringLookup = nullptr;
int32_t gStringFilter = kFilterUnread;
// Texts handed out by miGetMessageUTF8, by language handle and key.
std::map<std::pair<void*, std::string>, std::string> gUTF8Texts;

const char* withoutMarker(const char* key) {
    return std::strncmp(key, kKeyMarker, kKeyMarkerLength) == 0 ? key + kKeyMarkerLength : key;
}

// The text of a key in the current resources, as UTF-8; null when they have no such key.
const char* findText(const char* bareKey) {
    void* handle = StPNLResourceContext::current();
    if (!handle) {
        for (uint16_t id = 0; id < kZStringCount; ++id) {
            if (miStrcmp(kKeyTable[id] + kKeyMarkerLength, bareKey) == 0)
                return kEnglish[id];
        }
        return nullptr;
    }
    const ZStringPack* pack = ZStringPackFromHandle(handle);
    if (!pack)
        return nullptr;
    for (uint32_t i = 0; i < pack->count; ++i) {
        const ZStringPackEntry& entry = pack->entries[i];
        if (entry.key && entry.text && miStrcmp(entry.key, bareKey) == 0)
            return entry.text;
    }
    return nullptr;
}

// The ZString lookup over the plug-in's keyed tables: sets text to the key's message in the
// current language, or leaves it empty.
void localZStringLookup(const char* key, QsTextRec* text) {
    const char* utf8 = findText(withoutMarker(key));
    if (utf8)
        text->units = CQsText(utf8).units();
}

// The filter preference is read once; a later change of it is not seen.
int32_t stringFilter() {
    if (gStringFilter == kFilterUnread) {
        IPreferences* preferences = HostPreferences();
        gStringFilter =
            preferences ? preferences->getInt("VxPrivate", "uiStringFilter").value_or(0) : 0;
    }
    return gStringFilter;
}

// Units to the viewer's language encoding: through BaseKit's host encoding when there is one,
// else Latin-1. A character the encoding cannot hold becomes "?".
std::string toLanguageEncoding(const std::u16string& units) {
    std::string out;
    IEncodings* baseKit = gBaseKitHFT;
    const char* encoding = baseKit ? baseKit->hostEncodingName() : nullptr;
    if (encoding && baseKit->fromUnicode(encoding, units.data(), units.size(), out))
        return out;
    out.clear();
    for (size_t i = 0; i < units.size(); ++i) {
        size_t count = 1;
        if (units[i] >= 0xD800 && units[i] <= 0xDBFF && i + 1 < units.size())
            count = 2;
        std::string piece;
        if (encoding && baseKit->fromUnicode(encoding, units.data() + i, count, piece))
            out += piece;
        else if (!encoding && units[i] <= 0xFF)
            out += static_cast<char>(units[i]);
        else
            out += '?';
        i += count - 1;
    }
    return out;
}

std::u16string fromLanguageEncoding(const char* bytes, size_t length) {
    std::u16string units;
    IEncodings* baseKit = gBaseKitHFT;
    const char* encoding = baseKit ? baseKit->hostEncodingName() : nullptr;
    if (encoding && baseKit->toUnicode(encoding, bytes, length, units))
        return units;
    units.clear();
    for (size_t i = 0; i < length; ++i)
        units += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]));
    return units;
}

// Copies the text into the buffer, cut to size - 1 bytes; null for an empty text.
char* copyOut(const std::u16string& units, char* buffer, size_t size) {
    if (!buffer || size == 0)
        return nullptr;
    buffer[0] = 0;
    if (units.empty())
        return nullptr;
    std::string bytes = toLanguageEncoding(units);
    size_t length = std::min(bytes.size(), size - 1);
    std::memcpy(buffer, bytes.data(), length);
    buffer[length] = 0;
    return buffer;
}

// Removes the mnemonic marks of a label in place. The walk goes by characters of the locale's
// encoding, so that no byte inside a character is taken for an ampersand, and never past the
// terminator.
void removeMnemonics(char* label) {
    const bool singleByte = MB_CUR_MAX == 1;
    size_t remaining = std::strlen(label);
    char* in = label;
    char* out = label;
    std::mbstate_t state{};
    while (remaining > 0) {
        size_t length = 1;
        if (!singleByte) {
            size_t measured = std::mbrlen(in, std::min<size_t>(remaining, 16), &state);
            if (measured == static_cast<size_t>(-1) || measured == static_cast<size_t>(-2) ||
                measured == 0) {
                state = std::mbstate_t{};
                measured = 1;
            }
            length = measured;
        }
        if (length == 1 && *in == '&') {
            // A doubled ampersand stays doubled in the label; only a lone one is dropped.
            if (remaining > 1 && in[1] == '&') {
                *out++ = *in++;
                *out++ = *in++;
                remaining -= 2;
            } else {
                ++in;
                --remaining;
            }
            continue;
        }
        std::memmove(out, in, length);
        out += length;
        in += length;
        remaining -= length;
    }
    *out = 0;
}

} // namespace

uint16_t miGetZStringID(const char* key) {
    if (!key)
        return kZStringCount;
    bool marked = std::strncmp(key, kKeyMarker, kKeyMarkerLength) == 0;
    for (uint16_t id = 0; id < kZStringCount; ++id) {
        const char* entry = marked ? kKeyTable[id] : kKeyTable[id] + kKeyMarkerLength;
        if (miStrcmp(entry, key) == 0)
            return id;
    }
    return kZStringCount;
}

const char* miGetZStringTagName(uint16_t id) {
    return id < kZStringCount ? kKeyTable[id] : kKeyTable[kZStringCount];
}

void AcquireZStringSuites() {
    if (gSuitesAcquired)
        return;
    gSuitesAcquired = true;
    gZStringLookup = localZStringLookup;
}

void ReleaseZStringSuites() {
    gSuitesAcquired = false;
    gZStringLookup = nullptr;
    // What the plug-in read once is read again after the next acquire, as after a fresh load.
    gStringFilter = kFilterUnread;
    gUTF8Texts.clear();
    mdReleaseAlertLabels();
}

void miGetZStringExRaw(const char* key, QsTextRec* text) {
    if (!text)
        return;
    text->units.clear();
    AcquireZStringSuites();
    if (gZStringLookup && key)
        gZStringLookup(key, text);
    if (gVellViewUserInterfaceHFT)
        gVellViewUserInterfaceHFT->applyStringFilter(text, stringFilter());
}

void miGetZStringEx(uint16_t id, QsTextRec* text) {
    if (!text)
        return;
    StPNLResourceContext context;
    miGetZStringExRaw(miGetZStringTagName(id), text);
}

char* miGetZStringRaw(const char* key, char* buffer, size_t size) {
    QsTextRec text;
    miGetZStringExRaw(key, &text);
    return copyOut(text.units, buffer, size);
}

char* miGetZString(uint16_t id, char* buffer, size_t size) {
    StPNLResourceContext context;
    QsTextRec text;
    miGetZStringEx(id, &text);
    return copyOut(text.units, buffer, size);
}

QsTextRec* miGetQsText(uint16_t id, QsTextRec* text) {
    if (!text)
        return text;
    char buffer[kQsTextBufferSize];
    if (!miGetZString(id, buffer, sizeof buffer)) {
        text->units.clear();
        return text;
    }
    text->units = fromLanguageEncoding(buffer, std::strlen(buffer));
    return text;
}

char* mdGetString(uint16_t id, char* buffer, size_t size) {
    return miGetZString(id, buffer, size);
}

char* mdGetButtonString(uint16_t id, char* buffer, size_t size) {
    if (!mdGetString(id, buffer, size))
        return nullptr;
    removeMnemonics(buffer);
    return buffer;
}

const char* miGetMessageUTF8(const char* key) {
    if (!key)
        return "";
    auto slot = std::make_pair(StPNLResourceContext::current(), std::string(key));
    auto found = gUTF8Texts.find(slot);
    if (found != gUTF8Texts.end())
        return found->second.c_str();
    CQsText text;
    miGetZStringExRaw(key, text.get());
    return gUTF8Texts.emplace(std::move(slot), text.getString()).first->second.c_str();
}
