#include "frame/mdLanguage.h"

#include "frame/HostTables.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string>

namespace {

// Null is the plug-in's own resources.
void* gLanguageHandle = nullptr;

// The languages that the startup preference can name, by their three letters.
constexpr const char* kLanguages[] = {"CHS", "CHT", "DAN", "DEU", "ENU", "ESP", "FRA", "ITA",
                                      "JPN", "KOR", "NLD", "NOR", "PTB", "SUO", "SVE"};

// The three letters that a 24-bit code spells (0x434853 is "CHS"), or the empty text for a code
// that names none of the languages.
std::string languageFromCode(int32_t code) {
    char name[4] = {static_cast<char>((code >> 16) & 0xFF), static_cast<char>((code >> 8) & 0xFF),
                    static_cast<char>(code & 0xFF), 0};
    if ((code & ~0xFFFFFF) != 0)
        return {};
    for (const char* language : kLanguages) {
        if (std::strcmp(language, name) == 0)
            return name;
    }
    return {};
}

// A pack's path beside the object that holds this code (SOAP.so), or nothing when that object
// cannot be told.
std::string besideThePlugIn(const std::string& name) {
    Dl_info info;
    if (!dladdr(reinterpret_cast<void*>(&mdCommonInit), &info) || !info.dli_fname)
        return {};
    std::string path = info.dli_fname;
    size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return {};
    return path.substr(0, slash + 1) + name;
}

// Opens a pack with immediate binding: beside the plug-in first, then wherever the dynamic
// loader finds a library of that name.
void* openPack(const std::string& name) {
    std::string beside = besideThePlugIn(name);
    void* handle = beside.empty() ? nullptr : dlopen(beside.c_str(), RTLD_NOW);
    if (!handle)
        handle = dlopen(name.c_str(), RTLD_NOW);
    return handle;
}

std::string chosenLanguage() {
    IPreferences* preferences = HostPreferences();
    int32_t code = 0;
    if (preferences)
        code = preferences->getInt("VxPrivate", "UnixLanguageStartup").value_or(0);
    if (code != 0)
        return languageFromCode(code);
    const char* environment = std::getenv("VELL_LANG");
    return environment ? environment : "";
}

} // namespace

bool mdInit() {
    return mdCommonInit();
}

bool mdCommonInit() {
    gLanguageHandle = nullptr;
    std::string language = chosenLanguage();
    // A slash would turn the pack's name into a path; such a language has no pack.
    if (language.empty() || language == "ENU" || language.find('/') != std::string::npos)
        return true;
    void* handle = openPack("SOAP." + language);
    if (!handle) {
        dlerror();
        return true;
    }
    if (!ZStringPackFromHandle(handle)) {
        dlclose(handle);
        dlerror();
        return true;
    }
    gLanguageHandle = handle;
    return true;
}

void mdTerm() {}

void mdSetLocaleDependentResourceHandle(void* handle) {
    gLanguageHandle = handle;
}

void* mdGetLocaleDependentResourceHandle() {
    return gLanguageHandle;
}

const ZStringPack* ZStringPackFromHandle(void* handle) {
    if (!handle)
        return nullptr;
    auto* pack = static_cast<const ZStringPack*>(dlsym(handle, kZStringPackSymbol));
    if (!pack) {
        dlerror();
        return nullptr;
    }
    if (pack->version != kZStringPackVersion || (pack->count && !pack->entries))
        return nullptr;
    return pack;
}
