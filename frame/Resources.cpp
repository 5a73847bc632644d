#include "frame/Resources.h"

#include "frame/QsCore.h"
#include "frame/ZString.h"

#include <cstring>
#include <glib.h>
#include <strings.h>

namespace {

bool endsWithIgnoringCase(const char* text, const char* ending) {
    size_t length = std::strlen(text);
    size_t endingLength = std::strlen(ending);
    return length >= endingLength && strcasecmp(text + length - endingLength, ending) == 0;
}

// The identifier of a named resource: the GLib string hash of its name.
uint32_t nameHash(const char* name) {
    GString text = {const_cast<char*>(name), std::strlen(name), 0};
    return g_string_hash(&text);
}

} // namespace

RscHandle _localFindResource(uint32_t type, uint32_t id) {
    for (size_t i = 0; i < kPluginResourceCount; ++i) {
        const RscRec& resource = kPluginResources[i];
        if (resource.type == type && nameHash(resource.name) == id)
            return &resource;
    }
    return nullptr;
}

const void* _localLoadResource(RscHandle resource) {
    return resource ? resource->data : nullptr;
}

uint32_t _localSizeOfResource(RscHandle resource) {
    return resource ? resource->size : 0;
}

uint32_t mdResourceTypeForName(const char* name) {
    if (!name)
        return 0;
    if (endsWithIgnoringCase(name, ".png"))
        return kRscTypePNG;
    if (endsWithIgnoringCase(name, ".bundle"))
        return kRscTypeBundle;
    return 0;
}

void* mdGetDataFromName(const char* name, size_t* size) {
    uint32_t type = mdResourceTypeForName(name);
    if (!type)
        return nullptr;
    // The hash is of the name as given, so only the exact file name finds its resource, though
    // the ending was tested without regard to case.
    RscHandle resource = _localFindResource(type, nameHash(name));
    if (!resource)
        return nullptr;
    uint32_t length = _localSizeOfResource(resource);
    void* copy = QsMalloc(length ? length : 1);
    if (!copy)
        return nullptr;
    std::memcpy(copy, _localLoadResource(resource), length);
    if (size)
        *size = length;
    return copy;
}
